#include "CFileLogger.h"
#include "command_line.h"
#include "common.h"
#include "get_mpdiag.h"
#include "temp_folder.h"
#include "unattended.h"

#include <wx/filename.h>
#include <wx/init.h>
#include <wx/platinfo.h>
#include <wx/stdpaths.h>

#include <cstdio>

int main(int argc, char** argv)
{
    // First of all: the tool runs elevated from wherever it was copied to.
    RestrictDllSearchToSystemFolder();

    wxInitializer initializer;
    if (!initializer.IsOk())
    {
        fputs("Failed to initialize the wxWidgets library, aborting.", stderr);
        return -1;
    }
    LogAssertionsInsteadOfAsking();

    const bool extended = IsExtendedRun(argc, argv);
    // Not checked on purpose: with no folder the run still goes on against relative paths.
    const wxString workFolder = MakeUniqueTempFolder("MPDiag");

    CFileLogger* logger = new CFileLogger(JoinPath(workFolder, "mpdiag.log"), wxLog::GetActiveTarget(), false);
    wxLog::SetActiveTarget(logger);

    const wxFileName exe(wxStandardPaths::Get().GetExecutablePath());
    const wxString zipPath = JoinPath(exe.GetPath(wxPATH_GET_VOLUME), "mpdiag.zip");
    DeleteFileForced(zipPath);

    const wxString systemRoot = wxPlatformInfo::GetOperatingSystemDirectory();
    GetMPDiag(workFolder, systemRoot, zipPath, extended, true, nullptr, false);

    logger->Flush();
    wxLog::SetActiveTarget(nullptr);
    // From here on records go nowhere: the library would otherwise make a target on standard error.
    wxLog::DontCreateOnDemand();
    delete logger;

    RemoveWorkingFolder(workFolder);
    return 0;
}
