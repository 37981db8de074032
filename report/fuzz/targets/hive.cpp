// A saved registry hive, read with hivex, and the boot configuration store in it.
#include "fuzzing.h"
#include "read/boot_store.h"
#include "read/hive.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    report::RegTree tree;
    std::string error;
    if (report::ReadHive(fuzzing::InFile(fuzzing::Bytes(data, size), ".hiv"), "HKEY_LOCAL_MACHINE\\BCD00000000", tree, error))
    {
        fuzzing::Require(tree.Keys().size() <= report::kMaxHiveKeys, "at most kMaxHiveKeys keys");
        report::BootStoreFromRegistry(tree, "BCD00000000.hiv");
    }
    return 0;
}
