#include "get_mpdiag.h"

#include "CFileCopierFS.h"
#include "CRecovery.h"
#include "common.h"
#include "drivers.h"
#include "mplog.h"
#include "ziptools.h"

#include <wx/convauto.h>
#include <wx/textfile.h>

#include <windows.h>

namespace
{
// Records a name when the caller asked for the list.
void Record(std::vector<wxString>* files, const wxString& name)
{
    if (files)
        files->push_back(name);
}

bool CopySystemFiles(const wxString& destFolder, const wxString& systemRoot, bool extended,
                     std::vector<wxString>* files, bool listOnly)
{
    CFileCopierFS* src = new CFileCopierFS(systemRoot, true, false, nullptr, false);
    CFileCopierFS* dest = new CFileCopierFS(destFolder, false, false, files, listOnly);
    if (!src || !dest)
    {
        MP_LOG(wxLOG_Error, "get_mpdiag", "GetMPDiag")("Error: !src || !dest\n");
        return false;
    }
    if (!src->IsOk() || !dest->IsOk())
    {
        delete src;
        delete dest;
        MP_LOG(wxLOG_Error, "get_mpdiag", "GetMPDiag")("Error: !src->IsOk() || !dest->IsOk()\n");
        return false;
    }

    src->AddItem(wxT("Inf\\setupapi*"));
    src->AddItem(wxT("setup*.*"));
    src->AddItem(wxT("*.log"));
    src->AddItem(wxT("debug"));
    src->AddItem(wxT("Logs"));
    if (extended)
        src->AddItem(wxT("System32\\WinEvt"));
    src->AddItem(wxT("System32\\wpeinit.log"));
    src->AddItem(wxT("System32\\winpeshl.log"));
    src->CopyTo(dest, true, wxString());
    dest->Commit();
    delete src;
    delete dest;
    return true;
}

// Storage and network controllers without a working driver: "Device N:", then each identifier
// behind a tab.
void WriteDeviceReport(const wxString& destFolder)
{
    DeviceIdList devices;
    CollectDeviceIds(devices, wxString(), wxT("PCI\\CC_01??"), false);
    CollectDeviceIds(devices, wxString(), wxT("PCI\\CC_02??"), false);
    wxArrayString lines;
    for (size_t i = 0; i < devices.size(); ++i)
    {
        lines.Add(wxString::Format(wxT("Device %d:"), static_cast<int>(i)));
        for (const wxString& id : *devices[i])
            lines.Add(wxString::Format(wxT("\t%s"), id));
    }
    SaveLines(JoinPath(destFolder, wxT("devices.txt")), lines);
}

// Where the recovery image lies, and in an extended run a copy of it.
void WriteRecoveryReport(const wxString& destFolder, bool extended, std::vector<wxString>* files, bool listOnly)
{
    const wxString image = listOnly ? wxString() : GetCRecoveryPath();
    if (!image.empty())
        SaveLines(JoinPath(destFolder, wxT("recovery_path.log")), wxArrayString(1, &image));
    Record(files, wxT("recovery_path.log"));
    if (!extended)
        return;
    if (!listOnly)
    {
        // Whatever was found: with nothing found the copy fails, quietly.
        const wxString copy = JoinPath(destFolder, wxT("boot.wim"));
        ::CopyFileW(image.wc_str(), copy.wc_str(), FALSE);
        ::SetFileAttributesW(copy.wc_str(), FILE_ATTRIBUTE_NORMAL);
    }
    Record(files, wxT("boot.wim"));
}

void CopyProductLog(const wxString& source, const wxString& target, std::vector<wxString>* files, bool listOnly)
{
    if (!listOnly)
        ::CopyFileW(source.wc_str(), target.wc_str(), FALSE);
    Record(files, source);
}
} // namespace

void SaveLines(const wxString& path, const wxArrayString& lines)
{
    if (lines.empty())
        return;
    // Only named here: the file appears when Write succeeds, and not at all when it fails.
    wxTextFile file(path);
    for (const wxString& line : lines)
        file.AddLine(line);
    file.Write(wxTextFileType_None, wxConvAuto());
}

bool GetMPDiag(const wxString& destFolder, const wxString& systemRoot, const wxString& zipPath, bool extended,
               bool withRecovery, std::vector<wxString>* files, bool listOnly)
{
    if (!CopySystemFiles(destFolder, systemRoot, extended, files, listOnly))
        return false;

    CopyProductLog(JoinPath(systemRoot, wxT("System32\\mp.log")), JoinPath(destFolder, wxT("mp.log")), files,
                   listOnly);
    if (withRecovery)
        CopyProductLog(GetProductLogPath(), JoinPath(destFolder, wxT("mpb.log")), files, listOnly);

    if (!listOnly)
        WriteDeviceReport(destFolder);
    Record(files, wxT("devices.txt"));

    static const wxChar* const kExports[][2] = {
        {wxT("reg export hklm\\system\\currentcontrolset\\enum %s\\enum.reg /y"), wxT("enum.reg")},
        {wxT("reg export hklm\\system\\currentcontrolset\\services %s\\services.reg /y"), wxT("services.reg")},
        {wxT("reg export hklm\\BCD00000000 %s\\BCD00000000.reg /y"), wxT("BCD00000000.reg")},
        {wxT("reg save hklm\\BCD00000000 %s\\BCD00000000.hiv /y"), wxT("BCD00000000.hiv")},
    };
    wxArrayString lines;
    for (const auto& command : kExports)
    {
        // The folder goes in unquoted: a path with a space makes these commands fail, silently.
        if (!listOnly)
        {
            RunCommand(wxString::Format(command[0], destFolder), &lines);
            lines.Clear();
        }
        Record(files, command[1]);
    }

    static const wxChar* const kCaptured[][2] = {
        {wxT("bcdedit.exe /enum all"), wxT("bcdedit_all.log")},
        {wxT("wmic qfe list brief /format:texttablewsys"), wxT("wmic_hotfix.log")},
        {wxT("wmic diskdrive list"), wxT("wmic_disks.log")},
        {wxT("systeminfo"), wxT("systeminfo.log")},
    };
    for (const auto& command : kCaptured)
    {
        if (!listOnly)
        {
            RunCommand(command[0], &lines);
            // Lines keep their "\r": written back with "\r\n" they end in "\r\r\n", as support expects.
            SaveLines(JoinPath(destFolder, command[1]), lines);
            lines.Clear();
        }
        Record(files, command[1]);
    }

    if (withRecovery)
        WriteRecoveryReport(destFolder, extended, files, listOnly);

    if (!listOnly)
    {
        wxLog::FlushActive();
        ZipAdd(zipPath, destFolder, wxString());
    }
    return true;
}
