// The boot chain and the disks, mapped from the facts; the findings decide where the chain breaks.
#include "check/boot_chain.h"

#include "check/checks.h"

#include <algorithm>
#include <cstdio>

namespace report
{
const char kRoleBootManager[] = "boot-manager";
const char kRoleWindows[] = "windows";
const char kRoleRecoveryImage[] = "recovery-image";

namespace
{
enum Step
{
    kManager,
    kCurrent,
    kSequence,
    kRecoveryLoader,
    kImage,
};

// The findings that judge a step (or the arrow into it): an error breaks it, a warning puts it
// in doubt; info findings judge nothing. Of two alike, the one listed first is shown: where the
// image lies before which image it is.
const struct
{
    const char* id;
    Step step;
    bool arrow;
} kVerdicts[] = {
    {"boot.current-loader-unknown", kCurrent, false},
    {"boot.recovery-disabled", kSequence, true},
    {"boot.recovery-sequence-missing", kSequence, false},
    {"boot.recovery-loader-missing", kRecoveryLoader, false},
    {"boot.recovery-loader-device", kImage, true},
    {"recovery.image-not-found", kImage, false},
    {"disks.recovery-disk-missing", kImage, false},
    {"disks.recovery-partition-outside-disk", kImage, false},
    {"recovery.image-invalid", kImage, false},
    {"recovery.image-architecture-mismatch", kImage, false},
    {"boot.recovery-path-mismatch", kImage, false},
    {"recovery.image-build-mismatch", kImage, false},
};

std::string Hex32(uint32_t value)
{
    char text[16];
    snprintf(text, sizeof text, "0x%08X", value);
    return text;
}

std::vector<ChainStep> EmptySteps()
{
    const char* const roles[][2] = {{"boot-manager", "Boot manager"},
                                    {"current-loader", "Current loader"},
                                    {"recovery-sequence", "Recovery sequence"},
                                    {"recovery-loader", "Recovery loader"},
                                    {"recovery-image", "Recovery image"}};
    std::vector<ChainStep> steps;
    for (const auto& role : roles)
    {
        steps.emplace_back();
        steps.back().role = role[0];
        steps.back().title = role[1];
    }
    return steps;
}

std::vector<DiskPlace> ListedDisks(const Facts& facts)
{
    std::vector<DiskPlace> disks;
    for (const Disk& disk : facts.disks)
    {
        DiskPlace place;
        place.listed = true;
        place.line = disk.line;
        place.index = disk.index;
        place.model = disk.model;
        place.style = disk.Mbr() ? "MBR" : disk.signatureListed ? "GPT or not initialised" : "not listed";
        place.identity = disk.Mbr() ? Hex32(disk.SignatureValue()) : "";
        place.size = disk.size;
        place.partitionsListed = disk.partitions;
        place.status = disk.status;
        disks.push_back(place);
    }
    return disks;
}

// The disk a device element names: a listed disk of its MBR signature, or one that only the
// boot configuration knows (wmic lists no GPT disk identifiers).
DiskPlace& DiskOf(BootChain& chain, const BcdDevice& device)
{
    const std::string identity = device.gpt ? "{" + device.diskGuid + "}" : Hex32(device.signature);
    for (DiskPlace& disk : chain.disks)
        if (disk.identity == identity)
            return disk;
    DiskPlace disk;
    disk.style = device.gpt ? "GPT" : "MBR";
    disk.identity = identity;
    chain.disks.push_back(disk);
    return chain.disks.back();
}

PartitionPlace& PartitionOf(std::vector<PartitionPlace>& partitions, const PartitionPlace& wanted)
{
    for (PartitionPlace& partition : partitions)
        if (partition.offset == wanted.offset && partition.guid == wanted.guid && EqualsNoCase(partition.name, wanted.name))
            return partition;
    partitions.push_back(wanted);
    return partitions.back();
}

void Place(BootChain& chain, const BcdDevice& device, const char* role)
{
    if (device.kind != BcdDevice::Kind::Partition && device.kind != BcdDevice::Kind::Ramdisk)
        return;
    PartitionPlace wanted;
    std::vector<PartitionPlace>* partitions = &chain.unplaced;
    if (device.fromElement)
    {
        partitions = &DiskOf(chain, device).partitions;
        if (device.gpt)
            wanted.guid = "{" + device.partitionGuid + "}";
        else
            wanted.offset = std::max<int64_t>(device.offset, -1); // a negative offset is no position
    }
    else if (!device.partitionText.empty())
        wanted.name = device.partitionText;
    else
        return;
    std::vector<std::string>& roles = PartitionOf(*partitions, wanted).roles;
    if (std::find(roles.begin(), roles.end(), role) == roles.end())
        roles.push_back(role);
}

// Where a device lies, with the listed disk's number where its signature names one.
std::string Whereabouts(const BootChain& chain, const BcdDevice& device)
{
    if (!device.fromElement)
        return device.partitionText.empty() ? device.text : "partition " + device.partitionText;
    if (device.kind == BcdDevice::Kind::None)
        return "no device element";
    if (device.kind != BcdDevice::Kind::Partition && device.kind != BcdDevice::Kind::Ramdisk)
        return device.Describe();
    if (device.gpt)
        return "GPT disk {" + device.diskGuid + "}, partition {" + device.partitionGuid + "}";
    const std::string partition = ", partition at " + FormatSize(static_cast<uint64_t>(device.offset));
    for (const DiskPlace& disk : chain.disks)
        if (disk.listed && disk.identity == Hex32(device.signature))
            return "disk " + disk.index + " (MBR " + disk.identity + ")" + partition;
    return "MBR disk " + Hex32(device.signature) + partition;
}

const BcdDevice& LoaderDevice(const BcdObject& loader)
{
    return loader.osDevice.kind != BcdDevice::Kind::None ? loader.osDevice : loader.device;
}

void Object(ChainStep& step, const BcdObject& object, const std::string& entry)
{
    step.state = ChainState::Ok;
    step.id = object.id;
    step.description = object.description;
    step.entry = entry;
    step.line = object.where.line;
}

void NotReached(std::vector<ChainStep>& steps, size_t from)
{
    for (size_t i = from; i < steps.size(); ++i)
    {
        steps[i].state = ChainState::NotReached;
        steps[i].link = ChainState::NotReached;
    }
}

std::string Found(const Facts& facts)
{
    return facts.recoveryPath.empty() ? "the collector found no recovery image" : "the collector found " + facts.recoveryPath;
}

void MapImage(const Facts& facts, const BcdObject& recovery, BootChain& chain)
{
    ChainStep& image = chain.steps[kImage];
    const BcdDevice& device = LoaderDevice(recovery);
    const std::string found = Found(facts);
    if (device.kind != BcdDevice::Kind::Ramdisk)
    {
        // Whether that stops the chain is for the findings to say.
        image.link = ChainState::Unknown;
        image.linkText = "not read as a ramdisk";
        image.detail = "the recovery loader's device: " + Whereabouts(chain, device) + "; " + found;
        image.state = ChainState::Unknown;
        return;
    }
    Place(chain, device, kRoleRecoveryImage);
    image.state = ChainState::Ok;
    image.id = device.imagePath;
    image.device = Whereabouts(chain, device);
    image.detail = found;
    image.linkText = "ramdisk";
    image.entry = facts.store.entry;
    image.line = (&device == &recovery.osDevice ? recovery.osDeviceWhere : recovery.deviceWhere).line;
}

void MapStore(const Facts& facts, BootChain& chain)
{
    std::vector<ChainStep>& steps = chain.steps;
    const BootStore& store = facts.store;
    const auto manager = std::find_if(store.objects.begin(), store.objects.end(), [](const BcdObject& o) { return o.manager; });
    if (manager != store.objects.end())
    {
        Object(steps[kManager], *manager, store.entry);
        steps[kManager].device = Whereabouts(chain, manager->device);
        Place(chain, manager->device, kRoleBootManager);
    }
    else
        steps[kManager].detail = "the store holds no boot manager";
    std::string how;
    const BcdObject* current = CurrentLoader(store, facts.hint, how);
    if (!current)
    {
        steps[kCurrent].detail = "no loader of the running system in the store";
        return NotReached(steps, kSequence);
    }
    Object(steps[kCurrent], *current, store.entry);
    Place(chain, LoaderDevice(*current), kRoleWindows);
    steps[kCurrent].device = Whereabouts(chain, LoaderDevice(*current));
    steps[kCurrent].detail = "chosen because " + how;
    if (manager == store.objects.end() || manager->defaultObject.empty())
    {
        steps[kCurrent].link = ChainState::Unknown;
        steps[kCurrent].linkText = manager == store.objects.end() ? "" : "no default in the boot manager";
    }
    else
        steps[kCurrent].linkText = manager->defaultObject == current->id ? "default" : "the default is " + manager->defaultObject;

    ChainStep& sequence = steps[kSequence];
    sequence.linkText = current->recoveryEnabled == 1 ? "recovery enabled" : current->recoveryEnabled == 0 ? "recovery disabled" : "recoveryenabled not set";
    sequence.link = current->recoveryEnabled == -1 ? ChainState::Unknown : ChainState::Ok;
    if (current->recoverySequence.empty())
    {
        sequence.detail = current->id + " has no recovery sequence";
        return NotReached(steps, kRecoveryLoader);
    }
    sequence.state = ChainState::Ok;
    for (const std::string& id : current->recoverySequence)
        sequence.id += (sequence.id.empty() ? "" : " ") + id;
    sequence.entry = store.entry;
    sequence.line = current->sequenceWhere.line;

    const BcdObject* recovery = store.Find(current->recoverySequence.front());
    ChainStep& loader = steps[kRecoveryLoader];
    loader.linkText = "first entry";
    if (!recovery || !recovery->loader)
    {
        loader.id = current->recoverySequence.front();
        // A listing of only some objects does not show that the store lacks it.
        // A listing of only some objects does not show that the store lacks it.
        loader.detail = recovery ? "not a boot loader" : store.listsAll ? "not in the store" : "not in the listing";
        return NotReached(steps, kImage);
    }
    Object(loader, *recovery, store.entry);
    MapImage(facts, *recovery, chain);
}

// The findings' verdicts on the steps: the most severe finding of each step or arrow wins.
void Judge(const std::vector<Finding>& findings, std::vector<ChainStep>& steps)
{
    for (const auto& verdict : kVerdicts)
        for (const Finding& finding : findings)
        {
            if (finding.id != verdict.id || finding.severity == Severity::Info)
                continue;
            const ChainState state = finding.severity == Severity::Error ? ChainState::Broken : ChainState::Doubtful;
            ChainStep& step = steps[verdict.step];
            ChainState& current = verdict.arrow ? step.link : step.state;
            if (current == ChainState::Broken || (current == ChainState::Doubtful && state == ChainState::Doubtful))
                continue;
            current = state;
            (verdict.arrow ? step.linkProblem : step.problem) = finding.title;
            (verdict.arrow ? step.linkFindingId : step.findingId) = finding.id;
        }
}

bool ByOffset(const PartitionPlace& a, const PartitionPlace& b)
{
    // Unknown offsets (-1) go last.
    return static_cast<uint64_t>(a.offset) < static_cast<uint64_t>(b.offset);
}
} // namespace

const char* ChainStateName(ChainState state)
{
    switch (state)
    {
    case ChainState::Ok: return "ok";
    case ChainState::Broken: return "broken";
    case ChainState::Doubtful: return "doubtful";
    case ChainState::Unknown: return "unknown";
    case ChainState::NotReached: return "not-reached";
    }
    return "";
}

const char* RoleTitle(const std::string& role)
{
    return role == kRoleBootManager ? "Boot manager" : role == kRoleWindows ? "Windows" : "Recovery image";
}

std::string PartitionPlace::Label() const
{
    if (offset >= 0)
        return "at " + FormatSize(static_cast<uint64_t>(offset));
    if (!guid.empty())
        return guid;
    return name.empty() ? "position unknown" : "partition " + name;
}

std::string DiskPlace::Title() const
{
    if (listed)
        return "Disk " + (index.empty() ? "?" : index);
    return style + " disk " + identity + " (not listed)";
}

const ChainStep* BootChain::First(ChainState state) const
{
    for (const ChainStep& step : steps)
        if (step.link == state || step.state == state)
            return &step;
    return nullptr;
}

std::string BootChain::Verdict() const
{
    for (ChainState state : {ChainState::Broken, ChainState::Doubtful})
        if (const ChainStep* step = First(state))
        {
            const bool arrow = step->link == state;
            return std::string(state == ChainState::Broken ? "The chain breaks" : "The chain is in doubt") +
                   (arrow ? " on the way to the " : " at the ") + AsciiLower(step->title) + ": " +
                   (arrow ? step->linkProblem : step->problem) + " [" + (arrow ? step->linkFindingId : step->findingId) + "]";
        }
    std::string unknown;
    for (const ChainStep& step : steps)
        if (step.state != ChainState::Ok || step.link == ChainState::Unknown)
            unknown += (unknown.empty() ? "" : ", ") + AsciiLower(step.title) +
                       (step.state == ChainState::Ok && !step.linkText.empty() ? " (" + step.linkText + ")" : "");
    return unknown.empty() ? "The chain holds from the boot manager to the recovery image"
                           : "The chain holds as far as the archive shows; not known: " + unknown;
}

// Keeps the disks that carry a partition of the chain and, up to the cap, the others in their order.
void BoundDisks(BootChain& chain)
{
    size_t kept = 0;
    std::vector<DiskPlace> disks;
    for (DiskPlace& disk : chain.disks)
        if (!disk.partitions.empty() || kept < kChainDiskCap)
        {
            kept += disk.partitions.empty();
            disks.push_back(std::move(disk));
        }
        else
            ++chain.disksLeftOut;
    chain.disks = std::move(disks);
}

BootChain MapBootChain(const Facts& facts, const std::vector<Finding>& findings)
{
    BootChain chain;
    chain.steps = EmptySteps();
    chain.disks = ListedDisks(facts);
    if (facts.hasStore)
    {
        chain.source = facts.store.entry;
        MapStore(facts, chain);
    }
    else
        for (ChainStep& step : chain.steps)
        {
            step.link = ChainState::Unknown;
            step.detail = "the archive holds no readable boot configuration";
        }
    if (!facts.hasStore)
        chain.steps[kImage].detail += "; " + Found(facts);
    Judge(findings, chain.steps);
    BoundDisks(chain);
    for (DiskPlace& disk : chain.disks)
        std::stable_sort(disk.partitions.begin(), disk.partitions.end(), ByOffset);
    return chain;
}
} // namespace report
