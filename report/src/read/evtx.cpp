#include "read/evtx.h"

#include "read/text.h"

#include <libevtx.h>

#include <ctime>
#include <regex>

namespace report
{
namespace
{
const size_t kRecordCap = 2000000;

struct EvtxFile
{
    libevtx_file_t* file = nullptr;
    ~EvtxFile()
    {
        if (file)
        {
            libevtx_file_close(file, nullptr);
            libevtx_file_free(&file, nullptr);
        }
    }
};

std::string ErrorText(libevtx_error_t*& error)
{
    char text[512] = "";
    if (error)
    {
        libevtx_error_sprint(error, text, sizeof text);
        libevtx_error_free(&error);
    }
    std::string message = text;
    return message.substr(0, message.find('\n'));
}

std::string Utf8String(libevtx_record_t* record,
                       int (*size)(libevtx_record_t*, size_t*, libevtx_error_t**),
                       int (*get)(libevtx_record_t*, uint8_t*, size_t, libevtx_error_t**))
{
    size_t length = 0;
    if (size(record, &length, nullptr) != 1 || length == 0 || length > (1u << 20))
        return "";
    std::string text(length, '\0');
    if (get(record, reinterpret_cast<uint8_t*>(&text[0]), length, nullptr) != 1)
        return "";
    text.resize(text.find('\0'));
    return text;
}

// From the record's XML, for records whose values the library does not hand out one by one.
bool FromXml(libevtx_record_t* handle, EventRecord& record)
{
    const std::string xml = Utf8String(handle, libevtx_record_get_utf8_xml_string_size, libevtx_record_get_utf8_xml_string);
    static const std::regex id(R"(<EventID[^>]*>\s*(\d+)\s*</EventID>)");
    static const std::regex provider(R"re(<Provider\s[^>]*Name="([^"]*)")re");
    static const std::regex level(R"(<Level>\s*(\d+)\s*</Level>)");
    std::smatch match;
    if (!std::regex_search(xml, match, id))
        return false;
    record.eventId = static_cast<uint32_t>(std::stoul(match.str(1)));
    if (record.provider.empty() && std::regex_search(xml, match, provider))
        record.provider = match.str(1);
    if (record.level == 0 && std::regex_search(xml, match, level))
        record.level = std::stoi(match.str(1));
    return true;
}

bool ReadRecord(libevtx_record_t* handle, EventRecord& record)
{
    libevtx_record_get_identifier(handle, &record.record, nullptr);
    libevtx_record_get_written_time(handle, &record.filetime, nullptr);
    uint8_t level = 0;
    if (libevtx_record_get_event_level(handle, &level, nullptr) == 1)
        record.level = level;
    record.provider = Utf8String(handle, libevtx_record_get_utf8_source_name_size, libevtx_record_get_utf8_source_name);
    if (libevtx_record_get_event_identifier(handle, &record.eventId, nullptr) == 1 && !record.provider.empty())
        return true;
    return FromXml(handle, record);
}
} // namespace

EventLog ReadEventLog(const std::string& file)
{
    EventLog log;
    EvtxFile evtx;
    libevtx_error_t* error = nullptr;
    if (libevtx_file_initialize(&evtx.file, &error) != 1)
    {
        log.problem = ErrorText(error);
        return log;
    }
    if (libevtx_file_open(evtx.file, file.c_str(), LIBEVTX_OPEN_READ, &error) != 1)
    {
        // The library's message names the private copy's path, which means nothing to the reader.
        libevtx_error_free(&error);
        log.problem = "not an event log";
        libevtx_file_free(&evtx.file, nullptr);
        return log;
    }
    int count = 0;
    if (libevtx_file_get_number_of_records(evtx.file, &count, &error) != 1)
    {
        log.problem = ErrorText(error);
        return log;
    }
    for (int i = 0; i < count && static_cast<size_t>(i) < kRecordCap; ++i)
    {
        libevtx_record_t* handle = nullptr;
        EventRecord record;
        if (libevtx_file_get_record_by_index(evtx.file, i, &handle, nullptr) == 1 && ReadRecord(handle, record))
            log.records.push_back(record);
        else
            ++log.unreadableRecords;
        if (handle)
            libevtx_record_free(&handle, nullptr);
    }
    log.read = true;
    return log;
}

std::string FormatFiletime(uint64_t filetime)
{
    if (filetime < 116444736000000000ull)
        return "(no time)";
    const time_t seconds = static_cast<time_t>((filetime - 116444736000000000ull) / 10000000ull);
    struct tm utc;
    gmtime_r(&seconds, &utc);
    char text[32];
    strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S UTC", &utc);
    return text;
}
} // namespace report
