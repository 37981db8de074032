#include "check/analyze.h"

#include "check/checks.h"

namespace report
{
namespace
{
// Runs one family of checks; when it stops on what it was given, its findings so far are taken
// back and the entry it reads is named in a note, and the other checks go on.
template <typename Check>
void RunCheck(Bundle& bundle, Report& report, const std::string& entry, const char* family, Check check)
{
    const size_t before = report.findings.size();
    const bool done = bundle.Isolated(entry, std::string("could not be checked: the check of ") + family + " stopped", [&] {
        check();
        return true;
    });
    if (!done)
        report.findings.resize(before);
}

std::string Either(const std::string& entry, const char* otherwise) { return entry.empty() ? otherwise : entry; }

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
    if (archive.EntriesLeftOut())
        bundle.Note(archivePath.substr(archivePath.rfind('/') + 1),
                    "lists " + std::to_string(archive.EntriesLeftOut()) + " entries after the first " +
                        std::to_string(archive.EntriesLookedAt()) + " that this report looks at: they were left out");
    const Facts facts = Gather(bundle);
    report.run = facts.extended ? "extended" : "normal";
    bundle.Isolated(Either(facts.systemInfoEntry, "systeminfo.log"), kReaderStopped, [&] {
        DescribeMachine(facts, report.machine);
        return true;
    });

    const std::string store = Either(facts.store.entry, "BCD00000000.reg");
    RunCheck(bundle, report, store, "the recovery image", [&] { CheckRecoveryImage(facts, report); });
    RunCheck(bundle, report, Either(facts.wimEntry, "devices.txt"), "the drivers", [&] { CheckDrivers(facts, bundle, options, report); });
    RunCheck(bundle, report, store, "the boot configuration", [&] { CheckBootConfiguration(facts, report); });
    RunCheck(bundle, report, Either(facts.disksEntry, "wmic_disks.log"), "the disks", [&] { CheckDisks(facts, report); });
    RunCheck(bundle, report, "setupact.log", "the logs", [&] { CheckLogs(bundle, report); });
    RunCheck(bundle, report, "System32/winevt/Logs/System.evtx", "the System event log", [&] { CheckEvents(facts, bundle, report); });
    RunCheck(bundle, report, Either(facts.logEntry, "mpdiag.log"), "the collection", [&] { CheckCompleteness(facts, bundle, report); });
    bundle.Isolated(store, "could not be drawn: the boot chain stopped", [&] {
        report.bootChain = MapBootChain(facts, report.findings);
        return true;
    });
    report.notes = bundle.Notes();
    report.SortFindings();
    return report;
}
} // namespace report
