#include "inventory.h"

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

std::vector<Disk> ParseWmicDisks(const Text& text)
{
    std::vector<Disk> disks;
    size_t header = 0;
    while (header < text.lines.size() && Trim(text.lines[header]).empty())
        ++header;
    if (header >= text.lines.size())
        return disks;
    // Column starts: each heading begins after a run of spaces. Offsets count code points, so
    // the header and the rows are compared as UTF-32.
    const std::u32string head = DecodeUtf8(text.lines[header]);
    std::vector<std::pair<std::string, size_t>> columns;
    for (size_t i = 0; i < head.size(); ++i)
        if (head[i] != ' ' && (i == 0 || head[i - 1] == ' '))
        {
            size_t end = head.find(U' ', i);
            columns.push_back({AsciiLower(EncodeUtf8(head.substr(i, end == std::u32string::npos ? std::u32string::npos : end - i))), i});
        }
    for (size_t l = header + 1; l < text.lines.size(); ++l)
    {
        const std::u32string row = DecodeUtf8(text.lines[l]);
        if (Trim(text.lines[l]).empty())
            continue;
        Disk disk;
        disk.line = l + 1;
        for (size_t c = 0; c < columns.size(); ++c)
        {
            const size_t end = c + 1 < columns.size() ? columns[c + 1].second : std::u32string::npos;
            const std::string value =
                columns[c].second < row.size() ? Trim(EncodeUtf8(row.substr(columns[c].second, end == std::u32string::npos ? end : end - columns[c].second))) : "";
            const std::string& name = columns[c].first;
            if (name == "index")
                disk.index = value;
            else if (name == "model" || (name == "caption" && disk.model.empty()))
                disk.model = value;
            else if (name == "signature")
            {
                disk.signature = value;
                disk.signatureListed = true;
            }
            else if (name == "size")
                disk.size = strtoull(value.c_str(), nullptr, 10);
            else if (name == "partitions")
                disk.partitions = value;
            else if (name == "status")
                disk.status = value;
        }
        disks.push_back(disk);
    }
    return disks;
}

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
