#pragma once
// What makes the tool safe to run unattended and elevated: no library loaded from beside the
// executable, and no assertion that stops the run behind a message box.

// Restricts the search for libraries loaded later to the system folder, where the system
// offers that; older systems keep their usual search.
void RestrictDllSearchToSystemFolder();
// Makes every library assertion one error record of the diagnostic log; the run goes on.
void LogAssertionsInsteadOfAsking();
