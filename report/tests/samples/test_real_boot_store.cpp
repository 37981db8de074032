// The boot configuration store of a real UEFI machine (hives/regipy-BCD.xz in the real
// artifacts, read where it lies): its objects, its device elements as Windows writes them, and
// the report of an archive holding it.
#include "facts/current_loader.h"
#include "fixtures/support.h"
#include "read/hive.h"

#include <gtest/gtest.h>

using namespace report;
using namespace testing_support;

namespace
{
const char kStore[] = "real-artifacts/hives/regipy-BCD.xz";
const char kLoader[] = "{733b62e5-f608-11eb-825c-c112f60133ab}";
const char kRecovery[] = "{733b62e6-f608-11eb-825c-c112f60133ab}";
const char kOptions[] = "{733b62e7-f608-11eb-825c-c112f60133ab}";
const char kDisk[] = "{0b2394a9-095e-487d-8d48-719ecd4d78ca}";
const char kSystemPartition[] = "{8e0f2c38-e4ea-47ba-b7fc-9d8c74dccf0b}";
const char kRecoveryPartition[] = "{6cdfcd69-de75-4490-8f99-5a84bf264917}";

// The store's tree as the report reads a saved hive; false where the sample is absent.
bool ReadRealTree(RegTree& tree, std::string* file = nullptr)
{
    const std::string path = UnpackedSharedFile(kStore);
    if (path.empty())
        return false;
    std::string problem;
    EXPECT_TRUE(ReadHive(path, "HKEY_LOCAL_MACHINE\\BCD00000000", tree, problem)) << problem;
    if (file)
        *file = path;
    return true;
}

// The bytes of an element of the real store.
std::string Element(const RegTree& tree, const std::string& object, const std::string& element)
{
    const RegKey* key = tree.Key("HKEY_LOCAL_MACHINE\\BCD00000000\\Objects\\" + object + "\\Elements\\" + element);
    const RegValue* value = key ? key->Value("Element") : nullptr;
    return value ? value->data : "";
}
} // namespace

TEST(RealBootStore, TheBootManagersDefaultIsTheWindowsLoaderWithItsRecoverySequence)
{
    RegTree tree;
    if (!ReadRealTree(tree))
        GTEST_SKIP() << kStore << " is not beside the checkout";
    const BootStore store = BootStoreFromRegistry(tree, "BCD00000000.hiv");
    std::string how;
    const BcdObject* current = CurrentLoader(store, {}, how);
    ASSERT_NE(nullptr, current);
    EXPECT_EQ(kLoader, current->id);
    EXPECT_EQ("Windows 10", current->description);
    EXPECT_EQ("the boot manager starts it by default", how);
    EXPECT_EQ(1, current->recoveryEnabled);
    ASSERT_EQ(1u, current->recoverySequence.size());
    EXPECT_EQ(kRecovery, current->recoverySequence.front());
    const BcdObject* recovery = store.Find(current->recoverySequence.front());
    ASSERT_NE(nullptr, recovery);
    EXPECT_TRUE(recovery->loader);
    EXPECT_EQ(1, recovery->winPe);
    EXPECT_TRUE(store.problems.empty());
}

TEST(RealBootStore, TheRecoveryLoadersRamdiskElementIsRead)
{
    RegTree tree;
    if (!ReadRealTree(tree))
        GTEST_SKIP() << kStore << " is not beside the checkout";
    for (const char* element : {"11000001", "21000001"})
    {
        const std::string bytes = Element(tree, kRecovery, element);
        ASSERT_EQ(200u, bytes.size()) << element;
        const BcdDevice device = DeviceFromElement(bytes);
        EXPECT_EQ(BcdDevice::Kind::Ramdisk, device.kind) << element;
        ASSERT_TRUE(device.partitionRead) << device.problem;
        EXPECT_TRUE(device.gpt);
        EXPECT_EQ(std::string(kRecoveryPartition), "{" + device.partitionGuid + "}");
        EXPECT_EQ(std::string(kDisk), "{" + device.diskGuid + "}");
        EXPECT_EQ("\\Recovery\\WindowsRE\\Winre.wim", device.imagePath);
        EXPECT_EQ(kOptions, device.optionsId);
    }
    const BcdDevice system = DeviceFromElement(Element(tree, kLoader, "11000001"));
    EXPECT_EQ(BcdDevice::Kind::Partition, system.kind);
    EXPECT_EQ(std::string(kSystemPartition), "{" + system.partitionGuid + "}");
    EXPECT_FALSE(system.SamePartition(DeviceFromElement(Element(tree, kRecovery, "21000001")))) << "the image has its own partition";
}

TEST(RealBootStore, TheFixturesBuildTheElementsByteForByteAsWindowsDid)
{
    RegTree tree;
    if (!ReadRealTree(tree))
        GTEST_SKIP() << kStore << " is not beside the checkout";
    const std::string disk = fixtures::GuidBytes(kDisk);
    EXPECT_EQ(Element(tree, kLoader, "11000001"), fixtures::GptPartitionElement(disk, fixtures::GuidBytes(kSystemPartition)));
    EXPECT_EQ(Element(tree, kRecovery, "21000001"),
              fixtures::GptRamdiskElement(disk, fixtures::GuidBytes(kRecoveryPartition), "\\Recovery\\WindowsRE\\Winre.wim",
                                          fixtures::GuidBytes(kOptions)));
}

TEST(RealBootStore, AnArchiveHoldingItRaisesNoAlarmAboutTheBootConfiguration)
{
    RegTree tree;
    std::string file;
    if (!ReadRealTree(tree, &file))
        GTEST_SKIP() << kStore << " is not beside the checkout";
    // The sample machine's other files, without its own store and the path of its own image.
    fixtures::Bundle bundle = fixtures::SampleBundle();
    bundle.Remove("BCD00000000.reg").Remove("recovery_path.log").Set("BCD00000000.hiv", fixtures::ReadFile(file));
    const Report report = AnalyzeBundle(bundle);
    EXPECT_EQ("", Alarms(report, "boot.")) << Summary(report);
    EXPECT_EQ(std::string("Windows starts through boot loader ") + kLoader + " (\"Windows 10\")", Get(report, "boot.current-loader").title);
    EXPECT_EQ(std::string("Recovery loader ") + kRecovery + " starts \\Recovery\\WindowsRE\\Winre.wim", Get(report, "boot.recovery-loader").title);
    EXPECT_EQ(std::string("The recovery loader's image lies on GPT disk ") + kDisk + ", partition " + kRecoveryPartition,
              Get(report, "disks.recovery-location").title);
}
