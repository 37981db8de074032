// The setup logs' error lines and the product logs' error records, grouped and counted.
#include "check/checks.h"
#include "read/logs.h"

#include <algorithm>
#include <map>
#include <regex>

namespace report
{
namespace
{
struct Group
{
    std::string key;
    size_t count = 0;
    size_t lastLine = 0;
    std::string lastText;
};

std::string Masked(const std::string& text)
{
    static const std::regex numbers(R"(0x[0-9A-Fa-f]+|[0-9A-Fa-f]{8,}|\d+)");
    return std::regex_replace(text, numbers, "#").substr(0, 120);
}

void ReportErrors(const std::string& id, const std::string& entry, const std::vector<LogLine>& lines,
                  const std::string& what, const std::string& advice, Report& report)
{
    if (lines.empty())
        return;
    std::vector<Group> groups;
    std::map<std::string, size_t> index;
    for (const LogLine& line : lines)
    {
        const std::string key = Masked(line.text);
        if (!index.count(key))
        {
            index[key] = groups.size();
            groups.push_back({key, 0, 0, ""});
        }
        Group& group = groups[index[key]];
        ++group.count;
        group.lastLine = line.line;
        group.lastText = line.text;
    }
    Finding& finding = report.Add(id, Severity::Warning,
                                  std::to_string(lines.size()) + " " + what + " in " + entry + " (" + std::to_string(groups.size()) +
                                      (groups.size() == 1 ? " kind)" : " kinds)"),
                                  advice);
    finding.subject = entry;
    std::stable_sort(groups.begin(), groups.end(), [](const Group& a, const Group& b) { return a.lastLine > b.lastLine; });
    for (size_t i = 0; i < groups.size() && i < 5; ++i)
        finding.evidence.push_back({entry, groups[i].lastLine, groups[i].lastText + "  (" + std::to_string(groups[i].count) + "×)"});
}

void SetupLog(Bundle& bundle, const std::string& name, Report& report)
{
    const Text* text = bundle.SystemText(name);
    if (!text)
        return;
    ReportErrors("logs.setup-errors", bundle.StoredName(name), SetupLogErrors(*text), "error lines",
                 "Setup errors explain a failed installation or upgrade, which often leaves the recovery "
                 "environment out of date.",
                 report);
}

void ProductLog(Bundle& bundle, const std::string& name, Report& report)
{
    const Text* text = bundle.SystemText(name);
    if (!text)
        return;
    ReportErrors("logs.product-errors", bundle.StoredName(name), ProductLogErrors(*text), "error records",
                 "The product's own errors: look for the failing operation around the last ones.", report);
}
} // namespace

void CheckLogs(Bundle& bundle, Report& report)
{
    SetupLog(bundle, "setuperr.log", report);
    SetupLog(bundle, "setupact.log", report);
    ProductLog(bundle, "mp.log", report);
    ProductLog(bundle, "mpb.log", report);
}
} // namespace report
