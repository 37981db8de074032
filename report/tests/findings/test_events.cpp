// The System event log's findings.
#include "fixtures/support.h"

#include <gtest/gtest.h>

using namespace report;
using namespace testing_support;

TEST(EventsSystemLog, CountsBootAndDiskTroubleNewestFirst)
{
    fixtures::Bundle bundle = fixtures::ExtendedSampleBundle();
    bundle.Set("System32/WinEvt/Logs/System.evtx",
               fixtures::EventLog({{"Microsoft-Windows-Kernel-Power", 41, 1, fixtures::Filetime(2024, 5, 1)},
                                   {"Service Control Manager", 7036, 4, fixtures::Filetime(2024, 5, 2)},
                                   {"EventLog", 6008, 2, fixtures::Filetime(2024, 5, 3)},
                                   {"BugCheck", 1001, 2, fixtures::Filetime(2024, 5, 3)},
                                   {"disk", 153, 3, fixtures::Filetime(2024, 5, 4)},
                                   {"storahci", 129, 3, fixtures::Filetime(2024, 5, 5)},
                                   {"storahci", 5, 4, fixtures::Filetime(2024, 5, 5)}}));
    const Report report = AnalyzeBundle(bundle);
    const Finding& shutdowns = Get(report, "events.unexpected-shutdown");
    EXPECT_EQ("2 unexpected shutdowns in the System log, the newest 2024-05-03 12:00:00 UTC", shutdowns.title);
    EXPECT_EQ("System32/WinEvt/Logs/System.evtx:0: 2024-05-03 12:00:00 UTC EventLog event 6008 (record 3)\n"
              "System32/WinEvt/Logs/System.evtx:0: 2024-05-01 12:00:00 UTC Microsoft-Windows-Kernel-Power event 41 (record 1)\n",
              EvidenceText(shutdowns));
    EXPECT_EQ(Severity::Error, Get(report, "events.bug-check").severity);
    EXPECT_EQ(Severity::Error, Get(report, "events.disk-error").severity);
    EXPECT_EQ("1 storage controller errors and resets in the System log, the newest 2024-05-05 12:00:00 UTC",
              Get(report, "events.controller-error").title) << "the informational storahci event is no trouble";
}

TEST(EventsSystemLog, AQuietLogMakesNoFinding)
{
    const Report report = AnalyzeBundle(fixtures::ExtendedSampleBundle());
    for (const char* id : {"events.unexpected-shutdown", "events.bug-check", "events.disk-error", "events.controller-error"})
        EXPECT_EQ(0u, CountFindings(report, id)) << id;
}

TEST(EventsSystemLog, AnUnreadableLogIsNotedAndTheReportGoesOn)
{
    fixtures::Bundle bundle = fixtures::ExtendedSampleBundle();
    bundle.Set("System32/WinEvt/Logs/System.evtx", "sample System32\\WinEvt\\Logs\\System.evtx\r\nsecond line\r\n");
    const Report report = AnalyzeBundle(bundle);
    EXPECT_TRUE(HasNote(report, "System32/WinEvt/Logs/System.evtx", "not an event log")) << Summary(report);
    EXPECT_EQ(1u, CountFindings(report, "recovery.image"));
}

// 7. Collection completeness.
