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
