// An INF file of the recovery image, for any architecture and for x64.
#include "fuzzing.h"
#include "read/inf.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    report::Text text;
    if (fuzzing::Decoded(fuzzing::Bytes(data, size), false, text))
    {
        report::InfHardwareIds(text, "");
        report::InfHardwareIds(text, "x64");
    }
    return 0;
}
