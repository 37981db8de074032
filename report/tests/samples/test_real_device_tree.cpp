// The device tree of a real Windows 10 1709 machine (hives/regipy-SYSTEM_WIN_10_1709.xz in the
// real artifacts, read where it lies with the report's hive reader).
#include "fixtures/support.h"
#include "read/devices.h"
#include "read/hive.h"

#include <gtest/gtest.h>

using namespace report;
using testing_support::UnpackedSharedFile;

namespace
{
const char kHive[] = "real-artifacts/hives/regipy-SYSTEM_WIN_10_1709.xz";

// The controllers of the hive's current control set; skips where the sample is absent.
bool ReadRealTree(ControllerList& list, std::string& enumPath)
{
    const std::string file = UnpackedSharedFile(kHive);
    if (file.empty())
        return false;
    RegTree tree;
    std::string problem;
    EXPECT_TRUE(ReadHive(file, "HKEY_LOCAL_MACHINE\\SYSTEM", tree, problem)) << problem;
    const RegKey* select = tree.Key("HKEY_LOCAL_MACHINE\\SYSTEM\\Select");
    const RegValue* current = select ? select->Value("Current") : nullptr;
    EXPECT_NE(nullptr, current);
    char set[32];
    snprintf(set, sizeof set, "ControlSet%03u", current ? LittleEndian32(current->data, 0) : 1);
    enumPath = std::string("HKEY_LOCAL_MACHINE\\SYSTEM\\") + set + "\\Enum";
    list = ControllersFromEnum(tree, enumPath, "SYSTEM");
    return true;
}
} // namespace

TEST(RealDeviceTree, HoldsTheFourPciStorageAndNetworkControllersAllPresent)
{
    ControllerList list;
    std::string enumPath;
    if (!ReadRealTree(list, enumPath))
        GTEST_SKIP() << kHive << " is not beside the checkout";
    EXPECT_EQ("HKEY_LOCAL_MACHINE\\SYSTEM\\ControlSet001\\Enum", enumPath);
    std::vector<std::string> found;
    for (const Controller& controller : list.controllers)
    {
        found.push_back(controller.instance + " " + controller.what);
        EXPECT_EQ(Presence::Present, controller.presence) << controller.instance << ": " << controller.presenceWhy;
    }
    std::sort(found.begin(), found.end());
    EXPECT_EQ((std::vector<std::string>{
                  "PCI\\VEN_1000&DEV_0054&SUBSYS_197615AD&REV_01\\4&2509f6e&0&00A8 storage controller",
                  "PCI\\VEN_15AD&DEV_07E0&SUBSYS_07E015AD&REV_00\\4&bbf9765&0&2088 SATA controller",
                  "PCI\\VEN_8086&DEV_10D3&SUBSYS_07D015AD&REV_00\\000C29FFFFF3FFDE00 network adapter",
                  "PCI\\VEN_8086&DEV_7111&SUBSYS_197615AD&REV_01\\3&61aaa01&0&39 storage controller"}),
              found);
    EXPECT_EQ(0u, list.leftOut);
}

TEST(RealDeviceTree, ItsDatesTellPresenceAndItsParentIdPrefixesLinkTheDisks)
{
    ControllerList list;
    std::string enumPath;
    if (!ReadRealTree(list, enumPath))
        GTEST_SKIP() << kHive << " is not beside the checkout";
    size_t found = 0;
    for (const Controller& controller : list.controllers)
        if (controller.ShortId() == "PCI\\VEN_1000&DEV_0054")
        {
            ++found;
            // The hive's SCSI\Disk&Ven_VMware_&Prod_VMware_Virtual_S\5&1ec51bf7&0&000000 lies behind it.
            EXPECT_EQ("5&1ec51bf7&0", controller.parentIdPrefix);
            EXPECT_EQ("arrived 2020-04-19 09:08:55 UTC, at or after the machine's last start (ACPI_HAL\\PNP0C08 arrived "
                      "2020-04-19 09:08:52 UTC)",
                      controller.presenceWhy);
        }
    EXPECT_EQ(1u, found) << "the LSI SAS 1068 controller";
}
