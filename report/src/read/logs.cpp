#include "read/logs.h"

#include <regex>

namespace report
{
std::vector<LogLine> SetupLogErrors(const Text& text)
{
    static const std::regex error(R"(^\d{4}-\d\d-\d\d \d\d:\d\d:\d\d, (Error|Fatal|Fatal Error)\s+(.*)$)");
    std::vector<LogLine> lines;
    std::smatch match;
    for (size_t i = 0; i < text.lines.size(); ++i)
        if (std::regex_match(text.lines[i], match, error))
            lines.push_back({i + 1, match.str(2)});
    return lines;
}

std::vector<LogLine> ProductLogErrors(const Text& text)
{
    static const std::regex error(R"((^|[^A-Za-z])(error|fatal|failed|exception)([^A-Za-z]|$)| ! )", std::regex::icase);
    static const std::regex stamp(R"(^[\[\d][\d\-/.: \]T,]*)");
    std::vector<LogLine> lines;
    for (size_t i = 0; i < text.lines.size(); ++i)
        if (std::regex_search(text.lines[i], error))
            lines.push_back({i + 1, Trim(std::regex_replace(text.lines[i], stamp, ""))});
    return lines;
}
} // namespace report
