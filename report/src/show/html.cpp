#include "show/drawing.h"
#include "show/format.h"
#include "show/render.h"

#include <sstream>

namespace report
{
namespace
{
// The page loads nothing: its policy forbids every fetch, so even text that escaped its escaping
// could not reach out.
const char kHead[] =
    "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; style-src 'unsafe-inline'\">\n"
    "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
    "<style>\n"
    "body{font-family:sans-serif;margin:2em;max-width:60em;color:#222}\n"
    "table{border-collapse:collapse}td{padding:.15em 1em .15em 0;vertical-align:top}\n"
    ".finding{border-left:.4em solid #888;padding:.3em .8em;margin:.8em 0;background:#f7f7f7}\n"
    ".error{border-color:#c0392b}.warning{border-color:#e0a800}.info{border-color:#3478c6}\n"
    ".sev{font-weight:bold;text-transform:uppercase;font-size:.8em;margin-right:.6em}\n"
    ".id{font-family:monospace;color:#666;font-size:.85em}\n"
    "ul{margin:.3em 0}li{font-family:monospace;font-size:.9em;white-space:pre-wrap;overflow-wrap:anywhere}\n"
    ".advice{margin:.3em 0 0 0;font-style:italic}\n"
    "figure{margin:1em 0}figcaption{margin:.4em 0;font-weight:bold}\n"
    ".steps td{font-size:.9em;overflow-wrap:anywhere}.steps td:first-child{width:10em}\n"
    "@media print{body{margin:0;max-width:none}.finding,figure{break-inside:avoid}}\n"
    "</style>";

void BootChainSection(const BootChain& chain, std::ostream& out)
{
    out << "<h2>Boot chain and disks</h2>\n<figure>\n" << BootChainSvg(chain) << "<figcaption>" << Escaped(chain.Verdict())
        << "</figcaption>\n</figure>\n<table class=\"steps\">\n";
    for (const ChainStep& step : chain.steps)
    {
        out << "<tr><td>" << Escaped(step.title) << "</td><td>" << Escaped(StepLine(chain, step, "\xE2\x86\x90 ")) << "</td></tr>\n";
    }
    for (const DiskPlace& disk : chain.disks)
    {
        out << "<tr><td>" << Escaped(disk.Title()) << "</td><td>" << Escaped(DiskLine(disk).substr(disk.Title().size() + 2));
        for (const PartitionPlace& partition : disk.partitions)
            out << "<br>" << Escaped(PartitionLine(partition));
        out << "</td></tr>\n";
    }
    if (chain.disksLeftOut)
        out << "<tr><td>Disks not shown</td><td>" << Escaped(DisksLeftOut(chain)) << "</td></tr>\n";
    for (const PartitionPlace& partition : chain.unplaced)
        out << "<tr><td>Disk not named</td><td>" << Escaped(PartitionLine(partition)) << "</td></tr>\n";
    out << "</table>\n";
}
} // namespace

std::string RenderHtml(const Report& report)
{
    std::ostringstream out;
    const MachineSummary& m = report.machine;
    out << "<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\">\n<title>mpdiag report: " << Escaped(OrUnknown(m.hostName))
        << "</title>\n" << kHead << "</head><body>\n";
    out << "<h1>mpdiag report</h1>\n<p class=\"id\">" << Escaped(report.archive) << "</p>\n<h2>Machine</h2>\n<table>\n";
    const std::pair<const char*, std::string> rows[] = {{"Host", OrUnknown(m.hostName)},
                                                        {"System", SystemLine(m)},
                                                        {"Windows PE", m.windowsPe},
                                                        {"Run", report.run},
                                                        {"Language", OrUnknown(m.labelsLanguage)},
                                                        {"Updates", OrUnknown(m.updates)},
                                                        {"Read by", OrUnknown(HowRead(m))}};
    for (const auto& row : rows)
        out << "<tr><td>" << row.first << "</td><td>" << Escaped(row.second) << "</td></tr>\n";
    out << "</table>\n";
    if (!report.notes.empty())
    {
        out << "<h2>Files read with a remark</h2>\n<ul>\n";
        for (const FileNote& note : report.notes)
            out << "<li>" << Escaped(note.entry + ": " + note.text) << "</li>\n";
        out << "</ul>\n";
    }
    BootChainSection(report.bootChain, out);
    out << "<h2>Findings (" << Counts(report) << ")</h2>\n";
    for (const Finding& f : report.findings)
    {
        const std::string severity = SeverityName(f.severity);
        out << "<div class=\"finding " << severity << "\"><div><span class=\"sev\">" << severity << "</span>" << Escaped(f.title)
            << " <span class=\"id\">" << Escaped(f.id) << "</span></div>\n<ul>\n";
        for (const Evidence& e : f.evidence)
            out << "<li>" << Escaped(Where(e) + e.text) << "</li>\n";
        out << "</ul>\n";
        if (!f.advice.empty())
            out << "<p class=\"advice\">" << Escaped(f.advice) << "</p>\n";
        out << "</div>\n";
    }
    out << "</body></html>\n";
    return out.str();
}
} // namespace report
