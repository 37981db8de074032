// The System event log's findings: each rule by its provider, event id and level, made to appear
// and to disappear.
#include "fixtures/support.h"

#include <gtest/gtest.h>

using namespace report;
using namespace testing_support;

namespace
{
const char* const kEventFindings[] = {"events.unexpected-shutdown", "events.bug-check", "events.disk-error",
                                      "events.disk-warning",        "events.disk-removed", "events.controller-error"};

Report WithLog(const std::vector<fixtures::Event>& events)
{
    fixtures::Bundle bundle = fixtures::ExtendedSampleBundle();
    bundle.Set("System32/WinEvt/Logs/System.evtx", fixtures::EventLog(events));
    return AnalyzeBundle(bundle);
}

// The event findings a log gives, as "id count" lines.
std::string EventFindings(const Report& report)
{
    std::string text;
    for (const char* id : kEventFindings)
        if (const Finding* finding = report.FindById(id))
            text += std::string(id) + " " + finding->title.substr(0, finding->title.find(' ')) + "\n";
    return text;
}

uint64_t Day(int day, int hour = 12)
{
    return fixtures::Filetime(2024, 5, day, hour);
}
} // namespace

TEST(EventsSystemLog, AQuietLogMakesNoFinding)
{
    EXPECT_EQ("", EventFindings(AnalyzeBundle(fixtures::ExtendedSampleBundle())));
}

TEST(EventsNtfs98, IsAnErrorOnlyWhenItReportsCorruption)
{
    EXPECT_EQ("", EventFindings(WithLog({{"Microsoft-Windows-Ntfs", 98, 4, Day(1),
                                          {{"DriveName", "C:"}, {"DeviceName", "\\Device\\HarddiskVolume2"}, {"CorruptionActionState", "0"}}}})))
        << "written at every mount: information level, state 0, a healthy volume";
    const Report corrupt = WithLog({{"Microsoft-Windows-Ntfs", 98, 2, Day(1),
                                     {{"DriveName", "C:"}, {"DeviceName", "\\Device\\HarddiskVolume2"}, {"CorruptionActionState", "2"}}}});
    EXPECT_EQ("events.disk-error 1\n", EventFindings(corrupt));
    EXPECT_EQ(Severity::Error, Get(corrupt, "events.disk-error").severity);
    EXPECT_EQ("System32/WinEvt/Logs/System.evtx:0: 2024-05-01 12:00:00 UTC Microsoft-Windows-Ntfs event 98, error (record 1): the volume "
              "needs repair (Ntfs health state) [DriveName=C:, DeviceName=\\Device\\HarddiskVolume2, CorruptionActionState=2]\n",
              EvidenceText(Get(corrupt, "events.disk-error")));
    EXPECT_EQ("", EventFindings(WithLog({{"Microsoft-Windows-Ntfs", 98, 2, Day(1), {{"DriveName", "C:"}, {"CorruptionActionState", "0"}}}})))
        << "state 0 says no action is needed";
    EXPECT_EQ("events.disk-error 1\n",
              EventFindings(WithLog({{"Microsoft-Windows-Ntfs", 98, 3, Day(1), {{"DriveName", "D:"}, {"CorruptionActionState", "1"}}}})))
        << "at warning level too";
}

TEST(EventsDisk, PagingErrorsAndRetriesAreWarningsOnlyAtWarningLevelAndOnlyFromTheDisk)
{
    const Report warnings = WithLog({{"Disk", 51, 3, Day(1), {{"", "\\Device\\Harddisk1\\DR1"}}},
                                     {"disk", 153, 3, Day(2), {{"", "\\Device\\Harddisk0\\DR0"}}},
                                     {"cdrom", 51, 3, Day(3), {{"", "\\Device\\CdRom0"}}},
                                     {"disk", 51, 4, Day(4)},
                                     {"disk", 153, 2, Day(4)}});
    EXPECT_EQ("events.disk-warning 2\n", EventFindings(warnings)) << "a CD-ROM's 51 is not a disk's; ids at other levels are other events";
    EXPECT_EQ(Severity::Warning, Get(warnings, "events.disk-warning").severity);
    EXPECT_EQ("", EventFindings(WithLog({{"cdrom", 51, 3, Day(3)}})));
}

TEST(EventsDisk, BadBlocksAreErrorsAndASurpriseRemovalIsARemovedDisk)
{
    const Report report = WithLog({{"disk", 7, 2, Day(1), {{"", "\\Device\\Harddisk0\\DR0"}}}, {"disk", 157, 3, Day(2), {{"", "2"}}}});
    EXPECT_EQ("events.disk-error 1\nevents.disk-removed 1\n", EventFindings(report));
    EXPECT_EQ(Severity::Warning, Get(report, "events.disk-removed").severity);
    EXPECT_EQ("", EventFindings(WithLog({{"disk", 157, 4, Day(2)}})));
}

TEST(EventsNtfs55, IsACorruptFileSystemFromEitherProviderName)
{
    EXPECT_EQ("events.disk-error 2\n", EventFindings(WithLog({{"Ntfs", 55, 2, Day(1)}, {"Microsoft-Windows-Ntfs", 55, 2, Day(2)}})));
    EXPECT_EQ("", EventFindings(WithLog({{"Microsoft-Windows-Ntfs", 55, 4, Day(2)}})));
}

TEST(EventsUnexpectedShutdown, KernelPower41AndEventLog6008OfOneStartAreOneShutdown)
{
    const Report one = WithLog({{"EventLog", 6005, 4, Day(1, 9)},
                                {"EventLog", 6008, 2, Day(1, 9)},
                                {"Microsoft-Windows-Kernel-Power", 41, 1, Day(1, 9)}});
    EXPECT_EQ("events.unexpected-shutdown 1\n", EventFindings(one));
    EXPECT_EQ(2u, Get(one, "events.unexpected-shutdown").evidence.size()) << "both records of the one shutdown are shown";
    const Report two = WithLog({{"EventLog", 6005, 4, Day(1, 9)},
                                {"Microsoft-Windows-Kernel-Power", 41, 1, Day(1, 9)},
                                {"EventLog", 6005, 4, Day(3, 9)},
                                {"EventLog", 6008, 2, Day(3, 9)},
                                {"Microsoft-Windows-Kernel-Power", 41, 1, Day(3, 9)}});
    EXPECT_EQ("events.unexpected-shutdown 2\n", EventFindings(two));
    EXPECT_EQ("2 unexpected shutdowns in the System log, the newest 2024-05-03 09:00:00 UTC", Get(two, "events.unexpected-shutdown").title);
    EXPECT_EQ("", EventFindings(WithLog({{"Microsoft-Windows-Kernel-Power", 41, 4, Day(1)}, {"EventLog", 6006, 4, Day(1)}})));
}

TEST(EventsBugCheck, IsTheBugCheckReportAtErrorLevel)
{
    const Report report = WithLog({{"Microsoft-Windows-WER-SystemErrorReporting", 1001, 2, Day(1)}, {"BugCheck", 1001, 2, Day(2)}});
    EXPECT_EQ("events.bug-check 2\n", EventFindings(report));
    EXPECT_EQ(Severity::Error, Get(report, "events.bug-check").severity);
    EXPECT_EQ("", EventFindings(WithLog({{"Application Error", 1001, 2, Day(1)}, {"Microsoft-Windows-WER-SystemErrorReporting", 1001, 4, Day(1)}})));
}

TEST(EventsControllerReset, Event129FromAStorageMiniportAtWarningLevel)
{
    std::vector<fixtures::Event> resets;
    for (const char* miniport : {"storahci", "stornvme", "iaStorA", "iaStorAC", "iaStorAVC", "iaStorVD", "iaStorV", "vioscsi",
                                 "viostor", "storvsc", "secnvme", "rcraid", "megasas", "lsi_sas3"})
        resets.push_back({miniport, 129, 3, Day(1), {{"", "\\Device\\RaidPort0"}}});
    resets.push_back({"arcsas", 129, 3, Day(2), {{"", "\\Device\\RaidPort1"}}});
    const Report report = WithLog(resets);
    EXPECT_EQ("events.controller-error 15\n", EventFindings(report)) << "another miniport is known by the RaidPort it names";
    EXPECT_EQ(Severity::Warning, Get(report, "events.controller-error").severity);
    EXPECT_EQ("", EventFindings(WithLog({{"storahci", 129, 4, Day(1), {{"", "\\Device\\RaidPort0"}}},
                                         {"Microsoft-Windows-Time-Service", 129, 3, Day(1), {{"DomainPeer", "time.windows.com"}}},
                                         {"storahci", 5, 3, Day(1)}})))
        << "129 at another level, from a provider that names no RaidPort, or another id of the miniport";
}

TEST(EventsShapes, ARecordWithAnOversizedEventIdIsLeftOutWithANoteAndTheReportCompletes)
{
    const Report report = WithLog({{"disk", 0, 3, Day(1), {}, "123456789012345678901234567890"},
                                   {"disk", 51, 0, Day(1), {}, "", "99999999999"},
                                   {"disk", 51, 3, Day(2)}});
    EXPECT_TRUE(HasNote(report, "System32/WinEvt/Logs/System.evtx", "left out")) << Summary(report);
    EXPECT_EQ("events.disk-warning 1\n", EventFindings(report));
}

TEST(EventsControllerError, IsTheDiskDriversControllerErrorAtErrorLevel)
{
    EXPECT_EQ("events.controller-error 1\n", EventFindings(WithLog({{"disk", 11, 2, Day(1), {{"", "\\Device\\Harddisk1\\DR1"}}}})));
    EXPECT_EQ("", EventFindings(WithLog({{"disk", 11, 4, Day(1)}, {"Microsoft-Windows-Kernel-General", 11, 2, Day(1)}})));
}

TEST(EventsSystemLog, AnUnreadableLogIsNotedAndTheReportGoesOn)
{
    fixtures::Bundle bundle = fixtures::ExtendedSampleBundle();
    bundle.Set("System32/WinEvt/Logs/System.evtx", "sample System32\\WinEvt\\Logs\\System.evtx\r\nsecond line\r\n");
    const Report report = AnalyzeBundle(bundle);
    EXPECT_TRUE(HasNote(report, "System32/WinEvt/Logs/System.evtx", "not an event log")) << Summary(report);
    EXPECT_EQ(1u, CountFindings(report, "recovery.image"));
}
