#include "check/analyze.h"

#include "check/checks.h"

namespace report
{
namespace
{
// A fact of systeminfo as the summary shows it: unknown where its letters were lost.
std::string Shown(const Facts& facts, SystemInfoField field, const char* name, MachineSummary& machine,
                  std::string (*part)(const std::string&) = nullptr)
{
    const SystemInfoValue& value = facts.systemInfo.Get(field);
    const std::string text = part ? part(value.text) : value.lost ? "" : value.text;
    if (!text.empty())
        machine.howRead.push_back({name, value.how});
    return text;
}

void DescribeMachine(const Facts& facts, MachineSummary& machine)
{
    machine.hostName = Shown(facts, SystemInfoField::HostName, "host", machine);
    machine.osName = Shown(facts, SystemInfoField::OsName, "os_name", machine);
    machine.osVersion = Shown(facts, SystemInfoField::OsVersion, "os_version", machine, VersionNumber);
    machine.build = Shown(facts, SystemInfoField::OsVersion, "build", machine, BuildNumber);
    machine.architecture = Shown(facts, SystemInfoField::SystemType, "architecture", machine, Architecture);
    const SystemInfoValue& windows = facts.systemInfo.Get(SystemInfoField::WindowsDirectory);
    machine.windowsPe = windows.text.empty() ? "unknown" : facts.windowsPe ? "yes" : "no";
    if (!windows.text.empty())
        machine.howRead.push_back({"windows_pe", windows.how});
    machine.labelsLanguage = facts.systemInfo.language;
    machine.updates = facts.updates < 0 ? "" : std::to_string(facts.updates);
}
} // namespace

Report Analyze(const Archive& archive, const std::string& archivePath, const Options& options)
{
    Report report;
    report.archive = archivePath;
    Bundle bundle(archive);
    const Facts facts = Gather(bundle);
    report.run = facts.extended ? "extended" : "normal";
    DescribeMachine(facts, report.machine);

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
