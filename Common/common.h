#pragma once
// Helpers shared by every module: paths and files, privileges.
#include <wx/string.h>

// Joins with exactly one backslash; drops one leading backslash of `name`.
wxString JoinPath(const wxString& folder, const wxString& name);
bool DirExists(const wxString& path);
bool EnsureDirExists(const wxString& path);
bool FileExists(const wxString& path, bool logIfMissing);
// True when the file is gone afterwards, also when there was nothing to delete.
bool DeleteFileForced(const wxString& path);
bool EnablePrivilege(const wxString& name);
