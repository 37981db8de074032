#include "common.h"

#include "test_support.h"

#include <windows.h>

namespace
{
std::vector<wxString> Vec(const wxArrayString& array) { return std::vector<wxString>(array.begin(), array.end()); }

// The required order, built independently: a folder's files first, then its subfolders,
// the last one returned first, each in full before the next.
void ExpectedOrder(const wxString& base, const wxString& rel, std::vector<wxString>& files)
{
    std::vector<wxString> folders;
    for (const WIN32_FIND_DATAW& entry : FindAll(base + "\\" + rel + "\\*"))
    {
        const wxString path = rel + "\\" + entry.cFileName;
        if (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)
            folders.push_back(path);
        else
            files.push_back(path);
    }
    for (auto it = folders.rbegin(); it != folders.rend(); ++it)
        ExpectedOrder(base, *it, files);
}
} // namespace

TEST(HasWildcard, StarOrQuestionMarkUnlessEscaped)
{
    EXPECT_TRUE(HasWildcard("Logs\\d*.txt"));
    EXPECT_TRUE(HasWildcard("a?c"));
    EXPECT_FALSE(HasWildcard("Logs\\Sub"));
    EXPECT_FALSE(HasWildcard(""));
    EXPECT_FALSE(HasWildcard("a\\*"));   // the backslash makes "*" ordinary
    EXPECT_TRUE(HasWildcard("a\\b*"));
}

TEST(HasWildcard, StarRightAfterABackslashIsOrdinary)
{
    // So "Logs\*.txt" is no wildcard start: the search takes it as a folder name and fails.
    EXPECT_FALSE(HasWildcard("Logs\\*.txt"));
    EXPECT_FALSE(HasWildcard("Logs\\?"));
    EXPECT_TRUE(HasWildcard("Logs\\?*"));
}

TEST(SearchDirs, StarRightAfterTheSeparatorIsSearchedAsAFolderName)
{
    ScratchDir dir;
    MakeDirs(dir / "Logs");
    WriteBytes(dir / "Logs\\x.txt", "x");
    RecordingLog log;
    wxArrayString files, empty;
    EXPECT_TRUE(SearchDirs(dir.Path(), "Logs\\*.txt", wxArrayString(), files, empty));
    EXPECT_TRUE(files.empty());
    EXPECT_EQ(log.entries.size(), 1u) << log.Dump();
    EXPECT_TRUE(log.entries[0].msg.StartsWith("FIND failed (Logs\\*.txt\\*) error (")) << log.Dump();
}

TEST(HasWildcard, TrailingBackslashEndsTheScanWithFalse)
{
    EXPECT_FALSE(HasWildcard("abc\\"));
    EXPECT_TRUE(HasWildcard("*abc\\"));
}

TEST(SearchDirs, FilesOfAFolderComeBeforeItsSubfoldersDepthFirstLastFoundFirst)
{
    ScratchDir dir;
    const wxString base = dir.Path();
    for (const char* folder : {"start\\A\\A1", "start\\B", "start\\C\\C1\\C2", "start\\D"})
        MakeDirs(base + "\\" + folder);
    for (const char* file : {"start\\f1.txt", "start\\f2.log", "start\\A\\a.txt", "start\\A\\A1\\a1.txt",
                             "start\\B\\b1.txt", "start\\B\\b2.txt", "start\\C\\c.txt", "start\\C\\C1\\C2\\c2.txt",
                             "start\\D\\d.txt"})
        WriteBytes(base + "\\" + file, "x");

    wxArrayString files, empty;
    RecordingLog log;
    EXPECT_TRUE(SearchDirs(base, "start", wxArrayString(), files, empty));
    std::vector<wxString> expected;
    ExpectedOrder(base, "start", expected);
    EXPECT_EQ(Vec(files), expected);
    EXPECT_EQ(files.size(), 9u);
    EXPECT_TRUE(empty.empty());
    EXPECT_TRUE(log.entries.empty()) << log.Dump();
    // A folder's own files precede everything below it.
    EXPECT_LT(files.Index("start\\f1.txt"), files.Index("start\\A\\a.txt"));
    EXPECT_LT(files.Index("start\\C\\c.txt"), files.Index("start\\C\\C1\\C2\\c2.txt"));
}

TEST(SearchDirs, SuffixesMatchWithoutRegardToCase)
{
    ScratchDir dir;
    MakeDirs(dir / "s\\sub");
    WriteBytes(dir / "s\\A.LOG", "x");
    WriteBytes(dir / "s\\b.txt", "x");
    WriteBytes(dir / "s\\sub\\c.Log", "x");
    wxArrayString suffixes, files, empty;
    suffixes.Add(".log");
    SearchDirs(dir.Path(), "s", suffixes, files, empty);
    std::vector<wxString> got = Vec(files);
    std::sort(got.begin(), got.end());
    EXPECT_EQ(got, (std::vector<wxString>{"s\\A.LOG", "s\\sub\\c.Log"}));
}

TEST(SearchDirs, WildcardStartListsMatchesWithPrefixAndMatchingFoldersInFull)
{
    ScratchDir dir;
    MakeDirs(dir / "Logs\\dir.txt\\deep");
    MakeDirs(dir / "Logs\\dnone.txt");
    WriteBytes(dir / "Logs\\dx.txt", "x");
    WriteBytes(dir / "Logs\\other.txt", "o");
    WriteBytes(dir / "Logs\\dy.log", "y");
    WriteBytes(dir / "Logs\\dir.txt\\inner.bin", "i");
    WriteBytes(dir / "Logs\\dir.txt\\deep\\z.dat", "z");
    wxArrayString files, empty;
    EXPECT_TRUE(SearchDirs(dir.Path(), "Logs\\d*.txt", wxArrayString(), files, empty));
    std::vector<wxString> got = Vec(files);
    std::sort(got.begin(), got.end());
    EXPECT_EQ(got, (std::vector<wxString>{"Logs\\dir.txt\\deep\\z.dat", "Logs\\dir.txt\\inner.bin", "Logs\\dx.txt"}));
    // An empty folder found below a wildcard start is recorded without the prefix.
    EXPECT_EQ(Vec(empty), (std::vector<wxString>{"dnone.txt"}));
}

TEST(SearchDirs, EmptyStartFolderIsRecordedAsEmpty)
{
    ScratchDir dir;
    MakeDirs(dir / "Old\\Empty");
    wxArrayString files, empty;
    EXPECT_TRUE(SearchDirs(dir.Path(), "Old", wxArrayString(), files, empty));
    EXPECT_TRUE(files.empty());
    EXPECT_EQ(Vec(empty), (std::vector<wxString>{"Old\\Empty"}));

    wxArrayString files2, empty2;
    SearchDirs(dir.Path(), "Old\\Empty", wxArrayString(), files2, empty2);
    EXPECT_EQ(Vec(empty2), (std::vector<wxString>{"Old\\Empty"}));
}

TEST(SearchDirs, MissingStartWarnsWithTheSearchSpecAndStaysTrue)
{
    ScratchDir dir;
    WIN32_FIND_DATAW data;
    ASSERT_EQ(::FindFirstFileW((dir / "missing\\*").wc_str(), &data), INVALID_HANDLE_VALUE);
    const DWORD expectedError = ::GetLastError();
    RecordingLog log;
    wxArrayString files, empty;
    EXPECT_TRUE(SearchDirs(dir.Path(), "missing", wxArrayString(), files, empty));
    EXPECT_TRUE(files.empty());
    EXPECT_TRUE(empty.empty());
    const LogEntry entry = log.Only(wxString::Format("FIND failed (missing\\*) error (%d)", (int)expectedError));
    EXPECT_EQ(entry.level, wxLOG_Warning);
    EXPECT_EQ(entry.line, 1148);
    EXPECT_EQ(entry.func, "SearchDirs");
    EXPECT_EQ(entry.file, "common");
}

TEST(DeleteDirectory, MissingFolderIsSuccess)
{
    ScratchDir dir;
    RecordingLog log;
    EXPECT_TRUE(DeleteDirectory((dir / "missing").wc_str()));
    EXPECT_TRUE(log.entries.empty()) << log.Dump();
}

TEST(DeleteDirectory, RemovesTreeWithReadOnlyFilesAndFolders)
{
    ScratchDir dir;
    MakeDirs(dir / "t\\ro\\inner");
    WriteBytes(dir / "t\\ro\\inner\\f.txt", "x");
    WriteBytes(dir / "t\\g.txt", "x");
    ::SetFileAttributesW((dir / "t\\ro\\inner\\f.txt").wc_str(), FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_SYSTEM);
    ::SetFileAttributesW((dir / "t\\ro").wc_str(), FILE_ATTRIBUTE_READONLY);
    EXPECT_TRUE(DeleteDirectory((dir / "t").wc_str()));
    EXPECT_FALSE(PathExists(dir / "t"));
}

TEST(DeleteDirectory, DotNamesAreLeftAndTheFolderStays)
{
    ScratchDir dir;
    MakeDirs(dir / "t");
    WriteBytes(dir / "t\\.hidden", "x");
    WriteBytes(dir / "t\\gone.txt", "x");
    RecordingLog log;
    EXPECT_FALSE(DeleteDirectory((dir / "t").wc_str()));
    EXPECT_TRUE(PathExists(dir / "t\\.hidden"));
    EXPECT_FALSE(PathExists(dir / "t\\gone.txt"));
    const LogEntry entry = log.Only(wxString::Format("RemoveDirectory fails: %d", ERROR_DIR_NOT_EMPTY));
    EXPECT_EQ(entry.level, wxLOG_Error);
    EXPECT_EQ(entry.line, 1105);
    EXPECT_EQ(entry.func, "DeleteDirectory");
}

TEST(DeleteDirectory, FileHeldOpenStopsTheDeletion)
{
    ScratchDir dir;
    MakeDirs(dir / "t");
    WriteBytes(dir / "t\\held.txt", "x");
    HANDLE held = ::CreateFileW((dir / "t\\held.txt").wc_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(held, INVALID_HANDLE_VALUE);
    RecordingLog log;
    EXPECT_FALSE(DeleteDirectory((dir / "t").wc_str()));
    ::CloseHandle(held);
    EXPECT_TRUE(PathExists(dir / "t\\held.txt"));
    EXPECT_TRUE(log.entries.empty()) << "a refused file delete is not logged\n" << log.Dump();
}
