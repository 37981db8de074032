#pragma once
// The machine's storage and network controllers: those without a working driver (devices.txt)
// and those of the device tree (enum.reg).
#include "read/registry.h"
#include "read/text.h"

#include <cstddef>
#include <string>
#include <vector>

namespace report
{
struct Controller
{
    std::vector<std::string> ids; // hardware identifiers, then compatible identifiers, upper case
    size_t hardwareIds = 0;       // how many of `ids` are hardware identifiers (all when unknown)
    bool network = false;         // PCI class 02; otherwise a storage controller (class 01)
    bool noDriver = false;        // listed in devices.txt: no working driver on the machine
    std::string entry;            // where it was found
    size_t line = 0;
    size_t devicesLine = 0;       // its header in devices.txt

    // "PCI\VEN_1000&DEV_0079", the short identifier named in findings.
    std::string ShortId() const;
};

// devices.txt: "Device N:" headers, each followed by its identifiers behind a tab.
std::vector<Controller> ParseDevicesTxt(const Text& text, const std::string& entry);
// PCI storage and network controllers of the device tree export (by their class in
// CompatibleIDs, as the collector selects them).
std::vector<Controller> ControllersFromEnum(const RegTree& tree, const std::string& entry);
// Both lists as one: a device of devices.txt that the tree holds too is kept once, marked.
std::vector<Controller> MergeControllers(std::vector<Controller> tree, const std::vector<Controller>& problems);

// "PCI\VEN_xxxx&DEV_yyyy" → vendor and device ids (lower-case hex); false for other ids.
bool PciIds(const std::string& id, std::string& vendor, std::string& device);
} // namespace report
