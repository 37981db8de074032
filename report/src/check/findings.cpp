#include "check/findings.h"

#include <algorithm>

namespace report
{
const char* SeverityName(Severity severity)
{
    switch (severity)
    {
    case Severity::Error: return "error";
    case Severity::Warning: return "warning";
    case Severity::Info: return "info";
    }
    return "";
}

Finding& Report::Add(const std::string& id, Severity severity, const std::string& title, const std::string& advice)
{
    findings.push_back({id, severity, "", title, {}, advice});
    return findings.back();
}

void Report::SortFindings()
{
    std::stable_sort(findings.begin(), findings.end(),
                     [](const Finding& a, const Finding& b) { return a.severity < b.severity; });
}

const Finding* Report::FindById(const std::string& id) const
{
    for (const Finding& finding : findings)
        if (finding.id == id)
            return &finding;
    return nullptr;
}
} // namespace report
