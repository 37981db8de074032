// What the collection missed: files the collector writes that are absent, its own errors, and
// entries left out for their names.
#include "check/checks.h"

#include <algorithm>
#include <regex>

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
