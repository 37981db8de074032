// Turns the Wine prefix it runs in into the sample machine:
//   make_sample_machine.exe <build folder> [--without-recovery]
// Without "\Recovery" on the system drive, the recovery image can only be looked up in the
// boot configuration store. With MPDIAG_STANDIN_LANGUAGE=de in the environment the boot entries
// carry a German locale, as the stand-ins then speak German.
#include "boot_store.h"
#include "sample_facts.h"
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
    // One partition, C:, from 1 MiB: the system, the boot manager and the recovery image share it.
    const PartitionIdentity c = {sample::kDiskSignature, sample::kSystemOffset, {}, {}};
    const char* language = getenv(sample::kLanguageVariable);
    InstallBootStore(c, c, language && strcmp(language, "de") == 0 ? sample::kGermanLocale : sample::kEnglishLocale);
    if (argc < 3 || strcmp(argv[2], "--without-recovery") != 0)
        InstallRecoveryImage(build + "\\sample\\WinRE.wim", "C:\\");
    return 0;
}
