#include "check/event_rules.h"

#include "read/text.h"

namespace report
{
namespace
{
const int kCritical = 1, kError = 2, kWarning = 3;

// Ntfs 98 reports the volume's health at every mount: at information level with
// CorruptionActionState 0 the volume is healthy. It reports corruption at error or warning level
// with a state other than 0.
bool ReportsCorruption(const EventRecord& record)
{
    const std::string* state = record.Data("CorruptionActionState");
    return !state || Trim(*state) != "0";
}

// Storport logs 129 in the miniport's name: "Reset to device, \Device\RaidPort<n>, was issued."
// (Microsoft's "Understanding Storage Timeouts and Event 129 Errors"). From a provider that is not
// a known miniport, the device it names tells it is one.
bool ResetsARaidPort(const EventRecord& record)
{
    for (const EventData& item : record.data)
        if (item.name.empty())
            return StartsWithNoCase(item.value, "\\Device\\RaidPort");
    return false;
}

const char kReset[] = "reset to the storage controller issued after a request timed out";

std::vector<EventRule> MakeRules()
{
    std::vector<EventRule> rules = {
        {"Microsoft-Windows-Kernel-Power", 41, kCritical, Trouble::UnexpectedShutdown,
         "the system rebooted without cleanly shutting down first", nullptr},
        {"EventLog", 6008, kError, Trouble::UnexpectedShutdown, "the previous system shutdown was unexpected", nullptr},
        {"Microsoft-Windows-WER-SystemErrorReporting", 1001, kError, Trouble::BugCheck, "the computer rebooted from a bug check", nullptr},
        {"BugCheck", 1001, kError, Trouble::BugCheck, "the computer rebooted from a bug check", nullptr},
        {"disk", 7, kError, Trouble::DiskError, "the device has a bad block", nullptr},
        {"disk", 11, kError, Trouble::ControllerError, "the disk driver detected a controller error", nullptr},
        {"disk", 51, kWarning, Trouble::DiskWarning, "an error was detected during a paging operation", nullptr},
        {"disk", 153, kWarning, Trouble::DiskWarning, "an I/O operation was retried", nullptr},
        {"disk", 157, kWarning, Trouble::DiskRemoved, "the disk was surprise removed", nullptr},
        {"Ntfs", 55, kError, Trouble::DiskError, "the file system structure on the volume is corrupt", nullptr},
        {"Microsoft-Windows-Ntfs", 55, kError, Trouble::DiskError, "the file system structure on the volume is corrupt", nullptr},
        {"Microsoft-Windows-Ntfs", 98, kError, Trouble::DiskError, "the volume needs repair (Ntfs health state)", ReportsCorruption},
        {"Microsoft-Windows-Ntfs", 98, kWarning, Trouble::DiskError, "the volume needs repair (Ntfs health state)", ReportsCorruption},
    };
    // Storage miniports seen logging 129 on real machines; any other that logs it is known by the
    // RaidPort device it names.
    static const char* const kMiniports[] = {"storahci", "stornvme", "iaStorA", "iaStorAC", "iaStorAVC", "iaStorVD", "iaStorV",
                                             "vioscsi",  "viostor",  "storvsc", "secnvme",  "rcraid",    "megasas",  "megasas2i",
                                             "lsi_sas",  "lsi_sas2i", "lsi_sas3"};
    for (const char* miniport : kMiniports)
        rules.push_back({miniport, 129, kWarning, Trouble::ControllerError, kReset, nullptr});
    rules.push_back({"", 129, kWarning, Trouble::ControllerError, kReset, ResetsARaidPort});
    return rules;
}

bool SameKind(const EventRule& rule, const EventRecord& record)
{
    return rule.eventId == record.eventId && rule.level == record.level &&
           (rule.provider[0] == '\0' || EqualsNoCase(rule.provider, record.provider));
}
} // namespace

const std::vector<EventRule>& EventRules()
{
    static const std::vector<EventRule> rules = MakeRules();
    return rules;
}

const EventRule* RuleFor(const EventRecord& record)
{
    for (const EventRule& rule : EventRules())
        if (SameKind(rule, record) && (!rule.holds || rule.holds(record)))
            return &rule;
    return nullptr;
}

Trouble Classify(const EventRecord& record)
{
    const EventRule* rule = RuleFor(record);
    return rule ? rule->trouble : Trouble::None;
}

bool MayMeetRule(const EventRecord& record)
{
    for (const EventRule& rule : EventRules())
        if (SameKind(rule, record))
            return true;
    return false;
}
} // namespace report
