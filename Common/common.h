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

// ---- command runner ----
class wxArrayString;

// Runs `commandLine` hidden; with `output`, its standard output (and standard error when
// `captureStderr`) is appended as lines split at "\n". Returns the exit code, -1 when the
// pipe or the process could not be created, 0 when not waiting.
int RunProcess(const wxString& commandLine, bool wait, const wxString& currentDir, wxArrayString* output,
               bool captureStderr);
int RunCommand(const wxString& commandLine, wxArrayString* output);
int ExecAndLog(const wxString& commandLine, const wxString& currentDir);
int ExecAndLogInSystemDir(const wxString& commandLine);
wxString GetSystemDir();
wxString GetCurrentDir();
