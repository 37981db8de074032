#pragma once
#include "common.h"

#include <vss.h>
#include <vswriter.h>
#include <vsbackup.h>

#include <vector>

// How the shadow copy library is reached, with the COM set-up and the system's version before
// it: the real calls unless a test puts fakes here.
struct VssLibraryCalls
{
    HMODULE(WINAPI* loadLibrary)(LPCWSTR name);
    FARPROC(WINAPI* getProcAddress)(HMODULE module, LPCSTR name);
    decltype(&::CoInitializeEx) coInitializeEx;
    decltype(&::CoInitializeSecurity) coInitializeSecurity;
    OSVersionInfo& (*getOSVersion)(OSVersionInfo& info);
};
extern VssLibraryCalls g_vssLibrary;

// The copier of a local folder. As a source it expands its queued patterns; as a destination
// it copies each match under its root, or, list-only, just records the source paths.
class CFileCopierFS : public CFileCopier
{
public:
    // `useVss` (read-only copiers only) reads through a shadow copy of the root's volume.
    // `copiedFiles`, when set, receives every source file handed to this destination.
    CFileCopierFS(const wxString& path, bool readOnly, bool useVss, std::vector<wxString>* copiedFiles,
                  bool listOnly);
    ~CFileCopierFS() override;

    wxString GetPath() const override { return m_path; }
    wxString GetOrigPath() const override { return m_origPath; }
    bool IsReadOnly() const override { return m_readOnly; }
    bool CopyItem(const wxString& srcRoot, const wxString& relPath, DWORD attributes,
                  const wxString& dstSubfolder) override;
    bool Remove(const wxString& relPath) override;
    bool EnsureFolder(const wxString& path) override;
    bool CopyToImpl(CFileCopier* dst, bool keepStructure, const wxString& dstSubfolder) override;
    virtual bool CreateVSSBackup(const wxString& volume);
    virtual void ReleaseVSSBackup();

    bool CopyFileItem(const wxString& srcRoot, const wxString& relPath, const wxString& dstSubfolder);
    static wxString MakeDestSubfolder(const wxString& relFolder, const wxString& dstSubfolder, const wxString& entry);

private:
    bool m_readOnly;
    IVssBackupComponents* m_vssBackup;
    VSS_SNAPSHOT_PROP m_snapshotProp;
    wxString m_origPath;
    wxString m_path;
    std::vector<wxString>* m_copiedFiles;
    bool m_listOnly;
    bool m_snapshotDone;
    bool m_backupCompleted;
};
