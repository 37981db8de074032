#pragma once
// What makes the tool safe to run unattended and elevated: no library loaded from beside the
// executable, and no assertion that stops the run behind a message box.

// Restricts the search for libraries loaded later by name (such as the shadow copy library) to the
// system folder, where the system offers that; older systems keep their usual search. The system
// libraries the executable imports are loaded from the system folder on every system.
void RestrictDllSearchToSystemFolder();
// Makes every library assertion one error record of the diagnostic log; the run goes on.
void LogAssertionsInsteadOfAsking();
