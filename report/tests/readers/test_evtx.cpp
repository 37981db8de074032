// Records of event logs (.evtx).
#include "fixtures/support.h"
#include "check/event_rules.h"
#include "read/evtx.h"

#include <gtest/gtest.h>

using namespace report;

namespace
{
std::string LogFile(const std::vector<fixtures::Event>& events)
{
    const std::string file = fixtures::TempDir() + "/System.evtx";
    fixtures::WriteFile(file, fixtures::EventLog(events));
    return file;
}
} // namespace

TEST(ReadEventLog, ReadsProviderEventAndTime)
{
    const EventLog log = ReadEventLog(LogFile({{"Microsoft-Windows-Kernel-Power", 41, 1, fixtures::Filetime(2024, 5, 2, 8)},
                                               {"disk", 7, 2, fixtures::Filetime(2024, 5, 3, 9)}}));
    ASSERT_TRUE(log.read) << log.problem;
    ASSERT_EQ(2u, log.records.size());
    EXPECT_EQ("Microsoft-Windows-Kernel-Power", log.records[0].provider);
    EXPECT_EQ(41u, log.records[0].eventId);
    EXPECT_EQ(1, log.records[0].level);
    EXPECT_EQ("2024-05-02 08:00:00 UTC", FormatFiletime(log.records[0].filetime));
    EXPECT_EQ(Trouble::UnexpectedShutdown, Classify(log.records[0]));
    EXPECT_EQ(Trouble::DiskError, Classify(log.records[1]));
    EXPECT_EQ(0u, log.damagedChunks);
}

TEST(ReadEventLog, ReadsEventDataOnlyWhereAsked)
{
    const std::string file = LogFile({{"Microsoft-Windows-Ntfs", 98, 4, fixtures::Filetime(2024, 5, 2),
                                       {{"DriveName", "C:"}, {"DeviceName", "\\Device\\HarddiskVolume2"}, {"CorruptionActionState", "0"}}},
                                      {"iaStorVD", 129, 3, fixtures::Filetime(2024, 5, 3), {{"", "\\Device\\RaidPort0"}}}});
    const EventLog all = ReadEventLog(file, [](const EventRecord&) { return true; });
    ASSERT_EQ(2u, all.records.size());
    ASSERT_NE(nullptr, all.records[0].Data("CorruptionActionState"));
    EXPECT_EQ("0", *all.records[0].Data("CorruptionActionState"));
    EXPECT_EQ("\\Device\\HarddiskVolume2", *all.records[0].Data("DeviceName"));
    ASSERT_EQ(1u, all.records[1].data.size());
    EXPECT_EQ("", all.records[1].data[0].name);
    EXPECT_EQ("\\Device\\RaidPort0", all.records[1].data[0].value);
    EXPECT_TRUE(ReadEventLog(file).records[0].data.empty());
}

TEST(ReadEventLog, ARecordWhoseIdOrLevelIsNoNumberWindowsWritesIsLeftOutNotThrown)
{
    const EventLog log = ReadEventLog(LogFile({{"disk", 0, 3, fixtures::Filetime(2024, 5, 2), {}, "123456789012345678901234567890"},
                                               {"disk", 51, 0, fixtures::Filetime(2024, 5, 2), {}, "", "99999999999"},
                                               {"disk", 51, 3, fixtures::Filetime(2024, 5, 3)}}));
    ASSERT_TRUE(log.read) << log.problem;
    ASSERT_EQ(1u, log.records.size());
    EXPECT_EQ(51u, log.records[0].eventId);
    EXPECT_EQ(2u, log.badFields + log.unreadableRecords);
}

TEST(ReadEventLog, ChunksWithDataButNoSignatureAreCountedAsDamaged)
{
    std::string bytes = fixtures::EventLog({{"disk", 51, 3, fixtures::Filetime(2024, 5, 3)}});
    std::string damaged = bytes.substr(4096, 65536);
    damaged.replace(0, 8, std::string(8, '\0'));
    const std::string file = fixtures::TempDir() + "/System.evtx";
    fixtures::WriteFile(file, bytes + damaged + std::string(65536, '\0'));
    const EventLog log = ReadEventLog(file);
    ASSERT_TRUE(log.read) << log.problem;
    EXPECT_EQ(1u, log.damagedChunks) << "an unused chunk (all zero) is not damaged";
    EXPECT_EQ(1u, log.records.size());
}

TEST(ReadEventLog, SaysWhyAFileIsNoEventLog)
{
    const std::string file = fixtures::TempDir() + "/System.evtx";
    fixtures::WriteFile(file, "sample System32\\WinEvt\\Logs\\System.evtx\r\nsecond line\r\n");
    const EventLog log = ReadEventLog(file);
    EXPECT_FALSE(log.read);
    EXPECT_NE(std::string::npos, log.problem.find("not an event log")) << log.problem;
}
