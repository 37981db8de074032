#include "BCD.h"

#include "registry_fixture.h"

#include <cstring>

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
