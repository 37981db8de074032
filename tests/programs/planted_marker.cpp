// A library planted beside the executable under the name of a system library. Loaded, it leaves
// a marker file beside itself, named like it with the extension ".marker".
#include <windows.h>

#include <string>

BOOL WINAPI DllMain(HINSTANCE self, DWORD reason, LPVOID)
{
    if (reason != DLL_PROCESS_ATTACH)
        return TRUE;
    wchar_t path[MAX_PATH];
    const DWORD length = ::GetModuleFileNameW(self, path, MAX_PATH);
    std::wstring marker(path, length);
    marker = marker.substr(0, marker.rfind(L'.')) + L".marker";
    ::CloseHandle(::CreateFileW(marker.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
    return TRUE;
}
