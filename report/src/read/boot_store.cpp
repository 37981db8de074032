#include "read/boot_store.h"

#include <cstdio>
#include <map>

namespace report
{
namespace
{
// A device element, as Windows writes it (the layout of the real stores' elements; the partition
// fields are also described in the BCDEdit notes at mistyprojects.co.uk, "Devices Partition -
// Data"):
//   0   the additional options object's identifier (a ramdisk's options; zero otherwise)
//   16  the device: a header (type u32, flags u32, size u32 of header and data, reserved u32),
//       then the data of its type.
// A partition device's data: the partition (GPT: its GUID; MBR: its offset, u64) in 16 bytes,
// a u32, the partition style u32 (0 GPT, 1 MBR), the disk (GPT: its GUID; MBR: its signature,
// u32) in 16 bytes. A block I/O device's data starts with its kind u32; a ramdisk's (kind 3) has
// at data offset 24 the image file: a u32 version, the u32 length of the file structure, a u32
// path type, the device holding the file (header and data), then its path in UTF-16.
const uint32_t kBlockIoDevice = 0, kLegacyPartitionDevice = 2, kBootDevice = 5, kPartitionDevice = 6;
const uint32_t kRamdisk = 3;
const uint32_t kGptStyle = 0, kMbrStyle = 1;
const size_t kOptionsSize = 16, kHeaderSize = 16, kPartitionDataSize = 40, kRamdiskFileAt = 24, kFileHeaderSize = 12;

struct DeviceSpan
{
    size_t at = 0;   // of the header
    size_t size = 0; // of header and data, as the header says
};

// The device whose header is at `at`, its size checked against the bytes there are.
bool DeviceAt(const std::string& data, size_t at, DeviceSpan& span, BcdDevice& device)
{
    if (data.size() < at + kHeaderSize)
    {
        device.problem = "ends at byte " + std::to_string(data.size()) + ", inside the device header at byte " + std::to_string(at);
        return false;
    }
    span = {at, LittleEndian32(data, at + 8)};
    if (span.size < kHeaderSize || span.size > data.size() - at)
    {
        device.problem = "its device at byte " + std::to_string(at) + " claims " + std::to_string(span.size) + " bytes, " +
                         std::to_string(data.size() - at) + " are there";
        return false;
    }
    return true;
}

void ReadPartition(const std::string& data, const DeviceSpan& span, BcdDevice& device)
{
    const size_t d = span.at + kHeaderSize;
    if (span.size < kHeaderSize + kPartitionDataSize)
    {
        device.problem = "its partition device at byte " + std::to_string(span.at) + " is " + std::to_string(span.size) +
                         " bytes, too short for a partition";
        return;
    }
    const uint32_t style = LittleEndian32(data, d + 20);
    if (style == kGptStyle)
    {
        device.gpt = true;
        device.partitionGuid = FormatGuid(data.substr(d, 16));
        device.diskGuid = FormatGuid(data.substr(d + 24, 16));
    }
    else if (style == kMbrStyle)
    {
        device.offset = static_cast<int64_t>(LittleEndian64(data, d));
        device.signature = LittleEndian32(data, d + 24);
    }
    else
    {
        device.problem = "its partition has style " + std::to_string(style) + ", neither GPT (0) nor MBR (1)";
        return;
    }
    device.partitionRead = true;
}

// A ramdisk's image: the file structure, the partition it lies on and its path.
void ReadRamdisk(const std::string& data, const DeviceSpan& span, BcdDevice& device)
{
    const size_t file = span.at + kHeaderSize + kRamdiskFileAt;
    const size_t end = span.at + span.size;
    if (end < file + kFileHeaderSize)
    {
        device.problem = "its ramdisk device ends before the image file's structure";
        return;
    }
    const uint32_t length = LittleEndian32(data, file + 4);
    if (length < kFileHeaderSize || length > end - file)
    {
        device.problem = "its image file's structure claims " + std::to_string(length) + " bytes, " + std::to_string(end - file) + " are there";
        return;
    }
    const std::string fileBytes = data.substr(0, file + length);
    DeviceSpan parent;
    if (!DeviceAt(fileBytes, file + kFileHeaderSize, parent, device))
        return;
    const uint32_t parentType = LittleEndian32(fileBytes, parent.at);
    if (parentType == kPartitionDevice)
        ReadPartition(fileBytes, parent, device);
    else
        device.problem = "its image lies on a device of type " + std::to_string(parentType) + ", which this report does not read";
    device.imagePath = Utf16ToUtf8(fileBytes.substr(parent.at + parent.size));
}
} // namespace

BcdDevice DeviceFromElement(const std::string& data)
{
    BcdDevice device;
    device.fromElement = true;
    device.kind = BcdDevice::Kind::Other;
    DeviceSpan span;
    if (!DeviceAt(data, kOptionsSize, span, device))
    {
        device.other = "a device element that could not be read";
        return device;
    }
    const uint32_t type = LittleEndian32(data, span.at);
    const uint32_t blockIoKind = span.size >= kHeaderSize + 4 ? LittleEndian32(data, span.at + kHeaderSize) : 0;
    if (type == kPartitionDevice)
    {
        device.kind = BcdDevice::Kind::Partition;
        ReadPartition(data, span, device);
    }
    else if (type == kBlockIoDevice && span.size >= kHeaderSize + 4 && blockIoKind == kRamdisk)
    {
        device.kind = BcdDevice::Kind::Ramdisk;
        device.optionsId = "{" + FormatGuid(data.substr(0, kOptionsSize)) + "}";
        ReadRamdisk(data, span, device);
    }
    else if (type == kBootDevice)
        device.kind = BcdDevice::Kind::Boot;
    else if (type == kBlockIoDevice)
        device.other = "a block I/O device of kind " + std::to_string(blockIoKind);
    else if (type == kLegacyPartitionDevice)
        device.other = "a legacy partition device (type 2), whose fields this report does not read";
    else
        device.other = "a device of type " + std::to_string(type);
    return device;
}

namespace
{
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

void NoteProblem(BootStore& store, const BcdObject& object, const std::string& element, const std::string& problem)
{
    if (problem.empty())
        return;
    if (store.problems.size() < kMaxStoreProblems)
        store.problems.push_back("object " + object.id + " element " + element + ": " + problem);
    else if (store.problems.size() == kMaxStoreProblems)
        store.problems.push_back("further elements that could not be read in full are not listed");
}

void ApplyElement(BootStore& store, BcdObject& object, const std::string& element, const RegValue& value)
{
    const BcdSource where{value.line, "Element=" + HexValue(value)};
    if (element == "11000001" || element == "21000001")
    {
        BcdDevice& device = element == "11000001" ? object.device : object.osDevice;
        device = DeviceFromElement(value.data);
        (element == "11000001" ? object.deviceWhere : object.osDeviceWhere) = where;
        NoteProblem(store, object, element, device.problem);
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
        if (!partitionRead || !other.partitionRead || gpt != other.gpt)
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
    if (!partitionRead)
        partition = "partition that could not be read (" + problem + ")";
    else if (gpt)
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
    case Kind::Other: return other;
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
            ApplyElement(store, object, rest.substr(9), *value);
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
