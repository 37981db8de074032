#pragma once
// The recovery image (a WIM): its images, from the WIM's metadata, and the drivers that Plug and
// Play would find in one of them.
#include "read/archive.h"
#include "read/inf.h"
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
    unsigned major = 0;       // "WINDOWS/VERSION/MAJOR", 0 when absent
    unsigned minor = 0;       // "WINDOWS/VERSION/MINOR"
    std::string productType;  // "WINDOWS/PRODUCTTYPE": "WinNT", "ServerNT", "LanmanNT" or ""
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

// The Windows an image's INF files are read for: its own version, build and product type.
// `fallbackArchitecture` stands in when the image does not name its own.
InfTarget TargetOf(const WimImage& image, const std::string& fallbackArchitecture);

// Where an identifier is listed: an INF and its models section.
struct InfListing
{
    std::string inf; // path in the image
    std::string section;
    std::string why; // for a section Windows passes over: why
};

struct DriverSearch
{
    bool done = false;
    std::string problem;
    int image = 0;
    InfTarget target;
    size_t infFolder = 0;                    // INF files read in \Windows\INF
    size_t driverStore = 0;                  // and in the driver store
    size_t elsewhere = 0;                    // INF files elsewhere, where Plug and Play does not look
    std::vector<std::string> notFunction;    // "path (Class=Extension)": INF files that install no function driver
    std::vector<std::string> skipped;        // INF files too large or unreadable
    std::vector<std::string> cutLines;       // INF files with lines cut at kInfLineCap
    bool idCapHit = false;                   // more identifiers than kDriverIdCap
    std::map<std::string, InfListing> ids;   // identifier (upper case) → the first INF whose chosen section lists it
    std::map<std::string, InfListing> passedOver; // identifier → a section that lists it but that Windows passes over

    size_t InfFiles() const { return infFolder + driverStore; }
};

// Most identifiers kept from one image's INF files.
const size_t kDriverIdCap = 1000000;

WimInfo ReadWimInfo(const std::string& file);
// Reads the INF files where Plug and Play looks for drivers in one image (\Windows\INF and the
// driver store; copied into `temp`, nothing else is extracted), as Windows reads them for `target`.
DriverSearch SearchDrivers(const std::string& file, int image, const InfTarget& target, TempFolder& temp);
} // namespace report
