#pragma once
// Records of a Windows event log (.evtx): provider, event id, level and time of each, and the
// EventData of the records a caller asks for.
#include "read/filetime.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace report
{
struct EventData
{
    std::string name; // "" for the unnamed data of classic events
    std::string value;
};

struct EventRecord
{
    uint64_t record = 0;
    uint64_t filetime = 0; // when it was written
    uint32_t eventId = 0;  // the 16-bit id, without qualifiers
    int level = 0;         // 1 critical, 2 error, 3 warning, 4 information
    std::string provider;
    std::vector<EventData> data; // only for the records the caller asked for

    // The value of the named item; null when absent.
    const std::string* Data(const std::string& name) const;
};

struct EventLog
{
    bool read = false;
    std::string problem;
    size_t unreadableRecords = 0; // records the library could not read
    size_t badFields = 0;         // records whose event id or level is no number Windows writes
    size_t damagedChunks = 0;     // chunks that hold data but no chunk signature: their records are lost
    bool capped = false;          // more records than kRecordCap
    std::vector<EventRecord> records;
};

// Which records' EventData to read (reading it costs a rendering of the record's XML).
using WantsEventData = std::function<bool(const EventRecord&)>;

const size_t kRecordCap = 2000000;
// Most EventData items kept of a record, and the longest value kept.
const size_t kEventDataCap = 32;
const size_t kEventDataValueCap = 1024;

EventLog ReadEventLog(const std::string& file, const WantsEventData& wantsData = nullptr);
} // namespace report
