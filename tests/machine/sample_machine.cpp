#include "sample_machine.h"

#include <wx/filename.h>

#include <windows.h>

#include <string>

namespace
{
void Write(const wxString& path, const std::string& bytes)
{
    wxFileName::Mkdir(path.BeforeLast('\\'), 0777, wxPATH_MKDIR_FULL);
    HANDLE file = ::CreateFileW(path.wc_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    DWORD written = 0;
    ::WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
    ::CloseHandle(file);
}

const char* const kSampleFiles[] = {
    "Inf\\setupapi.dev.log", "Inf\\setupapi.app.log", "Inf\\setupapi.offline.log", "Inf\\machine.inf",
    "setupact.log",          "setuperr.log",          "WindowsUpdate.log",         "DtcInstall.log",
    "notes.txt",             "debug\\netsetup.log",   "debug\\mrt\\mrt.log",       "Logs\\CBS\\CBS.log",
    "Logs\\DISM\\dism.log",  "Logs\\readme.txt",      "System32\\WinEvt\\Logs\\System.evtx",
    "System32\\WinEvt\\Logs\\Application.evtx",       "System32\\wpeinit.log",     "System32\\winpeshl.log",
    "System32\\mp.log",
};
} // namespace

void BuildSampleWindows(const wxString& windowsDir)
{
    for (const char* relative : kSampleFiles)
        Write(windowsDir + "\\" + relative, std::string("sample ") + relative + "\r\nsecond line\r\n");
    wxFileName::Mkdir(windowsDir + "\\Logs\\Old\\Empty", 0777, wxPATH_MKDIR_FULL);
    wxFileName::Mkdir(windowsDir + "\\debug\\empty", 0777, wxPATH_MKDIR_FULL);
}

void InstallProductKeys(const wxString& logDir)
{
    Write(logDir + "\\mpb.log", "sample product log\r\n");
    HKEY key = nullptr;
    const DWORD edition = 2;
    ::RegCreateKeyExW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\MendPoint", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr);
    ::RegSetValueExW(key, L"MPVersion", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&edition), sizeof edition);
    ::RegCloseKey(key);
    const std::wstring folder = logDir.ToStdWstring();
    ::RegCreateKeyExW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Quorvel\\KeldaraER", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key,
                      nullptr);
    ::RegSetValueExW(key, L"LogDir", 0, REG_BINARY, reinterpret_cast<const BYTE*>(folder.c_str()),
                     static_cast<DWORD>((folder.size() + 1) * sizeof(wchar_t)));
    ::RegCloseKey(key);
}

void RemoveProductKeys()
{
    ::RegDeleteTreeW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\MendPoint");
    ::RegDeleteTreeW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Quorvel");
}

// Wine prefers its own built-in files of the system folder: ask it for the one put there instead.
// Its overrides name programs in full and libraries without their ".dll".
void InstallNative(const wxString& source, const wxString& systemDir, const wchar_t* name,
                   const wchar_t* overrideName)
{
    ::CopyFileW(source.wc_str(), (systemDir + "\\" + name).wc_str(), FALSE);
    HKEY overrides = nullptr;
    ::RegCreateKeyExW(HKEY_CURRENT_USER, L"Software\\Wine\\DllOverrides", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                      &overrides, nullptr);
    ::RegSetValueExW(overrides, overrideName, 0, REG_SZ, reinterpret_cast<const BYTE*>(L"native"), sizeof(L"native"));
    ::RegCloseKey(overrides);
}

void InstallDevice(const wchar_t* instanceId, const wchar_t* classGuid, const std::wstring& hardwareIds,
                   const std::wstring& compatibleIds, DWORD problem)
{
    HKEY key = nullptr;
    ::RegCreateKeyExW(HKEY_LOCAL_MACHINE, (std::wstring(L"System\\CurrentControlSet\\Enum\\") + instanceId).c_str(), 0,
                      nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr);
    ::RegSetValueExW(key, L"ClassGUID", 0, REG_SZ, reinterpret_cast<const BYTE*>(classGuid),
                     static_cast<DWORD>((wcslen(classGuid) + 1) * sizeof(wchar_t)));
    ::RegSetValueExW(key, L"HardwareID", 0, REG_MULTI_SZ, reinterpret_cast<const BYTE*>(hardwareIds.data()),
                     static_cast<DWORD>(hardwareIds.size() * sizeof(wchar_t)));
    ::RegSetValueExW(key, L"CompatibleIDs", 0, REG_MULTI_SZ, reinterpret_cast<const BYTE*>(compatibleIds.data()),
                     static_cast<DWORD>(compatibleIds.size() * sizeof(wchar_t)));
    if (problem)
        ::RegSetValueExW(key, L"Problem", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&problem), sizeof problem);
    ::RegCloseKey(key);
}


std::wstring MultiSzText(const std::vector<std::wstring>& strings)
{
    std::wstring text;
    for (const std::wstring& s : strings)
        text.append(s).push_back(L'\0');
    text.push_back(L'\0');
    return text;
}

void InstallStandIns(const wxString& standinExe, const wxString& systemDir)
{
    for (const wchar_t* name : {L"bcdedit.exe", L"wmic.exe", L"systeminfo.exe"})
        InstallNative(standinExe, systemDir, name, name);
}

void InstallSampleDevices(const wxString& standinDll, const wxString& systemDir)
{
    const wchar_t* storage = L"{4d36e97b-e325-11ce-bfc1-08002be10318}";
    const wchar_t* network = L"{4d36e972-e325-11ce-bfc1-08002be10318}";
    const DWORD driverMissing = 28;
    InstallDevice(L"PCI\\VEN_8086&DEV_2922&SUBSYS_00000000&REV_02\\3&11583659&0&FA", storage,
                  MultiSzText({L"PCI\\VEN_8086&DEV_2922&SUBSYS_00000000&REV_02", L"PCI\\VEN_8086&DEV_2922"}),
                  MultiSzText({L"PCI\\VEN_8086&CC_010601", L"PCI\\CC_010601", L"PCI\\CC_0106"}), 0);
    InstallDevice(L"PCI\\VEN_1000&DEV_0079&SUBSYS_92631000&REV_05\\4&2a7c5e1&0&0010", storage,
                  MultiSzText({L"PCI\\VEN_1000&DEV_0079&SUBSYS_92631000&REV_05", L"PCI\\VEN_1000&DEV_0079"}),
                  MultiSzText({L"PCI\\VEN_1000&CC_010400", L"PCI\\CC_010400", L"PCI\\CC_0104"}), driverMissing);
    InstallDevice(L"PCI\\VEN_8086&DEV_10D3&SUBSYS_07D015AD&REV_00\\4&3b8d6f2&0&0020", network,
                  MultiSzText({L"pci\\ven_8086&dev_10d3&subsys_07d015ad&rev_00", L"pci\\ven_8086&dev_10d3"}),
                  MultiSzText({L"pci\\ven_8086&cc_020000", L"pci\\cc_020000", L"pci\\cc_0200"}), driverMissing);
    InstallNative(standinDll, systemDir, L"cfgmgr32.dll", L"cfgmgr32");
}

void InstallRecoveryImage(const wxString& image, const wxString& driveRoot)
{
    const wxString folder = driveRoot + "Recovery\\WindowsRE";
    wxFileName::Mkdir(folder, 0777, wxPATH_MKDIR_FULL);
    ::CopyFileW(image.wc_str(), (folder + "\\WinRE.wim").wc_str(), FALSE);
}

void RemoveStandInOverrides()
{
    HKEY overrides = nullptr;
    if (::RegOpenKeyExW(HKEY_CURRENT_USER, L"Software\\Wine\\DllOverrides", 0, KEY_ALL_ACCESS, &overrides) != 0)
        return;
    for (const wchar_t* name : {L"bcdedit.exe", L"wmic.exe", L"systeminfo.exe"})
        ::RegDeleteValueW(overrides, name);
    ::RegCloseKey(overrides);
}
