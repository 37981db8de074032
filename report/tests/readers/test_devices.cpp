// Storage and network controllers from devices.txt and the device tree export.
#include "fixtures/support.h"
#include "read/devices.h"
#include "read/registry.h"

#include <gtest/gtest.h>

using namespace report;
using testing_support::SystemText;

namespace
{
const char kEnum[] = "HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Enum";

ControllerList FromTree(const fixtures::RegExport& tree)
{
    size_t skipped = 0;
    return ControllersFromEnum(ParseRegExport(SystemText(fixtures::Utf16Le(tree.Text())), skipped), kEnum, "enum.reg");
}

const Controller* Find(const ControllerList& list, const std::string& instancePart)
{
    for (const Controller& controller : list.controllers)
        if (controller.instance.find(instancePart) != std::string::npos)
            return &controller;
    return nullptr;
}
} // namespace

TEST(Controllers, DevicesTxtAndTheDeviceTreeMergeIntoOneListOfStorageAndNetworkControllers)
{
    const fixtures::Bundle bundle = fixtures::SampleBundle();
    Text devices, tree;
    std::string problem;
    ASSERT_TRUE(DecodeCapturedOutput(bundle.files.at("devices.txt"), devices, problem));
    ASSERT_TRUE(DecodeSystemText(bundle.files.at("enum.reg"), tree, problem));
    size_t skipped = 0;
    const std::vector<Controller> controllers =
        MergeControllers(ControllersFromEnum(ParseRegExport(tree, skipped), kEnum, "enum.reg").controllers,
                         ParseDevicesTxt(devices, "devices.txt").controllers);
    ASSERT_EQ(3u, controllers.size()) << "the host bridge (class 06) is no controller of interest";
    EXPECT_EQ("PCI\\VEN_8086&DEV_2922", controllers[0].ShortId());
    EXPECT_EQ("SATA controller", controllers[0].what);
    EXPECT_FALSE(controllers[0].problem);
    EXPECT_EQ(Presence::Unknown, controllers[0].presence) << controllers[0].presenceWhy;
    EXPECT_EQ("enum.reg holds no arrival or removal dates for it", controllers[0].presenceWhy);
    EXPECT_EQ("PCI\\VEN_1000&DEV_0079", controllers[1].ShortId());
    EXPECT_TRUE(controllers[1].problem);
    EXPECT_EQ(Presence::Present, controllers[1].presence) << "devices.txt lists present devices only";
    EXPECT_EQ(1u, controllers[1].devicesLine);
    EXPECT_EQ(2u, controllers[1].hardwareIds);
    EXPECT_EQ("PCI\\VEN_8086&DEV_10D3", controllers[2].ShortId()) << "lower-case identifiers are upper-cased";
    EXPECT_TRUE(controllers[2].network);
    EXPECT_TRUE(controllers[2].problem);
}

TEST(Controllers, PresenceFollowsTheArrivalAndRemovalDatesAgainstTheLastStart)
{
    const uint64_t start = fixtures::Filetime(2024, 5, 10, 8);
    const std::vector<std::string> nic = {"PCI\\VEN_8086&DEV_15B8&SUBSYS_86721043&REV_00", "PCI\\VEN_8086&DEV_15B8"};
    const std::vector<std::string> cc = {"PCI\\VEN_8086&CC_020000", "PCI\\CC_020000", "PCI\\CC_0200"};
    const ControllerList list = FromTree(fixtures::DeviceTree(
        {{"PCI\\VEN_8086&DEV_15B8&SUBSYS_86721043&REV_00\\3&11583659&0&FE", nic, cc, "", start + 20000000, 0},
         {"PCI\\VEN_8086&DEV_15B8&SUBSYS_86721043&REV_00\\3&11583659&0&FF", nic, cc, "", fixtures::Filetime(2024, 5, 1),
          fixtures::Filetime(2024, 5, 2)},
         {"PCI\\VEN_10EC&DEV_8168&SUBSYS_86771043&REV_15\\4&1a2b3c4d&0&00E5", {"PCI\\VEN_10EC&DEV_8168"}, {"PCI\\CC_020000"}, "",
          fixtures::Filetime(2023, 11, 3), 0},
         {"PCI\\VEN_10EC&DEV_8125&SUBSYS_86771043&REV_05\\4&1a2b3c4d&0&00E6", {"PCI\\VEN_10EC&DEV_8125"}, {"PCI\\CC_020000"}, "", 0, 0}},
        start));
    ASSERT_EQ(4u, list.controllers.size());
    EXPECT_EQ(Presence::Present, Find(list, "0&FE")->presence);
    EXPECT_EQ("arrived 2024-05-10 08:00:02 UTC, at or after the machine's last start (ACPI_HAL\\PNP0C08 arrived 2024-05-10 08:00:00 UTC)",
              Find(list, "0&FE")->presenceWhy);
    EXPECT_EQ(Presence::Removed, Find(list, "0&FF")->presence);
    EXPECT_EQ("removed 2024-05-02 12:00:00 UTC, after it last arrived 2024-05-01 12:00:00 UTC", Find(list, "0&FF")->presenceWhy);
    EXPECT_EQ(Presence::NotSinceStart, Find(list, "00E5")->presence);
    EXPECT_EQ(Presence::Unknown, Find(list, "00E6")->presence);
}

TEST(Controllers, StorageBeyondClassOneAndHyperVDevicesCount)
{
    const ControllerList list = FromTree(fixtures::DeviceTree(
        {{"PCI\\VEN_8086&DEV_9DC4&SUBSYS_00000000&REV_30\\3&11583659&0&F6", {"PCI\\VEN_8086&DEV_9DC4"}, {"PCI\\VEN_8086&CC_080501", "PCI\\CC_080501", "PCI\\CC_0805"}, ""},
         {"ACPI\\PNP0D40\\1", {"ACPI\\PNP0D40", "*PNP0D40"}, {}, ""},
         {"PCI\\VEN_144D&DEV_A808&SUBSYS_A801144D&REV_00\\4&2b9a57a7&0&0008", {"PCI\\VEN_144D&DEV_A808"}, {"PCI\\CC_010802", "PCI\\CC_0108"}, "5&2b9a57a7&0"},
         {"VMBUS\\{ba6163d9-04a1-4d29-b605-72e2ffb1dc7f}\\{f8b3781b-1e82-4818-a1c3-63d806ec15bb}", {"VMBUS\\{ba6163d9-04a1-4d29-b605-72e2ffb1dc7f}"}, {}, ""},
         {"VMBUS\\{f8615163-df3e-46c5-913f-f2d2f965ed0e}\\{b22f1bf5-12f6-480d-8f16-702ac7be5caa}", {"VMBUS\\{f8615163-df3e-46c5-913f-f2d2f965ed0e}"}, {}, ""},
         {"PCI\\VEN_8086&DEV_A36D&SUBSYS_86941043&REV_10\\3&11583659&0&A0", {"PCI\\VEN_8086&DEV_A36D"}, {"PCI\\CC_0C0330", "PCI\\CC_0C03"}, ""},
         {"VMBUS\\{f912ad6d-2b17-48ea-bd65-f927a61c7684}\\{d34b2567-b9b6-42b9-8778-0a4ec0b955bf}", {"VMBUS\\{f912ad6d-2b17-48ea-bd65-f927a61c7684}"}, {}, ""}},
        0));
    std::vector<std::string> what;
    for (const Controller& controller : list.controllers)
        what.push_back(controller.ShortId() + " " + controller.what);
    EXPECT_EQ((std::vector<std::string>{"PCI\\VEN_8086&DEV_9DC4 SD host controller", "ACPI\\PNP0D40 SD host controller",
                                        "PCI\\VEN_144D&DEV_A808 NVMe controller",
                                        "VMBUS\\{BA6163D9-04A1-4D29-B605-72E2FFB1DC7F} Hyper-V SCSI controller",
                                        "VMBUS\\{F8615163-DF3E-46C5-913F-F2D2F965ED0E} Hyper-V network adapter"}),
              what) << "USB and the Hyper-V keyboard are no controllers of interest";
    EXPECT_EQ("5&2b9a57a7&0", list.controllers[2].parentIdPrefix);
    EXPECT_TRUE(list.controllers[4].network);
}

TEST(Controllers, DevicesTxtIsReadUpToItsCapWithTheRestCounted)
{
    std::string devices;
    for (int i = 0; i < 20000; ++i)
        devices += "Device " + std::to_string(i) + ":\r\n\tPCI\\VEN_1000&DEV_" + std::to_string(1000 + i % 9000) + "\r\n\tPCI\\CC_0104\r\n";
    const ControllerList list = ParseDevicesTxt(testing_support::DecodeSaved(devices), "devices.txt");
    EXPECT_EQ(kControllerCap, list.controllers.size());
    EXPECT_EQ(20000 - kControllerCap, list.leftOut);
}

TEST(Controllers, MergingPairsEachProblemWithOneInstance)
{
    const std::vector<std::string> ids = {"PCI\\VEN_8086&DEV_10D3&SUBSYS_07D015AD&REV_00", "PCI\\VEN_8086&DEV_10D3"};
    const ControllerList tree = FromTree(fixtures::DeviceTree({{"PCI\\VEN_8086&DEV_10D3&SUBSYS_07D015AD&REV_00\\1", ids, {"PCI\\CC_020000"}, ""},
                                                               {"PCI\\VEN_8086&DEV_10D3&SUBSYS_07D015AD&REV_00\\2", ids, {"PCI\\CC_020000"}, ""}},
                                                              0));
    const std::string devices = "Device 0:\r\n\tPCI\\VEN_8086&DEV_10D3&SUBSYS_07D015AD&REV_00\r\n\tPCI\\CC_020000\r\n";
    const std::vector<Controller> merged = MergeControllers(tree.controllers, ParseDevicesTxt(testing_support::DecodeSaved(devices), "devices.txt").controllers);
    ASSERT_EQ(2u, merged.size());
    EXPECT_EQ(1, merged[0].problem + merged[1].problem) << "one problem device, one of the two instances";
}

TEST(PciIds, ReadsVendorAndDeviceWithoutPatternMatching)
{
    std::string vendor, device;
    ASSERT_TRUE(PciIds("PCI\\VEN_8086&DEV_10d3&SUBSYS_07D015AD", vendor, device));
    EXPECT_EQ("8086", vendor);
    EXPECT_EQ("10d3", device);
    EXPECT_FALSE(PciIds("PCI\\VEN_80&DEV_10D3", vendor, device));
    EXPECT_FALSE(PciIds("ACPI\\PNP0D40", vendor, device));
}
