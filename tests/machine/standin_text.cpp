#include "standin_text.h"

#include "sample_facts.h"

#include <algorithm>
#include <cwchar>
#include <vector>

namespace
{
const wchar_t kCrLf[] = L"\r\n";

std::wstring Padded(const std::wstring& text, size_t width)
{
    return text + std::wstring(width > text.size() ? width - text.size() : 0, L' ');
}

// ---- bcdedit ----

struct Element
{
    std::wstring name;
    std::vector<std::wstring> values; // a list shows one value a line
};

struct Section
{
    const wchar_t* english;
    const wchar_t* german; // null where no real German listing has shown the title
    std::vector<Element> elements;
};

const size_t kElementColumn = 24;

// Real German bcdedit translates the titles of its main sections and "identifier"; the field
// names and Yes/No stay English. A section whose German title no real listing has shown keeps
// its English title (german is null).
std::wstring Render(const Section& section, Language language)
{
    const std::wstring title = language == Language::German && section.german ? section.german : section.english;
    std::wstring text = kCrLf + title + kCrLf + std::wstring(title.size(), L'-') + kCrLf;
    for (const Element& element : section.elements)
    {
        const std::wstring name =
            element.name == L"identifier" && language == Language::German ? L"Bezeichner" : element.name;
        for (size_t i = 0; i < element.values.size(); ++i)
            text += Padded(i == 0 ? name : L"", kElementColumn) + element.values[i] + kCrLf;
    }
    return text;
}

std::vector<Section> Store(Language language)
{
    const std::wstring partition = L"partition=C:";
    const std::wstring ramdisk = std::wstring(L"ramdisk=[C:]") + sample::kRecoveryImage + L"," + sample::kRamdiskOptions;
    const std::wstring locale = language == Language::German ? sample::kGermanLocale : sample::kEnglishLocale;
    const std::wstring yes = L"Yes", no = L"No";
    return {
        {L"Windows Boot Manager",
         L"Windows-Start-Manager",
         {{L"identifier", {L"{bootmgr}"}},
          {L"device", {partition}},
          {L"description", {L"Windows Boot Manager"}},
          {L"locale", {locale}},
          {L"inherit", {L"{globalsettings}"}},
          {L"default", {L"{current}"}},
          {L"resumeobject", {sample::kResume}},
          {L"displayorder", {L"{current}"}},
          {L"toolsdisplayorder", {L"{memdiag}"}},
          {L"timeout", {L"30"}}}},
        {L"Windows Boot Loader",
         L"Windows-Startladeprogramm",
         {{L"identifier", {L"{current}"}},
          {L"device", {partition}},
          {L"path", {L"\\Windows\\system32\\winload.exe"}},
          {L"description", {sample::kLoaderDescription}},
          {L"locale", {locale}},
          {L"inherit", {L"{bootloadersettings}"}},
          {L"recoverysequence", {sample::kRecoveryLoader}},
          {L"displaymessageoverride", {L"Recovery"}},
          {L"recoveryenabled", {yes}},
          {L"allowedinmemorysettings", {L"0x15000075"}},
          {L"osdevice", {partition}},
          {L"systemroot", {L"\\Windows"}},
          {L"resumeobject", {sample::kResume}},
          {L"nx", {L"OptIn"}},
          {L"bootmenupolicy", {L"Standard"}}}},
        {L"Windows Boot Loader",
         L"Windows-Startladeprogramm",
         {{L"identifier", {sample::kRecoveryLoader}},
          {L"device", {ramdisk}},
          {L"path", {L"\\windows\\system32\\winload.exe"}},
          {L"description", {L"Windows Recovery Environment"}},
          {L"locale", {locale}},
          {L"inherit", {L"{bootloadersettings}"}},
          {L"displaymessage", {L"Recovery"}},
          {L"osdevice", {ramdisk}},
          {L"systemroot", {L"\\windows"}},
          {L"nx", {L"OptIn"}},
          {L"bootmenupolicy", {L"Standard"}},
          {L"winpe", {yes}}}},
        {L"Resume from Hibernate",
         L"Wiederaufnahme aus dem Ruhezustand",
         {{L"identifier", {sample::kResume}},
          {L"device", {partition}},
          {L"path", {L"\\Windows\\system32\\winresume.exe"}},
          {L"description", {L"Windows Resume Application"}},
          {L"locale", {locale}},
          {L"inherit", {L"{resumeloadersettings}"}},
          {L"recoverysequence", {sample::kRecoveryLoader}},
          {L"recoveryenabled", {yes}},
          {L"allowedinmemorysettings", {L"0x15000075"}},
          {L"filedevice", {partition}},
          {L"filepath", {L"\\hiberfil.sys"}},
          {L"bootmenupolicy", {L"Standard"}}}},
        {L"Windows Memory Tester",
         L"Windows-Speichertestprogramm",
         {{L"identifier", {L"{memdiag}"}},
          {L"device", {partition}},
          {L"path", {L"\\boot\\memtest.exe"}},
          {L"description", {L"Windows Memory Diagnostic"}},
          {L"locale", {locale}},
          {L"inherit", {L"{globalsettings}"}},
          {L"badmemoryaccess", {yes}}}},
        {L"EMS Settings", nullptr, {{L"identifier", {L"{emssettings}"}}, {L"bootems", {no}}}},
        {L"Debugger Settings", nullptr, {{L"identifier", {L"{dbgsettings}"}}, {L"debugtype", {L"Local"}}}},
        {L"RAM Defects", nullptr, {{L"identifier", {L"{badmemory}"}}}},
        {L"Global Settings",
         nullptr,
         {{L"identifier", {L"{globalsettings}"}},
          {L"inherit", {L"{dbgsettings}", L"{emssettings}", L"{badmemory}"}}}},
        {L"Boot Loader Settings",
         nullptr,
         {{L"identifier", {L"{bootloadersettings}"}}, {L"inherit", {L"{globalsettings}", L"{hypervisorsettings}"}}}},
        {L"Hypervisor Settings",
         nullptr,
         {{L"identifier", {L"{hypervisorsettings}"}},
          {L"hypervisordebugtype", {L"Serial"}},
          {L"hypervisordebugport", {L"1"}},
          {L"hypervisorbaudrate", {L"115200"}}}},
        {L"Resume Loader Settings",
         nullptr,
         {{L"identifier", {L"{resumeloadersettings}"}}, {L"inherit", {L"{globalsettings}"}}}},
        {L"Device options",
         nullptr,
         {{L"identifier", {sample::kRamdiskOptions}},
          {L"description", {L"Windows Recovery"}},
          {L"ramdisksdidevice", {partition}},
          {L"ramdisksdipath", {sample::kRamdiskSdi}}}},
    };
}

// ---- systeminfo ----

struct Field
{
    std::wstring label;
    std::vector<std::wstring> values; // further values on lines of their own, under the first
};

std::wstring Render(const std::vector<Field>& fields)
{
    size_t width = 0;
    for (const Field& field : fields)
        width = std::max(width, field.label.size() + 1);
    std::wstring text = kCrLf;
    for (const Field& field : fields)
    {
        for (size_t i = 0; i < field.values.size(); ++i)
            text += Padded(i == 0 ? field.label : L"", width) + field.values[i] + kCrLf;
    }
    return text;
}

const std::vector<std::wstring> kHotfixes = {L"KB5012170", L"KB5031539", L"KB5034441"};

std::vector<std::wstring> Numbered(const std::wstring& first, const std::vector<std::wstring>& items)
{
    std::vector<std::wstring> values = {first};
    for (size_t i = 0; i < items.size(); ++i)
    {
        wchar_t number[16];
        swprintf(number, 16, L"[%02u]: ", static_cast<unsigned>(i + 1));
        values.push_back(number + items[i]);
    }
    return values;
}

std::vector<Field> EnglishSysteminfo()
{
    return {
        {L"Host Name:", {sample::kHostName}},
        {L"OS Name:", {L"Microsoft Windows 10 Pro"}},
        {L"OS Version:", {L"10.0.19045 N/A Build 19045"}},
        {L"OS Manufacturer:", {L"Microsoft Corporation"}},
        {L"OS Configuration:", {L"Standalone Workstation"}},
        {L"OS Build Type:", {L"Multiprocessor Free"}},
        {L"Registered Owner:", {L"J\u00fcrgen Wei\u00df"}},
        {L"Registered Organization:", {L""}},
        {L"Product ID:", {L"00330-80000-00000-AA496"}},
        {L"Original Install Date:", {L"14/03/2023, 09:12:44"}},
        {L"System Boot Time:", {L"07/10/2024, 08:01:15"}},
        {L"System Manufacturer:", {L"Sample Computers Ltd."}},
        {L"System Model:", {L"SC-4000"}},
        {L"System Type:", {L"x64-based PC"}},
        {L"Processor(s):",
         Numbered(L"1 Processor(s) Installed.", {L"Intel64 Family 6 Model 158 Stepping 10 GenuineIntel ~3192 Mhz"})},
        {L"BIOS Version:", {L"Sample Computers Ltd. 1.4.2, 05/12/2023"}},
        {L"Windows Directory:", {L"C:\\Windows"}},
        {L"System Directory:", {L"C:\\Windows\\system32"}},
        {L"Boot Device:", {L"\\Device\\HarddiskVolume1"}},
        {L"System Locale:", {L"en-gb;English (United Kingdom)"}},
        {L"Input Locale:", {L"en-gb;English (United Kingdom)"}},
        {L"Time Zone:", {L"(UTC+00:00) Dublin, Edinburgh, Lisbon, London"}},
        {L"Total Physical Memory:", {L"8,191 MB"}},
        {L"Available Physical Memory:", {L"5,012 MB"}},
        {L"Virtual Memory: Max Size:", {L"9,471 MB"}},
        {L"Virtual Memory: Available:", {L"5,903 MB"}},
        {L"Virtual Memory: In Use:", {L"3,568 MB"}},
        {L"Page File Location(s):", {L"C:\\pagefile.sys"}},
        {L"Domain:", {L"WORKGROUP"}},
        {L"Logon Server:", {std::wstring(L"\\\\") + sample::kHostName}},
        {L"Hotfix(s):", Numbered(L"3 Hotfix(s) Installed.", kHotfixes)},
        // The one network adapter has no driver (see devices.txt), so none is listed.
        {L"Network Card(s):", {L"N/A"}},
        {L"Hyper-V Requirements:",
         {L"VM Monitor Mode Extensions: Yes", L"Virtualization Enabled In Firmware: Yes",
          L"Second Level Address Translation: Yes", L"Data Execution Prevention Available: Yes"}},
    };
}

std::vector<Field> GermanSysteminfo()
{
    return {
        {L"Hostname:", {sample::kHostName}},
        {L"Betriebssystemname:", {L"Microsoft Windows 10 Pro"}},
        {L"Betriebssystemversion:", {L"10.0.19045 Nicht zutreffend Build 19045"}},
        {L"Betriebssystemhersteller:", {L"Microsoft Corporation"}},
        {L"Betriebssystemkonfiguration:", {L"Eigenst\u00e4ndige Arbeitsstation"}},
        {L"Betriebssystem-Buildtyp:", {L"Multiprocessor Free"}},
        {L"Registrierter Benutzer:", {L"J\u00fcrgen Wei\u00df"}},
        {L"Registrierte Organisation:", {L""}},
        {L"Produkt-ID:", {L"00330-80000-00000-AA496"}},
        {L"Urspr\u00fcngliches Installationsdatum:", {L"14.03.2023, 09:12:44"}},
        {L"Systemstartzeit:", {L"07.10.2024, 08:01:15"}},
        {L"Systemhersteller:", {L"Sample Computers Ltd."}},
        {L"Systemmodell:", {L"SC-4000"}},
        {L"Systemtyp:", {L"x64-based PC"}},
        {L"Prozessor(en):",
         Numbered(L"1 Prozessor(en) installiert.", {L"Intel64 Family 6 Model 158 Stepping 10 GenuineIntel ~3192 MHz"})},
        {L"BIOS-Version:", {L"Sample Computers Ltd. 1.4.2, 05.12.2023"}},
        {L"Windows-Verzeichnis:", {L"C:\\Windows"}},
        {L"System-Verzeichnis:", {L"C:\\Windows\\system32"}},
        {L"Startger\u00e4t:", {L"\\Device\\HarddiskVolume1"}},
        {L"Systemgebietsschema:", {L"de;Deutsch (Deutschland)"}},
        {L"Eingabegebietsschema:", {L"de;Deutsch (Deutschland)"}},
        {L"Zeitzone:", {L"(UTC+01:00) Amsterdam, Berlin, Bern, Rom, Stockholm, Wien"}},
        {L"Gesamter physischer Speicher:", {L"8.191 MB"}},
        {L"Verf\u00fcgbarer physischer Speicher:", {L"5.012 MB"}},
        {L"Virtueller Arbeitsspeicher: Maximale Gr\u00f6\u00dfe:", {L"9.471 MB"}},
        {L"Virtueller Arbeitsspeicher: Verf\u00fcgbar:", {L"5.903 MB"}},
        {L"Virtueller Arbeitsspeicher: Zurzeit verwendet:", {L"3.568 MB"}},
        {L"Auslagerungsdateipfad(e):", {L"C:\\pagefile.sys"}},
        {L"Dom\u00e4ne:", {L"WORKGROUP"}},
        {L"Anmeldeserver:", {std::wstring(L"\\\\") + sample::kHostName}},
        {L"Hotfix(es):", Numbered(L"3 Hotfix(e) installiert.", kHotfixes)},
        {L"Netzwerkkarte(n):", {L"Nicht zutreffend"}},
        {L"Anforderungen f\u00fcr Hyper-V:",
         {L"VM-\u00dcberwachungsmodus-Erweiterungen: Ja", L"In Firmware aktivierte Virtualisierung: Ja",
          L"Adress\u00fcbersetzung der zweiten Ebene: Ja", L"Datenausf\u00fchrungsverhinderung verf\u00fcgbar: Ja"}},
    };
}

// ---- wmic ----

std::wstring Table(const std::vector<std::wstring>& headers, const std::vector<std::vector<std::wstring>>& rows)
{
    std::vector<size_t> widths;
    for (size_t column = 0; column < headers.size(); ++column)
    {
        size_t width = headers[column].size();
        for (const auto& row : rows)
            width = std::max(width, row[column].size());
        widths.push_back(width + 2);
    }
    const auto line = [&widths](const std::vector<std::wstring>& cells) {
        std::wstring text;
        for (size_t column = 0; column < cells.size(); ++column)
            text += Padded(cells[column], widths[column]);
        return text + L"\r\r\n";
    };
    std::wstring text = line(headers);
    for (const auto& row : rows)
        text += line(row);
    return text + L"\r\r\n";
}

std::vector<std::wstring> Hotfix(const std::wstring& description, const std::wstring& id, const std::wstring& date)
{
    const std::wstring relative =
        L"Win32_QuickFixEngineering.HotFixID=\"" + id + L"\",ServicePackInEffect=\"\"";
    return {L"2",
            L"Win32_QuickFixEngineering",
            L"CIM_LogicalElement",
            L"CIM_ManagedSystemElement",
            relative,
            L"9",
            L"{CIM_LogicalElement, CIM_ManagedSystemElement}",
            sample::kHostName,
            L"root\\cimv2",
            std::wstring(L"\\\\") + sample::kHostName + L"\\root\\cimv2:" + relative,
            description,
            L"",
            id,
            L"",
            L"NT AUTHORITY\\SYSTEM",
            date,
            L"",
            L"",
            L""};
}
} // namespace

std::wstring BcdeditEnumAll(Language language)
{
    std::wstring text;
    for (const Section& section : Store(language))
        text += Render(section, language);
    return text;
}

std::wstring BcdeditActive(Language language)
{
    const std::vector<Section> store = Store(language);
    return Render(store[0], language) + Render(store[1], language);
}

std::wstring Systeminfo(Language language)
{
    return Render(language == Language::German ? GermanSysteminfo() : EnglishSysteminfo());
}

std::wstring WmicHotfixes()
{
    return Table({L"__GENUS", L"__CLASS", L"__SUPERCLASS", L"__DYNASTY", L"__RELPATH", L"__PROPERTY_COUNT",
                  L"__DERIVATION", L"__SERVER", L"__NAMESPACE", L"__PATH", L"Description", L"FixComments",
                  L"HotFixID", L"InstallDate", L"InstalledBy", L"InstalledOn", L"Name", L"ServicePackInEffect",
                  L"Status"},
                 {Hotfix(L"Update", kHotfixes[0], L"8/9/2022"), Hotfix(L"Security Update", kHotfixes[1], L"10/10/2023"),
                  Hotfix(L"Security Update", kHotfixes[2], L"1/9/2024")});
}

std::wstring WmicDisks()
{
    const std::wstring model = L"SAMPLE SATA SSD 60GB";
    const std::wstring device = L"\\\\.\\PHYSICALDRIVE0";
    // Cylinders, tracks and sectors as the disk's geometry reports them (255 heads, 63 sectors a track).
    const long long cylinders = sample::kDiskSize / (255LL * 63 * 512);
    const std::vector<std::pair<std::wstring, std::wstring>> columns = {
        {L"Availability", L""},
        {L"BytesPerSector", L"512"},
        {L"Capabilities", L"{3, 4}"},
        {L"CapabilityDescriptions", L"{\"Random Access\", \"Supports Writing\"}"},
        {L"Caption", model},
        {L"CompressionMethod", L""},
        {L"ConfigManagerErrorCode", L"0"},
        {L"ConfigManagerUserConfig", L"FALSE"},
        {L"CreationClassName", L"Win32_DiskDrive"},
        {L"DefaultBlockSize", L""},
        {L"Description", L"Disk drive"},
        {L"DeviceID", device},
        {L"ErrorCleared", L""},
        {L"ErrorDescription", L""},
        {L"ErrorMethodology", L""},
        {L"FirmwareRevision", L"1.0"},
        {L"Index", L"0"},
        {L"InstallDate", L""},
        {L"InterfaceType", L"IDE"},
        {L"LastErrorCode", L""},
        {L"Manufacturer", L"(Standard disk drives)"},
        {L"MaxBlockSize", L""},
        {L"MaxMediaSize", L""},
        {L"MediaLoaded", L"TRUE"},
        {L"MediaType", L"Fixed hard disk media"},
        {L"MinBlockSize", L""},
        {L"Model", model},
        {L"Name", device},
        {L"NeedsCleaning", L""},
        {L"NumberOfMediaSupported", L""},
        {L"Partitions", L"1"},
        {L"PNPDeviceID", L"SCSI\\DISK&VEN_&PROD_SAMPLE_SATA_SSD_6\\4&2F4E6A1&0&000000"},
        {L"PowerManagementCapabilities", L""},
        {L"PowerManagementSupported", L""},
        {L"SCSIBus", L"0"},
        {L"SCSILogicalUnit", L"0"},
        {L"SCSIPort", L"0"},
        {L"SCSITargetId", L"0"},
        {L"SectorsPerTrack", L"63"},
        {L"SerialNumber", L"SMP2023001234"},
        {L"Signature", std::to_wstring(sample::kDiskSignature)},
        {L"Size", std::to_wstring(sample::kDiskSize)},
        {L"Status", L"OK"},
        {L"StatusInfo", L""},
        {L"SystemName", sample::kHostName},
        {L"TotalCylinders", std::to_wstring(cylinders)},
        {L"TotalHeads", L"255"},
        {L"TotalSectors", std::to_wstring(sample::kDiskSize / 512)},
        {L"TotalTracks", std::to_wstring(cylinders * 255)},
        {L"TracksPerCylinder", L"255"},
    };
    std::vector<std::wstring> headers;
    std::vector<std::wstring> disk;
    for (const auto& column : columns)
    {
        headers.push_back(column.first);
        disk.push_back(column.second);
    }
    return Table(headers, {disk});
}
