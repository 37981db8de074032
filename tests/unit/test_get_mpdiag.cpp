#include "common.h"
#include "get_mpdiag.h"
#include "sample_machine.h"

#include "fake_devices.h"
#include "fake_process.h"

#include "test_support.h"

#include <wx/wfstream.h>
#include <wx/zipstrm.h>

#include <windows.h>

#include <algorithm>
#include <memory>
#include <set>
#include <string>

using namespace std::string_literals;

namespace
{
std::set<wxString> ZipNames(const wxString& path)
{
    std::set<wxString> names;
    for (const auto& entry : ReadZip(path))
        names.insert(entry.first);
    return names;
}

// A sample Windows folder in a scratch folder, the product's keys in the registry and the
// stand-in programs in the system folder (their originals put back afterwards).
class GetMPDiagTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        BuildSampleWindows(windows);
        InstallProductKeys(productLogs);
        for (const wchar_t* name : {L"bcdedit.exe", L"wmic.exe", L"systeminfo.exe"})
            ::MoveFileW((GetSystemDir() + "\\" + name).wc_str(), (saved.Path() + "\\" + name).wc_str());
        InstallStandIns(BuildPath("standin.exe"), GetSystemDir());
    }
    void TearDown() override
    {
        for (const wchar_t* name : {L"MPDIAG_STANDIN_LINE_FEEDS", L"MPDIAG_STANDIN_BLANK_LINES"})
            ::SetEnvironmentVariableW(name, nullptr);
        for (const wchar_t* name : {L"bcdedit.exe", L"wmic.exe", L"systeminfo.exe"})
        {
            const wxString original = saved.Path() + "\\" + name;
            const wxString installed = GetSystemDir() + "\\" + name;
            ::DeleteFileW(installed.wc_str());
            if (PathExists(original))
                ::MoveFileW(original.wc_str(), installed.wc_str());
        }
        RemoveStandInOverrides();
        RemoveProductKeys();
    }

    bool Run(bool extended, std::vector<wxString>* files = nullptr, bool listOnly = false)
    {
        return GetMPDiag(dest, windows, zip, extended, true, files, listOnly);
    }

    ScratchDir dir;
    ScratchDir saved;
    wxString windows = dir / "Windows";
    wxString productLogs = dir / "ProductLogs";
    wxString dest = dir / "work";
    wxString zip = dir / "mpdiag.zip";
};

// The bytes a command's file must hold, as kept beside the tests for the sample machine's
// stand-ins (English, writing as Windows does).
std::string ArchiveBytes(const char* name) { return ReadBytes(wxString(MPDIAG_ARCHIVE_BYTES "\\field-en\\") + name); }

const std::set<wxString> kCopiedSystemFiles = {
    "Inf/setupapi.dev.log", "Inf/setupapi.app.log", "Inf/setupapi.offline.log", "setupact.log", "setuperr.log",
    "WindowsUpdate.log",    "DtcInstall.log",       "debug/netsetup.log",        "debug/mrt/mrt.log",
    "Logs/CBS/CBS.log",     "Logs/DISM/dism.log",   "Logs/readme.txt",           "System32/wpeinit.log",
    "System32/winpeshl.log"};
} // namespace

TEST_F(GetMPDiagTest, NormalRunCollectsFilesCommandsAndArchive)
{
    RecordingLog log;
    EXPECT_TRUE(Run(false));

    std::set<wxString> expected = kCopiedSystemFiles;
    for (const char* name : {"mp.log", "mpb.log", "enum.reg", "services.reg", "bcdedit_all.log", "wmic_hotfix.log",
                             "wmic_disks.log", "systeminfo.log"})
        expected.insert(name);
    EXPECT_EQ(ZipNames(zip), expected);

    EXPECT_EQ(ReadBytes(dest + "\\mp.log"), "sample System32\\mp.log\r\nsecond line\r\n");
    EXPECT_EQ(ReadBytes(dest + "\\mpb.log"), "sample product log\r\n");
    // The system cannot save a hive here; the run goes on without it.
    EXPECT_FALSE(PathExists(dest + "\\BCD00000000.hiv"));
    EXPECT_TRUE(ReadBytes(dest + "\\services.reg").size() > 100);
    EXPECT_FALSE(PathExists(dest + "\\System32\\WinEvt"));
    EXPECT_FALSE(PathExists(dest + "\\boot.wim"));
}

// What Windows writes into the pipe is read as UTF-8 and saved line by line: wmic's UTF-16 keeps
// its zero bytes and its byte-order mark becomes two U+FFFD; a code-page letter becomes one.
TEST_F(GetMPDiagTest, CommandOutputIsSavedAsTheSystemWroteIt)
{
    EXPECT_TRUE(Run(false));
    for (const char* name : {"bcdedit_all.log", "wmic_hotfix.log", "wmic_disks.log", "systeminfo.log"})
    {
        const std::string bytes = ReadBytes(dest + "\\" + name);
        ASSERT_FALSE(ArchiveBytes(name).empty()) << name;
        EXPECT_TRUE(bytes == ArchiveBytes(name)) << name << ": " << bytes.size() << " bytes, expected "
                                                 << ArchiveBytes(name).size();
    }
    EXPECT_EQ(ReadBytes(dest + "\\wmic_hotfix.log").substr(0, 12), "\xEF\xBF\xBD\xEF\xBF\xBD_\0_\0G\0"s);
    // Each captured line keeps its own CR and gets CR LF on top; "Jürgen Weiß" in code page 850.
    EXPECT_NE(ReadBytes(dest + "\\systeminfo.log").find("J\xEF\xBF\xBDrgen Wei\xEF\xBF\xBD\r\r\n"), std::string::npos);
}

// Runs of line feeds are no line, but a CR LF blank line is one: a lone CR.
TEST_F(GetMPDiagTest, OutputOfLineFeedsGivesNoFileButCrLfBlankLinesDo)
{
    ::SetEnvironmentVariableW(L"MPDIAG_STANDIN_LINE_FEEDS", L"1");
    ::SetEnvironmentVariableW(L"MPDIAG_STANDIN_BLANK_LINES", L"1");
    EXPECT_TRUE(Run(false));
    EXPECT_FALSE(PathExists(dest + "\\wmic_hotfix.log"));
    EXPECT_EQ(ReadBytes(dest + "\\wmic_disks.log"), "\r\r\n\r\r\n\r\r\n");
    EXPECT_FALSE(ZipNames(zip).count("wmic_hotfix.log"));
    EXPECT_TRUE(ZipNames(zip).count("wmic_disks.log"));
}

// The stand-ins answer only the collector's exact command lines, so a changed one fails here and
// in the tests of the collection.
TEST_F(GetMPDiagTest, StandInsAnswerOnlyTheirExactCommandLines)
{
    for (const char* line : {"bcdedit.exe /enum all", "bcdedit", "wmic qfe list brief /format:texttablewsys",
                             "wmic diskdrive list", "systeminfo"})
    {
        wxArrayString lines;
        EXPECT_EQ(RunCommand(line, &lines), 0) << line;
        EXPECT_GE(lines.size(), 4u) << line;
    }
    for (const char* line : {"bcdedit /enum all", "bcdedit.exe /enum", "bcdedit.exe  /enum all", "bcdedit.exe",
                             "wmic qfe list brief", "wmic qfe list brief /format:texttable", "wmic diskdrive list brief",
                             "wmic.exe diskdrive list", "systeminfo /fo list", "systeminfo.exe"})
    {
        wxArrayString lines;
        EXPECT_EQ(RunCommand(line, &lines), 1) << line;
        EXPECT_TRUE(lines.empty()) << line;
    }
}

TEST_F(GetMPDiagTest, ExtendedRunAlsoCollectsTheEventLogs)
{
    EXPECT_TRUE(Run(true));
    const std::set<wxString> names = ZipNames(zip);
    EXPECT_TRUE(names.count("System32/WinEvt/Logs/System.evtx"));
    EXPECT_TRUE(names.count("System32/WinEvt/Logs/Application.evtx"));
}

TEST_F(GetMPDiagTest, ListOnlyRunRecordsEverythingInOrderAndProducesNothing)
{
    std::vector<wxString> files;
    RecordingLog log;
    EXPECT_TRUE(Run(true, &files, true));
    EXPECT_FALSE(PathExists(dest));
    EXPECT_FALSE(PathExists(zip));

    // The copier's records come first: every source file of the system items, once per copy
    // (the two setup logs match "setup*.*" and "*.log"), plus the two event logs.
    const size_t copied = kCopiedSystemFiles.size() + 2 + 2;
    ASSERT_EQ(files.size(), copied + 13) << ::testing::PrintToString(files);
    std::multiset<wxString> sources(files.begin(), files.begin() + copied);
    EXPECT_EQ(sources.count(windows + "\\setupact.log"), 2u);
    EXPECT_EQ(sources.count(windows + "\\Inf\\setupapi.dev.log"), 1u);
    EXPECT_EQ(sources.count(windows + "\\System32\\WinEvt\\Logs\\System.evtx"), 1u);
    EXPECT_EQ(sources.count(windows + "\\System32\\winpeshl.log"), 1u);
    const std::vector<wxString> rest(files.begin() + copied, files.end());
    EXPECT_EQ(rest, (std::vector<wxString>{windows + "\\System32\\mp.log", productLogs + "\\mpb.log", "devices.txt",
                                           "enum.reg", "services.reg", "BCD00000000.reg", "BCD00000000.hiv",
                                           "bcdedit_all.log", "wmic_hotfix.log", "wmic_disks.log", "systeminfo.log",
                                           "recovery_path.log", "boot.wim"}))
        << "copied part was " << copied;
}

TEST_F(GetMPDiagTest, ListOnlyWithoutRecoveryOrExtendedLeavesTheirNamesOut)
{
    std::vector<wxString> files;
    EXPECT_TRUE(GetMPDiag(dest, windows, zip, false, false, &files, true));
    ASSERT_GE(files.size(), 10u);
    const std::vector<wxString> tail(files.end() - 10, files.end());
    EXPECT_EQ(tail, (std::vector<wxString>{windows + "\\System32\\mp.log", "devices.txt", "enum.reg", "services.reg",
                                           "BCD00000000.reg", "BCD00000000.hiv", "bcdedit_all.log",
                                           "wmic_hotfix.log", "wmic_disks.log", "systeminfo.log"}));
}

TEST_F(GetMPDiagTest, ExistingProductLogInTheDestinationIsOverwritten)
{
    MakeDirs(dest);
    WriteBytes(dest + "\\mp.log", "stale");
    Run(false);
    EXPECT_EQ(ReadBytes(dest + "\\mp.log"), "sample System32\\mp.log\r\nsecond line\r\n");
}

TEST_F(GetMPDiagTest, SysteminfoThatCannotStartGivesNoFileAndNoMessage)
{
    ::DeleteFileW((GetSystemDir() + "\\systeminfo.exe").wc_str());
    RecordingLog log;
    EXPECT_TRUE(Run(false));
    EXPECT_FALSE(PathExists(dest + "\\systeminfo.log"));
    EXPECT_TRUE(PathExists(dest + "\\bcdedit_all.log"));
    for (const LogEntry& entry : log.entries)
        EXPECT_EQ(entry.msg.Lower().Find("systeminfo"), wxNOT_FOUND) << entry;
}

TEST_F(GetMPDiagTest, SourceThatIsNotAFolderStopsBeforeCollectingAnything)
{
    RecordingLog log;
    EXPECT_FALSE(GetMPDiag(dest, dir / "NoWindows", zip, false, true, nullptr, false));
    const LogEntry entry = log.Only("Error: !src->IsOk() || !dest->IsOk()\n");
    EXPECT_EQ(entry.level, wxLOG_Error);
    EXPECT_EQ(entry.func, "GetMPDiag");
    EXPECT_FALSE(PathExists(zip));
    EXPECT_FALSE(PathExists(dest + "\\mp.log"));
}

TEST_F(GetMPDiagTest, RunsTheEightCommandLinesAsGivenInTheSystemFolder)
{
    FakeProcessCalls calls;
    calls.startFails = true; // none starts: only the lines matter here
    EXPECT_TRUE(Run(false));
    EXPECT_EQ(calls.CommandLines(),
              (std::vector<wxString>{"reg export hklm\\system\\currentcontrolset\\enum " + dest + "\\enum.reg /y",
                                     "reg export hklm\\system\\currentcontrolset\\services " + dest +
                                         "\\services.reg /y",
                                     "reg export hklm\\BCD00000000 " + dest + "\\BCD00000000.reg /y",
                                     "reg save hklm\\BCD00000000 " + dest + "\\BCD00000000.hiv /y",
                                     "bcdedit.exe /enum all", "wmic qfe list brief /format:texttablewsys",
                                     "wmic diskdrive list", "systeminfo"}));
    for (const CreateProcessCall& call : calls.processes)
    {
        EXPECT_EQ(call.currentDir, GetSystemDir()) << call.commandLine;
        EXPECT_EQ(call.startup.dwFlags, static_cast<DWORD>(STARTF_USESTDHANDLES)) << call.commandLine;
        EXPECT_EQ(call.startup.hStdError, nullptr) << "standard error not captured: " << call.commandLine;
    }
    for (const char* name : {"enum.reg", "bcdedit_all.log", "wmic_hotfix.log", "wmic_disks.log", "systeminfo.log"})
        EXPECT_FALSE(PathExists(dest + "\\" + name)) << name;
}

namespace
{
// A Windows folder with exactly one file for each system item, in a scratch folder.
struct OneFilePerItem
{
    ScratchDir dir;
    wxString windows = dir / "Windows";
    const std::vector<wxString> files = {"Inf\\setupapi.dev.log", "setupact.txt", "WindowsUpdate.log",
                                         "debug\\netsetup.txt", "Logs\\CBS\\CBS.txt",
                                         "System32\\WinEvt\\Logs\\System.evtx", "System32\\wpeinit.log",
                                         "System32\\winpeshl.log"};
    OneFilePerItem()
    {
        for (const wxString& file : files)
        {
            MakeDirs((windows + "\\" + file).BeforeLast('\\'));
            WriteBytes(windows + "\\" + file, "x");
        }
    }
};
} // namespace

TEST(GetMPDiagItems, ListOnlyRecordsTheSystemItemsInQueueOrder)
{
    OneFilePerItem machine;
    std::vector<wxString> files;
    EXPECT_TRUE(GetMPDiag(machine.dir / "work", machine.windows, machine.dir / "mpdiag.zip", true, false, &files,
                          true));
    ASSERT_GE(files.size(), machine.files.size());
    std::vector<wxString> expected;
    for (const wxString& file : machine.files)
        expected.push_back(machine.windows + "\\" + file);
    EXPECT_EQ(std::vector<wxString>(files.begin(), files.begin() + expected.size()), expected);
    EXPECT_EQ(files[expected.size()], machine.windows + "\\System32\\mp.log");
}

TEST(GetMPDiagItems, MissingSystemItemsAreReportedInQueueOrder)
{
    ScratchDir dir;
    const wxString windows = dir / "Windows";
    MakeDirs(windows);
    RecordingLog log;
    std::vector<wxString> files;
    EXPECT_TRUE(GetMPDiag(dir / "work", windows, dir / "mpdiag.zip", true, false, &files, true));
    EXPECT_EQ(log.Messages(), (std::vector<wxString>{"FIND failed (\\Inf\\setupapi*) error (3)",
                                                     "FIND failed (\\setup*.*) error (2)",
                                                     "FIND failed (\\*.log) error (2)",
                                                     "FIND failed (\\debug) error (2)",
                                                     "FIND failed (\\Logs) error (2)",
                                                     "FIND failed (\\System32\\WinEvt) error (3)",
                                                     "FIND failed (\\System32\\wpeinit.log) error (3)",
                                                     "FIND failed (\\System32\\winpeshl.log) error (3)"}));
}

TEST(SaveLines, WritesUtf8LinesEndedByCrLf)
{
    ScratchDir dir;
    const wxString path = dir / "out.log";
    wxArrayString lines;
    lines.Add(wxString::FromUTF8("\xC3\x9C" "ber\r"));
    lines.Add("\tx");
    RecordingLog log;
    SaveLines(path, lines);
    EXPECT_EQ(ReadBytes(path), "\xC3\x9C" "ber\r\r\n\tx\r\n");
    EXPECT_TRUE(log.entries.empty()) << log.Dump();
}

TEST(SaveLines, NoLinesWriteNoFile)
{
    ScratchDir dir;
    SaveLines(dir / "out.log", wxArrayString());
    EXPECT_FALSE(PathExists(dir / "out.log"));
}

TEST(SaveLines, MissingFolderIsReportedByTheTextFileClassAndLeavesNoFile)
{
    ScratchDir dir;
    const wxString path = dir / "missing\\out.log";
    wxArrayString lines;
    lines.Add("line");
    RecordingLog log;
    SaveLines(path, lines);
    EXPECT_FALSE(PathExists(path));
    EXPECT_TRUE(FindAll(dir / "*").empty()) << "nothing made, no temporary file either";
    // What reaches mpdiag.log (levels up to message): the temporary file's failure, then the write's.
    std::vector<LogEntry> logged;
    for (const LogEntry& entry : log.entries)
        if (entry.level <= wxLOG_Message)
            logged.push_back(entry);
    ASSERT_EQ(logged.size(), 2u) << log.Dump();
    EXPECT_EQ(logged[0].level, wxLOG_Error);
    EXPECT_TRUE(logged[0].msg.StartsWith("Failed to create a temporary file name (error 267: ")) << logged[0];
    EXPECT_EQ(logged[1].level, wxLOG_Error);
    EXPECT_EQ(logged[1].msg, "can't write buffer '" + path + "' to disk.");
}

// ---- the device and recovery reports ----

// Device nodes on a fake machine (no disks there, so no store walk gets far), and the system
// drive's "\Recovery" folder made by the test itself.
class GetMPDiagReportTest : public GetMPDiagTest
{
protected:
    void SetUp() override
    {
        GetMPDiagTest::SetUp();
        RemoveTree("C:\\Recovery");
    }
    void TearDown() override
    {
        RemoveTree("C:\\Recovery");
        RemoveTestDeviceIds();
        GetMPDiagTest::TearDown();
        EXPECT_EQ(fake.handlesOpen(), 0);
    }

    void Controller(const std::wstring& name, bool problem, const std::vector<std::wstring>& hardwareIds,
                    const std::vector<std::wstring>& compatibleIds)
    {
        const FakeDevNode& node = fake.AddNode(name, problem);
        WriteDeviceIds(node, L"HardwareID", MultiSzText(hardwareIds));
        WriteDeviceIds(node, L"CompatibleIDs", MultiSzText(compatibleIds));
    }
    void Image()
    {
        MakeDirs("C:\\Recovery\\WindowsRE");
        WriteBytes(image, std::string(70000, 'w') + "image end");
        ::SetFileAttributesW(image.wc_str(), FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN);
    }

    FakeDevices fake;
    const wxString image = "C:\\Recovery\\WindowsRE\\WinRE.wim";
};

TEST_F(GetMPDiagReportTest, DeviceReportNumbersStorageThenNetworkControllersAcrossBothClasses)
{
    Controller(L"nic", true, {L"PCI\\VEN_8086&DEV_10D3"}, {L"PCI\\CC_020000", L"pci\\cc_0200"});
    Controller(L"sata", false, {L"PCI\\VEN_8086&DEV_2922"}, {L"PCI\\CC_0106"});
    Controller(L"raid", true, {L"PCI\\VEN_1000&DEV_0079"}, {L"PCI\\CC_0104"});
    Controller(L"usb", true, {L"PCI\\VEN_8086&DEV_1E31"}, {L"PCI\\CC_0C03"});
    EXPECT_TRUE(Run(false));
    EXPECT_EQ(ReadBytes(dest + "\\devices.txt"), "Device 0:\r\n"
                                                 "\tPCI\\VEN_1000&DEV_0079\r\n"
                                                 "\tPCI\\CC_0104\r\n"
                                                 "Device 1:\r\n"
                                                 "\tPCI\\VEN_8086&DEV_10D3\r\n"
                                                 "\tPCI\\CC_020000\r\n"
                                                 "\tPCI\\CC_0200\r\n");
    EXPECT_TRUE(ZipNames(zip).count("devices.txt"));
}

TEST_F(GetMPDiagReportTest, DeviceNumbersStartAgainAtZeroOnEachRun)
{
    Controller(L"raid", true, {L"PCI\\VEN_1000&DEV_0079"}, {L"PCI\\CC_0104"});
    FakeProcessCalls calls;
    calls.startFails = true; // the commands play no part here
    for (int run = 0; run < 2; ++run)
    {
        SCOPED_TRACE(run);
        RemoveTree(dest);
        EXPECT_TRUE(Run(false));
        EXPECT_EQ(ReadBytes(dest + "\\devices.txt"), "Device 0:\r\n\tPCI\\VEN_1000&DEV_0079\r\n\tPCI\\CC_0104\r\n");
    }
}

TEST_F(GetMPDiagReportTest, NoControllerInTroubleGivesNoDeviceReport)
{
    Controller(L"sata", false, {L"PCI\\VEN_8086&DEV_2922"}, {L"PCI\\CC_0106"});
    Controller(L"usb", true, {L"PCI\\VEN_8086&DEV_1E31"}, {L"PCI\\CC_0C03"});
    EXPECT_TRUE(Run(false));
    EXPECT_FALSE(PathExists(dest + "\\devices.txt"));
    EXPECT_TRUE(PathExists(dest + "\\mp.log")) << "the run went on";
}

TEST_F(GetMPDiagReportTest, FoundImageIsReportedAndCopiedOnlyInAnExtendedRun)
{
    Image();
    EXPECT_TRUE(Run(false));
    EXPECT_EQ(ReadBytes(dest + "\\recovery_path.log"), "C:\\Recovery\\WindowsRE\\WinRE.wim\r\n");
    EXPECT_FALSE(PathExists(dest + "\\boot.wim"));

    RemoveTree(dest);
    EXPECT_TRUE(Run(true));
    EXPECT_EQ(ReadBytes(dest + "\\boot.wim"), ReadBytes(image));
    // The copy takes the image's attributes along; the report clears them (Wine then shows the
    // archive bit alone).
    ASSERT_TRUE(AttributesOf(image) & FILE_ATTRIBUTE_HIDDEN);
    EXPECT_EQ(AttributesOf(dest + "\\boot.wim") & (FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN), 0u);
    EXPECT_EQ(ReadZip(zip)["boot.wim"].bytes, ReadBytes(image));
}

TEST_F(GetMPDiagReportTest, NoImageFoundGivesNeitherReportNorCopy)
{
    RecordingLog log;
    EXPECT_TRUE(Run(true));
    EXPECT_FALSE(PathExists(dest + "\\recovery_path.log"));
    EXPECT_FALSE(PathExists(dest + "\\boot.wim"));
    EXPECT_EQ(log.Count(wxLOG_Error, "Can't get system drive"), 1) << log.Dump();
}

TEST_F(GetMPDiagReportTest, ListOnlyRunsNeitherTheInventoryNorTheSearch)
{
    Controller(L"raid", true, {L"PCI\\VEN_1000&DEV_0079"}, {L"PCI\\CC_0104"});
    std::vector<wxString> files;
    RecordingLog log;
    EXPECT_TRUE(Run(true, &files, true));
    EXPECT_TRUE(fake.classDevsFlags.empty()) << "no device set was asked for";
    EXPECT_TRUE(fake.opened.empty()) << "no device was opened";
    EXPECT_TRUE(log.entries.empty()) << log.Dump();
    const std::vector<wxString> tail(files.end() - 2, files.end());
    EXPECT_EQ(tail, (std::vector<wxString>{"recovery_path.log", "boot.wim"}));
    EXPECT_NE(std::find(files.begin(), files.end(), wxString("devices.txt")), files.end());
}
