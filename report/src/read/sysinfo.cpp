#include "read/sysinfo.h"

#include <regex>

namespace report
{
namespace
{
const SystemInfoField kFields[] = {SystemInfoField::HostName,   SystemInfoField::OsName,
                                   SystemInfoField::OsVersion,  SystemInfoField::SystemType,
                                   SystemInfoField::WindowsDirectory, SystemInfoField::BootDevice};
} // namespace

const SystemInfoValue& SystemInfo::Get(SystemInfoField field) const
{
    static const SystemInfoValue none;
    auto it = values.find(field);
    return it == values.end() ? none : it->second;
}

SystemInfo ParseSystemInfo(const Text& text)
{
    SystemInfo info;
    for (size_t i = 0; i < text.lines.size(); ++i)
    {
        const std::string& line = text.lines[i];
        // Continuation lines of lists (processors, hotfixes) are indented.
        if (line.empty() || line[0] == ' ' || line[0] == '\t')
            continue;
        const size_t colon = line.find(':');
        if (colon == std::string::npos)
            continue;
        const std::string label = line.substr(0, colon);
        for (SystemInfoField field : kFields)
        {
            const std::string language = MatchSystemInfoLabel(label, field);
            if (language.empty() || info.values.count(field))
                continue;
            info.values[field] = {Trim(line.substr(colon + 1)), i + 1};
            if (info.language.empty())
                info.language = language;
        }
    }
    return info;
}

std::string VersionNumber(const std::string& osVersion)
{
    std::smatch match;
    static const std::regex version(R"((\d+)\.(\d+)\.(\d+))");
    return std::regex_search(osVersion, match, version) ? match.str(0) : "";
}

std::string BuildNumber(const std::string& osVersion)
{
    const std::string version = VersionNumber(osVersion);
    return version.empty() ? "" : version.substr(version.rfind('.') + 1);
}

std::string Architecture(const std::string& systemType)
{
    const std::string lower = AsciiLower(systemType);
    if (StartsWithNoCase(lower, "x64") || StartsWithNoCase(lower, "amd64"))
        return "x64";
    if (StartsWithNoCase(lower, "arm64"))
        return "arm64";
    if (StartsWithNoCase(lower, "x86"))
        return "x86";
    return "";
}
} // namespace report
