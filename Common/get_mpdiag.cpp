#include "get_mpdiag.h"

bool GetMPDiag(const wxString& destFolder, const wxString& systemRoot, const wxString& zipPath,
               bool extended, bool withRecovery, std::vector<wxString>* files, bool listOnly)
{
    // Placeholder until the collection procedure lands: collects nothing yet.
    return true;
}
