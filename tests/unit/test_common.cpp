#include "common.h"

#include "test_support.h"

#include <windows.h>

// ---- JoinPath ----------------------------------------------------------------------------

TEST(JoinPath, AddsOneSeparatorBetweenParts)
{
    EXPECT_EQ(JoinPath("C:\\Windows", "System32\\drivers"), "C:\\Windows\\System32\\drivers");
}

TEST(JoinPath, DropsOneLeadingSeparatorAndReusesTrailingOne)
{
    EXPECT_EQ(JoinPath("C:\\Windows\\", "\\System32\\drivers"), "C:\\Windows\\System32\\drivers");
}

TEST(JoinPath, DropsOnlyOneOfTwoLeadingSeparators)
{
    EXPECT_EQ(JoinPath("a", "\\\\b"), "a\\\\b");
}

TEST(JoinPath, EmptyFolderGivesTheNameAlone)
{
    EXPECT_EQ(JoinPath("", "mpdiag.log"), "mpdiag.log");
    EXPECT_EQ(JoinPath("", "\\x"), "x");
}

TEST(JoinPath, EmptyNameEndsWithSeparator)
{
    EXPECT_EQ(JoinPath("a", ""), "a\\");
    EXPECT_EQ(JoinPath("a\\", ""), "a\\");
}

TEST(JoinPath, ForwardSlashIsNotASeparator)
{
    EXPECT_EQ(JoinPath("a/", "/b"), "a/\\/b");
}

// ---- DirExists / EnsureDirExists -----------------------------------------------------------

namespace
{
bool SystemSaysFolder(const wxString& path)
{
    const DWORD attributes = ::GetFileAttributesW(path.wc_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY);
}
} // namespace

TEST(DirExists, TrueForExistingFolderAndRootForms)
{
    ScratchDir dir;
    EXPECT_TRUE(DirExists(dir.Path()));
    EXPECT_TRUE(DirExists("C:\\"));
    EXPECT_TRUE(DirExists("\\"));
}

TEST(DirExists, FalseForFileAndMissingPath)
{
    ScratchDir dir;
    WriteBytes(dir / "file.txt", "x");
    EXPECT_FALSE(DirExists(dir / "file.txt"));
    EXPECT_FALSE(DirExists(dir / "missing"));
    EXPECT_FALSE(DirExists(""));
}

TEST(DirExists, TrailingSeparatorsAreJudgedByTheSystemAsGiven)
{
    ScratchDir dir;
    wchar_t windows[MAX_PATH];
    ::GetWindowsDirectoryW(windows, MAX_PATH);
    const wxString texts[] = {wxString(windows) + "\\", wxString(windows) + "\\\\", dir.Path() + "\\",
                              dir.Path() + "\\\\\\", "C:", "C:\\\\"};
    for (const wxString& text : texts)
        EXPECT_EQ(DirExists(text), SystemSaysFolder(text)) << text.utf8_string();
    EXPECT_TRUE(DirExists(wxString(windows) + "\\"));
}

TEST(DirExists, VolumeNameRootIsAFolderWhenTheSystemSaysSo)
{
    wchar_t volume[MAX_PATH];
    HANDLE find = ::FindFirstVolumeW(volume, MAX_PATH);
    ASSERT_NE(find, INVALID_HANDLE_VALUE) << ::GetLastError();
    ::FindVolumeClose(find);
    const wxString root(volume);
    ASSERT_EQ(root.length(), 49u) << root.utf8_string();
    EXPECT_EQ(DirExists(root), SystemSaysFolder(root)) << root.utf8_string();
}

TEST(EnsureDirExists, CreatesMissingParents)
{
    ScratchDir dir;
    const wxString deep = dir / "a\\b\\c";
    EXPECT_TRUE(EnsureDirExists(deep));
    EXPECT_TRUE(SystemSaysFolder(deep));
    EXPECT_TRUE(EnsureDirExists(deep)) << "an existing folder is success";
}

TEST(EnsureDirExists, FalseWhenAFileIsInTheWay)
{
    ScratchDir dir;
    WriteBytes(dir / "blocker", "x");
    RecordingLog log;
    EXPECT_FALSE(EnsureDirExists(dir / "blocker\\sub"));
}

// ---- FileExists ----------------------------------------------------------------------------

TEST(FileExists, MissingFileLogsOnceWhenAsked)
{
    ScratchDir dir;
    RecordingLog log;
    const wxString missing = dir / "nothing.txt";
    EXPECT_FALSE(FileExists(missing, true));
    ASSERT_EQ(log.entries.size(), 1u) << log.Dump();
    EXPECT_EQ(log.entries[0].level, wxLOG_Message);
    EXPECT_EQ(log.entries[0].msg, "File not found: " + missing);
    EXPECT_EQ(log.entries[0].func, "FileExists");
    EXPECT_EQ(log.entries[0].file, "common");
}

TEST(FileExists, MissingFileLogsNothingWhenNotAsked)
{
    ScratchDir dir;
    RecordingLog log;
    EXPECT_FALSE(FileExists(dir / "nothing.txt", false));
    EXPECT_TRUE(log.entries.empty()) << log.Dump();
}

TEST(FileExists, EmptyPathIsFalseAndSilent)
{
    RecordingLog log;
    EXPECT_FALSE(FileExists("", true));
    EXPECT_TRUE(log.entries.empty()) << log.Dump();
}

TEST(FileExists, ExistingFileIsTrueAndFolderIsNot)
{
    ScratchDir dir;
    WriteBytes(dir / "here.txt", "x");
    RecordingLog log;
    EXPECT_TRUE(FileExists(dir / "here.txt", true));
    EXPECT_FALSE(FileExists(dir.Path(), false));
    EXPECT_TRUE(log.entries.empty()) << log.Dump();
}

// ---- DeleteFileForced ----------------------------------------------------------------------

TEST(DeleteFileForced, NothingToDeleteIsSuccess)
{
    ScratchDir dir;
    EXPECT_TRUE(DeleteFileForced(""));
    EXPECT_TRUE(DeleteFileForced(dir / "missing.zip"));
}

TEST(DeleteFileForced, RemovesReadOnlyHiddenSystemFile)
{
    ScratchDir dir;
    const wxString path = dir / "old.zip";
    WriteBytes(path, "old");
    ASSERT_TRUE(::SetFileAttributesW(path.wc_str(),
                                     FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM));
    EXPECT_TRUE(DeleteFileForced(path));
    EXPECT_FALSE(PathExists(path));
}

TEST(DeleteFileForced, FileHeldOpenWithoutDeleteSharingIsReportedNotDeleted)
{
    ScratchDir dir;
    const wxString path = dir / "held.zip";
    WriteBytes(path, "held");
    HANDLE held = ::CreateFileW(path.wc_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(held, INVALID_HANDLE_VALUE);
    bool deleted;
    {
        wxLogNull quiet; // wxRemoveFile reports its own failure
        deleted = DeleteFileForced(path);
    }
    ::CloseHandle(held);
    EXPECT_FALSE(deleted);
    EXPECT_TRUE(PathExists(path));
}

// ---- EnablePrivilege -----------------------------------------------------------------------

TEST(EnablePrivilege, HeldPrivilegeIsEnabled)
{
    // The administrator's token holds the backup privilege (Wine gives it too).
    EXPECT_TRUE(EnablePrivilege("SeBackupPrivilege"));
}

TEST(EnablePrivilege, PrivilegeNotInTokenIsFalse)
{
    // No administrator token carries this one: the adjustment "succeeds" with
    // ERROR_NOT_ALL_ASSIGNED, which must count as failure.
    ::SetLastError(0xDEADBEEF);
    EXPECT_FALSE(EnablePrivilege("SeCreateTokenPrivilege"));
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_NOT_ALL_ASSIGNED));
}

TEST(EnablePrivilege, UnknownNameIsFalse)
{
    ::SetLastError(0xDEADBEEF);
    EXPECT_FALSE(EnablePrivilege("SeNoSuchPrivilege"));
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_NO_SUCH_PRIVILEGE));
}
