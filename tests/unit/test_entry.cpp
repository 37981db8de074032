#include "command_line.h"
#include "temp_folder.h"

#include "test_support.h"

#include <wx/arrstr.h>

#include <windows.h>
// After windows.h: needs its types.
#include <delayimp.h>

#include <cstdlib>
#include <ctime>
#include <deque>

// ---- the -x switch -------------------------------------------------------------------------

namespace
{
bool Extended(std::vector<const char*> args)
{
    args.insert(args.begin(), "mpdiag.exe");
    return IsExtendedRun(static_cast<int>(args.size()), args.data());
}
} // namespace

TEST(IsExtendedRun, NoArgumentsIsANormalRun) { EXPECT_FALSE(Extended({})); }

TEST(IsExtendedRun, FirstArgumentStartingWithDashXIsExtended)
{
    EXPECT_TRUE(Extended({"-x"}));
    EXPECT_TRUE(Extended({"-xyz"}));
    EXPECT_TRUE(Extended({"-xtended"}));
    EXPECT_TRUE(Extended({"-x", "ignored", "-X"}));
}

TEST(IsExtendedRun, AnythingElseIsANormalRun)
{
    EXPECT_FALSE(Extended({"-X"}));
    EXPECT_FALSE(Extended({"x"}));
    EXPECT_FALSE(Extended({"--x"}));
    EXPECT_FALSE(Extended({"/x"}));
    EXPECT_FALSE(Extended({"-"}));
    EXPECT_FALSE(Extended({""}));
    EXPECT_FALSE(Extended({"-y", "-x"}));
}

// ---- MakeUniqueTempFolder ------------------------------------------------------------------

namespace
{
// The clock and the generator behind the folder's name: a fixed time, and the draws a test
// sets (or the real generator's, recorded). Installed while the object lives.
struct FakeNameSource
{
    static FakeNameSource* current;
    time_t now = 1700000000;
    std::vector<unsigned> seeds;
    std::deque<int> draws;       // answered in order; when empty, `repeat` (or the real rand)
    int repeat = -1;
    std::vector<int> drawn;      // every value handed out
    std::vector<wxString> made;  // folders to remove afterwards

    FakeNameSource()
    {
        current = this;
        g_tempNameCalls = {Time, Seed, Draw};
    }
    ~FakeNameSource()
    {
        g_tempNameCalls = {::time, ::srand, ::rand};
        current = nullptr;
        for (const wxString& path : made)
            RemoveTree(path);
    }
    // Makes the folder through the function under test, and takes it for removal.
    wxString Make(const wxString& prefix = "MPDiagTest")
    {
        const wxString path = MakeUniqueTempFolder(prefix);
        if (!path.empty())
            made.push_back(path);
        return path;
    }
    // A folder that is there before the call.
    void Occupy(const wxString& name)
    {
        const wxString path = TempFolder() + "\\" + name;
        ASSERT_TRUE(::CreateDirectoryW(path.wc_str(), nullptr)) << name.utf8_string();
        made.push_back(path);
    }

    static time_t Time(time_t* out)
    {
        if (out)
            *out = current->now;
        return current->now;
    }
    static void Seed(unsigned seed)
    {
        current->seeds.push_back(seed);
        ::srand(seed);
    }
    static int Draw()
    {
        int value = current->repeat >= 0 ? current->repeat : ::rand();
        if (!current->draws.empty())
        {
            value = current->draws.front();
            current->draws.pop_front();
        }
        current->drawn.push_back(value);
        return value;
    }
};
FakeNameSource* FakeNameSource::current = nullptr;
} // namespace

TEST(MakeUniqueTempFolder, CreatesAnEmptyHiddenFolderNamedPrefixAndHexDigits)
{
    FakeNameSource names; // the real generator, recorded: the folder is removed afterwards
    const wxString path = names.Make();
    ASSERT_FALSE(path.empty());

    EXPECT_EQ(path.BeforeLast('\\'), TempFolder());
    const wxString name = path.AfterLast('\\');
    ASSERT_TRUE(name.StartsWith("MPDiagTest"));
    const wxString digits = name.Mid(10);
    EXPECT_GE(digits.length(), 1u);
    EXPECT_LE(digits.length(), 8u);
    EXPECT_EQ(digits.find_first_not_of("0123456789abcdef"), wxString::npos) << name.utf8_string();
    EXPECT_NE(digits[0], '0') << "no leading zeros";
    EXPECT_TRUE(FindAll(path + "\\*").empty());

    const DWORD attributes = AttributesOf(path);
    ASSERT_NE(attributes, INVALID_FILE_ATTRIBUTES);
    EXPECT_TRUE(attributes & FILE_ATTRIBUTE_DIRECTORY);
    EXPECT_TRUE(attributes & FILE_ATTRIBUTE_HIDDEN);
}

TEST(MakeUniqueTempFolder, SeedsOnceWithTheTimeAndNamesTheFolderFirstDrawHighSecondDrawLow)
{
    FakeNameSource names;
    names.now = 1234567;
    names.draws = {0x1234, 0x5678};
    EXPECT_EQ(names.Make(), TempFolder() + "\\MPDiagTest12345678");
    EXPECT_EQ(names.seeds, (std::vector<unsigned>{1234567}));
    EXPECT_EQ(names.drawn.size(), 2u);
}

TEST(MakeUniqueTempFolder, NameHasLowerCaseHexWithoutLeadingZeros)
{
    FakeNameSource names;
    names.draws = {0, 0xab, 0x7fff, 0, 0x7fff, 0x7fff};
    EXPECT_EQ(names.Make("MPDiagA"), TempFolder() + "\\MPDiagAab");
    EXPECT_EQ(names.Make("MPDiagB"), TempFolder() + "\\MPDiagB7fff0000");
    EXPECT_EQ(names.Make("MPDiagC"), TempFolder() + "\\MPDiagC7fff7fff");
}

TEST(MakeUniqueTempFolder, ExistingFolderIsSkippedForTheNextDraws)
{
    FakeNameSource names;
    names.draws = {1, 2, 3, 4};
    names.Occupy("MPDiagTest10002");
    EXPECT_EQ(names.Make(), TempFolder() + "\\MPDiagTest30004");
    EXPECT_EQ(names.drawn.size(), 4u);
}

TEST(MakeUniqueTempFolder, TwoCallsInOneSecondDrawTheSameSequenceAndSkipTheTakenName)
{
    FakeNameSource names; // a fixed clock, the real generator
    const wxString first = names.Make();
    const std::vector<int> firstDraws = names.drawn;
    names.drawn.clear();
    const wxString second = names.Make();

    EXPECT_EQ(names.seeds.size(), 2u);
    EXPECT_EQ(names.seeds[0], names.seeds[1]);
    ASSERT_EQ(firstDraws.size(), 2u);
    ASSERT_EQ(names.drawn.size(), 4u) << "the later call skips the existing folder";
    EXPECT_EQ(std::vector<int>(names.drawn.begin(), names.drawn.begin() + 2), firstDraws);
    EXPECT_NE(first, second);
    EXPECT_TRUE(PathExists(first));
    EXPECT_TRUE(PathExists(second));
}

TEST(MakeUniqueTempFolder, ThousandTakenNamesGiveAnEmptyResult)
{
    FakeNameSource names;
    names.repeat = 1; // every draw names "MPDiagTest10001"
    names.Occupy("MPDiagTest10001");
    EXPECT_EQ(names.Make(), "");
    EXPECT_EQ(names.drawn.size(), 2000u) << "a thousand attempts, two draws each";
}

TEST(MakeUniqueTempFolder, TheThousandthAttemptStillCounts)
{
    FakeNameSource names;
    names.repeat = 1;
    names.draws.assign(1998, 1); // 999 attempts at the taken name
    names.draws.push_back(5);
    names.draws.push_back(6);
    names.Occupy("MPDiagTest10001");
    EXPECT_EQ(names.Make(), TempFolder() + "\\MPDiagTest50006");
    EXPECT_EQ(names.drawn.size(), 2000u);
}

// ---- the executable, from the outside ------------------------------------------------------

namespace
{
// A copy of mpdiag.exe in a scratch folder, so that its archive lands there.
struct ToolCopy
{
    ScratchDir dir;
    wxString exe = dir / "mpdiag.exe";
    ToolCopy() { EXPECT_TRUE(::CopyFileW(BuildPath("mpdiag.exe").wc_str(), exe.wc_str(), FALSE)); }
    int Run(const wxString& args = wxString()) { return RunToEnd("\"" + exe + "\"" + (args.empty() ? "" : " " + args)); }
};
} // namespace

TEST(MpdiagExe, ExitsWithZeroAndLeavesNoWorkingFolder)
{
    const std::vector<wxString> before = TempEntries("MPDiag");
    ToolCopy tool;
    EXPECT_EQ(tool.Run(), 0);
    EXPECT_EQ(TempEntries("MPDiag"), before);
}

TEST(MpdiagExe, RemovesAReadOnlyArchiveOfAnEarlierRun)
{
    ToolCopy tool;
    const wxString zip = tool.dir / "mpdiag.zip";
    WriteBytes(zip, "not an archive of this run");
    ASSERT_TRUE(::SetFileAttributesW(zip.wc_str(), FILE_ATTRIBUTE_READONLY));
    EXPECT_EQ(tool.Run(), 0);
    EXPECT_TRUE(!PathExists(zip) || ReadBytes(zip) != "not an archive of this run");
}

TEST(MpdiagExe, ExitsWithZeroWhateverTheArguments)
{
    ToolCopy tool;
    EXPECT_EQ(tool.Run("-x"), 0);
    EXPECT_EQ(tool.Run("-X /x --x extra"), 0);
}

TEST(MpdiagExe, NormalRunPassesNoRecordToStandardError)
{
    // The run logs plenty here (no product, no sample machine); all of it goes to the log alone.
    ToolCopy tool;
    const wxString errors = tool.dir / "stderr.txt";
    EXPECT_EQ(RunWithStandardErrorInto("\"" + tool.exe + "\"", errors), 0);
    EXPECT_EQ(ReadBytes(errors), "");
    const std::map<wxString, ZipEntryRead> archive = ReadZip(tool.dir / "mpdiag.zip");
    ASSERT_TRUE(archive.count("mpdiag.log"));
    EXPECT_GT(archive.at("mpdiag.log").bytes.size(), 0u) << "the run did log";
}

// ---- RemoveWorkingFolder -------------------------------------------------------------------

namespace
{
// Makes `folder` and `relative` below it, through extended-length paths, so any depth works.
void MakeDeep(const wxString& folder, const wxString& relative)
{
    MakeDirs(folder);
    wxString path = "\\\\?\\" + folder;
    for (const wxString& part : wxSplit(relative, '\\'))
    {
        path += "\\" + part;
        ::CreateDirectoryW(path.wc_str(), nullptr);
    }
}

void WriteDeep(const wxString& folder, const wxString& relative, DWORD attributes = FILE_ATTRIBUTE_NORMAL)
{
    const wxString path = "\\\\?\\" + folder + "\\" + relative;
    WriteBytes(path, "deep");
    ::SetFileAttributesW(path.wc_str(), attributes);
}
} // namespace

TEST(RemoveWorkingFolder, RemovesWhatLiesPastTheUsualPathLimit)
{
    // Wine's shell removal, meeting a path past the limit, goes on emptying the current folder
    // instead: a folder of the test's own stands in for it, not the build tree CTest runs in.
    ScratchDir current;
    KeepCurrentDir keep;
    ASSERT_TRUE(::SetCurrentDirectoryW(current.Path().wc_str()));
    ScratchDir dir;
    const wxString work = dir / "MPDiagWork";
    const wxString level(wxT('d'), 60);
    const wxString deep = level + "\\" + level + "\\" + level + "\\" + level + "\\" + level;
    MakeDeep(work, deep);
    WriteDeep(work, deep + "\\file.log");
    WriteDeep(work, deep + "\\.dot", FILE_ATTRIBUTE_HIDDEN);
    WriteDeep(work, level + "\\read-only.log", FILE_ATTRIBUTE_READONLY);
    WriteDeep(work, "top.log");
    ASSERT_GT((work + "\\" + deep + "\\file.log").length(), static_cast<size_t>(MAX_PATH));
    ASSERT_TRUE(PathExists("\\\\?\\" + work + "\\" + deep + "\\file.log"));

    RemoveWorkingFolder(work);

    EXPECT_FALSE(PathExists("\\\\?\\" + work)) << "left: " << work.utf8_string();
    EXPECT_TRUE(PathExists(dir.Path())) << "only the working folder goes";
}

TEST(RemoveWorkingFolder, RemovesAnOrdinaryFolderWithHiddenAndReadOnlyFiles)
{
    ScratchDir dir;
    const wxString work = dir / "MPDiagWork";
    MakeDirs(work + "\\Logs\\CBS");
    WriteBytes(work + "\\mpdiag.log", "log");
    WriteBytes(work + "\\Logs\\CBS\\CBS.log", "cbs");
    ::SetFileAttributesW((work + "\\Logs\\CBS\\CBS.log").wc_str(), FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN);
    ::SetFileAttributesW(work.wc_str(), FILE_ATTRIBUTE_HIDDEN);
    RemoveWorkingFolder(work);
    EXPECT_FALSE(PathExists(work));
}

// The fixture `removal_links` made this folder on the host, with a link to a folder beside it.
TEST(RemoveFolderTree, RemovesTheLinkNeverWhatItPointsTo)
{
    const wxString root = BuildPath("removal-links");
    ASSERT_TRUE(PathExists(root + "\\work\\link")) << "run through CTest: the fixture makes the link";
    RemoveFolderTree(root + "\\work");
    EXPECT_EQ(ReadBytes(root + "\\outside\\keep.log"), "outside");
    EXPECT_FALSE(PathExists(root + "\\work\\own.log"));
    EXPECT_FALSE(PathExists(root + "\\work\\sub"));
}

// ---- the delay-load hook -------------------------------------------------------------------

namespace
{
wxString ModulePath(HMODULE module)
{
    wchar_t path[MAX_PATH] = L"";
    ::GetModuleFileNameW(module, path, MAX_PATH);
    return wxString(path).Lower();
}

wxString SystemFolder()
{
    wchar_t folder[MAX_PATH] = L"";
    ::GetSystemDirectoryW(folder, MAX_PATH);
    return wxString(folder).Lower();
}
} // namespace

// The hook is what keeps a delay-loaded library from the executable's folder on a system that
// lacks SetDefaultDllDirectories; the planted-library scenario sees only the two defences together.
TEST(DelayLoadHook, LoadsTheLibraryFromTheSystemFolderByItsFullPath)
{
    DelayLoadInfo info = {};
    info.cb = sizeof info;
    info.szDll = "version.dll";
    const HMODULE module = reinterpret_cast<HMODULE>(__pfnDliNotifyHook2(dliNotePreLoadLibrary, &info));
    ASSERT_NE(module, nullptr);
    EXPECT_EQ(ModulePath(module), SystemFolder() + "\\version.dll");
}

TEST(DelayLoadHook, LeavesEveryOtherStepToTheHelper)
{
    DelayLoadInfo info = {};
    info.cb = sizeof info;
    info.szDll = "version.dll";
    for (unsigned notification : {dliStartProcessing, dliNotePreGetProcAddress, dliNoteEndProcessing})
        EXPECT_EQ(__pfnDliNotifyHook2(notification, &info), nullptr) << "notification " << notification;
}
