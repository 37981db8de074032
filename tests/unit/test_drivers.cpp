#include "drivers.h"

#include "common.h"

#include "fake_devices.h"
#include "sample_machine.h"

#include <cstring>

namespace
{
const wchar_t kVolumeC[] = L"\\\\.\\C:";
const GUID kDiskGuid = {0x8d3e4a51, 0x1c2b, 0x4f6e, {0x9a, 0x10, 0x5b, 0x7c, 0x2d, 0x3e, 0x4f, 0x60}};
const wchar_t kIdeDisk[] = L"\\\\?\\IDE#DiskST1000DM010#5&2a1b#{53f56307-b6bf-11d0-94f2-00a0c91efb8b}";
const wchar_t kScsiDisk[] = L"\\\\?\\scsi#disk&ven_nvme&prod_fast#4&1c2d#{53f56307-b6bf-11d0-94f2-00a0c91efb8b}";
const wchar_t kUsbDisk[] = L"\\\\?\\usbstor#disk&ven_stick&prod_8gb#0001#{53f56307-b6bf-11d0-94f2-00a0c91efb8b}";
const wchar_t kSdDisk[] = L"\\\\?\\sd#disk&ven_card#7&3e#{53f56307-b6bf-11d0-94f2-00a0c91efb8b}";

// A record with its level and source, as support engineers look them up.
void ExpectRecord(const RecordingLog& log, const wxString& msg, wxLogLevel level, int line, const wxString& func)
{
    const LogEntry entry = log.Only(msg);
    EXPECT_EQ(entry.level, level) << entry;
    EXPECT_EQ(entry.file, "drivers") << entry;
    EXPECT_EQ(entry.line, line) << entry;
    EXPECT_EQ(entry.func, func) << entry;
}

IoctlReply Pending(IoctlReply reply, int waits)
{
    reply.pendingWaits = waits;
    return reply;
}
} // namespace

// ---- GetDeviceNumber ----

using GetDeviceNumberTest = FakeDeviceTest;

TEST_F(GetDeviceNumberTest, ImmediateReplyGivesTheDeviceNumber)
{
    fake.Add(kVolumeC).replies[IOCTL_STORAGE_GET_DEVICE_NUMBER] = DeviceNumberReply(3);
    EXPECT_EQ(GetDeviceNumber(kVolumeC, INFINITE, false), 3);
    ASSERT_EQ(fake.opened, std::vector<std::wstring>{kVolumeC});
    EXPECT_EQ(fake.openAccess[0], static_cast<DWORD>(GENERIC_READ | GENERIC_WRITE));
    EXPECT_EQ(fake.openFlags[0], static_cast<DWORD>(FILE_FLAG_OVERLAPPED));
    ASSERT_EQ(fake.ioctls.size(), 1u);
    EXPECT_EQ(fake.ioctls[0].outSize, 12u);
    EXPECT_TRUE(fake.ioctls[0].overlapped);
    EXPECT_TRUE(log.entries.empty()) << log.Dump();
}

TEST_F(GetDeviceNumberTest, FailedRequestFallsBackToTheFirstExtent)
{
    FakeDevice& volume = fake.Add(L"\\\\?\\Volume{spanned}");
    volume.replies[IOCTL_STORAGE_GET_DEVICE_NUMBER] = FailedReply(ERROR_INVALID_FUNCTION);
    volume.replies[IOCTL_VOLUME_GET_VOLUME_DISK_EXTENTS] = ExtentReply(2, 1 << 20, 1 << 30);
    EXPECT_EQ(GetDeviceNumber(L"\\\\?\\Volume{spanned}", INFINITE, false), 2);
    ExpectRecord(log, "IOCTL_STORAGE_GET_DEVICE_NUMBER failed for \\\\?\\Volume{spanned}: 0x1", wxLOG_Error, 891,
                 "GetDeviceNumberInternal");
    ASSERT_EQ(fake.ioctls.size(), 2u);
    EXPECT_EQ(fake.ioctls[1].code, static_cast<DWORD>(IOCTL_VOLUME_GET_VOLUME_DISK_EXTENTS));
    EXPECT_EQ(fake.ioctls[1].outSize, 1024u);
    EXPECT_FALSE(fake.ioctls[1].overlapped);
    EXPECT_EQ(log.entries.size(), 1u) << log.Dump();
}

TEST_F(GetDeviceNumberTest, BothRequestsFailingGiveMinusOneAndTwoErrors)
{
    FakeDevice& volume = fake.Add(kVolumeC);
    volume.replies[IOCTL_STORAGE_GET_DEVICE_NUMBER] = FailedReply(ERROR_ACCESS_DENIED);
    volume.replies[IOCTL_VOLUME_GET_VOLUME_DISK_EXTENTS] = FailedReply(ERROR_NOT_SUPPORTED);
    EXPECT_EQ(GetDeviceNumber(kVolumeC, INFINITE, false), -1);
    ExpectRecord(log, "IOCTL_STORAGE_GET_DEVICE_NUMBER failed for \\\\.\\C:: 0x5", wxLOG_Error, 891,
                 "GetDeviceNumberInternal");
    ExpectRecord(log, "IOCTL_VOLUME_GET_VOLUME_DISK_EXTENTS failed for \\\\.\\C:: 0x32", wxLOG_Error, 931,
                 "GetDeviceNumberInternal");
}

TEST_F(GetDeviceNumberTest, QuietLeavesOutBothRequestMessages)
{
    FakeDevice& volume = fake.Add(kVolumeC);
    volume.replies[IOCTL_STORAGE_GET_DEVICE_NUMBER] = FailedReply(ERROR_ACCESS_DENIED);
    volume.replies[IOCTL_VOLUME_GET_VOLUME_DISK_EXTENTS] = NoExtentsReply();
    EXPECT_EQ(GetDeviceNumber(kVolumeC, INFINITE, true), -1);
    EXPECT_TRUE(log.entries.empty()) << log.Dump();
}

TEST_F(GetDeviceNumberTest, OpenFailureIsLoggedEvenWhenQuiet)
{
    fake.Add(kVolumeC).openError = ERROR_ACCESS_DENIED;
    EXPECT_EQ(GetDeviceNumber(kVolumeC, INFINITE, true), -1);
    ExpectRecord(log, "Failed to open device \\\\.\\C:: 0x5", wxLOG_Error, 857, "GetDeviceNumberInternal");
    EXPECT_TRUE(fake.ioctls.empty());
}

TEST_F(GetDeviceNumberTest, PendingRequestWithoutLimitIsWaitedForAcrossTheTickWrap)
{
    fake.Add(kVolumeC).replies[IOCTL_STORAGE_GET_DEVICE_NUMBER] = Pending(DeviceNumberReply(4), 25);
    const DWORD start = fake.clock;
    EXPECT_EQ(GetDeviceNumber(kVolumeC, INFINITE, false), 4);
    EXPECT_EQ(fake.waits, 25);
    EXPECT_LT(fake.clock, start) << "the simulated tick count wrapped during the wait";
    EXPECT_EQ(fake.cancels, 0);
    EXPECT_EQ(log.Count(wxLOG_Warning, "Cancelling IO"), 0) << log.Dump();
}

TEST_F(GetDeviceNumberTest, PendingRequestCompletingWithinTheLimitIsTaken)
{
    fake.Add(kVolumeC).replies[IOCTL_STORAGE_GET_DEVICE_NUMBER] = Pending(DeviceNumberReply(6), 2);
    EXPECT_EQ(GetDeviceNumber(kVolumeC, 1000, false), 6);
    EXPECT_EQ(fake.waits, 2);
    EXPECT_EQ(fake.cancels, 0);
}

TEST_F(GetDeviceNumberTest, LimitEndsTheWaitAtTheNextSliceThenCancelsAndFallsBack)
{
    struct Case
    {
        DWORD limit;
        int waits;
    };
    for (const Case& c : {Case{250, 3}, Case{300, 3}, Case{301, 4}, Case{0, 0}})
    {
        FakeDevices machine;
        RecordingLog records;
        FakeDevice& volume = machine.Add(kVolumeC);
        volume.replies[IOCTL_STORAGE_GET_DEVICE_NUMBER] = Pending(DeviceNumberReply(1), -1);
        volume.replies[IOCTL_VOLUME_GET_VOLUME_DISK_EXTENTS] = ExtentReply(5, 0, 1 << 30);
        EXPECT_EQ(GetDeviceNumber(kVolumeC, c.limit, false), 5) << "limit " << c.limit;
        EXPECT_EQ(machine.waits, c.waits) << "limit " << c.limit;
        EXPECT_EQ(machine.cancels, 1);
        EXPECT_EQ(machine.drains, 1) << "the cancelled request is waited out before its frame goes";
        ExpectRecord(records, "Cancelling IO", wxLOG_Warning, 910, "GetDeviceNumberInternal");
        EXPECT_EQ(records.entries.size(), 1u) << records.Dump();
        EXPECT_EQ(machine.handlesOpen(), 0);
        EXPECT_TRUE(machine.misuse.empty());
    }
}

TEST_F(GetDeviceNumberTest, PassedHandleIsUsedAndStaysOpen)
{
    fake.Add(L"\\\\?\\Volume{x}").replies[IOCTL_STORAGE_GET_DEVICE_NUMBER] = DeviceNumberReply(8);
    const HANDLE handle = g_deviceCalls.createFile(L"\\\\?\\Volume{x}", GENERIC_READ, 3, nullptr, OPEN_EXISTING,
                                                   FILE_FLAG_OVERLAPPED, nullptr);
    EXPECT_EQ(GetDeviceNumberInternal(L"not opened", handle, INFINITE, false), 8);
    EXPECT_EQ(fake.opened.size(), 1u) << "the path is not opened when a handle is given";
    EXPECT_EQ(fake.handlesOpen(), 1);
    g_deviceCalls.closeHandle(handle);
}

TEST_F(GetDeviceNumberTest, OnlyInvalidHandleValueFromTheEventCreatorCountsAsFailure)
{
    fake.Add(kVolumeC).replies[IOCTL_STORAGE_GET_DEVICE_NUMBER] = DeviceNumberReply(2);
    fake.eventResult = INVALID_HANDLE_VALUE;
    EXPECT_EQ(GetDeviceNumber(kVolumeC, INFINITE, false), -1);
    ExpectRecord(log, "Failed to create event", wxLOG_Error, 871, "GetDeviceNumberInternal");
    EXPECT_TRUE(fake.ioctls.empty());

    // NULL, the creator's real failure value, goes unnoticed and the request is sent without an event.
    fake.eventResult = nullptr;
    RecordingLog quiet;
    EXPECT_EQ(GetDeviceNumber(kVolumeC, INFINITE, false), 2);
    EXPECT_TRUE(quiet.entries.empty()) << quiet.Dump();
}

// ---- GetDeviceExtent ----

using GetDeviceExtentTest = FakeDeviceTest;

TEST_F(GetDeviceExtentTest, NullExtentIsAnInvalidParameter)
{
    fake.Add(kVolumeC);
    const HANDLE handle = g_deviceCalls.createFile(kVolumeC, 0, 3, nullptr, OPEN_EXISTING, 0, nullptr);
    ::SetLastError(0xDEADBEEF);
    EXPECT_FALSE(GetDeviceExtent(handle, nullptr));
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
    EXPECT_TRUE(fake.ioctls.empty());
    g_deviceCalls.closeHandle(handle);
}

TEST_F(GetDeviceExtentTest, NoExtentsIsAFailureAndLeavesTheOutputAlone)
{
    fake.Add(kVolumeC).replies[IOCTL_VOLUME_GET_VOLUME_DISK_EXTENTS] = NoExtentsReply();
    const HANDLE handle = g_deviceCalls.createFile(kVolumeC, 0, 3, nullptr, OPEN_EXISTING, 0, nullptr);
    DISK_EXTENT extent;
    memset(&extent, 0xCC, sizeof extent);
    EXPECT_FALSE(GetDeviceExtent(handle, &extent));
    EXPECT_EQ(extent.DiskNumber, 0xCCCCCCCCu);
    g_deviceCalls.closeHandle(handle);
}

TEST_F(GetDeviceExtentTest, FirstExtentIsCopiedWhole)
{
    fake.Add(kVolumeC).replies[IOCTL_VOLUME_GET_VOLUME_DISK_EXTENTS] = ExtentReply(3, 0x100000, 0x7FFF00000LL);
    const HANDLE handle = g_deviceCalls.createFile(kVolumeC, 0, 3, nullptr, OPEN_EXISTING, 0, nullptr);
    DISK_EXTENT extent = {};
    EXPECT_TRUE(GetDeviceExtent(handle, &extent));
    EXPECT_EQ(extent.DiskNumber, 3u);
    EXPECT_EQ(extent.StartingOffset.QuadPart, 0x100000);
    EXPECT_EQ(extent.ExtentLength.QuadPart, 0x7FFF00000LL);
    g_deviceCalls.closeHandle(handle);
}

// ---- GetDiskVolumes ----

class GetDiskVolumesTest : public FakeDeviceTest
{
protected:
    void AddVolume(const std::wstring& id, IoctlReply number, IoctlReply extents = FailedReply(ERROR_NOT_SUPPORTED))
    {
        fake.volumes.push_back(L"\\\\?\\Volume{" + id + L"}\\");
        FakeDevice& volume = fake.Add(L"\\\\?\\Volume{" + id + L"}");
        volume.replies[IOCTL_STORAGE_GET_DEVICE_NUMBER] = number;
        volume.replies[IOCTL_VOLUME_GET_VOLUME_DISK_EXTENTS] = extents;
    }
};

TEST_F(GetDiskVolumesTest, KeepsTheVolumesOfTheDiskWithTheirBackslashInSystemOrder)
{
    AddVolume(L"a", DeviceNumberReply(1));
    AddVolume(L"b", DeviceNumberReply(0));
    AddVolume(L"c", FailedReply(ERROR_INVALID_FUNCTION), ExtentReply(1, 0, 1));
    fake.volumes.push_back(L"\\\\?\\Volume{locked}\\");
    fake.Add(L"\\\\?\\Volume{locked}").openError = ERROR_ACCESS_DENIED;
    AddVolume(L"d", DeviceNumberReply(1));

    const wxArrayString volumes = GetDiskVolumes(1, INFINITE, true);
    EXPECT_EQ(std::vector<wxString>(volumes.begin(), volumes.end()),
              (std::vector<wxString>{"\\\\?\\Volume{a}\\", "\\\\?\\Volume{c}\\", "\\\\?\\Volume{d}\\"}));
    ExpectRecord(log, "Failed to open device \\\\?\\Volume{locked}: 0x5", wxLOG_Error, 857,
                 "GetDeviceNumberInternal");
    EXPECT_EQ(fake.opened[0], L"\\\\?\\Volume{a}") << "opened without the trailing backslash";
}

TEST_F(GetDiskVolumesTest, DiskWithoutVolumesGivesAnEmptyList)
{
    AddVolume(L"a", DeviceNumberReply(0));
    EXPECT_TRUE(GetDiskVolumes(7, INFINITE, false).empty());
    fake.volumes.clear();
    EXPECT_TRUE(GetDiskVolumes(0, INFINITE, false).empty()) << "no volume at all";
}

TEST_F(GetDiskVolumesTest, UnknownNumberMatchesNoVolumeThatCannotTell)
{
    AddVolume(L"a", FailedReply(ERROR_INVALID_FUNCTION));
    EXPECT_TRUE(GetDiskVolumes(-1, INFINITE, true).empty());
}

// ---- GetDiskSignature ----

using GetDiskSignatureTest = FakeDeviceTest;

TEST_F(GetDiskSignatureTest, MbrDiskGivesItsSignatureAndLeavesTheIdAlone)
{
    fake.Add(kScsiDisk).replies[IOCTL_DISK_GET_DRIVE_LAYOUT_EX] = MbrLayoutReply(0x1234ABCD);
    DWORD signature = 0;
    GUID id;
    memset(&id, 0xCC, sizeof id);
    EXPECT_TRUE(GetDiskSignature(kScsiDisk, &signature, &id));
    EXPECT_EQ(signature, 0x1234ABCDu);
    EXPECT_EQ(id.Data1, 0xCCCCCCCCu);
    EXPECT_EQ(fake.openAccess[0], static_cast<DWORD>(FILE_READ_ATTRIBUTES));
    EXPECT_EQ(fake.openFlags[0], 0u);
    EXPECT_EQ(fake.ioctls[0].outSize, 16536u);
}

TEST_F(GetDiskSignatureTest, GptDiskKeepsTheNoSignatureMarkAndGivesItsId)
{
    fake.Add(kScsiDisk).replies[IOCTL_DISK_GET_DRIVE_LAYOUT_EX] = GptLayoutReply(kDiskGuid);
    DWORD signature = 0;
    GUID id = {};
    EXPECT_TRUE(GetDiskSignature(kScsiDisk, &signature, &id));
    EXPECT_EQ(signature, 0xFFFFFFFFu);
    EXPECT_EQ(memcmp(&id, &kDiskGuid, sizeof id), 0);
}

TEST_F(GetDiskSignatureTest, RawDiskSucceedsAndSetsNeither)
{
    fake.Add(kScsiDisk).replies[IOCTL_DISK_GET_DRIVE_LAYOUT_EX] = RawLayoutReply();
    DWORD signature = 0;
    GUID id;
    memset(&id, 0xCC, sizeof id);
    EXPECT_TRUE(GetDiskSignature(kScsiDisk, &signature, &id));
    EXPECT_EQ(signature, 0xFFFFFFFFu);
    EXPECT_EQ(id.Data1, 0xCCCCCCCCu);
}

TEST_F(GetDiskSignatureTest, NullOutputsAreRefusedBeforeOpening)
{
    fake.Add(kScsiDisk).replies[IOCTL_DISK_GET_DRIVE_LAYOUT_EX] = MbrLayoutReply(1);
    DWORD signature = 7;
    GUID id = {};
    EXPECT_FALSE(GetDiskSignature(kScsiDisk, nullptr, &id));
    EXPECT_FALSE(GetDiskSignature(kScsiDisk, &signature, nullptr));
    EXPECT_EQ(signature, 7u);
    EXPECT_TRUE(fake.opened.empty());
}

TEST_F(GetDiskSignatureTest, OpenAndRequestFailuresAreLoggedWithTheirCodes)
{
    fake.Add(kIdeDisk).openError = ERROR_ACCESS_DENIED;
    fake.Add(kScsiDisk).replies[IOCTL_DISK_GET_DRIVE_LAYOUT_EX] = FailedReply(ERROR_MORE_DATA);
    DWORD signature = 0;
    GUID id = {};
    EXPECT_FALSE(GetDiskSignature(kIdeDisk, &signature, &id));
    EXPECT_FALSE(GetDiskSignature(kScsiDisk, &signature, &id));
    ExpectRecord(log, "GetDiskSignature, Failed to open device (5)", wxLOG_Error, 1255, "GetDiskSignature");
    ExpectRecord(log, "GetDiskSignature, DeviceIoControl error: 234", wxLOG_Error, 1269, "GetDiskSignature");
}

// ---- GetVolumeInfo and GetVolumeOffset ----

using VolumeQueryTest = FakeDeviceTest;

TEST_F(VolumeQueryTest, VolumeInfoTakesThePathWithOrWithoutItsBackslash)
{
    fake.Add(L"\\\\?\\Volume{a}").replies[IOCTL_DISK_GET_PARTITION_INFO_EX] = MbrPartitionReply(0x100000);
    for (const wchar_t* path : {L"\\\\?\\Volume{a}\\", L"\\\\?\\Volume{a}"})
    {
        PARTITION_INFORMATION_EX info;
        memset(&info, 0xCC, sizeof info);
        EXPECT_TRUE(GetVolumeInfo(path, info));
        EXPECT_EQ(info.StartingOffset.QuadPart, 0x100000);
        EXPECT_EQ(info.PartitionStyle, PARTITION_STYLE_MBR);
    }
    EXPECT_EQ(fake.opened, (std::vector<std::wstring>{L"\\\\?\\Volume{a}", L"\\\\?\\Volume{a}"}));
    EXPECT_EQ(fake.ioctls[0].outSize, 144u);
    EXPECT_EQ(fake.openAccess[0], static_cast<DWORD>(FILE_READ_ATTRIBUTES));
}

TEST_F(VolumeQueryTest, VolumeInfoFailuresZeroTheOutputAndAreLogged)
{
    fake.Add(L"\\\\?\\Volume{a}").replies[IOCTL_DISK_GET_PARTITION_INFO_EX] = FailedReply(ERROR_INVALID_FUNCTION);
    PARTITION_INFORMATION_EX info;
    memset(&info, 0xCC, sizeof info);
    EXPECT_FALSE(GetVolumeInfo(L"\\\\?\\Volume{missing}\\", info));
    EXPECT_EQ(info.StartingOffset.QuadPart, 0);
    EXPECT_EQ(info.PartitionNumber, 0u);
    EXPECT_FALSE(GetVolumeInfo(L"\\\\?\\Volume{a}\\", info));
    ExpectRecord(log, "GetVolumeInfo, Failed to open device (2)", wxLOG_Error, 1351, "GetVolumeInfo");
    ExpectRecord(log, "GetVolumeInfo, DeviceIoControl error: 1", wxLOG_Error, 1365, "GetVolumeInfo");
}

TEST_F(VolumeQueryTest, VolumeOffsetIsTheFirstExtentsStart)
{
    fake.Add(L"\\\\?\\Volume{a}").replies[IOCTL_VOLUME_GET_VOLUME_DISK_EXTENTS] = ExtentReply(0, 0x20000000, 1);
    for (const wchar_t* path : {L"\\\\?\\Volume{a}\\", L"\\\\?\\Volume{a}"})
    {
        LONGLONG offset = -7;
        EXPECT_TRUE(GetVolumeOffset(path, offset));
        EXPECT_EQ(offset, 0x20000000);
    }
    EXPECT_EQ(fake.opened, (std::vector<std::wstring>{L"\\\\?\\Volume{a}", L"\\\\?\\Volume{a}"}));
}

TEST_F(VolumeQueryTest, VolumeOffsetFailuresKeepTheSharedWordingAndLeaveTheOffset)
{
    fake.Add(L"\\\\?\\Volume{locked}").openError = ERROR_ACCESS_DENIED;
    fake.Add(L"\\\\?\\Volume{a}").replies[IOCTL_VOLUME_GET_VOLUME_DISK_EXTENTS] = FailedReply(ERROR_INVALID_FUNCTION);
    LONGLONG offset = -7;
    EXPECT_FALSE(GetVolumeOffset(L"\\\\?\\Volume{locked}\\", offset));
    EXPECT_FALSE(GetVolumeOffset(L"\\\\?\\Volume{a}\\", offset));
    EXPECT_EQ(offset, -7);
    ExpectRecord(log, "GetVolumeInfo, Failed to open device (5)", wxLOG_Error, 1311, "GetVolumeOffset");
    ExpectRecord(log, "GetVolumeInfo, GetDeviceExtent failed for \\\\?\\Volume{a}\\ error: 1", wxLOG_Error, 1323,
                 "GetVolumeOffset");
}

// ---- EnumerateDisks ----

using EnumerateDisksTest = FakeDeviceTest;

TEST_F(EnumerateDisksTest, AllDisksListsIdeThenScsiThenUsbAndNothingElse)
{
    fake.AddDiskNode(kUsbDisk);
    fake.AddDiskNode(kScsiDisk);
    fake.AddDiskNode(kSdDisk);
    fake.AddDiskNode(kIdeDisk);
    fake.AddDiskNode(L"");
    wxArrayString disks;
    disks.Add("kept");
    EXPECT_TRUE(EnumerateAllDisks(disks));
    EXPECT_EQ(std::vector<wxString>(disks.begin(), disks.end()),
              (std::vector<wxString>{"kept", kIdeDisk, kScsiDisk, kUsbDisk}));
    ASSERT_EQ(fake.classDevsFlags.size(), 3u);
    for (size_t i = 0; i < 3; ++i)
    {
        EXPECT_EQ(fake.classDevsFlags[i], 0x12u);
        EXPECT_EQ(FormatGuid(fake.classDevsGuids[i]), L"53f56307-b6bf-11d0-94f2-00a0c91efb8b");
    }
}

TEST_F(EnumerateDisksTest, DisksWithAProblemOrWithoutANodeAreLeftOut)
{
    fake.AddDiskNode(L"\\\\?\\scsi#disk&problem#1").status |= DN_HAS_PROBLEM;
    fake.AddDiskNode(L"\\\\?\\scsi#disk&vanished#2").statusResult = CR_NO_SUCH_DEVNODE;
    fake.AddDiskNode(L"\\\\?\\scsi#disk&novalue#3").statusResult = CR_NO_SUCH_VALUE;
    fake.AddDiskNode(L"\\\\?\\scsi#disk&other#4").statusResult = CR_FAILURE;
    fake.AddDiskNode(L"\\\\?\\scsi#disk&" + std::wstring(600, L'x')); // longer than the detail buffer
    fake.AddDiskNode(kScsiDisk);
    wxArrayString disks;
    EXPECT_TRUE(EnumerateDisks(disks, "SCSI#DISK", nullptr));
    EXPECT_EQ(std::vector<wxString>(disks.begin(), disks.end()),
              (std::vector<wxString>{"\\\\?\\scsi#disk&other#4", kScsiDisk}));
    EXPECT_TRUE(log.entries.empty()) << log.Dump();
}

TEST_F(EnumerateDisksTest, NoDeviceSetIsTheOnlyFailure)
{
    fake.AddDiskNode(kScsiDisk);
    fake.failDeviceSet = true;
    wxArrayString disks;
    EXPECT_FALSE(EnumerateDisks(disks, "scsi#disk", nullptr));
    EXPECT_FALSE(EnumerateAllDisks(disks));
    EXPECT_EQ(fake.classDevsFlags.size(), 4u) << "all three classes are asked for even after a failure";
    EXPECT_TRUE(disks.empty());

    fake.failDeviceSet = false;
    fake.nodes.clear();
    EXPECT_TRUE(EnumerateDisks(disks, "scsi#disk", nullptr)) << "an empty set is no failure";
}

TEST_F(EnumerateDisksTest, RemovableFilterKeepsTheAskedKindAndLogsTheHotplugAnswer)
{
    FakeDevNode& usb = fake.AddDiskNode(kUsbDisk);
    usb.hasRemovalPolicy = true;
    usb.removalPolicy = CM_REMOVAL_POLICY_EXPECT_SURPRISE_REMOVAL;
    fake.Add(kUsbDisk).replies[IOCTL_STORAGE_GET_HOTPLUG_INFO] = HotplugReply(true, true);
    FakeDevNode& fixed = fake.AddDiskNode(kScsiDisk);
    fixed.hasRemovalPolicy = true;
    fake.Add(kScsiDisk).replies[IOCTL_STORAGE_GET_HOTPLUG_INFO] = FailedReply(ERROR_INVALID_FUNCTION);
    fake.AddDiskNode(L"\\\\?\\usbstor#disk&nopolicy#9");

    const DWORD removable = 1;
    wxArrayString disks;
    EXPECT_TRUE(EnumerateDisks(disks, "#disk", &removable));
    EXPECT_EQ(std::vector<wxString>(disks.begin(), disks.end()), (std::vector<wxString>{kUsbDisk}));
    const std::vector<wxString> expected = {
        wxString("Device path: ") + kUsbDisk,
        "Removal policy: 3, MediaRemovable: 1, DeviceHotplug: 1",
        "GetDeviceHotplugInfo failed",
        wxString("Device path: ") + kScsiDisk,
        "Removal policy: 1, MediaRemovable: 0, DeviceHotplug: 0",
    };
    EXPECT_EQ(log.Messages(), expected) << log.Dump();
    ExpectRecord(log, "GetDeviceHotplugInfo failed", wxLOG_Warning, 1169, "EnumerateDisks");
    EXPECT_EQ(log.entries[0].line, 1172);
    EXPECT_EQ(log.entries[1].line, 1173);
    EXPECT_EQ(fake.openAccess[0], static_cast<DWORD>(GENERIC_READ | GENERIC_WRITE));
    EXPECT_EQ(fake.ioctls[0].outSize, 8u);

    const DWORD fixedOnly = 0;
    wxArrayString fixedDisks;
    EXPECT_TRUE(EnumerateDisks(fixedDisks, "#disk", &fixedOnly));
    EXPECT_EQ(std::vector<wxString>(fixedDisks.begin(), fixedDisks.end()), (std::vector<wxString>{kScsiDisk}));
}

// ---- CollectDeviceIds ----

// Device nodes on the fake machine whose identifiers lie in the real registry.
class CollectDeviceIdsTest : public FakeDeviceTest
{
protected:
    void TearDown() override
    {
        RemoveTestDeviceIds();
        FakeDeviceTest::TearDown();
    }
    static std::vector<std::vector<wxString>> Lists(const DeviceIdList& result)
    {
        std::vector<std::vector<wxString>> lists;
        for (const auto& ids : result)
            lists.emplace_back(ids->begin(), ids->end());
        return lists;
    }
};

TEST_F(CollectDeviceIdsTest, ProblemControllerIsListedWholeAndUpperCasedAndWorkingOneIsNot)
{
    const FakeDevNode& working = fake.AddNode(L"sata", false);
    WriteDeviceIds(working, L"HardwareID", MultiSzText({L"PCI\\VEN_8086&DEV_2922"}));
    WriteDeviceIds(working, L"CompatibleIDs", MultiSzText({L"PCI\\CC_0106"}));
    const FakeDevNode& broken = fake.AddNode(L"raid", true);
    WriteDeviceIds(broken, L"CompatibleIDs", MultiSzText({L"pci\\ven_1000&cc_010400", L"pci\\cc_0104"}));
    WriteDeviceIds(broken, L"HardwareID", MultiSzText({L"PCI\\VEN_1000&DEV_0079&SUBSYS_1", L"PCI\\VEN_1000&DEV_0079"}));

    DeviceIdList result;
    EXPECT_TRUE(CollectDeviceIds(result, "", "PCI\\CC_01??", false));
    const std::vector<std::vector<wxString>> expected = {
        {"PCI\\VEN_1000&DEV_0079&SUBSYS_1", "PCI\\VEN_1000&DEV_0079", "PCI\\VEN_1000&CC_010400", "PCI\\CC_0104"}};
    EXPECT_EQ(Lists(result), expected);
    EXPECT_EQ(fake.classDevsFlags, std::vector<DWORD>{DIGCF_PRESENT | DIGCF_ALLCLASSES});
    EXPECT_EQ(FormatGuid(fake.classDevsGuids[0]), L"00000000-0000-0000-0000-000000000000") << "no class";
    EXPECT_EQ(fake.classDevsEnumerators, std::vector<std::wstring>{L"(none)"});
    EXPECT_TRUE(log.entries.empty()) << log.Dump();
}

TEST_F(CollectDeviceIdsTest, PatternMatchesWholeIdentifiersWithoutRegardToCase)
{
    const FakeDevNode& shortForm = fake.AddNode(L"short", true);
    WriteDeviceIds(shortForm, L"CompatibleIDs", MultiSzText({L"pci\\cc_0106"}));
    const FakeDevNode& longForm = fake.AddNode(L"long", true);
    WriteDeviceIds(longForm, L"CompatibleIDs", MultiSzText({L"PCI\\CC_010601"}));
    const FakeDevNode& network = fake.AddNode(L"nic", true);
    WriteDeviceIds(network, L"CompatibleIDs", MultiSzText({L"PCI\\CC_0200"}));

    DeviceIdList result;
    EXPECT_TRUE(CollectDeviceIds(result, "", "pci\\cc_01??", false));
    EXPECT_EQ(Lists(result), (std::vector<std::vector<wxString>>{{"PCI\\CC_0106"}}));
}

TEST_F(CollectDeviceIdsTest, DeviceWithoutIdentifiersIsNeverListed)
{
    fake.AddNode(L"bare", true);
    fake.AddNode(L"unregistered", false).instanceId = L"MPDIAGTEST\\NOWHERE\\1";
    DeviceIdList result;
    EXPECT_TRUE(CollectDeviceIds(result, "", "", true));
    EXPECT_TRUE(result.empty());
}

TEST_F(CollectDeviceIdsTest, CallsAccumulateAndIncludeAllListsWorkingDevices)
{
    const FakeDevNode& disk = fake.AddNode(L"disk", false);
    WriteDeviceIds(disk, L"HardwareID", MultiSzText({L"PCI\\CC_0106"}));
    const FakeDevNode& nic = fake.AddNode(L"nic", true);
    WriteDeviceIds(nic, L"HardwareID", MultiSzText({L"PCI\\CC_0200"}));

    DeviceIdList result;
    EXPECT_TRUE(CollectDeviceIds(result, "PCI", "PCI\\CC_02??", false));
    EXPECT_TRUE(CollectDeviceIds(result, "PCI", "PCI\\CC_01??", true));
    EXPECT_TRUE(CollectDeviceIds(result, "", "", true));
    const std::vector<std::vector<wxString>> expected = {
        {"PCI\\CC_0200"}, {"PCI\\CC_0106"}, {"PCI\\CC_0106"}, {"PCI\\CC_0200"}};
    EXPECT_EQ(Lists(result), expected);
    EXPECT_EQ(fake.classDevsEnumerators, (std::vector<std::wstring>{L"PCI", L"PCI", L"(none)"}));
}

TEST_F(CollectDeviceIdsTest, VanishedOrSilentNodesAreStillExamined)
{
    FakeDevNode& vanished = fake.AddNode(L"vanished", false);
    vanished.statusResult = CR_NO_SUCH_DEVNODE;
    WriteDeviceIds(vanished, L"HardwareID", MultiSzText({L"PCI\\CC_0106"}));
    FakeDevNode& silent = fake.AddNode(L"silent", false);
    silent.statusResult = CR_NO_SUCH_VALUE;
    WriteDeviceIds(silent, L"HardwareID", MultiSzText({L"PCI\\CC_0107"}));
    FakeDevNode& failing = fake.AddNode(L"failing", false);
    failing.statusResult = CR_FAILURE;
    WriteDeviceIds(failing, L"HardwareID", MultiSzText({L"PCI\\CC_0108"}));

    DeviceIdList result;
    EXPECT_TRUE(CollectDeviceIds(result, "", "", false));
    EXPECT_EQ(Lists(result), (std::vector<std::vector<wxString>>{{"PCI\\CC_0106"}, {"PCI\\CC_0107"}}));
}

TEST_F(CollectDeviceIdsTest, NoDeviceSetIsTheOnlyFailureAndKeepsTheList)
{
    fake.failDeviceSet = true;
    DeviceIdList result;
    result.push_back(std::make_unique<wxArrayString>());
    EXPECT_FALSE(CollectDeviceIds(result, "", "", true));
    EXPECT_EQ(result.size(), 1u);
}

TEST_F(CollectDeviceIdsTest, IdentifierValuesWithoutTheirClosingStringOrOf64KiBStayInside)
{
    const FakeDevNode& open = fake.AddNode(L"open", true);
    WriteDeviceIds(open, L"HardwareID", L"PCI\\CC_0106");
    const FakeDevNode& huge = fake.AddNode(L"huge", true);
    WriteDeviceIds(huge, L"HardwareID", std::wstring(32767, L'x') + L'\0');
    const FakeDevNode& full = fake.AddNode(L"full", true);
    WriteDeviceIds(full, L"HardwareID", std::wstring(32768, L'y'));

    DeviceIdList result;
    EXPECT_TRUE(CollectDeviceIds(result, "", "", false));
    // A 64 KiB value with no room left for its terminator does not fit the read: that device
    // has no identifiers and is left out.
    ASSERT_EQ(result.size(), 2u);
    EXPECT_EQ(Lists(result)[0], std::vector<wxString>{"PCI\\CC_0106"});
    EXPECT_EQ((*result[1])[0], wxString(32767, 'X')) << "one identifier of 32767 characters, whole";
}

TEST(AppendUpper, AppendsUpperCasedCopiesInOrder)
{
    wxArrayString target;
    target.Add("kept");
    wxArrayString source;
    source.Add("pci\\ven_8086");
    source.Add("Pci\\Cc_0106");
    AppendUpper(target, source);
    EXPECT_EQ(std::vector<wxString>(target.begin(), target.end()),
              (std::vector<wxString>{"kept", "PCI\\VEN_8086", "PCI\\CC_0106"}));
}
