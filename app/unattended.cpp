#include "unattended.h"

#include <wx/debug.h>
#include <wx/log.h>

#include <windows.h>
// After windows.h: needs its types.
#include <delayimp.h>

#include <string>

namespace
{
// Every system library but kernel32 and the C runtime is delay-loaded (see the top CMakeLists.txt).
// Each is loaded here by its full path in the system folder, and its own dependencies are looked
// for there first, so a library of the same name beside the executable is never taken.
FARPROC WINAPI LoadFromSystemFolder(unsigned notification, PDelayLoadInfo info)
{
    if (notification != dliNotePreLoadLibrary)
        return nullptr;
    wchar_t folder[MAX_PATH];
    const UINT length = ::GetSystemDirectoryW(folder, MAX_PATH);
    if (length == 0 || length >= MAX_PATH)
        return nullptr;
    std::wstring path(folder, length);
    path += L'\\';
    for (const char* c = info->szDll; *c; ++c)
        path += static_cast<wchar_t>(static_cast<unsigned char>(*c));
    return reinterpret_cast<FARPROC>(::LoadLibraryExW(path.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH));
}
} // namespace

// Read by the delay-load helper of the C runtime library, from the first delay-loaded call on,
// which may come before main.
PfnDliHook __pfnDliNotifyHook2 = LoadFromSystemFolder;

void RestrictDllSearchToSystemFolder()
{
    // Looked up by name: older systems lack the call, and then keep their usual search.
    using SetDirectories = BOOL(WINAPI*)(DWORD);
    const auto set = reinterpret_cast<SetDirectories>(
        reinterpret_cast<void*>(::GetProcAddress(::GetModuleHandleW(L"kernel32.dll"), "SetDefaultDllDirectories")));
    const DWORD kSearchSystem32 = 0x00000800; // LOAD_LIBRARY_SEARCH_SYSTEM32
    if (set)
        set(kSearchSystem32);
}

namespace
{
void LogAssertion(const wxString& file, int line, const wxString& func, const wxString& cond, const wxString& msg)
{
    wxLogger(wxLOG_Error, file.utf8_str(), line, func.utf8_str(), wxLOG_COMPONENT)
        .Log("Assertion %s failed in %s at %s(%d): %s", cond, func, file, line, msg);
}

} // namespace

void LogAssertionsInsteadOfAsking() { wxSetAssertHandler(LogAssertion); }
