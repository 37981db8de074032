#include "read/registry.h"

#include <cstdlib>

namespace report
{
namespace
{
std::string Utf16Bytes(const std::string& utf8)
{
    std::string out;
    for (char32_t c : DecodeUtf8(utf8))
    {
        auto put = [&](char32_t unit) {
            out.push_back(static_cast<char>(unit & 0xFF));
            out.push_back(static_cast<char>(unit >> 8 & 0xFF));
        };
        if (c >= 0x10000)
        {
            put(0xD800 + ((c - 0x10000) >> 10));
            put(0xDC00 + ((c - 0x10000) & 0x3FF));
        }
        else
            put(c);
    }
    return out;
}

// A quoted string from `pos` (on the opening quote); false when it does not close.
bool QuotedString(const std::string& line, size_t& pos, std::string& out)
{
    out.clear();
    for (++pos; pos < line.size(); ++pos)
    {
        if (line[pos] == '\\' && pos + 1 < line.size())
            out.push_back(line[++pos]);
        else if (line[pos] == '"')
        {
            ++pos;
            return true;
        }
        else
            out.push_back(line[pos]);
    }
    return false;
}

bool HexBytes(const std::string& text, std::string& out)
{
    out.clear();
    size_t pos = 0;
    while (pos < text.size())
    {
        const size_t comma = text.find(',', pos);
        const std::string item = Trim(text.substr(pos, comma == std::string::npos ? std::string::npos : comma - pos));
        if (!item.empty())
        {
            char* end = nullptr;
            const unsigned long value = strtoul(item.c_str(), &end, 16);
            if (*end || item.size() > 2 || value > 0xFF)
                return false;
            out.push_back(static_cast<char>(value));
        }
        if (comma == std::string::npos)
            break;
        pos = comma + 1;
    }
    return true;
}

// The data part after "=": a string, dword:, hex: or hex(N):.
bool ValueData(const std::string& text, RegValue& value)
{
    std::string data = Trim(text);
    if (!data.empty() && data[0] == '"')
    {
        size_t pos = 0;
        std::string s;
        if (!QuotedString(data, pos, s))
            return false;
        value.type = kRegSz;
        value.data = Utf16Bytes(s) + std::string(2, '\0');
        return true;
    }
    if (StartsWithNoCase(data, "dword:"))
    {
        char* end = nullptr;
        const unsigned long number = strtoul(data.c_str() + 6, &end, 16);
        if (*end)
            return false;
        value.type = kRegDword;
        value.data.clear();
        for (int i = 0; i < 4; ++i)
            value.data.push_back(static_cast<char>(number >> (8 * i) & 0xFF));
        return true;
    }
    if (StartsWithNoCase(data, "hex:"))
    {
        value.type = kRegBinary;
        return HexBytes(data.substr(4), value.data);
    }
    if (StartsWithNoCase(data, "hex("))
    {
        const size_t close = data.find("):");
        if (close == std::string::npos)
            return false;
        value.type = static_cast<uint32_t>(strtoul(data.c_str() + 4, nullptr, 16));
        return HexBytes(data.substr(close + 2), value.data);
    }
    return false;
}

// The line at `i` with the lines that continue it (a value's data goes on over lines that end in
// a backslash) joined on; `i` ends on the last of them. False when the whole runs longer than
// kMaxValueText: `line` then holds only a beginning of it.
bool JoinedLine(const std::vector<std::string>& lines, size_t& i, std::string& line)
{
    line = Trim(lines[i]);
    bool whole = true, more = !line.empty() && line.back() == '\\';
    while (more && i + 1 < lines.size())
    {
        const std::string piece = Trim(lines[++i]);
        whole = whole && line.size() - 1 + piece.size() <= kMaxValueText;
        if (whole)
        {
            line.pop_back();
            line += piece;
        }
        more = !piece.empty() && piece.back() == '\\';
    }
    return whole;
}

bool ValueLine(const std::string& line, RegValue& value)
{
    size_t pos = 0;
    if (line[0] == '@')
    {
        value.name.clear();
        pos = 1;
    }
    else if (!QuotedString(line, pos, value.name))
        return false;
    const size_t equals = line.find_first_not_of(" \t", pos);
    if (equals == std::string::npos || line[equals] != '=')
        return false;
    if (Trim(line.substr(equals + 1)) == "-")
        return false; // a deletion, nothing to read
    return ValueData(line.substr(equals + 1), value);
}
} // namespace

const RegValue* RegKey::Value(const std::string& name) const
{
    // A later line for the same value replaces the earlier one, as when the file is imported.
    for (auto value = values.rbegin(); value != values.rend(); ++value)
        if (EqualsNoCase(value->name, name))
            return &*value;
    return nullptr;
}

RegKey& RegTree::AddKey(const std::string& path, size_t line)
{
    const std::string lower = AsciiLower(path);
    auto it = m_index.find(lower);
    if (it != m_index.end())
        return m_keys[it->second];
    m_index[lower] = m_keys.size();
    m_keys.push_back({path, line, {}});
    return m_keys.back();
}

const RegKey* RegTree::Key(const std::string& path) const
{
    auto it = m_index.find(AsciiLower(path));
    return it == m_index.end() ? nullptr : &m_keys[it->second];
}

RegTree ParseRegExport(const Text& text, size_t& skipped)
{
    RegTree tree;
    skipped = 0;
    size_t longValues = 0, firstLong = 0;
    RegKey* key = nullptr;
    std::string line;
    for (size_t i = 0; i < text.lines.size(); ++i)
    {
        const size_t first = i + 1;
        if (!JoinedLine(text.lines, i, line))
        {
            if (longValues++ == 0)
                firstLong = first;
            continue;
        }
        if (line.empty() || line[0] == ';' || (first == 1 && (StartsWithNoCase(line, "Windows Registry Editor") ||
                                                               StartsWithNoCase(line, "REGEDIT"))))
            continue;
        if (line[0] == '[' && line.back() == ']')
        {
            key = line[1] == '-' ? nullptr : &tree.AddKey(line.substr(1, line.size() - 2), first);
            continue;
        }
        RegValue value;
        value.line = first;
        if (key && (line[0] == '"' || line[0] == '@') && ValueLine(line, value))
            key->values.push_back(std::move(value));
        else
            ++skipped;
    }
    if (longValues)
        tree.SetLeftOut(std::to_string(longValues) + (longValues == 1 ? " value" : " values") + " longer than " +
                        std::to_string(kMaxValueText) + " bytes of text left out (the first at line " +
                        std::to_string(firstLong) + ")");
    return tree;
}

std::string Utf16ToUtf8(const std::string& data)
{
    std::string out;
    for (size_t i = 0; i + 1 < data.size(); i += 2)
    {
        const char32_t unit = static_cast<unsigned char>(data[i]) | static_cast<unsigned char>(data[i + 1]) << 8;
        if (unit == 0)
            break;
        AppendUtf8(out, unit >= 0xD800 && unit < 0xE000 ? 0xFFFD : unit);
    }
    return out;
}

std::vector<std::string> MultiSz(const std::string& data)
{
    std::vector<std::string> strings;
    std::string current;
    for (size_t i = 0; i + 1 < data.size(); i += 2)
    {
        if (data[i] == 0 && data[i + 1] == 0)
        {
            if (current.empty())
                break;
            strings.push_back(Utf16ToUtf8(current));
            current.clear();
            continue;
        }
        current.append(data, i, 2);
    }
    if (!current.empty())
        strings.push_back(Utf16ToUtf8(current));
    return strings;
}

uint32_t LittleEndian32(const std::string& data, size_t offset)
{
    uint32_t value = 0;
    for (size_t i = 0; i < 4 && offset + i < data.size(); ++i)
        value |= static_cast<uint32_t>(static_cast<unsigned char>(data[offset + i])) << (8 * i);
    return value;
}

uint64_t LittleEndian64(const std::string& data, size_t offset)
{
    return LittleEndian32(data, offset) | static_cast<uint64_t>(LittleEndian32(data, offset + 4)) << 32;
}
} // namespace report
