#pragma once
// Which loader of the boot configuration store starts the running system.
#include "read/boot_store.h"
#include "read/diaglog.h"

#include <cstdint>
#include <string>
#include <vector>

namespace report
{
// What the collector logged of the system partition during its store walk.
struct SystemPartitionHint
{
    bool known = false;
    bool gpt = false;
    uint32_t signature = 0;
    int64_t offset = 0;
    std::string diskGuid, partitionGuid;
};

SystemPartitionHint HintFromLog(const std::vector<LogRecord>& log);
// The loader of the running system, with a sentence saying how it was chosen; null when none.
const BcdObject* CurrentLoader(const BootStore& store, const SystemPartitionHint& hint, std::string& how);
} // namespace report
