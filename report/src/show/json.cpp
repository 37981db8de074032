#include "show/format.h"
#include "show/render.h"

#include <cstdio>
#include <sstream>

namespace report
{
namespace
{
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
} // namespace

std::string RenderJson(const Report& report)
{
    std::ostringstream out;
    const MachineSummary& m = report.machine;
    out << "{\n  \"archive\": " << JsonString(report.archive) << ",\n  \"run\": " << JsonString(report.run) << ",\n";
    out << "  \"machine\": {\"host\": " << JsonString(m.hostName) << ", \"os_name\": " << JsonString(m.osName)
        << ", \"os_version\": " << JsonString(m.osVersion) << ", \"build\": " << JsonString(m.build)
        << ", \"architecture\": " << JsonString(m.architecture) << ", \"windows_pe\": " << JsonString(m.windowsPe)
        << ", \"labels_language\": " << JsonString(m.labelsLanguage) << ", \"updates\": " << JsonString(m.updates)
        << ",\n              \"how_read\": {";
    for (size_t i = 0; i < m.howRead.size(); ++i)
        out << (i ? ", " : "") << JsonString(m.howRead[i].first) << ": " << JsonString(m.howRead[i].second);
    out << "}},\n";
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
} // namespace report
