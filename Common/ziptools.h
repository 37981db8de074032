#pragma once
#include <wx/dir.h>
#include <wx/string.h>

class wxZipOutputStream;

// Feeds every file of a tree to an open archive, named relative to `root`.
class wxDirTraverserZIP : public wxDirTraverser
{
public:
    wxDirTraverserZIP(wxZipOutputStream* zip, const wxString& root) : zip(zip), root(root) {}
    wxDirTraverseResult OnFile(const wxString& filename) override;
    wxDirTraverseResult OnDir(const wxString& dirname) override;

private:
    wxZipOutputStream* zip;
    wxString root;
};

// Writes a new archive at `zipPath` from the folder or file `source` (relative to `root`,
// which may be empty). A folder always gives false, whatever was packed.
bool ZipAdd(const wxString& zipPath, const wxString& source, const wxString& root);
bool ZipAddFile(const wxString& zipPath, const wxString& name, const wxString& root);
bool ZipAddEntry(wxZipOutputStream& zip, const wxString& name, const wxString& root);
