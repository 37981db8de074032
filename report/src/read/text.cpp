#include "read/text.h"

#include <algorithm>
#include <cctype>

namespace report
{
namespace
{
const char32_t kReplacement = 0xFFFD;

// Windows-1252 at 0x80 to 0x9F; the rest of the range is Latin-1.
const char32_t kCp1252High[32] = {
    0x20AC, 0xFFFD, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0xFFFD, 0x017D, 0xFFFD, 0xFFFD, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0xFFFD, 0x017E, 0x0178,
};

// Splits at "\n"; every "\r" at a line's end goes (the collector's lines end in "\r\r\n" when the
// command wrote CR LF). A final line end opens no further line.
std::vector<std::string> SplitLines(const std::string& utf8)
{
    std::vector<std::string> lines;
    size_t start = 0;
    while (start < utf8.size())
    {
        size_t end = utf8.find('\n', start);
        if (end == std::string::npos)
            end = utf8.size();
        size_t stop = end;
        while (stop > start && utf8[stop - 1] == '\r')
            --stop;
        lines.push_back(utf8.substr(start, stop - start));
        start = end + 1;
    }
    return lines;
}

// Control characters other than tab, CR and LF: a text has almost none.
bool LooksBinary(const std::u32string& text)
{
    size_t controls = 0;
    for (char32_t c : text)
        if (c < 0x20 && c != '\t' && c != '\r' && c != '\n')
            ++controls;
    return controls * 10 > text.size();
}

std::u32string DecodeUtf16(const std::string& bytes, size_t from, bool bigEndian)
{
    std::u32string out;
    for (size_t i = from; i + 1 < bytes.size(); i += 2)
    {
        const auto b0 = static_cast<unsigned char>(bytes[i]), b1 = static_cast<unsigned char>(bytes[i + 1]);
        char32_t unit = bigEndian ? (b0 << 8 | b1) : (b1 << 8 | b0);
        if (unit >= 0xD800 && unit < 0xDC00 && i + 3 < bytes.size())
        {
            const auto c0 = static_cast<unsigned char>(bytes[i + 2]), c1 = static_cast<unsigned char>(bytes[i + 3]);
            const char32_t low = bigEndian ? (c0 << 8 | c1) : (c1 << 8 | c0);
            if (low >= 0xDC00 && low < 0xE000)
            {
                out.push_back(0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00));
                i += 2;
                continue;
            }
        }
        out.push_back(unit >= 0xD800 && unit < 0xE000 ? kReplacement : unit);
    }
    return out;
}

// One byte of the child's output as the collector's decoding left it: known, or lost (U+FFFD).
struct RecoveredByte
{
    unsigned char value;
    bool known;
};

// The child's byte stream behind a collector's file: the saved lines (each followed by "\r\n")
// joined again by the line feeds that split them. A code point below 0x80 was that byte; any
// other but U+FFFD was a valid UTF-8 sequence, so its encoding gives the bytes back.
std::vector<RecoveredByte> ChildBytes(const std::u32string& saved)
{
    std::u32string joined;
    size_t start = 0;
    while (start < saved.size())
    {
        size_t end = saved.find(U'\n', start);
        const bool last = end == std::u32string::npos;
        if (last)
            end = saved.size();
        size_t stop = end;
        if (!last && stop > start && saved[stop - 1] == U'\r')
            --stop; // the CR that the collector added before its LF
        if (start > 0)
            joined.push_back(U'\n');
        joined.append(saved, start, stop - start);
        start = end + 1;
    }
    std::vector<RecoveredByte> bytes;
    for (char32_t c : joined)
    {
        if (c == kReplacement)
        {
            bytes.push_back({0, false});
            continue;
        }
        std::string encoded;
        AppendUtf8(encoded, c);
        for (char b : encoded)
            bytes.push_back({static_cast<unsigned char>(b), true});
    }
    return bytes;
}

std::u32string Utf16FromRecovered(const std::vector<RecoveredByte>& bytes, size_t from, bool bigEndian)
{
    std::string raw;
    std::u32string out;
    for (size_t i = from; i + 1 < bytes.size(); i += 2)
    {
        if (!bytes[i].known || !bytes[i + 1].known)
        {
            out += DecodeUtf16(raw, 0, bigEndian);
            raw.clear();
            out.push_back(kReplacement);
            continue;
        }
        raw.push_back(static_cast<char>(bytes[i].value));
        raw.push_back(static_cast<char>(bytes[i + 1].value));
    }
    return out + DecodeUtf16(raw, 0, bigEndian);
}

bool IsUtf16ReadAsUtf8(const std::u32string& saved, bool leadingPair)
{
    const size_t zeros = std::count(saved.begin(), saved.end(), U'\0');
    if (leadingPair)
        return zeros > 0 || saved.find_first_not_of(U"\r\n", 2) == std::u32string::npos;
    return zeros > 0 && zeros * 4 >= saved.size();
}

void RecoverUtf16(const std::u32string& saved, bool leadingPair, Text& text)
{
    const std::vector<RecoveredByte> bytes = ChildBytes(saved);
    size_t from = leadingPair ? 2 : 0;
    // Without a byte-order mark, the zero high bytes of ASCII text tell the byte order.
    size_t zerosEven = 0, zerosOdd = 0;
    for (size_t i = from; i < bytes.size(); ++i)
        if (bytes[i].known && bytes[i].value == 0)
            ((i - from) % 2 ? zerosOdd : zerosEven)++;
    const std::u32string decoded = Utf16FromRecovered(bytes, from, zerosEven > zerosOdd);
    text.form = TextForm::Utf16ReadAsUtf8;
    text.lines = SplitLines(EncodeUtf8(decoded));
    const size_t replaced = std::count(saved.begin(), saved.end(), kReplacement);
    text.lostCharacters = replaced - (leadingPair ? 2 : 0);
}
} // namespace

void AppendUtf8(std::string& out, char32_t c)
{
    if (c < 0x80)
        out.push_back(static_cast<char>(c));
    else if (c < 0x800)
    {
        out.push_back(static_cast<char>(0xC0 | c >> 6));
        out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    }
    else if (c < 0x10000)
    {
        out.push_back(static_cast<char>(0xE0 | c >> 12));
        out.push_back(static_cast<char>(0x80 | (c >> 6 & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    }
    else
    {
        out.push_back(static_cast<char>(0xF0 | c >> 18));
        out.push_back(static_cast<char>(0x80 | (c >> 12 & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (c >> 6 & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    }
}

std::u32string DecodeUtf8(const std::string& bytes, size_t* invalidBytes)
{
    std::u32string out;
    out.reserve(bytes.size());
    size_t invalid = 0;
    for (size_t i = 0; i < bytes.size();)
    {
        const auto b = static_cast<unsigned char>(bytes[i]);
        size_t length = b < 0x80 ? 1 : b >= 0xC2 && b < 0xE0 ? 2 : b >= 0xE0 && b < 0xF0 ? 3 : b >= 0xF0 && b < 0xF5 ? 4 : 0;
        char32_t c = length == 1 ? b : length == 2 ? b & 0x1F : length == 3 ? b & 0x0F : b & 0x07;
        bool valid = length > 0 && i + length <= bytes.size();
        for (size_t k = 1; valid && k < length; ++k)
        {
            const auto next = static_cast<unsigned char>(bytes[i + k]);
            valid = (next & 0xC0) == 0x80;
            c = c << 6 | (next & 0x3F);
        }
        // Overlong forms, surrogates and values past U+10FFFF are not UTF-8.
        valid = valid && !(length == 3 && (c < 0x800 || (c >= 0xD800 && c < 0xE000))) &&
                !(length == 4 && (c < 0x10000 || c > 0x10FFFF));
        if (!valid)
        {
            out.push_back(kReplacement);
            ++invalid;
            ++i;
            continue;
        }
        out.push_back(c);
        i += length;
    }
    if (invalidBytes)
        *invalidBytes = invalid;
    return out;
}

std::string EncodeUtf8(const std::u32string& text)
{
    std::string out;
    out.reserve(text.size());
    for (char32_t c : text)
        AppendUtf8(out, c);
    return out;
}

bool DecodeCapturedOutput(const std::string& bytes, Text& text, std::string& problem)
{
    size_t invalid = 0;
    const std::u32string saved = DecodeUtf8(bytes, &invalid);
    const bool leadingPair = saved.size() >= 2 && saved[0] == kReplacement && saved[1] == kReplacement;
    text = Text();
    if (IsUtf16ReadAsUtf8(saved, leadingPair))
        RecoverUtf16(saved, leadingPair, text);
    else if (LooksBinary(saved))
    {
        problem = "holds binary data, not text";
        return false;
    }
    else
    {
        text.lines = SplitLines(EncodeUtf8(saved));
        text.lostCharacters = std::count(saved.begin(), saved.end(), kReplacement) - invalid;
        if (invalid)
            problem = std::to_string(invalid) + " bytes that are not UTF-8, read as U+FFFD";
    }
    return true;
}

bool DecodeSystemText(const std::string& bytes, Text& text, std::string& problem)
{
    text = Text();
    std::u32string decoded;
    auto at = [&](size_t i) { return i < bytes.size() ? static_cast<unsigned char>(bytes[i]) : -1; };
    size_t invalid = 0;
    if (at(0) == 0xFF && at(1) == 0xFE)
    {
        decoded = DecodeUtf16(bytes, 2, false);
        text.form = TextForm::Utf16Le;
    }
    else if (at(0) == 0xEF && at(1) == 0xBB && at(2) == 0xBF)
        decoded = DecodeUtf8(bytes.substr(3));
    else if ((decoded = DecodeUtf8(bytes, &invalid)), invalid == 0)
    {
        // UTF-16LE without its byte-order mark shows as ASCII with a zero after each letter.
        if (IsUtf16ReadAsUtf8(decoded, false))
        {
            decoded = DecodeUtf16(bytes, 0, false);
            text.form = TextForm::Utf16Le;
        }
    }
    else
    {
        decoded.clear();
        for (char b : bytes)
        {
            const auto u = static_cast<unsigned char>(b);
            decoded.push_back(u >= 0x80 && u < 0xA0 ? kCp1252High[u - 0x80] : u);
        }
        text.form = TextForm::Ansi;
    }
    if (LooksBinary(decoded))
    {
        problem = "holds binary data, not text";
        return false;
    }
    text.lines = SplitLines(EncodeUtf8(decoded));
    return true;
}

std::string AsciiLower(std::string s)
{
    for (char& c : s)
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    return s;
}

std::string AsciiUpper(std::string s)
{
    for (char& c : s)
        if (c >= 'a' && c <= 'z')
            c = static_cast<char>(c - 'a' + 'A');
    return s;
}

std::string Trim(const std::string& s)
{
    const size_t first = s.find_first_not_of(" \t\r\n");
    if (first == std::string::npos)
        return "";
    return s.substr(first, s.find_last_not_of(" \t\r\n") - first + 1);
}

bool StartsWithNoCase(const std::string& s, const std::string& prefix)
{
    return s.size() >= prefix.size() && AsciiLower(s.substr(0, prefix.size())) == AsciiLower(prefix);
}

bool EqualsNoCase(const std::string& a, const std::string& b) { return AsciiLower(a) == AsciiLower(b); }
} // namespace report
