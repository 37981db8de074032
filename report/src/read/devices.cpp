#include "read/devices.h"

#include <regex>

namespace report
{
namespace
{
// The class of a PCI compatible identifier "PCI\CC_ccss" or "PCI\CC_ccsspp": 1 storage, 2 network, 0 other.
int PciClass(const std::vector<std::string>& ids)
{
    for (const std::string& id : ids)
        if (id.compare(0, 7, "PCI\\CC_") == 0 && id.size() >= 11)
        {
            if (id.compare(7, 2, "01") == 0)
                return 1;
            if (id.compare(7, 2, "02") == 0)
                return 2;
        }
    return 0;
}

} // namespace

std::string Controller::ShortId() const
{
    static const std::regex pciDevice(R"(^PCI\\VEN_[0-9A-F]{4}&DEV_[0-9A-F]{4})");
    std::smatch match;
    for (const std::string& id : ids)
        if (std::regex_search(id, match, pciDevice))
            return match.str(0);
    return ids.empty() ? "" : ids.front();
}

std::vector<Controller> ParseDevicesTxt(const Text& text, const std::string& entry)
{
    std::vector<Controller> devices;
    for (size_t i = 0; i < text.lines.size(); ++i)
    {
        const std::string& line = text.lines[i];
        if (line.compare(0, 7, "Device ") == 0 && !line.empty() && line.back() == ':')
        {
            devices.push_back(Controller());
            devices.back().entry = entry;
            devices.back().line = i + 1;
            devices.back().devicesLine = i + 1;
            devices.back().noDriver = true;
        }
        else if (!devices.empty() && !line.empty() && line[0] == '\t')
            devices.back().ids.push_back(AsciiUpper(Trim(line)));
    }
    for (Controller& device : devices)
    {
        device.network = PciClass(device.ids) == 2;
        // devices.txt does not say where hardware identifiers end: compatible ones carry "CC_".
        device.hardwareIds = 0;
        while (device.hardwareIds < device.ids.size() && device.ids[device.hardwareIds].find("CC_") == std::string::npos)
            ++device.hardwareIds;
    }
    return devices;
}

std::vector<Controller> ControllersFromEnum(const RegTree& tree, const std::string& entry)
{
    std::vector<Controller> controllers;
    for (const RegKey& key : tree.Keys())
    {
        if (AsciiLower(key.path).find("\\enum\\pci\\") == std::string::npos)
            continue;
        const RegValue* hardware = key.Value("HardwareID");
        if (!hardware)
            continue;
        Controller controller;
        for (const std::string& id : MultiSz(hardware->data))
            controller.ids.push_back(AsciiUpper(id));
        controller.hardwareIds = controller.ids.size();
        if (const RegValue* compatible = key.Value("CompatibleIDs"))
            for (const std::string& id : MultiSz(compatible->data))
                controller.ids.push_back(AsciiUpper(id));
        const int pciClass = PciClass(controller.ids);
        if (pciClass == 0)
            continue;
        controller.network = pciClass == 2;
        controller.entry = entry;
        controller.line = hardware->line ? hardware->line : key.line;
        controllers.push_back(controller);
    }
    return controllers;
}

std::vector<Controller> MergeControllers(std::vector<Controller> tree, const std::vector<Controller>& problems)
{
    for (const Controller& problem : problems)
    {
        bool found = false;
        for (Controller& controller : tree)
            if (!controller.ids.empty() && !problem.ids.empty() && controller.ids.front() == problem.ids.front())
            {
                controller.noDriver = true;
                controller.devicesLine = problem.devicesLine;
                found = true;
            }
        if (!found)
            tree.push_back(problem);
    }
    return tree;
}

bool PciIds(const std::string& id, std::string& vendor, std::string& device)
{
    static const std::regex pci(R"(^PCI\\VEN_([0-9A-Fa-f]{4})&DEV_([0-9A-Fa-f]{4}))");
    std::smatch match;
    if (!std::regex_search(id, match, pci))
        return false;
    vendor = AsciiLower(match.str(1));
    device = AsciiLower(match.str(2));
    return true;
}
} // namespace report
