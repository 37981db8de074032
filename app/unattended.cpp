#include "unattended.h"

#include <wx/debug.h>
#include <wx/log.h>

#include <windows.h>

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
