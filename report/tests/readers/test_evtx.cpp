// Records of event logs (.evtx).
#include "fixtures/support.h"
#include "check/event_rules.h"
#include "read/evtx.h"

#include <gtest/gtest.h>

using namespace report;

TEST(ReadEventLog, ReadsProviderEventAndTime)
{
    const std::string file = fixtures::TempDir() + "/System.evtx";
    fixtures::WriteFile(file, fixtures::EventLog({{"Microsoft-Windows-Kernel-Power", 41, 1, fixtures::Filetime(2024, 5, 2, 8)},
                                                  {"disk", 7, 2, fixtures::Filetime(2024, 5, 3, 9)}}));
    const EventLog log = ReadEventLog(file);
    ASSERT_TRUE(log.read) << log.problem;
    ASSERT_EQ(2u, log.records.size());
    EXPECT_EQ("Microsoft-Windows-Kernel-Power", log.records[0].provider);
    EXPECT_EQ(41u, log.records[0].eventId);
    EXPECT_EQ("2024-05-02 08:00:00 UTC", FormatFiletime(log.records[0].filetime));
    EXPECT_EQ(Trouble::UnexpectedShutdown, Classify(log.records[0]));
    EXPECT_EQ(Trouble::DiskError, Classify(log.records[1]));
}

TEST(ReadEventLog, SaysWhyAFileIsNoEventLog)
{
    const std::string file = fixtures::TempDir() + "/System.evtx";
    fixtures::WriteFile(file, "sample System32\\WinEvt\\Logs\\System.evtx\r\nsecond line\r\n");
    const EventLog log = ReadEventLog(file);
    EXPECT_FALSE(log.read);
    EXPECT_NE(std::string::npos, log.problem.find("not an event log")) << log.problem;
}
