#pragma once
// Records of mpdiag.log: "HH:MM:SS", a level marker, the message; a message's own line breaks
// continue it on the following lines.
#include "read/text.h"

#include <string>
#include <vector>

namespace report
{
enum class LogLevel
{
    Fatal,
    Error,
    Warning,
    Message,
};

// The longest message a record keeps: a record with continuation lines past it is cut there.
const size_t kMaxMessageBytes = 65536;

struct LogRecord
{
    size_t line = 0; // 1-based line of the record's first line
    std::string time;
    LogLevel level = LogLevel::Message;
    std::string message; // continuation lines joined with "\n"
    bool cut = false;    // longer than kMaxMessageBytes
};

std::vector<LogRecord> ParseDiagLog(const Text& text);

// Whether the record is one of the recovery image search's (the store walk and its failures).
bool IsRecoverySearchRecord(const LogRecord& record);
} // namespace report
