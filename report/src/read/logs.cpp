#include "read/logs.h"

#include <cstring>

namespace report
{
namespace
{
bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsLetter(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }
bool IsSpace(char c) { return c == ' ' || c == '\t' || c == '\v' || c == '\f' || c == '\r'; }

// Whether `line` starts with the shape, where '9' stands for a digit and any other character for
// itself.
bool StartsWithShape(const std::string& line, const char* shape)
{
    size_t i = 0;
    for (; shape[i]; ++i)
        if (i >= line.size() || (shape[i] == '9' ? !IsDigit(line[i]) : line[i] != shape[i]))
            return false;
    return true;
}

// The level word at `pos`, the longest first ("Fatal Error" before "Fatal"), followed by
// white space; the text after that space, or false.
bool ErrorLevel(const std::string& line, size_t pos, std::string& text)
{
    for (const char* level : {"Fatal Error", "Error", "Fatal"})
    {
        const std::string word = level;
        size_t end = pos + word.size();
        if (line.compare(pos, word.size(), word) != 0 || end >= line.size() || !IsSpace(line[end]))
            continue;
        while (end < line.size() && IsSpace(line[end]))
            ++end;
        text = line.substr(end);
        return true;
    }
    return false;
}

// Whether a word of the line (a run of ASCII letters) is one of the error words, in any case.
bool HasErrorWord(const std::string& line)
{
    for (size_t i = 0; i < line.size();)
    {
        if (!IsLetter(line[i]))
        {
            ++i;
            continue;
        }
        size_t end = i;
        while (end < line.size() && IsLetter(line[end]))
            ++end;
        for (const char* word : {"error", "fatal", "failed", "exception"})
            if (end - i == strlen(word) && EqualsNoCase(line.substr(i, end - i), word))
                return true;
        i = end;
    }
    return false;
}

// The line without a leading time stamp: "[" or a digit, then digits, "-/.: ]T,".
std::string WithoutStamp(const std::string& line)
{
    if (line.empty() || !(line[0] == '[' || IsDigit(line[0])))
        return Trim(line);
    size_t end = 1;
    while (end < line.size() && (IsDigit(line[end]) || std::string("-/.: ]T,").find(line[end]) != std::string::npos))
        ++end;
    return Trim(line.substr(end));
}
} // namespace

std::vector<LogLine> SetupLogErrors(const Text& text)
{
    const char kStamp[] = "9999-99-99 99:99:99, ";
    std::vector<LogLine> lines;
    std::string message;
    for (size_t i = 0; i < text.lines.size(); ++i)
        if (StartsWithShape(text.lines[i], kStamp) && ErrorLevel(text.lines[i], sizeof kStamp - 1, message))
            lines.push_back({i + 1, message});
    return lines;
}

std::vector<LogLine> ProductLogErrors(const Text& text)
{
    std::vector<LogLine> lines;
    for (size_t i = 0; i < text.lines.size(); ++i)
        if (HasErrorWord(text.lines[i]) || text.lines[i].find(" ! ") != std::string::npos)
            lines.push_back({i + 1, WithoutStamp(text.lines[i])});
    return lines;
}
} // namespace report
