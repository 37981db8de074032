// The boot configuration store's objects and device elements, from a registry export, and the
// choice of the running system's loader among them.
#include "fixtures/support.h"
#include "facts/current_loader.h"
#include "read/boot_store.h"
#include "read/diaglog.h"

#include <gtest/gtest.h>

using namespace report;
using testing_support::SystemText;

TEST(BootStoreFromRegistry, ReadsTheSampleStore)
{
    size_t skipped = 0;
    const BootStore store = BootStoreFromRegistry(ParseRegExport(SystemText(fixtures::Utf16Le(fixtures::SampleBootStore(63LL << 30, false).Text())), skipped), "BCD00000000.reg");
    std::string how;
    const BcdObject* current = CurrentLoader(store, {}, how);
    ASSERT_NE(nullptr, current);
    EXPECT_EQ(fixtures::kLoader, current->id);
    EXPECT_EQ("it is the only Windows loader that is not a recovery loader", how);
    EXPECT_EQ(0, current->recoveryEnabled);
    EXPECT_EQ(BcdDevice::Kind::Partition, current->device.kind);
    EXPECT_FALSE(current->device.gpt);
    EXPECT_EQ(fixtures::kDiskSignature, current->device.signature);
    EXPECT_EQ(1LL << 20, current->device.offset);
    const BcdObject* recovery = store.Find(current->recoverySequence.at(0));
    ASSERT_NE(nullptr, recovery);
    EXPECT_EQ(63LL << 30, recovery->osDevice.offset);
    EXPECT_EQ("\\Recovery\\WindowsRE\\Winre.wim", recovery->osDevice.imagePath);
    EXPECT_EQ("ramdisk \\Recovery\\WindowsRE\\Winre.wim on the partition at offset 63 GiB of MBR disk 0x5A3C9E01",
              recovery->osDevice.Describe());
}

TEST(BootStoreFromRegistry, ReadsAGptDevice)
{
    const std::string disk("\x11\x22\x33\x44\x55\x66\x77\x88\x99\xAA\xBB\xCC\xDD\xEE\xFF\x01", 16);
    const std::string partition("\x01\x02\x03\x04\x05\x06\x07\x08\x09\x0A\x0B\x0C\x0D\x0E\x0F\x10", 16);
    fixtures::RegExport reg;
    reg.Key("HKEY_LOCAL_MACHINE\\BCD00000000\\Objects\\{a}\\Description").Dword("Type", 0x10200003);
    reg.Key("HKEY_LOCAL_MACHINE\\BCD00000000\\Objects\\{a}\\Elements\\11000001").Binary("Element", fixtures::GptPartitionElement(disk, partition));
    size_t skipped = 0;
    const BootStore store = BootStoreFromRegistry(ParseRegExport(SystemText(reg.Text()), skipped), "BCD00000000.reg");
    const BcdDevice& device = store.Find("{a}")->device;
    EXPECT_TRUE(device.gpt);
    EXPECT_EQ("44332211-6655-8877-99aa-bbccddeeff01", device.diskGuid);
    EXPECT_EQ("04030201-0605-0807-090a-0b0c0d0e0f10", device.partitionGuid);
}

TEST(CurrentLoader, FollowsTheSystemPartitionThatTheLogNames)
{
    fixtures::RegExport reg = fixtures::SampleBootStore();
    // A second loader, on another partition.
    reg.Key("HKEY_LOCAL_MACHINE\\BCD00000000\\Objects\\{00000000-0000-0000-0000-000000000001}\\Description").Dword("Type", 0x10200003);
    reg.Key("HKEY_LOCAL_MACHINE\\BCD00000000\\Objects\\{00000000-0000-0000-0000-000000000001}\\Elements\\11000001")
        .Binary("Element", fixtures::PartitionElement(fixtures::kDiskSignature, 9LL << 30));
    size_t skipped = 0;
    const BootStore store = BootStoreFromRegistry(ParseRegExport(SystemText(reg.Text()), skipped), "BCD00000000.reg");
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
