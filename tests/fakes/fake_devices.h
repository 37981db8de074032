#pragma once
// A small machine of fake devices behind the device call table: device paths that open,
// canned replies per I/O control, pending requests that complete after a number of 100 ms
// waits on a simulated clock, a volume list, and device nodes for the setup API. It counts
// every handle it hands out and every close, so a test can tell that nothing leaked.
#include "drivers.h"

#include "test_support.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

struct IoctlReply
{
    DWORD error = 0;     // nonzero: the request fails with this last error
    std::string bytes;   // the output on success
    int pendingWaits = 0; // overlapped only: 0 completes at once, N after N waits, -1 never
};

// Canned replies, laid out as the system fills the records.
IoctlReply DeviceNumberReply(DWORD number);
IoctlReply ExtentReply(DWORD diskNumber, LONGLONG offset, LONGLONG length);
IoctlReply NoExtentsReply();
IoctlReply MbrLayoutReply(DWORD signature);
IoctlReply GptLayoutReply(const GUID& diskId);
IoctlReply RawLayoutReply();
IoctlReply MbrPartitionReply(LONGLONG offset);
IoctlReply GptPartitionReply(LONGLONG offset, const GUID& partitionId);
IoctlReply HotplugReply(bool mediaRemovable, bool deviceHotplug);
IoctlReply FailedReply(DWORD error);

struct FakeDevice
{
    DWORD openError = 0; // nonzero: CreateFileW fails with it
    std::map<DWORD, IoctlReply> replies;
};

struct FakeDevNode
{
    std::wstring interfacePath; // empty: the node has no disk interface
    std::wstring instanceId;
    CONFIGRET statusResult = CR_SUCCESS;
    ULONG status = DN_DRIVER_LOADED | DN_STARTED;
    ULONG problem = 0;
    bool hasRemovalPolicy = false;
    DWORD removalPolicy = CM_REMOVAL_POLICY_EXPECT_NO_REMOVAL;
};

struct IoctlCall
{
    std::wstring path;
    DWORD code;
    DWORD outSize;
    bool overlapped;
};

class FakeDevices
{
public:
    // Puts the fakes into the device call table for the object's lifetime.
    FakeDevices();
    ~FakeDevices();
    FakeDevices(const FakeDevices&) = delete;
    FakeDevices& operator=(const FakeDevices&) = delete;

    // ---- the machine ----
    std::map<std::wstring, FakeDevice> devices; // by the exact path CreateFileW is given
    std::vector<std::wstring> volumes;          // as FindFirstVolumeW/FindNextVolumeW return them
    std::vector<FakeDevNode> nodes;
    bool failDeviceSet = false;                  // SetupDiGetClassDevsExW fails
    std::optional<HANDLE> eventResult;           // when set, CreateEventW returns this instead
    DWORD clock = 0xFFFFFE00;                    // GetTickCount; wraps during longer waits

    // A device that opens under `path`, with no replies yet.
    FakeDevice& Add(const std::wstring& path);
    // A present disk listed under `interfacePath` by the setup API.
    FakeDevNode& AddDiskNode(const std::wstring& interfacePath);
    // That disk, opened by the same path, answering its number and layout.
    FakeDevice& AddDisk(const std::wstring& path, IoctlReply number, IoctlReply layout);
    // A volume device answering its number and partition record.
    FakeDevice& AddVolume(const std::wstring& path, IoctlReply number, IoctlReply partition);
    // A present device node whose identifiers lie in the test branch of the device tree;
    // `problem` marks it as lacking a working driver.
    FakeDevNode& AddNode(const std::wstring& name, bool problem);

    // ---- what happened ----
    std::vector<IoctlCall> ioctls;
    std::vector<std::wstring> opened;            // every path CreateFileW was asked for
    std::vector<DWORD> openAccess;               // the access asked for, in the same order
    std::vector<DWORD> openFlags;                // the flags asked for, in the same order
    int waits = 0;                               // WaitForSingleObject calls
    int cancels = 0;                             // CancelIoEx calls
    int drains = 0;                              // GetOverlappedResult calls that waited
    std::vector<DWORD> classDevsFlags;           // one per SetupDiGetClassDevsExW call
    std::vector<GUID> classDevsGuids;
    std::vector<std::wstring> classDevsEnumerators; // "(none)" for a null enumerator
    int handlesOpen() const { return static_cast<int>(m_open.size()); }
    std::vector<std::string> misuse;             // closes of unknown handles, requests left in flight

private:
    friend struct FakeCalls;
    enum class Kind { File, Event, VolumeFind, DeviceSet };
    struct Open
    {
        Kind kind;
        std::wstring path;
        size_t position = 0; // volume searches and device sets: the next entry
        bool allClasses = false;
    };
    struct Pending
    {
        HANDLE device;
        HANDLE event;
        IoctlReply reply;
        void* out;
        int waitsLeft;
        bool done = false;
        bool cancelled = false;
    };

    HANDLE NewHandle(Kind kind, const std::wstring& path);

    std::map<HANDLE, Open> m_open;
    std::map<OVERLAPPED*, Pending> m_pending;
    uintptr_t m_nextHandle = 0x10000000;
    DeviceCalls m_saved;
};

// The real registry's device tree holds the fake nodes' identifiers, below one branch that
// RemoveTestDeviceIds takes away again.
void WriteDeviceIds(const FakeDevNode& node, const wchar_t* value, const std::wstring& multiSz);
void RemoveTestDeviceIds();

// Tests on the fake machine: every handle closed and no call misused by the end of each test.
class FakeDeviceTest : public ::testing::Test
{
protected:
    void TearDown() override
    {
        EXPECT_EQ(fake.handlesOpen(), 0) << "handles left open";
        for (const std::string& problem : fake.misuse)
            ADD_FAILURE() << problem;
    }

    FakeDevices fake;
    RecordingLog log;
};
