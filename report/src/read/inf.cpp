#include "read/inf.h"

#include <tuple>
#include <unordered_map>
#include <unordered_set>

namespace report
{
namespace
{
// Microsoft's "Using an Extension INF File" and "Adding Software Components with an INF file":
// neither kind installs a function driver for the devices it lists.
const char kExtensionGuid[] = "{e2f84ce7-8efa-411c-aa69-97454ca4cb57}";
const char kSoftwareComponentGuid[] = "{5c4c3332-344d-483c-8739-259e934c9cc8}";
const size_t kManufacturerEntryCap = 256;
const size_t kDecorationCap = 64;

// The INF's logical lines (comments gone, continuations joined) and where each section's lines
// lie among them. Sections of one name are merged, as Windows merges them.
class InfLines
{
public:
    InfLines(const Text& inf);

    // The lines of a section (name compared without regard to case).
    std::vector<const std::string*> Section(const std::string& name) const;
    size_t CutLines() const { return m_cut; }

private:
    void Finish(std::string& line);

    std::vector<std::string> m_lines;
    std::unordered_map<std::string, std::vector<std::pair<size_t, size_t>>> m_sections; // lower-case name → ranges
    std::vector<std::pair<size_t, size_t>>* m_open = nullptr; // the ranges of the section being read
    size_t m_cut = 0;
};

// A line without its comment: a semicolon starts one outside quoted strings and %strkey% tokens
// ("General Syntax Rules for INF Files").
std::string StripComment(const std::string& line)
{
    bool quoted = false, token = false;
    for (size_t i = 0; i < line.size(); ++i)
    {
        if (line[i] == '"')
            quoted = !quoted;
        else if (line[i] == '%' && !quoted)
            token = !token;
        else if (line[i] == ';' && !quoted && !token)
            return line.substr(0, i);
    }
    return line;
}

InfLines::InfLines(const Text& inf)
{
    std::string current;
    bool cut = false;
    for (size_t i = 0; i < inf.lines.size(); ++i)
    {
        std::string part = Trim(StripComment(inf.lines[i]));
        const bool continues = !part.empty() && part.back() == '\\' && i + 1 < inf.lines.size();
        if (continues)
            part.pop_back();
        if (current.size() + part.size() > kInfLineCap)
        {
            part.resize(kInfLineCap - current.size());
            cut = true;
        }
        current += part;
        if (continues)
            continue;
        m_cut += cut;
        cut = false;
        Finish(current);
        current.clear();
    }
}

void InfLines::Finish(std::string& line)
{
    const std::string trimmed = Trim(line);
    if (trimmed.empty())
        return;
    const size_t close = trimmed.find(']');
    if (trimmed.front() == '[' && close != std::string::npos)
    {
        // Element references of an unordered_map stay valid as it grows.
        m_open = &m_sections[AsciiLower(Trim(trimmed.substr(1, close - 1)))];
        m_open->push_back({m_lines.size(), m_lines.size()});
        return;
    }
    if (!m_open)
        return; // lines before the first section belong to none
    m_lines.push_back(trimmed);
    m_open->back().second = m_lines.size();
}

std::vector<const std::string*> InfLines::Section(const std::string& name) const
{
    std::vector<const std::string*> lines;
    const auto found = m_sections.find(AsciiLower(name));
    if (found == m_sections.end())
        return lines;
    for (const auto& range : found->second)
        for (size_t i = range.first; i < range.second; ++i)
            lines.push_back(&m_lines[i]);
    return lines;
}

// The comma-separated values of an entry, trimmed, quotes removed (a comma within quotes is text).
std::vector<std::string> SplitList(const std::string& text)
{
    std::vector<std::string> items(1);
    bool quoted = false;
    for (char c : text)
    {
        if (c == '"')
            quoted = !quoted;
        else if (c == ',' && !quoted)
            items.emplace_back();
        else
            items.back().push_back(c);
    }
    for (std::string& item : items)
        item = Trim(item);
    return items;
}

// "key = value" → key and value, trimmed; false without "=".
bool SplitEntry(const std::string& line, std::string& key, std::string& value)
{
    const size_t equals = line.find('=');
    if (equals == std::string::npos)
        return false;
    key = Trim(line.substr(0, equals));
    value = Trim(line.substr(equals + 1));
    return true;
}

// A %strkey% token through the undecorated [Strings] section; other values as they are.
std::string Resolve(const InfLines& lines, std::string value)
{
    if (value.size() >= 2 && value.front() == '"' && value.back() == '"')
        value = value.substr(1, value.size() - 2);
    if (value.size() < 3 || value.front() != '%' || value.back() != '%')
        return value;
    const std::string token = value.substr(1, value.size() - 2);
    std::string key, text;
    for (const std::string* line : lines.Section("Strings"))
        if (SplitEntry(*line, key, text) && EqualsNoCase(key, token))
            return SplitList(text).front();
    return value;
}

std::string NotFunctionDriver(const InfLines& lines)
{
    std::string key, value;
    for (const std::string* line : lines.Section("Version"))
    {
        if (!SplitEntry(*line, key, value))
            continue;
        const std::string resolved = Resolve(lines, value);
        if ((EqualsNoCase(key, "Class") && EqualsNoCase(resolved, "Extension")) ||
            (EqualsNoCase(key, "ClassGuid") && EqualsNoCase(resolved, kExtensionGuid)))
            return "Class=Extension";
        if ((EqualsNoCase(key, "Class") && EqualsNoCase(resolved, "SoftwareComponent")) ||
            (EqualsNoCase(key, "ClassGuid") && EqualsNoCase(resolved, kSoftwareComponentGuid)))
            return "Class=SoftwareComponent";
    }
    return "";
}

// A TargetOSVersion decoration: NT[Architecture][.Major[.Minor[.ProductType[.SuiteMask[.BuildNumber]]]]].
struct Decoration
{
    bool valid = false;
    std::string architecture; // "", "x86", "amd64", "ia64", "arm", "arm64" (lower case)
    bool versioned = false;
    unsigned long major = 0, minor = 0, productType = 0, suiteMask = 0, build = 0;
};

// A decimal number, or a hexadecimal one after "0x", that fits 32 bits; false otherwise.
bool Number(const std::string& text, unsigned long& value)
{
    const bool hex = text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
    const std::string digits = hex ? text.substr(2) : text;
    if (digits.empty() || digits.size() > (hex ? 8u : 10u))
        return false;
    unsigned long long number = 0;
    for (char c : digits)
    {
        const int digit = c >= '0' && c <= '9' ? c - '0' : hex && c >= 'a' && c <= 'f' ? c - 'a' + 10
                          : hex && c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
        if (digit < 0)
            return false;
        number = number * (hex ? 16 : 10) + static_cast<unsigned>(digit);
    }
    if (number > 0xFFFFFFFFull)
        return false;
    value = static_cast<unsigned long>(number);
    return true;
}

Decoration ParseDecoration(const std::string& text)
{
    Decoration decoration;
    const std::string lower = AsciiLower(text);
    if (lower.compare(0, 2, "nt") != 0)
        return decoration;
    const size_t dot = lower.find('.', 2);
    decoration.architecture = lower.substr(2, dot == std::string::npos ? std::string::npos : dot - 2);
    static const char* const kArchitectures[] = {"", "x86", "amd64", "ia64", "arm", "arm64"};
    bool known = false;
    for (const char* architecture : kArchitectures)
        known = known || decoration.architecture == architecture;
    if (!known)
        return decoration;
    std::vector<std::string> fields;
    for (size_t start = dot; start != std::string::npos;)
    {
        const size_t next = lower.find('.', start + 1);
        fields.push_back(lower.substr(start + 1, next == std::string::npos ? std::string::npos : next - start - 1));
        start = next;
    }
    if (fields.size() > 5)
        return decoration;
    unsigned long* const slots[] = {&decoration.major, &decoration.minor, &decoration.productType, &decoration.suiteMask,
                                    &decoration.build};
    for (size_t i = 0; i < fields.size(); ++i)
        if (!fields[i].empty() && !Number(fields[i], *slots[i]))
            return decoration;
    decoration.versioned = !fields.empty() && !fields[0].empty();
    decoration.valid = true;
    return decoration;
}

std::string PlatformOf(const std::string& architecture)
{
    return architecture == "x64" ? "amd64" : architecture;
}

std::string ProductTypeName(unsigned long type)
{
    return type == 1 ? "workstation" : type == 2 ? "domain controller" : type == 3 ? "server" : "product type " + std::to_string(type);
}

// Why Windows does not use a decorated section for the target; "" when it may.
std::string WhyNot(const Decoration& decoration, const InfTarget& target)
{
    if (!decoration.valid)
        return "not a decoration Windows reads";
    if (decoration.architecture.empty() && target.architecture != "x86")
        return "decorated for no platform: " + target.architecture + " Windows uses only sections decorated for its platform";
    if (!decoration.architecture.empty() && decoration.architecture != PlatformOf(target.architecture))
        return "for " + decoration.architecture + ", not " + PlatformOf(target.architecture);
    if (decoration.versioned)
    {
        if (target.major == 0)
            return "for Windows " + std::to_string(decoration.major) + "." + std::to_string(decoration.minor) +
                   " and later; the image's metadata gives no Windows version";
        const auto wanted = std::make_tuple(decoration.major, decoration.minor);
        const auto have = std::make_tuple(static_cast<unsigned long>(target.major), static_cast<unsigned long>(target.minor));
        const std::string version = std::to_string(target.major) + "." + std::to_string(target.minor);
        if (wanted > have)
            return "for Windows " + std::to_string(decoration.major) + "." + std::to_string(decoration.minor) +
                   " and later; the image is Windows " + version;
        // The build counts only where the versions are equal.
        if (wanted == have && decoration.build != 0 && target.build == 0)
            return "for build " + std::to_string(decoration.build) + " and later; the image's metadata gives no build";
        if (wanted == have && decoration.build > target.build)
            return "for build " + std::to_string(decoration.build) + " and later; the image is build " + std::to_string(target.build);
    }
    if (decoration.productType != 0 && decoration.productType != target.productType)
        return "for a " + ProductTypeName(decoration.productType) + "; the image is a " + ProductTypeName(target.productType);
    if (decoration.suiteMask != 0)
    {
        char mask[24];
        snprintf(mask, sizeof mask, "0x%lx", decoration.suiteMask);
        return std::string("for product suite ") + mask + ", which the image's metadata does not give";
    }
    return "";
}

// How closely a usable decoration fits: a higher version first, then its build, then a product
// type, a suite and a platform named ("a specific version number takes precedence over the
// product type and suite mask").
std::tuple<unsigned long, unsigned long, unsigned long, bool, bool, bool> Closeness(const Decoration& decoration)
{
    return std::make_tuple(decoration.major, decoration.minor, decoration.build, decoration.productType != 0,
                           decoration.suiteMask != 0, !decoration.architecture.empty());
}

InfSection ModelsSection(const InfLines& lines, const std::string& name)
{
    InfSection section;
    section.name = name;
    std::string key, value;
    for (const std::string* line : lines.Section(name))
    {
        if (!SplitEntry(*line, key, value))
            continue;
        const std::vector<std::string> items = SplitList(value);
        for (size_t i = 1; i < items.size(); ++i)
            if (!items[i].empty())
                section.ids.push_back(AsciiUpper(items[i]));
    }
    return section;
}

// Each models section is read once, however many entries and decorations name it.
class SectionReader
{
public:
    SectionReader(const InfLines& lines) : m_lines(lines) {}
    // False when the section was read before.
    bool Read(const std::string& name, InfSection& section)
    {
        if (!m_seen.insert(AsciiLower(name)).second)
            return false;
        section = ModelsSection(m_lines, name);
        return true;
    }

private:
    const InfLines& m_lines;
    std::unordered_set<std::string> m_seen;
};

void PassOver(SectionReader& sections, const std::string& name, const std::string& why, InfDriver& driver)
{
    InfPassedOver passed;
    if (sections.Read(name, passed.section) && !passed.section.ids.empty())
    {
        passed.why = why;
        driver.passedOver.push_back(passed);
    }
}

void ReadManufacturerEntry(SectionReader& sections, const std::string& entry, const InfTarget& target, InfDriver& driver)
{
    std::string key, value;
    const std::vector<std::string> items = SplitList(SplitEntry(entry, key, value) ? value : entry);
    const std::string& base = items.front();
    if (base.empty())
        return;
    std::vector<Decoration> decorations(items.size());
    std::vector<std::string> why(items.size());
    int best = -1;
    for (size_t i = 1; i < items.size() && i <= kDecorationCap; ++i)
    {
        if (items[i].empty())
            continue;
        decorations[i] = ParseDecoration(items[i]);
        why[i] = WhyNot(decorations[i], target);
        if (why[i].empty() && (best < 0 || Closeness(decorations[i]) > Closeness(decorations[static_cast<size_t>(best)])))
            best = static_cast<int>(i);
    }
    InfSection chosen;
    if (best >= 0 && sections.Read(base + "." + items[static_cast<size_t>(best)], chosen))
        driver.chosen.push_back(chosen);
    else if (best < 0 && target.architecture == "x86" && sections.Read(base, chosen))
        driver.chosen.push_back(chosen);
    else if (best < 0)
        PassOver(sections, base, "undecorated: " + target.architecture + " Windows uses only sections decorated for its platform",
                 driver);
    for (size_t i = 1; i < items.size() && i <= kDecorationCap; ++i)
        if (!items[i].empty() && static_cast<int>(i) != best)
            PassOver(sections, base + "." + items[i],
                     why[i].empty() ? "Windows picks the closer [" + base + "." + items[static_cast<size_t>(best)] + "]" : why[i],
                     driver);
}
} // namespace

InfDriver ReadInf(const Text& inf, const InfTarget& target)
{
    const InfLines lines(inf);
    InfDriver driver;
    driver.cutLines = lines.CutLines();
    driver.notFunctionDriver = NotFunctionDriver(lines);
    SectionReader sections(lines);
    const std::vector<const std::string*> entries = lines.Section("Manufacturer");
    for (size_t i = 0; i < entries.size() && i < kManufacturerEntryCap; ++i)
        ReadManufacturerEntry(sections, *entries[i], target, driver);
    return driver;
}
} // namespace report
