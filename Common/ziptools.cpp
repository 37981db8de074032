#include "ziptools.h"

#include "common.h"
#include "handles.h"
#include "mplog.h"

#include <wx/datetime.h>
#include <wx/filename.h>
#include <wx/stream.h>
#include <wx/wfstream.h>
#include <wx/zipstrm.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <io.h>
#include <memory>
#include <vector>

namespace
{
const int kBestCompression = 9;
// One write of the archive per megabyte: under an emulation layer every system call costs.
const size_t kOutputBytes = 1 << 20;
// Reads of the packed files. Small enough to come from the heap's free blocks: larger blocks are
// mapped and unmapped by the system on every allocation, which costs more than reading a
// small file.
const size_t kChunkBytes = 64 << 10;

// The archive file behind one large buffer. The zip stream completes each entry's local header
// by seeking back to it once the entry's data is written; while that header is still in the
// buffer the seek only moves within it, so a small entry costs no write and no seek of its own.
// The first write that fails is logged, and nothing is written after it.
class ArchiveFile : public wxOutputStream
{
public:
    explicit ArchiveFile(const wxString& path)
        : m_path(path),
          m_file(::CreateFileW(path.wc_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_ALWAYS,
                               FILE_ATTRIBUTE_NORMAL, nullptr)),
          m_buffer(kOutputBytes)
    {
        if (!m_file)
            m_lasterror = wxSTREAM_WRITE_ERROR;
    }
    ~ArchiveFile() override { Close(); }

    bool Close() override { return WriteBuffer(); }
    bool IsSeekable() const override { return true; }

protected:
    size_t OnSysWrite(const void* data, size_t size) override
    {
        const char* from = static_cast<const char*>(data);
        size_t left = size;
        while (left > 0 && IsOk())
        {
            if (m_cursor == m_buffer.size() && !WriteBuffer())
                break;
            const size_t part = std::min(left, m_buffer.size() - m_cursor);
            std::memcpy(&m_buffer[m_cursor], from, part);
            m_cursor += part;
            m_used = std::max(m_used, m_cursor);
            from += part;
            left -= part;
        }
        return size - left;
    }

    // Only the absolute seeks the zip stream makes.
    wxFileOffset OnSysSeek(wxFileOffset offset, wxSeekMode mode) override
    {
        if (mode != wxFromStart || offset < 0 || !IsOk())
            return wxInvalidOffset;
        if (offset >= m_start && offset <= m_start + wxFileOffset(m_used))
        {
            m_cursor = size_t(offset - m_start);
            return offset;
        }
        if (!WriteBuffer())
            return wxInvalidOffset;
        LARGE_INTEGER to;
        to.QuadPart = offset;
        if (!::SetFilePointerEx(m_file.Get(), to, nullptr, FILE_BEGIN))
        {
            const DWORD error = ::GetLastError();
            m_lasterror = wxSTREAM_WRITE_ERROR;
            MP_LOG(wxLOG_Error, "ziptools", "ArchiveFile::OnSysSeek")("Zip seek failed (%s) error (%d)", m_path,
                                                                      int(error));
            return wxInvalidOffset;
        }
        m_start = offset;
        return offset;
    }

    wxFileOffset OnSysTell() const override { return m_start + wxFileOffset(m_cursor); }

private:
    // Writes what the buffer holds at m_start, where the file's own position stands.
    bool WriteBuffer()
    {
        size_t done = 0;
        while (done < m_used && IsOk())
        {
            DWORD written = 0;
            const BOOL ok = ::WriteFile(m_file.Get(), &m_buffer[done], DWORD(m_used - done), &written, nullptr);
            // No error and no progress would loop for ever: the disk takes nothing more.
            const DWORD error = !ok ? ::GetLastError() : written == 0 ? ERROR_DISK_FULL : ERROR_SUCCESS;
            if (error != ERROR_SUCCESS)
            {
                // Nothing is written after the first failure, so this is its one record.
                m_lasterror = wxSTREAM_WRITE_ERROR;
                MP_LOG(wxLOG_Error, "ziptools", "ArchiveFile::WriteBuffer")("Zip write failed (%s) error (%d)",
                                                                            m_path, int(error));
            }
            done += written;
        }
        if (!IsOk())
            return false;
        m_start += wxFileOffset(m_used);
        m_used = m_cursor = 0;
        return true;
    }

    const wxString m_path;
    UniqueFile m_file;
    std::vector<char> m_buffer;
    size_t m_used = 0;       // bytes the buffer holds
    size_t m_cursor = 0;     // where the next byte goes, at most m_used
    wxFileOffset m_start = 0; // the file offset of the buffer's first byte
};

// Creates the archive and lets `fill` write its entries; the streams close (finishing the
// archive) when this returns. False when the archive cannot be created.
bool WithNewArchive(const wxString& zipPath, const std::function<bool(wxZipOutputStream&)>& fill)
{
    ArchiveFile file(zipPath);
    if (!file.IsOk())
        return false;
    wxZipOutputStream zip(file, kBestCompression, wxConvUTF8);
    if (!zip.IsOk())
        return false;
    return fill(zip);
}

// Until the input ends or the output refuses part of a chunk.
void CopyStream(wxInputStream& input, wxOutputStream& output)
{
    const std::unique_ptr<char[]> chunk(new char[kChunkBytes]);
    for (;;)
    {
        const size_t read = input.Read(chunk.get(), kChunkBytes).LastRead();
        if (read == 0 || output.Write(chunk.get(), read).LastWrite() != read)
            return;
    }
}

// zlib's compressBound in 64 bits (the library's own takes a 32-bit length on Windows): the
// most that deflating `size` bytes can give.
wxFileOffset DeflateBound(wxFileOffset size)
{
    return size + (size >> 12) + (size >> 14) + (size >> 25) + 13;
}

// Entries whose sizes may pass 32 bits need Zip64 fields, which the library writes into a local
// header only when asked before the entry's data starts. Deflating incompressible data makes it
// a little larger, so the bound decides, not the size. Every other entry stays as the archive
// has always been written.
wxZipArchiveFormat FormatFor(wxFileOffset size)
{
    const wxFileOffset limit = 0xFFFFFFFF;
    return size != wxInvalidOffset && DeflateBound(size) >= limit ? wxZIP_FORMAT_ZIP64 : wxZIP_FORMAT_DEFAULT;
}

wxFileOffset SizeOf(wxFileInputStream& input)
{
    LARGE_INTEGER size;
    const HANDLE handle = reinterpret_cast<HANDLE>(_get_osfhandle(input.GetFile()->fd()));
    return ::GetFileSizeEx(handle, &size) ? size.QuadPart : wxInvalidOffset;
}

// The length of the root as wxDir spells it at the head of every path it hands over:
// backslashes only, and one separator after it unless its own last character is one.
size_t TraversalPrefixLength(const wxString& root)
{
    wxString name = root;
    name.Replace("/", "\\");
    if (name.EndsWith("\\"))
        name.RemoveLast();
    if (name.empty())
        return 0;
    return name.EndsWith("\\") ? name.length() : name.length() + 1;
}

// Packs the file at `path` as the entry `name`, stamped with the packing time.
bool AddEntry(wxZipOutputStream& zip, const wxString& name, const wxString& path)
{
    // A file that cannot be opened (locked, vanished) still gets its entry, left empty; reading
    // from the unopened file would only raise a library assertion.
    wxFileInputStream input(path);
    zip.SetFormat(FormatFor(input.IsOk() ? SizeOf(input) : wxInvalidOffset));
    // Stamped with the packing time, size unknown in advance.
    if (!zip.PutNextEntry(name, wxDateTime::Now(), wxInvalidOffset))
        return false;
    if (input.IsOk())
        CopyStream(input, zip);
    return zip.CloseEntry();
}
} // namespace

wxDirTraverseResult wxDirTraverserZIP::OnFile(const wxString& filename)
{
    // The entry name is what follows the root's spelling in the path; deriving it with
    // wxFileName would ask the system for the long form of every folder of both paths, twice
    // per file, at a cost far above packing a small file.
    // The first file that cannot be added ends the whole traversal.
    return AddEntry(*zip, filename.Mid(TraversalPrefixLength(root)), filename) ? wxDIR_CONTINUE : wxDIR_STOP;
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
    return AddEntry(zip, entry.GetFullPath(), path);
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
