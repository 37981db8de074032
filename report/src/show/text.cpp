#include "show/format.h"
#include "show/render.h"

#include <algorithm>
#include <cctype>
#include <sstream>

namespace report
{
namespace
{
std::string Padded(std::string text, size_t width)
{
    text.resize(std::max(text.size(), width), ' ');
    return text;
}

void BootChainSection(const BootChain& chain, std::ostream& out)
{
    out << "\nBoot chain" << (chain.source.empty() ? "" : " (" + chain.source + ")") << "\n";
    for (const ChainStep& step : chain.steps)
        out << "  " << Padded(step.title, 19) << StepLine(chain, step, "<- ") << "\n";
    out << "  " << chain.Verdict() << "\n";
    for (const DiskPlace& disk : chain.disks)
    {
        out << "  " << DiskLine(disk) << "\n";
        for (const PartitionPlace& partition : disk.partitions)
            out << "    " << PartitionLine(partition) << "\n";
    }
    if (chain.disksLeftOut)
        out << "  " << DisksLeftOut(chain) << "\n";
    if (!chain.unplaced.empty())
        out << "  Partitions on a disk the archive does not name:\n";
    for (const PartitionPlace& partition : chain.unplaced)
        out << "    " << PartitionLine(partition) << "\n";
}
} // namespace

std::string RenderText(const Report& report)
{
    std::ostringstream out;
    const MachineSummary& m = report.machine;
    out << "mpdiag-report: " << report.archive << "\n\n";
    out << "Machine\n";
    out << "  Host:        " << OrUnknown(m.hostName) << "\n";
    out << "  System:      " << SystemLine(m) << "\n";
    out << "  Windows PE:  " << m.windowsPe << "\n";
    out << "  Run:         " << report.run << (report.run == "extended" ? " (-x: event logs and boot.wim)" : "") << "\n";
    if (!m.labelsLanguage.empty())
        out << "  Language:    " << m.labelsLanguage << " (labels of systeminfo)\n";
    if (!m.updates.empty())
        out << "  Updates:     " << m.updates << " (wmic qfe)\n";
    if (!m.howRead.empty())
        out << "  Read by:     " << HowRead(m) << "\n";
    if (!report.notes.empty())
    {
        out << "\nFiles read with a remark\n";
        for (const FileNote& note : report.notes)
            out << "  " << note.entry << ": " << note.text << "\n";
    }
    BootChainSection(report.bootChain, out);
    out << "\nFindings (" << Counts(report) << ")\n";
    for (const Finding& finding : report.findings)
    {
        std::string severity = SeverityName(finding.severity);
        for (char& c : severity)
            c = static_cast<char>(toupper(static_cast<unsigned char>(c)));
        severity.resize(8, ' ');
        out << "\n  " << severity << finding.title << "\n";
        out << "          [" << finding.id << "]\n";
        for (const Evidence& evidence : finding.evidence)
            out << "          - " << Where(evidence) << evidence.text << "\n";
        if (!finding.advice.empty())
            out << "          > " << finding.advice << "\n";
    }
    return out.str();
}

std::string RenderSummary(const Report& report)
{
    const std::string top = report.findings.empty() ? "-" : report.findings.front().id;
    return report.archive + "\t" + OrUnknown(report.machine.hostName) + "\t" + SystemLine(report.machine) + "\t" +
           Counted(report, Severity::Error, "error") + "\t" + Counted(report, Severity::Warning, "warning") + "\t" + top + "\n";
}
} // namespace report
