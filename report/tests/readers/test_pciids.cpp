// Names of PCI devices from pci.ids, read once into a map.
#include "fixtures/support.h"
#include "read/pciids.h"

#include <gtest/gtest.h>

using namespace report;

TEST(PciNames, NamesVendorAndDevice)
{
    const PciNames names(testing_support::PciIdsFile());
    EXPECT_EQ("Broadcom / LSI MegaRAID SAS 2108 [Liberator]", names.Name("1000", "0079"));
    EXPECT_EQ("Intel Corporation", names.Name("8086", "ffff"));
    EXPECT_EQ("Intel Corporation 82574L Gigabit Network Connection", names.Name("8086", "10D3")) << "hex in either case";
    EXPECT_EQ("", names.Name("abcd", "0079"));
}

TEST(PciNames, ReadsTheSystemList)
{
    EXPECT_EQ("Intel Corporation 82574L Gigabit Network Connection", PciNames(SYSTEM_PCI_IDS).Name("8086", "10d3"));
}

TEST(PciNames, AnAbsentListGivesNoNames)
{
    EXPECT_EQ("", PciNames(fixtures::TempDir() + "/none.ids").Name("8086", "10d3"));
}
