#include "read/devices.h"

#include "read/filetime.h"

#include <algorithm>
#include <cctype>
#include <unordered_map>

namespace report
{
namespace
{
// Hyper-V's VMBus devices, by the class in their hardware identifiers (the identifiers
// storvsc.inf and wnetvsc.inf list).
const char kVmbusScsi[] = "VMBUS\\{BA6163D9-04A1-4D29-B605-72E2FFB1DC7F}";
const char kVmbusIde[] = "VMBUS\\{32412632-86CB-44A2-9B5C-50D1417354F5}";
const char kVmbusNetwork[] = "VMBUS\\{F8615163-DF3E-46C5-913F-F2D2F965ED0E}";
// DEVPKEY_Device_LastArrivalDate (pid 102) and DEVPKEY_Device_LastRemovalDate (103): each a key
// below the instance's Properties key, its default value a FILETIME (type 0xFFFF0000 with
// DEVPROP_TYPE_FILETIME, 0x10), as real SYSTEM hives hold them.
const char kDateProperties[] = "\\Properties\\{83da6326-97a6-4088-9453-a1923f573b29}\\";
const char kLastArrival[] = "0066";
const char kLastRemoval[] = "0067";
const uint32_t kFiletimeProperty = 0xFFFF0010;

bool IsHex(const std::string& text, size_t from, size_t count)
{
    if (from + count > text.size())
        return false;
    for (size_t i = from; i < from + count; ++i)
        if (!isxdigit(static_cast<unsigned char>(text[i])))
            return false;
    return true;
}

// The PCI class code ("0106", base class then subclass) that an identifier carries after "CC_"
// ("PCI\CC_010601", "PCI\VEN_8086&CC_0106"); "" when none does.
std::string ClassCode(const std::vector<std::string>& ids)
{
    for (const std::string& id : ids)
    {
        if (id.compare(0, 4, "PCI\\") != 0)
            continue;
        for (size_t at = id.find("CC_"); at != std::string::npos; at = id.find("CC_", at + 1))
            if ((at == 4 || id[at - 1] == '&') && IsHex(id, at + 3, 4))
                return AsciiUpper(id.substr(at + 3, 4));
    }
    return "";
}

bool HasId(const std::vector<std::string>& ids, const std::string& wanted)
{
    return std::find(ids.begin(), ids.end(), wanted) != ids.end();
}

// Whether the device is a storage or network controller of interest; sets what it is.
bool Classify(const std::string& bus, Controller& device)
{
    if (bus == "pci" || bus.empty())
    {
        const std::string code = ClassCode(device.ids);
        const std::string base = code.substr(0, 2);
        device.network = base == "02";
        device.what = base == "02" ? "network adapter" : code == "0104" ? "RAID controller" : code == "0106" ? "SATA controller"
                    : code == "0108" ? "NVMe controller" : code == "0805" ? "SD host controller" : "storage controller";
        return base == "01" || base == "02" || code == "0805";
    }
    if (bus == "acpi" && (HasId(device.ids, "ACPI\\PNP0D40") || HasId(device.ids, "*PNP0D40")))
    {
        device.what = "SD host controller";
        return true;
    }
    if (bus == "vmbus")
    {
        device.network = HasId(device.ids, kVmbusNetwork);
        device.what = device.network ? "Hyper-V network adapter" : HasId(device.ids, kVmbusScsi) ? "Hyper-V SCSI controller" : "Hyper-V IDE controller";
        return device.network || HasId(device.ids, kVmbusScsi) || HasId(device.ids, kVmbusIde);
    }
    return false;
}

void AppendIds(const std::string& data, std::vector<std::string>& ids)
{
    for (const std::string& id : MultiSz(data))
        if (ids.size() < kDeviceIdCap)
            ids.push_back(AsciiUpper(id));
}

// A date property of a device instance; 0 when absent or not a FILETIME.
uint64_t DateProperty(const RegTree& tree, const std::string& instancePath, const char* property)
{
    const RegKey* key = tree.Key(instancePath + kDateProperties + property);
    const RegValue* value = key ? key->Value("") : nullptr;
    if (!value || value->type != kFiletimeProperty || value->data.size() < 8)
        return 0;
    return LittleEndian64(value->data, 0);
}

// The machine's last start, as the device tree shows it: the ACPI driver's device
// (ACPI_HAL\PNP0C08), which arrives first at every start and is never removed, else the PCI root
// buses (ACPI\PNP0A03, PNP0A08). In the real SYSTEM hives read, every device present at the last
// start arrived after it, and devices of earlier hardware kept older arrival dates.
struct LastStart
{
    uint64_t halArrival = 0, rootBusArrival = 0;

    uint64_t Time() const { return halArrival ? halArrival : rootBusArrival; }
    std::string Describe() const
    {
        return std::string("the machine's last start (") + (halArrival ? "ACPI_HAL\\PNP0C08" : "the PCI root bus") +
               " arrived " + FormatFiletime(Time()) + ")";
    }
};

void SetPresence(const RegTree& tree, const LastStart& start, const std::string& source, const std::string& keyPath,
                 Controller& device)
{
    const uint64_t arrival = DateProperty(tree, keyPath, kLastArrival);
    const uint64_t removal = DateProperty(tree, keyPath, kLastRemoval);
    if (arrival && removal > arrival)
    {
        device.presence = Presence::Removed;
        device.presenceWhy = "removed " + FormatFiletime(removal) + ", after it last arrived " + FormatFiletime(arrival);
    }
    else if (arrival && start.Time() && arrival < start.Time())
    {
        device.presence = Presence::NotSinceStart;
        device.presenceWhy = "last arrived " + FormatFiletime(arrival) + ", before " + start.Describe();
    }
    else if (arrival && start.Time())
    {
        device.presence = Presence::Present;
        device.presenceWhy = "arrived " + FormatFiletime(arrival) + ", at or after " + start.Describe();
    }
    else
    {
        device.presence = Presence::Unknown;
        device.presenceWhy = arrival ? source + " gives its last arrival (" + FormatFiletime(arrival) +
                                           ") but not the machine's last start"
                                     : source + " holds no arrival or removal dates for it";
    }
}
} // namespace

std::string Controller::ShortId() const
{
    for (const std::string& id : ids)
        if (id.compare(0, 8, "PCI\\VEN_") == 0 && IsHex(id, 8, 4) && id.compare(12, 5, "&DEV_") == 0 && IsHex(id, 17, 4))
            return id.substr(0, 21);
    return ids.empty() ? "" : ids.front();
}

ControllerList ParseDevicesTxt(const Text& text, const std::string& entry)
{
    ControllerList list;
    bool keeping = false;
    for (size_t i = 0; i < text.lines.size(); ++i)
    {
        const std::string& line = text.lines[i];
        if (line.compare(0, 7, "Device ") == 0 && line.back() == ':')
        {
            keeping = list.controllers.size() < kControllerCap;
            if (!keeping)
            {
                ++list.leftOut;
                continue;
            }
            Controller device;
            device.entry = entry;
            device.line = device.devicesLine = i + 1;
            device.problem = true;
            device.presence = Presence::Present;
            device.presenceWhy = entry + " lists it (the collector lists only present devices)";
            list.controllers.push_back(device);
        }
        else if (keeping && !line.empty() && line[0] == '\t' && list.controllers.back().ids.size() < kDeviceIdCap)
            list.controllers.back().ids.push_back(AsciiUpper(Trim(line)));
    }
    for (Controller& device : list.controllers)
    {
        Classify("", device);
        // devices.txt does not say where hardware identifiers end: compatible ones carry "CC_".
        device.hardwareIds = 0;
        while (device.hardwareIds < device.ids.size() && device.ids[device.hardwareIds].find("CC_") == std::string::npos)
            ++device.hardwareIds;
    }
    return list;
}

ControllerList ControllersFromEnum(const RegTree& tree, const std::string& enumPath, const std::string& entry)
{
    ControllerList list;
    LastStart start;
    const std::string prefix = AsciiLower(enumPath) + "\\";
    for (const RegKey& key : tree.Keys())
    {
        // Device instance keys: Enum\<enumerator>\<device>\<instance>.
        const std::string lower = AsciiLower(key.path);
        if (lower.compare(0, prefix.size(), prefix) != 0)
            continue;
        const size_t first = lower.find('\\', prefix.size());
        const size_t second = first == std::string::npos ? first : lower.find('\\', first + 1);
        if (second == std::string::npos || lower.find('\\', second + 1) != std::string::npos)
            continue;
        const std::string bus = lower.substr(prefix.size(), first - prefix.size());
        const std::string device = lower.substr(first + 1, second - first - 1);
        if (bus == "acpi_hal" && device == "pnp0c08")
            start.halArrival = std::max(start.halArrival, DateProperty(tree, key.path, kLastArrival));
        if (bus == "acpi" && (device == "pnp0a03" || device == "pnp0a08"))
            start.rootBusArrival = std::max(start.rootBusArrival, DateProperty(tree, key.path, kLastArrival));
        const RegValue* hardware = key.Value("HardwareID");
        if (!hardware)
            continue;
        Controller controller;
        AppendIds(hardware->data, controller.ids);
        controller.hardwareIds = controller.ids.size();
        if (const RegValue* compatible = key.Value("CompatibleIDs"))
            AppendIds(compatible->data, controller.ids);
        if (!Classify(bus, controller))
            continue;
        if (list.controllers.size() >= kControllerCap)
        {
            ++list.leftOut;
            continue;
        }
        controller.entry = entry;
        controller.line = hardware->line ? hardware->line : key.line;
        controller.instance = key.path.substr(prefix.size());
        if (const RegValue* parent = key.Value("ParentIdPrefix"))
            controller.parentIdPrefix = Utf16ToUtf8(parent->data);
        list.controllers.push_back(controller);
    }
    for (Controller& controller : list.controllers)
        SetPresence(tree, start, entry, enumPath + "\\" + controller.instance, controller);
    return list;
}

std::vector<Controller> MergeControllers(std::vector<Controller> tree, const std::vector<Controller>& problems)
{
    // Instances of the tree by their first hardware identifier; each device of devices.txt marks
    // one of them, the likeliest present first.
    struct Instances
    {
        std::vector<size_t> indexes;
        size_t next = 0;
    };
    std::unordered_map<std::string, Instances> byId;
    for (size_t i = 0; i < tree.size(); ++i)
        if (!tree[i].ids.empty())
            byId[tree[i].ids.front()].indexes.push_back(i);
    for (auto& entry : byId)
        std::stable_sort(entry.second.indexes.begin(), entry.second.indexes.end(),
                         [&](size_t a, size_t b) { return tree[a].presence < tree[b].presence; });
    for (const Controller& problem : problems)
    {
        auto found = problem.ids.empty() ? byId.end() : byId.find(problem.ids.front());
        if (found == byId.end() || found->second.next >= found->second.indexes.size())
        {
            tree.push_back(problem);
            continue;
        }
        Controller& controller = tree[found->second.indexes[found->second.next++]];
        controller.problem = true;
        controller.devicesLine = problem.devicesLine;
        controller.presence = Presence::Present;
        controller.presenceWhy = problem.presenceWhy;
    }
    return tree;
}

bool PciIds(const std::string& id, std::string& vendor, std::string& device)
{
    const std::string upper = AsciiUpper(id.substr(0, 21));
    if (upper.compare(0, 8, "PCI\\VEN_") != 0 || !IsHex(upper, 8, 4) || upper.compare(12, 5, "&DEV_") != 0 || !IsHex(upper, 17, 4))
        return false;
    vendor = AsciiLower(upper.substr(8, 4));
    device = AsciiLower(upper.substr(17, 4));
    return true;
}

const char* PresenceName(Presence presence)
{
    switch (presence)
    {
    case Presence::Present:
        return "present";
    case Presence::Removed:
        return "removed";
    case Presence::NotSinceStart:
        return "not seen since the machine's last start";
    case Presence::Unknown:
        break;
    }
    return "presence not known";
}
} // namespace report
