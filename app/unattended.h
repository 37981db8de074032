#pragma once
// What makes the tool safe to run unattended and elevated: no library loaded from beside the
// executable, and no assertion that stops the run behind a message box.
#include <wx/string.h>

// Restricts the search for libraries loaded later to the system folder, where the system
// offers that; returns whether it did.
bool RestrictDllSearchToSystemFolder();
// Makes every library assertion one error record of the diagnostic log; the run goes on.
void LogAssertionsInsteadOfAsking();
// The assertion handler itself.
void LogAssertion(const wxString& file, int line, const wxString& func, const wxString& cond, const wxString& msg);
