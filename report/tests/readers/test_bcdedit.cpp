// The boot configuration store as "bcdedit /enum all" lists it.
#include "fixtures/support.h"
#include "facts/current_loader.h"
#include "read/bcdedit.h"

#include <gtest/gtest.h>

using namespace report;
using fixtures::Speech;
using testing_support::Captured;

class BcdeditSpeech : public testing::TestWithParam<Speech>
{
};

TEST_P(BcdeditSpeech, ReadsTheLoaderItsRecoverySequenceAndTheRamdisk)
{
    const BootStore store = BootStoreFromBcdedit(Captured(fixtures::BcdeditOutput(GetParam(), false)), "bcdedit_all.log");
    EXPECT_EQ(GetParam() == Speech::German ? "German" : "English", store.language);
    std::string how;
    const BcdObject* current = CurrentLoader(store, {}, how);
    ASSERT_NE(nullptr, current);
    EXPECT_EQ("{current}", current->id);
    EXPECT_EQ(0, current->recoveryEnabled);
    EXPECT_EQ(20u, current->enabledWhere.line);
    ASSERT_EQ(1u, current->recoverySequence.size());
    const BcdObject* recovery = store.Find(current->recoverySequence[0]);
    ASSERT_NE(nullptr, recovery);
    EXPECT_TRUE(recovery->loader);
    EXPECT_EQ(1, recovery->winPe);
    EXPECT_EQ(BcdDevice::Kind::Ramdisk, recovery->osDevice.kind);
    EXPECT_EQ("C:", recovery->osDevice.partitionText);
    EXPECT_EQ("\\Recovery\\WindowsRE\\Winre.wim", recovery->osDevice.imagePath);
    EXPECT_FALSE(store.Find("{bootmgr}")->loader);
}

INSTANTIATE_TEST_SUITE_P(Forms, BcdeditSpeech, testing::Values(Speech::Utf8, Speech::Field, Speech::German));
