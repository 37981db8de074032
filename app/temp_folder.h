#pragma once
#include <wx/string.h>

// Creates a new, empty, hidden folder named `prefix` + hex digits in the temporary
// folder; returns its full path, or an empty string when none could be made.
wxString MakeUniqueTempFolder(const wxString& prefix);
