// Names of PCI devices from pci.ids.
#include "fixtures/support.h"
#include "read/pciids.h"

#include <gtest/gtest.h>

using namespace report;

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
