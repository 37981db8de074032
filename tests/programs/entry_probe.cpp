// Linked into a test build of the entry point in place of the recovery locator: during the
// collection it raises a library assertion, counting the windows created meanwhile, and loads
// "VssApi.dll", which a planted copy beside the executable must not satisfy. The run then goes
// on and zips the log with these records.
#include "CRecovery.h"

#include <wx/debug.h>
#include <wx/log.h>

#include <windows.h>

namespace
{
int g_windowsCreated = 0;

LRESULT CALLBACK CountWindows(int code, WPARAM wParam, LPARAM lParam)
{
    if (code == HCBT_CREATEWND)
        ++g_windowsCreated;
    return ::CallNextHookEx(nullptr, code, wParam, lParam);
}
} // namespace

wxString GetCRecoveryPath()
{
    const HHOOK hook = ::SetWindowsHookExW(WH_CBT, CountWindows, nullptr, ::GetCurrentThreadId());
    wxFAIL_MSG("probe assertion during the collection");
    ::UnhookWindowsHookEx(hook);
    wxLogMessage("Windows created by the assertion: %d", g_windowsCreated);

    wchar_t path[MAX_PATH] = L"(not loaded)";
    if (const HMODULE vss = ::LoadLibraryW(L"VssApi.dll"))
        ::GetModuleFileNameW(vss, path, MAX_PATH);
    wxLogMessage("VssApi.dll loaded from: %s", path);
    return wxString();
}
