#pragma once
// Records of a Windows event log (.evtx): provider, event id, level and time of each.
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

std::string FormatFiletime(uint64_t filetime);
} // namespace report
