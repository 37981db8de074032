// Stands in for the configuration manager on the sample machine, where Wine's own status call
// reports nothing: a device node has a problem when its enumeration key holds a nonzero
// "Problem" value (the sample machine's own convention), and is started otherwise.
#include <windows.h>
// After windows.h: it needs its types. This file defines the status call instead of importing it.
#undef CMAPI
#define CMAPI
#include <cfgmgr32.h>

#include <string>

extern "C" CONFIGRET WINAPI CM_Get_DevNode_Status(PULONG status, PULONG problem, DEVINST devInst, ULONG)
{
    wchar_t id[MAX_DEVICE_ID_LEN];
    if (CM_Get_Device_IDW(devInst, id, MAX_DEVICE_ID_LEN, 0) != CR_SUCCESS)
        return CR_NO_SUCH_DEVNODE;
    const std::wstring key = std::wstring(L"System\\CurrentControlSet\\Enum\\") + id;
    DWORD code = 0;
    DWORD size = sizeof code;
    const bool hasProblem = ::RegGetValueW(HKEY_LOCAL_MACHINE, key.c_str(), L"Problem", RRF_RT_REG_DWORD, nullptr,
                                           &code, &size) == ERROR_SUCCESS &&
                            code != 0;
    *status = hasProblem ? (DN_HAS_PROBLEM | DN_DRIVER_LOADED) : (DN_DRIVER_LOADED | DN_STARTED);
    *problem = hasProblem ? code : 0;
    return CR_SUCCESS;
}
