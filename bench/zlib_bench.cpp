// The floor under the zip writer: zlib's raw deflate at level 9 of every file of a folder, one
// after another, into one output file, with no archive around it (no headers, no CRC):
//   zlib_bench.exe <folder> <output>
// Prints the seconds it took. Reads and writes in 1 MiB pieces through the Win32 calls.
// A measuring tool (bench/run.sh), not a test.
#include <windows.h>
#include <zlib.h>

#include <chrono>
#include <cstdio>
#include <string>
#include <vector>

namespace
{
const DWORD kPiece = 1 << 20;

struct Output
{
    HANDLE file;
    std::vector<unsigned char> buffer = std::vector<unsigned char>(kPiece);
};

void Drain(z_stream& stream, Output& out)
{
    DWORD written = 0;
    ::WriteFile(out.file, out.buffer.data(), DWORD(kPiece - stream.avail_out), &written, nullptr);
    stream.next_out = out.buffer.data();
    stream.avail_out = kPiece;
}

void DeflateFile(const std::wstring& path, Output& out, std::vector<unsigned char>& in)
{
    HANDLE file = ::CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return;
    z_stream stream = {};
    deflateInit2(&stream, 9, Z_DEFLATED, -MAX_WBITS, 8, Z_DEFAULT_STRATEGY);
    stream.next_out = out.buffer.data();
    stream.avail_out = kPiece;
    DWORD read = 0;
    int flush = Z_NO_FLUSH;
    do
    {
        if (!::ReadFile(file, in.data(), kPiece, &read, nullptr))
            read = 0;
        flush = read == 0 ? Z_FINISH : Z_NO_FLUSH;
        stream.next_in = in.data();
        stream.avail_in = read;
        int result;
        do
        {
            result = deflate(&stream, flush);
            if (stream.avail_out == 0)
                Drain(stream, out);
        } while (stream.avail_in > 0 || (flush == Z_FINISH && result != Z_STREAM_END));
    } while (flush != Z_FINISH);
    Drain(stream, out);
    deflateEnd(&stream);
    ::CloseHandle(file);
}

void DeflateTree(const std::wstring& folder, Output& out, std::vector<unsigned char>& in)
{
    WIN32_FIND_DATAW found;
    HANDLE find = ::FindFirstFileW((folder + L"\\*").c_str(), &found);
    if (find == INVALID_HANDLE_VALUE)
        return;
    do
    {
        const std::wstring name = found.cFileName;
        if (name == L"." || name == L"..")
            continue;
        if (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)
            DeflateTree(folder + L"\\" + name, out, in);
        else
            DeflateFile(folder + L"\\" + name, out, in);
    } while (::FindNextFileW(find, &found));
    ::FindClose(find);
}
} // namespace

int wmain(int argc, wchar_t** argv)
{
    if (argc < 3)
        return 2;
    const auto start = std::chrono::steady_clock::now();
    Output out;
    out.file = ::CreateFileW(argv[2], GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    if (out.file == INVALID_HANDLE_VALUE)
        return 1;
    std::vector<unsigned char> in(kPiece);
    DeflateTree(argv[1], out, in);
    ::CloseHandle(out.file);
    std::printf("%.2f\n", std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    return 0;
}
