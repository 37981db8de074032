#include "read/labels.h"

#include "read/text.h"

namespace report
{
namespace
{
struct SystemInfoLabel
{
    SystemInfoField field;
    const char* language;
    const char* text;
};

const SystemInfoLabel kSystemInfoLabels[] = {
    {SystemInfoField::HostName, "English", "Host Name"},
    {SystemInfoField::OsName, "English", "OS Name"},
    {SystemInfoField::OsVersion, "English", "OS Version"},
    {SystemInfoField::SystemType, "English", "System Type"},
    {SystemInfoField::WindowsDirectory, "English", "Windows Directory"},
    {SystemInfoField::BootDevice, "English", "Boot Device"},
    {SystemInfoField::HostName, "German", "Hostname"},
    {SystemInfoField::OsName, "German", "Betriebssystemname"},
    {SystemInfoField::OsVersion, "German", "Betriebssystemversion"},
    {SystemInfoField::SystemType, "German", "Systemtyp"},
    {SystemInfoField::WindowsDirectory, "German", "Windows-Verzeichnis"},
    {SystemInfoField::BootDevice, "German", "Startgerät"},
};

struct BcdeditLabel
{
    BcdeditWord word;
    const char* language;
    const char* text;
};

const BcdeditLabel kBcdeditWords[] = {
    {BcdeditWord::Identifier, "English", "identifier"},
    {BcdeditWord::Yes, "English", "Yes"},
    {BcdeditWord::No, "English", "No"},
    {BcdeditWord::Identifier, "German", "Bezeichner"},
    {BcdeditWord::Yes, "German", "Ja"},
    {BcdeditWord::No, "German", "Nein"},
};

struct SectionTitle
{
    BcdeditSection section;
    const char* text;
};

const SectionTitle kSectionTitles[] = {
    {BcdeditSection::BootManager, "Windows Boot Manager"},
    {BcdeditSection::FirmwareBootManager, "Firmware Boot Manager"},
    {BcdeditSection::BootLoader, "Windows Boot Loader"},
    {BcdeditSection::ResumeLoader, "Resume from Hibernate"},
    {BcdeditSection::MemoryTester, "Windows Memory Tester"},
    {BcdeditSection::DeviceOptions, "Device options"},
    {BcdeditSection::BootManager, "Windows-Start-Manager"},
    {BcdeditSection::BootManager, "Windows-Boot-Manager"},
    {BcdeditSection::FirmwareBootManager, "Firmware-Start-Manager"},
    {BcdeditSection::FirmwareBootManager, "Firmware-Boot-Manager"},
    {BcdeditSection::BootLoader, "Windows-Startladeprogramm"},
    {BcdeditSection::ResumeLoader, "Fortsetzen nach Ruhezustand"},
    {BcdeditSection::MemoryTester, "Windows-Speicherdiagnose"},
    {BcdeditSection::DeviceOptions, "Geräteoptionen"},
};

// Case-insensitive comparison of ASCII letters; a character outside ASCII on either side (the
// table's umlaut, or the U+FFFD the collector left for a code-page letter) matches any one
// character outside ASCII.
bool LabelEquals(const std::string& text, const char* label)
{
    const std::u32string a = DecodeUtf8(Trim(text)), b = DecodeUtf8(label);
    if (a.size() != b.size())
        return false;
    for (size_t i = 0; i < a.size(); ++i)
    {
        if (a[i] >= 0x80 && b[i] >= 0x80)
            continue;
        auto lower = [](char32_t c) { return c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c; };
        if (lower(a[i]) != lower(b[i]))
            return false;
    }
    return true;
}
} // namespace

std::string MatchSystemInfoLabel(const std::string& text, SystemInfoField field)
{
    for (const SystemInfoLabel& label : kSystemInfoLabels)
        if (label.field == field && LabelEquals(text, label.text))
            return label.language;
    return "";
}

std::string MatchBcdeditWord(const std::string& text, BcdeditWord word)
{
    for (const BcdeditLabel& label : kBcdeditWords)
        if (label.word == word && LabelEquals(text, label.text))
            return label.language;
    return "";
}

BcdeditSection MatchBcdeditSection(const std::string& title)
{
    for (const SectionTitle& entry : kSectionTitles)
        if (LabelEquals(title, entry.text))
            return entry.section;
    return BcdeditSection::Unknown;
}
} // namespace report
