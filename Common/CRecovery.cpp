#include "CRecovery.h"

#include "BCD.h"
#include "common.h"
#include "drivers.h"
#include "mplog.h"

#include <wx/dir.h>
#include <wx/platinfo.h>

#define RECOVERY_LOG(level) MP_LOG(level, "CRecovery", "GetCRecoveryPath")

namespace
{
// The disk whose device number is the system volume's; false when none has it. Both numbers
// may be -1: a disk that cannot tell is then taken for the system disk, as it always was.
bool FindSystemDisk(const wxArrayString& disks, int volumeNumber, wxString& systemDisk)
{
    for (const wxString& disk : disks)
    {
        const int number = GetDeviceNumber(disk, INFINITE, false);
        RECOVERY_LOG(wxLOG_Message)("Check system volume for device: %s; Device Number: %d", disk, number);
        if (number == volumeNumber)
        {
            systemDisk = disk;
            return true;
        }
    }
    return false;
}

wxString FromBootStore(const wxString& systemDrive)
{
    wxArrayString disks;
    EnumerateAllDisks(disks);

    const wxString systemVolume = wxT("\\\\.\\") + systemDrive;
    const int volumeNumber = GetDeviceNumber(systemVolume, INFINITE, false);
    RECOVERY_LOG(wxLOG_Message)("System volume: %s; Device Number: %d", systemVolume, volumeNumber);
    wxString systemDisk;
    if (!FindSystemDisk(disks, volumeNumber, systemDisk))
    {
        RECOVERY_LOG(wxLOG_Error)("Can't get system drive");
        return wxString();
    }
    RECOVERY_LOG(wxLOG_Message)("System drive: %s", systemDisk);

    DWORD signature = 0;
    GUID diskId = {};
    if (!GetDiskSignature(systemDisk, &signature, &diskId))
    {
        RECOVERY_LOG(wxLOG_Error)("Can't get system drive signature");
        return wxString();
    }
    const bool gpt = signature == 0xFFFFFFFF;
    if (gpt)
    {
        RECOVERY_LOG(wxLOG_Message)("Got drive signature (GPT): %s", FormatGuid(diskId));
    }
    else
    {
        RECOVERY_LOG(wxLOG_Message)("System drive signature: %u", signature);
    }

    PARTITION_INFORMATION_EX partition;
    if (!GetVolumeInfo(systemVolume, partition))
    {
        RECOVERY_LOG(wxLOG_Error)("Can't get system partition information");
        return wxString();
    }
    if (gpt)
    {
        RECOVERY_LOG(wxLOG_Message)("Got partition signature (GPT): %s", FormatGuid(partition.Gpt.PartitionId));
    }
    RECOVERY_LOG(wxLOG_Message)("System partition offset: %I64d", partition.StartingOffset.QuadPart);

    // Only for the log: the store as the system sees it, whatever the reading below finds.
    ExecAndLogInSystemDir(wxT("bcdedit"));

    const wxString current =
        GetCurrentBCDObject(signature, partition.StartingOffset.QuadPart, diskId, partition.Gpt.PartitionId);
    if (current.empty())
    {
        RECOVERY_LOG(wxLOG_Error)("Can't get current BCD object");
        return wxString();
    }
    const wxString recovery = GetRecoverBCDObject(current);
    if (recovery.empty())
    {
        RECOVERY_LOG(wxLOG_Error)("Can't get recover BCD object");
        return wxString();
    }
    const wxString path = GetBCDObjectPath(recovery);
    if (path.empty())
    {
        RECOVERY_LOG(wxLOG_Error)("Can't get recover path");
    }
    return path;
}
} // namespace

wxString GetCRecoveryPath()
{
    OSVersionInfo os;
    GetOSVersion(os); // nothing reads it; kept first, where it always ran

    const wxString systemDrive = wxPlatformInfo::Get().GetOperatingSystemDirectory().Left(2);
    const wxString image =
        wxDir::FindFirst(systemDrive + wxT("\\Recovery"), wxT("WinRE.wim"), wxDIR_FILES | wxDIR_DIRS | wxDIR_HIDDEN);
    if (!image.empty())
        return image;
    return FromBootStore(systemDrive);
}
