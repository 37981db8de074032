#include "BCD.h"

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
