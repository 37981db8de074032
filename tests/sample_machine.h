#pragma once
// The sample Windows installation that the end-to-end tests and the demo collect from.
#include <wx/string.h>

// Files for each item the collection copies from the Windows folder, and the product's first log.
void BuildSampleWindows(const wxString& windowsDir);
// The product's registry keys: edition 2, its log folder (made, with an mpb.log) in `logDir`.
void InstallProductKeys(const wxString& logDir);
void RemoveProductKeys();
// The stand-in programs for bcdedit, wmic and systeminfo, copied into `systemDir`.
void InstallStandIns(const wxString& standinExe, const wxString& systemDir);
void RemoveStandInOverrides();
// A recovery image below "\Recovery" of the drive root `driveRoot` ("C:\").
void MakeRecoveryImage(const wxString& driveRoot);
