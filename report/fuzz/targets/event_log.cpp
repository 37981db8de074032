// The System event log (.evtx) of an extended run, read with libevtx.
#include "fuzzing.h"
#include "read/evtx.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const report::EventLog log = report::ReadEventLog(fuzzing::InFile(fuzzing::Bytes(data, size), ".evtx"));
    for (const report::EventRecord& record : log.records)
        report::FormatFiletime(record.filetime);
    return 0;
}
