#include "bcd.h"

#include "labels.h"

#include <cstdio>
#include <map>

namespace report
{
namespace
{
const uint32_t kBootLoaderType = 0x10200003;
const uint32_t kBootManagerType = 0x10100002;

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

BcdDevice DeviceFromText(const std::string& value)
{
    BcdDevice device;
    device.text = value;
    if (StartsWithNoCase(value, "partition="))
    {
        device.kind = BcdDevice::Kind::Partition;
        device.partitionText = value.substr(10);
    }
    else if (StartsWithNoCase(value, "ramdisk=["))
    {
        device.kind = BcdDevice::Kind::Ramdisk;
        const size_t close = value.find(']');
        if (close != std::string::npos)
        {
            device.partitionText = value.substr(9, close - 9);
            const size_t comma = value.find(',', close);
            device.imagePath = value.substr(close + 1, comma == std::string::npos ? std::string::npos : comma - close - 1);
        }
    }
    else if (EqualsNoCase(value, "boot"))
        device.kind = BcdDevice::Kind::Boot;
    else if (!value.empty())
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

// One section of bcdedit's listing: its title and its "name value" lines.
struct Section
{
    std::string title;
    size_t line = 0;
    std::vector<std::pair<std::string, std::vector<std::string>>> fields;
    std::vector<size_t> fieldLines;
};

std::vector<Section> Sections(const Text& text)
{
    std::vector<Section> sections;
    const std::vector<std::string>& lines = text.lines;
    for (size_t i = 0; i < lines.size(); ++i)
    {
        const std::string line = lines[i];
        const std::string next = i + 1 < lines.size() ? Trim(lines[i + 1]) : "";
        if (!Trim(line).empty() && !next.empty() && next.find_first_not_of('-') == std::string::npos)
        {
            sections.push_back({Trim(line), i + 1, {}, {}});
            ++i;
            continue;
        }
        if (sections.empty() || Trim(line).empty())
            continue;
        Section& section = sections.back();
        if ((line[0] == ' ' || line[0] == '\t') && !section.fields.empty())
        {
            section.fields.back().second.push_back(Trim(line));
            continue;
        }
        const std::string trimmed = Trim(line);
        const size_t space = trimmed.find_first_of(" \t");
        const std::string name = trimmed.substr(0, space);
        const std::string value = space == std::string::npos ? "" : Trim(trimmed.substr(space));
        section.fields.push_back({name, {value}});
        section.fieldLines.push_back(i + 1);
    }
    return sections;
}

int YesNo(const std::string& value, std::string& language)
{
    std::string matched = MatchBcdeditWord(value, BcdeditWord::Yes);
    if (!matched.empty())
    {
        language = language.empty() ? matched : language;
        return 1;
    }
    matched = MatchBcdeditWord(value, BcdeditWord::No);
    if (!matched.empty())
    {
        language = language.empty() ? matched : language;
        return 0;
    }
    return -1;
}

BcdObject ObjectFromSection(const Section& section, std::string& language)
{
    BcdObject object;
    object.where = {section.line, section.title};
    const BcdeditSection kind = MatchBcdeditSection(section.title);
    for (size_t f = 0; f < section.fields.size(); ++f)
    {
        const std::string& name = section.fields[f].first;
        const std::vector<std::string>& values = section.fields[f].second;
        const std::string& value = values.front();
        const BcdSource where{section.fieldLines[f], name + " " + value};
        const std::string identifierLanguage = MatchBcdeditWord(name, BcdeditWord::Identifier);
        if (f == 0 && (!identifierLanguage.empty() || (!value.empty() && value[0] == '{')))
        {
            object.id = AsciiLower(value);
            if (language.empty())
                language = identifierLanguage;
        }
        else if (EqualsNoCase(name, "device"))
        {
            object.device = DeviceFromText(value);
            object.deviceWhere = where;
        }
        else if (EqualsNoCase(name, "osdevice"))
        {
            object.osDevice = DeviceFromText(value);
            object.osDeviceWhere = where;
        }
        else if (EqualsNoCase(name, "description"))
            object.description = value;
        else if (EqualsNoCase(name, "recoverysequence"))
        {
            for (const std::string& id : values)
                object.recoverySequence.push_back(AsciiLower(id));
            object.sequenceWhere = where;
        }
        else if (EqualsNoCase(name, "recoveryenabled"))
        {
            object.recoveryEnabled = YesNo(value, language);
            object.enabledWhere = where;
        }
        else if (EqualsNoCase(name, "winpe"))
            object.winPe = YesNo(value, language);
        else if (EqualsNoCase(name, "default"))
            object.defaultObject = AsciiLower(value);
    }
    object.manager = object.id == "{bootmgr}" || kind == BcdeditSection::BootManager;
    object.loader = !object.manager && (kind == BcdeditSection::BootLoader || object.osDevice.kind != BcdDevice::Kind::None);
    object.type = object.loader ? kBootLoaderType : object.manager ? kBootManagerType : 0;
    return object;
}

bool Referenced(const BootStore& store, const std::string& id)
{
    for (const BcdObject& object : store.objects)
        for (const std::string& entry : object.recoverySequence)
            if (entry == id)
                return true;
    return false;
}

bool MatchesHint(const BcdDevice& device, const SystemPartitionHint& hint)
{
    if (!device.fromElement || device.kind != BcdDevice::Kind::Partition)
        return false;
    if (hint.gpt)
        return EqualsNoCase(device.diskGuid, hint.diskGuid) && EqualsNoCase(device.partitionGuid, hint.partitionGuid);
    return device.signature == hint.signature && device.offset == hint.offset;
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
            object.loader = object.type == kBootLoaderType;
            object.manager = object.type == kBootManagerType;
        }
        else if (rest.compare(0, 9, "elements\\") == 0 && (value = key.Value("Element")) != nullptr)
            ApplyElement(object, rest.substr(9), *value);
    }
    return store;
}

BootStore BootStoreFromBcdedit(const Text& text, const std::string& entry)
{
    BootStore store;
    store.entry = entry;
    for (const Section& section : Sections(text))
    {
        BcdObject object = ObjectFromSection(section, store.language);
        if (!object.id.empty())
            store.objects.push_back(object);
    }
    return store;
}

const BcdObject* CurrentLoader(const BootStore& store, const SystemPartitionHint& hint, std::string& how)
{
    if (hint.known)
        for (const BcdObject& object : store.objects)
            if (object.loader && MatchesHint(object.device, hint))
            {
                how = "its device is the system partition that mpdiag.log names";
                return &object;
            }
    if (const BcdObject* current = store.Find("{current}"))
    {
        how = "bcdedit names it {current}";
        return current;
    }
    for (const BcdObject& object : store.objects)
        if (object.manager && !object.defaultObject.empty())
            if (const BcdObject* chosen = store.Find(object.defaultObject); chosen && chosen->loader)
            {
                how = "the boot manager starts it by default";
                return chosen;
            }
    std::vector<const BcdObject*> candidates;
    for (const BcdObject& object : store.objects)
        if (object.loader && object.device.kind == BcdDevice::Kind::Partition && object.winPe != 1 &&
            !Referenced(store, object.id))
            candidates.push_back(&object);
    if (candidates.size() == 1)
    {
        how = "it is the only Windows loader that is not a recovery loader";
        return candidates.front();
    }
    for (const BcdObject* object : candidates)
        if (!object->recoverySequence.empty())
        {
            how = "it is the first of " + std::to_string(candidates.size()) +
                  " Windows loaders with a recovery sequence (the store does not say which one runs)";
            return object;
        }
    return nullptr;
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
