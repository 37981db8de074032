#include "CFileCopierFS.h"

#include "test_support.h"

#include <wx/filename.h>

#include <windows.h>

#include <algorithm>
#include <chrono>
#include <set>

namespace
{
// Every file and folder below `root`, as relative paths; folders end with "\".
std::set<wxString> TreeOf(const wxString& root, const wxString& rel = wxString())
{
    std::set<wxString> entries;
    const wxString folder = rel.empty() ? root : root + "\\" + rel;
    for (const WIN32_FIND_DATAW& entry : FindAll(folder + "\\*"))
    {
        const wxString path = rel.empty() ? wxString(entry.cFileName) : rel + "\\" + entry.cFileName;
        if (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)
        {
            entries.insert(path + "\\");
            for (const wxString& inner : TreeOf(root, path))
                entries.insert(inner);
        }
        else
        {
            entries.insert(path);
        }
    }
    return entries;
}

void Files(const wxString& root, std::initializer_list<const char*> paths)
{
    for (const char* path : paths)
    {
        const wxString full = root + "\\" + path;
        MakeDirs(full.BeforeLast('\\'));
        WriteBytes(full, std::string("content of ") + path);
    }
}

// A Windows folder with something for each of the collection's items, and things it must leave.
void SampleWindows(const wxString& root)
{
    Files(root, {"Inf\\setupapi.dev.log", "Inf\\setupapi.app.log", "Inf\\machine.inf", "setupact.log",
                 "setuperr.log", "setup.exe.txt", "WindowsUpdate.log", "notes.txt", "debug\\netsetup.log",
                 "debug\\sub\\deep.log", "Logs\\CBS\\CBS.log", "Logs\\a.txt", "System32\\WinEvt\\Logs\\System.evtx",
                 "System32\\wpeinit.log", "System32\\kernel.dll"});
    MakeDirs(root + "\\Logs\\Old\\Empty");
}

struct Copiers
{
    ScratchDir dir;
    wxString src = dir / "src";
    wxString dst = dir / "dst";
    Copiers() { MakeDirs(src); }
};
} // namespace

TEST(CFileCopierFS, CollectionItemsLandUnderTheirRelativePaths)
{
    Copiers c;
    SampleWindows(c.src);
    RecordingLog log;
    CFileCopierFS source(c.src, true, false, nullptr, false);
    CFileCopierFS dest(c.dst, false, false, nullptr, false);
    ASSERT_TRUE(source.IsOk());
    ASSERT_TRUE(dest.IsOk());
    for (const char* item : {"Inf\\setupapi*", "setup*.*", "*.log", "debug", "Logs", "System32\\WinEvt",
                             "System32\\wpeinit.log", "System32\\winpeshl.log"})
        source.AddItem(item);
    EXPECT_TRUE(source.CopyTo(&dest, true, ""));
    EXPECT_TRUE(dest.Commit());

    const std::set<wxString> expected = {
        "Inf\\", "Inf\\setupapi.dev.log", "Inf\\setupapi.app.log", "setupact.log", "setuperr.log", "setup.exe.txt",
        "WindowsUpdate.log", "debug\\", "debug\\netsetup.log", "debug\\sub\\", "debug\\sub\\deep.log", "Logs\\",
        "Logs\\CBS\\", "Logs\\CBS\\CBS.log", "Logs\\a.txt", "Logs\\Old\\", "System32\\", "System32\\WinEvt\\",
        "System32\\WinEvt\\Logs\\", "System32\\WinEvt\\Logs\\System.evtx", "System32\\wpeinit.log"};
    EXPECT_EQ(TreeOf(c.dst), expected);
    EXPECT_EQ(ReadBytes(c.dst + "\\Inf\\setupapi.dev.log"), "content of Inf\\setupapi.dev.log");
    // The one missing item is a warning only.
    const LogEntry missing = log.Only("FIND failed (\\System32\\winpeshl.log) error (2)");
    EXPECT_EQ(missing.level, wxLOG_Warning);
    EXPECT_EQ(missing.line, 151);
    EXPECT_EQ(missing.func, "CFileCopierFS::CopyToImpl");
    EXPECT_EQ(missing.file, "CFileCopierFS");
}

TEST(CFileCopierFS, WildStagesAreMatchedFolderByFolder)
{
    Copiers c;
    Files(c.src, {"a1\\b\\c1.log", "a1\\b\\d.log", "a2\\b\\c2.log", "a3\\b\\c3.txt", "afile"});
    CFileCopierFS source(c.src, true, false, nullptr, false);
    CFileCopierFS dest(c.dst, false, false, nullptr, false);
    source.AddItem("a*\\b\\c*.log");
    source.CopyTo(&dest, true, "");
    EXPECT_EQ(TreeOf(c.dst), (std::set<wxString>{"a1\\", "a1\\b\\", "a1\\b\\c1.log", "a2\\", "a2\\b\\", "a2\\b\\c2.log"}));
}

TEST(CFileCopierFS, WildStageMatchingOnlyFilesYieldsNothing)
{
    Copiers c;
    Files(c.src, {"x1", "x2.txt"});
    RecordingLog log;
    CFileCopierFS source(c.src, true, false, nullptr, false);
    CFileCopierFS dest(c.dst, false, false, nullptr, false);
    source.AddItem("x*\\y");
    EXPECT_TRUE(source.CopyTo(&dest, true, ""));
    EXPECT_TRUE(TreeOf(c.dst).empty());
    // The files are dropped at the first stage, so the second has no folder to search in.
    EXPECT_TRUE(log.entries.empty()) << log.Dump();
}

TEST(CFileCopierFS, FlatStarCopiesRootFilesAndEachRootFolderUnderItsName)
{
    Copiers c;
    Files(c.src, {"r1.txt", "r2.log", "A\\a.txt", "A\\deep\\x.txt", "B\\b.txt"});
    CFileCopierFS source(c.src, true, false, nullptr, false);
    CFileCopierFS dest(c.dst, false, false, nullptr, false);
    source.AddItem("*");
    source.CopyTo(&dest, false, "");
    EXPECT_EQ(TreeOf(c.dst), (std::set<wxString>{"r1.txt", "r2.log", "A\\", "A\\a.txt", "A\\deep\\", "A\\deep\\x.txt",
                                                 "B\\", "B\\b.txt"}));
}

TEST(CFileCopierFS, FlatPlacementDropsTheFoldersOfMatchedFiles)
{
    Copiers c;
    Files(c.src, {"Inf\\setupapi.dev.log", "Inf\\sub\\inner.txt"});
    CFileCopierFS source(c.src, true, false, nullptr, false);
    CFileCopierFS dest(c.dst, false, false, nullptr, false);
    source.AddItem("Inf\\setupapi*");
    source.AddItem("Inf\\sub");
    source.CopyTo(&dest, false, "out");
    EXPECT_EQ(TreeOf(c.dst), (std::set<wxString>{"out\\", "out\\setupapi.dev.log", "out\\sub\\", "out\\sub\\inner.txt"}));
}

TEST(CFileCopierFS, EmptyQueueCopiesEverythingUnderTheRoot)
{
    Copiers c;
    Files(c.src, {"one.txt", "F\\two.txt"});
    CFileCopierFS source(c.src, true, false, nullptr, false);
    CFileCopierFS dest(c.dst, false, false, nullptr, false);
    source.CopyTo(&dest, true, "");
    EXPECT_EQ(TreeOf(c.dst), (std::set<wxString>{"one.txt", "F\\", "F\\two.txt"}));
}

TEST(CFileCopierFS, QueueIsEmptiedEvenWhenTheDestinationRefuses)
{
    Copiers c;
    Files(c.src, {"one.txt", "two.txt"});
    MakeDirs(c.dst);
    CFileCopierFS source(c.src, true, false, nullptr, false);
    CFileCopierFS readOnlyDest(c.dst, true, false, nullptr, false);
    CFileCopierFS dest(c.dst, false, false, nullptr, false);
    source.AddItem("one.txt");
    RecordingLog log;
    EXPECT_FALSE(source.CopyTo(&readOnlyDest, true, "sub"));
    EXPECT_EQ(log.Only("CFileCopierFS is readonly: " + c.dst + "\\sub").line, 337);
    const LogEntry failed = log.Only("EnsureFolder failed for " + c.dst + "\\sub");
    EXPECT_EQ(failed.level, wxLOG_Error);
    EXPECT_EQ(failed.line, 122);
    EXPECT_EQ(failed.func, "CFileCopier::CopyTo");
    // Nothing queued any more: the next copy takes the whole root.
    EXPECT_TRUE(source.CopyTo(&dest, true, ""));
    EXPECT_EQ(TreeOf(c.dst), (std::set<wxString>{"one.txt", "two.txt"}));
}

TEST(CFileCopierFS, ListOnlyDestinationRecordsEachAttemptAndCreatesNothing)
{
    Copiers c;
    Files(c.src, {"a.log", "Logs\\b.txt", "Logs\\Old\\c.txt"});
    MakeDirs(c.src + "\\Logs\\Empty");
    std::vector<wxString> listed;
    CFileCopierFS source(c.src, true, false, nullptr, false);
    CFileCopierFS dest(c.dst, false, false, &listed, true);
    ASSERT_TRUE(dest.IsOk());
    source.AddItem("a.log");
    source.AddItem("a.log"); // a duplicate is copied, and so listed, twice
    source.AddItem("Logs");
    EXPECT_TRUE(source.CopyTo(&dest, true, ""));
    EXPECT_FALSE(PathExists(c.dst));
    ASSERT_EQ(listed.size(), 4u);
    EXPECT_EQ(listed[0], c.src + "\\a.log");
    EXPECT_EQ(listed[1], c.src + "\\a.log");
    std::vector<wxString> logs(listed.begin() + 2, listed.end());
    std::sort(logs.begin(), logs.end());
    EXPECT_EQ(logs, (std::vector<wxString>{c.src + "\\Logs\\Old\\c.txt", c.src + "\\Logs\\b.txt"}));
    EXPECT_TRUE(dest.CopyFileItem(c.src, "\\missing.txt", "x"));
}

TEST(CFileCopierFS, DuplicateItemIsCopiedTwice)
{
    Copiers c;
    Files(c.src, {"a.log"});
    std::vector<wxString> copied;
    CFileCopierFS source(c.src, true, false, nullptr, false);
    CFileCopierFS dest(c.dst, false, false, &copied, false);
    source.AddItem("a.log");
    source.AddItem("a.log");
    source.CopyTo(&dest, true, "");
    EXPECT_EQ(copied, (std::vector<wxString>{c.src + "\\a.log", c.src + "\\a.log"}));
    EXPECT_EQ(ReadBytes(c.dst + "\\a.log"), "content of a.log");
}

TEST(CFileCopierFS, NestedEmptyFolderGivesItsParentOnly)
{
    Copiers c;
    Files(c.src, {"Logs\\a.txt"});
    MakeDirs(c.src + "\\Logs\\Old\\Empty");
    CFileCopierFS source(c.src, true, false, nullptr, false);
    CFileCopierFS dest(c.dst, false, false, nullptr, false);
    source.AddItem("Logs");
    source.CopyTo(&dest, true, "");
    EXPECT_EQ(TreeOf(c.dst), (std::set<wxString>{"Logs\\", "Logs\\a.txt", "Logs\\Old\\"}));
}

TEST(CFileCopierFS, EmptyFolderItemItselfIsCreated)
{
    Copiers c;
    MakeDirs(c.src + "\\Logs");
    CFileCopierFS source(c.src, true, false, nullptr, false);
    CFileCopierFS dest(c.dst, false, false, nullptr, false);
    source.AddItem("Logs");
    source.CopyTo(&dest, true, "");
    EXPECT_EQ(TreeOf(c.dst), (std::set<wxString>{"Logs\\"}));
}

TEST(CFileCopierFS, ReadOnlyHiddenSystemSourcesAreCopiedAndMadeNormal)
{
    Copiers c;
    Files(c.src, {"ro.log", "hidden.log", "system.log"});
    ::SetFileAttributesW((c.src + "\\ro.log").wc_str(), FILE_ATTRIBUTE_READONLY);
    ::SetFileAttributesW((c.src + "\\hidden.log").wc_str(), FILE_ATTRIBUTE_HIDDEN);
    ::SetFileAttributesW((c.src + "\\system.log").wc_str(), FILE_ATTRIBUTE_SYSTEM);
    CFileCopierFS source(c.src, true, false, nullptr, false);
    CFileCopierFS dest(c.dst, false, false, nullptr, false);
    source.AddItem("*.log");
    source.CopyTo(&dest, true, "");
    for (const char* name : {"ro.log", "hidden.log", "system.log"})
    {
        const wxString copy = c.dst + "\\" + name;
        ASSERT_TRUE(PathExists(copy)) << name;
        EXPECT_EQ(AttributesOf(copy) & (FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM), 0u)
            << name;
    }
}

TEST(CFileCopierFS, ExistingReadOnlyTargetIsReplacedAndMadeNormal)
{
    Copiers c;
    Files(c.src, {"a.log"});
    MakeDirs(c.dst);
    WriteBytes(c.dst + "\\a.log", "old");
    ::SetFileAttributesW((c.dst + "\\a.log").wc_str(), FILE_ATTRIBUTE_READONLY);
    CFileCopierFS source(c.src, true, false, nullptr, false);
    CFileCopierFS dest(c.dst, false, false, nullptr, false);
    source.AddItem("a.log");
    wxLogNull quiet; // a refusal, where the system makes one, is the file class's to report
    source.CopyTo(&dest, true, "");
    // Whether the system lets a read-only file be replaced decides the content; either way the
    // tool does not crash and a replaced copy carries no read-only attribute.
    if (ReadBytes(c.dst + "\\a.log") == "content of a.log")
    {
        EXPECT_EQ(AttributesOf(c.dst + "\\a.log") & FILE_ATTRIBUTE_READONLY, 0u);
    }
}

TEST(CFileCopierFS, LockedFileIsReportedAndTheCopyGoesOn)
{
    Copiers c;
    Files(c.src, {"a.log", "b.log", "c.log"});
    HANDLE held = ::CreateFileW((c.src + "\\b.log").wc_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(held, INVALID_HANDLE_VALUE);
    CFileCopierFS source(c.src, true, false, nullptr, false);
    CFileCopierFS dest(c.dst, false, false, nullptr, false);
    source.AddItem("a.log");
    source.AddItem("b.log");
    source.AddItem("c.log");
    RecordingLog log;
    EXPECT_TRUE(source.CopyTo(&dest, true, ""));
    ::CloseHandle(held);
    const LogEntry entry = log.Only("Item not copied: \\b.log");
    EXPECT_EQ(entry.level, wxLOG_Warning);
    EXPECT_EQ(entry.line, 246);
    EXPECT_EQ(entry.func, "CFileCopierFS::CopyFileItem");
    EXPECT_TRUE(PathExists(c.dst + "\\a.log"));
    EXPECT_TRUE(PathExists(c.dst + "\\c.log"));
}

TEST(CFileCopierFS, NamesOutsideAsciiAreCopied)
{
    Copiers c;
    const wxString name = wxString::FromUTF8("\xD0\x96urnal-\xE6\x97\xA5\xE5\xBF\x97.log");
    WriteBytes(c.src + "\\" + name, "utf");
    CFileCopierFS source(c.src, true, false, nullptr, false);
    CFileCopierFS dest(c.dst, false, false, nullptr, false);
    source.AddItem("*.log");
    source.CopyTo(&dest, true, "");
    EXPECT_EQ(ReadBytes(c.dst + "\\" + name), "utf");
}

TEST(CFileCopierFS, OverlongSourcePathNeitherCrashesNorStopsTheCopy)
{
    Copiers c;
    wxString deep = "\\\\?\\" + c.src;
    wxString rel;
    for (int i = 0; i < 12; ++i)
    {
        rel += wxString::Format("%s%02d\\", wxString('d', 25), i);
    }
    deep += "\\" + rel;
    ASSERT_TRUE(wxFileName::Mkdir(deep, 0777, wxPATH_MKDIR_FULL));
    WriteBytes(deep + "deep.log", "deep");
    Files(c.src, {"after.log"});
    ASSERT_GT((c.src + "\\" + rel + "deep.log").length(), 260u);
    CFileCopierFS source(c.src, true, false, nullptr, false);
    CFileCopierFS dest(c.dst, false, false, nullptr, false);
    source.AddItem(rel + "deep.log");
    source.AddItem("after.log");
    wxLogNull quiet;
    EXPECT_TRUE(source.CopyTo(&dest, true, ""));
    EXPECT_EQ(ReadBytes(c.dst + "\\after.log"), "content of after.log");
}

TEST(CFileCopierFS, PatternMatchingNothingIsAWarningOnly)
{
    Copiers c;
    CFileCopierFS source(c.src, true, false, nullptr, false);
    CFileCopierFS dest(c.dst, false, false, nullptr, false);
    RecordingLog log;
    source.AddItem("nothing*.xyz");
    EXPECT_TRUE(source.CopyTo(&dest, true, ""));
    ASSERT_EQ(log.entries.size(), 1u) << log.Dump();
    EXPECT_EQ(log.entries[0].level, wxLOG_Warning);
    EXPECT_TRUE(log.entries[0].msg.StartsWith("FIND failed (\\nothing*.xyz) error (")) << log.Dump();
}

TEST(CFileCopierFS, EntryThatVanishesBeforeCopyingIsReported)
{
    // A name ending in a dot is listed by the search, but asked for by path the system drops
    // the dot and finds nothing.
    Copiers c;
    WriteBytes("\\\\?\\" + c.src + "\\odd.", "x");
    CFileCopierFS source(c.src, true, false, nullptr, false);
    CFileCopierFS dest(c.dst, false, false, nullptr, false);
    RecordingLog log;
    source.AddItem("odd*");
    EXPECT_TRUE(source.CopyTo(&dest, true, ""));
    const LogEntry entry = log.Only("Item not exist: \\odd.");
    EXPECT_EQ(entry.level, wxLOG_Warning);
    EXPECT_EQ(entry.line, 196);
    RemoveTree("\\\\?\\" + c.src + "\\odd.");
}

TEST(CFileCopierFS, EnsureFolderMessages)
{
    Copiers c;
    RecordingLog log;
    CFileCopierFS missing(c.dir / "missing", true, false, nullptr, false);
    EXPECT_FALSE(missing.IsOk());
    EXPECT_FALSE(missing.EnsureFolder("x"));
    EXPECT_EQ(log.Only("CFileCopierFS is not OK: x").line, 332);

    CFileCopierFS dest(c.dst, false, false, nullptr, false);
    EXPECT_TRUE(dest.EnsureFolder(""));
    const LogEntry empty = log.Only("EnsureFolder is called with empty path");
    EXPECT_EQ(empty.level, wxLOG_Warning);
    EXPECT_EQ(empty.line, 342);
    EXPECT_TRUE(dest.EnsureFolder(c.dst + "\\new\\deeper"));
    EXPECT_TRUE(DirExists(c.dst + "\\new\\deeper"));
}

TEST(CFileCopierFS, WritableRootIsCreatedReadOnlyRootIsNot)
{
    ScratchDir dir;
    CFileCopierFS writable(dir / "made\\here", false, false, nullptr, false);
    EXPECT_TRUE(writable.IsOk());
    EXPECT_TRUE(DirExists(dir / "made\\here"));
    CFileCopierFS readOnly(dir / "not\\here", true, false, nullptr, false);
    EXPECT_FALSE(readOnly.IsOk());
    EXPECT_FALSE(PathExists(dir / "not"));
}

TEST(CFileCopierFS, SnapshotOnAWritableCopierIsRefusedWithoutTrying)
{
    ScratchDir dir;
    RecordingLog log;
    const auto start = std::chrono::steady_clock::now();
    CFileCopierFS copier(dir.Path(), false, true, nullptr, false);
    EXPECT_FALSE(copier.IsOk());
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(1000));
    EXPECT_TRUE(log.entries.empty()) << log.Dump();
}

TEST(CFileCopierFS, RemoveDeletesFilesAndFoldersAndIgnoresMissingOnes)
{
    Copiers c;
    Files(c.dst, {"f.txt", "D\\g.txt"});
    ::SetFileAttributesW((c.dst + "\\f.txt").wc_str(), FILE_ATTRIBUTE_READONLY);
    CFileCopierFS dest(c.dst, false, false, nullptr, false);
    EXPECT_TRUE(dest.Remove("f.txt"));
    EXPECT_TRUE(dest.Remove("\\D"));
    EXPECT_TRUE(dest.Remove("never"));
    EXPECT_TRUE(TreeOf(c.dst).empty());
}

TEST(CFileCopierFS, CommitAndSyncSucceed)
{
    ScratchDir dir;
    CFileCopierFS copier(dir.Path(), false, false, nullptr, false);
    EXPECT_TRUE(copier.Commit());
    EXPECT_TRUE(copier.Sync());
    EXPECT_EQ(copier.GetPath(), dir.Path());
    EXPECT_EQ(copier.GetOrigPath(), dir.Path());
}

// ---- the interface's own stubs ----

namespace
{
class BareCopier : public CFileCopier
{
public:
    wxString GetPath() const override { return "C:\\bare"; }
};

void ExpectNotImplemented(const AssertRecord& record, int line, const char* func)
{
    EXPECT_EQ(record.file, "common");
    EXPECT_EQ(record.line, line);
    EXPECT_EQ(record.func, func);
    EXPECT_EQ(record.cond, "\"Assert failure\"");
    EXPECT_EQ(record.msg, "Not implemented");
}
} // namespace

TEST(CFileCopier, UnsupportedOperationsReportNotImplementedAndGiveNeutralResults)
{
    BareCopier bare;
    AssertRecorder recorder;
    EXPECT_EQ(bare.GetOrigPath(), "");
    EXPECT_FALSE(bare.CopyItem("a", "b", 0, "c"));
    EXPECT_FALSE(bare.Remove("x"));
    EXPECT_FALSE(bare.EnsureFolder("x"));
    EXPECT_FALSE(bare.CopyToImpl(&bare, true, ""));
    ASSERT_EQ(recorder.asserts.size(), 5u);
    ExpectNotImplemented(recorder.asserts[0], 185, "CFileCopier::GetOrigPath");
    ExpectNotImplemented(recorder.asserts[1], 205, "CFileCopier::CopyItem");
    ExpectNotImplemented(recorder.asserts[2], 211, "CFileCopier::Remove");
    ExpectNotImplemented(recorder.asserts[3], 217, "CFileCopier::EnsureFolder");
    ExpectNotImplemented(recorder.asserts[4], 227, "CFileCopier::CopyToImpl");
}

TEST(CFileCopier, BaseDefaultsAndQueue)
{
    BareCopier bare;
    EXPECT_FALSE(bare.IsOk());
    EXPECT_FALSE(bare.IsReadOnly());
    EXPECT_TRUE(bare.Commit());
    EXPECT_TRUE(bare.Sync());
    EXPECT_TRUE(bare.AddItem("x"));
}

TEST(CFileCopier, NullDestinationIsAnAssertionAndTheQueueIsConsumed)
{
    ScratchDir dir;
    Files(dir.Path(), {"a.log"});
    CFileCopierFS source(dir.Path(), true, false, nullptr, false);
    source.AddItem("a.log");
    AssertRecorder recorder;
    EXPECT_FALSE(source.CopyTo(nullptr, true, ""));
    ASSERT_EQ(recorder.asserts.size(), 1u);
    EXPECT_EQ(recorder.asserts[0].cond, "dst");
    EXPECT_EQ(recorder.asserts[0].line, 112);
    EXPECT_EQ(recorder.asserts[0].func, "CFileCopier::CopyTo");
}
