// Findings 1 to 3: the recovery image, the drivers it lacks, and the boot configuration that
// starts it.
#include "analysis.h"

#include <cctype>
#include <cstdlib>

namespace report
{
namespace
{
// Builds of one servicing branch share one recovery image (Windows 10 2004 to 22H2 all carry a
// 19041 image, Windows 11 22H2 and 23H2 a 22621 one).
const struct
{
    int branch;
    int first, last;
} kBranches[] = {{18362, 18362, 18363}, {19041, 19041, 19045}, {22621, 22621, 22631}};

int Branch(const std::string& build)
{
    const int number = atoi(build.c_str());
    for (const auto& branch : kBranches)
        if (number >= branch.first && number <= branch.last)
            return branch.branch;
    return number;
}

// The path without its drive or volume: "\Recovery\WindowsRE\WinRE.wim".
std::string PathOnVolume(const std::string& path)
{
    std::string p = path;
    if (p.size() >= 2 && p[1] == ':')
        return p.substr(2);
    if (StartsWithNoCase(p, "\\\\?\\") || StartsWithNoCase(p, "\\\\.\\"))
    {
        const size_t end = p.find('\\', 4);
        return end == std::string::npos ? "" : p.substr(end);
    }
    return p;
}

bool HasDriveLetter(const std::string& path) { return path.size() >= 2 && path[1] == ':' && isalpha(static_cast<unsigned char>(path[0])); }

void SearchRecords(const Facts& facts, Finding& finding)
{
    std::vector<const LogRecord*> records;
    for (const LogRecord& record : facts.log)
        if (IsRecoverySearchRecord(record) && record.message.compare(0, 19, "Output for command:") != 0)
            records.push_back(&record);
    const size_t first = records.size() > 8 ? records.size() - 8 : 0;
    for (size_t i = first; i < records.size(); ++i)
        finding.evidence.push_back({facts.logEntry, records[i]->line, records[i]->message});
    if (!facts.logEntry.empty() && records.empty())
        finding.evidence.push_back({facts.logEntry, 0, "no record of a search in the boot configuration store"});
}

std::string AdviceForSearch(const Facts& facts)
{
    std::string last;
    for (const LogRecord& record : facts.log)
        if (record.level == LogLevel::Error && IsRecoverySearchRecord(record))
            last = record.message;
    if (last == "Can't get system drive")
        return "The collector found no C:\\Recovery\\...\\WinRE.wim and could not tell which disk holds the system "
               "volume, so it could not follow the boot configuration. Run \"reagentc /info\" on the machine to see "
               "where the recovery environment lies, and enable it with \"reagentc /enable\" if it is disabled.";
    if (last == "Can't get current BCD object" || last == "Can't get recover BCD object")
        return "The boot configuration names no recovery environment for the running system. Run \"reagentc /info\"; "
               "\"reagentc /enable\" registers WinRE.wim again (it must exist in C:\\Windows\\System32\\Recovery).";
    if (last == "Can't get recover path")
        return "The recovery loader names a partition that the collector did not find among the disks: the recovery "
               "partition may have been deleted or the disk replaced. Recreate the recovery environment "
               "(\"reagentc /disable\", then \"reagentc /enable\").";
    return "Run \"reagentc /info\" on the machine to see where the recovery environment lies; enable or recreate it "
           "(\"reagentc /enable\"), then collect again.";
}

std::string ControllerName(const Controller& controller, const Options& options)
{
    std::string vendor, device;
    const std::string name = PciIds(controller.ShortId(), vendor, device) ? PciName(options.pciIds, vendor, device) : "";
    const std::string kind = controller.network ? "network controller" : "storage controller";
    return (name.empty() ? kind : name) + " (" + controller.ShortId() + ")";
}

std::string IdList(const std::vector<std::string>& ids)
{
    std::string text;
    for (const std::string& id : ids)
        text += (text.empty() ? "" : ", ") + id;
    return text;
}

void NoDriverOnMachine(const Facts& facts, const Options& options, Report& report)
{
    for (const Controller& controller : facts.controllers)
    {
        if (!controller.noDriver)
            continue;
        const std::string name = ControllerName(controller, options);
        Finding& finding = facts.windowsPe
            ? report.Add("drivers.no-driver-in-pe", Severity::Error,
                         "Windows PE, where the tool ran, has no driver for the " + name,
                         "Add the controller's driver to the recovery image (dism /Add-Driver) or load it at the "
                         "recovery environment's start (drvload).")
            : report.Add("drivers.no-driver-on-machine", Severity::Warning,
                         "The machine has no working driver for the " + name,
                         "Install the controller's driver in Windows; a recovery environment needs it too.");
        finding.subject = controller.ShortId();
        finding.evidence.push_back({facts.devicesEntry, controller.devicesLine, IdList(controller.ids)});
    }
}

// The first of the controller's identifiers, most specific first, that an INF serves; -1 when none.
int BestMatch(const Controller& controller, const DriverSearch& search)
{
    for (size_t i = 0; i < controller.ids.size(); ++i)
        if (search.ids.count(controller.ids[i]))
            return static_cast<int>(i);
    return -1;
}

void MatchRecoveryDrivers(const Facts& facts, const DriverSearch& search, const Options& options, Report& report)
{
    std::vector<Evidence> served;
    for (const Controller& controller : facts.controllers)
    {
        const int match = BestMatch(controller, search);
        const std::string name = ControllerName(controller, options);
        if (match >= 0)
        {
            const std::string& id = controller.ids[static_cast<size_t>(match)];
            served.push_back({facts.wimEntry, 0,
                              name + ": " + search.ids.at(id) + " serves " + id +
                                  (static_cast<size_t>(match) < controller.hardwareIds ? " (hardware identifier)"
                                                                                       : " (compatible identifier)")});
            continue;
        }
        Finding& finding = report.Add(
            "drivers.missing-in-recovery-image", controller.network ? Severity::Warning : Severity::Error,
            "The recovery image has no driver for the " + name,
            controller.network
                ? "Add the adapter's driver to the recovery image (dism /Image:<mount> /Add-Driver); without it the "
                  "recovery environment cannot reach the network or a backup on a share."
                : "Add the controller's driver to the recovery image (dism /Image:<mount> /Add-Driver); without it the "
                  "recovery environment cannot see the disks behind this controller.");
        finding.subject = controller.ShortId();
        finding.evidence.push_back({controller.entry, controller.line, IdList(controller.ids)});
        finding.evidence.push_back({facts.wimEntry, 0,
                                    "image " + std::to_string(search.image) + ": " + std::to_string(search.infFiles) +
                                        " INF files searched, none lists any of these identifiers"});
    }
    if (!served.empty())
    {
        Finding& finding = report.Add("drivers.recovery-image-serves", Severity::Info,
                                      "The recovery image has drivers for " + std::to_string(served.size()) + " of " +
                                          std::to_string(facts.controllers.size()) + " storage and network controllers",
                                      "");
        finding.evidence = served;
    }
}
} // namespace

void CheckRecoveryImage(const Facts& facts, Report& report)
{
    if (facts.recoveryPath.empty())
    {
        Finding& finding = report.Add("recovery.image-not-found", Severity::Error,
                                      "The collector found no recovery image on the machine", AdviceForSearch(facts));
        finding.evidence.push_back({"recovery_path.log", 0, "not in the archive"});
        SearchRecords(facts, finding);
        if (const BcdObject* loader = RecoveryLoader(facts))
        {
            const bool os = loader->osDevice.kind == BcdDevice::Kind::Ramdisk;
            const BcdDevice& device = os ? loader->osDevice : loader->device;
            if (device.kind == BcdDevice::Kind::Ramdisk)
                finding.evidence.push_back({facts.store.entry, (os ? loader->osDeviceWhere : loader->deviceWhere).line,
                                            "the boot configuration's recovery loader names " + device.Describe()});
        }
    }
    if (!facts.extended && !facts.recoveryPath.empty())
    {
        Finding& finding = report.Add("recovery.image-not-collected", Severity::Info,
                                      "The recovery image was found but not collected (a normal run)",
                                      "To check the image and its drivers, ask for an extended run: mpdiag.exe -x");
        finding.evidence.push_back({facts.recoveryPathEntry, 1, facts.recoveryPath});
    }
    else if (facts.extended && facts.wimEntry.empty() && !facts.recoveryPath.empty())
    {
        Finding& finding = report.Add("recovery.image-not-collected", Severity::Warning,
                                      "An extended run, but the archive holds no boot.wim: copying the image failed",
                                      "Check the free space in the temporary folder and that the image is not locked, "
                                      "then run mpdiag.exe -x again.");
        finding.evidence.push_back({facts.recoveryPathEntry, 1, facts.recoveryPath});
    }
    if (facts.wimFile.empty())
        return;
    if (!facts.wim.valid)
    {
        Finding& finding = report.Add("recovery.image-invalid", Severity::Error, "boot.wim is not a valid WIM image",
                                      "The recovery image is damaged: recreate it (\"reagentc /disable\", replace "
                                      "Winre.wim from the installation media, \"reagentc /enable\").");
        finding.evidence.push_back({facts.wimEntry, 0, facts.wim.error});
        return;
    }
    const WimImage* image = facts.wim.RecoveryImage();
    const std::string build = image->build.empty() ? "an unrecorded build" : "build " + image->build;
    const std::string arch = image->architecture.empty() ? "an unrecorded architecture" : image->architecture;
    Finding& summary = report.Add("recovery.image", Severity::Info,
                                  "Recovery image: " + std::to_string(facts.wim.imageCount) + " image" +
                                      (facts.wim.imageCount == 1 ? "" : "s") + ", Windows " + build + ", " + arch,
                                  "");
    for (const WimImage& each : facts.wim.images)
        summary.evidence.push_back({facts.wimEntry, 0,
                                    "image " + std::to_string(each.index) + ": \"" + each.name + "\", build " +
                                        (each.build.empty() ? "?" : each.build) + ", " +
                                        (each.architecture.empty() ? "?" : each.architecture) +
                                        (each.index == facts.wim.bootIndex ? " (bootable)" : "")});
    if (!facts.recoveryPath.empty())
        summary.evidence.push_back({facts.recoveryPathEntry, 1, facts.recoveryPath});
    const std::string installedBuild = BuildNumber(facts.Installed(SystemInfoField::OsVersion));
    const std::string installedArch = Architecture(facts.Installed(SystemInfoField::SystemType));
    const SystemInfoValue& version = facts.systemInfo.Get(SystemInfoField::OsVersion);
    const SystemInfoValue& type = facts.systemInfo.Get(SystemInfoField::SystemType);
    if (!image->architecture.empty() && !installedArch.empty() && image->architecture != installedArch)
    {
        Finding& finding = report.Add("recovery.image-architecture-mismatch", Severity::Error,
                                      "The recovery image is for " + image->architecture + ", the system is " + installedArch,
                                      "Replace the recovery image with one of the system's architecture.");
        finding.evidence.push_back({facts.wimEntry, 0, "image " + std::to_string(image->index) + ": " + image->architecture});
        finding.evidence.push_back({facts.systemInfoEntry, type.line, type.text});
    }
    if (!image->build.empty() && !installedBuild.empty() && Branch(image->build) != Branch(installedBuild))
    {
        Finding& finding = report.Add("recovery.image-build-mismatch", Severity::Warning,
                                      "The recovery image (build " + image->build + ") does not belong to the installed Windows (build " +
                                          installedBuild + ")",
                                      "A recovery image of another Windows release may lack the installed system's "
                                      "drivers and tools; update it to the installed release.");
        finding.evidence.push_back({facts.wimEntry, 0, "image " + std::to_string(image->index) + ": build " + image->build});
        finding.evidence.push_back({facts.systemInfoEntry, version.line, version.text});
    }
}

void CheckDrivers(const Facts& facts, Bundle& bundle, const Options& options, Report& report)
{
    NoDriverOnMachine(facts, options, report);
    if (facts.controllers.empty())
        return;
    const WimImage* image = facts.wim.valid ? facts.wim.RecoveryImage() : nullptr;
    if (!image)
    {
        if (facts.wimEntry.empty())
        {
            Finding& finding = report.Add("drivers.not-checked", Severity::Info,
                                          "The recovery image's drivers were not checked: the archive holds no boot.wim",
                                          "Ask for an extended run (mpdiag.exe -x) to check them.");
            finding.evidence.push_back({"boot.wim", 0, "not in the archive"});
        }
        return;
    }
    const std::string arch = image->architecture.empty() ? Architecture(facts.Installed(SystemInfoField::SystemType)) : image->architecture;
    const DriverSearch search = SearchDrivers(facts.wimFile, image->index, arch, bundle.Temp());
    if (!search.done)
    {
        Finding& finding = report.Add("drivers.not-checked", Severity::Warning,
                                      "The recovery image's drivers could not be read", "");
        finding.evidence.push_back({facts.wimEntry, 0, search.problem});
        return;
    }
    for (const std::string& skipped : search.skipped)
        bundle.Note(facts.wimEntry, "INF file left out of the driver search: " + skipped);
    MatchRecoveryDrivers(facts, search, options, report);
}

void CheckBootConfiguration(const Facts& facts, Report& report)
{
    if (!facts.hasStore)
    {
        Finding& finding = report.Add("boot.configuration-missing", Severity::Warning,
                                      "The archive holds no readable boot configuration",
                                      "Ask for the output of \"bcdedit /enum all /v\" from the machine.");
        for (const char* name : {"BCD00000000.reg", "BCD00000000.hiv", "bcdedit_all.log"})
            finding.evidence.push_back({name, 0, "missing or unreadable"});
        return;
    }
    const BootStore& store = facts.store;
    std::string how;
    const BcdObject* current = CurrentLoader(store, facts.hint, how);
    if (!current)
    {
        Finding& finding = report.Add("boot.current-loader-unknown", Severity::Error,
                                      "No Windows boot loader of the running system in the boot configuration",
                                      "Check the store with \"bcdedit /enum all /v\"; repair it with \"bcdboot C:\\Windows\".");
        finding.evidence.push_back({store.entry, 0, facts.storeNote});
        return;
    }
    Finding& loader = report.Add("boot.current-loader", Severity::Info,
                                 "Windows starts through boot loader " + current->id +
                                     (current->description.empty() ? "" : " (\"" + current->description + "\")"),
                                 "");
    loader.evidence.push_back({store.entry, current->where.line, "chosen because " + how + "; " + facts.storeNote});
    if (current->device.kind != BcdDevice::Kind::None)
        loader.evidence.push_back({store.entry, current->deviceWhere.line, "device: " + current->device.Describe()});

    if (current->recoveryEnabled == 0)
    {
        Finding& finding = report.Add("boot.recovery-disabled", Severity::Error,
                                      "Recovery is disabled for the running system's boot loader",
                                      "Enable it with \"reagentc /enable\" (or \"bcdedit /set {current} recoveryenabled Yes\").");
        finding.evidence.push_back({store.entry, current->enabledWhere.line, current->enabledWhere.text});
    }
    if (current->recoverySequence.empty())
    {
        Finding& finding = report.Add("boot.recovery-sequence-missing", Severity::Error,
                                      "The running system's boot loader has no recovery sequence",
                                      "Register the recovery environment with \"reagentc /enable\".");
        finding.evidence.push_back({store.entry, current->where.line, current->id + ": no recoverysequence (14000008)"});
        return;
    }
    const BcdObject* recovery = store.Find(current->recoverySequence.front());
    if (!recovery || !recovery->loader)
    {
        Finding& finding = report.Add("boot.recovery-loader-missing", Severity::Error,
                                      "The recovery sequence points at " + current->recoverySequence.front() +
                                          ", which is not a boot loader in the store",
                                      "Recreate the recovery environment's entry: \"reagentc /disable\", then \"reagentc /enable\".");
        finding.evidence.push_back({store.entry, current->sequenceWhere.line, current->sequenceWhere.text});
        return;
    }
    const BcdDevice& device = recovery->osDevice.kind != BcdDevice::Kind::None ? recovery->osDevice : recovery->device;
    const BcdSource& deviceWhere = recovery->osDevice.kind != BcdDevice::Kind::None ? recovery->osDeviceWhere : recovery->deviceWhere;
    if (device.kind != BcdDevice::Kind::Ramdisk)
    {
        Finding& finding = report.Add("boot.recovery-loader-device", Severity::Warning,
                                      "The recovery loader " + recovery->id + " does not start from a recovery image (ramdisk)",
                                      "Recreate the recovery environment's entry: \"reagentc /disable\", then \"reagentc /enable\".");
        finding.evidence.push_back({store.entry, deviceWhere.line, deviceWhere.text});
        return;
    }
    std::vector<std::string> differences;
    if (!facts.recoveryPath.empty())
    {
        if (!EqualsNoCase(PathOnVolume(facts.recoveryPath), device.imagePath))
            differences.push_back("the path differs");
        const bool foundOnSystemDrive = HasDriveLetter(facts.recoveryPath);
        const bool comparable = device.fromElement ? current->device.fromElement && current->device.kind == BcdDevice::Kind::Partition
                                                   : !device.partitionText.empty();
        if (foundOnSystemDrive && comparable)
        {
            const bool same = device.fromElement ? device.SamePartition(current->device)
                                                 : EqualsNoCase(device.partitionText, facts.recoveryPath.substr(0, 2));
            if (!same)
                differences.push_back("the image found lies on the system partition, the loader's on another");
        }
    }
    Finding& finding = differences.empty()
        ? report.Add("boot.recovery-loader", Severity::Info, "Recovery loader " + recovery->id + " starts " + device.imagePath, "")
        : report.Add("boot.recovery-path-mismatch", Severity::Warning,
                     "The recovery loader starts another image than the one the collector found",
                     "The machine boots its recovery environment from the loader's image, not from the one collected. "
                     "Check with \"reagentc /info\" which image is registered, and remove or re-register the other.");
    finding.evidence.push_back({store.entry, current->sequenceWhere.line, "recovery sequence: " + current->sequenceWhere.text});
    finding.evidence.push_back({store.entry, deviceWhere.line, "recovery loader's device: " + device.Describe()});
    if (!facts.recoveryPath.empty())
        finding.evidence.push_back({facts.recoveryPathEntry, 1, facts.recoveryPath});
    for (const std::string& difference : differences)
        finding.evidence.push_back({"", 0, difference});
}
} // namespace report
