#include "show/format.h"
#include "show/render.h"

#include <sstream>

namespace report
{
namespace
{
std::string Html(const std::string& text)
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
} // namespace

std::string RenderHtml(const Report& report)
{
    std::ostringstream out;
    const MachineSummary& m = report.machine;
    out << "<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\">\n<title>mpdiag report: " << Html(OrUnknown(m.hostName))
        << "</title>\n<style>\n"
           "body{font-family:sans-serif;margin:2em;max-width:60em;color:#222}\n"
           "table{border-collapse:collapse}td{padding:.15em 1em .15em 0;vertical-align:top}\n"
           ".finding{border-left:.4em solid #888;padding:.3em .8em;margin:.8em 0;background:#f7f7f7}\n"
           ".error{border-color:#c0392b}.warning{border-color:#e0a800}.info{border-color:#3478c6}\n"
           ".sev{font-weight:bold;text-transform:uppercase;font-size:.8em;margin-right:.6em}\n"
           ".id{font-family:monospace;color:#666;font-size:.85em}\n"
           "ul{margin:.3em 0}li{font-family:monospace;font-size:.9em;white-space:pre-wrap}\n"
           ".advice{margin:.3em 0 0 0;font-style:italic}\n"
           "</style></head><body>\n";
    out << "<h1>mpdiag report</h1>\n<p class=\"id\">" << Html(report.archive) << "</p>\n<h2>Machine</h2>\n<table>\n";
    const std::pair<const char*, std::string> rows[] = {{"Host", OrUnknown(m.hostName)},
                                                        {"System", SystemLine(m)},
                                                        {"Windows PE", m.windowsPe},
                                                        {"Run", report.run},
                                                        {"Language", OrUnknown(m.labelsLanguage)},
                                                        {"Updates", OrUnknown(m.updates)},
                                                        {"Read by", OrUnknown(HowRead(m))}};
    for (const auto& row : rows)
        out << "<tr><td>" << row.first << "</td><td>" << Html(row.second) << "</td></tr>\n";
    out << "</table>\n";
    if (!report.notes.empty())
    {
        out << "<h2>Files read with a remark</h2>\n<ul>\n";
        for (const FileNote& note : report.notes)
            out << "<li>" << Html(note.entry + ": " + note.text) << "</li>\n";
        out << "</ul>\n";
    }
    out << "<h2>Findings (" << Counts(report) << ")</h2>\n";
    for (const Finding& f : report.findings)
    {
        const std::string severity = SeverityName(f.severity);
        out << "<div class=\"finding " << severity << "\"><div><span class=\"sev\">" << severity << "</span>" << Html(f.title)
            << " <span class=\"id\">" << Html(f.id) << "</span></div>\n<ul>\n";
        for (const Evidence& e : f.evidence)
            out << "<li>" << Html(Where(e) + e.text) << "</li>\n";
        out << "</ul>\n";
        if (!f.advice.empty())
            out << "<p class=\"advice\">" << Html(f.advice) << "</p>\n";
        out << "</div>\n";
    }
    out << "</body></html>\n";
    return out.str();
}
} // namespace report
