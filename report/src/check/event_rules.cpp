#include "check/event_rules.h"

#include "read/text.h"

namespace report
{
namespace
{
struct TroubleRule
{
    const char* provider; // compared without regard to case
    uint32_t eventId;     // 0: any event of the provider at warning level or worse
    Trouble trouble;
};

const TroubleRule kRules[] = {
    {"Microsoft-Windows-Kernel-Power", 41, Trouble::UnexpectedShutdown},
    {"EventLog", 6008, Trouble::UnexpectedShutdown},
    {"Microsoft-Windows-WER-SystemErrorReporting", 1001, Trouble::BugCheck},
    {"BugCheck", 1001, Trouble::BugCheck},
    {"disk", 7, Trouble::DiskError},
    {"disk", 11, Trouble::ControllerError},
    {"disk", 51, Trouble::DiskError},
    {"disk", 153, Trouble::DiskError},
    {"disk", 157, Trouble::DiskError},
    {"Ntfs", 55, Trouble::DiskError},
    {"Microsoft-Windows-Ntfs", 55, Trouble::DiskError},
    {"Microsoft-Windows-Ntfs", 98, Trouble::DiskError},
    {"storahci", 0, Trouble::ControllerError},
    {"stornvme", 0, Trouble::ControllerError},
    {"storport", 0, Trouble::ControllerError},
    {"Microsoft-Windows-StorPort", 0, Trouble::ControllerError},
    {"iaStorA", 0, Trouble::ControllerError},
    {"iaStorAC", 0, Trouble::ControllerError},
    {"iaStorV", 0, Trouble::ControllerError},
    {"atapi", 0, Trouble::ControllerError},
    {"megasas", 0, Trouble::ControllerError},
    {"megasas2i", 0, Trouble::ControllerError},
    {"LSI_SAS", 0, Trouble::ControllerError},
    {"LSI_SAS2i", 0, Trouble::ControllerError},
};
} // namespace

Trouble Classify(const EventRecord& record)
{
    for (const TroubleRule& rule : kRules)
    {
        if (!EqualsNoCase(record.provider, rule.provider))
            continue;
        if (rule.eventId == record.eventId || (rule.eventId == 0 && record.level >= 1 && record.level <= 3))
            return rule.trouble;
    }
    return Trouble::None;
}
} // namespace report
