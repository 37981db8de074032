#include "read/evtx.h"

#include "read/text.h"

#include <libevtx.h>

#include <algorithm>
#include <cstring>
#include <fstream>

namespace report
{
namespace
{
// The file's layout (libyal's "Windows XML Event Log (EVTX) format"): a 4096-byte file header,
// then chunks of 65536 bytes, each starting with the signature "ElfChnk\0".
const size_t kFileHeaderSize = 4096;
const size_t kChunkSize = 65536;
const char kChunkSignature[8] = {'E', 'l', 'f', 'C', 'h', 'n', 'k', '\0'};
const size_t kXmlCap = 1u << 20;

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
    if (size(record, &length, nullptr) != 1 || length == 0 || length > kXmlCap)
        return "";
    std::string text(length, '\0');
    if (get(record, reinterpret_cast<uint8_t*>(&text[0]), length, nullptr) != 1)
        return "";
    text.resize(text.find('\0'));
    return text;
}

// The text between an element's start tag and its end, trimmed; false when the element is absent.
bool ElementText(const std::string& xml, const std::string& element, std::string& text)
{
    const size_t open = xml.find("<" + element);
    const size_t close = open == std::string::npos ? open : xml.find('>', open);
    const size_t end = close == std::string::npos ? close : xml.find('<', close);
    if (end == std::string::npos)
        return false;
    text = Trim(xml.substr(close + 1, end - close - 1));
    return true;
}

// An attribute's value within the tag [from, to); "" when absent.
std::string Attribute(const std::string& xml, size_t from, size_t to, const std::string& name)
{
    const std::string key = name + "=\"";
    for (size_t at = xml.find(key, from); at != std::string::npos && at < to; at = xml.find(key, at + 1))
    {
        if (at > from && xml[at - 1] != ' ' && xml[at - 1] != '\t' && xml[at - 1] != '\n')
            continue;
        const size_t end = xml.find('"', at + key.size());
        if (end == std::string::npos || end > to)
            return "";
        return xml.substr(at + key.size(), end - at - key.size());
    }
    return "";
}

// A decimal number no larger than `most`; false for anything else (no digits, too many, too large).
bool SmallNumber(const std::string& text, unsigned long most, unsigned long& value)
{
    if (text.empty() || text.size() > 10)
        return false;
    unsigned long long number = 0;
    for (char c : text)
    {
        if (c < '0' || c > '9')
            return false;
        number = number * 10 + static_cast<unsigned>(c - '0');
    }
    if (number > most)
        return false;
    value = static_cast<unsigned long>(number);
    return true;
}

std::string Unescape(const std::string& text)
{
    static const std::pair<const char*, char> kEntities[] = {{"&lt;", '<'}, {"&gt;", '>'}, {"&amp;", '&'}, {"&quot;", '"'}, {"&apos;", '\''}};
    std::string out;
    for (size_t i = 0; i < text.size(); ++i)
    {
        bool replaced = false;
        if (text[i] == '&')
            for (const auto& entity : kEntities)
                if (text.compare(i, strlen(entity.first), entity.first) == 0)
                {
                    out.push_back(entity.second);
                    i += strlen(entity.first) - 1;
                    replaced = true;
                    break;
                }
        if (!replaced)
            out.push_back(text[i]);
    }
    return out;
}

// The <Data> items of the record's <EventData>, bounded in number and length.
std::vector<EventData> ReadEventData(const std::string& xml)
{
    std::vector<EventData> data;
    const size_t begin = xml.find("<EventData");
    const size_t end = begin == std::string::npos ? begin : xml.find("</EventData>", begin);
    if (end == std::string::npos)
        return data;
    for (size_t at = xml.find("<Data", begin); at != std::string::npos && at < end && data.size() < kEventDataCap;
         at = xml.find("<Data", at + 1))
    {
        const char next = at + 5 < xml.size() ? xml[at + 5] : '\0';
        if (next != ' ' && next != '>' && next != '/')
            continue;
        const size_t tagEnd = xml.find('>', at);
        if (tagEnd == std::string::npos || tagEnd >= end)
            break;
        EventData item;
        item.name = Attribute(xml, at, tagEnd, "Name");
        if (xml[tagEnd - 1] != '/')
        {
            const size_t close = xml.find("</Data>", tagEnd);
            if (close == std::string::npos || close > end)
                break;
            item.value = Unescape(xml.substr(tagEnd + 1, std::min(close - tagEnd - 1, kEventDataValueCap)));
            at = close;
        }
        data.push_back(item);
    }
    return data;
}

enum class Fields
{
    Read,
    Unreadable, // the library could not read the record
    Bad,        // an event id or level that is no number Windows writes
};

// From the record's XML, for records whose values the library does not hand out one by one.
Fields FromXml(const std::string& xml, EventRecord& record)
{
    std::string text;
    unsigned long number = 0;
    if (!ElementText(xml, "EventID", text))
        return Fields::Unreadable;
    if (!SmallNumber(text, 0xFFFF, number))
        return Fields::Bad;
    record.eventId = static_cast<uint32_t>(number);
    if (record.provider.empty())
    {
        const size_t open = xml.find("<Provider");
        const size_t close = open == std::string::npos ? open : xml.find('>', open);
        if (close != std::string::npos)
            record.provider = Attribute(xml, open, close, "Name");
    }
    if (record.level == 0 && ElementText(xml, "Level", text))
    {
        if (!SmallNumber(text, 0xFF, number))
            return Fields::Bad;
        record.level = static_cast<int>(number);
    }
    return Fields::Read;
}

Fields ReadRecord(libevtx_record_t* handle, const WantsEventData& wantsData, EventRecord& record)
{
    libevtx_record_get_identifier(handle, &record.record, nullptr);
    libevtx_record_get_written_time(handle, &record.filetime, nullptr);
    uint8_t level = 0;
    if (libevtx_record_get_event_level(handle, &level, nullptr) == 1)
        record.level = level;
    record.provider = Utf8String(handle, libevtx_record_get_utf8_source_name_size, libevtx_record_get_utf8_source_name);
    std::string xml;
    if (libevtx_record_get_event_identifier(handle, &record.eventId, nullptr) != 1 || record.provider.empty())
    {
        xml = Utf8String(handle, libevtx_record_get_utf8_xml_string_size, libevtx_record_get_utf8_xml_string);
        const Fields fields = FromXml(xml, record);
        if (fields != Fields::Read)
            return fields;
    }
    if (wantsData && wantsData(record))
    {
        if (xml.empty())
            xml = Utf8String(handle, libevtx_record_get_utf8_xml_string_size, libevtx_record_get_utf8_xml_string);
        record.data = ReadEventData(xml);
    }
    return Fields::Read;
}

// Chunks that hold data but not the chunk signature: the library skips them, and their records
// with them. Unused chunks are all zero.
size_t DamagedChunks(const std::string& file)
{
    std::ifstream in(file, std::ios::binary);
    std::string chunk(kChunkSize, '\0');
    if (!in.read(&chunk[0], kFileHeaderSize) || chunk.compare(0, 8, std::string("ElfFile\0", 8)) != 0)
        return 0;
    size_t damaged = 0;
    while (in.read(&chunk[0], kChunkSize))
        if (memcmp(chunk.data(), kChunkSignature, sizeof kChunkSignature) != 0 &&
            chunk.find_first_not_of('\0') != std::string::npos)
            ++damaged;
    return damaged;
}
} // namespace

const std::string* EventRecord::Data(const std::string& name) const
{
    for (const EventData& item : data)
        if (item.name == name)
            return &item.value;
    return nullptr;
}

EventLog ReadEventLog(const std::string& file, const WantsEventData& wantsData)
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
    log.capped = static_cast<size_t>(count) > kRecordCap;
    for (int i = 0; i < count && static_cast<size_t>(i) < kRecordCap; ++i)
    {
        libevtx_record_t* handle = nullptr;
        EventRecord record;
        const Fields fields = libevtx_file_get_record_by_index(evtx.file, i, &handle, nullptr) == 1
                                  ? ReadRecord(handle, wantsData, record)
                                  : Fields::Unreadable;
        if (fields == Fields::Read)
            log.records.push_back(std::move(record));
        else
            ++(fields == Fields::Bad ? log.badFields : log.unreadableRecords);
        if (handle)
            libevtx_record_free(&handle, nullptr);
    }
    log.damagedChunks = DamagedChunks(file);
    log.read = true;
    return log;
}
} // namespace report
