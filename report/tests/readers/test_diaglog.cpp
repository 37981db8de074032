// The records of mpdiag.log.
#include "fixtures/support.h"
#include "read/diaglog.h"

#include <gtest/gtest.h>

using namespace report;
using testing_support::SystemText;

TEST(ParseDiagLog, ReadsRecordsTheirLevelsAndContinuationLines)
{
    const std::vector<LogRecord> log =
        ParseDiagLog(SystemText("14:03:27 ! Error: !src || !dest\r\n\r\n14:03:28 - VSS snapshot failed - retrying\r\n"
                            "14:03:29   Output for command: \"bcdedit\", currentDir: \"C:\\Windows\\system32\"\r\n"
                            "14:03:29 !!! fatal\r\n"));
    ASSERT_EQ(4u, log.size());
    EXPECT_EQ(LogLevel::Error, log[0].level);
    EXPECT_EQ("Error: !src || !dest", log[0].message);
    EXPECT_EQ(LogLevel::Warning, log[1].level);
    EXPECT_EQ(3u, log[1].line);
    EXPECT_EQ(LogLevel::Message, log[2].level);
    EXPECT_TRUE(IsRecoverySearchRecord(log[2]));
    EXPECT_EQ(LogLevel::Fatal, log[3].level);
}

TEST(ParseDiagLog, CutsARecordWhoseContinuationLinesRunPastTheBound)
{
    std::string log = "10:00:00 ! Output follows\r\n";
    for (int i = 0; i < 1000; ++i)
        log += std::string(99, 'o') + "\r\n"; // 100 bytes a line with its "\n" in the message
    log += "10:00:01 - next\r\n";
    const std::vector<LogRecord> records = ParseDiagLog(SystemText(log));
    ASSERT_EQ(2u, records.size());
    EXPECT_TRUE(records[0].cut);
    EXPECT_LE(records[0].message.size(), kMaxMessageBytes);
    EXPECT_GT(records[0].message.size(), kMaxMessageBytes - 100) << "whole lines up to the bound";
    EXPECT_EQ(0u, records[0].message.compare(0, 14, "Output follows"));
    EXPECT_FALSE(records[1].cut);
    EXPECT_EQ("next", records[1].message);
    EXPECT_EQ(1002u, records[1].line);
}
