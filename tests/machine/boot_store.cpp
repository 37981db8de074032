#include "boot_store.h"

#include "sample_facts.h"
#include "sample_machine.h"

#include <algorithm>
#include <cstring>

namespace
{
const wchar_t kObjects[] = L"BCD00000000\\Objects\\";

void Put(std::string& bytes, size_t offset, const void* data, size_t size)
{
    memcpy(&bytes[offset], data, size);
}

// A device as Windows writes it into an element after the options object's identifier: a
// header (type, flags, the size of header and data, reserved), then the data of its type.
std::string Device(DWORD type, DWORD flags, const std::string& data)
{
    std::string bytes(16, '\0');
    const DWORD size = static_cast<DWORD>(bytes.size() + data.size());
    Put(bytes, 0, &type, sizeof type);
    Put(bytes, 4, &flags, sizeof flags);
    Put(bytes, 8, &size, sizeof size);
    return bytes + data;
}

// A partition device: the partition (GPT: its identifier; MBR: its offset) and the disk (GPT:
// its identifier; MBR: its signature), 16 bytes each, around the partition style (0 GPT, 1 MBR),
// and 16 bytes of zeros: 72 bytes, as in the stores Windows writes.
std::string PartitionDevice(const PartitionIdentity& partition)
{
    std::string data(56, '\0');
    const bool gpt = partition.signature == 0xFFFFFFFF;
    const DWORD style = gpt ? 0 : 1;
    if (gpt)
    {
        Put(data, 0, &partition.partition, sizeof(GUID));
        Put(data, 24, &partition.disk, sizeof(GUID));
    }
    else
    {
        Put(data, 0, &partition.offset, sizeof(LONGLONG));
        Put(data, 24, &partition.signature, sizeof(DWORD));
    }
    Put(data, 20, &style, sizeof style);
    return Device(6, 0, data);
}

HKEY CreateKey(const wxString& path)
{
    HKEY key = nullptr;
    ::RegCreateKeyExW(HKEY_LOCAL_MACHINE, path.wc_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr);
    return key;
}
} // namespace

std::string AppDeviceElement(const PartitionIdentity& partition, size_t size)
{
    std::string bytes = std::string(16, '\0') + PartitionDevice(partition);
    bytes.resize(size);
    return bytes;
}

std::string OsDeviceElement(const PartitionIdentity& partition, const std::wstring& imagePath)
{
    // A block I/O device of kind 3 (ramdisk): its image file, a structure (version 1, its
    // length, path type 5) followed by the device that holds the file and the file's path.
    const std::string path(reinterpret_cast<const char*>(imagePath.c_str()), (imagePath.size() + 1) * sizeof(wchar_t));
    const std::string parent = PartitionDevice(partition);
    std::string file(12, '\0');
    const DWORD version = 1, length = static_cast<DWORD>(file.size() + parent.size() + path.size()), pathType = 5;
    Put(file, 0, &version, sizeof version);
    Put(file, 4, &length, sizeof length);
    Put(file, 8, &pathType, sizeof pathType);
    std::string data(24, '\0');
    const DWORD ramdisk = 3;
    Put(data, 0, &ramdisk, sizeof ramdisk);
    return std::string(16, '\0') + Device(0, 1, data + file + parent + path);
}

std::string MultiSz(const std::vector<std::wstring>& strings)
{
    const std::wstring text = MultiSzText(strings);
    return std::string(reinterpret_cast<const char*>(text.data()), text.size() * sizeof(wchar_t));
}

void BootStore::Object(const wxString& id, DWORD type)
{
    const HKEY key = CreateKey(kObjects + id + "\\Description");
    ::RegSetValueExW(key, L"Type", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&type), sizeof type);
    ::RegCloseKey(key);
}

void BootStore::Element(const wxString& id, const wxString& element, const std::string& bytes, DWORD type)
{
    const HKEY key = CreateKey(kObjects + id + "\\Elements\\" + element);
    ::RegSetValueExW(key, L"Element", 0, type, reinterpret_cast<const BYTE*>(bytes.data()),
                     static_cast<DWORD>(bytes.size()));
    ::RegCloseKey(key);
}

void BootStore::Remove() { ::RegDeleteTreeW(HKEY_LOCAL_MACHINE, L"BCD00000000"); }

namespace
{
// Element values as the store keeps them: text and single objects as REG_SZ, object lists as
// REG_MULTI_SZ, booleans as one byte, integers as eight.
void Text(const wxString& id, const wxString& element, const std::wstring& text)
{
    BootStore::Element(id, element,
                       std::string(reinterpret_cast<const char*>(text.c_str()), (text.size() + 1) * sizeof(wchar_t)),
                       REG_SZ);
}

void Objects(const wxString& id, const wxString& element, const std::vector<std::wstring>& objects)
{
    BootStore::Element(id, element, MultiSz(objects), REG_MULTI_SZ);
}

void Boolean(const wxString& id, const wxString& element, bool value)
{
    BootStore::Element(id, element, std::string(1, value ? '\1' : '\0'));
}

void Integer(const wxString& id, const wxString& element, ULONGLONG value)
{
    BootStore::Element(id, element, std::string(reinterpret_cast<const char*>(&value), sizeof value));
}

// What every application of the store carries: its device, path (the boot manager has none),
// description and locale, and the settings it inherits.
void Application(const wxString& id, DWORD type, const std::string& device, const std::wstring& path,
                 const std::wstring& description, const std::wstring& locale, const std::wstring& inherits)
{
    BootStore::Object(id, type);
    BootStore::Element(id, "11000001", device);
    if (!path.empty())
        Text(id, "12000002", path);
    Text(id, "12000004", description);
    Text(id, "12000005", locale);
    Objects(id, "14000006", {inherits});
}

// A ramdisk device names its options object in its first 16 bytes.
std::string WithOptions(std::string device, const GUID& options)
{
    Put(device, 0, &options, sizeof options);
    return device;
}

const DWORD kResumeType = 0x10200004;
const DWORD kMemoryTesterType = 0x10200005;
const DWORD kLibrarySettingsType = 0x20100000;
const DWORD kLoaderSettingsType = 0x20200003;
const DWORD kResumeSettingsType = 0x20200004;
const DWORD kDeviceOptionsType = 0x30000000;
const GUID kRamdiskOptionsId = {0x4f2c1a90, 0x7b3d, 0x11ef, {0xa1, 0xc4, 0x00, 0x21, 0xcc, 0x6b, 0x2e, 0x10}};
const ULONGLONG kDisplayRecovery = 3;
const ULONGLONG kStandardMenu = 1;
const ULONGLONG kAllowedInMemory = 0x15000075;
} // namespace

void InstallBootStore(const PartitionIdentity& system, const PartitionIdentity& recovery, const std::wstring& locale)
{
    namespace s = sample;
    const std::string onSystem = AppDeviceElement(system);
    const std::string ramdisk = WithOptions(OsDeviceElement(recovery, s::kRecoveryImage), kRamdiskOptionsId);

    Application(s::kBootManager, kBootManager, AppDeviceElement(recovery), L"", L"Windows Boot Manager", locale,
                s::kGlobalSettings);
    Text(s::kBootManager, "23000003", s::kLoader);
    Text(s::kBootManager, "23000006", s::kResume);
    Objects(s::kBootManager, "24000001", {s::kLoader});
    Objects(s::kBootManager, "24000010", {s::kMemoryTester});
    Integer(s::kBootManager, "25000004", 30);

    Application(s::kLoader, kBootLoader, onSystem, L"\\Windows\\system32\\winload.exe", s::kLoaderDescription, locale,
                s::kLoaderSettings);
    Objects(s::kLoader, "14000008", {s::kRecoveryLoader});
    Integer(s::kLoader, "15000066", kDisplayRecovery);
    Boolean(s::kLoader, "16000009", true);
    Integer(s::kLoader, "17000077", kAllowedInMemory);
    BootStore::Element(s::kLoader, "21000001", onSystem);
    Text(s::kLoader, "22000002", L"\\Windows");
    Text(s::kLoader, "23000003", s::kResume);
    Integer(s::kLoader, "25000020", 0); // nx OptIn
    Integer(s::kLoader, "250000c2", kStandardMenu);

    // The recovery loader starts from its ramdisk, so its application device is one too.
    Application(s::kRecoveryLoader, kBootLoader, ramdisk, L"\\windows\\system32\\winload.exe",
                L"Windows Recovery Environment", locale, s::kLoaderSettings);
    Integer(s::kRecoveryLoader, "15000065", kDisplayRecovery);
    BootStore::Element(s::kRecoveryLoader, "21000001", ramdisk);
    Text(s::kRecoveryLoader, "22000002", L"\\windows");
    Integer(s::kRecoveryLoader, "25000020", 0);
    Integer(s::kRecoveryLoader, "250000c2", kStandardMenu);
    Boolean(s::kRecoveryLoader, "26000022", true); // winpe

    Application(s::kResume, kResumeType, onSystem, L"\\Windows\\system32\\winresume.exe", L"Windows Resume Application",
                locale, s::kResumeLoaderSettings);
    Objects(s::kResume, "14000008", {s::kRecoveryLoader});
    Boolean(s::kResume, "16000009", true);
    Integer(s::kResume, "17000077", kAllowedInMemory);
    BootStore::Element(s::kResume, "21000001", onSystem);
    Text(s::kResume, "22000002", L"\\hiberfil.sys");
    Integer(s::kResume, "250000c2", kStandardMenu);

    Application(s::kMemoryTester, kMemoryTesterType, onSystem, L"\\boot\\memtest.exe", L"Windows Memory Diagnostic",
                locale, s::kGlobalSettings);
    Boolean(s::kMemoryTester, "1600000b", true); // badmemoryaccess

    BootStore::Object(s::kEmsSettings, kLibrarySettingsType);
    Boolean(s::kEmsSettings, "16000020", false); // bootems
    BootStore::Object(s::kDebuggerSettings, kLibrarySettingsType);
    Integer(s::kDebuggerSettings, "15000011", 4); // debugtype Local
    BootStore::Object(s::kBadMemory, kLibrarySettingsType);
    BootStore::Object(s::kGlobalSettings, kLibrarySettingsType);
    Objects(s::kGlobalSettings, "14000006", {s::kDebuggerSettings, s::kEmsSettings, s::kBadMemory});
    BootStore::Object(s::kLoaderSettings, kLoaderSettingsType);
    Objects(s::kLoaderSettings, "14000006", {s::kGlobalSettings, s::kHypervisorSettings});
    BootStore::Object(s::kHypervisorSettings, kLoaderSettingsType);
    Integer(s::kHypervisorSettings, "250000f3", 0); // hypervisordebugtype Serial
    Integer(s::kHypervisorSettings, "250000f4", 1);
    Integer(s::kHypervisorSettings, "250000f5", 115200);
    BootStore::Object(s::kResumeLoaderSettings, kResumeSettingsType);
    Objects(s::kResumeLoaderSettings, "14000006", {s::kGlobalSettings});

    BootStore::Object(s::kRamdiskOptions, kDeviceOptionsType);
    Text(s::kRamdiskOptions, "12000004", L"Windows Recovery");
    BootStore::Element(s::kRamdiskOptions, "31000003", AppDeviceElement(recovery));
    Text(s::kRamdiskOptions, "32000004", s::kRamdiskSdi);
}
