#pragma once
#include <wx/string.h>

#include <ctime>

// Where the folder's name comes from: the C library's clock and generator unless a test puts
// fakes here.
struct TempNameCalls
{
    time_t (*time)(time_t* now);
    void (*srand)(unsigned seed);
    int (*rand)();
};
extern TempNameCalls g_tempNameCalls;

// Creates a new, empty, hidden folder named `prefix` + hex digits in the temporary
// folder; returns its full path, or an empty string when none could be made.
wxString MakeUniqueTempFolder(const wxString& prefix);

// Removes the working folder with everything in it, also what lies deeper than the system's usual
// path limit. An empty path is handed to the library's removal as it is, and nothing else happens.
void RemoveWorkingFolder(const wxString& folder);
// Removes a folder tree (a full path) through extended-length paths, at any depth. A link found inside is
// removed itself; what it points to is never entered.
void RemoveFolderTree(const wxString& folder);
