#include "show/format.h"

#include "read/boot_store.h"

#include <algorithm>

namespace report
{
namespace
{
std::string Judged(const char* word, ChainState state, const std::string& problem, const std::string& findingId)
{
    const char* verdict = state == ChainState::Broken ? "BROKEN" : "IN DOUBT";
    return std::string(verdict) + (*word ? " (" + std::string(word) + ")" : "") + ": " + problem + " [" + findingId + "]";
}
} // namespace

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

std::string Counted(const Report& report, Severity severity, const char* word)
{
    const size_t count = Count(report, severity);
    return std::to_string(count) + " " + word + (count == 1 ? "" : "s");
}

std::string Counts(const Report& report)
{
    return Counted(report, Severity::Error, "error") + ", " + Counted(report, Severity::Warning, "warning") + ", " +
           Counted(report, Severity::Info, "note");
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

std::string Escaped(const std::string& text)
{
    std::string out;
    for (char c : text)
    {
        switch (c)
        {
        case '&': out += "&amp;"; break;
        case '<': out += "&lt;"; break;
        case '>': out += "&gt;"; break;
        case '"': out += "&quot;"; break;
        case '\'': out += "&#39;"; break;
        default: out.push_back(c);
        }
    }
    return out;
}

std::string StepFacts(const ChainStep& step)
{
    std::string text = step.id;
    if (!step.description.empty())
        text += (text.empty() ? "\"" : " \"") + step.description + "\"";
    if (!step.device.empty())
        text += (text.empty() ? "" : ", ") + step.device;
    if (!step.detail.empty())
        text += (text.empty() ? "" : "; ") + step.detail;
    return text;
}

std::string LinkWords(const ChainStep& step)
{
    if (step.link == ChainState::Broken || step.link == ChainState::Doubtful)
        return Judged(step.linkText.c_str(), step.link, step.linkProblem, step.linkFindingId);
    if (step.link == ChainState::Unknown)
        return step.linkText.empty() ? "unknown" : step.linkText + ": effect unknown";
    return step.linkText;
}

std::string StateWords(const ChainStep& step)
{
    switch (step.state)
    {
    case ChainState::Broken:
    case ChainState::Doubtful: return Judged("", step.state, step.problem, step.findingId);
    case ChainState::Unknown: return "unknown";
    case ChainState::NotReached: return "not reached";
    case ChainState::Ok: break;
    }
    return "";
}

std::string StepLine(const BootChain& chain, const ChainStep& step, const std::string& arrow)
{
    const std::string link = &step == &chain.steps.front() ? "" : LinkWords(step);
    std::string text = link.empty() ? "" : arrow + link;
    for (const std::string& part : {StateWords(step), StepFacts(step)})
        if (!part.empty())
            text += (text.empty() ? "" : "; ") + part;
    return text;
}

std::string DiskStyle(const DiskPlace& disk)
{
    return disk.listed ? disk.style + (disk.identity.empty() ? "" : " " + disk.identity) : "";
}

std::string DiskSize(const DiskPlace& disk) { return disk.size ? FormatSize(disk.size) : "size unknown"; }

std::string PartitionsListed(const DiskPlace& disk)
{
    if (disk.partitionsListed.empty())
        return "";
    return disk.partitionsListed + (disk.partitionsListed == "1" ? " partition" : " partitions") + " listed";
}

std::string DiskLine(const DiskPlace& disk)
{
    std::string text;
    for (const std::string& part : {disk.model, DiskStyle(disk), DiskSize(disk), PartitionsListed(disk),
                                    disk.status.empty() ? "" : "status " + disk.status})
        if (!part.empty())
            text += (text.empty() ? "" : ", ") + part;
    return disk.Title() + ": " + text;
}

std::string DisksLeftOut(const BootChain& chain)
{
    if (!chain.disksLeftOut)
        return "";
    return std::to_string(chain.disksLeftOut) + (chain.disksLeftOut == 1 ? " more disk" : " more disks") +
           " of the listing, which hold no partition of the chain, " + (chain.disksLeftOut == 1 ? "is" : "are") + " not shown";
}

std::string PartitionLine(const PartitionPlace& partition)
{
    std::string text = partition.Label() + (partition.offset >= 0 ? " (size unknown)" : " (position and size unknown)") + ":";
    for (size_t i = 0; i < partition.roles.size(); ++i)
        text += (i ? ", " : " ") + std::string(RoleTitle(partition.roles[i]));
    return text;
}
} // namespace report
