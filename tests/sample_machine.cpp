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

void InstallStandIns(const wxString& standinExe, const wxString& systemDir)
{
    // Wine prefers its own built-in programs of the system folder: ask it for the files instead.
    HKEY overrides = nullptr;
    ::RegCreateKeyExW(HKEY_CURRENT_USER, L"Software\\Wine\\DllOverrides", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                      &overrides, nullptr);
    for (const wchar_t* name : {L"bcdedit.exe", L"wmic.exe", L"systeminfo.exe"})
    {
        ::CopyFileW(standinExe.wc_str(), (systemDir + "\\" + name).wc_str(), FALSE);
        ::RegSetValueExW(overrides, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(L"native"), sizeof(L"native"));
    }
    ::RegCloseKey(overrides);
}

void MakeRecoveryImage(const wxString& driveRoot)
{
    std::string image(300000, '\0');
    for (size_t i = 0; i < image.size(); ++i)
        image[i] = static_cast<char>((i * 2654435761u) >> 24);
    Write(driveRoot + "Recovery\\WindowsRE\\WinRE.wim", image);
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
