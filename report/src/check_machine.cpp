// Findings 4 to 7: the disks, the setup and product logs, the System event log, and what the
// collection missed.
#include "analysis.h"
#include "events.h"

#include <algorithm>
#include <cstdio>
#include <map>
#include <regex>

namespace report
{
namespace
{
std::string Hex32(uint32_t value)
{
    char text[16];
    snprintf(text, sizeof text, "0x%08X", value);
    return text;
}

std::string DescribeDisk(const Disk& disk)
{
    const std::string style = disk.Mbr()               ? "MBR (signature " + Hex32(disk.SignatureValue()) + ")"
                              : disk.signatureListed ? "GPT or not initialised (no signature)"
                                                     : "partition style not listed";
    std::string text = "disk " + (disk.index.empty() ? "?" : disk.index) + ": " + (disk.model.empty() ? "(no model)" : disk.model) +
                       ", " + style + ", " + FormatSize(disk.size);
    if (!disk.partitions.empty())
        text += ", " + disk.partitions + (disk.partitions == "1" ? " partition" : " partitions");
    if (!disk.status.empty())
        text += ", status " + disk.status;
    return text;
}

// Where a device's partition lies among the disks, for the recovery location finding.
// Only the recovery loader's own image warns; the system partition is only placed on its disk.
void Locate(const Facts& facts, const std::string& what, const BcdDevice& device, size_t line, bool warn, Report& report)
{
    if (!device.fromElement)
    {
        Finding& finding = report.Add("disks.recovery-location", Severity::Info, what + " lies on " + device.partitionText, "");
        finding.evidence.push_back({facts.store.entry, line, device.text});
        return;
    }
    if (device.gpt)
    {
        Finding& finding = report.Add("disks.recovery-location", Severity::Info,
                                      what + " lies on GPT disk {" + device.diskGuid + "}, partition {" + device.partitionGuid + "}", "");
        finding.evidence.push_back({facts.store.entry, line, device.Describe()});
        finding.evidence.push_back({facts.disksEntry, 0, "wmic does not list GPT disk identifiers: the disk cannot be named"});
        return;
    }
    const Disk* disk = nullptr;
    bool signatures = false;
    for (const Disk& candidate : facts.disks)
    {
        signatures = signatures || candidate.Mbr();
        if (candidate.Mbr() && candidate.SignatureValue() == device.signature)
            disk = &candidate;
    }
    // Without a signature in the listing the disk cannot be told; that is no sign of trouble.
    if (!disk && (!warn || !signatures))
        return;
    if (!disk)
    {
        Finding& finding = report.Add("disks.recovery-disk-missing", Severity::Warning,
                                      what + " lies on MBR disk " + Hex32(device.signature) + ", which none of the machine's disks is",
                                      "The disk that held the recovery environment is gone or was replaced; recreate the "
                                      "recovery environment (\"reagentc /disable\", then \"reagentc /enable\").");
        finding.evidence.push_back({facts.store.entry, line, device.Describe()});
        for (const Disk& each : facts.disks)
            finding.evidence.push_back({facts.disksEntry, each.line, DescribeDisk(each)});
        return;
    }
    const bool outside = warn && disk->size > 0 && static_cast<uint64_t>(device.offset) >= disk->size;
    Finding& finding = outside
        ? report.Add("disks.recovery-partition-outside-disk", Severity::Warning,
                     what + " lies at offset " + FormatSize(static_cast<uint64_t>(device.offset)) + ", beyond the end of disk " + disk->index,
                     "The partition table changed after the recovery environment was registered; recreate it "
                     "(\"reagentc /disable\", then \"reagentc /enable\").")
        : report.Add("disks.recovery-location", Severity::Info,
                     what + " lies on disk " + disk->index + ", in the partition at offset " + FormatSize(static_cast<uint64_t>(device.offset)), "");
    finding.evidence.push_back({facts.store.entry, line, device.Describe()});
    finding.evidence.push_back({facts.disksEntry, disk->line, DescribeDisk(*disk)});
}

// Lines of a log grouped by their text with numbers masked, counted; the last few kept.
struct Group
{
    std::string key;
    size_t count = 0;
    size_t lastLine = 0;
    std::string lastText;
};

std::string Masked(const std::string& text)
{
    static const std::regex numbers(R"(0x[0-9A-Fa-f]+|[0-9A-Fa-f]{8,}|\d+)");
    return std::regex_replace(text, numbers, "#").substr(0, 120);
}

void ReportErrors(const std::string& id, const std::string& entry, const std::vector<std::pair<size_t, std::string>>& lines,
                  const std::string& what, const std::string& advice, Report& report)
{
    if (lines.empty())
        return;
    std::vector<Group> groups;
    std::map<std::string, size_t> index;
    for (const auto& line : lines)
    {
        const std::string key = Masked(line.second);
        if (!index.count(key))
        {
            index[key] = groups.size();
            groups.push_back({key, 0, 0, ""});
        }
        Group& group = groups[index[key]];
        ++group.count;
        group.lastLine = line.first;
        group.lastText = line.second;
    }
    Finding& finding = report.Add(id, Severity::Warning,
                                  std::to_string(lines.size()) + " " + what + " in " + entry + " (" + std::to_string(groups.size()) +
                                      (groups.size() == 1 ? " kind)" : " kinds)"),
                                  advice);
    finding.subject = entry;
    std::stable_sort(groups.begin(), groups.end(), [](const Group& a, const Group& b) { return a.lastLine > b.lastLine; });
    for (size_t i = 0; i < groups.size() && i < 5; ++i)
        finding.evidence.push_back({entry, groups[i].lastLine, groups[i].lastText + "  (" + std::to_string(groups[i].count) + "×)"});
}

void SetupLog(Bundle& bundle, const std::string& name, Report& report)
{
    const Text* text = bundle.SystemText(name);
    if (!text)
        return;
    // "2023-10-10 12:00:00, Error                 CSI    00000001 message"
    static const std::regex error(R"(^\d{4}-\d\d-\d\d \d\d:\d\d:\d\d, (Error|Fatal|Fatal Error)\s+(.*)$)");
    std::vector<std::pair<size_t, std::string>> lines;
    std::smatch match;
    for (size_t i = 0; i < text->lines.size(); ++i)
        if (std::regex_match(text->lines[i], match, error))
            lines.push_back({i + 1, match.str(2)});
    ReportErrors("logs.setup-errors", bundle.StoredName(name), lines, "error lines",
                 "Setup errors explain a failed installation or upgrade, which often leaves the recovery "
                 "environment out of date.",
                 report);
}

void ProductLog(Bundle& bundle, const std::string& name, Report& report)
{
    const Text* text = bundle.SystemText(name);
    if (!text)
        return;
    // An error record: a word "error", "fatal", "failed" or "exception", or the " ! " marker.
    static const std::regex error(R"((^|[^A-Za-z])(error|fatal|failed|exception)([^A-Za-z]|$)| ! )", std::regex::icase);
    static const std::regex stamp(R"(^[\[\d][\d\-/.: \]T,]*)");
    std::vector<std::pair<size_t, std::string>> lines;
    for (size_t i = 0; i < text->lines.size(); ++i)
        if (std::regex_search(text->lines[i], error))
            lines.push_back({i + 1, Trim(std::regex_replace(text->lines[i], stamp, ""))});
    ReportErrors("logs.product-errors", bundle.StoredName(name), lines, "error records",
                 "The product's own errors: look for the failing operation around the last ones.", report);
}

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

struct Expected
{
    const char* name;
    Severity severity;
    const char* reason;
};

const char* const kRegistryFiles[] = {"enum.reg", "services.reg", "BCD00000000.reg", "BCD00000000.hiv"};

const Expected kExpected[] = {
    {"mpdiag.log", Severity::Warning, "the tool's own log is missing: the archive may not come from a complete run"},
    {"enum.reg", Severity::Warning, "\"reg export\" of the device tree failed"},
    {"services.reg", Severity::Warning, "\"reg export\" of the services failed"},
    {"BCD00000000.reg", Severity::Warning, "\"reg export\" of the boot configuration store failed"},
    {"BCD00000000.hiv", Severity::Info, "\"reg save\" of the boot configuration store failed (the export carries the same store)"},
    {"bcdedit_all.log", Severity::Warning, "bcdedit could not be started or printed nothing"},
    {"wmic_hotfix.log", Severity::Info, "wmic could not be started or printed nothing"},
    {"wmic_disks.log", Severity::Warning, "wmic could not be started or printed nothing"},
    {"systeminfo.log", Severity::Warning, "systeminfo could not be started or printed nothing"},
    {"mp.log", Severity::Info, "the product has not written its log in the Windows folder"},
    {"mpb.log", Severity::Info, "the product's log folder holds no mpb.log (or the product's registry keys are missing)"},
    {"setupact.log", Severity::Info, "Windows keeps no setupact.log in its folder"},
    {"setuperr.log", Severity::Info, "Windows keeps no setuperr.log in its folder"},
};

// The working folder as the log names it, when a record holds its path.
std::string WorkingFolder(const Facts& facts, size_t& line)
{
    static const std::regex folder(R"(([A-Za-z]:\\[^"]*\\MPDiag[0-9A-Fa-f]+))", std::regex::icase);
    std::smatch match;
    for (const LogRecord& record : facts.log)
        if (std::regex_search(record.message, match, folder))
        {
            line = record.line;
            return match.str(1);
        }
    return "";
}

void MissingFile(const Facts& facts, const Expected& expected, bool allRegistryMissing, Report& report)
{
    std::string reason = expected.reason;
    Severity severity = expected.severity;
    size_t folderLine = 0;
    const std::string folder = WorkingFolder(facts, folderLine);
    const bool isRegistry = std::find_if(std::begin(kRegistryFiles), std::end(kRegistryFiles), [&](const char* n) {
                                return EqualsNoCase(n, expected.name);
                            }) != std::end(kRegistryFiles);
    if (isRegistry && allRegistryMissing)
    {
        reason = "all four registry commands failed together: the collector passes the temporary folder to reg "
                 "unquoted, so a space in its path breaks them";
        severity = Severity::Warning;
    }
    if (facts.windowsPe && (EqualsNoCase(expected.name, "systeminfo.log") || StartsWithNoCase(expected.name, "wmic_")))
        reason = "the command is not part of this Windows PE image";
    Finding& finding = report.Add("collection.missing-file", severity, std::string(expected.name) + " is missing: " + reason,
                                  isRegistry && allRegistryMissing
                                      ? "Run mpdiag.exe again with TEMP and TMP set to a folder without spaces (for "
                                        "example \"set TEMP=C:\\Temp\" and \"set TMP=C:\\Temp\" in the same prompt)."
                                      : "");
    finding.subject = expected.name;
    finding.evidence.push_back({expected.name, 0, "not in the archive"});
    if (isRegistry && allRegistryMissing && !folder.empty())
        finding.evidence.push_back({facts.logEntry, folderLine, "working folder: " + folder +
                                                                     (folder.find(' ') != std::string::npos ? " (holds a space)" : "")});
    for (const LogRecord& record : facts.log)
        if (record.level <= LogLevel::Warning && AsciiLower(record.message).find(AsciiLower(expected.name)) != std::string::npos)
            finding.evidence.push_back({facts.logEntry, record.line, record.message});
}
} // namespace

void CheckDisks(const Facts& facts, Report& report)
{
    if (facts.disksEntry.empty() || facts.disks.empty())
        return;
    Finding& layout = report.Add("disks.layout", Severity::Info,
                                 std::to_string(facts.disks.size()) + (facts.disks.size() == 1 ? " disk" : " disks"), "");
    for (const Disk& disk : facts.disks)
    {
        layout.evidence.push_back({facts.disksEntry, disk.line, DescribeDisk(disk)});
        if (!disk.status.empty() && !EqualsNoCase(disk.status, "OK"))
        {
            Finding& finding = report.Add("disks.status", Severity::Warning, "Disk " + disk.index + " reports status " + disk.status,
                                          "Check the disk's health before restoring to it or backing it up.");
            finding.subject = "disk " + disk.index;
            finding.evidence.push_back({facts.disksEntry, disk.line, DescribeDisk(disk)});
        }
    }
    const BcdObject* current = nullptr;
    const BcdObject* recovery = RecoveryLoader(facts, &current);
    const BcdDevice* loaderImage = nullptr;
    if (recovery)
    {
        const bool os = recovery->osDevice.kind == BcdDevice::Kind::Ramdisk;
        loaderImage = os ? &recovery->osDevice : &recovery->device;
        if (loaderImage->kind == BcdDevice::Kind::Ramdisk)
            Locate(facts, "The recovery loader's image", *loaderImage, os ? recovery->osDeviceWhere.line : recovery->deviceWhere.line, true, report);
    }
    // An image found on the system drive that the loader does not start lies on the system partition.
    const bool foundOnSystemDrive = facts.recoveryPath.size() > 1 && facts.recoveryPath[1] == ':';
    if (current && current->device.kind == BcdDevice::Kind::Partition && foundOnSystemDrive &&
        !(loaderImage && loaderImage->kind == BcdDevice::Kind::Ramdisk && loaderImage->SamePartition(current->device)))
        Locate(facts, "The image the collector found (on the system partition)", current->device, current->deviceWhere.line, false, report);
}

void CheckLogs(Bundle& bundle, Report& report)
{
    SetupLog(bundle, "setuperr.log", report);
    SetupLog(bundle, "setupact.log", report);
    ProductLog(bundle, "mp.log", report);
    ProductLog(bundle, "mpb.log", report);
}

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

void CheckCompleteness(const Facts& facts, Bundle& bundle, Report& report)
{
    bool allRegistryMissing = true;
    for (const char* name : kRegistryFiles)
        allRegistryMissing = allRegistryMissing && !bundle.Has(name);
    for (const Expected& expected : kExpected)
        if (!bundle.Has(expected.name))
            MissingFile(facts, expected, allRegistryMissing, report);
    if (facts.extended && !bundle.Has("System32/winevt/Logs/System.evtx"))
    {
        Finding& finding = report.Add("collection.missing-file", Severity::Warning,
                                      "System32/winevt/Logs/System.evtx is missing from an extended run: the event logs were not copied", "");
        finding.subject = "System32/winevt/Logs/System.evtx";
        finding.evidence.push_back({"System32/winevt/Logs/System.evtx", 0, "not in the archive"});
    }
    std::vector<const LogRecord*> problems;
    for (const LogRecord& record : facts.log)
        if (record.level <= LogLevel::Warning && !IsRecoverySearchRecord(record))
            problems.push_back(&record);
    if (!problems.empty())
    {
        Finding& finding = report.Add("collection.log-errors", Severity::Warning,
                                      std::to_string(problems.size()) + " errors and warnings in the collector's own log", "");
        for (size_t i = problems.size() > 8 ? problems.size() - 8 : 0; i < problems.size(); ++i)
            finding.evidence.push_back({facts.logEntry, problems[i]->line, problems[i]->message});
    }
    const std::vector<std::string>& rejected = bundle.Zip().RejectedNames();
    if (!rejected.empty())
    {
        Finding& finding = report.Add("archive.unsafe-entries", Severity::Warning,
                                      std::to_string(rejected.size()) + " archive entries with unsafe names were left out",
                                      "The collector never writes such names: the archive was changed after the run.");
        for (size_t i = 0; i < rejected.size() && i < 10; ++i)
            finding.evidence.push_back({rejected[i], 0, "absolute, or climbs out of the archive"});
    }
}
} // namespace report
