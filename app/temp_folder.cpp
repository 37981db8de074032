#include "temp_folder.h"

#include "common.h"
#include "handles.h"

#include <wx/dir.h>
#include <wx/filename.h>
#include <wx/log.h>

#include <windows.h>

#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

TempNameCalls g_tempNameCalls = {::time, ::srand, ::rand};

wxString MakeUniqueTempFolder(const wxString& prefix)
{
    g_tempNameCalls.srand(static_cast<unsigned>(g_tempNameCalls.time(nullptr)));

    const wxString tempDir = wxFileName::GetTempDir();
    wxString candidate;
    bool free = false;
    for (int attempt = 0; attempt < 1000 && !free; ++attempt)
    {
        const unsigned high = static_cast<unsigned>(g_tempNameCalls.rand());
        const unsigned number = (high << 16) | static_cast<unsigned>(g_tempNameCalls.rand());
        candidate = JoinPath(tempDir, wxString::Format("%s%x", prefix, number));
        free = !DirExists(candidate);
    }
    if (!free)
        return wxString();

    {
        // Before the diagnostic log exists: a failure is told by the empty result alone, never on
        // standard error.
        wxLogNull quiet;
        if (!DirExists(candidate) && !wxFileName::Mkdir(candidate, 0777, wxPATH_MKDIR_FULL))
            return wxString();
    }

    const DWORD attributes = ::GetFileAttributesW(candidate.wc_str());
    ::SetFileAttributesW(candidate.wc_str(), attributes | FILE_ATTRIBUTE_HIDDEN);
    return candidate;
}

namespace
{
// The same folder as an extended-length path, which the file functions take past MAX_PATH.
std::wstring ExtendedLength(const wxString& folder)
{
    const std::wstring path = folder.ToStdWstring();
    if (path.compare(0, 4, L"\\\\?\\") == 0)
        return path;
    if (path.compare(0, 2, L"\\\\") == 0)
        return L"\\\\?\\UNC\\" + path.substr(2);
    return L"\\\\?\\" + path;
}

// Deletes the files of `folder` and links found in it (never what they point to), and appends its
// real subfolders to `pending`.
void EmptyFolder(const std::wstring& folder, std::vector<std::wstring>& pending)
{
    WIN32_FIND_DATAW data;
    UniqueFind find(::FindFirstFileExW((folder + L"\\*").c_str(), FindExInfoBasic, &data, FindExSearchNameMatch,
                                       nullptr, 0));
    if (!find)
        return;
    do
    {
        const std::wstring name = data.cFileName;
        if (name == L"." || name == L"..")
            continue;
        const std::wstring child = folder + L"\\" + name;
        const bool isFolder = (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
        ::SetFileAttributesW(child.c_str(), FILE_ATTRIBUTE_NORMAL);
        if (isFolder && !(data.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT))
            pending.push_back(child);
        else if (isFolder)
            ::RemoveDirectoryW(child.c_str());
        else
            ::DeleteFileW(child.c_str());
    } while (::FindNextFileW(find.Get(), &data));
}
} // namespace

// Without recursion: a folder loop copied into the working folder nests as deep as the system let
// the copy go.
void RemoveFolderTree(const wxString& folder)
{
    std::vector<std::wstring> pending{ExtendedLength(folder)};
    std::vector<std::wstring> found;
    while (!pending.empty())
    {
        found.push_back(pending.back());
        pending.pop_back();
        EmptyFolder(found.back(), pending);
    }
    // Every folder was found after its parent, so the reverse order removes children first.
    for (auto it = found.rbegin(); it != found.rend(); ++it)
    {
        ::SetFileAttributesW(it->c_str(), FILE_ATTRIBUTE_NORMAL);
        ::RemoveDirectoryW(it->c_str());
    }
}

void RemoveWorkingFolder(const wxString& folder)
{
    wxDir::Remove(folder, wxPATH_RMDIR_RECURSIVE);
    // The library's removal stops at the usual path limit (long names, a deep copy of a folder loop).
    if (!folder.empty() && DirExists(folder))
        RemoveFolderTree(folder);
}
