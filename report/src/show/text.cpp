#include "show/format.h"
#include "show/render.h"

#include <cctype>
#include <sstream>

namespace report
{
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
} // namespace report
