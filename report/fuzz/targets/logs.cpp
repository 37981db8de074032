// The setup logs (setupact.log, setuperr.log) and the product's logs (mp.log, mpb.log).
#include "fuzzing.h"
#include "read/logs.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    report::Text text;
    if (!fuzzing::Decoded(fuzzing::Bytes(data, size), false, text))
        return 0;
    fuzzing::Require(report::SetupLogErrors(text).size() <= text.lines.size(), "at most one error a line");
    fuzzing::Require(report::ProductLogErrors(text).size() <= text.lines.size(), "at most one error a line");
    return 0;
}
