// Storage and network controllers from devices.txt and the device tree export.
#include "fixtures/support.h"
#include "read/devices.h"
#include "read/registry.h"

#include <gtest/gtest.h>

using namespace report;
using testing_support::SystemText;

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
