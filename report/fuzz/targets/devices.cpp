// devices.txt, the controllers without a working driver.
#include "fuzzing.h"
#include "read/devices.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    report::Text text;
    if (!fuzzing::Decoded(fuzzing::Bytes(data, size), true, text))
        return 0;
    const report::ControllerList list = report::ParseDevicesTxt(text, "devices.txt");
    fuzzing::Require(list.controllers.size() <= report::kControllerCap, "at most kControllerCap controllers");
    for (const report::Controller& controller : report::MergeControllers({}, list.controllers))
        controller.ShortId();
    return 0;
}
