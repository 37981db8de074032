// What the collection missed: files the collector writes that are absent, its own errors, and
// entries left out for their names.
#include "check/checks.h"

#include <algorithm>
#include <cctype>

namespace report
{
namespace
{
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

// Where the collector worked, as its log names it: a space in it breaks the registry commands.
struct WorkFolder
{
    std::string path;
    size_t line = 0;
};

// The last "\MPDiag<hex digits>" (a folder the collector makes; in any case) in the text from
// `from` to `to`: where its backslash is and where it ends; false when there is none.
bool LastWorkFolder(const std::string& text, size_t from, size_t to, size_t& at, size_t& end)
{
    const std::string lower = AsciiLower(text.substr(from, to - from));
    for (size_t found = lower.rfind("\\mpdiag"); found != std::string::npos;
         found = found ? lower.rfind("\\mpdiag", found - 1) : std::string::npos)
    {
        size_t stop = found + 7;
        while (stop < lower.size() && isxdigit(static_cast<unsigned char>(lower[stop])))
            ++stop;
        if (stop > found + 7)
        {
            at = from + found;
            end = from + stop;
            return true;
        }
    }
    return false;
}

// The working folder as a message names it: a path from a drive's root down to the last
// "\MPDiag<hex>" before any quote, e.g. C:\Users\Jo Smith\AppData\Local\Temp\MPDiag1a2b; ""
// when there is none.
std::string FolderIn(const std::string& message)
{
    // A quote ends a path: each stretch between quotes is searched on its own, once.
    for (size_t start = 0; start <= message.size();)
    {
        size_t stop = message.find('"', start), folder = 0, end = 0;
        if (stop == std::string::npos)
            stop = message.size();
        if (LastWorkFolder(message, start, stop, folder, end))
            for (size_t root = start; root + 3 <= folder; ++root)
                if (isalpha(static_cast<unsigned char>(message[root])) && message[root + 1] == ':' &&
                    message[root + 2] == '\\')
                    return message.substr(root, end - root);
        start = stop + 1;
    }
    return "";
}

// The working folder as the log names it, when a record holds its path.
WorkFolder WorkingFolder(const Facts& facts)
{
    for (const LogRecord& record : facts.log)
    {
        const std::string path = FolderIn(record.message);
        if (!path.empty())
            return {path, record.line};
    }
    return {};
}

void MissingFile(const Facts& facts, const Expected& expected, bool allRegistryMissing, const WorkFolder& folder,
                 Report& report)
{
    std::string reason = expected.reason;
    Severity severity = expected.severity;
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
    if (isRegistry && allRegistryMissing && !folder.path.empty())
        finding.evidence.push_back({facts.logEntry, folder.line, "working folder: " + folder.path +
                                                                     (folder.path.find(' ') != std::string::npos ? " (holds a space)" : "")});
    for (const LogRecord& record : facts.log)
        if (record.level <= LogLevel::Warning && AsciiLower(record.message).find(AsciiLower(expected.name)) != std::string::npos)
            finding.evidence.push_back({facts.logEntry, record.line, record.message});
}
} // namespace

void CheckCompleteness(const Facts& facts, Bundle& bundle, Report& report)
{
    bool allRegistryMissing = true;
    for (const char* name : kRegistryFiles)
        allRegistryMissing = allRegistryMissing && !bundle.Has(name);
    const WorkFolder folder = allRegistryMissing ? WorkingFolder(facts) : WorkFolder();
    for (const Expected& expected : kExpected)
        if (!bundle.Has(expected.name))
            MissingFile(facts, expected, allRegistryMissing, folder, report);
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
