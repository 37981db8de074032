// The boot configuration store's elements: the bytes as each element of a one-object store (the
// devices, the recovery sequence, the description, the flags), then the loader chosen from it.
#include "facts/current_loader.h"
#include "fuzzing.h"
#include "read/boot_store.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string bytes = fuzzing::Bytes(data, size);
    const std::string object = "HKEY_LOCAL_MACHINE\\BCD00000000\\Objects\\{4f2c1a8e-7b3d-11ef-a1c4-0021cc6b2e10}";
    report::RegTree tree;
    tree.AddKey(object + "\\Description", 1).values.push_back({"Type", report::kRegDword, std::string("\x03\x00\x20\x10", 4), 2});
    size_t line = 3;
    for (const char* element : {"11000001", "21000001", "14000008", "12000004", "16000009", "26000022", "23000003"})
    {
        tree.AddKey(object + "\\Elements\\" + element, line).values.push_back({"Element", report::kRegBinary, bytes, line + 1});
        line += 2;
    }
    const report::BootStore store = report::BootStoreFromRegistry(tree, "BCD00000000.reg");
    for (const report::BcdObject& each : store.objects)
    {
        each.device.Describe();
        each.osDevice.Describe();
        each.device.SamePartition(each.osDevice);
    }
    report::SystemPartitionHint hint;
    hint.known = true;
    hint.signature = report::LittleEndian32(bytes, 0);
    hint.offset = static_cast<int64_t>(report::LittleEndian64(bytes, 4));
    std::string how;
    report::CurrentLoader(store, hint, how);
    return 0;
}
