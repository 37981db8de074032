#pragma once
// Names of PCI vendors and devices, from a pci.ids file, read once.
#include <cstddef>
#include <string>
#include <unordered_map>

namespace report
{
class PciNames
{
public:
    // Reads the list; an absent or unreadable file gives no names.
    explicit PciNames(const std::string& pciIdsFile);
    // "Vendor Device", the vendor alone when the device is unknown, "" when the vendor is.
    // Vendor and device as four hexadecimal digits, in either case.
    std::string Name(const std::string& vendor, const std::string& device) const;

private:
    std::unordered_map<std::string, std::string> m_vendors; // "8086" → name
    std::unordered_map<std::string, std::string> m_devices; // "808610d3" → name
};

// Most of pci.ids read (a system file, not the archive's); the real list is about 1.5 MiB.
const size_t kPciIdsCap = 32u << 20;
} // namespace report
