#include "common.h"

#include "handles.h"
#include "mplog.h"

#include <wx/filefn.h>
#include <wx/filename.h>

#include <windows.h>

#include <deque>
#include <string>

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

// ---- directory search and removal ----------------------------------------------------------

bool HasWildcard(const wxString& text)
{
    for (size_t i = 0; i < text.length(); ++i)
    {
        const wxChar c = text[i];
        if (c == kSep)
        {
            if (i + 1 == text.length())
                return false;
            ++i; // the escaped character counts as ordinary
        }
        else if (c == wxT('*') || c == wxT('?'))
        {
            return true;
        }
    }
    return false;
}

namespace
{
bool HasSuffix(const wxString& name, const wxArrayString& suffixes)
{
    for (const wxString& suffix : suffixes)
        if (name.length() >= suffix.length() && name.Right(suffix.length()).IsSameAs(suffix, false))
            return true;
    return false;
}
} // namespace

bool SearchDirs(const wxString& baseFolder, const wxString& start, const wxArrayString& suffixes,
                wxArrayString& files, wxArrayString& emptyFolders)
{
    bool result = true;
    wxString prefix;
    wxString base = baseFolder;
    std::deque<wxString> work{start};
    while (!work.empty())
    {
        wxString item = work.back();
        work.pop_back();

        const bool wild = HasWildcard(item);
        wxString spec;
        if (wild)
        {
            // Only the start can be wild; its folder part stays in force for the rest of the call.
            prefix = item.BeforeLast(kSep);
            item = item.AfterLast(kSep);
            base = JoinPath(base, prefix);
            spec = item;
        }
        else
        {
            spec = JoinPath(item, "*");
        }

        const wxString full = JoinPath(base, spec);
        WIN32_FIND_DATAW data;
        UniqueFind find(::FindFirstFileW(full.wc_str(), &data));
        if (!find)
        {
            const DWORD error = ::GetLastError();
            MP_LOG_AT(wxLOG_Warning, "common", 1148, "SearchDirs")("FIND failed (%s) error (%d)", spec, error);
            continue;
        }

        bool empty = true;
        do
        {
            const wxString name(data.cFileName);
            if (name == wxT(".") || name == wxT(".."))
                continue;
            empty = false;
            const wxString relative = wild ? name : JoinPath(item, name);
            if (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)
            {
                work.push_back(relative);
            }
            else if (suffixes.empty() || HasSuffix(name, suffixes))
            {
                files.Add(prefix.empty() ? relative : JoinPath(prefix, relative));
            }
        } while (::FindNextFileW(find.Get(), &data));
        const DWORD error = ::GetLastError();

        if (empty)
            emptyFolders.Add(item);
        if (error != ERROR_NO_MORE_FILES)
        {
            MP_LOG_AT(wxLOG_Error, "common", 1208, "SearchDirs")("FINDNEXT %s failed (%d)", full, error);
            result = false;
        }
    }
    return result;
}

bool DeleteDirectory(const wchar_t* path)
{
    static const std::wstring kAllEntries = L"\\*";
    const std::wstring folder(path);

    WIN32_FIND_DATAW data;
    UniqueFind find(::FindFirstFileExW((folder + kAllEntries).c_str(), FindExInfoStandard, &data,
                                       FindExSearchNameMatch, nullptr, 0));
    if (!find)
    {
        const DWORD error = ::GetLastError();
        if (error == ERROR_PATH_NOT_FOUND)
            return true;
        if (error != ERROR_FILE_NOT_FOUND)
            return false;
    }
    else
    {
        do
        {
            // Skips "." and "..", and also every other dot name: such entries stay, and so
            // does their folder.
            if (data.cFileName[0] == L'.')
                continue;
            const std::wstring child = folder + L"\\" + data.cFileName;
            if (data.dwFileAttributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT))
            {
                DeleteDirectory(child.c_str());
            }
            else
            {
                ::SetFileAttributesW(child.c_str(), FILE_ATTRIBUTE_NORMAL);
                if (!::DeleteFileW(child.c_str()))
                    return false;
            }
        } while (::FindNextFileW(find.Get(), &data));
        if (::GetLastError() != ERROR_NO_MORE_FILES)
            return false;
        find.Reset();
    }

    ::SetFileAttributesW(folder.c_str(), FILE_ATTRIBUTE_NORMAL);
    if (::RemoveDirectoryW(folder.c_str()))
        return true;
    const DWORD error = ::GetLastError();
    MP_LOG_AT(wxLOG_Error, "common", 1105, "DeleteDirectory")("RemoveDirectory fails: %d", error);
    return false;
}

// ---- copier interface ----------------------------------------------------------------------

// Operations a copier kind lacks fail loudly through the library's assertion machinery, then
// give a neutral result.
#define MP_NOT_IMPLEMENTED(line, func) wxOnAssert("common", line, func, "\"Assert failure\"", "Not implemented")

wxString CFileCopier::GetOrigPath() const
{
    MP_NOT_IMPLEMENTED(185, "CFileCopier::GetOrigPath");
    return wxString();
}

bool CFileCopier::CopyItem(const wxString& srcRoot, const wxString& relPath, DWORD attributes,
                           const wxString& dstSubfolder)
{
    MP_NOT_IMPLEMENTED(205, "CFileCopier::CopyItem");
    return false;
}

bool CFileCopier::Remove(const wxString& relPath)
{
    MP_NOT_IMPLEMENTED(211, "CFileCopier::Remove");
    return false;
}

bool CFileCopier::EnsureFolder(const wxString& path)
{
    MP_NOT_IMPLEMENTED(217, "CFileCopier::EnsureFolder");
    return false;
}

bool CFileCopier::CopyToImpl(CFileCopier* dst, bool keepStructure, const wxString& dstSubfolder)
{
    MP_NOT_IMPLEMENTED(227, "CFileCopier::CopyToImpl");
    return false;
}

bool CFileCopier::AddItem(const wxString& pattern)
{
    m_items.Add(pattern, 1);
    return true;
}

bool CFileCopier::CopyTo(CFileCopier* dst, bool keepStructure, const wxString& dstSubfolder)
{
    bool result = false;
    if (!dst)
    {
        // Reported like an assertion; the queue is consumed and nothing is copied.
        wxOnAssert("common", 112, "CFileCopier::CopyTo", "dst");
    }
    else
    {
        const wxString target = JoinPath(dst->GetPath(), dstSubfolder);
        if (!dst->EnsureFolder(target))
        {
            MP_LOG_AT(wxLOG_Error, "common", 122, "CFileCopier::CopyTo")("EnsureFolder failed for %s", target);
        }
        else
        {
            result = CopyToImpl(dst, keepStructure, dstSubfolder);
        }
    }
    m_items.Clear();
    return result;
}
