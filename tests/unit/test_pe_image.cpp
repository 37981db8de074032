// Reads mpdiag.exe as a file and checks what Windows PE needs of it: x64 console image,
// imports from system DLLs that a PE image carries only, an elevation manifest.
#include "test_support.h"

#include <windows.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <set>

namespace
{
std::string Lower(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
    return text;
}

class PeImage
{
public:
    explicit PeImage(const std::string& bytes) : m_bytes(bytes)
    {
        const auto* dos = At<IMAGE_DOS_HEADER>(0);
        if (!dos || dos->e_magic != IMAGE_DOS_SIGNATURE)
            return;
        m_nt = At<IMAGE_NT_HEADERS64>(dos->e_lfanew);
        if (!m_nt || m_nt->Signature != IMAGE_NT_SIGNATURE)
            m_nt = nullptr;
    }

    const IMAGE_NT_HEADERS64* Nt() const { return m_nt; }

    // The DLLs the loader resolves before the program's first instruction.
    std::vector<std::string> ImportedDlls() const
    {
        std::vector<std::string> names;
        const IMAGE_DATA_DIRECTORY& dir = m_nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
        for (DWORD offset = Offset(dir.VirtualAddress);; offset += sizeof(IMAGE_IMPORT_DESCRIPTOR))
        {
            const auto* desc = At<IMAGE_IMPORT_DESCRIPTOR>(offset);
            if (!desc || desc->Name == 0)
                break;
            names.push_back(String(Offset(desc->Name)));
        }
        return names;
    }

    // The DLLs loaded on first use, through the delay-load helper. The linker leaves the delay-import
    // directory entry empty, so the descriptors are found by their shape: addresses relative to the
    // image (attribute 1), no time stamp, a module handle slot, an address table, a name table, and
    // the name of a DLL.
    std::vector<std::string> DelayImportedDlls() const
    {
        std::vector<std::string> names;
        ForEachSection([&](const IMAGE_SECTION_HEADER& section) {
            for (DWORD offset = section.PointerToRawData;
                 offset + sizeof(IMAGE_DELAYLOAD_DESCRIPTOR) <= section.PointerToRawData + section.SizeOfRawData;
                 offset += sizeof(DWORD))
            {
                const auto* desc = At<IMAGE_DELAYLOAD_DESCRIPTOR>(offset);
                if (desc->Attributes.AllAttributes != 1 || desc->TimeDateStamp != 0 || !desc->ModuleHandleRVA ||
                    !desc->ImportAddressTableRVA || !desc->ImportNameTableRVA || !desc->DllNameRVA)
                    continue;
                const DWORD name = Offset(desc->DllNameRVA);
                const std::string text = name ? String(name) : std::string();
                if (text.size() > 4 && Lower(text.substr(text.size() - 4)) == ".dll")
                    names.push_back(text);
            }
        });
        return names;
    }

    // The manifest resource (type 24, id 1, first language), or empty.
    std::string Manifest() const
    {
        const IMAGE_DATA_DIRECTORY& dir = m_nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_RESOURCE];
        const DWORD root = Offset(dir.VirtualAddress);
        const DWORD types = Child(root, root, 24);
        const DWORD ids = types ? Child(root, types, 1) : 0;
        if (!ids)
            return std::string();
        const auto* languages = At<IMAGE_RESOURCE_DIRECTORY>(ids);
        if (!languages || languages->NumberOfIdEntries + languages->NumberOfNamedEntries == 0)
            return std::string();
        const auto* entry = At<IMAGE_RESOURCE_DIRECTORY_ENTRY>(ids + sizeof(IMAGE_RESOURCE_DIRECTORY));
        const auto* data = At<IMAGE_RESOURCE_DATA_ENTRY>(root + entry->OffsetToData);
        if (!data)
            return std::string();
        const DWORD start = Offset(data->OffsetToData);
        return start + data->Size <= m_bytes.size() ? m_bytes.substr(start, data->Size) : std::string();
    }

private:
    template <typename T> const T* At(size_t offset) const
    {
        return offset + sizeof(T) <= m_bytes.size() ? reinterpret_cast<const T*>(m_bytes.data() + offset) : nullptr;
    }

    template <typename Visit> void ForEachSection(Visit visit) const
    {
        const size_t first = reinterpret_cast<const char*>(IMAGE_FIRST_SECTION(m_nt)) - m_bytes.data();
        for (WORD i = 0; i < m_nt->FileHeader.NumberOfSections; ++i)
        {
            const auto* section = At<IMAGE_SECTION_HEADER>(first + i * sizeof(IMAGE_SECTION_HEADER));
            if (section && section->PointerToRawData + section->SizeOfRawData <= m_bytes.size())
                visit(*section);
        }
    }

    DWORD Offset(DWORD rva) const
    {
        DWORD offset = 0;
        ForEachSection([&](const IMAGE_SECTION_HEADER& s) {
            if (rva >= s.VirtualAddress && rva < s.VirtualAddress + s.Misc.VirtualSize)
                offset = rva - s.VirtualAddress + s.PointerToRawData;
        });
        return offset;
    }

    std::string String(DWORD offset) const
    {
        return offset < m_bytes.size() ? std::string(m_bytes.c_str() + offset) : std::string();
    }

    // The subdirectory of `dir` (a resource directory at a file offset) with this id.
    DWORD Child(DWORD root, DWORD dir, WORD id) const
    {
        const auto* header = At<IMAGE_RESOURCE_DIRECTORY>(dir);
        if (!header)
            return 0;
        const int count = header->NumberOfNamedEntries + header->NumberOfIdEntries;
        for (int i = 0; i < count; ++i)
        {
            const auto* entry = At<IMAGE_RESOURCE_DIRECTORY_ENTRY>(dir + sizeof(IMAGE_RESOURCE_DIRECTORY) +
                                                                   i * sizeof(IMAGE_RESOURCE_DIRECTORY_ENTRY));
            if (entry && !entry->NameIsString && entry->Id == id && entry->DataIsDirectory)
                return root + entry->OffsetToDirectory;
        }
        return 0;
    }

    std::string m_bytes;
    const IMAGE_NT_HEADERS64* m_nt = nullptr;
};

class MpdiagImage : public ::testing::Test
{
protected:
    PeImage image{ReadBytes(BuildPath("mpdiag.exe"))};
};
} // namespace

TEST_F(MpdiagImage, IsAnX64ConsoleProgram)
{
    ASSERT_NE(image.Nt(), nullptr);
    EXPECT_EQ(image.Nt()->FileHeader.Machine, IMAGE_FILE_MACHINE_AMD64);
    EXPECT_EQ(image.Nt()->OptionalHeader.Subsystem, IMAGE_SUBSYSTEM_WINDOWS_CUI);
}

namespace
{
std::set<std::string> LowerSet(const std::vector<std::string>& names)
{
    std::set<std::string> lower;
    for (const std::string& name : names)
        lower.insert(Lower(name));
    return lower;
}
} // namespace

// Before the program's first instruction the loader looks beside the executable first for any DLL
// that is not one of the system's KnownDLLs; kernel32 and the C runtime are KnownDLLs everywhere.
TEST_F(MpdiagImage, LoaderResolvesOnlyKernel32AndTheCRuntime)
{
    ASSERT_NE(image.Nt(), nullptr);
    EXPECT_EQ(LowerSet(image.ImportedDlls()), (std::set<std::string>{"kernel32.dll", "msvcrt.dll"}));
}

TEST_F(MpdiagImage, EveryOtherSystemDllIsDelayLoadedAndOnWindowsPe)
{
    ASSERT_NE(image.Nt(), nullptr);
    const std::set<std::string> onPe = {"advapi32.dll", "ole32.dll",    "oleaut32.dll", "shell32.dll", "shlwapi.dll",
                                        "user32.dll",   "version.dll",  "setupapi.dll", "cfgmgr32.dll"};
    const std::set<std::string> delayed = LowerSet(image.DelayImportedDlls());
    for (const char* dll : {"version.dll", "cfgmgr32.dll", "setupapi.dll", "advapi32.dll"})
        EXPECT_TRUE(delayed.count(dll)) << dll << " is not delay-loaded";
    for (const std::string& dll : delayed)
        EXPECT_TRUE(onPe.count(dll)) << dll << " is not on a Windows PE image (or is a non-static runtime)";
}

TEST_F(MpdiagImage, ManifestRequiresAdministrator)
{
    ASSERT_NE(image.Nt(), nullptr);
    const std::string manifest = image.Manifest();
    ASSERT_FALSE(manifest.empty()) << "no manifest resource";
    EXPECT_NE(manifest.find("level=\"requireAdministrator\""), std::string::npos) << manifest;
}

// Where the system allows long paths, the tool reaches files past MAX_PATH (deep log folders, and
// the working folder's removal).
TEST_F(MpdiagImage, ManifestDeclaresLongPathAwareness)
{
    ASSERT_NE(image.Nt(), nullptr);
    const std::string manifest = image.Manifest();
    EXPECT_NE(manifest.find("<ws2:longPathAware>true</ws2:longPathAware>"), std::string::npos) << manifest;
    EXPECT_NE(manifest.find("xmlns:ws2=\"http://schemas.microsoft.com/SMI/2016/WindowsSettings\""), std::string::npos)
        << manifest;
}

namespace
{
// One text of the version resource's US English, Unicode table.
wxString VersionText(const std::vector<BYTE>& info, const wchar_t* name)
{
    void* value = nullptr;
    UINT chars = 0;
    const std::wstring path = std::wstring(L"\\StringFileInfo\\040904b0\\") + name;
    if (!::VerQueryValueW(info.data(), path.c_str(), &value, &chars) || !value)
        return "(missing)";
    return wxString(static_cast<const wchar_t*>(value));
}
} // namespace

TEST(MpdiagVersion, ResourceCarriesTheProjectVersionAndNames)
{
    const wxString exe = BuildPath("mpdiag.exe");
    const DWORD size = ::GetFileVersionInfoSizeW(exe.wc_str(), nullptr);
    ASSERT_GT(size, 0u) << "no version resource";
    std::vector<BYTE> info(size);
    ASSERT_TRUE(::GetFileVersionInfoW(exe.wc_str(), 0, size, info.data()));

    VS_FIXEDFILEINFO* fixed = nullptr;
    UINT length = 0;
    ASSERT_TRUE(::VerQueryValueW(info.data(), L"\\", reinterpret_cast<void**>(&fixed), &length));
    EXPECT_EQ(fixed->dwSignature, 0xFEEF04BDu);
    EXPECT_EQ(fixed->dwFileVersionMS, static_cast<DWORD>(MPDIAG_VERSION_MAJOR << 16 | MPDIAG_VERSION_MINOR));
    EXPECT_EQ(fixed->dwFileVersionLS, static_cast<DWORD>(MPDIAG_VERSION_PATCH << 16));
    EXPECT_EQ(fixed->dwProductVersionMS, fixed->dwFileVersionMS);
    EXPECT_EQ(fixed->dwFileType, static_cast<DWORD>(VFT_APP));

    EXPECT_EQ(VersionText(info, L"FileVersion"), MPDIAG_VERSION_TEXT);
    EXPECT_EQ(VersionText(info, L"ProductVersion"), MPDIAG_VERSION_TEXT);
    EXPECT_EQ(VersionText(info, L"ProductName"), "mpdiag");
    EXPECT_EQ(VersionText(info, L"OriginalFilename"), "mpdiag.exe");
    EXPECT_TRUE(VersionText(info, L"FileDescription").StartsWith("Diagnostic collector"));
    EXPECT_TRUE(VersionText(info, L"LegalCopyright").StartsWith("Copyright (C) "));
}
