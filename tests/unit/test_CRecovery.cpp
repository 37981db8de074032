#include "CRecovery.h"

#include "boot_store.h"
#include "common.h"
#include "fake_devices.h"

#include <wx/filename.h>

namespace
{
const wchar_t kSystemVolume[] = L"\\\\.\\C:";
const wchar_t kOtherDisk[] = L"\\\\?\\ide#disk&data#1#{53f56307-b6bf-11d0-94f2-00a0c91efb8b}";
const wchar_t kSystemDisk[] = L"\\\\?\\scsi#disk&system#2#{53f56307-b6bf-11d0-94f2-00a0c91efb8b}";
const DWORD kSignature = 0x1234ABCD;
const LONGLONG kSystemOffset = 0x100000;
const LONGLONG kRecoveryOffset = 0x7FF000000LL;
const GUID kDisk = {0x8d3e4a51, 0x1c2b, 0x4f6e, {0x9a, 0x10, 0x5b, 0x7c, 0x2d, 0x3e, 0x4f, 0x60}};
const GUID kSystemPartition = {0x0c1d2e3f, 0x4a5b, 0x6c7d, {0x8e, 0x9f, 0xa0, 0xb1, 0xc2, 0xd3, 0xe4, 0xf5}};
const GUID kRecoveryPartition = {0x0c1d2e3f, 0x4a5b, 0x6c7d, {0x8e, 0x9f, 0xa0, 0xb1, 0xc2, 0xd3, 0xe4, 0xf6}};
const GUID kNoGuid = {};
} // namespace

// The system drive's "\Recovery" folder and the boot store start absent in every test; the
// disks and volumes are fakes.
class RecoveryTest : public FakeDeviceTest
{
protected:
    void SetUp() override { Clean(); }
    void TearDown() override
    {
        Clean();
        FakeDeviceTest::TearDown();
    }
    static void Clean()
    {
        RemoveTree("C:\\Recovery");
        BootStore::Remove();
    }

    FakeDevice& Volume(const std::wstring& path, DWORD number, IoctlReply partition)
    {
        return fake.AddVolume(path, DeviceNumberReply(number), partition);
    }
    // A system on disk 1 with its recovery partition: both as volumes of the system, C: too.
    void SystemDisk(IoctlReply layout, IoctlReply systemPartition, IoctlReply recoveryPartition)
    {
        fake.AddDisk(kOtherDisk, DeviceNumberReply(0), MbrLayoutReply(0x11223344));
        fake.AddDisk(kSystemDisk, DeviceNumberReply(1), layout);
        Volume(kSystemVolume, 1, systemPartition);
        fake.volumes = {L"\\\\?\\Volume{c}\\", L"\\\\?\\Volume{re}\\"};
        Volume(L"\\\\?\\Volume{c}", 1, systemPartition);
        Volume(L"\\\\?\\Volume{re}", 1, recoveryPartition);
    }

    // The records of the locator and the store reader, without the command's output.
    std::vector<wxString> Walk() const
    {
        std::vector<wxString> lines;
        for (const LogEntry& entry : log.entries)
        {
            if (entry.file == "CRecovery" || entry.file == "BCD")
                lines.push_back(entry.msg);
        }
        return lines;
    }
};

TEST_F(RecoveryTest, ImageBelowTheRecoveryFolderIsReturnedWithoutAnyLine)
{
    MakeDirs("C:\\Recovery\\WindowsRE");
    WriteBytes("C:\\Recovery\\WindowsRE\\WinRE.wim", "image");
    EXPECT_EQ(GetCRecoveryPath(), "C:\\Recovery\\WindowsRE\\WinRE.wim");
    EXPECT_TRUE(log.entries.empty()) << log.Dump();
    EXPECT_TRUE(fake.classDevsFlags.empty()) << "the disks are not listed";
    EXPECT_TRUE(fake.opened.empty()) << "no device is opened";
}

TEST_F(RecoveryTest, HiddenFoldersAreSearchedAndTheTopFolderImageIsMetLast)
{
    MakeDirs("C:\\Recovery\\WindowsRE");
    WriteBytes("C:\\Recovery\\WindowsRE\\WinRE.wim", "image");
    ::SetFileAttributesW(L"C:\\Recovery", FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM);
    ::SetFileAttributesW(L"C:\\Recovery\\WindowsRE", FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM);
    EXPECT_EQ(GetCRecoveryPath(), "C:\\Recovery\\WindowsRE\\WinRE.wim");
    WriteBytes("C:\\Recovery\\WinRE.wim", "image at the top");
    EXPECT_EQ(GetCRecoveryPath(), "C:\\Recovery\\WinRE.wim") << "a folder's own files are met after its subfolders";
}

// The library's first-match search is not what its name says: it enters every subfolder before it
// lists a folder's own files, and its stop ends only the file listing of the folder it is in, so
// every match is met and the last one met wins: the top folder's own file, or else the match in
// the subfolder that the system lists last.
TEST_F(RecoveryTest, OfSeveralImagesTheLastOneTheSearchMeetsWins)
{
    for (const char* folder : {"C:\\Recovery\\First", "C:\\Recovery\\Second"})
    {
        MakeDirs(folder);
        WriteBytes(wxString(folder) + "\\WinRE.wim", "image");
    }
    WriteBytes("C:\\Recovery\\WinRE.wim", "image at the top");
    EXPECT_EQ(GetCRecoveryPath(), "C:\\Recovery\\WinRE.wim");

    ::DeleteFileW(L"C:\\Recovery\\WinRE.wim");
    const std::vector<WIN32_FIND_DATAW> listed = FindAll("C:\\Recovery\\*");
    ASSERT_EQ(listed.size(), 2u);
    EXPECT_EQ(GetCRecoveryPath(), wxString("C:\\Recovery\\") + listed.back().cFileName + "\\WinRE.wim")
        << "listed first: " << wxString(listed.front().cFileName).utf8_string();
}

TEST_F(RecoveryTest, MbrSystemDiskLeadsThroughTheStoreToTheImage)
{
    SystemDisk(MbrLayoutReply(kSignature), MbrPartitionReply(kSystemOffset), MbrPartitionReply(kRecoveryOffset));
    InstallBootStore({kSignature, kSystemOffset, kNoGuid, kNoGuid}, {kSignature, kRecoveryOffset, kNoGuid, kNoGuid});

    EXPECT_EQ(GetCRecoveryPath(), "\\\\?\\Volume{re}\\Recovery\\WindowsRE\\Winre.wim");
    const std::vector<wxString> expected = {
        "System volume: \\\\.\\C:; Device Number: 1",
        wxString("Check system volume for device: ") + kOtherDisk + "; Device Number: 0",
        wxString("Check system volume for device: ") + kSystemDisk + "; Device Number: 1",
        wxString("System drive: ") + kSystemDisk,
        "System drive signature: 305441741",
        "System partition offset: 1048576",
        "GetBCDObjectPath. Disk Signature is not equal: 287454020 <> 305441741",
        "Check volume: \\\\?\\Volume{c}\\",
        "Volume: \\\\?\\Volume{c}\\; Offset: 1048576",
        "GetBCDObjectPath. Offset is not equal: 1048576 <> 34342961152",
        "Check volume: \\\\?\\Volume{re}\\",
        "Volume: \\\\?\\Volume{re}\\; Offset: 34342961152",
    };
    EXPECT_EQ(Walk(), expected) << log.Dump();
    const LogEntry command = log.Only("Output for command: \"bcdedit\", currentDir: \"" + GetSystemDir() + "\"");
    EXPECT_EQ(command.func, "ExecAndLog");
    for (const LogEntry& entry : log.entries)
    {
        if (entry.file == "CRecovery")
        {
            EXPECT_EQ(entry.func, "GetCRecoveryPath") << entry;
        }
    }
}

TEST_F(RecoveryTest, GptSystemDiskIsMatchedByIdentifiersAndLogsBothGptLines)
{
    SystemDisk(GptLayoutReply(kDisk), GptPartitionReply(kSystemOffset, kSystemPartition),
               GptPartitionReply(kRecoveryOffset, kRecoveryPartition));
    InstallBootStore({0xFFFFFFFF, 0, kDisk, kSystemPartition}, {0xFFFFFFFF, 0, kDisk, kRecoveryPartition});

    EXPECT_EQ(GetCRecoveryPath(), "\\\\?\\Volume{re}\\Recovery\\WindowsRE\\Winre.wim");
    const std::vector<wxString> expected = {
        "System volume: \\\\.\\C:; Device Number: 1",
        wxString("Check system volume for device: ") + kOtherDisk + "; Device Number: 0",
        wxString("Check system volume for device: ") + kSystemDisk + "; Device Number: 1",
        wxString("System drive: ") + kSystemDisk,
        "Got drive signature (GPT): 8d3e4a51-1c2b-4f6e-9a10-5b7c2d3e4f60",
        "Got partition signature (GPT): 0c1d2e3f-4a5b-6c7d-8e9f-a0b1c2d3e4f5",
        "System partition offset: 1048576",
        "GetBCDObjectPath. Disk Signature is not equal: 287454020 <> 2369669713", // the disk id's first word
        "Check volume: \\\\?\\Volume{c}\\",
        "Volume: \\\\?\\Volume{c}\\; Offset: 1048576",
        "Check volume: \\\\?\\Volume{re}\\",
        "Volume: \\\\?\\Volume{re}\\; Offset: 34342961152",
    };
    EXPECT_EQ(Walk(), expected) << log.Dump();
}

TEST_F(RecoveryTest, FirstOfTwoDisksWithTheSystemNumberIsTheSystemDisk)
{
    fake.AddDisk(kOtherDisk, DeviceNumberReply(1), MbrLayoutReply(1));
    fake.AddDisk(kSystemDisk, DeviceNumberReply(1), MbrLayoutReply(2));
    Volume(kSystemVolume, 1, FailedReply(ERROR_INVALID_FUNCTION));
    EXPECT_EQ(GetCRecoveryPath(), "");
    const std::vector<wxString> expected = {
        "System volume: \\\\.\\C:; Device Number: 1",
        wxString("Check system volume for device: ") + kOtherDisk + "; Device Number: 1",
        wxString("System drive: ") + kOtherDisk,
        "System drive signature: 1",
        "Can't get system partition information",
    };
    EXPECT_EQ(Walk(), expected) << log.Dump();
}

TEST_F(RecoveryTest, UnknownNumbersOnBothSidesAreTakenForAMatch)
{
    FakeDevice& volume = Volume(kSystemVolume, 0, MbrPartitionReply(kSystemOffset));
    volume.replies[IOCTL_STORAGE_GET_DEVICE_NUMBER] = FailedReply(ERROR_INVALID_FUNCTION);
    fake.AddDisk(kOtherDisk, DeviceNumberReply(0), MbrLayoutReply(1));
    fake.AddDisk(kSystemDisk, FailedReply(ERROR_INVALID_FUNCTION), FailedReply(ERROR_ACCESS_DENIED));
    EXPECT_EQ(GetCRecoveryPath(), "");
    const std::vector<wxString> expected = {
        "System volume: \\\\.\\C:; Device Number: -1",
        wxString("Check system volume for device: ") + kOtherDisk + "; Device Number: 0",
        wxString("Check system volume for device: ") + kSystemDisk + "; Device Number: -1",
        wxString("System drive: ") + kSystemDisk,
        "Can't get system drive signature",
    };
    EXPECT_EQ(Walk(), expected) << log.Dump();
}

TEST_F(RecoveryTest, UnknownSystemNumberWithEveryDiskKnownFindsNoSystemDrive)
{
    Volume(kSystemVolume, 0, MbrPartitionReply(kSystemOffset)).replies[IOCTL_STORAGE_GET_DEVICE_NUMBER] =
        FailedReply(ERROR_INVALID_FUNCTION);
    fake.AddDisk(kOtherDisk, DeviceNumberReply(0), MbrLayoutReply(1));
    fake.AddDisk(kSystemDisk, DeviceNumberReply(1), MbrLayoutReply(2));
    EXPECT_EQ(GetCRecoveryPath(), "");
    EXPECT_EQ(Walk().back(), "Can't get system drive");
    EXPECT_EQ(log.Only("Can't get system drive").level, wxLOG_Error);
}

TEST_F(RecoveryTest, EachStoreStepThatFindsNothingEndsWithItsOwnMessage)
{
    SystemDisk(MbrLayoutReply(kSignature), MbrPartitionReply(kSystemOffset), MbrPartitionReply(kRecoveryOffset));
    EXPECT_EQ(GetCRecoveryPath(), "");
    EXPECT_EQ(Walk().back(), "Can't get current BCD object");

    const wxString loader = "{4f2c1a8e-7b3d-11ef-a1c4-0021cc6b2e10}";
    BootStore::Object(loader, kBootLoader);
    BootStore::Element(loader, "11000001", AppDeviceElement({kSignature, kSystemOffset, kNoGuid, kNoGuid}));
    log.entries.clear();
    EXPECT_EQ(GetCRecoveryPath(), "");
    EXPECT_EQ(Walk().back(), "Can't get recover BCD object");

    BootStore::Element(loader, "14000008", MultiSz({L"{winre}"}), REG_MULTI_SZ);
    BootStore::Element("{winre}", "21000001",
                       OsDeviceElement({kSignature, 0x1000, kNoGuid, kNoGuid}, L"\\Recovery\\Winre.wim"));
    log.entries.clear();
    EXPECT_EQ(GetCRecoveryPath(), "");
    EXPECT_EQ(Walk().back(), "Can't get recover path");
    EXPECT_EQ(log.Count(wxLOG_Error, "Can't get recover path"), 1);
}

// Wine lists no disks: the real calls end the walk at the system drive.
TEST(RecoveryOnWine, RealDevicesEndTheWalkAtTheSystemDrive)
{
    RemoveTree("C:\\Recovery");
    RecordingLog log;
    EXPECT_EQ(GetCRecoveryPath(), "");
    ASSERT_GE(log.entries.size(), 2u) << log.Dump();
    EXPECT_TRUE(log.entries.front().msg.StartsWith("System volume: \\\\.\\C:; Device Number: ")) << log.Dump();
    EXPECT_EQ(log.entries.back().msg, "Can't get system drive") << log.Dump();
}
