// Boot and disk trouble in the System event log of an extended run.
#include "check/checks.h"
#include "check/event_rules.h"

#include <algorithm>

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
    {Trouble::ControllerError, "events.controller-error", Severity::Warning, "storage controller errors and resets",
     "Check the controller's driver and firmware, and its cabling."},
    {Trouble::UnexpectedShutdown, "events.unexpected-shutdown", Severity::Warning, "unexpected shutdowns",
     "Power loss or hangs; if they go with bug checks, those come first."},
};
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
    const EventLog log = ReadEventLog(file);
    if (!log.read)
    {
        bundle.Note(entry, "could not be read: " + log.problem + "; left out of the report");
        return;
    }
    if (log.unreadableRecords)
        bundle.Note(entry, std::to_string(log.unreadableRecords) + " damaged records left out");
    for (const TroubleKind& kind : kTroubles)
    {
        std::vector<const EventRecord*> records;
        for (const EventRecord& record : log.records)
            if (Classify(record) == kind.trouble)
                records.push_back(&record);
        if (records.empty())
            continue;
        std::stable_sort(records.begin(), records.end(),
                         [](const EventRecord* a, const EventRecord* b) { return a->filetime > b->filetime; });
        Finding& finding = report.Add(kind.id, kind.severity,
                                      std::to_string(records.size()) + " " + kind.what + " in the System log, the newest " +
                                          FormatFiletime(records.front()->filetime),
                                      kind.advice);
        for (size_t i = 0; i < records.size() && i < 5; ++i)
            finding.evidence.push_back({entry, 0,
                                        FormatFiletime(records[i]->filetime) + " " + records[i]->provider + " event " +
                                            std::to_string(records[i]->eventId) + " (record " + std::to_string(records[i]->record) + ")"});
    }
}
} // namespace report
