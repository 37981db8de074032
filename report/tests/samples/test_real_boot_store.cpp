// The boot configuration store of a real UEFI machine (hives/regipy-BCD.xz in the real
// artifacts, read where it lies).
#include "facts/current_loader.h"
#include "fixtures/support.h"
#include "read/hive.h"

#include <gtest/gtest.h>

using namespace report;
using testing_support::UnpackedSharedFile;

namespace
{
const char kStore[] = "real-artifacts/hives/regipy-BCD.xz";

// The store as the report reads a saved hive; skips the test where the sample is absent.
bool ReadRealStore(BootStore& store)
{
    const std::string file = UnpackedSharedFile(kStore);
    if (file.empty())
        return false;
    RegTree tree;
    std::string problem;
    EXPECT_TRUE(ReadHive(file, "HKEY_LOCAL_MACHINE\\BCD00000000", tree, problem)) << problem;
    store = BootStoreFromRegistry(tree, "BCD00000000.hiv");
    return true;
}
} // namespace

TEST(RealBootStore, TheBootManagersDefaultIsTheWindowsLoaderWithItsRecoverySequence)
{
    BootStore store;
    if (!ReadRealStore(store))
        GTEST_SKIP() << kStore << " is not beside the checkout";
    std::string how;
    const BcdObject* current = CurrentLoader(store, {}, how);
    ASSERT_NE(nullptr, current);
    EXPECT_EQ("{733b62e5-f608-11eb-825c-c112f60133ab}", current->id);
    EXPECT_EQ("Windows 10", current->description);
    EXPECT_EQ("the boot manager starts it by default", how);
    EXPECT_EQ(1, current->recoveryEnabled);
    ASSERT_EQ(1u, current->recoverySequence.size());
    EXPECT_EQ("{733b62e6-f608-11eb-825c-c112f60133ab}", current->recoverySequence.front());
    const BcdObject* recovery = store.Find(current->recoverySequence.front());
    ASSERT_NE(nullptr, recovery);
    EXPECT_TRUE(recovery->loader);
    EXPECT_EQ(1, recovery->winPe);
}
