#pragma once
// From an archive to a report: what the archive says (Facts), then the checks.
#include "archive.h"
#include "bcd.h"
#include "bundle.h"
#include "diaglog.h"
#include "drivers.h"
#include "inventory.h"
#include "report.h"
#include "sysinfo.h"

#include <string>
#include <vector>

namespace report
{
struct Options
{
    std::string pciIds = "/usr/share/misc/pci.ids";
};

// The collector's own files: an archive with none of them is not an mpdiag archive.
bool IsMpdiagArchive(const Archive& archive);

Report Analyze(const Archive& archive, const std::string& archivePath, const Options& options);

// What the archive's files say, read once for all checks.
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

    std::vector<Controller> controllers;
    std::string devicesEntry, enumEntry;

    std::string Installed(SystemInfoField field) const { return systemInfo.Get(field).text; }
};

Facts Gather(Bundle& bundle);

void CheckRecoveryImage(const Facts& facts, Report& report);
void CheckDrivers(const Facts& facts, Bundle& bundle, const Options& options, Report& report);
void CheckBootConfiguration(const Facts& facts, Report& report);
void CheckDisks(const Facts& facts, Report& report);
void CheckLogs(Bundle& bundle, Report& report);
void CheckEvents(const Facts& facts, Bundle& bundle, Report& report);
void CheckCompleteness(const Facts& facts, Bundle& bundle, Report& report);

// The system partition the collector logged during its store walk.
SystemPartitionHint HintFromLog(const std::vector<LogRecord>& log);
// The loader the recovery sequence of the current loader names; null when there is none.
const BcdObject* RecoveryLoader(const Facts& facts, const BcdObject** current = nullptr);
} // namespace report
