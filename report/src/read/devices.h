#pragma once
// The machine's storage and network controllers: those with a problem (devices.txt) and those of
// the device tree (a registry export or hive of the Enum key), with what the tree says of their
// presence.
#include "read/registry.h"
#include "read/text.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace report
{
// In the order of likelihood that the device is in the machine.
enum class Presence
{
    Present,       // arrived at or after the machine's last start, or listed as present
    Unknown,       // the source holds nothing that tells
    Removed,       // removed after it last arrived
    NotSinceStart, // last arrived before the machine's last start
};

struct Controller
{
    std::vector<std::string> ids; // hardware identifiers, then compatible identifiers, upper case
    size_t hardwareIds = 0;       // how many of `ids` are hardware identifiers
    bool network = false;         // a network adapter; otherwise a storage controller
    std::string what;             // "NVMe controller", "SD host controller", "Hyper-V network adapter", ...
    bool problem = false;         // listed in devices.txt: the configuration manager reports a problem
    std::string entry;            // where it was found
    size_t line = 0;
    size_t devicesLine = 0;       // its header in devices.txt
    std::string instance;         // its device instance path below Enum ("PCI\VEN_...\4&..."); "" from devices.txt
    std::string parentIdPrefix;   // the prefix of its children's instance ids
    Presence presence = Presence::Unknown;
    std::string presenceWhy;      // the evidence for `presence`

    // "PCI\VEN_1000&DEV_0079" for a PCI device, else its first hardware identifier: the model.
    std::string ShortId() const;
};

struct ControllerList
{
    std::vector<Controller> controllers;
    size_t leftOut = 0; // controllers past kControllerCap
};

// Most controllers kept from one source; a machine has a few dozen at most.
const size_t kControllerCap = 1024;
// Most identifiers kept of one device.
const size_t kDeviceIdCap = 64;

// devices.txt: "Device N:" headers, each followed by its identifiers behind a tab. The collector
// lists only present devices (SetupDiGetClassDevs with DIGCF_PRESENT) that have a problem.
ControllerList ParseDevicesTxt(const Text& text, const std::string& entry);
// The storage and network controllers below `enumPath` (the Enum key's path in the tree): PCI
// class 01 (storage), 02 (network) and 08 05 (SD host), ACPI SD hosts (PNP0D40), Hyper-V's VMBus
// storage and network devices.
ControllerList ControllersFromEnum(const RegTree& tree, const std::string& enumPath, const std::string& entry);
// Both lists as one: a device of devices.txt that the tree holds too is kept once, marked, and
// counts as present.
std::vector<Controller> MergeControllers(std::vector<Controller> tree, const std::vector<Controller>& problems);

// "PCI\VEN_xxxx&DEV_yyyy" → vendor and device ids (lower-case hex); false for other ids.
bool PciIds(const std::string& id, std::string& vendor, std::string& device);
// The name of a presence, for evidence: "present", "removed", ...
const char* PresenceName(Presence presence);
} // namespace report
