#pragma once
// The boot chain and the disks as one picture: the boot manager, the running system's loader, its
// recovery sequence, the recovery loader and the image it starts, and each disk with the
// partitions that the archive places on it. The structure comes from the facts; whether a link
// holds is what the findings decided, so the picture never says more than they do.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace report
{
enum class ChainState
{
    Ok,
    Broken,     // an error or a break that a finding names
    Doubtful,   // a warning that a finding names
    Unknown,    // the archive does not tell
    NotReached, // a step after a break that the archive does not show
};
const char* ChainStateName(ChainState state); // "ok", "broken", "doubtful", "unknown", "not-reached"

struct ChainStep
{
    std::string role;  // "boot-manager", "current-loader", "recovery-sequence", "recovery-loader", "recovery-image"
    std::string title; // "Boot manager", ...
    ChainState state = ChainState::Unknown;
    std::string id;          // the object's identifier; the image's path for the image
    std::string description; // the object's description
    std::string device;      // where it lies, in words
    std::string detail;      // what else is known, or why the step is unknown
    std::string problem;     // the title of the finding behind a broken or doubtful state
    std::string findingId;
    std::string entry;       // where the step was read: archive entry and line (0: none)
    size_t line = 0;
    // The arrow from the step before: how it leads here, and whether it holds.
    ChainState link = ChainState::Ok;
    std::string linkText;
    std::string linkProblem;
    std::string linkFindingId;
};

// Partition roles: which partition holds what.
extern const char kRoleBootManager[], kRoleWindows[], kRoleRecoveryImage[];
const char* RoleTitle(const std::string& role); // "Boot manager", "Windows", "Recovery image"

struct PartitionPlace
{
    int64_t offset = -1; // bytes from the disk's start; -1 when unknown
    std::string guid;    // a GPT partition's identifier
    std::string name;    // bcdedit's name of it: "C:", "\Device\HarddiskVolume1"
    std::vector<std::string> roles;

    std::string Label() const; // "at 1 MiB", "{guid}", "partition C:"
};

struct DiskPlace
{
    bool listed = false; // in the disk listing (wmic); otherwise only the boot configuration names it
    size_t line = 0;
    std::string index;  // the disk's number; "" when not listed
    std::string model;
    std::string style;    // "MBR", "GPT", "GPT or not initialised", "not listed"
    std::string identity; // "0x5A3C9E01" (MBR signature) or "{guid}" (GPT disk)
    uint64_t size = 0;    // 0 when unknown
    std::string partitionsListed; // the listing's partition count, "" when not given
    std::string status;
    std::vector<PartitionPlace> partitions; // by offset, those of unknown offset last

    std::string Title() const; // "Disk 0" or "MBR disk 0x5A3C9E01 (not listed)"
};

// Disks kept in the picture; those that carry a partition of the chain always are, the others of
// a longer listing are counted and left out (a machine has a few disks, a damaged listing any).
const size_t kChainDiskCap = 16;

struct BootChain
{
    std::string source; // the store's archive entry; "" when the archive has none
    std::vector<ChainStep> steps;
    std::vector<DiskPlace> disks;
    size_t disksLeftOut = 0; // listed disks without a partition of the chain, past kChainDiskCap
    std::vector<PartitionPlace> unplaced; // partitions whose disk the archive does not name

    // The first step whose arrow or own state is in that state; null when none is.
    const ChainStep* First(ChainState state) const;
    // "the chain holds", or where and why it breaks, in one sentence.
    std::string Verdict() const;
};
} // namespace report
