#pragma once
// Which System log records are boot or disk trouble, by their provider, event id and level.
#include "read/evtx.h"

namespace report
{
enum class Trouble
{
    None,
    UnexpectedShutdown,
    BugCheck,
    DiskError,
    ControllerError,
};

// The kind of boot or disk trouble a System log record reports.
Trouble Classify(const EventRecord& record);
} // namespace report
