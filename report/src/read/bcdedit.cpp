#include "read/bcdedit.h"

#include "read/labels.h"

namespace report
{
namespace
{
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
    object.type = object.loader ? kBootLoaderObject : object.manager ? kBootManagerObject : 0;
    return object;
}
} // namespace

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
} // namespace report
