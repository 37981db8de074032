// "bcdedit /enum all" as the collector saves it.
#include "fuzzing.h"
#include "read/bcdedit.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    report::Text text;
    if (fuzzing::Decoded(fuzzing::Bytes(data, size), true, text))
        for (const report::BcdObject& object : report::BootStoreFromBcdedit(text, "bcdedit_all.log").objects)
            object.device.Describe();
    return 0;
}
