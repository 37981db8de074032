// The hardware identifiers of INF files.
#include "fixtures/support.h"
#include "read/inf.h"

#include <gtest/gtest.h>

using namespace report;
using testing_support::SystemText;

TEST(InfHardwareIds, ListsTheModelsOfTheArchitecture)
{
    const std::vector<std::string> ids = InfHardwareIds(SystemText(fixtures::Inf("x.inf", {"pci\\ven_1000&dev_0079", "PCI\\CC_0104"}, "NTamd64", true).text), "x64");
    EXPECT_EQ((std::vector<std::string>{"PCI\\VEN_1000&DEV_0079", "PCI\\CC_0104"}), ids);
    EXPECT_TRUE(InfHardwareIds(SystemText(fixtures::Inf("x.inf", {"PCI\\VEN_1000&DEV_0079"}, "NTx86").text), "x64").empty());
    EXPECT_EQ(1u, InfHardwareIds(SystemText(fixtures::Inf("x.inf", {"PCI\\VEN_1000&DEV_0079"}, "NTamd64.10.0...17763").text), "x64").size());
}
