// The setup logs' error lines and the product logs' error records, grouped and counted.
#include "check/checks.h"
#include "read/logs.h"

#include <algorithm>
#include <map>

namespace report
{
namespace
{
// Errors of one kind: how many, and the last of them (an index into the log's error lines).
struct Group
{
    size_t count = 0;
    size_t last = 0;
};

bool IsHex(char c) { return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f'); }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// The length of the run of characters from `pos` that `in` accepts.
template <typename In>
size_t Run(const std::string& text, size_t pos, In in)
{
    size_t end = pos;
    while (end < text.size() && in(text[end]))
        ++end;
    return end - pos;
}

// The number a message starts with at `pos` ("0x" and hex digits, eight hex digits or more, or
// decimal digits); its length, 0 when there is none.
size_t NumberAt(const std::string& text, size_t pos)
{
    if (pos + 2 < text.size() && text[pos] == '0' && text[pos + 1] == 'x' && IsHex(text[pos + 2]))
        return 2 + Run(text, pos + 2, IsHex);
    const size_t hex = Run(text, pos, IsHex);
    return hex >= 8 ? hex : Run(text, pos, IsDigit);
}

// The message with each number as "#", its first 120 bytes: what errors of one kind share.
std::string Masked(const std::string& text)
{
    std::string masked;
    for (size_t pos = 0; pos < text.size() && masked.size() < 120;)
    {
        const size_t number = NumberAt(text, pos);
        masked += number ? '#' : text[pos];
        pos += number ? number : 1;
    }
    return masked.substr(0, 120);
}

void ReportErrors(const std::string& id, const std::string& entry, const std::vector<LogLine>& lines,
                  const std::string& what, const std::string& advice, Report& report)
{
    if (lines.empty())
        return;
    std::vector<Group> groups;
    std::map<std::string, size_t> index; // masked text → its group
    for (size_t i = 0; i < lines.size(); ++i)
    {
        std::string masked = Masked(lines[i].text);
        const auto known = index.find(masked);
        const size_t at = known != index.end() ? known->second : index.emplace(std::move(masked), groups.size()).first->second;
        if (at == groups.size())
            groups.emplace_back();
        ++groups[at].count;
        groups[at].last = i;
    }
    Finding& finding = report.Add(id, Severity::Warning,
                                  std::to_string(lines.size()) + " " + what + " in " + entry + " (" + std::to_string(groups.size()) +
                                      (groups.size() == 1 ? " kind)" : " kinds)"),
                                  advice);
    finding.subject = entry;
    std::sort(groups.begin(), groups.end(), [](const Group& a, const Group& b) { return a.last > b.last; });
    for (size_t i = 0; i < groups.size() && i < 5; ++i)
    {
        const LogLine& last = lines[groups[i].last];
        finding.evidence.push_back({entry, last.line, last.text + "  (" + std::to_string(groups[i].count) + "×)"});
    }
}

// The error lines of one log, read once; its text is dropped before the findings are made.
std::vector<LogLine> ErrorLines(Bundle& bundle, const std::string& name, std::vector<LogLine> (*read)(const Text&))
{
    std::vector<LogLine> lines;
    bundle.Isolated(name, kReaderStopped, [&] {
        if (const auto text = bundle.SystemText(name))
            lines = read(*text);
        return true;
    });
    return lines;
}

void SetupLog(Bundle& bundle, const std::string& name, Report& report)
{
    ReportErrors("logs.setup-errors", bundle.StoredName(name), ErrorLines(bundle, name, SetupLogErrors), "error lines",
                 "Setup errors explain a failed installation or upgrade, which often leaves the recovery "
                 "environment out of date.",
                 report);
}

void ProductLog(Bundle& bundle, const std::string& name, Report& report)
{
    ReportErrors("logs.product-errors", bundle.StoredName(name), ErrorLines(bundle, name, ProductLogErrors),
                 "error records", "The product's own errors: look for the failing operation around the last ones.", report);
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
