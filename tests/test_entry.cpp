#include "command_line.h"
#include "temp_folder.h"

#include "test_support.h"

#include <wx/arrstr.h>

#include <windows.h>

#include <cstdlib>
#include <ctime>

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
// The names the folder search draws after seeding with `seed`.
std::vector<wxString> NamesForSeed(unsigned seed, const wxString& prefix, int count)
{
    srand(seed);
    std::vector<wxString> names;
    for (int i = 0; i < count; ++i)
    {
        const unsigned number = (static_cast<unsigned>(rand()) << 16) | static_cast<unsigned>(rand());
        names.push_back(wxString::Format("%s%x", prefix, number));
    }
    return names;
}

struct TempFolders
{
    std::vector<wxString> paths;
    ~TempFolders()
    {
        for (const wxString& path : paths)
            RemoveTree(path);
    }
};
} // namespace

TEST(MakeUniqueTempFolder, CreatesAnEmptyHiddenFolderNamedPrefixAndHexDigits)
{
    TempFolders made;
    const wxString path = MakeUniqueTempFolder("MPDiagTest");
    ASSERT_FALSE(path.empty());
    made.paths.push_back(path);

    EXPECT_EQ(path.BeforeLast('\\'), TempFolder());
    const wxString name = path.AfterLast('\\');
    ASSERT_TRUE(name.StartsWith("MPDiagTest"));
    const wxString digits = name.Mid(10);
    EXPECT_GE(digits.length(), 1u);
    EXPECT_LE(digits.length(), 8u);
    EXPECT_EQ(digits.find_first_not_of("0123456789abcdef"), wxString::npos) << name.utf8_string();
    EXPECT_NE(digits[0], '0') << "no leading zeros";

    const DWORD attributes = AttributesOf(path);
    ASSERT_NE(attributes, INVALID_FILE_ATTRIBUTES);
    EXPECT_TRUE(attributes & FILE_ATTRIBUTE_DIRECTORY);
    EXPECT_TRUE(attributes & FILE_ATTRIBUTE_HIDDEN);
}

TEST(MakeUniqueTempFolder, TwoCallsInOneSecondDrawTheSameSequenceAndSkipTheTakenName)
{
    for (int attempt = 0; attempt < 5; ++attempt)
    {
        TempFolders made;
        const time_t before = time(nullptr);
        const wxString first = MakeUniqueTempFolder("MPDiagTest");
        const wxString second = MakeUniqueTempFolder("MPDiagTest");
        made.paths = {first, second};
        if (time(nullptr) != before)
            continue; // the clock ticked between the calls: the seeds differ, try again

        const std::vector<wxString> expected = NamesForSeed(static_cast<unsigned>(before), "MPDiagTest", 2);
        EXPECT_EQ(first.AfterLast('\\'), expected[0]);
        EXPECT_EQ(second.AfterLast('\\'), expected[1]) << "the later call skips the existing folder";
        EXPECT_TRUE(PathExists(first));
        EXPECT_TRUE(PathExists(second));
        return;
    }
    FAIL() << "the clock ticked during every attempt";
}

TEST(MakeUniqueTempFolder, ThousandTakenNamesGiveAnEmptyResult)
{
    for (int attempt = 0; attempt < 5; ++attempt)
    {
        TempFolders made;
        const time_t now = time(nullptr);
        // Occupy every name that this second (and the next, should the clock tick) would draw.
        for (unsigned seed = static_cast<unsigned>(now); seed <= static_cast<unsigned>(now) + 1; ++seed)
            for (const wxString& name : NamesForSeed(seed, "MPDiagTest", 1000))
            {
                const wxString path = TempFolder() + "\\" + name;
                if (::CreateDirectoryW(path.wc_str(), nullptr))
                    made.paths.push_back(path);
            }
        const time_t called = time(nullptr);
        const wxString result = MakeUniqueTempFolder("MPDiagTest");
        if (called > now + 1 || time(nullptr) > now + 1)
            continue;
        EXPECT_EQ(result, "");
        return;
    }
    FAIL() << "could not occupy the names in time";
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
