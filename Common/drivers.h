#pragma once
// Disks and volumes through device I/O controls and the setup API: which disk holds a volume,
// where the volume starts on it, and how the disk identifies itself (MBR signature or GPT id).
// And the inventory of devices that lack a working driver, by their identifiers.
#include <wx/arrstr.h>
#include <wx/string.h>

#include <windows.h>
// After windows.h: these need its types.
#include <cfgmgr32.h>
#include <setupapi.h>
#include <winioctl.h>

#include <memory>
#include <vector>

// How this module reaches devices: the real calls unless a test puts fakes here. Every handle
// opened through the table is closed through it too.
struct DeviceCalls
{
    decltype(&::CreateFileW) createFile;
    decltype(&::DeviceIoControl) deviceIoControl;
    decltype(&::CloseHandle) closeHandle;
    decltype(&::CreateEventW) createEvent;
    decltype(&::WaitForSingleObject) waitForSingleObject;
    decltype(&::GetOverlappedResult) getOverlappedResult;
    decltype(&::CancelIoEx) cancelIoEx;
    decltype(&::GetTickCount) getTickCount;
    decltype(&::FindFirstVolumeW) findFirstVolume;
    decltype(&::FindNextVolumeW) findNextVolume;
    decltype(&::FindVolumeClose) findVolumeClose;
    decltype(&::SetupDiGetClassDevsExW) getClassDevs;
    decltype(&::SetupDiEnumDeviceInfo) enumDeviceInfo;
    decltype(&::SetupDiEnumDeviceInterfaces) enumDeviceInterfaces;
    decltype(&::SetupDiGetDeviceInterfaceDetailW) getDeviceInterfaceDetail;
    decltype(&::SetupDiGetDeviceRegistryPropertyW) getDeviceRegistryProperty;
    decltype(&::SetupDiGetDeviceInstanceIdW) getDeviceInstanceId;
    decltype(&::SetupDiDestroyDeviceInfoList) destroyDeviceInfoList;
    decltype(&::CM_Get_DevNode_Status) getDevNodeStatus;
};
extern DeviceCalls g_deviceCalls;

// Disk number of a volume or disk (the N of \\.\PhysicalDriveN), or -1. Opens `path` unless
// `handle` is given. A pending request is waited for in 100 ms slices up to `timeoutMs`
// (INFINITE: no limit); a request that fails falls back to the volume's first extent.
int GetDeviceNumberInternal(const wxString& path, HANDLE handle, DWORD timeoutMs, bool quiet);
int GetDeviceNumber(const wxString& path, DWORD timeoutMs, bool quiet);
// The first disk extent of an open volume.
bool GetDeviceExtent(HANDLE handle, DISK_EXTENT* extent);
// The volume GUID paths (with their trailing backslash) that lie on disk `diskNumber`.
wxArrayString GetDiskVolumes(int diskNumber, DWORD timeoutMs, bool quiet);
// `signature` becomes the MBR signature; for GPT it stays 0xFFFFFFFF and `diskId` is filled;
// for a raw disk neither is set. False only when the disk could not be asked.
bool GetDiskSignature(const wxString& path, DWORD* signature, GUID* diskId);
bool GetVolumeInfo(const wxString& volumePath, PARTITION_INFORMATION_EX& partitionInfo);
bool GetVolumeOffset(const wxString& volumePath, LONGLONG& offset);
// Appends the interface path of every present, working disk whose path holds `busPattern`.
// `wantRemovable` (optional) keeps removable disks (1) or fixed ones (0).
bool EnumerateDisks(wxArrayString& disks, const wxString& busPattern, const DWORD* wantRemovable);
// IDE, SCSI and USB storage disks, in that order.
bool EnumerateAllDisks(wxArrayString& disks);

// One list of identifiers per device: its hardware identifiers, then its compatible ones.
using DeviceIdList = std::vector<std::unique_ptr<wxArrayString>>;

// Appends to `result` the identifiers (upper-cased) of each present device of `enumerator`
// (empty: all) that has a problem (or of every device, with `includeAll`) and has an identifier
// matching the wildcard `pattern` whole (empty: any). False only when the devices cannot be listed.
bool CollectDeviceIds(DeviceIdList& result, const wxString& enumerator, const wxString& pattern, bool includeAll);
void AppendUpper(wxArrayString& target, const wxArrayString& source);
