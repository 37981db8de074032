#pragma once
// What the archive's files say, read once for all checks.
#include "facts/bundle.h"
#include "facts/current_loader.h"
#include "read/boot_store.h"
#include "read/devices.h"
#include "read/diaglog.h"
#include "read/sysinfo.h"
#include "read/wim.h"
#include "read/wmic.h"

#include <string>
#include <vector>

namespace report
{
// A fact with where it can be checked: an archive entry and a line of it (0: no line).
struct Clue
{
    std::string entry;
    size_t line = 0;
    std::string text;
};

struct Facts
{
    bool extended = false;

    std::string systemInfoEntry; // "" when absent or unreadable
    SystemInfo systemInfo;
    bool windowsPe = false;

    std::string logEntry;
    std::vector<LogRecord> log;
    SystemPartitionHint hint;

    bool hasStore = false;
    BootStore store;
    std::string storeNote; // why the store came from where it did

    std::string recoveryPathEntry;
    std::string recoveryPath;

    std::string wimEntry; // "boot.wim" when it is there
    std::string wimFile;  // its copy in the private folder
    WimInfo wim;

    std::string disksEntry;
    std::vector<Disk> disks;

    std::string updatesEntry;
    long updates = -1; // the updates wmic qfe lists; -1 when unknown

    std::vector<Controller> controllers; // the system disk's controller first, when it is known
    std::string devicesEntry, enumEntry;
    // How the system disk's controller was found (controllers[0]); empty when it was not.
    std::vector<Clue> systemDiskClues;

    std::string Installed(SystemInfoField field) const { return systemInfo.Get(field).text; }
};

// The collector's own files: an archive with none of them is not an mpdiag archive.
bool IsMpdiagArchive(const Archive& archive);

Facts Gather(Bundle& bundle);

// The loader the recovery sequence of the current loader names; null when there is none.
const BcdObject* RecoveryLoader(const Facts& facts, const BcdObject** current = nullptr);
} // namespace report
