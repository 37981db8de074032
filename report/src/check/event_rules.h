#pragma once
// Which System log records are boot or disk trouble: each rule names the provider, event id and
// level that Windows writes for it, and a condition on the record's EventData where the id alone
// does not tell.
#include "read/evtx.h"

#include <cstdint>
#include <vector>

namespace report
{
enum class Trouble
{
    None,
    UnexpectedShutdown,
    BugCheck,
    DiskError,
    DiskWarning,
    DiskRemoved,
    ControllerError,
};

struct EventRule
{
    const char* provider; // as Windows writes it, compared without regard to case; "" for any provider
    uint32_t eventId;
    int level;            // 1 critical, 2 error, 3 warning
    Trouble trouble;
    const char* meaning;  // what Windows says with it
    bool (*holds)(const EventRecord&); // a further condition on the EventData; null for none
};

const std::vector<EventRule>& EventRules();
// The rule a record meets; null when none.
const EventRule* RuleFor(const EventRecord& record);
Trouble Classify(const EventRecord& record);
// Whether a record may meet a rule, so that its EventData is worth reading.
bool MayMeetRule(const EventRecord& record);
} // namespace report
