#include "common.h"

#include "handles.h"
#include "mplog.h"

#include <wx/filefn.h>
#include <wx/filename.h>

#include <windows.h>

namespace
{
const wxChar kSep = wxT('\\');
}

wxString JoinPath(const wxString& folder, const wxString& name)
{
    const wxString tail = (!name.empty() && name[0] == kSep) ? name.Mid(1) : name;
    if (folder.empty() || folder.Last() == kSep)
        return folder + tail;
    return folder + kSep + tail;
}

bool DirExists(const wxString& path)
{
    // Asked about the text exactly as given: callers rely on "C:\Windows\" being judged
    // by the system itself, trailing separator and all.
    const DWORD attributes = ::GetFileAttributesW(path.wc_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

bool EnsureDirExists(const wxString& path)
{
    if (!DirExists(path))
        wxFileName::Mkdir(path, 0777, wxPATH_MKDIR_FULL);
    return DirExists(path);
}

bool FileExists(const wxString& path, bool logIfMissing)
{
    if (path.empty())
        return false;
    const bool exists = wxFileExists(path);
    if (exists || !logIfMissing)
        return exists;
    MP_LOG(wxLOG_Message, "common", "FileExists")("File not found: %s", path);
    return false;
}

bool DeleteFileForced(const wxString& path)
{
    if (path.empty() || !wxFileExists(path))
        return true;
    ::SetFileAttributesW(path.wc_str(), FILE_ATTRIBUTE_NORMAL);
    return wxRemoveFile(path);
}

bool EnablePrivilege(const wxString& name)
{
    HANDLE rawToken = nullptr;
    if (!::OpenProcessToken(::GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES | TOKEN_QUERY, &rawToken))
        return false;
    const UniqueKernelHandle token(rawToken);

    TOKEN_PRIVILEGES privileges = {};
    privileges.PrivilegeCount = 1;
    privileges.Privileges[0].Attributes = SE_PRIVILEGE_ENABLED;
    if (!::LookupPrivilegeValueW(nullptr, name.wc_str(), &privileges.Privileges[0].Luid))
        return false;

    const BOOL adjusted = ::AdjustTokenPrivileges(token.Get(), FALSE, &privileges, 0, nullptr, nullptr);
    // A privilege the token lacks still "succeeds", with ERROR_NOT_ALL_ASSIGNED.
    const DWORD error = ::GetLastError();
    return adjusted && error == ERROR_SUCCESS;
}
