#include "drivers.h"

#include "BCD.h"
#include "handles.h"
#include "mplog.h"

#include <cstddef>
#include <vector>

DeviceCalls g_deviceCalls = {
    ::CreateFileW,
    ::DeviceIoControl,
    ::CloseHandle,
    ::CreateEventW,
    ::WaitForSingleObject,
    ::GetOverlappedResult,
    ::CancelIoEx,
    ::GetTickCount,
    ::FindFirstVolumeW,
    ::FindNextVolumeW,
    ::FindVolumeClose,
    ::SetupDiGetClassDevsExW,
    ::SetupDiEnumDeviceInfo,
    ::SetupDiEnumDeviceInterfaces,
    ::SetupDiGetDeviceInterfaceDetailW,
    ::SetupDiGetDeviceRegistryPropertyW,
    ::SetupDiGetDeviceInstanceIdW,
    ::SetupDiDestroyDeviceInfoList,
    ::CM_Get_DevNode_Status,
};

namespace
{
// Owners for what this module opens; they close through the table that opened them. Each names
// the empty value its creator fails with.
template <typename H, typename CloseCall, CloseCall DeviceCalls::*close, bool emptyIsNull>
struct DeviceTraits
{
    using Handle = H;
    static Handle Empty() noexcept { return emptyIsNull ? nullptr : INVALID_HANDLE_VALUE; }
    static void Close(Handle handle) noexcept { (g_deviceCalls.*close)(handle); }
};
template <typename CloseCall, CloseCall DeviceCalls::*close, bool emptyIsNull, typename H = HANDLE>
using DeviceOwner = UniqueHandle<DeviceTraits<H, CloseCall, close, emptyIsNull>>;

using CloseCall = decltype(&::CloseHandle);
using DeviceFile = DeviceOwner<CloseCall, &DeviceCalls::closeHandle, false>;
using DeviceEvent = DeviceOwner<CloseCall, &DeviceCalls::closeHandle, true>;
using VolumeFind = DeviceOwner<decltype(&::FindVolumeClose), &DeviceCalls::findVolumeClose, false>;
using DeviceSet =
    DeviceOwner<decltype(&::SetupDiDestroyDeviceInfoList), &DeviceCalls::destroyDeviceInfoList, false, HDEVINFO>;

// {53F56307-B6BF-11D0-94F2-00A0C91EFB8B}: the disk device interface class.
const GUID kDiskInterface = {0x53f56307, 0xb6bf, 0x11d0, {0x94, 0xf2, 0x00, 0xa0, 0xc9, 0x1e, 0xfb, 0x8b}};

const DWORD kWaitSliceMs = 100;
const DWORD kExtentsBytes = 1024;
const DWORD kLayoutBytes = 16536;
const DWORD kVolumeNameChars = 1024;
const DWORD kInterfaceDetailBytes = 1024;
const DWORD kInstanceIdChars = 1024;
const DWORD kIdValueBytes = 0x10000;

#define DRIVERS_LOG(level, line, func) MP_LOG_AT(level, "drivers", line, func)

// Volume queries want the device, not its root folder: one trailing backslash goes.
wxString WithoutTrailingBackslash(const wxString& path)
{
    return path.EndsWith(wxT("\\")) ? path.Left(path.length() - 1) : path;
}

DeviceFile OpenForAttributes(const wxString& path)
{
    return DeviceFile(g_deviceCalls.createFile(path.wc_str(), FILE_READ_ATTRIBUTES, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                               nullptr, OPEN_EXISTING, 0, nullptr));
}

// Waits for a pending request in slices, up to `timeoutMs`; true when it completed.
bool AwaitPending(HANDLE device, OVERLAPPED& overlapped, DWORD timeoutMs)
{
    const DWORD start = g_deviceCalls.getTickCount();
    while (timeoutMs == INFINITE || g_deviceCalls.getTickCount() - start < timeoutMs)
    {
        if (g_deviceCalls.waitForSingleObject(overlapped.hEvent, kWaitSliceMs) != WAIT_TIMEOUT)
            break;
    }
    DWORD transferred = 0;
    if (g_deviceCalls.getOverlappedResult(device, &overlapped, &transferred, FALSE))
        return true;
    DRIVERS_LOG(wxLOG_Warning, 910, "GetDeviceNumberInternal")("Cancelling IO");
    g_deviceCalls.cancelIoEx(device, &overlapped);
    // The request writes into this frame until it is gone: wait for the cancellation to land.
    g_deviceCalls.getOverlappedResult(device, &overlapped, &transferred, TRUE);
    return false;
}

// Whether a disk with this removal policy is the kind asked for.
bool RemovalKindMatches(DWORD wantRemovable, DWORD policy)
{
    const bool fixed = policy == CM_REMOVAL_POLICY_EXPECT_NO_REMOVAL;
    return (wantRemovable == 1 && !fixed) || (wantRemovable == 0 && fixed);
}

// Logs what the disk says about hot-plugging; the answer does not decide anything.
void LogHotplugInfo(const wxString& path, DWORD policy)
{
    STORAGE_HOTPLUG_INFO info = {};
    DWORD returned = 0;
    DeviceFile device(g_deviceCalls.createFile(path.wc_str(), GENERIC_READ | GENERIC_WRITE,
                                               FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr));
    const bool ok = device && g_deviceCalls.deviceIoControl(device.Get(), IOCTL_STORAGE_GET_HOTPLUG_INFO, nullptr, 0,
                                                            &info, sizeof info, &returned, nullptr);
    if (!ok)
    {
        info = STORAGE_HOTPLUG_INFO();
        DRIVERS_LOG(wxLOG_Warning, 1169, "EnumerateDisks")("GetDeviceHotplugInfo failed");
    }
    DRIVERS_LOG(wxLOG_Message, 1172, "EnumerateDisks")("Device path: %s", path);
    DRIVERS_LOG(wxLOG_Message, 1173, "EnumerateDisks")("Removal policy: %d, MediaRemovable: %d, DeviceHotplug: %d",
                                                       static_cast<int>(policy), static_cast<int>(info.MediaRemovable),
                                                       static_cast<int>(info.DeviceHotplug));
}

// A device node that is gone, says nothing, or reports a problem: a disk to leave out, and a
// device for the inventory to examine.
bool HasProblem(const SP_DEVINFO_DATA& device)
{
    ULONG status = 0;
    ULONG problem = 0;
    const CONFIGRET result = g_deviceCalls.getDevNodeStatus(&status, &problem, device.DevInst, 0);
    return result == CR_NO_SUCH_DEVNODE || result == CR_NO_SUCH_VALUE || (status & DN_HAS_PROBLEM);
}

// The interface path of a working disk, or empty when the device is to be skipped.
wxString WorkingDiskPath(HDEVINFO set, SP_DEVINFO_DATA& device)
{
    if (HasProblem(device))
        return wxString();

    SP_DEVICE_INTERFACE_DATA interfaceData = {};
    interfaceData.cbSize = sizeof interfaceData;
    if (!g_deviceCalls.enumDeviceInterfaces(set, &device, &kDiskInterface, 0, &interfaceData))
        return wxString();
    std::vector<BYTE> buffer(kInterfaceDetailBytes);
    auto* detail = reinterpret_cast<SP_DEVICE_INTERFACE_DETAIL_DATA_W*>(buffer.data());
    detail->cbSize = sizeof(SP_DEVICE_INTERFACE_DETAIL_DATA_W);
    if (!g_deviceCalls.getDeviceInterfaceDetail(set, &interfaceData, detail, kInterfaceDetailBytes, nullptr, nullptr))
        return wxString();
    // Room for the terminator is the call's to keep; a reply that lacks one ends at the buffer.
    const size_t chars = (kInterfaceDetailBytes - offsetof(SP_DEVICE_INTERFACE_DETAIL_DATA_W, DevicePath)) / 2;
    return wxString(detail->DevicePath, wcsnlen(detail->DevicePath, chars));
}
// Appends the upper-cased strings of a REG_MULTI_SZ value below the device's enumeration key.
void AppendIdValue(HKEY enumKey, const wchar_t* instanceId, const wchar_t* name, wxArrayString& ids)
{
    // Two zero characters past the size given to the call close a value that lacks its own.
    std::vector<BYTE> buffer(kIdValueBytes + 2 * sizeof(wchar_t));
    DWORD size = kIdValueBytes;
    if (::RegGetValueW(enumKey, instanceId, name, RRF_RT_REG_MULTI_SZ, nullptr, buffer.data(), &size) == ERROR_SUCCESS)
        AppendUpper(ids, MultiSzToArray(reinterpret_cast<const wchar_t*>(buffer.data())));
}

bool AnyMatches(const wxArrayString& ids, const wxString& upperPattern)
{
    for (const wxString& id : ids)
    {
        if (id.Matches(upperPattern))
            return true;
    }
    return false;
}

// The device's hardware identifiers, then its compatible ones, all upper-cased.
wxArrayString DeviceIds(HDEVINFO set, SP_DEVINFO_DATA& device)
{
    wxArrayString ids;
    std::vector<wchar_t> instanceId(kInstanceIdChars);
    g_deviceCalls.getDeviceInstanceId(set, &device, instanceId.data(), kInstanceIdChars, nullptr);
    HKEY opened = reinterpret_cast<HKEY>(INVALID_HANDLE_VALUE);
    ::RegOpenKeyW(HKEY_LOCAL_MACHINE, L"System\\CurrentControlSet\\Enum", &opened);
    // Only the handle is tested, and only against this value, as the tool always did: a failed
    // open that clears the handle reads nothing below and leaves the list empty.
    if (opened == reinterpret_cast<HKEY>(INVALID_HANDLE_VALUE))
        return ids;
    const UniqueRegKey enumKey(opened);
    AppendIdValue(enumKey.Get(), instanceId.data(), L"HardwareID", ids);
    AppendIdValue(enumKey.Get(), instanceId.data(), L"CompatibleIDs", ids);
    return ids;
}
} // namespace

int GetDeviceNumberInternal(const wxString& path, HANDLE handle, DWORD timeoutMs, bool quiet)
{
    DeviceFile opened;
    if (!handle)
    {
        opened.Reset(g_deviceCalls.createFile(path.wc_str(), GENERIC_READ | GENERIC_WRITE,
                                              FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                                              FILE_FLAG_OVERLAPPED, nullptr));
        if (!opened)
        {
            const DWORD error = ::GetLastError();
            DRIVERS_LOG(wxLOG_Error, 857, "GetDeviceNumberInternal")("Failed to open device %s: 0x%x", path, error);
            return -1;
        }
        handle = opened.Get();
    }

    DeviceEvent event(g_deviceCalls.createEvent(nullptr, TRUE, FALSE, nullptr));
    // The creator fails with NULL, yet only INVALID_HANDLE_VALUE counts as failure here; a NULL
    // event leaves the request to signal the device handle instead.
    if (event.Get() == INVALID_HANDLE_VALUE)
    {
        event.Release(); // not a handle: nothing to close
        DRIVERS_LOG(wxLOG_Error, 871, "GetDeviceNumberInternal")("Failed to create event");
        return -1;
    }

    OVERLAPPED overlapped = {};
    overlapped.hEvent = event.Get();
    STORAGE_DEVICE_NUMBER number = {};
    bool ok = g_deviceCalls.deviceIoControl(handle, IOCTL_STORAGE_GET_DEVICE_NUMBER, nullptr, 0, &number, sizeof number,
                                            nullptr, &overlapped) != FALSE;
    if (!ok)
    {
        const DWORD error = ::GetLastError();
        if (!quiet && error != ERROR_IO_PENDING)
        {
            DRIVERS_LOG(wxLOG_Error, 891, "GetDeviceNumberInternal")(
                "IOCTL_STORAGE_GET_DEVICE_NUMBER failed for %s: 0x%x", path, error);
        }
        if (error == ERROR_IO_PENDING)
            ok = AwaitPending(handle, overlapped, timeoutMs);
    }
    event.Reset();
    if (ok)
        return static_cast<int>(number.DeviceNumber);

    DISK_EXTENT extent = {};
    if (GetDeviceExtent(handle, &extent))
        return static_cast<int>(extent.DiskNumber);
    const DWORD error = ::GetLastError();
    if (!quiet)
    {
        DRIVERS_LOG(wxLOG_Error, 931, "GetDeviceNumberInternal")(
            "IOCTL_VOLUME_GET_VOLUME_DISK_EXTENTS failed for %s: 0x%x", path, error);
    }
    return -1;
}

int GetDeviceNumber(const wxString& path, DWORD timeoutMs, bool quiet)
{
    return GetDeviceNumberInternal(path, nullptr, timeoutMs, quiet);
}

bool GetDeviceExtent(HANDLE handle, DISK_EXTENT* extent)
{
    if (!extent)
    {
        ::SetLastError(ERROR_INVALID_PARAMETER);
        return false;
    }
    std::vector<BYTE> buffer(kExtentsBytes);
    DWORD returned = 0;
    if (!g_deviceCalls.deviceIoControl(handle, IOCTL_VOLUME_GET_VOLUME_DISK_EXTENTS, nullptr, 0, buffer.data(),
                                       kExtentsBytes, &returned, nullptr))
        return false;
    const auto* extents = reinterpret_cast<const VOLUME_DISK_EXTENTS*>(buffer.data());
    if (extents->NumberOfDiskExtents == 0)
        return false;
    // A volume over several disks is known by its first extent.
    *extent = extents->Extents[0];
    return true;
}

wxArrayString GetDiskVolumes(int diskNumber, DWORD timeoutMs, bool quiet)
{
    wxArrayString volumes;
    std::vector<wchar_t> name(kVolumeNameChars);
    VolumeFind find(g_deviceCalls.findFirstVolume(name.data(), kVolumeNameChars));
    if (!find)
        return volumes;
    do
    {
        const wxString volume(name.data(), wcsnlen(name.data(), kVolumeNameChars));
        // The device is the name without its last character (the trailing backslash).
        const wxString device = volume.Left(volume.empty() ? 0 : volume.length() - 1);
        const int number = GetDeviceNumberInternal(device, nullptr, timeoutMs, quiet);
        if (number != -1 && number == diskNumber)
            volumes.Add(volume);
    } while (g_deviceCalls.findNextVolume(find.Get(), name.data(), kVolumeNameChars));
    return volumes;
}

bool GetDiskSignature(const wxString& path, DWORD* signature, GUID* diskId)
{
    if (!signature || !diskId)
        return false;
    *signature = 0xFFFFFFFF;
    DeviceFile device = OpenForAttributes(path);
    if (!device)
    {
        const DWORD error = ::GetLastError();
        DRIVERS_LOG(wxLOG_Error, 1255, "GetDiskSignature")("GetDiskSignature, Failed to open device (%d)", error);
        return false;
    }
    std::vector<BYTE> buffer(kLayoutBytes);
    DWORD returned = 0;
    if (!g_deviceCalls.deviceIoControl(device.Get(), IOCTL_DISK_GET_DRIVE_LAYOUT_EX, nullptr, 0, buffer.data(),
                                       kLayoutBytes, &returned, nullptr))
    {
        const DWORD error = ::GetLastError();
        DRIVERS_LOG(wxLOG_Error, 1269, "GetDiskSignature")("GetDiskSignature, DeviceIoControl error: %d", error);
        return false;
    }
    const auto* layout = reinterpret_cast<const DRIVE_LAYOUT_INFORMATION_EX*>(buffer.data());
    if (layout->PartitionStyle == PARTITION_STYLE_MBR)
        *signature = layout->Mbr.Signature;
    else if (layout->PartitionStyle == PARTITION_STYLE_GPT)
        *diskId = layout->Gpt.DiskId;
    return true;
}

bool GetVolumeInfo(const wxString& volumePath, PARTITION_INFORMATION_EX& partitionInfo)
{
    partitionInfo = PARTITION_INFORMATION_EX();
    DeviceFile volume = OpenForAttributes(WithoutTrailingBackslash(volumePath));
    if (!volume)
    {
        const DWORD error = ::GetLastError();
        DRIVERS_LOG(wxLOG_Error, 1351, "GetVolumeInfo")("GetVolumeInfo, Failed to open device (%d)", error);
        return false;
    }
    DWORD returned = 0;
    if (!g_deviceCalls.deviceIoControl(volume.Get(), IOCTL_DISK_GET_PARTITION_INFO_EX, nullptr, 0, &partitionInfo,
                                       sizeof partitionInfo, &returned, nullptr))
    {
        const DWORD error = ::GetLastError();
        DRIVERS_LOG(wxLOG_Error, 1365, "GetVolumeInfo")("GetVolumeInfo, DeviceIoControl error: %d", error);
        return false;
    }
    return true;
}

bool GetVolumeOffset(const wxString& volumePath, LONGLONG& offset)
{
    DeviceFile volume = OpenForAttributes(WithoutTrailingBackslash(volumePath));
    if (!volume)
    {
        const DWORD error = ::GetLastError();
        // Worded as GetVolumeInfo's on purpose: support searches the log for this text.
        DRIVERS_LOG(wxLOG_Error, 1311, "GetVolumeOffset")("GetVolumeInfo, Failed to open device (%d)", error);
        return false;
    }
    DISK_EXTENT extent = {};
    if (!GetDeviceExtent(volume.Get(), &extent))
    {
        const DWORD error = ::GetLastError();
        DRIVERS_LOG(wxLOG_Error, 1323, "GetVolumeOffset")("GetVolumeInfo, GetDeviceExtent failed for %s error: %d",
                                                          volumePath, error);
        return false;
    }
    offset = extent.StartingOffset.QuadPart;
    return true;
}

bool EnumerateDisks(wxArrayString& disks, const wxString& busPattern, const DWORD* wantRemovable)
{
    DeviceSet set(g_deviceCalls.getClassDevs(&kDiskInterface, nullptr, nullptr, DIGCF_PRESENT | DIGCF_DEVICEINTERFACE,
                                             nullptr, nullptr, nullptr));
    if (!set)
        return false;
    const wxString pattern = busPattern.Lower();
    SP_DEVINFO_DATA device = {};
    device.cbSize = sizeof device;
    for (DWORD index = 0; g_deviceCalls.enumDeviceInfo(set.Get(), index, &device); ++index)
    {
        const wxString path = WorkingDiskPath(set.Get(), device);
        if (path.empty() || path.Lower().Find(pattern) == wxNOT_FOUND)
            continue;
        if (!wantRemovable)
        {
            disks.Add(path);
            continue;
        }
        DWORD policy = 0;
        if (!g_deviceCalls.getDeviceRegistryProperty(set.Get(), &device, SPDRP_REMOVAL_POLICY, nullptr,
                                                     reinterpret_cast<BYTE*>(&policy), sizeof policy, nullptr))
            continue;
        LogHotplugInfo(path, policy);
        if (RemovalKindMatches(*wantRemovable, policy))
            disks.Add(path);
    }
    return true;
}

bool EnumerateAllDisks(wxArrayString& disks)
{
    bool ok = true;
    for (const wxChar* bus : {wxT("ide#disk"), wxT("scsi#disk"), wxT("usbstor#disk")})
        ok = EnumerateDisks(disks, bus, nullptr) && ok; // every class is listed, whatever the one before did
    return ok;
}

bool CollectDeviceIds(DeviceIdList& result, const wxString& enumerator, const wxString& pattern, bool includeAll)
{
    const wxString upperPattern = pattern.Upper();
    DeviceSet set(g_deviceCalls.getClassDevs(nullptr, enumerator.empty() ? nullptr : enumerator.wc_str(), nullptr,
                                             DIGCF_PRESENT | DIGCF_ALLCLASSES, nullptr, nullptr, nullptr));
    if (!set)
        return false;
    SP_DEVINFO_DATA device = {};
    device.cbSize = sizeof device;
    for (DWORD index = 0; g_deviceCalls.enumDeviceInfo(set.Get(), index, &device); ++index)
    {
        if (!includeAll && !HasProblem(device))
            continue;
        const wxArrayString ids = DeviceIds(set.Get(), device);
        if (ids.empty() || (!upperPattern.empty() && !AnyMatches(ids, upperPattern)))
            continue;
        result.push_back(std::make_unique<wxArrayString>(ids));
    }
    return true;
}

void AppendUpper(wxArrayString& target, const wxArrayString& source)
{
    for (const wxString& text : source)
        target.Add(text.Upper());
}
