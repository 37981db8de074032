#pragma once
// Read-only registry access below HKEY_LOCAL_MACHINE, and the boot configuration store reader.
#include <wx/arrstr.h>
#include <wx/buffer.h>
#include <wx/string.h>

#include <windows.h>

// One open key at a time. Every operation returns the Win32 code of the call that failed and
// logs nothing; callers decide what to say.
class CRegistryKey
{
public:
    CRegistryKey();
    ~CRegistryKey();
    CRegistryKey(const CRegistryKey&) = delete;
    CRegistryKey& operator=(const CRegistryKey&) = delete;

    // Opens `subpath` relative to the key open now, so two calls open nested keys.
    LONG Open(const wxString& subpath, bool write = false, DWORD extraAccess = 0);
    // Opens `subpath` directly below HKEY_LOCAL_MACHINE.
    LONG OpenFromRoot(const wxString& subpath, bool write = false, DWORD extraAccess = 0);
    void Close();
    bool EnumSubKey(wxString& name, bool first);
    LONG QueryValue(const wxString& valueName, DWORD& type, wxMemoryBuffer& buffer);
    // The value's bytes whatever its type; empty when it could not be read.
    wxMemoryBuffer GetBinaryValue(const wxString& valueName);
    int GetDWordValue(const wxString& valueName, int defaultValue);

    const wxString& GetPath() const { return m_path; }

private:
    HKEY m_root;
    HKEY m_handle;
    wxString m_path;
    DWORD m_subKeyIndex;
    wxString m_subKeyName;
};

// The non-empty strings of a REG_MULTI_SZ text, up to the first empty one.
wxArrayString MultiSzToArray(const wchar_t* text);
