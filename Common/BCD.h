#pragma once
// Read-only registry access below HKEY_LOCAL_MACHINE, and the reader of the boot configuration
// store that the registry shows as HKLM\BCD00000000.
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

// The boot loader object (its key name, braces and all) whose application device is the given
// partition: an MBR disk's signature and partition offset, or, when `signature` is 0xFFFFFFFF,
// a GPT disk's and partition's identifiers. Empty when none matches.
wxString GetCurrentBCDObject(DWORD signature, LONGLONG offset, const GUID& diskGuid, const GUID& partitionGuid);
// The first object of the object's recovery sequence, or empty.
wxString GetRecoverBCDObject(const wxString& name);
// The file that the object's OS device names, as a path on the local volume that holds it, or empty.
wxString GetBCDObjectPath(const wxString& name);
