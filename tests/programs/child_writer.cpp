// A child for the command runner's tests. Arguments, done in order:
//   out:HEX        write these bytes to standard output
//   err:HEX        write these bytes to standard error
//   fill:N         write N bytes of a repeating pattern to standard output
//   cwd            write the current directory, as UTF-8, to standard output
//   exit:N         end with exit code N (default 0)
#include <windows.h>

#include <cstdlib>
#include <cstring>
#include <string>

namespace
{
std::string FromHex(const char* hex)
{
    std::string bytes;
    for (size_t i = 0; hex[i] && hex[i + 1]; i += 2)
    {
        const char pair[3] = {hex[i], hex[i + 1], 0};
        bytes.push_back(static_cast<char>(strtoul(pair, nullptr, 16)));
    }
    return bytes;
}

void Put(DWORD which, const std::string& bytes)
{
    DWORD written = 0;
    ::WriteFile(::GetStdHandle(which), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
}
} // namespace

int main(int argc, char** argv)
{
    int code = 0;
    for (int i = 1; i < argc; ++i)
    {
        const char* arg = argv[i];
        if (!strncmp(arg, "out:", 4))
            Put(STD_OUTPUT_HANDLE, FromHex(arg + 4));
        else if (!strncmp(arg, "err:", 4))
            Put(STD_ERROR_HANDLE, FromHex(arg + 4));
        else if (!strncmp(arg, "fill:", 5))
        {
            std::string bytes(strtoul(arg + 5, nullptr, 10), '\0');
            for (size_t n = 0; n < bytes.size(); ++n)
                bytes[n] = (n % 64 == 63) ? '\n' : static_cast<char>('a' + n % 26);
            Put(STD_OUTPUT_HANDLE, bytes);
        }
        else if (!strcmp(arg, "cwd"))
        {
            wchar_t dir[1024];
            ::GetCurrentDirectoryW(1024, dir);
            char utf8[4096];
            const int size = ::WideCharToMultiByte(CP_UTF8, 0, dir, -1, utf8, sizeof utf8, nullptr, nullptr);
            Put(STD_OUTPUT_HANDLE, std::string(utf8, size > 0 ? size - 1 : 0));
        }
        else if (!strncmp(arg, "exit:", 5))
            code = atoi(arg + 5);
    }
    return code;
}
