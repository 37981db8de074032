#pragma once
// The machine as systeminfo describes it, in any language of the label table.
#include "read/labels.h"
#include "read/text.h"

#include <map>
#include <string>

namespace report
{
struct SystemInfoValue
{
    std::string text;
    size_t line = 0; // 1-based; 0 when the label was not found
};

struct SystemInfo
{
    std::map<SystemInfoField, SystemInfoValue> values;
    std::string language; // of the first label recognised

    const SystemInfoValue& Get(SystemInfoField field) const;
};

SystemInfo ParseSystemInfo(const Text& text);
// "10.0.19045" of "10.0.19045 N/A Build 19045" (and its translations); "" when absent.
std::string VersionNumber(const std::string& osVersion);
// The build: the third part of the version number.
std::string BuildNumber(const std::string& osVersion);
// "x64", "x86" or "arm64" of "x64-based PC" (and its translations); "" when unknown.
std::string Architecture(const std::string& systemType);
} // namespace report
