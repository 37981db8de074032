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
