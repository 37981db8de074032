#pragma once
// Records of a Windows event log (.evtx) and the boot and disk trouble among them.
#include <cstdint>
#include <string>
#include <vector>

namespace report
{
struct EventRecord
{
    uint64_t record = 0;
    uint64_t filetime = 0; // when it was written
    uint32_t eventId = 0;
    int level = 0; // 1 critical, 2 error, 3 warning, 4 information
    std::string provider;
};

struct EventLog
{
    bool read = false;
    std::string problem;
    size_t unreadableRecords = 0;
    std::vector<EventRecord> records;
};

EventLog ReadEventLog(const std::string& file);

enum class Trouble
{
    None,
    UnexpectedShutdown,
    BugCheck,
    DiskError,
    ControllerError,
};

// The kind of boot or disk trouble a System log record reports.
Trouble Classify(const EventRecord& record);
std::string FormatFiletime(uint64_t filetime);
} // namespace report
