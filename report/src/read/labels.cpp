#include "read/labels.h"

#include "read/text.h"

#include <vector>

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

// As real machines printed them (the field samples); French Windows 7 writes a straight
// apostrophe, Windows 10 a typographic one.
const SystemInfoLabel kSystemInfoLabels[] = {
    {SystemInfoField::HostName, "English", "Host Name"},
    {SystemInfoField::OsName, "English", "OS Name"},
    {SystemInfoField::OsVersion, "English", "OS Version"},
    {SystemInfoField::SystemType, "English", "System Type"},
    {SystemInfoField::WindowsDirectory, "English", "Windows Directory"},
    {SystemInfoField::SystemDirectory, "English", "System Directory"},
    {SystemInfoField::BootDevice, "English", "Boot Device"},
    {SystemInfoField::HostName, "German", "Hostname"},
    {SystemInfoField::OsName, "German", "Betriebssystemname"},
    {SystemInfoField::OsVersion, "German", "Betriebssystemversion"},
    {SystemInfoField::SystemType, "German", "Systemtyp"},
    {SystemInfoField::WindowsDirectory, "German", "Windows-Verzeichnis"},
    {SystemInfoField::SystemDirectory, "German", "System-Verzeichnis"},
    {SystemInfoField::BootDevice, "German", "Startgerät"},
    {SystemInfoField::HostName, "French", "Nom de l'hôte"},
    {SystemInfoField::HostName, "French", "Nom de l’hôte"},
    {SystemInfoField::OsName, "French", "Nom du système d'exploitation"},
    {SystemInfoField::OsName, "French", "Nom du système d’exploitation"},
    {SystemInfoField::OsVersion, "French", "Version du système"},
    {SystemInfoField::SystemType, "French", "Type du système"},
    {SystemInfoField::WindowsDirectory, "French", "Répertoire Windows"},
    {SystemInfoField::SystemDirectory, "French", "Répertoire système"},
    {SystemInfoField::BootDevice, "French", "Périphérique d'amorçage"},
    {SystemInfoField::BootDevice, "French", "Périphérique d’amorçage"},
    {SystemInfoField::HostName, "Italian", "Nome host"},
    {SystemInfoField::OsName, "Italian", "Nome SO"},
    {SystemInfoField::OsVersion, "Italian", "Versione SO"},
    {SystemInfoField::SystemType, "Italian", "Tipo sistema"},
    {SystemInfoField::WindowsDirectory, "Italian", "Directory Windows"},
    {SystemInfoField::SystemDirectory, "Italian", "Directory di sistema"},
    {SystemInfoField::BootDevice, "Italian", "Dispositivo di avvio"},
    {SystemInfoField::HostName, "Spanish", "Nombre de host"},
    {SystemInfoField::OsName, "Spanish", "Nombre del sistema operativo"},
    {SystemInfoField::OsVersion, "Spanish", "Versión del sistema operativo"},
    {SystemInfoField::SystemType, "Spanish", "Tipo de sistema"},
    {SystemInfoField::WindowsDirectory, "Spanish", "Directorio de Windows"},
    {SystemInfoField::SystemDirectory, "Spanish", "Directorio de sistema"},
    {SystemInfoField::BootDevice, "Spanish", "Dispositivo de arranque"},
    {SystemInfoField::HostName, "Russian", "Имя узла"},
    {SystemInfoField::OsName, "Russian", "Название ОС"},
    {SystemInfoField::OsVersion, "Russian", "Версия ОС"},
    {SystemInfoField::SystemType, "Russian", "Тип системы"},
    {SystemInfoField::WindowsDirectory, "Russian", "Папка Windows"},
    {SystemInfoField::SystemDirectory, "Russian", "Системная папка"},
    {SystemInfoField::BootDevice, "Russian", "Устройство загрузки"},
    {SystemInfoField::HostName, "Chinese", "主机名"},
    {SystemInfoField::OsName, "Chinese", "OS 名称"},
    {SystemInfoField::OsVersion, "Chinese", "OS 版本"},
    {SystemInfoField::SystemType, "Chinese", "系统类型"},
    {SystemInfoField::WindowsDirectory, "Chinese", "Windows 目录"},
    {SystemInfoField::SystemDirectory, "Chinese", "系统目录"},
    {SystemInfoField::BootDevice, "Chinese", "启动设备"},
};

const struct
{
    SystemInfoField field;
    size_t ordinal;
} kOrdinals[] = {
    {SystemInfoField::HostName, 1},          {SystemInfoField::OsName, 2},           {SystemInfoField::OsVersion, 3},
    {SystemInfoField::SystemType, 14},       {SystemInfoField::WindowsDirectory, 17}, {SystemInfoField::SystemDirectory, 18},
    {SystemInfoField::BootDevice, 19},
};

const struct
{
    const char* language;
    const char* text;
} kIdentifiers[] = {
    {"English", "identifier"},   {"German", "Bezeichner"},        {"French", "identificateur"},
    {"Italian", "identificatore"}, {"Portuguese", "identificador"}, {"Chinese", "标识符"},
};

struct SectionTitle
{
    BcdeditSection section;
    const char* language;
    const char* text;
};

const SectionTitle kSectionTitles[] = {
    {BcdeditSection::BootManager, "English", "Windows Boot Manager"},
    {BcdeditSection::FirmwareBootManager, "English", "Firmware Boot Manager"},
    {BcdeditSection::BootLoader, "English", "Windows Boot Loader"},
    {BcdeditSection::ResumeLoader, "English", "Resume from Hibernate"},
    {BcdeditSection::MemoryTester, "English", "Windows Memory Tester"},
    {BcdeditSection::DeviceOptions, "English", "Device options"},
    {BcdeditSection::BootManager, "German", "Windows-Start-Manager"},
    {BcdeditSection::BootLoader, "German", "Windows-Startladeprogramm"},
    {BcdeditSection::ResumeLoader, "German", "Wiederaufnahme aus dem Ruhezustand"},
    {BcdeditSection::MemoryTester, "German", "Windows-Speichertestprogramm"},
    {BcdeditSection::BootManager, "French", "Gestionnaire de démarrage Windows"},
    {BcdeditSection::BootLoader, "French", "Chargeur de démarrage Windows"},
    {BcdeditSection::BootManager, "Portuguese", "Gestor de Arranque do Windows"},
    {BcdeditSection::BootLoader, "Portuguese", "Carregador de Arranque do Windows"},
    {BcdeditSection::BootManager, "Chinese", "Windows 启动管理器"},
    {BcdeditSection::BootLoader, "Chinese", "Windows 启动加载器"},
    {BcdeditSection::BootLoader, "Japanese", "Windows ブート ローダー"},
};

const size_t kLongestLabel = 96; // code points; longer text is no label
const char32_t kLost = 0xFFFD;

char32_t Lower(char32_t c) { return c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c; }
bool IsAscii(char32_t c) { return c < 0x80; }

// What a letter outside ASCII can have become on its way through a code page and the
// collector's UTF-8 decoding: U+FFFD, a letter that some bytes happened to spell, or the ASCII
// letter of a double-byte code page's trail byte (0x40 to 0x7E). Never a space, a digit or a
// sign below 0x40: no code page's byte of a letter outside ASCII is one.
bool MayStandForLostLetter(char32_t c) { return !IsAscii(c) || (c >= 0x40 && c <= 0x7E); }

// Whether text[from..] matches the label's pieces from `piece` on: a run of ASCII letters must
// be there as it is; a run of n letters outside ASCII may have become 1 to 2n code points that
// may stand for lost letters, one of them at least outside ASCII.
bool MatchPieces(const std::u32string& text, size_t from, const std::vector<std::u32string>& pieces, size_t piece)
{
    if (piece == pieces.size())
        return from == text.size();
    const std::u32string& run = pieces[piece];
    if (IsAscii(run[0]))
    {
        if (text.size() - from < run.size())
            return false;
        for (size_t i = 0; i < run.size(); ++i)
            if (Lower(text[from + i]) != Lower(run[i]))
                return false;
        return MatchPieces(text, from + run.size(), pieces, piece + 1);
    }
    bool outside = false;
    for (size_t length = 1; length <= 2 * run.size() && from + length <= text.size(); ++length)
    {
        const char32_t c = text[from + length - 1];
        if (!MayStandForLostLetter(c))
            return false;
        outside = outside || !IsAscii(c);
        if (outside && MatchPieces(text, from + length, pieces, piece + 1))
            return true;
    }
    return false;
}

// The label in runs of ASCII and of other letters.
std::vector<std::u32string> Pieces(const std::u32string& label)
{
    std::vector<std::u32string> pieces;
    for (char32_t c : label)
    {
        if (pieces.empty() || IsAscii(pieces.back()[0]) != IsAscii(c))
            pieces.emplace_back();
        pieces.back().push_back(c);
    }
    return pieces;
}

enum class Fit
{
    None,
    Exact,
    Garbled,
};

// Whether the label has an ASCII letter, which survives any code page.
bool HasReadablePart(const std::u32string& label)
{
    for (char32_t c : label)
        if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'))
            return true;
    return false;
}

// Exact: the same letters (ASCII letters in any case). Garbled: the text lost letters to the
// code page (it holds U+FFFD) and what it kept agrees with the label; a label without an ASCII
// letter keeps nothing to agree with (the lost letters of another language would fit it too).
Fit Compare(const std::string& text, const char* label)
{
    const std::u32string a = DecodeUtf8(Trim(text)), b = DecodeUtf8(label);
    if (a.empty() || a.size() > kLongestLabel)
        return Fit::None;
    if (a.size() == b.size())
    {
        size_t i = 0;
        while (i < a.size() && Lower(a[i]) == Lower(b[i]))
            ++i;
        if (i == a.size())
            return Fit::Exact;
    }
    if (a.find(kLost) == std::u32string::npos || !HasReadablePart(b))
        return Fit::None;
    return MatchPieces(a, 0, Pieces(b), 0) ? Fit::Garbled : Fit::None;
}

// The language of the rows that fit: an exact fit wins; garbled fits count only when they all
// name one language (and, for titles, one section).
template <typename Row, typename Accept>
LabelMatch Best(const std::string& text, const Row* begin, const Row* end, Accept accept, const Row** chosen = nullptr)
{
    LabelMatch match;
    const Row* garbled = nullptr;
    bool agree = true;
    for (const Row* row = begin; row != end; ++row)
    {
        if (!accept(*row))
            continue;
        const Fit fit = Compare(text, row->text);
        if (fit == Fit::Exact)
        {
            if (chosen)
                *chosen = row;
            return {row->language, false};
        }
        if (fit == Fit::Garbled)
        {
            agree = agree && (!garbled || std::string(garbled->language) == row->language);
            garbled = garbled ? garbled : row;
        }
    }
    if (garbled && agree)
    {
        if (chosen)
            *chosen = garbled;
        match = {garbled->language, true};
    }
    return match;
}
} // namespace

size_t SystemInfoOrdinal(SystemInfoField field)
{
    for (const auto& entry : kOrdinals)
        if (entry.field == field)
            return entry.ordinal;
    return 0;
}

LabelMatch MatchSystemInfoLabel(const std::string& text, SystemInfoField field)
{
    return Best(text, std::begin(kSystemInfoLabels), std::end(kSystemInfoLabels),
                [&](const SystemInfoLabel& row) { return row.field == field; });
}

LabelMatch MatchBcdeditIdentifier(const std::string& text)
{
    return Best(text, std::begin(kIdentifiers), std::end(kIdentifiers), [](const auto&) { return true; });
}

BcdeditSection MatchBcdeditSection(const std::string& title, LabelMatch* label)
{
    const SectionTitle* chosen = nullptr;
    const LabelMatch match = Best(title, std::begin(kSectionTitles), std::end(kSectionTitles), [](const SectionTitle&) { return true; }, &chosen);
    if (label)
        *label = match;
    if (match.language.empty())
        return BcdeditSection::Unknown;
    // Garbled titles of one language may fit more than one section ("Windows " and five lost
    // letters): the section is then told by what it holds.
    for (const SectionTitle& row : kSectionTitles)
        if (match.garbled && row.section != chosen->section && Compare(title, row.text) == Fit::Garbled)
            return BcdeditSection::Unknown;
    return chosen->section;
}
} // namespace report
