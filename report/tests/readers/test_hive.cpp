// Saved registry hives, as "reg save" writes them.
#include "fixtures/support.h"
#include "facts/current_loader.h"
#include "read/boot_store.h"
#include "read/hive.h"

#include <hivex.h>

#include <cstring>

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

TEST(ReadHive, KeysNestedDeeperThanItsBoundAreLeftOutAndNamed)
{
    const std::string file = fixtures::TempDir() + "/deep.hiv";
    fixtures::WriteFile(file, fixtures::Hive());
    hive_h* hive = hivex_open(file.c_str(), HIVEX_OPEN_WRITE);
    ASSERT_NE(nullptr, hive);
    hive_node_h node = hivex_root(hive);
    for (int depth = 1; depth <= kMaxHiveDepth + 6; ++depth)
        ASSERT_NE(0u, node = hivex_node_add_child(hive, node, "k"));
    ASSERT_EQ(0, hivex_commit(hive, nullptr, 0));
    hivex_close(hive);

    RegTree tree;
    std::string error;
    ASSERT_TRUE(ReadHive(file, "R", tree, error)) << error;
    std::string path = "R";
    for (int depth = 1; depth <= kMaxHiveDepth; ++depth)
        path += "\\k";
    EXPECT_NE(nullptr, tree.Key(path));
    EXPECT_EQ(nullptr, tree.Key(path + "\\k"));
    EXPECT_EQ("keys nested deeper than 64 levels were left out", tree.LeftOut());
    EXPECT_NE(nullptr, tree.Key("R\\Objects")) << "the rest of the hive is read";
}

TEST(ReadHive, AHiveWithinItsBoundsLeavesNothingOut)
{
    const std::string file = fixtures::TempDir() + "/store.hiv";
    fixtures::WriteFile(file, fixtures::Hive());
    RegTree tree;
    std::string error;
    ASSERT_TRUE(ReadHive(file, "R", tree, error)) << error;
    EXPECT_EQ("", tree.LeftOut());
}

TEST(ReadHive, KeepsAValueTypeThatHasNoNameAsItsNumber)
{
    const std::string file = fixtures::TempDir() + "/odd.hiv";
    fixtures::WriteFile(file, fixtures::Hive());
    hive_h* hive = hivex_open(file.c_str(), HIVEX_OPEN_WRITE);
    ASSERT_NE(nullptr, hive);
    char name[] = "Odd", data[] = "\x01\x02";
    hive_set_value value = {name, hive_t_REG_NONE, 2, data};
    const uint32_t type = 0xF6000003; // no hive_type has it: set through its bytes
    memcpy(&value.t, &type, sizeof type);
    ASSERT_EQ(0, hivex_node_set_values(hive, hivex_root(hive), 1, &value, 0));
    ASSERT_EQ(0, hivex_commit(hive, nullptr, 0));
    hivex_close(hive);

    RegTree tree;
    std::string error;
    ASSERT_TRUE(ReadHive(file, "R", tree, error)) << error;
    const RegValue* odd = tree.Key("R")->Value("Odd");
    ASSERT_NE(nullptr, odd);
    EXPECT_EQ(0xF6000003u, odd->type);
    EXPECT_EQ("\x01\x02", odd->data);
}
