#include "read/boot_store.h"

#include <cstdio>
#include <map>

namespace report
{
namespace
{
// Device records: the kind at byte 16; a partition's fields from byte 32, or, inside a ramdisk
// record, from byte 84 with the image path from byte 140.
const uint32_t kPartitionDevice = 6, kLegacyPartitionDevice = 2, kRamdiskDevice = 3, kBootDevice = 5;
const size_t kPartitionMinimum = 59, kRamdiskMinimum = 138, kRamdiskPath = 140;

bool AnyNonZero(const std::string& data, size_t from, size_t to)
{
    for (size_t i = from; i < to && i < data.size(); ++i)
        if (data[i])
            return true;
    return false;
}

void ReadPartition(const std::string& data, size_t base, BcdDevice& device)
{
    device.offset = static_cast<int64_t>(LittleEndian64(data, base));
    device.signature = LittleEndian32(data, base + 24);
    // An MBR record leaves the rest of the 16-byte disk field empty; a GPT disk's identifier fills it.
    device.gpt = data.size() >= base + 40 && AnyNonZero(data, base + 28, base + 40);
    if (data.size() >= base + 40)
    {
        device.partitionGuid = FormatGuid(data.substr(base, 16));
        device.diskGuid = FormatGuid(data.substr(base + 24, 16));
    }
}

BcdDevice DeviceFromElement(const std::string& data)
{
    BcdDevice device;
    device.fromElement = true;
    const uint32_t kind = data.size() >= 20 ? LittleEndian32(data, 16) : 0;
    if ((kind == kPartitionDevice || kind == kLegacyPartitionDevice) && data.size() >= kPartitionMinimum)
    {
        device.kind = BcdDevice::Kind::Partition;
        ReadPartition(data, 32, device);
    }
    else if (kind == kRamdiskDevice && data.size() >= kRamdiskMinimum)
    {
        device.kind = BcdDevice::Kind::Ramdisk;
        ReadPartition(data, 84, device);
        if (data.size() > kRamdiskPath)
            device.imagePath = Utf16ToUtf8(data.substr(kRamdiskPath));
    }
    else if (kind == kBootDevice)
        device.kind = BcdDevice::Kind::Boot;
    else
        device.kind = BcdDevice::Kind::Other;
    return device;
}

std::string HexValue(const RegValue& value)
{
    std::string out;
    char buffer[4];
    for (size_t i = 0; i < value.data.size() && i < 48; ++i)
    {
        snprintf(buffer, sizeof buffer, "%02x", static_cast<unsigned char>(value.data[i]));
        out += (i ? "," : "") + std::string(buffer);
    }
    return value.data.size() > 48 ? out + ",..." : out;
}

// The object identifier and the rest of a key path below "...\Objects\"; false for other keys.
bool ObjectKey(const std::string& path, std::string& id, std::string& rest)
{
    const std::string lower = AsciiLower(path);
    const size_t objects = lower.find("\\objects\\{");
    if (objects == std::string::npos)
        return false;
    const size_t start = objects + 9;
    const size_t end = lower.find('\\', start);
    id = lower.substr(start, end == std::string::npos ? std::string::npos : end - start);
    rest = end == std::string::npos ? "" : lower.substr(end + 1);
    return true;
}

void ApplyElement(BcdObject& object, const std::string& element, const RegValue& value)
{
    const BcdSource where{value.line, "Element=" + HexValue(value)};
    if (element == "11000001")
    {
        object.device = DeviceFromElement(value.data);
        object.deviceWhere = where;
    }
    else if (element == "21000001")
    {
        object.osDevice = DeviceFromElement(value.data);
        object.osDeviceWhere = where;
    }
    else if (element == "12000004")
        object.description = Utf16ToUtf8(value.data);
    else if (element == "14000008")
    {
        object.recoverySequence.clear();
        std::string ids;
        for (const std::string& id : MultiSz(value.data))
        {
            object.recoverySequence.push_back(AsciiLower(id));
            ids += (ids.empty() ? "" : " ") + AsciiLower(id);
        }
        object.sequenceWhere = {value.line, "Element=" + ids};
    }
    else if (element == "16000009")
    {
        object.recoveryEnabled = !value.data.empty() && value.data[0] ? 1 : 0;
        object.enabledWhere = where;
    }
    else if (element == "26000022")
        object.winPe = !value.data.empty() && value.data[0] ? 1 : 0;
    else if (element == "23000003")
        object.defaultObject = AsciiLower(value.type == kRegSz ? Utf16ToUtf8(value.data) : "");
}

} // namespace

bool BcdDevice::SamePartition(const BcdDevice& other) const
{
    if (fromElement && other.fromElement)
    {
        if (gpt != other.gpt)
            return false;
        return gpt ? diskGuid == other.diskGuid && partitionGuid == other.partitionGuid
                   : signature == other.signature && offset == other.offset;
    }
    return !fromElement && !other.fromElement && !partitionText.empty() && EqualsNoCase(partitionText, other.partitionText);
}

std::string BcdDevice::Describe() const
{
    if (!fromElement)
        return text;
    std::string partition;
    char buffer[64];
    if (gpt)
        partition = "partition {" + partitionGuid + "} of GPT disk {" + diskGuid + "}";
    else
    {
        snprintf(buffer, sizeof buffer, "0x%08X", signature);
        partition = "partition at offset " + FormatSize(static_cast<uint64_t>(offset)) + " of MBR disk " + buffer;
    }
    switch (kind)
    {
    case Kind::Partition: return partition;
    case Kind::Ramdisk: return "ramdisk " + imagePath + " on the " + partition;
    case Kind::Boot: return "the boot device";
    case Kind::Other: return "a device of another kind";
    case Kind::None: break;
    }
    return "";
}

const BcdObject* BootStore::Find(const std::string& id) const
{
    for (const BcdObject& object : objects)
        if (object.id == AsciiLower(id))
            return &object;
    return nullptr;
}

BootStore BootStoreFromRegistry(const RegTree& tree, const std::string& entry)
{
    BootStore store;
    store.entry = entry;
    std::map<std::string, size_t> index;
    for (const RegKey& key : tree.Keys())
    {
        std::string id, rest;
        if (!ObjectKey(key.path, id, rest))
            continue;
        if (!index.count(id))
        {
            index[id] = store.objects.size();
            store.objects.push_back(BcdObject());
            store.objects.back().id = id;
            store.objects.back().where = {key.line, "[" + key.path + "]"};
        }
        BcdObject& object = store.objects[index[id]];
        const RegValue* value = nullptr;
        if (rest == "description" && (value = key.Value("Type")) != nullptr)
        {
            object.type = LittleEndian32(value->data, 0);
            object.loader = object.type == kBootLoaderObject;
            object.manager = object.type == kBootManagerObject;
        }
        else if (rest.compare(0, 9, "elements\\") == 0 && (value = key.Value("Element")) != nullptr)
            ApplyElement(object, rest.substr(9), *value);
    }
    return store;
}

std::string FormatGuid(const std::string& bytes)
{
    if (bytes.size() < 16)
        return "";
    const auto b = [&](size_t i) { return static_cast<unsigned char>(bytes[i]); };
    char text[40];
    snprintf(text, sizeof text, "%08x-%04x-%04x-%02x%02x-%02x%02x%02x%02x%02x%02x", LittleEndian32(bytes, 0),
             b(4) | b(5) << 8, b(6) | b(7) << 8, b(8), b(9), b(10), b(11), b(12), b(13), b(14), b(15));
    return text;
}

std::string FormatSize(uint64_t bytes)
{
    const char* units[] = {"bytes", "KiB", "MiB", "GiB", "TiB"};
    double value = static_cast<double>(bytes);
    int unit = 0;
    while (value >= 1024 && unit < 4)
    {
        value /= 1024;
        ++unit;
    }
    char text[48];
    if (unit == 0)
        snprintf(text, sizeof text, "%llu bytes", static_cast<unsigned long long>(bytes));
    else if (value == static_cast<double>(static_cast<uint64_t>(value)))
        snprintf(text, sizeof text, "%.0f %s", value, units[unit]);
    else
        snprintf(text, sizeof text, "%.1f %s", value, units[unit]);
    return text;
}
} // namespace report
