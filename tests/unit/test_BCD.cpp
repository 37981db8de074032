#include "BCD.h"

#include "boot_store.h"
#include "common.h"
#include "fake_devices.h"
#include "registry_fixture.h"

#include <cstring>
#include <random>

using CRegistryKeyTest = RegistryFixture;

TEST_F(CRegistryKeyTest, EmptySubpathInReadModeOpensNothing)
{
    CRegistryKey key;
    EXPECT_EQ(key.Open(""), ERROR_SUCCESS);
    EXPECT_EQ(key.GetPath(), "");
}

TEST_F(CRegistryKeyTest, TwoOpensInARowOpenNestedKeys)
{
    MakeKey("A\\B");
    CRegistryKey key;
    ASSERT_EQ(key.Open(m_path + "\\A"), ERROR_SUCCESS);
    ASSERT_EQ(key.Open("B"), ERROR_SUCCESS);
    EXPECT_EQ(key.GetPath(), m_path + "\\A\\B");
    wxString name;
    EXPECT_FALSE(key.EnumSubKey(name, true));
}

TEST_F(CRegistryKeyTest, OpenFromRootStartsAgainBelowLocalMachine)
{
    MakeKey("A\\B");
    CRegistryKey key;
    ASSERT_EQ(key.Open(m_path + "\\A"), ERROR_SUCCESS);
    EXPECT_EQ(key.Open(m_path + "\\A"), ERROR_FILE_NOT_FOUND) << "relative to A, so A\\<path>\\A";
    ASSERT_EQ(key.OpenFromRoot(m_path + "\\A\\B"), ERROR_SUCCESS);
    EXPECT_EQ(key.GetPath(), m_path + "\\A\\B");
}

TEST_F(CRegistryKeyTest, FailedOpenKeepsTheOpenKey)
{
    SetValue("A", "v", REG_DWORD, "\x05\0\0\0", 4);
    CRegistryKey key;
    ASSERT_EQ(key.Open(m_path + "\\A"), ERROR_SUCCESS);
    EXPECT_EQ(key.Open("missing"), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(key.GetDWordValue("v", -1), 5);
}

TEST_F(CRegistryKeyTest, EnumerationEndsAfterTheLastSubkey)
{
    MakeKey("one");
    MakeKey("two");
    CRegistryKey key;
    ASSERT_EQ(key.Open(m_path), ERROR_SUCCESS);
    wxString a, b, c = "untouched";
    ASSERT_TRUE(key.EnumSubKey(a, true));
    ASSERT_TRUE(key.EnumSubKey(b, false));
    EXPECT_FALSE(key.EnumSubKey(c, false));
    EXPECT_EQ(c, "untouched");
    std::vector<wxString> names{a, b};
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (std::vector<wxString>{"one", "two"}));
    wxString again;
    EXPECT_TRUE(key.EnumSubKey(again, true));
    EXPECT_EQ(again, a);
}

TEST_F(CRegistryKeyTest, ValueOverOneKibIsReadWhole)
{
    std::string big(5000, '\0');
    for (size_t i = 0; i < big.size(); ++i)
        big[i] = static_cast<char>(i * 7);
    SetValue("", "big", REG_BINARY, big.data(), static_cast<DWORD>(big.size()));
    CRegistryKey key;
    ASSERT_EQ(key.Open(m_path), ERROR_SUCCESS);
    const wxMemoryBuffer value = key.GetBinaryValue("big");
    ASSERT_EQ(value.GetDataLen(), big.size());
    EXPECT_EQ(memcmp(value.GetData(), big.data(), big.size()), 0);

    wxMemoryBuffer queried;
    DWORD type = 0;
    ASSERT_EQ(key.QueryValue("big", type, queried), ERROR_SUCCESS);
    EXPECT_EQ(type, static_cast<DWORD>(REG_BINARY));
    ASSERT_EQ(queried.GetDataLen(), big.size());
    EXPECT_GE(queried.GetBufSize(), big.size() + 1024);
}

TEST_F(CRegistryKeyTest, ZeroByteBinaryReadsLikeAMissingValue)
{
    SetValue("", "zero", REG_BINARY, "", 0);
    CRegistryKey key;
    ASSERT_EQ(key.Open(m_path), ERROR_SUCCESS);
    EXPECT_EQ(key.GetBinaryValue("zero").GetDataLen(), 0u);
    EXPECT_EQ(key.GetBinaryValue("missing").GetDataLen(), 0u);
}

TEST_F(CRegistryKeyTest, QueryOfAMissingValueEmptiesTheBufferAndGivesTheCode)
{
    CRegistryKey key;
    ASSERT_EQ(key.Open(m_path), ERROR_SUCCESS);
    wxMemoryBuffer buffer;
    buffer.AppendData("canary", 6);
    DWORD type = 0;
    EXPECT_EQ(key.QueryValue("missing", type, buffer), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(buffer.GetDataLen(), 0u);
}

TEST_F(CRegistryKeyTest, DWordOnlyFromDWordValues)
{
    const unsigned long long qword = 7;
    SetValue("", "dword", REG_DWORD, "\x2a\0\0\0", 4);
    SetValue("", "qword", REG_QWORD, &qword, 8);
    SetValue("", "text", REG_SZ, L"42", 6);
    SetValue("", "short", REG_DWORD, "", 0);
    CRegistryKey key;
    ASSERT_EQ(key.Open(m_path), ERROR_SUCCESS);
    EXPECT_EQ(key.GetDWordValue("dword", -1), 42);
    EXPECT_EQ(key.GetDWordValue("qword", -1), -1);
    EXPECT_EQ(key.GetDWordValue("text", -1), -1);
    EXPECT_EQ(key.GetDWordValue("short", -1), -1);
    EXPECT_EQ(key.GetDWordValue("missing", 9), 9);
}

TEST(MultiSzToArray, SplitsUpToTheFirstEmptyString)
{
    const wchar_t text[] = L"{a}\0{b}\0\0{ignored}\0";
    const wxArrayString strings = MultiSzToArray(text);
    EXPECT_EQ(std::vector<wxString>(strings.begin(), strings.end()), (std::vector<wxString>{"{a}", "{b}"}));
}

TEST(MultiSzToArray, NullOrLoneTerminatorGivesNothing)
{
    EXPECT_TRUE(MultiSzToArray(nullptr).empty());
    EXPECT_TRUE(MultiSzToArray(L"\0\0").empty());
}

TEST(MultiSzToArray, StringsOfThousandsOfCharactersAreTakenWhole)
{
    std::wstring text(3000, L'x');
    text += L'\0';
    text += L"short";
    text += L'\0';
    const wxArrayString strings = MultiSzToArray(text.c_str());
    ASSERT_EQ(strings.size(), 2u);
    EXPECT_EQ(strings[0].length(), 3000u);
    EXPECT_EQ(strings[1], "short");
}

// ---- the boot configuration store ----

namespace
{
const GUID kDiskA = {0x11111111, 0x2222, 0x3333, {0x44, 0x44, 0x55, 0x55, 0x55, 0x55, 0x55, 0x55}};
const GUID kDiskB = {0x11111111, 0x2222, 0x3333, {0x44, 0x44, 0x55, 0x55, 0x55, 0x55, 0x55, 0x56}};
const GUID kPartA = {0xa0a0a0a0, 0xb1b1, 0xc2c2, {0xd3, 0xd3, 0xe4, 0xe4, 0xe4, 0xe4, 0xe4, 0xe4}};
const GUID kPartB = {0xa0a0a0a0, 0xb1b1, 0xc2c2, {0xd3, 0xd3, 0xe4, 0xe4, 0xe4, 0xe4, 0xe4, 0xe5}};
const GUID kNoGuid = {};
const LONGLONG kOffset = 0x100000;
const wxString kLoader = "{aaaaaaaa-0000-0000-0000-000000000001}";
const wxString kWinRe = "{aaaaaaaa-0000-0000-0000-000000000002}";

PartitionIdentity Mbr(DWORD signature, LONGLONG offset) { return {signature, offset, kNoGuid, kNoGuid}; }
PartitionIdentity Gpt(const GUID& disk, const GUID& partition) { return {0xFFFFFFFF, 0, disk, partition}; }

std::string WithLength(std::string bytes, size_t length)
{
    bytes.resize(length, '\0');
    return bytes;
}

void RegistryValue(const wchar_t* path, const wchar_t* name, DWORD type, const char* data, DWORD size)
{
    HKEY key = nullptr;
    ASSERT_EQ(::RegCreateKeyExW(HKEY_LOCAL_MACHINE, path, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr),
              ERROR_SUCCESS);
    ::RegSetValueExW(key, name, 0, type, reinterpret_cast<const BYTE*>(data), size);
    ::RegCloseKey(key);
}

std::string Utf16(const std::wstring& text)
{
    return std::string(reinterpret_cast<const char*>(text.data()), text.size() * sizeof(wchar_t));
}
} // namespace

// A store of its own for each test, on a fake machine of disks; removed afterwards.
class BootStoreTest : public FakeDeviceTest
{
protected:
    void SetUp() override { BootStore::Remove(); }
    void TearDown() override
    {
        BootStore::Remove();
        FakeDeviceTest::TearDown();
    }

    void Loader(const wxString& id, const std::string& appDevice)
    {
        BootStore::Object(id, kBootLoader);
        BootStore::Element(id, "11000001", appDevice);
    }

    // A disk of the machine, listed through the SCSI class, with its number and layout.
    void Disk(const std::wstring& path, DWORD number, IoctlReply layout)
    {
        fake.AddDisk(path, DeviceNumberReply(number), layout);
    }
    // A volume on disk `number`, with the partition record it answers.
    FakeDevice& Volume(const std::wstring& id, DWORD number, IoctlReply partition)
    {
        fake.volumes.push_back(L"\\\\?\\Volume{" + id + L"}\\");
        return fake.AddVolume(L"\\\\?\\Volume{" + id + L"}", DeviceNumberReply(number), partition);
    }
};

// ---- GetCurrentBCDObject ----

TEST_F(BootStoreTest, NoStoreLogsTheOpenFailure)
{
    EXPECT_EQ(GetCurrentBCDObject(1, kOffset, kNoGuid, kNoGuid), "");
    const LogEntry entry = log.Only("Can't get into HKLM\\BCD00000000\\Objects (2)");
    EXPECT_EQ(entry.level, wxLOG_Error);
    EXPECT_EQ(entry.file, "BCD");
    EXPECT_EQ(entry.func, "GetCurrentBCDObject");
}

TEST_F(BootStoreTest, MbrLoaderMatchesBySignatureAndOffset)
{
    BootStore::Object("{a-manager}", kBootManager);
    BootStore::Element("{a-manager}", "11000001", AppDeviceElement(Mbr(0x1234ABCD, kOffset)));
    Loader("{b-other-disk}", AppDeviceElement(Mbr(0x1234ABCE, kOffset)));
    Loader("{c-other-offset}", AppDeviceElement(Mbr(0x1234ABCD, kOffset + 512)));
    Loader("{d-system}", AppDeviceElement(Mbr(0x1234ABCD, kOffset)));
    EXPECT_EQ(GetCurrentBCDObject(0x1234ABCD, kOffset, kDiskA, kPartA), "{d-system}");
    EXPECT_TRUE(log.entries.empty()) << "skips are silent:\n" << log.Dump();
}

TEST_F(BootStoreTest, GptLoaderMatchesByDiskAndPartitionIdentifiers)
{
    Loader("{a-other-partition}", AppDeviceElement(Gpt(kDiskA, kPartB)));
    Loader("{b-other-disk}", AppDeviceElement(Gpt(kDiskB, kPartA)));
    Loader("{c-mbr}", AppDeviceElement(Mbr(0xFFFFFFFF, kOffset)));
    Loader("{d-system}", AppDeviceElement(Gpt(kDiskA, kPartA)));
    EXPECT_EQ(GetCurrentBCDObject(0xFFFFFFFF, kOffset, kDiskA, kPartA), "{d-system}");
    EXPECT_EQ(GetCurrentBCDObject(0xFFFFFFFF, 0, kDiskB, kPartB), "");
}

TEST_F(BootStoreTest, AppDeviceOf58BytesIsSkippedAndOf59IsCompared)
{
    // Bytes past the value's end read as zero, so with a signature whose top bytes are zero
    // only the length test tells 58 from 59 bytes.
    Loader("{short}", WithLength(AppDeviceElement(Mbr(0x0000CDEF, kOffset)), 58));
    EXPECT_EQ(GetCurrentBCDObject(0x0000CDEF, kOffset, kNoGuid, kNoGuid), "");
    Loader("{exact}", WithLength(AppDeviceElement(Mbr(0x0000CDEF, kOffset)), 59));
    EXPECT_EQ(GetCurrentBCDObject(0x0000CDEF, kOffset, kNoGuid, kNoGuid), "{exact}");
    BootStore::Remove();
    Loader("{exact}", WithLength(AppDeviceElement(Mbr(0x12ABCDEF, kOffset)), 59));
    EXPECT_EQ(GetCurrentBCDObject(0x12ABCDEF, kOffset, kNoGuid, kNoGuid), "")
        << "a signature whose top byte is cut off does not match";
    Loader("{gpt}", WithLength(AppDeviceElement(Gpt(kDiskA, kPartA)), 59));
    EXPECT_EQ(GetCurrentBCDObject(0xFFFFFFFF, 0, kDiskA, kPartA), "") << "a disk id cut off after 3 bytes";
}

TEST_F(BootStoreTest, OnlyLoadersWithAReadableTypeAreLookedAt)
{
    const std::string device = AppDeviceElement(Mbr(7, kOffset));
    BootStore::Element("{a-no-description}", "11000001", device);
    BootStore::Object("{b-short-type}", kBootLoader);
    BootStore::Element("{b-short-type}", "11000001", device);
    RegistryValue(L"BCD00000000\\Objects\\{b-short-type}\\Description", L"Type", REG_BINARY, "\x03\x00\x20", 3);
    BootStore::Object("{c-no-element}", kBootLoader);
    EXPECT_EQ(GetCurrentBCDObject(7, kOffset, kNoGuid, kNoGuid), "");

    BootStore::Object("{d-binary-type}", kBootLoader);
    RegistryValue(L"BCD00000000\\Objects\\{d-binary-type}\\Description", L"Type", REG_BINARY,
                  "\x03\x00\x20\x10\xff", 5);
    BootStore::Element("{d-binary-type}", "11000001", device);
    EXPECT_EQ(GetCurrentBCDObject(7, kOffset, kNoGuid, kNoGuid), "{d-binary-type}");
    EXPECT_TRUE(log.entries.empty()) << log.Dump();
}

TEST_F(BootStoreTest, SeveralMatchingLoadersGiveTheFirstInRegistryOrder)
{
    Loader("{first}", AppDeviceElement(Mbr(7, kOffset)));
    Loader("{second}", AppDeviceElement(Mbr(7, kOffset)));
    CRegistryKey objects;
    ASSERT_EQ(objects.Open("BCD00000000\\Objects"), ERROR_SUCCESS);
    wxString first;
    ASSERT_TRUE(objects.EnumSubKey(first, true));
    EXPECT_EQ(GetCurrentBCDObject(7, kOffset, kNoGuid, kNoGuid), first);
}

// ---- GetRecoverBCDObject ----

TEST_F(BootStoreTest, RecoverySequenceOfTwoYieldsTheFirst)
{
    BootStore::Element(kLoader, "14000008", MultiSz({L"{winre}", L"{second}"}), REG_MULTI_SZ);
    EXPECT_EQ(GetRecoverBCDObject(kLoader), "{winre}");
    EXPECT_TRUE(log.entries.empty()) << log.Dump();
}

TEST_F(BootStoreTest, LoneTerminatorYieldsNothingWithoutAMessage)
{
    BootStore::Element(kLoader, "14000008", std::string(2, '\0'), REG_MULTI_SZ);
    EXPECT_EQ(GetRecoverBCDObject(kLoader), "");
    EXPECT_TRUE(log.entries.empty()) << log.Dump();
}

TEST_F(BootStoreTest, RecoverySequenceFailuresAreWordedExactly)
{
    EXPECT_EQ(GetRecoverBCDObject(kLoader), "");
    BootStore::Element(kWinRe, "14000008", "", REG_MULTI_SZ);
    EXPECT_EQ(GetRecoverBCDObject(kWinRe), "");
    const std::vector<wxString> expected = {
        "Can't get into HKLM\\BCD00000000\\Objects\\" + kLoader + "\\Elements\\14000008 (2)",
        "Can't get value HKLM\\BCD00000000\\Objects\\" + kWinRe + "\\Elements\\14000008\\Element",
    };
    EXPECT_EQ(log.Messages(), expected);
    for (const LogEntry& entry : log.entries)
    {
        EXPECT_EQ(entry.level, wxLOG_Error) << entry;
        EXPECT_EQ(entry.func, "GetRecoverBCDObject") << entry;
    }
}

TEST_F(BootStoreTest, RecoverySequenceWithoutItsClosingStringEndsAtTheValue)
{
    BootStore::Element(kLoader, "14000008", Utf16(L"{unterminated}"), REG_BINARY);
    EXPECT_EQ(GetRecoverBCDObject(kLoader), "{unterminated}");
    BootStore::Element(kLoader, "14000008", Utf16(L"{odd}") + "\x41", REG_BINARY);
    EXPECT_EQ(GetRecoverBCDObject(kLoader), "{odd}") << "a trailing half character is dropped";
    const std::wstring huge(3000, L'7');
    BootStore::Element(kLoader, "14000008", MultiSz({huge}), REG_MULTI_SZ);
    EXPECT_EQ(GetRecoverBCDObject(kLoader), wxString(huge)) << "identifiers of any length are taken whole";
}

// ---- GetBCDObjectPath ----

TEST_F(BootStoreTest, OsDeviceFailuresAreWordedExactly)
{
    EXPECT_EQ(GetBCDObjectPath(kWinRe), "");
    BootStore::Element(kLoader, "21000001", std::string(137, '\0'));
    EXPECT_EQ(GetBCDObjectPath(kLoader), "");
    const std::vector<wxString> expected = {
        "Can't get into HKLM\\BCD00000000\\Objects\\" + kWinRe + "\\Elements\\21000001 (2)",
        "Can't get value HKLM\\BCD00000000\\Objects\\" + kLoader + "\\Elements\\21000001\\Element",
    };
    EXPECT_EQ(log.Messages(), expected);
    EXPECT_TRUE(fake.classDevsFlags.empty()) << "no disk is listed for a refused value";
}

TEST_F(BootStoreTest, MbrImageIsFoundBySignatureThenOffsetWithTheExactLog)
{
    Disk(L"\\\\?\\scsi#disk&other", 0, MbrLayoutReply(0x11223344));
    Disk(L"\\\\?\\scsi#disk&system", 1, MbrLayoutReply(0x1234ABCD));
    Volume(L"c", 1, MbrPartitionReply(kOffset));
    FakeDevice& noInfo = Volume(L"r", 1, FailedReply(ERROR_INVALID_FUNCTION));
    noInfo.replies[IOCTL_VOLUME_GET_VOLUME_DISK_EXTENTS] = ExtentReply(1, 0x7FF000000LL, 1 << 30);
    BootStore::Element(kWinRe, "21000001",
                       OsDeviceElement(Mbr(0x1234ABCD, 0x7FF000000LL), L"\\Recovery\\WindowsRE\\Winre.wim"));

    EXPECT_EQ(GetBCDObjectPath(kWinRe), "\\\\?\\Volume{r}\\Recovery\\WindowsRE\\Winre.wim");
    const std::vector<wxString> expected = {
        "GetBCDObjectPath. Disk Signature is not equal: 287454020 <> 305441741",
        "Check volume: \\\\?\\Volume{c}\\",
        "Volume: \\\\?\\Volume{c}\\; Offset: 1048576",
        "GetBCDObjectPath. Offset is not equal: 1048576 <> 34342961152",
        "Check volume: \\\\?\\Volume{r}\\",
        "GetVolumeInfo, DeviceIoControl error: 1",
        "Volume: \\\\?\\Volume{r}\\; Offset: 34342961152",
    };
    EXPECT_EQ(log.Messages(), expected) << log.Dump();
    EXPECT_EQ(log.entries[1].level, wxLOG_Message);
    EXPECT_EQ(log.entries[3].level, wxLOG_Error);
    EXPECT_EQ(log.entries[3].func, "GetBCDObjectPath");
}

TEST_F(BootStoreTest, MbrVolumeWithoutAnyOffsetIsSkippedAfterItsCheckLine)
{
    Disk(L"\\\\?\\scsi#disk&system", 1, MbrLayoutReply(5));
    FakeDevice& blind = Volume(L"blind", 1, FailedReply(ERROR_INVALID_FUNCTION));
    blind.replies[IOCTL_VOLUME_GET_VOLUME_DISK_EXTENTS] = FailedReply(ERROR_INVALID_FUNCTION);
    BootStore::Element(kWinRe, "21000001", OsDeviceElement(Mbr(5, kOffset), L"\\x.wim"));
    EXPECT_EQ(GetBCDObjectPath(kWinRe), "");
    const std::vector<wxString> expected = {
        "Check volume: \\\\?\\Volume{blind}\\",
        "GetVolumeInfo, DeviceIoControl error: 1",
        "GetVolumeInfo, GetDeviceExtent failed for \\\\?\\Volume{blind}\\ error: 1",
    };
    EXPECT_EQ(log.Messages(), expected) << log.Dump();
}

TEST_F(BootStoreTest, GptImageIsFoundByDiskAndPartitionIdentifiersWithoutSignatureLines)
{
    Disk(L"\\\\?\\scsi#disk&other", 0, GptLayoutReply(kDiskB));
    Disk(L"\\\\?\\scsi#disk&raw", 2, RawLayoutReply());
    Disk(L"\\\\?\\scsi#disk&system", 1, GptLayoutReply(kDiskA));
    Volume(L"esp", 1, GptPartitionReply(kOffset, kPartB));
    Volume(L"re", 1, GptPartitionReply(0x7FF000000LL, kPartA));
    BootStore::Element(kWinRe, "21000001", OsDeviceElement(Gpt(kDiskA, kPartA), L"\\Recovery\\Winre.wim"));

    EXPECT_EQ(GetBCDObjectPath(kWinRe), "\\\\?\\Volume{re}\\Recovery\\Winre.wim");
    const std::vector<wxString> expected = {
        "Check volume: \\\\?\\Volume{esp}\\",
        "Volume: \\\\?\\Volume{esp}\\; Offset: 1048576",
        "Check volume: \\\\?\\Volume{re}\\",
        "Volume: \\\\?\\Volume{re}\\; Offset: 34342961152",
    };
    EXPECT_EQ(log.Messages(), expected) << log.Dump();
}

TEST_F(BootStoreTest, DisksThatCannotBeAskedOrHoldNoVolumeAreSkipped)
{
    Disk(L"\\\\?\\scsi#disk&broken", 0, FailedReply(ERROR_ACCESS_DENIED));
    Disk(L"\\\\?\\scsi#disk&empty", 3, MbrLayoutReply(5));
    BootStore::Element(kWinRe, "21000001", OsDeviceElement(Mbr(5, kOffset), L"\\x.wim"));
    EXPECT_EQ(GetBCDObjectPath(kWinRe), "");
    EXPECT_EQ(log.Messages(), std::vector<wxString>{"GetDiskSignature, DeviceIoControl error: 5"}) << log.Dump();
}

TEST_F(BootStoreTest, OsDeviceOf138BytesNamesTheVolumeItself)
{
    Disk(L"\\\\?\\scsi#disk&system", 1, MbrLayoutReply(5));
    Volume(L"re", 1, MbrPartitionReply(kOffset));
    for (size_t length : {138u, 139u, 140u, 141u})
    {
        BootStore::Element(kWinRe, "21000001", WithLength(OsDeviceElement(Mbr(5, kOffset), L""), length));
        EXPECT_EQ(GetBCDObjectPath(kWinRe), "\\\\?\\Volume{re}\\") << length << " bytes";
    }
}

TEST_F(BootStoreTest, ImagePathOf64KiBIsTakenWholeUpToItsZero)
{
    Disk(L"\\\\?\\scsi#disk&system", 1, MbrLayoutReply(5));
    Volume(L"re", 1, MbrPartitionReply(kOffset));
    const std::wstring longPath = L"\\" + std::wstring((65536 - 140) / 2 - 2, L'p');
    BootStore::Element(kWinRe, "21000001", OsDeviceElement(Mbr(5, kOffset), longPath));
    const wxString path = GetBCDObjectPath(kWinRe);
    EXPECT_EQ(path.length(), wxString("\\\\?\\Volume{re}\\").length() + longPath.size() - 1);
    EXPECT_TRUE(path.EndsWith("ppp"));

    BootStore::Element(kWinRe, "21000001", OsDeviceElement(Mbr(5, kOffset), L"\\a.wim") + Utf16(L"tail"));
    EXPECT_EQ(GetBCDObjectPath(kWinRe), "\\\\?\\Volume{re}\\a.wim") << "the path ends at its terminating zero";
}

// Random element values of random lengths through the three readers: nothing is read outside
// a value, and each reader gives what its value says.
TEST_F(BootStoreTest, RandomElementValuesNeverEscapeTheirValue)
{
    const DWORD signature = 0x0BADF00D;
    Disk(L"\\\\?\\scsi#disk&system", 1, MbrLayoutReply(signature));
    Volume(L"re", 1, MbrPartitionReply(kOffset));
    std::mt19937 random(20261122);
    auto bytes = [&](size_t size) {
        std::string value(size, '\0');
        for (char& c : value)
            c = static_cast<char>(random() % 4 == 0 ? 0 : random());
        return value;
    };
    // Writes the partition fields at `base` (offset) and base + 24 (signature) when they fit.
    auto plant = [&](std::string& value, size_t base) {
        if (value.size() < base + 28 || random() % 2)
            return false;
        memcpy(&value[base], &kOffset, sizeof kOffset);
        memcpy(&value[base + 24], &signature, sizeof signature);
        return true;
    };
    for (int round = 0; round < 2000; ++round)
    {
        std::string app = bytes(round % 400 == 0 ? 65536 : random() % 200);
        const std::string sequence = bytes(random() % 80);
        std::string os = bytes(round % 400 == 200 ? 65536 : random() % 200 + (round % 3 ? 138 : 0));
        const bool appPlanted = plant(app, 32);
        const bool osPlanted = plant(os, 84) && os.size() >= 138;
        Loader(kLoader, app);
        BootStore::Element(kLoader, "14000008", sequence, random() % 2 ? REG_BINARY : REG_MULTI_SZ);
        BootStore::Element(kWinRe, "21000001", os);

        EXPECT_EQ(GetCurrentBCDObject(signature, kOffset, kNoGuid, kNoGuid), appPlanted ? kLoader : wxString())
            << "round " << round << ", " << app.size() << " bytes";

        std::wstring first(sequence.size() / 2, L'\0');
        memcpy(&first[0], sequence.data(), first.size() * 2);
        EXPECT_EQ(GetRecoverBCDObject(kLoader), wxString(first.c_str())) << "round " << round;

        wxString expected;
        if (osPlanted)
        {
            std::wstring image((os.size() - std::min<size_t>(os.size(), 140)) / 2, L'\0');
            memcpy(&image[0], os.data() + 140, image.size() * 2);
            expected = JoinPath("\\\\?\\Volume{re}\\", image.c_str());
        }
        EXPECT_EQ(GetBCDObjectPath(kWinRe), expected) << "round " << round << ", " << os.size() << " bytes";
        if (HasFailure())
            break;
        log.entries.clear();
    }
}
