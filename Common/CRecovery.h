#pragma once
// Where the running system's recovery environment image lies.
#include <wx/string.h>

// The full path of the recovery image: the first "WinRE.wim" below the system drive's
// "\Recovery", or else the file that the boot configuration store names for the system's boot
// loader entry. Empty when neither can be found.
wxString GetCRecoveryPath();
