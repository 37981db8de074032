#pragma once
#include <wx/arrstr.h>
#include <wx/string.h>

#include <vector>

// Fills `destFolder` with the diagnostic material and packs it into `zipPath`.
// With `listOnly`, nothing is produced and `files` receives the names instead.
bool GetMPDiag(const wxString& destFolder, const wxString& systemRoot, const wxString& zipPath,
               bool extended, bool withRecovery, std::vector<wxString>* files, bool listOnly);

// Saves lines as UTF-8 text with "\r\n" line ends; nothing is written for no lines. A failed
// write is reported by the text-file class itself, into the log.
void SaveLines(const wxString& path, const wxArrayString& lines);
