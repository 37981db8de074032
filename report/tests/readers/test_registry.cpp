// Registry exports as "reg export" writes them.
#include "fixtures/support.h"
#include "read/registry.h"

#include <gtest/gtest.h>

using namespace report;
using testing_support::SystemText;

TEST(RegExport, ReadsKeysValuesAndContinuedLines)
{
    size_t skipped = 0;
    const RegTree tree = ParseRegExport(SystemText(fixtures::Utf16Le(fixtures::SampleBootStore(63LL << 30).Text())), skipped);
    EXPECT_EQ(0u, skipped);
    const RegKey* key = tree.Key("hkey_local_machine\\bcd00000000\\objects\\" + std::string(fixtures::kRecoveryLoader) + "\\elements\\21000001");
    ASSERT_NE(nullptr, key);
    const RegValue* element = key->Value("Element");
    ASSERT_NE(nullptr, element);
    EXPECT_EQ(fixtures::RamdiskElement(fixtures::kDiskSignature, 63LL << 30, "\\Recovery\\WindowsRE\\Winre.wim"), element->data)
        << "the value runs over several lines ended by a backslash";
}

TEST(RegExport, CountsLinesItDoesNotUnderstand)
{
    size_t skipped = 0;
    const RegTree tree = ParseRegExport(SystemText("REGEDIT4\r\n[HKEY_LOCAL_MACHINE\\A]\r\n\"x\"=dword:zz\r\ngarbage\r\n\"y\"=\"ok\"\r\n"), skipped);
    EXPECT_EQ(2u, skipped);
    EXPECT_EQ("ok", Utf16ToUtf8(tree.Key("HKEY_LOCAL_MACHINE\\A")->Value("y")->data));
}

namespace
{
// An export of one key whose value "Long" goes on over `lines` continuation lines of one byte
// each, followed by a value "After".
std::string LongValueExport(size_t lines)
{
    std::string text = "Windows Registry Editor Version 5.00\r\n\r\n[HKEY_LOCAL_MACHINE\\A]\r\n\"Long\"=hex:01,\\\r\n";
    for (size_t i = 0; i < lines; ++i)
        text += "  02,\\\r\n";
    return text + "  03\r\n\"After\"=dword:00000007\r\n";
}
} // namespace

TEST(RegExport, JoinsAHundredThousandContinuationLinesIntoOneValue)
{
    size_t skipped = 0;
    const RegTree tree = ParseRegExport(SystemText(fixtures::Utf16Le(LongValueExport(100000))), skipped);
    EXPECT_EQ(0u, skipped);
    EXPECT_EQ("", tree.LeftOut());
    const RegValue* value = tree.Key("HKEY_LOCAL_MACHINE\\A")->Value("Long");
    ASSERT_NE(nullptr, value);
    EXPECT_EQ("\x01" + std::string(100000, '\x02') + "\x03", value->data);
    EXPECT_EQ(7u, LittleEndian32(tree.Key("HKEY_LOCAL_MACHINE\\A")->Value("After")->data, 0));
}

TEST(RegExport, LeavesOutAValueLongerThanItsBoundAndReadsTheNext)
{
    size_t skipped = 0;
    // 400,000 continuation lines join into 1.2 MB of text.
    const RegTree tree = ParseRegExport(SystemText(fixtures::Utf16Le(LongValueExport(400000))), skipped);
    EXPECT_EQ(0u, skipped);
    EXPECT_EQ("1 value longer than 1048576 bytes of text left out (the first at line 4)", tree.LeftOut());
    const RegKey* key = tree.Key("HKEY_LOCAL_MACHINE\\A");
    ASSERT_NE(nullptr, key);
    EXPECT_EQ(nullptr, key->Value("Long"));
    ASSERT_NE(nullptr, key->Value("After"));
    EXPECT_EQ(400006u, key->Value("After")->line);
}
