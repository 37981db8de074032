#pragma once
// INF files as Plug and Play reads them for one Windows image: which models section of each
// [Manufacturer] entry Windows picks for that image, and the hardware and compatible identifiers
// the section lists. The decorations follow Microsoft's "INF Manufacturer Section" and "Combining
// Platform Extensions with Operating System Versions":
// NT[Architecture][.Major[.Minor[.ProductType[.SuiteMask[.BuildNumber]]]]].
#include "read/text.h"

#include <cstddef>
#include <string>
#include <vector>

namespace report
{
// The Windows an INF is read for.
struct InfTarget
{
    std::string architecture; // "x64", "x86", "arm64" or "arm"
    unsigned major = 0;       // 0: not known
    unsigned minor = 0;
    unsigned build = 0;       // 0: not known
    unsigned productType = 1; // VER_NT_WORKSTATION; Windows PE and RE are workstation products
};

// A models section and the identifiers it lists (upper case).
struct InfSection
{
    std::string name; // as the [Manufacturer] entry names it: "Intel.NTamd64.10.0...19041"
    std::vector<std::string> ids;
};

// A decorated models section that Windows does not use for the target, and why.
struct InfPassedOver
{
    InfSection section;
    std::string why; // "needs build 19041 or later; the image is build 17763"
};

struct InfDriver
{
    // Why the INF installs no function driver ("Class=Extension"); "" when it may.
    std::string notFunctionDriver;
    std::vector<InfSection> chosen;        // the section Windows picks, one per [Manufacturer] entry
    std::vector<InfPassedOver> passedOver; // sections it passes over for this target
    size_t cutLines = 0;                   // logical lines longer than kInfLineCap, cut there
};

// Longest logical line kept (continuations joined). Windows allows 4096 characters a field.
const size_t kInfLineCap = 65536;

InfDriver ReadInf(const Text& inf, const InfTarget& target);
} // namespace report
