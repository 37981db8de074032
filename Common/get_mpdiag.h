#pragma once
#include <wx/string.h>

#include <vector>

// Fills `destFolder` with the diagnostic material and packs it into `zipPath`.
// With `listOnly`, nothing is produced and `files` receives the names instead.
bool GetMPDiag(const wxString& destFolder, const wxString& systemRoot, const wxString& zipPath,
               bool extended, bool withRecovery, std::vector<wxString>* files, bool listOnly);
