#pragma once
// The recovery image (a WIM): its images, from the WIM's metadata, and the hardware identifiers
// that the INF files of one image list.
#include "read/archive.h"
#include "read/text.h"

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
} // namespace report
