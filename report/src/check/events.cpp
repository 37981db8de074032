// Boot and disk trouble in the System event log of an extended run.
#include "check/checks.h"
#include "check/event_rules.h"

#include <algorithm>
#include <deque>

namespace report
{
namespace
{
struct TroubleKind
{
    Trouble trouble;
    const char* id;
    Severity severity;
    const char* what;
    const char* advice;
};

const TroubleKind kTroubles[] = {
    {Trouble::BugCheck, "events.bug-check", Severity::Error, "bug checks (blue screens)",
     "Look up the stop codes; a driver or disk fault behind them can also stop the recovery environment."},
    {Trouble::DiskError, "events.disk-error", Severity::Error, "disk or file system errors",
     "Check the disk's health (SMART, chkdsk) before restoring to it or backing it up."},
    {Trouble::DiskWarning, "events.disk-warning", Severity::Warning, "disk warnings (paging errors, retried I/O)",
     "Windows retried or failed reads on the disk named; check its health (SMART) and its cabling before relying on it."},
    {Trouble::DiskRemoved, "events.disk-removed", Severity::Warning, "disks removed while in use",
     "A disk dropped out while Windows used it: an external disk that was unplugged, or a loose cable or failing "
     "enclosure; check which disk it was before restoring to it."},
    {Trouble::ControllerError, "events.controller-error", Severity::Warning, "storage controller errors and resets",
     "Requests to the disk timed out and the controller was reset: check the controller's driver and firmware, the disk "
     "and its cabling."},
    {Trouble::UnexpectedShutdown, "events.unexpected-shutdown", Severity::Warning, "unexpected shutdowns",
     "Power loss or hangs; if they go with bug checks, those come first."},
};

const size_t kEvidenceCap = 5;

// The event log service logs 6005 once at every start, before the records of that start's
// shutdown report (EventLog 6008, Kernel-Power 41).
bool StartsABoot(const EventRecord& record)
{
    return record.eventId == 6005 && EqualsNoCase(record.provider, "EventLog");
}

const char* LevelName(int level)
{
    return level == 1 ? "critical" : level == 2 ? "error" : level == 3 ? "warning" : "information";
}

std::string Describe(const EventRecord& record)
{
    const EventRule* rule = RuleFor(record);
    std::string text = FormatFiletime(record.filetime) + " " + record.provider + " event " + std::to_string(record.eventId) +
                       ", " + LevelName(record.level) + " (record " + std::to_string(record.record) + ")";
    if (rule)
        text += ": " + std::string(rule->meaning);
    std::string data;
    for (const EventData& item : record.data)
        if (data.size() < 200)
            data += (data.empty() ? "" : ", ") + (item.name.empty() ? "" : item.name + "=") + item.value.substr(0, 80);
    return data.empty() ? text : text + " [" + data + "]";
}

// The records of one incident: one record, or a start's Kernel-Power 41 with its EventLog 6008.
using Incident = std::vector<const EventRecord*>;

// Unexpected shutdowns, one per start: within the records between two starts of the event log
// service, each Kernel-Power 41 pairs with one EventLog 6008 (both report the same shutdown).
std::vector<Incident> Shutdowns(const std::vector<EventRecord>& log)
{
    // In the order Windows wrote them: a log that wrapped around keeps its chunks out of order.
    std::vector<const EventRecord*> records;
    for (const EventRecord& record : log)
        records.push_back(&record);
    std::stable_sort(records.begin(), records.end(), [](const EventRecord* a, const EventRecord* b) { return a->record < b->record; });
    std::vector<Incident> incidents;
    std::deque<size_t> open41, open6008; // incidents of this start still missing their partner
    for (const EventRecord* each : records)
    {
        const EventRecord& record = *each;
        if (StartsABoot(record))
        {
            open41.clear();
            open6008.clear();
            continue;
        }
        if (Classify(record) != Trouble::UnexpectedShutdown)
            continue;
        const bool power = record.eventId == 41;
        std::deque<size_t>& partners = power ? open6008 : open41;
        if (!partners.empty())
        {
            incidents[partners.front()].push_back(&record);
            partners.pop_front();
            continue;
        }
        (power ? open41 : open6008).push_back(incidents.size());
        incidents.push_back({&record});
    }
    return incidents;
}

uint64_t Newest(const Incident& incident)
{
    uint64_t newest = 0;
    for (const EventRecord* record : incident)
        newest = std::max(newest, record->filetime);
    return newest;
}

void NoteReading(const EventLog& log, const std::string& entry, Bundle& bundle)
{
    if (log.unreadableRecords)
        bundle.Note(entry, std::to_string(log.unreadableRecords) + " damaged records left out");
    if (log.badFields)
        bundle.Note(entry, std::to_string(log.badFields) + " records whose event id or level is no number Windows writes left out");
    if (log.damagedChunks)
        bundle.Note(entry, std::to_string(log.damagedChunks) +
                               " damaged chunks (data without a chunk signature): the records in them were left out");
    if (log.capped)
        bundle.Note(entry, "only the first " + std::to_string(kRecordCap) + " records were read");
}
} // namespace

void CheckEvents(const Facts& facts, Bundle& bundle, Report& report)
{
    const std::string name = "System32/winevt/Logs/System.evtx";
    if (!facts.extended || !bundle.Has(name))
        return;
    const std::string entry = bundle.StoredName(name);
    const std::string file = bundle.Extract(name, kEventLogCap);
    if (file.empty())
        return;
    const EventLog log = ReadEventLog(file, MayMeetRule);
    if (!log.read)
    {
        bundle.Note(entry, "could not be read: " + log.problem + "; left out of the report");
        return;
    }
    NoteReading(log, entry, bundle);
    for (const TroubleKind& kind : kTroubles)
    {
        std::vector<Incident> incidents;
        if (kind.trouble == Trouble::UnexpectedShutdown)
            incidents = Shutdowns(log.records);
        else
            for (const EventRecord& record : log.records)
                if (Classify(record) == kind.trouble)
                    incidents.push_back({&record});
        if (incidents.empty())
            continue;
        std::stable_sort(incidents.begin(), incidents.end(), [](const Incident& a, const Incident& b) { return Newest(a) > Newest(b); });
        Finding& finding = report.Add(kind.id, kind.severity,
                                      std::to_string(incidents.size()) + " " + kind.what + " in the System log, the newest " +
                                          FormatFiletime(Newest(incidents.front())),
                                      kind.advice);
        for (size_t i = 0; i < incidents.size() && i < kEvidenceCap; ++i)
            for (const EventRecord* record : incidents[i])
                finding.evidence.push_back({entry, 0, Describe(*record)});
    }
}
} // namespace report
