#pragma once
// Helpers shared by every module: paths and files, privileges, the command runner, directory
// search and removal, and the copier interface.
#include <wx/arrstr.h>
#include <wx/object.h>
#include <wx/string.h>

#include <windows.h>

#include <string>

// Joins with exactly one backslash; drops one leading backslash of `name`.
wxString JoinPath(const wxString& folder, const wxString& name);
bool DirExists(const wxString& path);
bool EnsureDirExists(const wxString& path);
bool FileExists(const wxString& path, bool logIfMissing);
// True when the file is gone afterwards, also when there was nothing to delete.
bool DeleteFileForced(const wxString& path);
bool EnablePrivilege(const wxString& name);

// ---- command runner ----

// How the runner starts a child and waits for it: the real calls unless a test puts fakes here.
struct ProcessCalls
{
    decltype(&::CreatePipe) createPipe;
    decltype(&::SetHandleInformation) setHandleInformation;
    decltype(&::CreateProcessW) createProcess;
    decltype(&::GetExitCodeProcess) getExitCodeProcess;
    decltype(&::Sleep) sleep;
};
extern ProcessCalls g_processCalls;

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

// ---- directory search and removal ----

// True when `text` holds "*" or "?" not escaped by a preceding backslash.
bool HasWildcard(const wxString& text);
// Lists below `base` every file of the folder `start` (or of the matches of a wildcard in its
// last component) as paths relative to `base`, and the folders that held nothing. A folder's
// files come before its subfolders; subfolders are searched depth first, last found first.
bool SearchDirs(const wxString& base, const wxString& start, const wxArrayString& suffixes, wxArrayString& files,
                wxArrayString& emptyFolders);
// Deletes a folder tree, clearing attributes on the way. Names starting with "." are left alone.
bool DeleteDirectory(const wchar_t* path);

// ---- copier interface ----

// A copier is rooted at one folder. The source copier holds a queue of item patterns
// (relative paths, "*" allowed in any component); CopyTo copies all they match into the
// destination copier, which receives one CopyItem call per match.
class CFileCopier : public wxObject
{
public:
    CFileCopier() : m_ok(false) {}
    ~CFileCopier() override {}

    virtual bool IsOk() const { return m_ok; }
    virtual wxString GetPath() const = 0;
    virtual wxString GetOrigPath() const;
    virtual bool IsReadOnly() const { return false; }
    // A finishing hook for the destination once copying is over.
    virtual bool Commit() { return true; }
    virtual bool AddItem(const wxString& pattern);
    // Copies the queue into `dst` (under `dstSubfolder`) and empties the queue, whatever happens.
    virtual bool CopyTo(CFileCopier* dst, bool keepStructure, const wxString& dstSubfolder);
    virtual bool CopyItem(const wxString& srcRoot, const wxString& relPath, DWORD attributes,
                          const wxString& dstSubfolder);
    virtual bool Remove(const wxString& relPath);
    virtual bool EnsureFolder(const wxString& path);
    virtual bool Sync() { return true; }
    virtual bool CopyToImpl(CFileCopier* dst, bool keepStructure, const wxString& dstSubfolder);

protected:
    bool m_ok;
    wxArrayString m_items;
};

// ---- system and product information ----

struct OSVersionInfo
{
    wxString productName;
    DWORD architecture = 0xFFFFFFFF; // 9 for x64, 0 for x86
    DWORD versionMS = 0;             // major << 16 | minor
    DWORD versionLS = 0;             // build << 16 | revision
    DWORD servicePackMajor = 0;
    wxString language = wxT("en-US");
    bool isServer = false;
    bool isServerCore = false; // never set: no caller may see true
};

OSVersionInfo& GetOSVersion(OSVersionInfo& info);
// The product version of a file; 0, or the Win32 error of the first failing call.
DWORD GetFileVersion(const wxString& path, DWORD* versionMS, DWORD* versionLS);
// 36 lower-case characters, no braces.
std::wstring FormatGuid(const GUID& guid);
// The product edition (cached once known); 0 when the product's key is missing.
int GetMPVersion();
wxString GetProductRegistryKey(bool versioned);
// The product's second log; the bare "mpb.log" when its folder is not registered or usable.
wxString GetProductLogPath();
