#include "boot_store.h"

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

// The partition fields of a device record, from `base`: offset or partition id, then at
// base + 24 the signature or disk id.
void PutPartition(std::string& bytes, size_t base, const PartitionIdentity& partition)
{
    if (partition.signature == 0xFFFFFFFF)
    {
        Put(bytes, base, &partition.partition, sizeof(GUID));
        Put(bytes, base + 24, &partition.disk, sizeof(GUID));
    }
    else
    {
        Put(bytes, base, &partition.offset, sizeof(LONGLONG));
        Put(bytes, base + 24, &partition.signature, sizeof(DWORD));
    }
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
    std::string bytes(std::max<size_t>(size, 88), '\0');
    const DWORD partitionDevice = 6;
    Put(bytes, 16, &partitionDevice, sizeof partitionDevice);
    PutPartition(bytes, 32, partition);
    bytes.resize(size);
    return bytes;
}

std::string OsDeviceElement(const PartitionIdentity& partition, const std::wstring& imagePath)
{
    std::string bytes(140 + (imagePath.size() + 1) * sizeof(wchar_t), '\0');
    const DWORD ramdiskDevice = 3;
    Put(bytes, 16, &ramdiskDevice, sizeof ramdiskDevice);
    PutPartition(bytes, 84, partition);
    Put(bytes, 140, imagePath.c_str(), imagePath.size() * sizeof(wchar_t));
    return bytes;
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

void InstallBootStore(const PartitionIdentity& system, const PartitionIdentity& recovery)
{
    const wxString manager = "{9dea862c-5cdd-4e70-acc1-f32b344d4795}";
    const wxString loader = "{4f2c1a8e-7b3d-11ef-a1c4-0021cc6b2e10}";
    const wxString winre = "{4f2c1a8f-7b3d-11ef-a1c4-0021cc6b2e10}";
    BootStore::Object(manager, kBootManager);
    BootStore::Element(manager, "11000001", AppDeviceElement(recovery));
    BootStore::Object(loader, kBootLoader);
    BootStore::Element(loader, "11000001", AppDeviceElement(system));
    BootStore::Element(loader, "14000008", MultiSz({winre.ToStdWstring()}), REG_MULTI_SZ);
    BootStore::Object(winre, kBootLoader);
    // The recovery loader starts from its ramdisk, so its application device is one too.
    BootStore::Element(winre, "11000001", OsDeviceElement(recovery, L"\\Recovery\\WindowsRE\\Winre.wim"));
    BootStore::Element(winre, "21000001", OsDeviceElement(recovery, L"\\Recovery\\WindowsRE\\Winre.wim"));
}
