#include "common.h"
#include "ziptools.h"

#include "test_support.h"

#include <wx/datetime.h>
#include <wx/wfstream.h>
#include <wx/zipstrm.h>

#include <windows.h>

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

// Leaves an archive of the sample tree in the build folder for the independent reader
// (tests/zip_check.py), which runs next.
TEST(ZipAdd, SampleArchiveForTheIndependentReader)
{
    const wxString out = BuildPath("zipcheck");
    RemoveTree(out);
    BuildTree(out + "\\tree");
    ZipAdd(out + "\\tree.zip", out + "\\tree", "");
    EXPECT_EQ(ReadZip(out + "\\tree.zip").size(), 5u);
}
