// Saved registry hives, as "reg save" writes them.
#include "fixtures/support.h"
#include "facts/current_loader.h"
#include "read/boot_store.h"
#include "read/hive.h"

#include <gtest/gtest.h>

using namespace report;

TEST(ReadHive, ReadsTheStoreFromASavedHive)
{
    const std::string file = fixtures::TempDir() + "/store.hiv";
    fixtures::WriteFile(file, fixtures::Hive(63LL << 30, false));
    RegTree tree;
    std::string error;
    ASSERT_TRUE(ReadHive(file, "HKEY_LOCAL_MACHINE\\BCD00000000", tree, error)) << error;
    const BootStore store = BootStoreFromRegistry(tree, "BCD00000000.hiv");
    std::string how;
    const BcdObject* current = CurrentLoader(store, {}, how);
    ASSERT_NE(nullptr, current);
    EXPECT_EQ(0, current->recoveryEnabled);
    EXPECT_EQ(63LL << 30, store.Find(current->recoverySequence.at(0))->osDevice.offset);
}

TEST(ReadHive, RefusesAFileThatIsNoHive)
{
    const std::string file = fixtures::TempDir() + "/not.hiv";
    fixtures::WriteFile(file, "regf but not really");
    RegTree tree;
    std::string error;
    EXPECT_FALSE(ReadHive(file, "X", tree, error));
    EXPECT_NE(std::string::npos, error.find("not a registry hive")) << error;
}
