#include "read/pciids.h"

#include "read/text.h"

#include <fstream>

namespace report
{
namespace
{
bool HexId(const std::string& line, size_t from)
{
    if (line.size() < from + 6)
        return false;
    for (size_t i = from; i < from + 4; ++i)
        if (!isxdigit(static_cast<unsigned char>(line[i])))
            return false;
    return line[from + 4] == ' ';
}
} // namespace

PciNames::PciNames(const std::string& pciIdsFile)
{
    // "vvvv  Vendor", then "\tdddd  Device" lines, "\t\t" subsystems; the device classes follow
    // from the first "C " line on.
    std::ifstream in(pciIdsFile);
    std::string line, vendor;
    size_t read = 0;
    while (std::getline(in, line))
    {
        read += line.size() + 1;
        if (read > kPciIdsCap)
            break;
        if (line.empty() || line[0] == '#')
            continue;
        if (line.compare(0, 2, "C ") == 0)
            break;
        if (line[0] != '\t')
        {
            vendor = HexId(line, 0) ? AsciiLower(line.substr(0, 4)) : "";
            if (!vendor.empty())
                m_vendors.emplace(vendor, Trim(line.substr(5)));
        }
        else if (!vendor.empty() && line.size() > 1 && line[1] != '\t' && HexId(line, 1))
            m_devices.emplace(vendor + AsciiLower(line.substr(1, 4)), Trim(line.substr(6)));
    }
}

std::string PciNames::Name(const std::string& vendor, const std::string& device) const
{
    const auto named = m_vendors.find(AsciiLower(vendor));
    if (named == m_vendors.end())
        return "";
    const auto model = m_devices.find(AsciiLower(vendor) + AsciiLower(device));
    return model == m_devices.end() ? named->second : named->second + " " + model->second;
}
} // namespace report
