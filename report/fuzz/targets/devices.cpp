// devices.txt, the controllers without a working driver.
#include "fuzzing.h"
#include "read/devices.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    report::Text text;
    if (!fuzzing::Decoded(fuzzing::Bytes(data, size), true, text))
        return 0;
    for (const report::Controller& controller : report::MergeControllers({}, report::ParseDevicesTxt(text, "devices.txt")))
        controller.ShortId();
    return 0;
}
