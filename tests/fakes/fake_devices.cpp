#include "fake_devices.h"

#include <cstddef>
#include <cstring>

namespace
{
FakeDevices* g_fake = nullptr;
const std::wstring kEnum = L"System\\CurrentControlSet\\Enum\\";
const wchar_t kTestBranch[] = L"MPDIAGTEST";

template <typename Record>
IoctlReply ReplyOf(const Record& record)
{
    IoctlReply reply;
    reply.bytes.assign(reinterpret_cast<const char*>(&record), sizeof record);
    return reply;
}

bool Fail(DWORD error)
{
    ::SetLastError(error);
    return false;
}

std::string Narrow(const std::wstring& text) { return wxString(text).utf8_string(); }
} // namespace

IoctlReply DeviceNumberReply(DWORD number)
{
    STORAGE_DEVICE_NUMBER record = {FILE_DEVICE_DISK, number, 1};
    return ReplyOf(record);
}

IoctlReply ExtentReply(DWORD diskNumber, LONGLONG offset, LONGLONG length)
{
    VOLUME_DISK_EXTENTS record = {};
    record.NumberOfDiskExtents = 1;
    record.Extents[0].DiskNumber = diskNumber;
    record.Extents[0].StartingOffset.QuadPart = offset;
    record.Extents[0].ExtentLength.QuadPart = length;
    return ReplyOf(record);
}

IoctlReply NoExtentsReply() { return ReplyOf(VOLUME_DISK_EXTENTS()); }

IoctlReply MbrLayoutReply(DWORD signature)
{
    DRIVE_LAYOUT_INFORMATION_EX record = {};
    record.PartitionStyle = PARTITION_STYLE_MBR;
    record.PartitionCount = 1;
    record.Mbr.Signature = signature;
    return ReplyOf(record);
}

IoctlReply GptLayoutReply(const GUID& diskId)
{
    DRIVE_LAYOUT_INFORMATION_EX record = {};
    record.PartitionStyle = PARTITION_STYLE_GPT;
    record.PartitionCount = 1;
    record.Gpt.DiskId = diskId;
    return ReplyOf(record);
}

IoctlReply RawLayoutReply()
{
    DRIVE_LAYOUT_INFORMATION_EX record = {};
    record.PartitionStyle = PARTITION_STYLE_RAW;
    return ReplyOf(record);
}

IoctlReply MbrPartitionReply(LONGLONG offset)
{
    PARTITION_INFORMATION_EX record = {};
    record.PartitionStyle = PARTITION_STYLE_MBR;
    record.StartingOffset.QuadPart = offset;
    record.PartitionLength.QuadPart = 64LL << 30;
    record.PartitionNumber = 1;
    record.Mbr.PartitionType = 7;
    return ReplyOf(record);
}

IoctlReply GptPartitionReply(LONGLONG offset, const GUID& partitionId)
{
    PARTITION_INFORMATION_EX record = {};
    record.PartitionStyle = PARTITION_STYLE_GPT;
    record.StartingOffset.QuadPart = offset;
    record.PartitionLength.QuadPart = 64LL << 30;
    record.PartitionNumber = 3;
    record.Gpt.PartitionId = partitionId;
    return ReplyOf(record);
}

IoctlReply HotplugReply(bool mediaRemovable, bool deviceHotplug)
{
    STORAGE_HOTPLUG_INFO record = {sizeof(STORAGE_HOTPLUG_INFO), mediaRemovable, mediaRemovable, deviceHotplug, 0};
    return ReplyOf(record);
}

IoctlReply FailedReply(DWORD error)
{
    IoctlReply reply;
    reply.error = error;
    return reply;
}

// The fakes themselves, with the signatures of the calls they stand for.
struct FakeCalls
{
    static FakeDevices::Open* Find(HANDLE handle, FakeDevices::Kind kind)
    {
        auto it = g_fake->m_open.find(handle);
        return it != g_fake->m_open.end() && it->second.kind == kind ? &it->second : nullptr;
    }

    // Ends an open search or set of `kind`; any other handle is recorded as `misuse` and fails.
    static BOOL CloseOfKind(HANDLE handle, FakeDevices::Kind kind, const char* misuse)
    {
        if (!Find(handle, kind))
        {
            g_fake->misuse.push_back(misuse);
            return Fail(ERROR_INVALID_HANDLE);
        }
        g_fake->m_open.erase(handle);
        return TRUE;
    }

    static HANDLE WINAPI CreateFile(LPCWSTR path, DWORD access, DWORD, LPSECURITY_ATTRIBUTES, DWORD, DWORD flags,
                                    HANDLE)
    {
        g_fake->opened.push_back(path);
        g_fake->openAccess.push_back(access);
        g_fake->openFlags.push_back(flags);
        auto it = g_fake->devices.find(path);
        if (it == g_fake->devices.end())
            return Fail(ERROR_FILE_NOT_FOUND), INVALID_HANDLE_VALUE;
        if (it->second.openError)
            return Fail(it->second.openError), INVALID_HANDLE_VALUE;
        return g_fake->NewHandle(FakeDevices::Kind::File, path);
    }

    static BOOL WINAPI DeviceIoControl(HANDLE handle, DWORD code, LPVOID, DWORD, LPVOID out, DWORD outSize,
                                       LPDWORD returned, LPOVERLAPPED overlapped)
    {
        const FakeDevices::Open* file = Find(handle, FakeDevices::Kind::File);
        if (!file)
            return Fail(ERROR_INVALID_HANDLE);
        g_fake->ioctls.push_back({file->path, code, outSize, overlapped != nullptr});
        const FakeDevice& device = g_fake->devices[file->path];
        auto it = device.replies.find(code);
        if (it == device.replies.end())
            return Fail(ERROR_INVALID_FUNCTION);
        const IoctlReply& reply = it->second;
        if (reply.error)
            return Fail(reply.error);
        if (reply.bytes.size() > outSize)
            return Fail(ERROR_INSUFFICIENT_BUFFER);
        if (overlapped && reply.pendingWaits != 0)
        {
            g_fake->m_pending[overlapped] = {handle, overlapped->hEvent, reply, out, reply.pendingWaits};
            return Fail(ERROR_IO_PENDING);
        }
        memcpy(out, reply.bytes.data(), reply.bytes.size());
        if (returned)
            *returned = static_cast<DWORD>(reply.bytes.size());
        return TRUE;
    }

    static HANDLE WINAPI CreateEvent(LPSECURITY_ATTRIBUTES, BOOL, BOOL, LPCWSTR)
    {
        if (g_fake->eventResult)
            return *g_fake->eventResult;
        return g_fake->NewHandle(FakeDevices::Kind::Event, L"event");
    }

    static DWORD WINAPI WaitForSingleObject(HANDLE event, DWORD ms)
    {
        ++g_fake->waits;
        if (!Find(event, FakeDevices::Kind::Event))
            return ::SetLastError(ERROR_INVALID_HANDLE), WAIT_FAILED;
        for (auto& entry : g_fake->m_pending)
        {
            FakeDevices::Pending& pending = entry.second;
            if (pending.event != event || pending.done || pending.waitsLeft < 0)
                continue;
            if (--pending.waitsLeft == 0)
            {
                memcpy(pending.out, pending.reply.bytes.data(), pending.reply.bytes.size());
                pending.done = true;
                return WAIT_OBJECT_0;
            }
        }
        g_fake->clock += ms;
        return WAIT_TIMEOUT;
    }

    static BOOL WINAPI GetOverlappedResult(HANDLE, LPOVERLAPPED overlapped, LPDWORD transferred, BOOL wait)
    {
        auto it = g_fake->m_pending.find(overlapped);
        if (it == g_fake->m_pending.end())
            return Fail(ERROR_INVALID_PARAMETER);
        FakeDevices::Pending& pending = it->second;
        if (wait)
            ++g_fake->drains;
        if (pending.done)
        {
            *transferred = static_cast<DWORD>(pending.reply.bytes.size());
            g_fake->m_pending.erase(it);
            return TRUE;
        }
        if (!wait)
            return Fail(ERROR_IO_INCOMPLETE);
        if (!pending.cancelled)
            g_fake->misuse.push_back("waited without limit for a request that never completes");
        g_fake->m_pending.erase(it);
        return Fail(ERROR_OPERATION_ABORTED);
    }

    static BOOL WINAPI CancelIoEx(HANDLE, LPOVERLAPPED overlapped)
    {
        ++g_fake->cancels;
        auto it = g_fake->m_pending.find(overlapped);
        if (it == g_fake->m_pending.end())
            return Fail(ERROR_NOT_FOUND);
        it->second.cancelled = true;
        return TRUE;
    }

    static BOOL WINAPI CloseHandle(HANDLE handle)
    {
        auto it = g_fake->m_open.find(handle);
        if (it == g_fake->m_open.end() ||
            (it->second.kind != FakeDevices::Kind::File && it->second.kind != FakeDevices::Kind::Event))
        {
            g_fake->misuse.push_back("CloseHandle of a handle that is not an open file or event");
            return Fail(ERROR_INVALID_HANDLE);
        }
        for (const auto& entry : g_fake->m_pending)
        {
            if (entry.second.device == handle)
                g_fake->misuse.push_back("device closed with a request in flight: " + Narrow(it->second.path));
        }
        g_fake->m_open.erase(it);
        return TRUE;
    }

    static DWORD WINAPI GetTickCount() { return g_fake->clock; }

    static BOOL CopyVolume(FakeDevices::Open& search, LPWSTR name, DWORD chars)
    {
        if (search.position >= g_fake->volumes.size())
            return Fail(ERROR_NO_MORE_FILES);
        const std::wstring& volume = g_fake->volumes[search.position++];
        if (volume.size() + 1 > chars)
            return Fail(ERROR_FILENAME_EXCED_RANGE);
        wcscpy(name, volume.c_str());
        return TRUE;
    }

    static HANDLE WINAPI FindFirstVolume(LPWSTR name, DWORD chars)
    {
        if (g_fake->volumes.empty())
            return Fail(ERROR_NO_MORE_FILES), INVALID_HANDLE_VALUE;
        const HANDLE search = g_fake->NewHandle(FakeDevices::Kind::VolumeFind, L"volumes");
        if (!CopyVolume(g_fake->m_open[search], name, chars))
        {
            const DWORD error = ::GetLastError();
            g_fake->m_open.erase(search);
            return Fail(error), INVALID_HANDLE_VALUE;
        }
        return search;
    }

    static BOOL WINAPI FindNextVolume(HANDLE handle, LPWSTR name, DWORD chars)
    {
        FakeDevices::Open* search = Find(handle, FakeDevices::Kind::VolumeFind);
        return search ? CopyVolume(*search, name, chars) : Fail(ERROR_INVALID_HANDLE);
    }

    static BOOL WINAPI FindVolumeClose(HANDLE handle)
    {
        return CloseOfKind(handle, FakeDevices::Kind::VolumeFind,
                           "FindVolumeClose of a handle that is not a volume search");
    }

    // The device nodes a set holds, as indexes into `nodes`.
    static std::vector<size_t> Members(const FakeDevices::Open& set)
    {
        std::vector<size_t> members;
        for (size_t i = 0; i < g_fake->nodes.size(); ++i)
        {
            if (set.allClasses || !g_fake->nodes[i].interfacePath.empty())
                members.push_back(i);
        }
        return members;
    }

    static const FakeDevNode* NodeOf(ULONG_PTR devInst)
    {
        return devInst >= 1 && devInst <= g_fake->nodes.size() ? &g_fake->nodes[devInst - 1] : nullptr;
    }

    static HDEVINFO WINAPI GetClassDevs(const GUID* classGuid, PCWSTR enumerator, HWND, DWORD flags, HDEVINFO,
                                        PCWSTR, PVOID)
    {
        g_fake->classDevsFlags.push_back(flags);
        g_fake->classDevsEnumerators.push_back(enumerator ? enumerator : L"(none)");
        g_fake->classDevsGuids.push_back(classGuid ? *classGuid : GUID());
        if (g_fake->failDeviceSet)
            return Fail(ERROR_INVALID_FLAGS), INVALID_HANDLE_VALUE;
        const HANDLE set = g_fake->NewHandle(FakeDevices::Kind::DeviceSet, L"set");
        g_fake->m_open[set].allClasses = (flags & DIGCF_ALLCLASSES) != 0;
        return set;
    }

    static BOOL WINAPI EnumDeviceInfo(HDEVINFO handle, DWORD index, PSP_DEVINFO_DATA data)
    {
        const FakeDevices::Open* set = Find(handle, FakeDevices::Kind::DeviceSet);
        if (!set)
            return Fail(ERROR_INVALID_HANDLE);
        if (data->cbSize != sizeof(SP_DEVINFO_DATA))
            return Fail(ERROR_INVALID_USER_BUFFER);
        const std::vector<size_t> members = Members(*set);
        if (index >= members.size())
            return Fail(ERROR_NO_MORE_ITEMS);
        data->DevInst = static_cast<DWORD>(members[index] + 1);
        return TRUE;
    }

    static CONFIGRET WINAPI GetDevNodeStatus(PULONG status, PULONG problem, DEVINST devInst, ULONG)
    {
        const FakeDevNode* node = NodeOf(devInst);
        if (!node)
            return CR_INVALID_DEVNODE;
        if (node->statusResult != CR_SUCCESS)
            return node->statusResult;
        *status = node->status;
        *problem = node->problem;
        return CR_SUCCESS;
    }

    static BOOL WINAPI EnumDeviceInterfaces(HDEVINFO handle, PSP_DEVINFO_DATA data, const GUID*, DWORD member,
                                            PSP_DEVICE_INTERFACE_DATA interfaceData)
    {
        if (!Find(handle, FakeDevices::Kind::DeviceSet))
            return Fail(ERROR_INVALID_HANDLE);
        const FakeDevNode* node = NodeOf(data->DevInst);
        if (!node || node->interfacePath.empty() || member != 0)
            return Fail(ERROR_NO_MORE_ITEMS);
        if (interfaceData->cbSize != sizeof(SP_DEVICE_INTERFACE_DATA))
            return Fail(ERROR_INVALID_USER_BUFFER);
        interfaceData->Reserved = data->DevInst;
        return TRUE;
    }

    static BOOL WINAPI GetDeviceInterfaceDetail(HDEVINFO, PSP_DEVICE_INTERFACE_DATA interfaceData,
                                                PSP_DEVICE_INTERFACE_DETAIL_DATA_W detail, DWORD size,
                                                PDWORD required, PSP_DEVINFO_DATA)
    {
        const FakeDevNode* node = NodeOf(interfaceData->Reserved);
        if (!node)
            return Fail(ERROR_INVALID_PARAMETER);
        const DWORD needed = static_cast<DWORD>(offsetof(SP_DEVICE_INTERFACE_DETAIL_DATA_W, DevicePath) +
                                                (node->interfacePath.size() + 1) * sizeof(wchar_t));
        if (required)
            *required = needed;
        if (!detail || size < needed)
            return Fail(ERROR_INSUFFICIENT_BUFFER);
        if (detail->cbSize != sizeof(SP_DEVICE_INTERFACE_DETAIL_DATA_W))
            return Fail(ERROR_INVALID_USER_BUFFER);
        wcscpy(detail->DevicePath, node->interfacePath.c_str());
        return TRUE;
    }

    static BOOL WINAPI GetDeviceRegistryProperty(HDEVINFO, PSP_DEVINFO_DATA data, DWORD property, PDWORD type,
                                                 PBYTE buffer, DWORD size, PDWORD required)
    {
        const FakeDevNode* node = NodeOf(data->DevInst);
        if (!node || property != SPDRP_REMOVAL_POLICY || !node->hasRemovalPolicy)
            return Fail(ERROR_INVALID_DATA);
        if (required)
            *required = sizeof(DWORD);
        if (size < sizeof(DWORD))
            return Fail(ERROR_INSUFFICIENT_BUFFER);
        if (type)
            *type = REG_DWORD;
        memcpy(buffer, &node->removalPolicy, sizeof(DWORD));
        return TRUE;
    }

    static BOOL WINAPI GetDeviceInstanceId(HDEVINFO handle, PSP_DEVINFO_DATA data, PWSTR id, DWORD chars,
                                           PDWORD required)
    {
        if (!Find(handle, FakeDevices::Kind::DeviceSet))
            return Fail(ERROR_INVALID_HANDLE);
        const FakeDevNode* node = NodeOf(data->DevInst);
        if (!node)
            return Fail(ERROR_NO_SUCH_DEVINST);
        if (required)
            *required = static_cast<DWORD>(node->instanceId.size() + 1);
        if (chars < node->instanceId.size() + 1)
            return Fail(ERROR_INSUFFICIENT_BUFFER);
        wcscpy(id, node->instanceId.c_str());
        return TRUE;
    }

    static BOOL WINAPI DestroyDeviceInfoList(HDEVINFO handle)
    {
        return CloseOfKind(handle, FakeDevices::Kind::DeviceSet,
                           "SetupDiDestroyDeviceInfoList of a handle that is not a device set");
    }
};

FakeDevices::FakeDevices() : m_saved(g_deviceCalls)
{
    g_fake = this;
    g_deviceCalls = {FakeCalls::CreateFile,
                     FakeCalls::DeviceIoControl,
                     FakeCalls::CloseHandle,
                     FakeCalls::CreateEvent,
                     FakeCalls::WaitForSingleObject,
                     FakeCalls::GetOverlappedResult,
                     FakeCalls::CancelIoEx,
                     FakeCalls::GetTickCount,
                     FakeCalls::FindFirstVolume,
                     FakeCalls::FindNextVolume,
                     FakeCalls::FindVolumeClose,
                     FakeCalls::GetClassDevs,
                     FakeCalls::EnumDeviceInfo,
                     FakeCalls::EnumDeviceInterfaces,
                     FakeCalls::GetDeviceInterfaceDetail,
                     FakeCalls::GetDeviceRegistryProperty,
                     FakeCalls::GetDeviceInstanceId,
                     FakeCalls::DestroyDeviceInfoList,
                     FakeCalls::GetDevNodeStatus};
}

FakeDevices::~FakeDevices()
{
    g_deviceCalls = m_saved;
    g_fake = nullptr;
}

FakeDevice& FakeDevices::Add(const std::wstring& path) { return devices[path]; }

FakeDevNode& FakeDevices::AddDiskNode(const std::wstring& interfacePath)
{
    nodes.emplace_back();
    nodes.back().interfacePath = interfacePath;
    return nodes.back();
}

FakeDevice& FakeDevices::AddDisk(const std::wstring& path, IoctlReply number, IoctlReply layout)
{
    AddDiskNode(path);
    FakeDevice& disk = Add(path);
    disk.replies[IOCTL_STORAGE_GET_DEVICE_NUMBER] = number;
    disk.replies[IOCTL_DISK_GET_DRIVE_LAYOUT_EX] = layout;
    return disk;
}

FakeDevice& FakeDevices::AddVolume(const std::wstring& path, IoctlReply number, IoctlReply partition)
{
    FakeDevice& volume = Add(path);
    volume.replies[IOCTL_STORAGE_GET_DEVICE_NUMBER] = number;
    volume.replies[IOCTL_DISK_GET_PARTITION_INFO_EX] = partition;
    return volume;
}

FakeDevNode& FakeDevices::AddNode(const std::wstring& name, bool problem)
{
    nodes.emplace_back();
    FakeDevNode& node = nodes.back();
    node.instanceId = std::wstring(kTestBranch) + L"\\" + name + L"\\1";
    if (problem)
    {
        node.status |= DN_HAS_PROBLEM;
        node.problem = CM_PROB_FAILED_INSTALL;
    }
    return node;
}

void WriteDeviceIds(const FakeDevNode& node, const wchar_t* value, const std::wstring& multiSz)
{
    HKEY key = nullptr;
    ASSERT_EQ(::RegCreateKeyExW(HKEY_LOCAL_MACHINE, (kEnum + node.instanceId).c_str(), 0, nullptr, 0, KEY_ALL_ACCESS,
                                nullptr, &key, nullptr),
              ERROR_SUCCESS);
    ::RegSetValueExW(key, value, 0, REG_MULTI_SZ, reinterpret_cast<const BYTE*>(multiSz.data()),
                     static_cast<DWORD>(multiSz.size() * sizeof(wchar_t)));
    ::RegCloseKey(key);
}

void RemoveTestDeviceIds() { ::RegDeleteTreeW(HKEY_LOCAL_MACHINE, (kEnum + kTestBranch).c_str()); }

HANDLE FakeDevices::NewHandle(Kind kind, const std::wstring& path)
{
    const HANDLE handle = reinterpret_cast<HANDLE>(m_nextHandle);
    m_nextHandle += 4;
    m_open[handle] = {kind, path};
    return handle;
}
