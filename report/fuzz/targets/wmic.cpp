// "wmic diskdrive list" as the collector saves it (UTF-16 that it read as UTF-8).
#include "fuzzing.h"
#include "read/wmic.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    report::Text text;
    if (fuzzing::Decoded(fuzzing::Bytes(data, size), true, text))
        for (const report::Disk& disk : report::ParseWmicDisks(text))
            disk.SignatureValue();
    return 0;
}
