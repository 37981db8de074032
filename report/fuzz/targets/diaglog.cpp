// mpdiag.log, the collector's own log, and what the report takes from its records.
#include "facts/current_loader.h"
#include "fuzzing.h"
#include "read/diaglog.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    report::Text text;
    if (!fuzzing::Decoded(fuzzing::Bytes(data, size), true, text))
        return 0;
    const std::vector<report::LogRecord> log = report::ParseDiagLog(text);
    for (const report::LogRecord& record : log)
    {
        fuzzing::Require(record.message.size() <= report::kMaxMessageBytes, "no message longer than kMaxMessageBytes");
        report::IsRecoverySearchRecord(record);
    }
    report::HintFromLog(log);
    return 0;
}
