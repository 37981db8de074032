#include "read/sysinfo.h"

#include <cctype>
#include <vector>

namespace report
{
namespace
{
const SystemInfoField kFields[] = {SystemInfoField::HostName,   SystemInfoField::OsName,           SystemInfoField::OsVersion,
                                   SystemInfoField::SystemType, SystemInfoField::WindowsDirectory, SystemInfoField::SystemDirectory,
                                   SystemInfoField::BootDevice};
// One "label: value" line; continuation lines of lists (processors, hotfixes) are indented.
struct Field
{
    std::string label, value;
    size_t line = 0;
};

// French systeminfo writes no-break spaces into values ("Windows\u00A07"); they read as spaces.
std::string NoBreakSpacesAsSpaces(std::string text)
{
    for (size_t at = text.find("\xC2\xA0"); at != std::string::npos; at = text.find("\xC2\xA0", at))
        text.replace(at, 2, " ");
    return text;
}

std::vector<Field> Fields(const Text& text, bool& leftOut)
{
    std::vector<Field> fields;
    for (size_t i = 0; i < text.lines.size(); ++i)
    {
        const std::string& line = text.lines[i];
        // No byte of a letter outside ASCII is a colon in any code page, so a label's colon
        // survives the collector's decoding.
        const size_t colon = line.find(':');
        if (line.empty() || line[0] == ' ' || line[0] == '\t' || colon == std::string::npos)
            continue;
        if (fields.size() == kMaxSystemInfoFields)
        {
            leftOut = true;
            break;
        }
        fields.push_back({Trim(line.substr(0, colon)), Trim(NoBreakSpacesAsSpaces(line.substr(colon + 1))), i + 1});
    }
    return fields;
}

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// The digits at `i`; false when there are none.
bool Number(const std::string& s, size_t& i, std::string& digits)
{
    const size_t start = i;
    while (i < s.size() && IsDigit(s[i]))
        ++i;
    digits = s.substr(start, i - start);
    return i > start;
}

// "major.minor.build" at `i`.
bool VersionAt(const std::string& s, size_t& i, std::string& build)
{
    std::string part;
    return Number(s, i, part) && i < s.size() && s[i++] == '.' && Number(s, i, part) && i < s.size() && s[i++] == '.' &&
           Number(s, i, build);
}

// "<major.minor.build> <words> <build>" in every language: "10.0.19045 N/A Build 19045",
// "6.3.9600 Н/Д построение 9600", "6.1.7601 Service Pack 1 Build 7601".
bool VersionShape(const std::string& value)
{
    size_t i = 0;
    std::string build;
    if (!VersionAt(value, i, build) || i == value.size() || value[i] != ' ')
        return false;
    const size_t last = value.rfind(' ');
    return last > i && value.substr(last + 1) == build;
}

// "x64-based PC", "X86-based PC", "ARM64-based PC": systeminfo does not translate it.
bool SystemTypeShape(const std::string& value)
{
    const std::string suffix = "-based pc";
    const std::string lower = AsciiLower(value);
    if (lower.size() <= suffix.size() || lower.size() > suffix.size() + 8 || lower.compare(lower.size() - suffix.size(), suffix.size(), suffix) != 0)
        return false;
    for (size_t i = 0; i + suffix.size() < lower.size(); ++i)
        if (!isalnum(static_cast<unsigned char>(lower[i])))
            return false;
    return true;
}

bool IsDrivePath(const std::string& value)
{
    return value.size() >= 3 && isalpha(static_cast<unsigned char>(value[0])) && value[1] == ':' && value[2] == '\\';
}

bool HasNonAscii(const std::string& text)
{
    for (char c : text)
        if (static_cast<unsigned char>(c) >= 0x80)
            return true;
    return false;
}

class Reader
{
public:
    Reader(const Text& text) : m_text(text), m_fields(Fields(text, m_info.fieldsLeftOut)) {}

    SystemInfo Read()
    {
        FindVersion();
        for (SystemInfoField field : kFields)
            ByLabel(field);
        ByShape();
        return m_info;
    }

private:
    // The version's line anchors the others' places: the fields before it may be missing (a
    // listing saved without its host line).
    void FindVersion()
    {
        for (size_t i = 0; i < m_fields.size(); ++i)
            if (VersionShape(m_fields[i].value))
            {
                m_version = i;
                return;
            }
    }

    // The place systeminfo gives field i (1: host name), counted from the version's line.
    size_t Ordinal(size_t i) const
    {
        const size_t version = SystemInfoOrdinal(SystemInfoField::OsVersion);
        if (m_version == kNone)
            return i + 1;
        return i + version < m_version + 1 ? 0 : i + version - m_version;
    }

    void Set(SystemInfoField field, size_t i, const std::string& how)
    {
        if (m_info.values.count(field))
            return;
        const Field& f = m_fields[i];
        m_info.values[field] = {f.value, f.line, how, m_text.lostCharacters > 0 && HasNonAscii(f.value)};
    }

    void ByLabel(SystemInfoField field)
    {
        for (size_t i = 0; i < m_fields.size(); ++i)
        {
            const LabelMatch match = MatchSystemInfoLabel(m_fields[i].label, field);
            // A garbled label counts only where it stands where systeminfo puts that field.
            if (match.language.empty() || (match.garbled && Ordinal(i) != SystemInfoOrdinal(field)))
                continue;
            Set(field, i, match.language + " label" + (match.garbled ? ", letters lost to the code page" : ""));
            if (m_info.language.empty() || (m_info.labelsGarbled && !match.garbled))
            {
                m_info.language = match.language;
                m_info.labelsGarbled = match.garbled;
            }
            return;
        }
    }

    void ByShape()
    {
        if (m_version != kNone)
        {
            Set(SystemInfoField::OsVersion, m_version, "shape of the value");
            // Host name and OS name stand right before the version, in this order.
            if (m_version >= 1)
                Set(SystemInfoField::OsName, m_version - 1, "position in the listing");
            if (m_version >= 2)
                Set(SystemInfoField::HostName, m_version - 2, "position in the listing");
        }
        for (size_t i = 0; i < m_fields.size(); ++i)
        {
            const std::string& value = m_fields[i].value;
            if (SystemTypeShape(value))
                Set(SystemInfoField::SystemType, i, "shape of the value");
            // The Windows folder, and after it the system folder below it.
            if (IsDrivePath(value) && i + 1 < m_fields.size() && EqualsNoCase(m_fields[i + 1].value, value + "\\system32"))
            {
                Set(SystemInfoField::WindowsDirectory, i, "shape of the value");
                Set(SystemInfoField::SystemDirectory, i + 1, "shape of the value");
            }
            if (StartsWithNoCase(value, "\\Device\\"))
                Set(SystemInfoField::BootDevice, i, "shape of the value");
        }
    }

    static const size_t kNone = static_cast<size_t>(-1);
    const Text& m_text;
    SystemInfo m_info; // before m_fields, whose reading sets fieldsLeftOut
    const std::vector<Field> m_fields;
    size_t m_version = kNone;
};
} // namespace

const SystemInfoValue& SystemInfo::Get(SystemInfoField field) const
{
    static const SystemInfoValue none;
    auto it = values.find(field);
    return it == values.end() ? none : it->second;
}

SystemInfo ParseSystemInfo(const Text& text) { return Reader(text).Read(); }

std::string VersionNumber(const std::string& osVersion)
{
    for (size_t start = 0; start < osVersion.size(); ++start)
    {
        if (!IsDigit(osVersion[start]) || (start > 0 && (IsDigit(osVersion[start - 1]) || osVersion[start - 1] == '.')))
            continue;
        size_t i = start;
        std::string build;
        if (VersionAt(osVersion, i, build))
            return osVersion.substr(start, i - start);
    }
    return "";
}

std::string BuildNumber(const std::string& osVersion)
{
    const std::string version = VersionNumber(osVersion);
    return version.empty() ? "" : version.substr(version.rfind('.') + 1);
}

std::string Architecture(const std::string& systemType)
{
    const std::string lower = AsciiLower(systemType);
    if (StartsWithNoCase(lower, "x64") || StartsWithNoCase(lower, "amd64"))
        return "x64";
    if (StartsWithNoCase(lower, "arm64"))
        return "arm64";
    if (StartsWithNoCase(lower, "x86"))
        return "x86";
    return "";
}
} // namespace report
