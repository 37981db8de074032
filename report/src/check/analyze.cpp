#include "check/analyze.h"

#include "check/checks.h"

namespace report
{
Report Analyze(const Archive& archive, const std::string& archivePath, const Options& options)
{
    Report report;
    report.archive = archivePath;
    Bundle bundle(archive);
    const Facts facts = Gather(bundle);
    report.run = facts.extended ? "extended" : "normal";
    MachineSummary& machine = report.machine;
    machine.hostName = facts.Installed(SystemInfoField::HostName);
    machine.osName = facts.Installed(SystemInfoField::OsName);
    machine.osVersion = VersionNumber(facts.Installed(SystemInfoField::OsVersion));
    machine.build = BuildNumber(facts.Installed(SystemInfoField::OsVersion));
    machine.architecture = Architecture(facts.Installed(SystemInfoField::SystemType));
    machine.windowsPe = facts.Installed(SystemInfoField::WindowsDirectory).empty() ? "unknown" : facts.windowsPe ? "yes" : "no";
    machine.labelsLanguage = facts.systemInfo.language;

    CheckRecoveryImage(facts, report);
    CheckDrivers(facts, bundle, options, report);
    CheckBootConfiguration(facts, report);
    CheckDisks(facts, report);
    CheckLogs(bundle, report);
    CheckEvents(facts, bundle, report);
    CheckCompleteness(facts, bundle, report);
    report.bootChain = MapBootChain(facts, report.findings);
    report.notes = bundle.Notes();
    report.SortFindings();
    return report;
}
} // namespace report
