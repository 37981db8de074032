#pragma once
// What the recovery image holds: its images (from the WIM's metadata) and the hardware
// identifiers its INF files serve; and the names of PCI devices.
#include "archive.h"
#include "text.h"

#include <map>
#include <string>
#include <vector>

namespace report
{
struct WimImage
{
    int index = 0;
    std::string name;
    std::string build;        // "WINDOWS/VERSION/BUILD"
    std::string architecture; // "x64", "x86", "arm64", "arm" or ""
};

struct WimInfo
{
    bool valid = false;
    std::string error; // why it is not a usable WIM
    int imageCount = 0;
    int bootIndex = 0;
    std::vector<WimImage> images;

    // The image a recovery environment starts: the bootable one, else the first.
    const WimImage* RecoveryImage() const;
};

struct DriverSearch
{
    bool done = false;
    std::string problem;
    int image = 0;
    size_t infFiles = 0;
    std::vector<std::string> skipped;         // INF files too large or unreadable
    std::map<std::string, std::string> ids;   // identifier (upper case) → the first INF serving it
};

WimInfo ReadWimInfo(const std::string& file);
// Reads the INF files of one image (copied into `temp`, nothing else is extracted) and collects
// the identifiers their models sections list for `architecture`.
DriverSearch SearchDrivers(const std::string& file, int image, const std::string& architecture, TempFolder& temp);

// The identifiers an INF file's models sections list for an architecture ("" = any).
std::vector<std::string> InfHardwareIds(const Text& inf, const std::string& architecture);

// "Vendor Device" from a pci.ids file; "" when unknown.
std::string PciName(const std::string& pciIdsFile, const std::string& vendor, const std::string& device);
} // namespace report
