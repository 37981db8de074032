#include "read/inf.h"

#include <map>
#include <set>

namespace report
{
namespace
{
// A line without its comment; quoted text keeps its semicolons.
std::string StripComment(const std::string& line)
{
    bool quoted = false;
    for (size_t i = 0; i < line.size(); ++i)
    {
        if (line[i] == '"')
            quoted = !quoted;
        else if (line[i] == ';' && !quoted)
            return line.substr(0, i);
    }
    return line;
}

std::vector<std::string> SplitList(const std::string& text)
{
    std::vector<std::string> items;
    size_t start = 0;
    for (;;)
    {
        const size_t comma = text.find(',', start);
        std::string item = Trim(text.substr(start, comma == std::string::npos ? std::string::npos : comma - start));
        if (item.size() >= 2 && item.front() == '"' && item.back() == '"')
            item = item.substr(1, item.size() - 2);
        items.push_back(item);
        if (comma == std::string::npos)
            return items;
        start = comma + 1;
    }
}

// Whether a [Manufacturer] decoration ("NTamd64", "NTamd64.10.0", "NT") serves the architecture.
bool DecorationServes(const std::string& decoration, const std::string& architecture)
{
    const std::string lower = AsciiLower(decoration);
    if (architecture.empty() || lower == "nt" || StartsWithNoCase(lower, "nt."))
        return true;
    const std::string platform = architecture == "x64" ? "ntamd64" : architecture == "x86" ? "ntx86"
                                 : architecture == "arm64" ? "ntarm64" : "ntarm";
    return lower == platform || StartsWithNoCase(lower, platform + ".");
}
} // namespace

std::vector<std::string> InfHardwareIds(const Text& inf, const std::string& architecture)
{
    // Sections by lower-case name, each a list of logical lines.
    std::map<std::string, std::vector<std::string>> sections;
    std::vector<std::string>* current = nullptr;
    for (size_t i = 0; i < inf.lines.size(); ++i)
    {
        std::string line = Trim(StripComment(inf.lines[i]));
        while (!line.empty() && line.back() == '\\' && i + 1 < inf.lines.size())
            line = line.substr(0, line.size() - 1) + Trim(StripComment(inf.lines[++i]));
        if (line.empty())
            continue;
        if (line.front() == '[' && line.find(']') != std::string::npos)
        {
            current = &sections[AsciiLower(Trim(line.substr(1, line.find(']') - 1)))];
            continue;
        }
        if (current)
            current->push_back(line);
    }
    std::set<std::string> models;
    for (const std::string& line : sections["manufacturer"])
    {
        const size_t equals = line.find('=');
        const std::vector<std::string> items = SplitList(equals == std::string::npos ? line : line.substr(equals + 1));
        const std::string base = AsciiLower(items.front());
        if (items.size() == 1)
            models.insert(base);
        for (size_t d = 1; d < items.size(); ++d)
            if (DecorationServes(items[d], architecture))
                models.insert(base + "." + AsciiLower(items[d]));
    }
    std::vector<std::string> ids;
    for (const std::string& model : models)
        for (const std::string& line : sections[model])
        {
            const size_t equals = line.find('=');
            if (equals == std::string::npos)
                continue;
            const std::vector<std::string> items = SplitList(line.substr(equals + 1));
            for (size_t k = 1; k < items.size(); ++k)
                if (!items[k].empty())
                    ids.push_back(AsciiUpper(items[k]));
        }
    return ids;
}
} // namespace report
