// The readers of the archive's files: systeminfo, bcdedit, registry exports and hives, the
// wmic table, devices.txt, INF files, pci.ids, mpdiag.log and event logs.
#include "bcd.h"
#include "diaglog.h"
#include "drivers.h"
#include "events.h"
#include "fixtures.h"
#include "inventory.h"
#include "support.h"
#include "sysinfo.h"

#include <gtest/gtest.h>

using namespace report;
using fixtures::Speech;

namespace
{
Text Captured(const std::string& childOutput)
{
    Text text;
    std::string problem;
    EXPECT_TRUE(DecodeCapturedOutput(fixtures::CollectorSaves(childOutput), text, problem)) << problem;
    return text;
}

Text System(const std::string& bytes)
{
    Text text;
    std::string problem;
    EXPECT_TRUE(DecodeSystemText(bytes, text, problem)) << problem;
    return text;
}
} // namespace

class SystemInfoSpeech : public testing::TestWithParam<Speech>
{
};

TEST_P(SystemInfoSpeech, ReadsTheMachineInEveryForm)
{
    const SystemInfo info = ParseSystemInfo(Captured(fixtures::SystemInfoOutput(GetParam())));
    EXPECT_EQ("SAMPLE-PC", info.Get(SystemInfoField::HostName).text);
    EXPECT_EQ("Microsoft Windows 10 Pro", info.Get(SystemInfoField::OsName).text);
    EXPECT_EQ("10.0.19045", VersionNumber(info.Get(SystemInfoField::OsVersion).text));
    EXPECT_EQ("19045", BuildNumber(info.Get(SystemInfoField::OsVersion).text));
    EXPECT_EQ("x64", Architecture(info.Get(SystemInfoField::SystemType).text));
    EXPECT_EQ("C:\\Windows", info.Get(SystemInfoField::WindowsDirectory).text);
    EXPECT_EQ("\\Device\\HarddiskVolume1", info.Get(SystemInfoField::BootDevice).text) << "its German label has an umlaut";
    EXPECT_EQ(GetParam() == Speech::German ? "German" : "English", info.language);
    EXPECT_EQ(4u, info.Get(SystemInfoField::OsVersion).line);
}
INSTANTIATE_TEST_SUITE_P(Forms, SystemInfoSpeech, testing::Values(Speech::Utf8, Speech::Field, Speech::German));

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

TEST(RegExport, ReadsKeysValuesAndContinuedLines)
{
    size_t skipped = 0;
    const RegTree tree = ParseRegExport(System(fixtures::Utf16Le(fixtures::SampleBootStore(63LL << 30).Text())), skipped);
    EXPECT_EQ(0u, skipped);
    const RegKey* key = tree.Key("hkey_local_machine\\bcd00000000\\objects\\" + std::string(fixtures::kRecoveryLoader) + "\\elements\\21000001");
    ASSERT_NE(nullptr, key);
    const RegValue* element = key->Value("Element");
    ASSERT_NE(nullptr, element);
    EXPECT_EQ(fixtures::RamdiskElement(fixtures::kDiskSignature, 63LL << 30, "\\Recovery\\WindowsRE\\Winre.wim"), element->data)
        << "the value runs over several lines ended by a backslash";
}

TEST(RegExport, CountsLinesItDoesNotUnderstand)
{
    size_t skipped = 0;
    const RegTree tree = ParseRegExport(System("REGEDIT4\r\n[HKEY_LOCAL_MACHINE\\A]\r\n\"x\"=dword:zz\r\ngarbage\r\n\"y\"=\"ok\"\r\n"), skipped);
    EXPECT_EQ(2u, skipped);
    EXPECT_EQ("ok", Utf16ToUtf8(tree.Key("HKEY_LOCAL_MACHINE\\A")->Value("y")->data));
}

TEST(BootStoreFromRegistry, ReadsTheSampleStore)
{
    size_t skipped = 0;
    const BootStore store = BootStoreFromRegistry(ParseRegExport(System(fixtures::Utf16Le(fixtures::SampleBootStore(63LL << 30, false).Text())), skipped), "BCD00000000.reg");
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
    const BootStore store = BootStoreFromRegistry(ParseRegExport(System(reg.Text()), skipped), "BCD00000000.reg");
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
    const BootStore store = BootStoreFromRegistry(ParseRegExport(System(reg.Text()), skipped), "BCD00000000.reg");
    const std::vector<LogRecord> log = ParseDiagLog(System("10:00:00   System drive signature: 1513922049\r\n"
                                                           "10:00:00   System partition offset: 9663676416\r\n"));
    const SystemPartitionHint hint = HintFromLog(log);
    ASSERT_TRUE(hint.known);
    std::string how;
    const BcdObject* current = CurrentLoader(store, hint, how);
    ASSERT_NE(nullptr, current);
    EXPECT_EQ("{00000000-0000-0000-0000-000000000001}", current->id);
    EXPECT_EQ("its device is the system partition that mpdiag.log names", how);
}

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

TEST(Controllers, DevicesTxtAndTheDeviceTreeMergeIntoOneListOfStorageAndNetworkControllers)
{
    const fixtures::Bundle bundle = fixtures::SampleBundle();
    Text devices, tree;
    std::string problem;
    ASSERT_TRUE(DecodeCapturedOutput(bundle.files.at("devices.txt"), devices, problem));
    ASSERT_TRUE(DecodeSystemText(bundle.files.at("enum.reg"), tree, problem));
    size_t skipped = 0;
    const std::vector<Controller> controllers =
        MergeControllers(ControllersFromEnum(ParseRegExport(tree, skipped), "enum.reg"), ParseDevicesTxt(devices, "devices.txt"));
    ASSERT_EQ(3u, controllers.size()) << "the host bridge (class 06) is no controller of interest";
    EXPECT_EQ("PCI\\VEN_8086&DEV_2922", controllers[0].ShortId());
    EXPECT_FALSE(controllers[0].noDriver);
    EXPECT_EQ("PCI\\VEN_1000&DEV_0079", controllers[1].ShortId());
    EXPECT_TRUE(controllers[1].noDriver);
    EXPECT_EQ(1u, controllers[1].devicesLine);
    EXPECT_EQ(2u, controllers[1].hardwareIds);
    EXPECT_EQ("PCI\\VEN_8086&DEV_10D3", controllers[2].ShortId()) << "lower-case identifiers are upper-cased";
    EXPECT_TRUE(controllers[2].network);
    EXPECT_TRUE(controllers[2].noDriver);
}

TEST(InfHardwareIds, ListsTheModelsOfTheArchitecture)
{
    const std::vector<std::string> ids = InfHardwareIds(System(fixtures::Inf("x.inf", {"pci\\ven_1000&dev_0079", "PCI\\CC_0104"}, "NTamd64", true).text), "x64");
    EXPECT_EQ((std::vector<std::string>{"PCI\\VEN_1000&DEV_0079", "PCI\\CC_0104"}), ids);
    EXPECT_TRUE(InfHardwareIds(System(fixtures::Inf("x.inf", {"PCI\\VEN_1000&DEV_0079"}, "NTx86").text), "x64").empty());
    EXPECT_EQ(1u, InfHardwareIds(System(fixtures::Inf("x.inf", {"PCI\\VEN_1000&DEV_0079"}, "NTamd64.10.0...17763").text), "x64").size());
}

TEST(PciName, NamesVendorAndDevice)
{
    EXPECT_EQ("Broadcom / LSI MegaRAID SAS 2108 [Liberator]", PciName(testing_support::PciIdsFile(), "1000", "0079"));
    EXPECT_EQ("Intel Corporation", PciName(testing_support::PciIdsFile(), "8086", "ffff"));
    EXPECT_EQ("", PciName(testing_support::PciIdsFile(), "abcd", "0079"));
}

TEST(PciName, ReadsTheSystemList)
{
    EXPECT_EQ("Intel Corporation 82574L Gigabit Network Connection", PciName(SYSTEM_PCI_IDS, "8086", "10d3"));
}

TEST(ParseDiagLog, ReadsRecordsTheirLevelsAndContinuationLines)
{
    const std::vector<LogRecord> log =
        ParseDiagLog(System("14:03:27 ! Error: !src || !dest\r\n\r\n14:03:28 - VSS snapshot failed - retrying\r\n"
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

TEST(ReadEventLog, ReadsProviderEventAndTime)
{
    const std::string file = fixtures::TempDir() + "/System.evtx";
    fixtures::WriteFile(file, fixtures::EventLog({{"Microsoft-Windows-Kernel-Power", 41, 1, fixtures::Filetime(2024, 5, 2, 8)},
                                                  {"disk", 7, 2, fixtures::Filetime(2024, 5, 3, 9)}}));
    const EventLog log = ReadEventLog(file);
    ASSERT_TRUE(log.read) << log.problem;
    ASSERT_EQ(2u, log.records.size());
    EXPECT_EQ("Microsoft-Windows-Kernel-Power", log.records[0].provider);
    EXPECT_EQ(41u, log.records[0].eventId);
    EXPECT_EQ("2024-05-02 08:00:00 UTC", FormatFiletime(log.records[0].filetime));
    EXPECT_EQ(Trouble::UnexpectedShutdown, Classify(log.records[0]));
    EXPECT_EQ(Trouble::DiskError, Classify(log.records[1]));
}

TEST(ReadEventLog, SaysWhyAFileIsNoEventLog)
{
    const std::string file = fixtures::TempDir() + "/System.evtx";
    fixtures::WriteFile(file, "sample System32\\WinEvt\\Logs\\System.evtx\r\nsecond line\r\n");
    const EventLog log = ReadEventLog(file);
    EXPECT_FALSE(log.read);
    EXPECT_NE(std::string::npos, log.problem.find("not an event log")) << log.problem;
}
