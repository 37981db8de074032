// Turns the Wine prefix it runs in into the sample machine:
//   make_sample_machine.exe <stand-in exe>
#include "sample_machine.h"

#include <wx/init.h>

#include <windows.h>

int main(int argc, char** argv)
{
    wxInitializer initializer;
    if (!initializer.IsOk() || argc < 2)
        return 2;
    wchar_t windows[MAX_PATH];
    wchar_t system[MAX_PATH];
    ::GetWindowsDirectoryW(windows, MAX_PATH);
    ::GetSystemDirectoryW(system, MAX_PATH);
    BuildSampleWindows(windows);
    InstallProductKeys("C:\\ProgramData\\Keldara\\Logs");
    InstallStandIns(wxString(argv[1]), system);
    MakeRecoveryImage("C:\\");
    return 0;
}
