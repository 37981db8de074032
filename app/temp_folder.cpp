#include "temp_folder.h"

#include "common.h"

#include <wx/filename.h>

#include <windows.h>

#include <cstdlib>
#include <ctime>

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

    if (!DirExists(candidate) && !wxFileName::Mkdir(candidate, 0777, wxPATH_MKDIR_FULL))
        return wxString();

    const DWORD attributes = ::GetFileAttributesW(candidate.wc_str());
    ::SetFileAttributesW(candidate.wc_str(), attributes | FILE_ATTRIBUTE_HIDDEN);
    return candidate;
}
