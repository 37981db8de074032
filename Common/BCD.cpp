#include "BCD.h"

#include "common.h"
#include "drivers.h"
#include "mplog.h"

#include <algorithm>
#include <cstring>
#include <string>

namespace
{
const size_t kInitialValueCapacity = 1024;
const DWORD kSubKeyNameChars = 256;

// Makes room for `size` bytes, with some to spare for a value that grows meanwhile.
void Reserve(wxMemoryBuffer& buffer, DWORD size)
{
    if (size > buffer.GetBufSize())
        buffer.SetBufSize(size + kInitialValueCapacity);
}
} // namespace

CRegistryKey::CRegistryKey() : m_root(HKEY_LOCAL_MACHINE), m_handle(HKEY_LOCAL_MACHINE), m_subKeyIndex(0) {}

CRegistryKey::~CRegistryKey() { Close(); }

LONG CRegistryKey::Open(const wxString& subpath, bool write, DWORD extraAccess)
{
    // Nothing to open for an empty path in read mode (the mode no key ever leaves).
    if (subpath.empty() && !write)
        return ERROR_SUCCESS;

    HKEY opened = nullptr;
    const LONG status = ::RegOpenKeyExW(m_handle, subpath.wc_str(), 0, (write ? KEY_ALL_ACCESS : KEY_READ) | extraAccess,
                                        &opened);
    if (status != ERROR_SUCCESS)
        return status; // the key open before stays open and usable

    ::RegCloseKey(m_handle);
    m_handle = opened;
    const wxString tail = subpath.StartsWith(wxT("\\")) ? subpath.Mid(1) : subpath;
    if (m_path.empty())
        m_path = subpath;
    else
        m_path += (m_path.EndsWith(wxT("\\")) ? wxString() : wxString(wxT("\\"))) + tail;
    return ERROR_SUCCESS;
}

LONG CRegistryKey::OpenFromRoot(const wxString& subpath, bool write, DWORD extraAccess)
{
    Close();
    return Open(subpath, write, extraAccess);
}

void CRegistryKey::Close()
{
    ::RegCloseKey(m_handle); // the predefined root too: the registry ignores that
    m_handle = m_root;
    m_path.clear();
    m_subKeyName.clear();
    m_subKeyIndex = 0;
}

bool CRegistryKey::EnumSubKey(wxString& name, bool first)
{
    m_subKeyIndex = first ? 0 : m_subKeyIndex + 1;
    wchar_t buffer[kSubKeyNameChars];
    DWORD chars = kSubKeyNameChars;
    if (::RegEnumKeyExW(m_handle, m_subKeyIndex, buffer, &chars, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS)
        return false;
    m_subKeyName = buffer;
    name = m_subKeyName;
    return true;
}

LONG CRegistryKey::QueryValue(const wxString& valueName, DWORD& type, wxMemoryBuffer& buffer)
{
    DWORD size = 0;
    ::RegQueryValueExW(m_handle, valueName.wc_str(), nullptr, nullptr, nullptr, &size);
    Reserve(buffer, size);
    size = static_cast<DWORD>(buffer.GetBufSize());
    const LONG status =
        ::RegQueryValueExW(m_handle, valueName.wc_str(), nullptr, &type, static_cast<BYTE*>(buffer.GetData()), &size);
    if (status != ERROR_SUCCESS)
    {
        buffer = wxMemoryBuffer();
        return status;
    }
    buffer.SetDataLen(size);
    return ERROR_SUCCESS;
}

wxMemoryBuffer CRegistryKey::GetBinaryValue(const wxString& valueName)
{
    // Whatever the value's type; a failed read leaves the buffer empty.
    wxMemoryBuffer buffer(kInitialValueCapacity);
    DWORD type = REG_NONE;
    QueryValue(valueName, type, buffer);
    return buffer;
}

int CRegistryKey::GetDWordValue(const wxString& valueName, int defaultValue)
{
    wxMemoryBuffer buffer(kInitialValueCapacity);
    DWORD type = REG_NONE;
    if (QueryValue(valueName, type, buffer) != ERROR_SUCCESS || type != REG_DWORD || buffer.GetDataLen() < sizeof(DWORD))
        return defaultValue;
    DWORD value = 0;
    memcpy(&value, buffer.GetData(), sizeof value);
    return static_cast<int>(value);
}

wxArrayString MultiSzToArray(const wchar_t* text)
{
    wxArrayString strings;
    if (!text)
        return strings;
    // Strings of any length are taken whole; the closing empty string ends the list.
    for (const wchar_t* p = text; *p; p += wcslen(p) + 1)
        strings.Add(wxString(p));
    return strings;
}

// ---- boot configuration store ----

namespace
{
const DWORD kBootLoaderType = 0x10200003;
const size_t kAppDeviceMinBytes = 59;
const size_t kOsDeviceMinBytes = 138;
const size_t kOsDevicePathOffset = 140;

// An element's bytes, read little-endian; bytes past the value's end read as zero, so a short
// value is compared as far as it goes and never read outside.
class ElementBytes
{
public:
    explicit ElementBytes(const wxMemoryBuffer& value) : m_value(value) {}

    size_t Size() const { return m_value.GetDataLen(); }
    void Read(size_t offset, void* out, size_t size) const
    {
        memset(out, 0, size);
        if (offset < Size())
            memcpy(out, static_cast<const BYTE*>(m_value.GetData()) + offset, std::min(size, Size() - offset));
    }
    DWORD U32(size_t offset) const
    {
        DWORD value;
        Read(offset, &value, sizeof value);
        return value;
    }
    LONGLONG I64(size_t offset) const
    {
        LONGLONG value;
        Read(offset, &value, sizeof value);
        return value;
    }
    bool Equals(size_t offset, const GUID& guid) const
    {
        GUID value;
        Read(offset, &value, sizeof value);
        return memcmp(&value, &guid, sizeof value) == 0;
    }
    // UTF-16 text from `offset` to the end, up to a terminating zero.
    wxString Text(size_t offset) const
    {
        const size_t units = Size() > offset ? (Size() - offset) / 2 : 0;
        std::wstring text(units, L'\0');
        Read(offset, &text[0], units * 2);
        return wxString(text.c_str());
    }

private:
    const wxMemoryBuffer& m_value;
};

wxString ObjectPath(const wxString& name) { return wxT("BCD00000000\\Objects\\") + name; }

bool IsBootLoader(CRegistryKey& key, const wxString& name)
{
    if (key.OpenFromRoot(ObjectPath(name) + wxT("\\Description")) != ERROR_SUCCESS)
        return false;
    const wxMemoryBuffer type = key.GetBinaryValue(wxT("Type"));
    return type.GetDataLen() >= 4 && ElementBytes(type).U32(0) == kBootLoaderType;
}

bool BootsFromPartition(const wxString& name, DWORD signature, LONGLONG offset, const GUID& diskGuid,
                        const GUID& partitionGuid)
{
    CRegistryKey key;
    if (!IsBootLoader(key, name))
        return false;
    if (key.OpenFromRoot(ObjectPath(name) + wxT("\\Elements\\11000001")) != ERROR_SUCCESS)
        return false;
    const wxMemoryBuffer value = key.GetBinaryValue(wxT("Element"));
    const ElementBytes element(value);
    if (element.Size() < kAppDeviceMinBytes)
        return false;
    if (signature == 0xFFFFFFFF)
        return element.Equals(56, diskGuid) && element.Equals(32, partitionGuid);
    return element.U32(56) == signature && element.I64(32) == offset;
}

// The splitter wants its closing empty string: the value's own end supplies it when missing.
wxArrayString SplitMultiSz(const wxMemoryBuffer& value)
{
    std::wstring text(value.GetDataLen() / 2, L'\0');
    memcpy(&text[0], value.GetData(), text.size() * 2);
    text.append(2, L'\0');
    return MultiSzToArray(text.c_str());
}

// The volume of the disk at `disk` that holds the element's partition, or empty.
wxString FindOsDeviceVolume(const wxString& disk, const ElementBytes& element)
{
    DWORD signature = 0;
    GUID diskId = {};
    if (!GetDiskSignature(disk, &signature, &diskId))
        return wxString();
    const bool gpt = signature == 0xFFFFFFFF;
    if (!gpt && signature != element.U32(108))
    {
        MP_LOG(wxLOG_Error, "BCD", "GetBCDObjectPath")("GetBCDObjectPath. Disk Signature is not equal: %u <> %u",
                                                       signature, element.U32(108));
        return wxString();
    }
    if (gpt && !element.Equals(108, diskId))
        return wxString();

    const wxArrayString volumes = GetDiskVolumes(GetDeviceNumber(disk, INFINITE, false), INFINITE, false);
    for (const wxString& volume : volumes)
    {
        MP_LOG(wxLOG_Message, "BCD", "GetBCDObjectPath")("Check volume: %s", volume);
        PARTITION_INFORMATION_EX partition;
        const bool known = GetVolumeInfo(volume, partition);
        if (gpt)
        {
            if (!known)
                continue;
            MP_LOG(wxLOG_Message, "BCD", "GetBCDObjectPath")("Volume: %s; Offset: %I64d", volume,
                                                             partition.StartingOffset.QuadPart);
            if (element.Equals(84, partition.Gpt.PartitionId))
                return volume;
            continue;
        }
        LONGLONG offset = known ? partition.StartingOffset.QuadPart : 0;
        if (!known && !GetVolumeOffset(volume, offset))
            continue;
        MP_LOG(wxLOG_Message, "BCD", "GetBCDObjectPath")("Volume: %s; Offset: %I64d", volume, offset);
        if (offset == element.I64(84))
            return volume;
        MP_LOG(wxLOG_Error, "BCD", "GetBCDObjectPath")("GetBCDObjectPath. Offset is not equal: %I64d <> %I64d", offset,
                                                       element.I64(84));
    }
    return wxString();
}
} // namespace

wxString GetCurrentBCDObject(DWORD signature, LONGLONG offset, const GUID& diskGuid, const GUID& partitionGuid)
{
    CRegistryKey objects;
    const LONG status = objects.Open(wxT("BCD00000000\\Objects"));
    if (status != ERROR_SUCCESS)
    {
        MP_LOG(wxLOG_Error, "BCD", "GetCurrentBCDObject")("Can't get into HKLM\\BCD00000000\\Objects (%d)",
                                                          static_cast<int>(status));
        return wxString();
    }
    wxString name;
    for (bool more = objects.EnumSubKey(name, true); more; more = objects.EnumSubKey(name, false))
    {
        if (BootsFromPartition(name, signature, offset, diskGuid, partitionGuid))
            return name;
    }
    return wxString();
}

wxString GetRecoverBCDObject(const wxString& name)
{
    CRegistryKey key;
    const LONG status = key.Open(ObjectPath(name) + wxT("\\Elements\\14000008"));
    if (status != ERROR_SUCCESS)
    {
        MP_LOG(wxLOG_Error, "BCD", "GetRecoverBCDObject")(
            "Can't get into HKLM\\BCD00000000\\Objects\\%s\\Elements\\14000008 (%d)", name, static_cast<int>(status));
        return wxString();
    }
    const wxMemoryBuffer value = key.GetBinaryValue(wxT("Element"));
    if (value.GetDataLen() == 0)
    {
        MP_LOG(wxLOG_Error, "BCD", "GetRecoverBCDObject")(
            "Can't get value HKLM\\BCD00000000\\Objects\\%s\\Elements\\14000008\\Element", name);
        return wxString();
    }
    // Only the first of the sequence is ever started.
    const wxArrayString sequence = SplitMultiSz(value);
    return sequence.empty() ? wxString() : sequence[0];
}

wxString GetBCDObjectPath(const wxString& name)
{
    CRegistryKey key;
    const LONG status = key.Open(ObjectPath(name) + wxT("\\Elements\\21000001"));
    if (status != ERROR_SUCCESS)
    {
        MP_LOG(wxLOG_Error, "BCD", "GetBCDObjectPath")(
            "Can't get into HKLM\\BCD00000000\\Objects\\%s\\Elements\\21000001 (%d)", name, static_cast<int>(status));
        return wxString();
    }
    const wxMemoryBuffer value = key.GetBinaryValue(wxT("Element"));
    const ElementBytes element(value);
    if (element.Size() < kOsDeviceMinBytes)
    {
        MP_LOG(wxLOG_Error, "BCD", "GetBCDObjectPath")(
            "Can't get value HKLM\\BCD00000000\\Objects\\%s\\Elements\\21000001\\Element", name);
        return wxString();
    }
    // A 138- or 139-byte value names no file: the result is then the volume itself.
    const wxString imagePath = element.Text(kOsDevicePathOffset);

    wxArrayString disks;
    EnumerateAllDisks(disks);
    for (const wxString& disk : disks)
    {
        const wxString volume = FindOsDeviceVolume(disk, element);
        if (!volume.empty())
            return JoinPath(volume, imagePath);
    }
    return wxString();
}
