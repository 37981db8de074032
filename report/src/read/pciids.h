#pragma once
// Names of PCI vendors and devices, from a pci.ids file.
#include <string>

namespace report
{
// "Vendor Device" from a pci.ids file; "" when unknown.
std::string PciName(const std::string& pciIdsFile, const std::string& vendor, const std::string& device);
} // namespace report
