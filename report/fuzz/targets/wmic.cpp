// A wmic table ("wmic diskdrive list", "wmic qfe list") as the collector saves it (UTF-16 that it
// read as UTF-8): its cells, the disks and the updates read from them.
#include "fuzzing.h"
#include "read/wmic.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    report::Text text;
    if (!fuzzing::Decoded(fuzzing::Bytes(data, size), true, text))
        return 0;
    const report::WmicTable table = report::ParseWmicTable(text);
    for (const report::Disk& disk : report::DisksFromWmic(table))
        disk.SignatureValue();
    report::CountWmicUpdates(table);
    return 0;
}
