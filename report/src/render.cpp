// The report as terminal text, as JSON and as one self-contained HTML page.
#include "report.h"

#include <cctype>
#include <cstdio>
#include <sstream>

namespace report
{
namespace
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

std::string JsonString(const std::string& text)
{
    std::string out = "\"";
    for (unsigned char c : text)
    {
        switch (c)
        {
        case '"': out += "\\\""; break;
        case '\\': out += "\\\\"; break;
        case '\n': out += "\\n"; break;
        case '\r': out += "\\r"; break;
        case '\t': out += "\\t"; break;
        default:
            if (c < 0x20)
            {
                char escaped[8];
                snprintf(escaped, sizeof escaped, "\\u%04x", c);
                out += escaped;
            }
            else
                out.push_back(static_cast<char>(c));
        }
    }
    return out + "\"";
}

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

std::string RenderJson(const Report& report)
{
    std::ostringstream out;
    const MachineSummary& m = report.machine;
    out << "{\n  \"archive\": " << JsonString(report.archive) << ",\n  \"run\": " << JsonString(report.run) << ",\n";
    out << "  \"machine\": {\"host\": " << JsonString(m.hostName) << ", \"os_name\": " << JsonString(m.osName)
        << ", \"os_version\": " << JsonString(m.osVersion) << ", \"build\": " << JsonString(m.build)
        << ", \"architecture\": " << JsonString(m.architecture) << ", \"windows_pe\": " << JsonString(m.windowsPe)
        << ", \"labels_language\": " << JsonString(m.labelsLanguage) << "},\n";
    out << "  \"files\": [";
    for (size_t i = 0; i < report.notes.size(); ++i)
        out << (i ? "," : "") << "\n    {\"entry\": " << JsonString(report.notes[i].entry)
            << ", \"note\": " << JsonString(report.notes[i].text) << "}";
    out << (report.notes.empty() ? "" : "\n  ") << "],\n  \"findings\": [";
    for (size_t i = 0; i < report.findings.size(); ++i)
    {
        const Finding& f = report.findings[i];
        out << (i ? "," : "") << "\n    {\"id\": " << JsonString(f.id) << ", \"severity\": " << JsonString(SeverityName(f.severity));
        if (!f.subject.empty())
            out << ", \"subject\": " << JsonString(f.subject);
        out << ",\n     \"title\": " << JsonString(f.title) << ",\n     \"evidence\": [";
        for (size_t k = 0; k < f.evidence.size(); ++k)
        {
            const Evidence& e = f.evidence[k];
            out << (k ? ", " : "") << "{\"entry\": " << JsonString(e.entry);
            if (e.line)
                out << ", \"line\": " << e.line;
            out << ", \"text\": " << JsonString(e.text) << "}";
        }
        out << "],\n     \"advice\": " << JsonString(f.advice) << "}";
    }
    out << (report.findings.empty() ? "" : "\n  ") << "]\n}\n";
    return out.str();
}

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
                                                        {"Language", OrUnknown(m.labelsLanguage)}};
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
