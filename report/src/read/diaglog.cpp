#include "read/diaglog.h"

#include <cctype>

namespace report
{
namespace
{
bool IsTime(const std::string& line)
{
    if (line.size() < 8)
        return false;
    for (size_t i : {0, 1, 3, 4, 6, 7})
        if (!isdigit(static_cast<unsigned char>(line[i])))
            return false;
    return line[2] == ':' && line[5] == ':';
}

// The level marker after the time and the message's start, or false.
bool Marker(const std::string& line, LogLevel& level, size_t& start)
{
    const struct
    {
        const char* text;
        LogLevel level;
    } markers[] = {{" !!! ", LogLevel::Fatal}, {" ! ", LogLevel::Error}, {" - ", LogLevel::Warning},
                   {"   ", LogLevel::Message}};
    for (const auto& marker : markers)
        if (line.compare(8, std::string(marker.text).size(), marker.text) == 0)
        {
            level = marker.level;
            start = 8 + std::string(marker.text).size();
            return true;
        }
    return false;
}

const char* const kRecoveryPrefixes[] = {
    "System volume: ",
    "Check system volume for device: ",
    "System drive: ",
    "System drive signature: ",
    "Got drive signature (GPT): ",
    "Got partition signature (GPT): ",
    "System partition offset: ",
    "Can't get system drive",
    "Can't get system partition information",
    "Can't get current BCD object",
    "Can't get recover BCD object",
    "Can't get recover path",
    "Can't get into HKLM\\BCD00000000",
    "Can't get value HKLM\\BCD00000000",
    "GetBCDObjectPath. ",
    "Check volume: ",
    "Volume: ",
    "Output for command: \"bcdedit\"",
};
void Continue(LogRecord& record, const std::string& line)
{
    if (record.cut || record.message.size() + 1 + line.size() > kMaxMessageBytes)
    {
        record.cut = true;
        return;
    }
    record.message += '\n';
    record.message += line;
}
} // namespace

std::vector<LogRecord> ParseDiagLog(const Text& text)
{
    std::vector<LogRecord> records;
    for (size_t i = 0; i < text.lines.size(); ++i)
    {
        const std::string& line = text.lines[i];
        LogLevel level;
        size_t start = 0;
        if (IsTime(line) && Marker(line, level, start))
        {
            LogRecord record;
            record.line = i + 1;
            record.time = line.substr(0, 8);
            record.level = level;
            record.message = line.substr(start);
            records.push_back(std::move(record));
        }
        else if (!records.empty() && !line.empty())
            Continue(records.back(), line);
    }
    return records;
}

bool IsRecoverySearchRecord(const LogRecord& record)
{
    for (const char* prefix : kRecoveryPrefixes)
        if (record.message.compare(0, std::string(prefix).size(), prefix) == 0)
            return true;
    return false;
}
} // namespace report
