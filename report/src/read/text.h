#pragma once
// Turning the bytes of an archive entry into lines of UTF-8 text.
#include <cstddef>
#include <string>
#include <vector>

namespace report
{
// What decoding keeps of one file, whatever its content: the lines after the first kMaxLines are
// counted and left out, and a line's bytes past kMaxLineBytes are cut off. With the archive's cap
// on an entry's bytes this bounds a file's text to a few times its size.
const size_t kMaxLines = 1000000;
const size_t kMaxLineBytes = 16384;

// How the bytes of a file were read.
enum class TextForm
{
    Utf8,            // UTF-8 (what the collector writes)
    Utf16ReadAsUtf8, // UTF-16LE output that the collector decoded as UTF-8, recovered here
    Utf16Le,         // UTF-16LE (registry exports, INF files)
    Ansi,            // single-byte text without a byte-order mark, read as Windows-1252
};

struct Text
{
    std::vector<std::string> lines; // UTF-8, each without its line end
    TextForm form = TextForm::Utf8;
    // Characters the collector's decoding turned into U+FFFD (a byte-order mark's not counted).
    size_t lostCharacters = 0;
    size_t cutLines = 0;     // lines longer than kMaxLineBytes, kept up to there
    size_t linesLeftOut = 0; // lines after the first kMaxLines
};

// A command's output as the collector saved it: UTF-8, each captured line followed by "\r\n".
// UTF-16 output that went through the collector's UTF-8 decoding is rebuilt. False, with the
// reason, when the bytes hold no text.
bool DecodeCapturedOutput(const std::string& bytes, Text& text, std::string& problem);
// A file that Windows wrote itself: UTF-16LE or UTF-8 with a byte-order mark, or without one
// UTF-8 or ANSI.
bool DecodeSystemText(const std::string& bytes, Text& text, std::string& problem);

void AppendUtf8(std::string& out, char32_t c);
// Code points of UTF-8 bytes; each byte of an invalid sequence becomes U+FFFD.
std::u32string DecodeUtf8(const std::string& bytes, size_t* invalidBytes = nullptr);
std::string EncodeUtf8(const std::u32string& text);

std::string AsciiLower(std::string s);
std::string AsciiUpper(std::string s);
std::string Trim(const std::string& s);
bool StartsWithNoCase(const std::string& s, const std::string& prefix);
bool EqualsNoCase(const std::string& a, const std::string& b);
} // namespace report
