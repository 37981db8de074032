#include "show/format.h"

#include <algorithm>

namespace report
{
std::string Where(const Evidence& evidence)
{
    if (evidence.entry.empty())
        return "";
    return evidence.entry + (evidence.line ? " line " + std::to_string(evidence.line) : "") + ": ";
}

size_t Count(const Report& report, Severity severity)
{
    size_t count = 0;
    for (const Finding& finding : report.findings)
        count += finding.severity == severity;
    return count;
}

std::string Counts(const Report& report)
{
    auto counted = [&](Severity severity, const char* word) {
        const size_t count = Count(report, severity);
        return std::to_string(count) + " " + word + (count == 1 ? "" : "s");
    };
    return counted(Severity::Error, "error") + ", " + counted(Severity::Warning, "warning") + ", " + counted(Severity::Info, "note");
}

std::string OrUnknown(const std::string& text) { return text.empty() ? "(unknown)" : text; }

std::string SystemLine(const MachineSummary& m)
{
    return OrUnknown(m.osName) + ", version " + OrUnknown(m.osVersion) + " (build " + OrUnknown(m.build) + "), " +
           OrUnknown(m.architecture);
}
std::string HowRead(const MachineSummary& m)
{
    std::vector<std::pair<std::string, std::string>> ways; // way, its facts
    for (const auto& fact : m.howRead)
    {
        auto same = std::find_if(ways.begin(), ways.end(), [&](const auto& way) { return way.first == fact.second; });
        if (same == ways.end())
            ways.push_back({fact.second, fact.first});
        else
            same->second += ", " + fact.first;
    }
    std::string text;
    for (const auto& way : ways)
        text += (text.empty() ? "" : "; ") + way.second + ": " + way.first;
    return text;
}
} // namespace report
