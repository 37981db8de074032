#include "read/bcdedit.h"

#include "read/labels.h"

#include <set>

namespace report
{
namespace
{
// The boot manager's identifier, as "bcdedit /v" shows it instead of {bootmgr}.
const char kBootManagerId[] = "{9dea862c-5cdd-4e70-acc1-f32b344d4795}";

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
    {
        device.kind = BcdDevice::Kind::Other;
        device.other = value;
    }
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

// bcdedit prints "Yes" and "No" in English in every language seen (German, French, Chinese,
// Japanese, ...); anything else is not read.
int YesNo(const std::string& value)
{
    return EqualsNoCase(value, "Yes") ? 1 : EqualsNoCase(value, "No") ? 0 : -1;
}

bool HasNonAscii(const std::string& text)
{
    for (char c : text)
        if (static_cast<unsigned char>(c) >= 0x80)
            return true;
    return false;
}

// A Windows boot loader by what it holds: the path of winload (winload.exe, winload.efi), an
// osdevice, or "winpe Yes", which only loaders of Windows have.
bool HoldsWindowsLoader(const BcdObject& object, const std::string& path)
{
    const size_t slash = path.find_last_of('\\');
    return StartsWithNoCase(path.substr(slash == std::string::npos ? 0 : slash + 1), "winload") ||
           object.osDevice.kind != BcdDevice::Kind::None || object.winPe == 1;
}

// The languages that the listing's labels show: a translated label names its language; English
// is shown only by English titles, and only when no label is translated.
class LanguageVote
{
public:
    void Add(const LabelMatch& match)
    {
        if (match.language.empty())
            return;
        (match.language == "English" ? m_english : m_translated).insert(match.language);
        m_garbled = m_garbled || (match.garbled && match.language != "English");
    }
    // "" when the labels show none, or more than one translated language.
    std::string Language() const
    {
        if (m_translated.size() == 1)
            return *m_translated.begin();
        return m_translated.empty() && !m_english.empty() ? "English" : "";
    }
    bool Garbled() const { return m_garbled && m_translated.size() == 1; }

private:
    std::set<std::string> m_english, m_translated;
    bool m_garbled = false;
};

BcdObject ObjectFromSection(const Section& section, bool lettersLost, LanguageVote& vote)
{
    BcdObject object;
    object.where = {section.line, section.title};
    LabelMatch titleLabel;
    const BcdeditSection kind = MatchBcdeditSection(section.title, &titleLabel);
    std::string path;
    for (size_t f = 0; f < section.fields.size(); ++f)
    {
        const std::string& name = section.fields[f].first;
        const std::vector<std::string>& values = section.fields[f].second;
        const std::string& value = values.front();
        const BcdSource where{section.fieldLines[f], name + " " + value};
        // The first line names the object, whatever the language calls it; a garbled label
        // counts only there. Japanese keeps the English "identifier": it shows no language.
        if (f == 0 && !value.empty() && value[0] == '{')
        {
            object.id = AsciiLower(value);
            const LabelMatch identifier = MatchBcdeditIdentifier(name);
            if (identifier.language != "English")
                vote.Add(identifier);
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
        {
            object.description = value;
            object.descriptionLost = lettersLost && HasNonAscii(value);
        }
        else if (EqualsNoCase(name, "path"))
            path = value;
        else if (EqualsNoCase(name, "recoverysequence"))
        {
            for (const std::string& id : values)
                object.recoverySequence.push_back(AsciiLower(id));
            object.sequenceWhere = where;
        }
        else if (EqualsNoCase(name, "recoveryenabled"))
        {
            object.recoveryEnabled = YesNo(value);
            object.enabledWhere = where;
        }
        else if (EqualsNoCase(name, "winpe"))
            object.winPe = YesNo(value);
        else if (EqualsNoCase(name, "default"))
            object.defaultObject = AsciiLower(value);
        else if (EqualsNoCase(name, "inherit"))
            for (const std::string& id : values)
                object.inherits.push_back(AsciiLower(id));
    }
    if (!object.id.empty())
        vote.Add(titleLabel);
    object.manager = object.id == "{bootmgr}" || object.id == kBootManagerId || kind == BcdeditSection::BootManager;
    object.loader = !object.manager && (kind == BcdeditSection::BootLoader || HoldsWindowsLoader(object, path));
    object.type = object.loader ? kBootLoaderObject : object.manager ? kBootManagerObject : 0;
    return object;
}
} // namespace

BootStore BootStoreFromBcdedit(const Text& text, const std::string& entry)
{
    BootStore store;
    store.entry = entry;
    LanguageVote vote;
    for (const Section& section : Sections(text))
    {
        BcdObject object = ObjectFromSection(section, text.lostCharacters > 0, vote);
        if (!object.id.empty())
            store.objects.push_back(object);
    }
    store.language = vote.Language();
    store.labelsGarbled = vote.Garbled();
    // "bcdedit /enum all" lists every object that another inherits from; plain "bcdedit" and
    // "/enum" of one entry leave the settings objects out.
    for (const BcdObject& object : store.objects)
        for (const std::string& id : object.inherits)
            store.listsAll = store.listsAll && store.Find(id) != nullptr;
    return store;
}
} // namespace report
