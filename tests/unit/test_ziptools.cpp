#include "common.h"
#include "handles.h"
#include "ziptools.h"

#include "test_support.h"

#include <wx/datetime.h>
#include <wx/utils.h>
#include <wx/wfstream.h>
#include <wx/zipstrm.h>

#include <windows.h>
#include <zlib.h>

#include <map>
#include <memory>

namespace
{
void SetOldTime(const wxString& path)
{
    HANDLE file = ::CreateFileW(path.wc_str(), FILE_WRITE_ATTRIBUTES, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    ASSERT_NE(file, INVALID_HANDLE_VALUE);
    SYSTEMTIME old = {2001, 1, 0, 1, 12, 0, 0, 0};
    FILETIME stamp;
    ::SystemTimeToFileTime(&old, &stamp);
    ::SetFileTime(file, &stamp, &stamp, &stamp);
    ::CloseHandle(file);
}

// A tree with nesting, a hidden file, an empty folder and a name outside ASCII.
void BuildTree(const wxString& root)
{
    MakeDirs(root + "\\sub\\deeper");
    MakeDirs(root + "\\empty");
    WriteBytes(root + "\\top.txt", "top\r\n");
    WriteBytes(root + "\\sub\\mid.log", std::string(5000, 'm'));
    WriteBytes(root + "\\sub\\deeper\\low.bin", std::string("\x00\x01\x02\xff", 4));
    WriteBytes(root + "\\.hidden", "h");
    ::SetFileAttributesW((root + "\\.hidden").wc_str(), FILE_ATTRIBUTE_HIDDEN);
    WriteBytes(root + wxString::FromUTF8("\\Gr\xC3\xBC\xC3\x9F\xE2\x82\xAC.txt"), "utf8");
    SetOldTime(root + "\\top.txt");
}

// Bytes that deflating cannot shrink, the same on every run.
std::string Incompressible(size_t size, uint32_t seed)
{
    std::string bytes(size, '\0');
    for (char& byte : bytes)
    {
        seed = seed * 1664525u + 1013904223u;
        byte = char(seed >> 24);
    }
    return bytes;
}

// zlib's raw deflate at level 9 with its default window, memory level and strategy.
std::string RawDeflate9(const std::string& data)
{
    z_stream stream = {};
    EXPECT_EQ(deflateInit2(&stream, 9, Z_DEFLATED, -MAX_WBITS, 8, Z_DEFAULT_STRATEGY), Z_OK);
    std::string out(deflateBound(&stream, uLong(data.size())), '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data.data()));
    stream.avail_in = uInt(data.size());
    stream.next_out = reinterpret_cast<Bytef*>(&out[0]);
    stream.avail_out = uInt(out.size());
    EXPECT_EQ(deflate(&stream, Z_FINISH), Z_STREAM_END);
    out.resize(stream.total_out);
    deflateEnd(&stream);
    return out;
}

uint16_t Le16(const std::string& bytes, size_t at)
{
    return uint16_t(uint8_t(bytes[at]) | uint8_t(bytes[at + 1]) << 8);
}

struct RawEntry
{
    int method;
    std::string compressed;
};
// Every entry's bytes as stored in the archive, found through the library's reader.
std::map<wxString, RawEntry> RawEntries(const wxString& zipPath)
{
    const std::string archive = ReadBytes(zipPath);
    std::map<wxString, RawEntry> entries;
    wxFileInputStream file(zipPath);
    wxZipInputStream zip(file, wxConvUTF8);
    std::unique_ptr<wxZipEntry> entry;
    while (entry.reset(zip.GetNextEntry()), entry)
    {
        const size_t header = size_t(entry->GetOffset());
        const size_t data = header + 30 + Le16(archive, header + 26) + Le16(archive, header + 28);
        entries[entry->GetInternalName()] = {entry->GetMethod(),
                                             archive.substr(data, size_t(entry->GetCompressedSize()))};
    }
    return entries;
}

// Text that deflates well, mixed with runs that do not.
std::string LogLike(size_t size, uint32_t seed)
{
    std::string bytes;
    while (bytes.size() < size)
    {
        bytes += wxString::Format("%06zu boot volume partition offset 0x%08x\r\n", bytes.size(), seed).utf8_string();
        if (bytes.size() % 7 == 0)
            bytes += Incompressible(64, seed++);
    }
    return bytes.substr(0, size);
}

// A small disk of its own for the archive: tests/unit/zip_full_disk.sh mounts one and names it in
// MPDIAG_FULL_DISK. Empty when the tests run without it.
wxString FullDisk()
{
    wxString folder;
    wxGetEnv("MPDIAG_FULL_DISK", &folder);
    return folder;
}

// The one record of this module after the archive's disk filled up: the failed write, with the
// system's error.
void ExpectOneDiskFullRecord(const RecordingLog& log, const wxString& zip)
{
    std::vector<LogEntry> ours;
    for (const LogEntry& entry : log.entries)
        if (entry.file == "ziptools")
            ours.push_back(entry);
    ASSERT_EQ(ours.size(), 1u) << log.Dump();
    EXPECT_EQ(ours[0].level, wxLOG_Error);
    EXPECT_EQ(ours[0].msg, wxString::Format("Zip write failed (%s) error (%d)", zip, ERROR_DISK_FULL));
    EXPECT_EQ(ours[0].func, "ArchiveFile::WriteBuffer");
}

ULONGLONG FreeBytes(const wxString& folder)
{
    ULARGE_INTEGER free = {};
    ::GetDiskFreeSpaceExW(folder.wc_str(), &free, nullptr, nullptr);
    return free.QuadPart;
}
} // namespace

TEST(ZipAdd, FolderGivesEveryFileByRelativeNameAndNoFolderEntries)
{
    ScratchDir dir;
    const wxString tree = dir / "tree";
    BuildTree(tree);
    const wxString zip = dir / "out.zip";
    RecordingLog log;
    EXPECT_FALSE(ZipAdd(zip, tree, "")) << "a folder always reports false";

    const std::map<wxString, ZipEntryRead> entries = ReadZip(zip);
    std::vector<wxString> names;
    for (const auto& item : entries)
        names.push_back(item.first);
    std::vector<wxString> expected = {".hidden", wxString::FromUTF8("Gr\xC3\xBC\xC3\x9F\xE2\x82\xAC.txt"),
                                      "sub/deeper/low.bin", "sub/mid.log", "top.txt"};
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(names, expected);
    EXPECT_EQ(entries.at("top.txt").bytes, "top\r\n");
    EXPECT_EQ(entries.at("sub/mid.log").bytes, std::string(5000, 'm'));
    EXPECT_EQ(entries.at("sub/deeper/low.bin").bytes, std::string("\x00\x01\x02\xff", 4));
    // Compressible data is deflated; the library stores an entry as is only where deflating
    // would not make it smaller.
    EXPECT_EQ(entries.at("sub/mid.log").method, wxZIP_METHOD_DEFLATE);
    for (const auto& item : entries)
    {
        EXPECT_TRUE(item.second.method == wxZIP_METHOD_DEFLATE || item.second.bytes.size() < 16)
            << item.first.utf8_string() << " method " << item.second.method;
        EXPECT_FALSE(item.second.isDir) << item.first.utf8_string();
    }
    EXPECT_TRUE(log.entries.empty()) << log.Dump();
}

TEST(ZipAdd, EntriesCarryThePackingTimeNotTheFileTime)
{
    ScratchDir dir;
    MakeDirs(dir / "tree");
    WriteBytes(dir / "tree\\old.txt", "old");
    SetOldTime(dir / "tree\\old.txt");
    const wxDateTime before = wxDateTime::Now().Subtract(wxTimeSpan::Seconds(3));
    ZipAdd(dir / "out.zip", dir / "tree", "");
    const wxDateTime after = wxDateTime::Now().Add(wxTimeSpan::Seconds(3));
    const wxDateTime stamped = ReadZip(dir / "out.zip").at("old.txt").time;
    EXPECT_TRUE(stamped.IsBetween(before, after)) << stamped.FormatISOCombined().utf8_string();
}

TEST(ZipAdd, FileLockedWithoutSharingGivesAnEmptyEntryAndTheRestFollows)
{
    ScratchDir dir;
    MakeDirs(dir / "tree");
    WriteBytes(dir / "tree\\a.txt", "aaa");
    WriteBytes(dir / "tree\\locked.txt", "secret");
    WriteBytes(dir / "tree\\z.txt", "zzz");
    HANDLE holder =
        ::CreateFileW((dir / "tree\\locked.txt").wc_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(holder, INVALID_HANDLE_VALUE);
    {
        wxLogNull quiet; // the file class reports the refused open itself
        ZipAdd(dir / "out.zip", dir / "tree", "");
    }
    ::CloseHandle(holder);
    const std::map<wxString, ZipEntryRead> entries = ReadZip(dir / "out.zip");
    ASSERT_EQ(entries.size(), 3u);
    EXPECT_EQ(entries.at("locked.txt").bytes, "");
    EXPECT_EQ(entries.at("a.txt").bytes, "aaa");
    EXPECT_EQ(entries.at("z.txt").bytes, "zzz");
}

TEST(ZipAdd, MissingSourceWarnsWithTheSourceAsPassedAndWritesNothing)
{
    ScratchDir dir;
    RecordingLog log;
    EXPECT_FALSE(ZipAdd(dir / "out.zip", "no\\such", dir.Path()));
    EXPECT_FALSE(PathExists(dir / "out.zip"));
    ASSERT_EQ(log.entries.size(), 1u) << log.Dump();
    EXPECT_EQ(log.entries[0].level, wxLOG_Warning);
    EXPECT_EQ(log.entries[0].msg, "Zip invalid source (no\\such)");
    EXPECT_EQ(log.entries[0].file, "ziptools");
    EXPECT_EQ(log.entries[0].line, 127);
    EXPECT_EQ(log.entries[0].func, "ZipAdd");
}

TEST(ZipAdd, SingleFileWithARootIsNamedRelativeToIt)
{
    ScratchDir dir;
    MakeDirs(dir / "base\\logs");
    WriteBytes(dir / "base\\logs\\one.log", "one");
    EXPECT_TRUE(ZipAdd(dir / "out.zip", "logs\\one.log", dir / "base"));
    const std::map<wxString, ZipEntryRead> entries = ReadZip(dir / "out.zip");
    ASSERT_EQ(entries.size(), 1u);
    EXPECT_EQ(entries.begin()->first, "logs/one.log");
    EXPECT_EQ(entries.begin()->second.bytes, "one");
}

TEST(ZipAdd, SingleFileWithAnEmptyRootIsNamedByItsPathWithoutDrive)
{
    ScratchDir dir;
    WriteBytes(dir / "one.log", "one");
    EXPECT_TRUE(ZipAdd(dir / "out.zip", dir / "one.log", ""));
    const std::map<wxString, ZipEntryRead> entries = ReadZip(dir / "out.zip");
    ASSERT_EQ(entries.size(), 1u);
    wxString expected = (dir / "one.log").Mid(3); // no "C:\"
    expected.Replace("\\", "/");
    EXPECT_EQ(entries.begin()->first, expected);
}

TEST(ZipAdd, ExistingArchiveIsOverwritten)
{
    ScratchDir dir;
    MakeDirs(dir / "tree");
    WriteBytes(dir / "tree\\new.txt", "new");
    WriteBytes(dir / "out.zip", std::string(100000, 'x'));
    ZipAdd(dir / "out.zip", dir / "tree", "");
    const std::map<wxString, ZipEntryRead> entries = ReadZip(dir / "out.zip");
    ASSERT_EQ(entries.size(), 1u);
    EXPECT_EQ(entries.begin()->first, "new.txt");
}

TEST(ZipAdd, DriveRootIsAFolderSource)
{
    // The test prefix maps drive M: to a small folder of the build.
    ScratchDir dir;
    ASSERT_TRUE(DirExists("M:\\"));
    RemoveTree("M:\\inner");
    RemoveTree("M:\\root.txt");
    MakeDirs("M:\\inner");
    WriteBytes("M:\\root.txt", "r");
    WriteBytes("M:\\inner\\in.txt", "i");
    EXPECT_FALSE(ZipAdd(dir / "out.zip", "M:\\", ""));
    const std::map<wxString, ZipEntryRead> entries = ReadZip(dir / "out.zip");
    std::vector<wxString> names;
    for (const auto& item : entries)
        names.push_back(item.first);
    EXPECT_EQ(names, (std::vector<wxString>{"inner/in.txt", "root.txt"}));
}

TEST(ZipAdd, DeflatedEntriesAreZlibsRawDeflateAtLevel9)
{
    ScratchDir dir;
    MakeDirs(dir / "tree");
    // Small entries are deflated in memory, larger ones through the stream, and one larger than
    // the archive's write buffer; an incompressible small one is stored.
    const std::map<wxString, std::string> files = {
        {"small.log", LogLike(1000, 1)},          {"over4k.log", LogLike(5000, 2)},
        {"mixed.bin", LogLike(300 << 10, 3)},     {"large.log", LogLike(3 << 20, 4)},
        {"noise.bin", Incompressible(200 << 10, 5)}, {"stored.bin", Incompressible(3000, 6)},
    };
    for (const auto& file : files)
        WriteBytes(dir / "tree\\" + file.first, file.second);
    ZipAdd(dir / "out.zip", dir / "tree", "");

    const std::map<wxString, RawEntry> entries = RawEntries(dir / "out.zip");
    ASSERT_EQ(entries.size(), files.size());
    for (const auto& file : files)
    {
        const RawEntry& entry = entries.at(file.first);
        if (file.first == "stored.bin")
        {
            EXPECT_EQ(entry.method, wxZIP_METHOD_STORE);
            continue;
        }
        ASSERT_EQ(entry.method, wxZIP_METHOD_DEFLATE) << file.first.utf8_string();
        EXPECT_TRUE(entry.compressed == RawDeflate9(file.second))
            << file.first.utf8_string() << ": " << entry.compressed.size() << " bytes stored, zlib gives "
            << RawDeflate9(file.second).size();
    }
}

// A file of `size` bytes, zeros but for `tail` at its end, that takes no room on the host.
void WriteSparse(const wxString& path, ULONGLONG size, const std::string& tail)
{
    UniqueFile file(::CreateFileW(path.wc_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
    ASSERT_TRUE(file.IsValid());
    LARGE_INTEGER at;
    at.QuadPart = LONGLONG(size - tail.size());
    ASSERT_TRUE(::SetFilePointerEx(file.Get(), at, nullptr, FILE_BEGIN));
    DWORD written = 0;
    ASSERT_TRUE(::WriteFile(file.Get(), tail.data(), DWORD(tail.size()), &written, nullptr));
    ASSERT_EQ(written, tail.size());
}

// Leaves the archive in the build folder for the independent reader (tests/unit/zip_check.py
// --zip64), which reads the large entry back whole.
TEST(ZipAdd, FileOf4GiBAndMoreGetsZip64FieldsAndTheEntriesAfterItFollow)
{
    const wxString out = BuildPath("zip64check");
    RemoveTree(out);
    MakeDirs(out + "\\tree");
    WriteBytes(out + "\\tree\\a.txt", "first");
    const ULONGLONG bigSize = (4ull << 30) + (64 << 10);
    WriteSparse(out + "\\tree\\big.bin", bigSize, std::string(64 << 10, 't'));
    WriteBytes(out + "\\tree\\z.txt", "last");
    RecordingLog log;
    ZipAdd(out + "\\tree.zip", out + "\\tree", "");
    RemoveTree(out + "\\tree");
    EXPECT_TRUE(log.entries.empty()) << log.Dump();

    // The central directory lists every entry with its full size; the small ones read back.
    wxFileInputStream file(out + "\\tree.zip");
    wxZipInputStream zip(file, wxConvUTF8);
    std::map<wxString, std::pair<wxFileOffset, std::string>> entries;
    std::unique_ptr<wxZipEntry> entry;
    while (entry.reset(zip.GetNextEntry()), entry)
    {
        std::string bytes;
        if (entry->GetSize() < 100)
        {
            char buffer[100];
            bytes.assign(buffer, zip.Read(buffer, sizeof buffer).LastRead());
        }
        entries[entry->GetInternalName()] = {entry->GetSize(), bytes};
    }
    ASSERT_EQ(entries.size(), 3u);
    EXPECT_EQ(entries["big.bin"].first, wxFileOffset(bigSize));
    EXPECT_EQ(entries["a.txt"].second, "first");
    EXPECT_EQ(entries["z.txt"].second, "last");
}

// Leaves an archive of the sample tree in the build folder for the independent reader
// (tests/unit/zip_check.py), which runs next.
TEST(ZipAdd, SampleArchiveForTheIndependentReader)
{
    const wxString out = BuildPath("zipcheck");
    RemoveTree(out);
    BuildTree(out + "\\tree");
    ZipAdd(out + "\\tree.zip", out + "\\tree", "");
    EXPECT_EQ(ReadZip(out + "\\tree.zip").size(), 5u);
}

TEST(ZipAddFullDisk, WriteFailureAmongTheEntriesIsLogged)
{
    const wxString disk = FullDisk();
    if (disk.empty())
        GTEST_SKIP() << "no small disk (run by tests/unit/zip_full_disk.sh)";
    const ULONGLONG free = FreeBytes(disk);
    ASSERT_GT(free, 0u);
    ScratchDir dir;
    MakeDirs(dir / "tree");
    for (int i = 0; i < 3; ++i)
        WriteBytes(dir / wxString::Format("tree\\part%d.bin", i), Incompressible(size_t(free / 2), i + 1));
    const wxString zip = disk + "\\out.zip";
    RecordingLog log;
    ZipAdd(zip, dir / "tree", "");
    ::DeleteFileW(zip.wc_str());
    ExpectOneDiskFullRecord(log, zip);
}

TEST(ZipAddFullDisk, WriteFailureInTheLastFlushIsLogged)
{
    const wxString disk = FullDisk();
    if (disk.empty())
        GTEST_SKIP() << "no small disk (run by tests/unit/zip_full_disk.sh)";
    const ULONGLONG free = FreeBytes(disk);
    // Stored entries of known length (4000 incompressible bytes, a 9-character name): every
    // entry fits on the disk, the central directory after them does not.
    const size_t localBytes = 30 + 9 + 4000, centralBytes = 46 + 9, endBytes = 22;
    const size_t count = size_t(free / localBytes);
    ASSERT_GT(count * centralBytes + endBytes, free - count * localBytes);
    ScratchDir dir;
    MakeDirs(dir / "tree");
    for (size_t i = 0; i < count; ++i)
        WriteBytes(dir / wxString::Format("tree\\f%04zu.bin", i), Incompressible(4000, unsigned(i) + 7));
    const wxString zip = disk + "\\out.zip";
    RecordingLog log;
    ZipAdd(zip, dir / "tree", "");
    // Every entry reached the disk; what failed was the last write, of the central directory.
    const ULONGLONG written = ReadBytes(zip).size();
    ::DeleteFileW(zip.wc_str());
    EXPECT_GE(written, count * localBytes);
    ExpectOneDiskFullRecord(log, zip);
}
