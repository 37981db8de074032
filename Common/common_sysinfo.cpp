// System and product information of the common module.
#include "common.h"

#include "BCD.h"
#include "mplog.h"

#include <wx/filename.h>
#include <wx/msw/registry.h>
#include <wx/utils.h>

#include <windows.h>

#include <vector>

namespace
{
const DWORD kTextChars = 1024;

wxString LocaleText(LCTYPE type)
{
    wchar_t buffer[kTextChars] = {};
    ::GetLocaleInfoW(LOCALE_SYSTEM_DEFAULT, type, buffer, kTextChars);
    return buffer;
}
} // namespace

OSVersionInfo& GetOSVersion(OSVersionInfo& info)
{
    info = OSVersionInfo();
    info.architecture = wxIsPlatform64Bit() ? 9 : 0;

    wxRegKey key(wxRegKey::HKLM, wxT("Software\\Microsoft\\Windows NT\\CurrentVersion"));
    key.QueryRawValue(wxT("ProductName"), info.productName);

    OSVERSIONINFOEXW os = {};
    os.dwOSVersionInfoSize = sizeof os;
    ::GetVersionExW(reinterpret_cast<OSVERSIONINFOW*>(&os));
    info.versionMS = (os.dwMajorVersion << 16) | os.dwMinorVersion;
    info.versionLS = os.dwBuildNumber << 16;
    info.servicePackMajor = os.wServicePackMajor;

    // The version the system reports to us may be shimmed; ntdll's own is the true one.
    wchar_t ntdll[kTextChars] = {};
    ::GetModuleFileNameW(::GetModuleHandleW(L"ntdll.dll"), ntdll, kTextChars);
    DWORD ms = 0;
    DWORD ls = 0;
    const DWORD error = GetFileVersion(ntdll, &ms, &ls);
    if (error == 0)
    {
        info.versionMS = ms;
        info.versionLS = ls;
    }
    else
    {
        MP_LOG(wxLOG_Error, "common", "GetOSVersion")("GetFileVersion for ntdll failed, error %d", error);
    }

    info.language = LocaleText(LOCALE_SISO639LANGNAME) + wxT("-") + LocaleText(LOCALE_SISO3166CTRYNAME);
    info.isServer = os.wProductType != VER_NT_WORKSTATION;
    return info;
}

DWORD GetFileVersion(const wxString& path, DWORD* versionMS, DWORD* versionLS)
{
    if (!versionMS || !versionLS)
        return ERROR_INVALID_PARAMETER;
    const DWORD size = ::GetFileVersionInfoSizeExW(0, path.wc_str(), nullptr);
    if (size == 0)
        return ::GetLastError();
    std::vector<BYTE> data(size);
    if (!::GetFileVersionInfoExW(0, path.wc_str(), 0, size, data.data()))
        return ::GetLastError();
    VS_FIXEDFILEINFO* fixed = nullptr;
    UINT length = 0;
    if (!::VerQueryValueW(data.data(), L"\\", reinterpret_cast<void**>(&fixed), &length))
        return ::GetLastError();
    *versionMS = fixed->dwProductVersionMS;
    *versionLS = fixed->dwProductVersionLS;
    return 0;
}

std::wstring FormatGuid(const GUID& guid)
{
    wchar_t text[37];
    swprintf(text, 37, L"%08x-%04x-%04x-%02x%02x-%02x%02x%02x%02x%02x%02x", static_cast<unsigned>(guid.Data1),
             guid.Data2, guid.Data3, guid.Data4[0], guid.Data4[1], guid.Data4[2], guid.Data4[3], guid.Data4[4],
             guid.Data4[5], guid.Data4[6], guid.Data4[7]);
    return text;
}

int GetMPVersion()
{
    // Once known for this process, never asked again; an unknown edition is asked each time.
    static int edition = 0;
    if (edition != 0)
        return edition;
    CRegistryKey key;
    if (key.OpenFromRoot(wxT("SOFTWARE\\MendPoint")) == ERROR_SUCCESS)
        edition = key.GetDWordValue(wxT("MPVersion"), 1);
    return edition;
}

wxString GetProductRegistryKey(bool versioned)
{
    const wxString base = GetMPVersion() == 2 ? wxT("SOFTWARE\\Quorvel\\KeldaraER") : wxT("SOFTWARE\\Quorvel\\Keldara");
    return versioned ? base + wxT("\\v1") : base;
}

wxString GetProductLogPath()
{
    const wxString fileName = wxT("mpb.log");
    CRegistryKey key;
    if (key.OpenFromRoot(GetProductRegistryKey(false)) != ERROR_SUCCESS)
        return fileName;
    const wxMemoryBuffer value = key.GetBinaryValue(wxT("LogDir"));
    if (value.GetDataLen() <= sizeof(wchar_t))
        return fileName;
    // Read as UTF-16 up to its terminator, or its end when it has none.
    const wchar_t* text = static_cast<const wchar_t*>(value.GetData());
    const size_t chars = value.GetDataLen() / sizeof(wchar_t);
    const wxString folder(text, wcsnlen(text, chars));
    if (!DirExists(folder) && !wxFileName::Mkdir(folder, 0777, wxPATH_MKDIR_FULL))
        return fileName;
    return JoinPath(folder, fileName);
}
