#include "ziptools.h"

#include "common.h"
#include "mplog.h"

#include <wx/datetime.h>
#include <wx/filename.h>
#include <wx/stream.h>
#include <wx/wfstream.h>
#include <wx/zipstrm.h>

#include <functional>
#include <vector>

namespace
{
const int kBestCompression = 9;
// Large reads and writes: the files are logs and images of up to gigabytes, and under an
// emulation layer every system call costs.
const size_t kChunkBytes = 1 << 20;

// Creates the archive and lets `fill` write its entries; the streams close (finishing the
// archive) when this returns. False when the archive cannot be created.
bool WithNewArchive(const wxString& zipPath, const std::function<bool(wxZipOutputStream&)>& fill)
{
    wxFileOutputStream file(zipPath);
    if (!file.IsOk())
        return false;
    wxBufferedOutputStream buffered(file, kChunkBytes);
    wxZipOutputStream zip(buffered, kBestCompression, wxConvUTF8);
    if (!zip.IsOk())
        return false;
    return fill(zip);
}
// Until the input ends or the output refuses part of a chunk.
void CopyStream(wxInputStream& input, wxOutputStream& output)
{
    std::vector<char> chunk(kChunkBytes);
    for (;;)
    {
        const size_t read = input.Read(chunk.data(), chunk.size()).LastRead();
        if (read == 0 || output.Write(chunk.data(), read).LastWrite() != read)
            return;
    }
}
} // namespace

wxDirTraverseResult wxDirTraverserZIP::OnFile(const wxString& filename)
{
    wxFileName relative(filename);
    relative.MakeRelativeTo(root);
    // The first file that cannot be added ends the whole traversal.
    return ZipAddEntry(*zip, relative.GetFullPath(), root) ? wxDIR_CONTINUE : wxDIR_STOP;
}

wxDirTraverseResult wxDirTraverserZIP::OnDir(const wxString& dirname)
{
    return wxDIR_CONTINUE; // folders get no entry of their own
}

bool ZipAddEntry(wxZipOutputStream& zip, const wxString& name, const wxString& root)
{
    const wxString path = JoinPath(root, name);
    wxFileName entry(path);
    if (!root.empty())
        entry.MakeRelativeTo(root);
    // Stamped with the packing time, size unknown in advance.
    if (!zip.PutNextEntry(entry.GetFullPath(), wxDateTime::Now(), wxInvalidOffset))
        return false;
    // A file that cannot be opened (locked, vanished) still gets its entry, left empty; reading
    // from the unopened file would only raise a library assertion.
    wxFileInputStream input(path);
    if (input.IsOk())
        CopyStream(input, zip);
    return zip.CloseEntry();
}

bool ZipAddFile(const wxString& zipPath, const wxString& name, const wxString& root)
{
    return WithNewArchive(zipPath, [&](wxZipOutputStream& zip) { return ZipAddEntry(zip, name, root); });
}

bool ZipAdd(const wxString& zipPath, const wxString& source, const wxString& root)
{
    const wxString full = JoinPath(root, source);
    if (DirExists(full))
    {
        WithNewArchive(zipPath, [&](wxZipOutputStream& zip) {
            wxDirTraverserZIP traverser(&zip, full);
            wxDir dir(full);
            dir.Traverse(traverser, wxString(), wxDIR_FILES | wxDIR_DIRS | wxDIR_HIDDEN);
            return true;
        });
        // The caller never uses the result; a folder always reports false.
        return false;
    }
    if (FileExists(full, false))
        return ZipAddFile(zipPath, source, root);
    MP_LOG_AT(wxLOG_Warning, "ziptools", 127, "ZipAdd")("Zip invalid source (%s)", source);
    return false;
}
