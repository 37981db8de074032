// The disk table of "wmic diskdrive list".
#include "fixtures/support.h"
#include "read/wmic.h"

#include <gtest/gtest.h>

using namespace report;
using fixtures::Speech;
using testing_support::Captured;

class WmicSpeech : public testing::TestWithParam<Speech>
{
};

TEST_P(WmicSpeech, ReadsTheDiskTableByItsColumns)
{
    const std::vector<Disk> disks = ParseWmicDisks(Captured(fixtures::WmicDisksOutput(GetParam())));
    ASSERT_EQ(1u, disks.size());
    EXPECT_EQ("0", disks[0].index);
    EXPECT_EQ("SAMPLE DISK 0", disks[0].model);
    EXPECT_TRUE(disks[0].Mbr());
    EXPECT_EQ(fixtures::kDiskSignature, disks[0].SignatureValue());
    EXPECT_EQ(fixtures::kDiskSize, disks[0].size);
    EXPECT_EQ("3", disks[0].partitions);
    EXPECT_EQ("OK", disks[0].status);
    EXPECT_EQ(2u, disks[0].line);
}

INSTANTIATE_TEST_SUITE_P(Forms, WmicSpeech, testing::Values(Speech::Utf8, Speech::Field));
