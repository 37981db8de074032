#include "read/text.h"

#include <algorithm>

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

// Decoding streams code points from the bytes to the lines: no stage holds more than a line, so
// that its peak is the text it keeps. Each stage hands a code point on with put(c, invalid),
// which says whether the next stage wants more.

// Code points of UTF-8 bytes from `from`; each byte of an invalid sequence is U+FFFD (invalid).
template <typename Put>
void EachUtf8(const std::string& bytes, size_t from, Put&& put)
{
    for (size_t i = from; i < bytes.size();)
    {
        const auto b = static_cast<unsigned char>(bytes[i]);
        if (b < 0x80)
        {
            if (!put(b, false))
                return;
            ++i;
            continue;
        }
        size_t length = b >= 0xC2 && b < 0xE0 ? 2 : b >= 0xE0 && b < 0xF0 ? 3 : b >= 0xF0 && b < 0xF5 ? 4 : 0;
        char32_t c = length == 2 ? b & 0x1F : length == 3 ? b & 0x0F : b & 0x07;
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
        if (!(valid ? put(c, false) : put(kReplacement, true)))
            return;
        i += valid ? length : 1;
    }
}

// UTF-16 code units to code points; a surrogate without its partner becomes U+FFFD.
class Utf16Units
{
public:
    template <typename Put>
    bool Unit(char32_t unit, Put& put)
    {
        if (unit >= 0xDC00 && unit < 0xE000 && m_high)
        {
            const char32_t high = m_high;
            m_high = 0;
            return put(0x10000 + ((high - 0xD800) << 10) + (unit - 0xDC00), false);
        }
        if (!End(put))
            return false;
        if (unit >= 0xD800 && unit < 0xDC00)
        {
            m_high = unit;
            return true;
        }
        return put(unit >= 0xDC00 && unit < 0xE000 ? kReplacement : unit, false);
    }
    // A unit that the collection lost: it breaks a pair and stands as U+FFFD.
    template <typename Put>
    bool Lost(Put& put)
    {
        return End(put) && put(kReplacement, false);
    }
    template <typename Put>
    bool End(Put& put)
    {
        const bool pending = m_high != 0;
        m_high = 0;
        return !pending || put(kReplacement, false);
    }

private:
    char32_t m_high = 0;
};

template <typename Put>
void EachUtf16(const std::string& bytes, size_t from, Put&& put)
{
    Utf16Units units;
    for (size_t i = from; i + 1 < bytes.size(); i += 2)
        if (!units.Unit(static_cast<unsigned char>(bytes[i]) | static_cast<unsigned char>(bytes[i + 1]) << 8, put))
            return;
    units.End(put);
}

template <typename Put>
void EachCp1252(const std::string& bytes, Put&& put)
{
    for (char b : bytes)
    {
        const auto u = static_cast<unsigned char>(b);
        if (!put(u >= 0x80 && u < 0xA0 ? kCp1252High[u - 0x80] : u, false))
            return;
    }
}

// What a first pass learns of the code points, to choose how to read them and how many lines
// they make. ASCII is only counted, each character in its own bin, to keep the pass cheap.
class Census
{
public:
    bool operator()(char32_t c, bool invalid)
    {
        if (m_first < 2)
            m_firstTwo[m_first++] = c;
        m_last = c;
        if (c < 0x80)
            ++m_ascii[c];
        else
        {
            ++m_other;
            m_replacements += c == kReplacement;
            m_invalid += invalid;
        }
        return true;
    }

    size_t Count() const { return m_other + Sum(0, 0x80); }
    size_t Zeros() const { return Of('\0'); }
    size_t Replacements() const { return m_replacements; }
    size_t Invalid() const { return m_invalid; }
    // The lines they make: one at each line feed, and one for what follows the last.
    size_t Lines() const { return Of('\n') + (Count() && m_last != '\n'); }
    // A text has almost no control characters (other than tab, CR and LF).
    bool LooksBinary() const { return (Sum(0, 0x20) - Of('\t') - Of('\r') - Of('\n')) * 10 > Count(); }
    // The two U+FFFD that a UTF-16 byte-order mark becomes when read as UTF-8.
    bool LeadingPair() const { return m_first == 2 && m_firstTwo[0] == kReplacement && m_firstTwo[1] == kReplacement; }
    // UTF-16 without a byte-order mark: a zero beside most characters.
    bool ZerosOfUtf16() const { return Zeros() > 0 && Zeros() * 4 >= Count(); }
    // UTF-16 that the collector read as UTF-8: its byte-order mark, then zeros or nothing but
    // line ends; or the zeros alone.
    bool Utf16ReadAsUtf8() const
    {
        if (!LeadingPair())
            return ZerosOfUtf16();
        return Zeros() > 0 || Of('\r') + Of('\n') == Count() - 2;
    }

private:
    size_t Of(char c) const { return m_ascii[static_cast<unsigned char>(c)]; }
    size_t Sum(size_t from, size_t to) const
    {
        size_t sum = 0;
        for (size_t c = from; c < to; ++c)
            sum += m_ascii[c];
        return sum;
    }

    size_t m_ascii[0x80] = {};
    size_t m_other = 0, m_replacements = 0, m_invalid = 0, m_first = 0;
    char32_t m_firstTwo[2] = {}, m_last = 0;
};

template <typename Source>
Census Count(Source each)
{
    Census census;
    each(census);
    return census;
}

// Lines at "\n"; every "\r" at a line's end goes (the collector's lines end in "\r\r\n" when the
// command wrote CR LF). A final line end opens no further line. The bounds apply here: once
// kMaxLines are kept it wants no more, and the census tells how many were left out.
class LineBuilder
{
public:
    LineBuilder(Text& text, const Census& census) : m_text(text)
    {
        const size_t lines = census.Lines();
        text.lines.reserve(std::min(lines, kMaxLines));
        text.linesLeftOut = lines > kMaxLines ? lines - kMaxLines : 0;
    }

    bool operator()(char32_t c, bool)
    {
        if (c == '\n')
            return EndLine();
        m_open = true;
        if (c == '\r')
        {
            ++m_returns; // kept only when more of the line follows
            return true;
        }
        for (; m_returns; --m_returns)
            Append('\r');
        Append(c);
        return true;
    }
    void Finish()
    {
        if (m_open)
            EndLine();
    }

private:
    void Append(char32_t c)
    {
        if (m_cut)
            return;
        const size_t before = m_line.size();
        AppendUtf8(m_line, c);
        if (m_line.size() > kMaxLineBytes)
        {
            m_line.resize(before);
            m_cut = true;
        }
    }
    bool EndLine()
    {
        m_text.lines.push_back(m_line); // a copy of its own size; the buffer serves the next line
        m_text.cutLines += m_cut;
        m_line.clear();
        m_returns = 0;
        m_cut = m_open = false;
        return m_text.lines.size() < kMaxLines;
    }

    Text& m_text;
    std::string m_line;
    size_t m_returns = 0;
    bool m_cut = false, m_open = false;
};

template <typename Source>
void BuildLines(Source each, const Census& census, Text& text)
{
    LineBuilder lines(text, census);
    each(lines);
    lines.Finish();
}

// The child's byte stream behind a collector's file: the saved lines (each followed by "\r\n")
// joined again by the line feeds that split them, the CR that the collector added before each
// LF taken away. A code point below 0x80 was that byte; any other but U+FFFD was a valid UTF-8
// sequence, so its encoding gives the bytes back; U+FFFD is one byte lost. put(value, known).
template <typename Put>
class ChildBytes
{
public:
    explicit ChildBytes(Put& put) : m_put(put) {}

    bool operator()(char32_t c, bool)
    {
        const bool feed = m_feed;
        m_feed = false;
        if (feed && !Emit('\n')) // more follows the line end: it joins two lines
            return false;
        if (c == '\r')
        {
            ++m_returns;
            return true;
        }
        if (c == '\n' && m_returns)
            --m_returns; // the collector's own CR
        if (!EmitReturns())
            return false;
        m_feed = c == '\n';
        return m_feed || Emit(c);
    }
    void Finish() { EmitReturns(); }

private:
    bool EmitReturns()
    {
        for (; m_returns; --m_returns)
            if (!Emit('\r'))
                return false;
        return true;
    }
    bool Emit(char32_t c)
    {
        if (c == kReplacement)
            return m_put(0, false);
        std::string encoded;
        AppendUtf8(encoded, c);
        for (char b : encoded)
            if (!m_put(static_cast<unsigned char>(b), true))
                return false;
        return true;
    }

    Put& m_put;
    size_t m_returns = 0;
    bool m_feed = false;
};

// The child's bytes of the saved text, after the first `skip` of them.
template <typename Put>
void EachChildByte(const std::string& saved, size_t skip, Put&& put)
{
    auto after = [&](unsigned char value, bool known) {
        if (!skip)
            return put(value, known);
        --skip;
        return true;
    };
    ChildBytes<decltype(after)> bytes(after);
    EachUtf8(saved, 0, bytes);
    bytes.Finish();
}

// Without a byte-order mark, the zero high bytes of ASCII text tell the byte order.
bool BigEndian(const std::string& saved, size_t skip)
{
    size_t position = 0, zerosEven = 0, zerosOdd = 0;
    EachChildByte(saved, skip, [&](unsigned char value, bool known) {
        if (known && value == 0)
            ++(position % 2 ? zerosOdd : zerosEven);
        ++position;
        return true;
    });
    return zerosEven > zerosOdd;
}

void RecoverUtf16(const std::string& saved, const Census& census, Text& text)
{
    const size_t skip = census.LeadingPair() ? 2 : 0;
    const bool bigEndian = BigEndian(saved, skip);
    auto units = [&](auto& put) {
        Utf16Units decoder;
        unsigned char first = 0;
        bool firstKnown = false, odd = false;
        EachChildByte(saved, skip, [&](unsigned char value, bool known) {
            odd = !odd;
            if (odd)
            {
                first = value;
                firstKnown = known;
                return true;
            }
            if (!firstKnown || !known)
                return decoder.Lost(put);
            return decoder.Unit(bigEndian ? (first << 8 | value) : (value << 8 | first), put);
        });
        decoder.End(put);
    };
    text.form = TextForm::Utf16ReadAsUtf8;
    BuildLines(units, Count(units), text);
    text.lostCharacters = census.Replacements() - skip;
}

template <typename Source>
bool SystemLines(Source each, const Census& census, TextForm form, Text& text, std::string& problem)
{
    if (census.LooksBinary())
    {
        problem = "holds binary data, not text";
        return false;
    }
    text.form = form;
    BuildLines(each, census, text);
    return true;
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
    EachUtf8(bytes, 0, [&](char32_t c, bool bad) {
        out.push_back(c);
        invalid += bad;
        return true;
    });
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
    auto saved = [&](auto& put) { EachUtf8(bytes, 0, put); };
    const Census census = Count(saved);
    text = Text();
    if (census.Utf16ReadAsUtf8())
    {
        RecoverUtf16(bytes, census, text);
        return true;
    }
    if (census.LooksBinary())
    {
        problem = "holds binary data, not text";
        return false;
    }
    BuildLines(saved, census, text);
    text.lostCharacters = census.Replacements() - census.Invalid();
    if (census.Invalid())
        problem = std::to_string(census.Invalid()) + " bytes that are not UTF-8, read as U+FFFD";
    return true;
}

bool DecodeSystemText(const std::string& bytes, Text& text, std::string& problem)
{
    text = Text();
    auto at = [&](size_t i) { return i < bytes.size() ? static_cast<unsigned char>(bytes[i]) : -1; };
    auto utf16From = [&](size_t from) { return [&bytes, from](auto& put) { EachUtf16(bytes, from, put); }; };
    auto utf8From = [&](size_t from) { return [&bytes, from](auto& put) { EachUtf8(bytes, from, put); }; };
    if (at(0) == 0xFF && at(1) == 0xFE)
        return SystemLines(utf16From(2), Count(utf16From(2)), TextForm::Utf16Le, text, problem);
    if (at(0) == 0xEF && at(1) == 0xBB && at(2) == 0xBF)
        return SystemLines(utf8From(3), Count(utf8From(3)), TextForm::Utf8, text, problem);
    const Census census = Count(utf8From(0));
    if (census.Invalid())
    {
        auto ansi = [&bytes](auto& put) { EachCp1252(bytes, put); };
        return SystemLines(ansi, Count(ansi), TextForm::Ansi, text, problem);
    }
    // UTF-16LE without its byte-order mark shows as ASCII with a zero after each letter.
    if (census.ZerosOfUtf16())
        return SystemLines(utf16From(0), Count(utf16From(0)), TextForm::Utf16Le, text, problem);
    return SystemLines(utf8From(0), census, TextForm::Utf8, text, problem);
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
