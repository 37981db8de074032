// The boot configuration: the running system's loader, its recovery sequence and the image its
// recovery loader starts.
#include "check/checks.h"

#include <cctype>

namespace report
{
namespace
{
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
} // namespace

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
    const std::string description = current->descriptionLost ? " (its description lost letters to the code page)"
                                    : current->description.empty() ? ""
                                                                   : " (\"" + current->description + "\")";
    Finding& loader = report.Add("boot.current-loader", Severity::Info, "Windows starts through boot loader " + current->id + description, "");
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
        // A listing that shows only some objects is no evidence that the loader is missing.
        const std::string& target = current->recoverySequence.front();
        Finding& finding = !recovery && !store.listsAll
            ? report.Add("boot.recovery-loader-unlisted", Severity::Info,
                         "The recovery sequence points at " + target + ", which the listing does not show",
                         "The listing holds only some of the store's objects; \"bcdedit /enum all\" shows the recovery loader.")
            : report.Add("boot.recovery-loader-missing", Severity::Error,
                         "The recovery sequence points at " + target + ", which is not a boot loader in the store",
                         "Recreate the recovery environment's entry: \"reagentc /disable\", then \"reagentc /enable\".");
        finding.evidence.push_back({store.entry, current->sequenceWhere.line, current->sequenceWhere.text});
        return;
    }
    const BcdDevice& device = recovery->osDevice.kind != BcdDevice::Kind::None ? recovery->osDevice : recovery->device;
    const BcdSource& deviceWhere = recovery->osDevice.kind != BcdDevice::Kind::None ? recovery->osDeviceWhere : recovery->deviceWhere;
    if (device.kind == BcdDevice::Kind::Other)
    {
        // A device this report cannot read is no evidence that the loader starts no image.
        Finding& finding = report.Add("boot.recovery-loader-device-unread", Severity::Info,
                                      "The recovery loader " + recovery->id + " starts from " + device.Describe(), "");
        finding.evidence.push_back({store.entry, deviceWhere.line, deviceWhere.text});
        return;
    }
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
        if (!device.imagePath.empty() && !EqualsNoCase(PathOnVolume(facts.recoveryPath), device.imagePath))
            differences.push_back("the path differs");
        const bool foundOnSystemDrive = HasDriveLetter(facts.recoveryPath);
        const bool comparable = device.fromElement ? device.partitionRead && current->device.fromElement &&
                                                         current->device.kind == BcdDevice::Kind::Partition && current->device.partitionRead
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
