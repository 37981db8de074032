// The disks, and where the recovery loader's image and the system partition lie among them.
#include "check/checks.h"

#include <cstdio>

namespace report
{
namespace
{
std::string Hex32(uint32_t value)
{
    char text[16];
    snprintf(text, sizeof text, "0x%08X", value);
    return text;
}

std::string DescribeDisk(const Disk& disk)
{
    const bool unread = !disk.unread.empty();
    const std::string style = disk.Mbr()               ? "MBR (signature " + Hex32(disk.SignatureValue()) + ")"
                              : disk.signatureListed ? "GPT or not initialised (no signature)"
                              : unread               ? "partition style unknown"
                                                     : "partition style not listed";
    const std::string model = !disk.model.empty() ? disk.model : unread ? "(model unknown)" : "(no model)";
    std::string text = "disk " + (disk.index.empty() ? "?" : disk.index) + ": " + model + ", " + style + ", " +
                       (disk.sizeKnown ? FormatSize(disk.size) : "size unknown");
    if (!disk.partitions.empty())
        text += ", " + disk.partitions + (disk.partitions == "1" ? " partition" : " partitions");
    if (!disk.status.empty())
        text += ", status " + disk.status;
    return text;
}

// Where a device's partition lies among the disks, for the recovery location finding.
// Only the recovery loader's own image warns; the system partition is only placed on its disk.
void Locate(const Facts& facts, const std::string& what, const BcdDevice& device, size_t line, bool warn, Report& report)
{
    if (!device.fromElement)
    {
        Finding& finding = report.Add("disks.recovery-location", Severity::Info, what + " lies on " + device.partitionText, "");
        finding.evidence.push_back({facts.store.entry, line, device.text});
        return;
    }
    if (!device.partitionRead)
        return;
    if (device.gpt)
    {
        Finding& finding = report.Add("disks.recovery-location", Severity::Info,
                                      what + " lies on GPT disk {" + device.diskGuid + "}, partition {" + device.partitionGuid + "}", "");
        finding.evidence.push_back({facts.store.entry, line, device.Describe()});
        finding.evidence.push_back({facts.disksEntry, 0, "wmic does not list GPT disk identifiers: the disk cannot be named"});
        return;
    }
    const Disk* disk = nullptr;
    bool signatures = false, allRead = true;
    for (const Disk& candidate : facts.disks)
    {
        signatures = signatures || candidate.Mbr();
        allRead = allRead && candidate.signatureListed;
        if (candidate.Mbr() && candidate.SignatureValue() == device.signature)
            disk = &candidate;
    }
    // Without every disk's signature read the disk cannot be told; that is no sign of trouble.
    if (!disk && (!warn || !signatures || !allRead))
        return;
    if (!disk)
    {
        Finding& finding = report.Add("disks.recovery-disk-missing", Severity::Warning,
                                      what + " lies on MBR disk " + Hex32(device.signature) + ", which none of the machine's disks is",
                                      "The disk that held the recovery environment is gone or was replaced; recreate the "
                                      "recovery environment (\"reagentc /disable\", then \"reagentc /enable\").");
        finding.evidence.push_back({facts.store.entry, line, device.Describe()});
        for (const Disk& each : facts.disks)
            finding.evidence.push_back({facts.disksEntry, each.line, DescribeDisk(each)});
        return;
    }
    const bool outside = warn && disk->sizeKnown && disk->size > 0 && static_cast<uint64_t>(device.offset) >= disk->size;
    Finding& finding = outside
        ? report.Add("disks.recovery-partition-outside-disk", Severity::Warning,
                     what + " lies at offset " + FormatSize(static_cast<uint64_t>(device.offset)) + ", beyond the end of disk " + disk->index,
                     "The partition table changed after the recovery environment was registered; recreate it "
                     "(\"reagentc /disable\", then \"reagentc /enable\").")
        : report.Add("disks.recovery-location", Severity::Info,
                     what + " lies on disk " + disk->index + ", in the partition at offset " + FormatSize(static_cast<uint64_t>(device.offset)), "");
    finding.evidence.push_back({facts.store.entry, line, device.Describe()});
    finding.evidence.push_back({facts.disksEntry, disk->line, DescribeDisk(*disk)});
}
} // namespace

void CheckDisks(const Facts& facts, Report& report)
{
    if (facts.disksEntry.empty() || facts.disks.empty())
        return;
    Finding& layout = report.Add("disks.layout", Severity::Info,
                                 std::to_string(facts.disks.size()) + (facts.disks.size() == 1 ? " disk" : " disks"), "");
    for (const Disk& disk : facts.disks)
    {
        layout.evidence.push_back({facts.disksEntry, disk.line, DescribeDisk(disk)});
        if (!disk.status.empty() && !EqualsNoCase(disk.status, "OK"))
        {
            const std::string number = disk.index.empty() ? "?" : disk.index;
            Finding& finding = report.Add("disks.status", Severity::Warning, "Disk " + number + " reports status " + disk.status,
                                          "Check the disk's health before restoring to it or backing it up.");
            finding.subject = "disk " + number;
            finding.evidence.push_back({facts.disksEntry, disk.line, DescribeDisk(disk)});
        }
    }
    const BcdObject* current = nullptr;
    const BcdObject* recovery = RecoveryLoader(facts, &current);
    const BcdDevice* loaderImage = nullptr;
    if (recovery)
    {
        const bool os = recovery->osDevice.kind == BcdDevice::Kind::Ramdisk;
        loaderImage = os ? &recovery->osDevice : &recovery->device;
        if (loaderImage->kind == BcdDevice::Kind::Ramdisk)
            Locate(facts, "The recovery loader's image", *loaderImage, os ? recovery->osDeviceWhere.line : recovery->deviceWhere.line, true, report);
    }
    // An image found on the system drive that the loader does not start lies on the system partition.
    const bool foundOnSystemDrive = facts.recoveryPath.size() > 1 && facts.recoveryPath[1] == ':';
    if (current && current->device.kind == BcdDevice::Kind::Partition && foundOnSystemDrive &&
        !(loaderImage && loaderImage->kind == BcdDevice::Kind::Ramdisk && loaderImage->SamePartition(current->device)))
        Locate(facts, "The image the collector found (on the system partition)", current->device, current->deviceWhere.line, false, report);
}
} // namespace report
