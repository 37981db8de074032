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
