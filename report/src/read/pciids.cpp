#include "read/pciids.h"

#include "read/text.h"

#include <fstream>

namespace report
{
std::string PciName(const std::string& pciIdsFile, const std::string& vendor, const std::string& device)
{
    std::ifstream in(pciIdsFile);
    std::string line, vendorName;
    bool inVendor = false;
    while (std::getline(in, line))
    {
        if (line.empty() || line[0] == '#')
            continue;
        if (line[0] != '\t')
        {
            if (inVendor || line.compare(0, 2, "C ") == 0)
                break; // past the vendor, or into the device classes
            if (AsciiLower(line.substr(0, 4)) == vendor && line.size() > 6)
            {
                vendorName = Trim(line.substr(4));
                inVendor = true;
            }
        }
        else if (inVendor && line.size() > 7 && line[1] != '\t' && AsciiLower(line.substr(1, 4)) == device)
            return vendorName + " " + Trim(line.substr(5));
    }
    return vendorName;
}
} // namespace report
