#include "BCD.h"
#include "common.h"

#include "registry_fixture.h"

#include <windows.h>

namespace
{
void DeleteProductKeys()
{
    ::RegDeleteTreeW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\MendPoint");
    ::RegDeleteTreeW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Quorvel");
}

void SetDword(const wchar_t* path, const wchar_t* name, DWORD value)
{
    HKEY key = nullptr;
    ASSERT_EQ(::RegCreateKeyExW(HKEY_LOCAL_MACHINE, path, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr), 0);
    ::RegSetValueExW(key, name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value), 4);
    ::RegCloseKey(key);
}

void SetBinary(const wchar_t* path, const wchar_t* name, const void* data, DWORD size)
{
    HKEY key = nullptr;
    ASSERT_EQ(::RegCreateKeyExW(HKEY_LOCAL_MACHINE, path, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr), 0);
    ::RegSetValueExW(key, name, 0, REG_BINARY, static_cast<const BYTE*>(data), size);
    ::RegCloseKey(key);
}
} // namespace

// The edition is cached for the life of the process, so each ProductEdition suite runs in a
// process of its own (see CMakeLists.txt).
TEST(ProductEdition3, MissingKeyGivesZeroAndIsAskedAgain)
{
    DeleteProductKeys();
    EXPECT_EQ(GetMPVersion(), 0);
    EXPECT_EQ(GetProductRegistryKey(false), "SOFTWARE\\Quorvel\\Keldara");
    EXPECT_EQ(GetProductLogPath(), "mpb.log");
    SetDword(L"SOFTWARE\\MendPoint", L"MPVersion", 3);
    EXPECT_EQ(GetMPVersion(), 3);
    EXPECT_EQ(GetProductRegistryKey(false), "SOFTWARE\\Quorvel\\Keldara");
    EXPECT_EQ(GetProductRegistryKey(true), "SOFTWARE\\Quorvel\\Keldara\\v1");
    SetDword(L"SOFTWARE\\MendPoint", L"MPVersion", 2);
    EXPECT_EQ(GetMPVersion(), 3) << "cached once known";
}

TEST(ProductEdition3, LogDirThatDoesNotExistIsCreatedWithItsParents)
{
    ScratchDir dir;
    const wxString folder = dir / "Prod\\Logs\\Deep";
    const std::wstring value = folder.ToStdWstring();
    SetBinary(L"SOFTWARE\\Quorvel\\Keldara", L"LogDir", value.c_str(), (DWORD)((value.size() + 1) * 2));
    EXPECT_EQ(GetProductLogPath(), folder + "\\mpb.log");
    EXPECT_TRUE(DirExists(folder));
}

TEST(ProductEdition3, ShortLogDirGivesTheBareName)
{
    SetBinary(L"SOFTWARE\\Quorvel\\Keldara", L"LogDir", L"", 2);
    EXPECT_EQ(GetProductLogPath(), "mpb.log");
    SetBinary(L"SOFTWARE\\Quorvel\\Keldara", L"LogDir", "", 0);
    EXPECT_EQ(GetProductLogPath(), "mpb.log");
    DeleteProductKeys();
}

TEST(ProductEdition2, SelectsTheRecoveryProductKeys)
{
    DeleteProductKeys();
    SetDword(L"SOFTWARE\\MendPoint", L"MPVersion", 2);
    EXPECT_EQ(GetMPVersion(), 2);
    EXPECT_EQ(GetProductRegistryKey(false), "SOFTWARE\\Quorvel\\KeldaraER");
    EXPECT_EQ(GetProductRegistryKey(true), "SOFTWARE\\Quorvel\\KeldaraER\\v1");
    ScratchDir dir;
    const std::wstring value = dir.Path().ToStdWstring();
    SetBinary(L"SOFTWARE\\Quorvel\\KeldaraER", L"LogDir", value.c_str(), (DWORD)((value.size() + 1) * 2));
    EXPECT_EQ(GetProductLogPath(), dir.Path() + "\\mpb.log");
    DeleteProductKeys();
}

TEST(ProductEdition1, KeyWithoutMPVersionMeansEditionOne)
{
    DeleteProductKeys();
    HKEY key = nullptr;
    ::RegCreateKeyExW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\MendPoint", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr);
    ::RegCloseKey(key);
    EXPECT_EQ(GetMPVersion(), 1);
    EXPECT_EQ(GetProductRegistryKey(false), "SOFTWARE\\Quorvel\\Keldara");
    DeleteProductKeys();
}

TEST(FormatGuid, ZeroGuidIsThirtySixCharacters)
{
    EXPECT_EQ(FormatGuid(GUID{}), L"00000000-0000-0000-0000-000000000000");
}

TEST(FormatGuid, LowerCaseFieldsInOrder)
{
    const GUID guid = {0x53F56307, 0xB6BF, 0x11D0, {0x94, 0xF2, 0x00, 0xA0, 0xC9, 0x1E, 0xFB, 0x8B}};
    EXPECT_EQ(FormatGuid(guid), L"53f56307-b6bf-11d0-94f2-00a0c91efb8b");
}

TEST(GetFileVersion, ProductVersionOfASystemFile)
{
    wchar_t path[MAX_PATH];
    ::GetModuleFileNameW(::GetModuleHandleW(L"ntdll.dll"), path, MAX_PATH);
    DWORD ms = 0, ls = 0;
    ASSERT_EQ(GetFileVersion(path, &ms, &ls), 0u);
    // Read independently through the version API.
    const DWORD size = ::GetFileVersionInfoSizeW(path, nullptr);
    std::vector<BYTE> data(size);
    ASSERT_TRUE(::GetFileVersionInfoW(path, 0, size, data.data()));
    VS_FIXEDFILEINFO* fixed = nullptr;
    UINT length = 0;
    ASSERT_TRUE(::VerQueryValueW(data.data(), L"\\", reinterpret_cast<void**>(&fixed), &length));
    EXPECT_EQ(ms, fixed->dwProductVersionMS);
    EXPECT_EQ(ls, fixed->dwProductVersionLS);
}

TEST(GetFileVersion, NullOutputAndMissingFile)
{
    DWORD ms = 0, ls = 0;
    EXPECT_EQ(GetFileVersion("C:\\x.dll", nullptr, &ls), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
    EXPECT_NE(GetFileVersion("C:\\no\\such.dll", &ms, &ls), 0u);
}

TEST(GetOSVersion, FillsTheRecordFromTheSystem)
{
    OSVersionInfo info;
    info.isServerCore = true;
    RecordingLog log;
    GetOSVersion(info);
    EXPECT_EQ(info.architecture, 9u);
    EXPECT_FALSE(info.isServerCore);
    EXPECT_FALSE(info.productName.empty());
    EXPECT_GE(info.versionMS >> 16, 6u);
    EXPECT_EQ(info.language.Find('-'), 2) << info.language.utf8_string();
    EXPECT_TRUE(log.entries.empty()) << log.Dump();
    // The version words are ntdll's product version.
    wchar_t path[MAX_PATH];
    ::GetModuleFileNameW(::GetModuleHandleW(L"ntdll.dll"), path, MAX_PATH);
    DWORD ms = 0, ls = 0;
    GetFileVersion(path, &ms, &ls);
    EXPECT_EQ(info.versionMS, ms);
    EXPECT_EQ(info.versionLS, ls);
}
