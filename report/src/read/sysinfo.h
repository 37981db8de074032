#pragma once
// The machine as systeminfo describes it, in any language: by the labels of the table
// (labels.h), and without one by what does not depend on the language: the fixed order of the
// fields and the shape of their values.
#include "read/labels.h"
#include "read/text.h"

#include <map>
#include <string>

namespace report
{
struct SystemInfoValue
{
    std::string text; // as printed; letters lost to the code page stay U+FFFD
    size_t line = 0;  // 1-based; 0 when the field was not found
    // How its line was recognised: "English label", "French label, letters lost to the code
    // page", "position in the listing", "shape of the value".
    std::string how;
    // The file lost letters to the code page and this value has letters outside ASCII: they
    // may not be the machine's.
    bool lost = false;
};

struct SystemInfo
{
    std::map<SystemInfoField, SystemInfoValue> values;
    std::string language; // of the labels recognised; "" when none is in the table
    bool labelsGarbled = false; // the language was recognised only through lost letters
    bool fieldsLeftOut = false; // more "label: value" lines than a listing has (kMaxSystemInfoFields)

    const SystemInfoValue& Get(SystemInfoField field) const;
};

// systeminfo prints some 30 fields; lines past this many are no systeminfo's.
const size_t kMaxSystemInfoFields = 256;

SystemInfo ParseSystemInfo(const Text& text);
// "10.0.19045" of "10.0.19045 N/A Build 19045" (and its translations); "" when absent.
std::string VersionNumber(const std::string& osVersion);
// The build: the third part of the version number.
std::string BuildNumber(const std::string& osVersion);
// "x64", "x86" or "arm64" of "x64-based PC" (which no language translates); "" when unknown.
std::string Architecture(const std::string& systemType);
} // namespace report
