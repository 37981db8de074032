// The boot configuration store's objects and device elements, from a registry export, and the
// choice of the running system's loader among them.
#include "fixtures/support.h"
#include "facts/current_loader.h"
#include "read/boot_store.h"
#include "read/diaglog.h"

#include <gtest/gtest.h>

using namespace report;
using testing_support::SystemText;

namespace
{
const std::string kDisk = fixtures::GuidBytes("{0b2394a9-095e-487d-8d48-719ecd4d7800}");
const std::string kPartition = fixtures::GuidBytes("{6cdfcd69-de75-4490-8f99-5a84bf264917}");

BootStore StoreOf(const fixtures::RegExport& reg)
{
    size_t skipped = 0;
    return BootStoreFromRegistry(ParseRegExport(SystemText(fixtures::Utf16Le(reg.Text())), skipped), "BCD00000000.reg");
}

// One loader whose 11000001 element holds `element`.
BootStore StoreWithDevice(const std::string& element)
{
    fixtures::RegExport reg;
    reg.Key("HKEY_LOCAL_MACHINE\\BCD00000000\\Objects\\{a}\\Description").Dword("Type", 0x10200003);
    reg.Key("HKEY_LOCAL_MACHINE\\BCD00000000\\Objects\\{a}\\Elements\\11000001").Binary("Element", element);
    return StoreOf(reg);
}
} // namespace

TEST(BootStoreFromRegistry, ReadsTheSampleStore)
{
    const BootStore store = StoreOf(fixtures::SampleBootStore(63LL << 30, false));
    std::string how;
    const BcdObject* current = CurrentLoader(store, {}, how);
    ASSERT_NE(nullptr, current);
    EXPECT_EQ(fixtures::kLoader, current->id);
    EXPECT_EQ("it is the only Windows loader that is not a recovery loader", how);
    EXPECT_EQ(0, current->recoveryEnabled);
    EXPECT_EQ(BcdDevice::Kind::Partition, current->device.kind);
    EXPECT_TRUE(current->device.partitionRead);
    EXPECT_FALSE(current->device.gpt);
    EXPECT_EQ(fixtures::kDiskSignature, current->device.signature);
    EXPECT_EQ(1LL << 20, current->device.offset);
    const BcdObject* recovery = store.Find(current->recoverySequence.at(0));
    ASSERT_NE(nullptr, recovery);
    EXPECT_EQ(BcdDevice::Kind::Ramdisk, recovery->osDevice.kind);
    EXPECT_EQ(63LL << 30, recovery->osDevice.offset);
    EXPECT_EQ("\\Recovery\\WindowsRE\\Winre.wim", recovery->osDevice.imagePath);
    EXPECT_EQ(fixtures::kRamdiskOptions, recovery->osDevice.optionsId);
    EXPECT_EQ("ramdisk \\Recovery\\WindowsRE\\Winre.wim on the partition at offset 63 GiB of MBR disk 0x5A3C9E01",
              recovery->osDevice.Describe());
    EXPECT_TRUE(store.problems.empty());
}

TEST(DeviceElement, AGptPartitionIsToldByItsStyleField)
{
    // The disk's GUID ends in a zero byte, and the fields past it are zero as in every element:
    // nothing but the style field tells GPT from MBR.
    const BcdDevice device = DeviceFromElement(fixtures::GptPartitionElement(kDisk, kPartition));
    EXPECT_EQ(BcdDevice::Kind::Partition, device.kind);
    ASSERT_TRUE(device.partitionRead) << device.problem;
    EXPECT_TRUE(device.gpt);
    EXPECT_EQ("0b2394a9-095e-487d-8d48-719ecd4d7800", device.diskGuid);
    EXPECT_EQ("6cdfcd69-de75-4490-8f99-5a84bf264917", device.partitionGuid);
}

TEST(DeviceElement, AnMbrPartitionIsToldByItsStyleField)
{
    // A signature with every byte set and an offset past 4 GiB: MBR all the same.
    const BcdDevice device = DeviceFromElement(fixtures::PartitionElement(0xFFFFFFFF, 0x123456789ALL));
    ASSERT_TRUE(device.partitionRead) << device.problem;
    EXPECT_FALSE(device.gpt);
    EXPECT_EQ(0xFFFFFFFFu, device.signature);
    EXPECT_EQ(0x123456789ALL, device.offset);
}

TEST(DeviceElement, AnUnknownPartitionStyleLeavesThePartitionUnread)
{
    std::string element = fixtures::PartitionElement(fixtures::kDiskSignature, fixtures::kSystemOffset);
    element[52] = 2;
    const BcdDevice device = DeviceFromElement(element);
    EXPECT_EQ(BcdDevice::Kind::Partition, device.kind);
    EXPECT_FALSE(device.partitionRead);
    EXPECT_EQ("its partition has style 2, neither GPT (0) nor MBR (1)", device.problem);
    EXPECT_FALSE(device.SamePartition(device));
}

TEST(DeviceElement, ARamdiskOnAGptPartition)
{
    const std::string options = fixtures::GuidBytes("{733b62e7-f608-11eb-825c-c112f60133ab}");
    const BcdDevice device = DeviceFromElement(fixtures::GptRamdiskElement(kDisk, kPartition, "\\Recovery\\WindowsRE\\Winre.wim", options));
    EXPECT_EQ(BcdDevice::Kind::Ramdisk, device.kind);
    ASSERT_TRUE(device.partitionRead) << device.problem;
    EXPECT_TRUE(device.gpt);
    EXPECT_EQ("6cdfcd69-de75-4490-8f99-5a84bf264917", device.partitionGuid);
    EXPECT_EQ("\\Recovery\\WindowsRE\\Winre.wim", device.imagePath);
    EXPECT_EQ("{733b62e7-f608-11eb-825c-c112f60133ab}", device.optionsId);
}

TEST(DeviceElement, TheKindOfABlockIoDeviceDecidesWhetherItIsARamdisk)
{
    std::string element = fixtures::RamdiskElement(fixtures::kDiskSignature, fixtures::kSystemOffset, "\\x.wim");
    element[32] = 5;
    const BcdDevice device = DeviceFromElement(element);
    EXPECT_EQ(BcdDevice::Kind::Other, device.kind);
    EXPECT_EQ("a block I/O device of kind 5", device.Describe());
}

TEST(DeviceElement, BootAndLegacyDevices)
{
    EXPECT_EQ(BcdDevice::Kind::Boot, DeviceFromElement(fixtures::BootDeviceHeader()).kind);
    std::string legacy = fixtures::PartitionElement(fixtures::kDiskSignature, fixtures::kSystemOffset);
    legacy[16] = 2;
    const BcdDevice device = DeviceFromElement(legacy);
    EXPECT_EQ(BcdDevice::Kind::Other, device.kind);
    EXPECT_FALSE(device.partitionRead);
}

TEST(DeviceElement, ADamagedElementIsReportedNotGuessed)
{
    const std::string ramdisk = fixtures::RamdiskElement(fixtures::kDiskSignature, fixtures::kSystemOffset, "\\Recovery\\x.wim");
    for (size_t size : {size_t(0), size_t(20), size_t(56), size_t(100), ramdisk.size() - 10})
    {
        const BcdDevice device = DeviceFromElement(ramdisk.substr(0, size));
        EXPECT_FALSE(device.partitionRead) << size;
        EXPECT_FALSE(device.problem.empty()) << size;
    }
    std::string longFile = ramdisk;
    longFile[60] = static_cast<char>(0xF0);
    EXPECT_EQ("its image file's structure claims 240 bytes, 116 are there", DeviceFromElement(longFile).problem);
}

TEST(BootStoreFromRegistry, ElementsThatCannotBeReadAreNamed)
{
    const BootStore store = StoreWithDevice(fixtures::PartitionElement(fixtures::kDiskSignature, fixtures::kSystemOffset).substr(0, 40));
    ASSERT_EQ(1u, store.problems.size());
    EXPECT_EQ("object {a} element 11000001: its device at byte 16 claims 72 bytes, 24 are there", store.problems[0]);
}

TEST(CurrentLoader, FollowsTheSystemPartitionThatTheLogNames)
{
    fixtures::RegExport reg = fixtures::SampleBootStore();
    // A second loader, on another partition.
    reg.Key("HKEY_LOCAL_MACHINE\\BCD00000000\\Objects\\{00000000-0000-0000-0000-000000000001}\\Description").Dword("Type", 0x10200003);
    reg.Key("HKEY_LOCAL_MACHINE\\BCD00000000\\Objects\\{00000000-0000-0000-0000-000000000001}\\Elements\\11000001")
        .Binary("Element", fixtures::PartitionElement(fixtures::kDiskSignature, 9LL << 30));
    const BootStore store = StoreOf(reg);
    const std::vector<LogRecord> log = ParseDiagLog(SystemText("10:00:00   System drive signature: 1513922049\r\n"
                                                           "10:00:00   System partition offset: 9663676416\r\n"));
    const SystemPartitionHint hint = HintFromLog(log);
    ASSERT_TRUE(hint.known);
    std::string how;
    const BcdObject* current = CurrentLoader(store, hint, how);
    ASSERT_NE(nullptr, current);
    EXPECT_EQ("{00000000-0000-0000-0000-000000000001}", current->id);
    EXPECT_EQ("its device is the system partition that mpdiag.log names", how);
}
