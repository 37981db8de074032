// A registry export (.reg), and what the report reads from its tree: the boot configuration
// store and the device tree's controllers.
#include "fuzzing.h"
#include "read/boot_store.h"
#include "read/devices.h"
#include "read/registry.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    report::Text text;
    if (!fuzzing::Decoded(fuzzing::Bytes(data, size), false, text))
        return 0;
    size_t skipped = 0;
    const report::RegTree tree = report::ParseRegExport(text, skipped);
    for (const report::RegKey& key : tree.Keys())
        for (const report::RegValue& value : key.values)
            fuzzing::Require(value.data.size() <= 2 * report::kMaxValueText + 2, "no value longer than its bounded text makes");
    report::BootStoreFromRegistry(tree, "BCD00000000.reg");
    const report::ControllerList list =
        report::ControllersFromEnum(tree, "HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Enum", "enum.reg");
    for (const report::Controller& controller : list.controllers)
        controller.ShortId();
    return 0;
}
