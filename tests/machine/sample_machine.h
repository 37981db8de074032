#pragma once
// The sample Windows installation that the end-to-end tests and the demo collect from.
#include <wx/string.h>

#include <string>
#include <vector>

// Files for each item the collection copies from the Windows folder, and the product's first log.
void BuildSampleWindows(const wxString& windowsDir);
// The product's registry keys: edition 2, its log folder (made, with an mpb.log) in `logDir`.
void InstallProductKeys(const wxString& logDir);
void RemoveProductKeys();
// The stand-in programs for bcdedit, wmic and systeminfo, copied into `systemDir`.
void InstallStandIns(const wxString& standinExe, const wxString& systemDir);
void RemoveStandInOverrides();
// PCI controllers in the device tree: a working disk controller, and a disk controller and a
// network adapter whose drivers are missing; and the configuration manager's stand-in, which
// reports those two as problem devices.
void InstallSampleDevices(const wxString& standinDll, const wxString& systemDir);
// The recovery image file `image` (a WIM), as "\Recovery\WindowsRE\WinRE.wim" of the drive root
// `driveRoot` ("C:\").
void InstallRecoveryImage(const wxString& image, const wxString& driveRoot);
// REG_MULTI_SZ text: each string with its zero, then the closing empty string.
std::wstring MultiSzText(const std::vector<std::wstring>& strings);
