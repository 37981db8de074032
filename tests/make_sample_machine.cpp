// Turns the Wine prefix it runs in into the sample machine:
//   make_sample_machine.exe <build folder> [--without-recovery]
// Without "\Recovery" on the system drive, the recovery image can only be looked up in the
// boot configuration store.
#include "boot_store.h"
#include "sample_machine.h"

#include <wx/init.h>

#include <windows.h>

#include <cstring>

int main(int argc, char** argv)
{
    wxInitializer initializer;
    if (!initializer.IsOk() || argc < 2)
        return 2;
    const wxString build(argv[1]);
    wchar_t windows[MAX_PATH];
    wchar_t system[MAX_PATH];
    ::GetWindowsDirectoryW(windows, MAX_PATH);
    ::GetSystemDirectoryW(system, MAX_PATH);
    BuildSampleWindows(windows);
    InstallProductKeys("C:\\ProgramData\\Keldara\\Logs");
    InstallStandIns(build + "\\standin.exe", system);
    InstallSampleDevices(build + "\\standin_cfgmgr32.dll", system);
    // An MBR system disk: the system at 1 MiB, the recovery partition at 63 GiB.
    InstallBootStore({0x5A3C9E01, 1LL << 20, {}, {}}, {0x5A3C9E01, 63LL << 30, {}, {}});
    if (argc < 3 || strcmp(argv[2], "--without-recovery") != 0)
        MakeRecoveryImage("C:\\");
    return 0;
}
