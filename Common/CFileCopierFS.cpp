#include "CFileCopierFS.h"

#include "handles.h"
#include "mplog.h"

#include <wx/filefn.h>

namespace
{
const wxChar kSep = wxT('\\');

// A pattern splits after every backslash that follows a "*" in the same stage: each wild
// stage is matched folder by folder before the next one is applied.
std::vector<wxString> SplitStages(const wxString& pattern)
{
    std::vector<wxString> stages;
    wxString current;
    bool wild = false;
    for (const wxChar c : pattern)
    {
        if (c == wxT('*'))
            wild = true;
        if (c == kSep && wild)
        {
            stages.push_back(current);
            current.clear();
            wild = false;
            continue;
        }
        current += c;
    }
    stages.push_back(current);
    return stages;
}
} // namespace

CFileCopierFS::CFileCopierFS(const wxString& path, bool readOnly, bool useVss, std::vector<wxString>* copiedFiles,
                             bool listOnly)
    : m_readOnly(readOnly), m_vssBackup(nullptr), m_snapshotProp(), m_origPath(path), m_path(path), m_copiedFiles(copiedFiles),
      m_listOnly(listOnly), m_snapshotDone(false), m_backupCompleted(false)
{
    m_ok = true;
    if (useVss && !m_readOnly)
        m_ok = false;
    // A list-only destination never touches the disk.
    if (!m_ok || listOnly)
        return;

    if (!DirExists(m_path) && !m_readOnly)
        EnsureDirExists(m_path);
    m_ok = DirExists(m_path);

    if (m_ok && useVss)
    {
        const wxString volume = m_path.Left(3);
        for (bool retried = false;;)
        {
            m_ok = CreateVSSBackup(volume);
            if (m_ok)
                break;
            ReleaseVSSBackup();
            if (retried)
                break;
            MP_LOG_AT(wxLOG_Warning, "CFileCopierFS", 49, "CFileCopierFS::CFileCopierFS")("VSS snapshot failed - retrying");
            ::Sleep(2000);
            retried = true;
        }
    }
}

CFileCopierFS::~CFileCopierFS()
{
    ReleaseVSSBackup();
}

VssLibraryCalls g_vssLibrary = {
    ::LoadLibraryW, ::GetProcAddress, ::CoInitializeEx, ::CoInitializeSecurity, GetOSVersion,
};

namespace
{
// The factory is exported by its decorated C++ name only.
const char kVssFactory[] = "?CreateVssBackupComponents@@YAJPEAPEAVIVssBackupComponents@@@Z";
using VssFactory = HRESULT(__cdecl*)(IVssBackupComponents**);
const size_t kVolumeChars = 1024;
} // namespace

// Each failure is logged where it happens and ends the attempt; the caller releases what was
// made. An IVssAsync of a failed step is not released, as the service's own samples do.
#define VSS_FAIL(line, ...)                                                                               \
    do                                                                                                    \
    {                                                                                                     \
        MP_LOG_AT(wxLOG_Error, "CFileCopierFS", line, "CFileCopierFS::CreateVSSBackup")(__VA_ARGS__); \
        return false;                                                                                     \
    } while (0)

bool CFileCopierFS::CreateVSSBackup(const wxString& volume)
{
    HRESULT hr = g_vssLibrary.coInitializeEx(nullptr, COINIT_MULTITHREADED);
    if (FAILED(hr))
        VSS_FAIL(362, "CoInitialize() failed");
    // Best effort: without the privilege the service may still agree, or refuse at a later step.
    EnablePrivilege(wxT("SeBackupPrivilege"));
    hr = g_vssLibrary.coInitializeSecurity(nullptr, -1, nullptr, nullptr, RPC_C_AUTHN_LEVEL_PKT_PRIVACY,
                                           RPC_C_IMP_LEVEL_IDENTIFY, nullptr, EOAC_NONE, nullptr);
    if (FAILED(hr) && hr != RPC_E_TOO_LATE)
        VSS_FAIL(377, "CoInitializeSecurity() failed 0x%x", static_cast<unsigned>(hr));

    const HMODULE library = g_vssLibrary.loadLibrary(L"VssApi.dll");
    if (!library)
        VSS_FAIL(384, "Cannot load VssApi.dll");
    const VssFactory factory =
        reinterpret_cast<VssFactory>(reinterpret_cast<void*>(g_vssLibrary.getProcAddress(library, kVssFactory)));
    if (!factory)
        VSS_FAIL(392, "Cannot find CreateVssBackupComponents function");
    hr = factory(&m_vssBackup);
    if (FAILED(hr))
        VSS_FAIL(398, "CreateVssBackupComponents() failed error 0x%x", static_cast<unsigned>(hr));
    hr = m_vssBackup->InitializeForBackup(nullptr);
    if (FAILED(hr))
        VSS_FAIL(404, "IVssBackupComponents->InitializeForBackup() failed error 0x%x", static_cast<unsigned>(hr));
    OSVersionInfo os;
    if ((g_vssLibrary.getOSVersion(os).versionMS >> 16) <= 5)
        VSS_FAIL(410, "Pre-Vista OS is not supported");

    IVssAsync* async = nullptr;
    hr = m_vssBackup->GatherWriterMetadata(&async);
    if (FAILED(hr))
        VSS_FAIL(419, "IVssBackupComponents->GatherWriterMetadata() failed error 0x%x", static_cast<unsigned>(hr));
    hr = async->Wait(INFINITE);
    if (FAILED(hr))
        VSS_FAIL(425, "IVssAsync->Wait() on GatherWriterMetadata failed error 0x%x", static_cast<unsigned>(hr));
    async->Release();

    VSS_ID snapshotSetId = GUID_NULL;
    hr = m_vssBackup->StartSnapshotSet(&snapshotSetId);
    if (FAILED(hr))
        VSS_FAIL(433, "IVssBackupComponents->StartSnapshotSet() failed error 0x%x", static_cast<unsigned>(hr));
    wchar_t volumeName[kVolumeChars] = {};
    wcsncpy(volumeName, volume.wc_str(), kVolumeChars - 1);
    VSS_ID snapshotId = GUID_NULL;
    hr = m_vssBackup->AddToSnapshotSet(volumeName, GUID_NULL, &snapshotId);
    if (FAILED(hr))
        VSS_FAIL(440, "IVssBackupComponents->AddToSnapshotSet() failed error 0x%x", static_cast<unsigned>(hr));
    hr = m_vssBackup->SetBackupState(false, false, VSS_BT_FULL, false);
    if (FAILED(hr))
        VSS_FAIL(446, "IVssBackupComponents->SetBackupState() failed error 0x%x", static_cast<unsigned>(hr));

    hr = m_vssBackup->PrepareForBackup(&async);
    if (FAILED(hr))
        VSS_FAIL(454, "IVssBackupComponents->PrepareForBackup() failed error 0x%x", static_cast<unsigned>(hr));
    hr = async->Wait(INFINITE);
    if (FAILED(hr))
        VSS_FAIL(460, "IVssAsync->Wait() on PrepareForBackup failed error 0x%x", static_cast<unsigned>(hr));
    async->Release();

    hr = m_vssBackup->DoSnapshotSet(&async);
    if (FAILED(hr))
        VSS_FAIL(470, "IVssBackupComponents->DoSnapshotSet failed error 0x%x", static_cast<unsigned>(hr));
    hr = async->Wait(INFINITE);
    if (FAILED(hr))
        VSS_FAIL(476, "IVssAsync->Wait() on DoSnapshotSet failed error 0x%x", static_cast<unsigned>(hr));
    async->Release();
    m_snapshotDone = true;

    hr = m_vssBackup->GetSnapshotProperties(snapshotId, &m_snapshotProp);
    if (FAILED(hr))
        VSS_FAIL(486, "GetSnapshotProperties() failed error 0x%x", static_cast<unsigned>(hr));
    // "C:\Windows" becomes the snapshot's device path followed by "\Windows".
    m_path = JoinPath(m_snapshotProp.m_pwszSnapshotDeviceObject, m_path.Mid(3));
    MP_LOG_AT(wxLOG_Message, "CFileCopierFS", 493, "CFileCopierFS::CreateVSSBackup")("VSS path: %s", m_path);
    return true;
}

void CFileCopierFS::ReleaseVSSBackup()
{
    if (!m_vssBackup)
        return;
    if (m_snapshotDone && !m_backupCompleted)
    {
        IVssAsync* async = nullptr;
        HRESULT hr = m_vssBackup->BackupComplete(&async);
        if (FAILED(hr))
        {
            MP_LOG_AT(wxLOG_Error, "CFileCopierFS", 73, "CFileCopierFS::ReleaseVSSBackup")(
                "IVssBackupComponents->BackupComplete() failed error 0x%x", static_cast<unsigned>(hr));
        }
        else
        {
            hr = async->Wait(INFINITE);
            if (FAILED(hr))
            {
                MP_LOG_AT(wxLOG_Error, "CFileCopierFS", 77, "CFileCopierFS::ReleaseVSSBackup")(
                    "IVssAsync->Wait() on BackupComplete failed error 0x%x", static_cast<unsigned>(hr));
            }
        }
        if (async)
            async->Release();
        m_backupCompleted = true;
    }
    m_vssBackup->Release();
    m_vssBackup = nullptr;
}

bool CFileCopierFS::CopyToImpl(CFileCopier* dst, bool keepStructure, const wxString& dstSubfolder)
{
    if (m_items.empty())
        m_items.Add(wxT("*"));

    for (const wxString& pattern : m_items)
    {
        const std::vector<wxString> stages = SplitStages(pattern);
        std::vector<wxString> current{wxString(kSep)};
        for (size_t stage = 0; stage < stages.size(); ++stage)
        {
            const bool last = stage + 1 == stages.size();
            const wxString& text = stages[stage];
            const wxString namePart = text.AfterLast(kSep);
            std::vector<wxString> next;
            for (const wxString& folder : current)
            {
                const wxString dirPart = text.Find(kSep) == wxNOT_FOUND ? folder : JoinPath(folder, text.BeforeLast(kSep));
                const wxString search = JoinPath(JoinPath(GetPath(), dirPart), namePart);
                WIN32_FIND_DATAW data;
                UniqueFind find(::FindFirstFileW(search.wc_str(), &data));
                if (!find)
                {
                    const DWORD error = ::GetLastError();
                    MP_LOG_AT(wxLOG_Warning, "CFileCopierFS", 151, "CFileCopierFS::CopyToImpl")(
                        "FIND failed (%s) error (%d)", JoinPath(dirPart, namePart), error);
                    continue;
                }
                do
                {
                    const wxString name(data.cFileName);
                    if (name == wxT(".") || name == wxT(".."))
                        continue;
                    // Files can only end a path: earlier stages keep folders alone.
                    if (last || (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY))
                        next.push_back(JoinPath(dirPart, name));
                } while (::FindNextFileW(find.Get(), &data));
                const DWORD error = ::GetLastError();
                if (error != ERROR_NO_MORE_FILES)
                {
                    MP_LOG_AT(wxLOG_Error, "CFileCopierFS", 175, "CFileCopierFS::CopyToImpl")(
                        "FINDNEXT failed (%s) error (%d)", JoinPath(dirPart, namePart), error);
                }
            }
            current.swap(next);
        }

        for (const wxString& relative : current)
        {
            const DWORD attributes = ::GetFileAttributesW(JoinPath(GetPath(), relative).wc_str());
            if (attributes == INVALID_FILE_ATTRIBUTES)
            {
                MP_LOG_AT(wxLOG_Warning, "CFileCopierFS", 196, "CFileCopierFS::CopyToImpl")("Item not exist: %s",
                                                                                           relative);
                continue;
            }
            const bool isFolder = (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
            wxString sub;
            if (keepStructure)
                sub = JoinPath(dstSubfolder, isFolder ? relative : relative.BeforeLast(kSep));
            else
                sub = isFolder ? JoinPath(dstSubfolder, relative.AfterLast(kSep)) : dstSubfolder;
            dst->CopyItem(GetPath(), relative, attributes, sub);
        }
    }
    return true;
}

wxString CFileCopierFS::MakeDestSubfolder(const wxString& relFolder, const wxString& dstSubfolder,
                                          const wxString& entry)
{
    const wxString parent = entry.Mid(relFolder.length()).BeforeLast(kSep);
    return parent.empty() ? dstSubfolder : JoinPath(dstSubfolder, parent);
}

bool CFileCopierFS::CopyItem(const wxString& srcRoot, const wxString& relPath, DWORD attributes,
                             const wxString& dstSubfolder)
{
    if (!(attributes & FILE_ATTRIBUTE_DIRECTORY))
        return CopyFileItem(srcRoot, relPath, dstSubfolder);

    wxArrayString files;
    wxArrayString emptyFolders;
    SearchDirs(srcRoot, relPath, wxArrayString(), files, emptyFolders);

    bool result = true;
    for (const wxString& file : files)
        if (!CopyFileItem(srcRoot, file, MakeDestSubfolder(relPath, dstSubfolder, file)))
            result = false;
    // The cut of the last component means a nested empty folder yields its parent only;
    // kept as the tool always did.
    for (const wxString& folder : emptyFolders)
        EnsureFolder(JoinPath(GetPath(), MakeDestSubfolder(relPath, dstSubfolder, folder)));
    return result;
}

bool CFileCopierFS::CopyFileItem(const wxString& srcRoot, const wxString& relPath, const wxString& dstSubfolder)
{
    const wxString folder = JoinPath(GetPath(), dstSubfolder);
    if (DirExists(folder) || m_listOnly)
        ::SetFileAttributesW(folder.wc_str(), FILE_ATTRIBUTE_NORMAL);
    else if (!EnsureDirExists(folder))
        return false;

    const wxString target = JoinPath(folder, relPath.AfterLast(kSep));
    const wxString source = JoinPath(srcRoot, relPath);
    if (m_copiedFiles)
        m_copiedFiles->push_back(source);
    if (m_listOnly)
        return true;

    if (wxCopyFile(source, target, true))
    {
        ::SetFileAttributesW(target.wc_str(), FILE_ATTRIBUTE_NORMAL);
        return true;
    }
    MP_LOG_AT(wxLOG_Warning, "CFileCopierFS", 246, "CFileCopierFS::CopyFileItem")("Item not copied: %s", relPath);
    return false;
}

bool CFileCopierFS::EnsureFolder(const wxString& path)
{
    if (!IsOk())
    {
        MP_LOG_AT(wxLOG_Warning, "CFileCopierFS", 332, "CFileCopierFS::EnsureFolder")("CFileCopierFS is not OK: %s", path);
        return false;
    }
    if (IsReadOnly())
    {
        MP_LOG_AT(wxLOG_Warning, "CFileCopierFS", 337, "CFileCopierFS::EnsureFolder")("CFileCopierFS is readonly: %s", path);
        return false;
    }
    if (path.empty())
    {
        MP_LOG_AT(wxLOG_Warning, "CFileCopierFS", 342, "CFileCopierFS::EnsureFolder")("EnsureFolder is called with empty path");
        return true;
    }
    if (DirExists(path) || m_listOnly)
        return true;
    return EnsureDirExists(path);
}

bool CFileCopierFS::Remove(const wxString& relPath)
{
    const wxString full = JoinPath(GetPath(), relPath);
    const DWORD attributes = ::GetFileAttributesW(full.wc_str());
    if (attributes == INVALID_FILE_ATTRIBUTES)
        return true;
    if (attributes & FILE_ATTRIBUTE_DIRECTORY)
        return DeleteDirectory(full.wc_str());
    if (!full.empty() && wxFileExists(full))
    {
        ::SetFileAttributesW(full.wc_str(), FILE_ATTRIBUTE_NORMAL);
        return wxRemoveFile(full);
    }
    return true;
}
