// The recovery image: found or not, carried or not, valid or not, and of the installed system's
// release and architecture.
#include "check/checks.h"

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
} // namespace report
