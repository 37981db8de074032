// systeminfo's listing of the machine: by the labels of the table, and without them by the order
// of the fields and the shape of their values.
#include "fixtures/support.h"
#include "read/sysinfo.h"

#include <gtest/gtest.h>

using namespace report;
using fixtures::Speech;
using testing_support::Captured;


class SystemInfoSpeech : public testing::TestWithParam<Speech>
{
};

TEST_P(SystemInfoSpeech, ReadsTheMachineInEveryForm)
{
    const SystemInfo info = ParseSystemInfo(Captured(fixtures::SystemInfoOutput(GetParam())));
    EXPECT_EQ("SAMPLE-PC", info.Get(SystemInfoField::HostName).text);
    EXPECT_EQ("Microsoft Windows 10 Pro", info.Get(SystemInfoField::OsName).text);
    EXPECT_EQ("10.0.19045", VersionNumber(info.Get(SystemInfoField::OsVersion).text));
    EXPECT_EQ("19045", BuildNumber(info.Get(SystemInfoField::OsVersion).text));
    EXPECT_EQ("x64", Architecture(info.Get(SystemInfoField::SystemType).text));
    EXPECT_EQ("C:\\Windows", info.Get(SystemInfoField::WindowsDirectory).text);
    EXPECT_EQ("\\Device\\HarddiskVolume1", info.Get(SystemInfoField::BootDevice).text);
    const std::string language = GetParam() == Speech::German ? "German" : "English";
    EXPECT_EQ(language, info.language);
    EXPECT_EQ(language + " label", info.Get(SystemInfoField::HostName).how);
    EXPECT_EQ(4u, info.Get(SystemInfoField::OsVersion).line);
    EXPECT_FALSE(info.Get(SystemInfoField::OsName).lost);
}

INSTANTIATE_TEST_SUITE_P(Forms, SystemInfoSpeech, testing::Values(Speech::Utf8, Speech::Field, Speech::German));

TEST(SystemInfo, ALanguageWithoutATableIsReadByOrderAndShape)
{
    {
        const SystemInfo info = ParseSystemInfo(Captured(fixtures::SystemInfoOutput(Speech::Unlisted)));
        EXPECT_EQ("", info.language);
        EXPECT_EQ("SAMPLE-PC", info.Get(SystemInfoField::HostName).text);
        EXPECT_EQ("position in the listing", info.Get(SystemInfoField::HostName).how);
        EXPECT_EQ("Microsoft Windows 10 Pro", info.Get(SystemInfoField::OsName).text);
        EXPECT_EQ("shape of the value", info.Get(SystemInfoField::OsVersion).how);
        EXPECT_EQ("19045", BuildNumber(info.Get(SystemInfoField::OsVersion).text));
        EXPECT_EQ("x64-based PC", info.Get(SystemInfoField::SystemType).text);
        EXPECT_EQ("C:\\Windows", info.Get(SystemInfoField::WindowsDirectory).text);
        EXPECT_EQ("\\Device\\HarddiskVolume1", info.Get(SystemInfoField::BootDevice).text);
    }
}

TEST(SystemInfo, WithoutTheHostLineTheHostIsUnknownAndTheRestStaysInPlace)
{
    std::string listing = fixtures::SystemInfoOutput(Speech::Unlisted);
    listing.erase(listing.find("Label 1:"), listing.find("Label 2:") - listing.find("Label 1:"));
    const SystemInfo info = ParseSystemInfo(Captured(listing));
    EXPECT_EQ("", info.Get(SystemInfoField::HostName).text);
    EXPECT_EQ(0u, info.Get(SystemInfoField::HostName).line);
    EXPECT_EQ("Microsoft Windows 10 Pro", info.Get(SystemInfoField::OsName).text);
}

TEST(SystemInfo, AGarbledLabelCountsOnlyWhereSystemInfoPutsItsField)
{
    // The German label of the boot device, garbled, where the host name belongs.
    const std::string listing = "\r\nStartger\xC3\xA4t:      SAMPLE-PC\r\n";
    const SystemInfo garbled = ParseSystemInfo(Captured(fixtures::Cp850(listing)));
    EXPECT_EQ(0u, garbled.Get(SystemInfoField::BootDevice).line);
    EXPECT_EQ("", garbled.language);
    // Exact, it counts wherever it stands.
    EXPECT_EQ(2u, ParseSystemInfo(Captured(listing)).Get(SystemInfoField::BootDevice).line);
}

TEST(SystemInfo, AValueWithLettersLostToTheCodePageIsMarked)
{
    const std::string listing = "\r\nHost Name:   PC-JÜRGEN\r\nOS Name:     Microsoft Windows 10 Pro\r\n"
                                "OS Version:  10.0.19045 N/A Build 19045\r\n";
    const SystemInfo lost = ParseSystemInfo(Captured(fixtures::Cp850(listing)));
    EXPECT_TRUE(lost.Get(SystemInfoField::HostName).lost);
    EXPECT_EQ("PC-J\xEF\xBF\xBDRGEN", lost.Get(SystemInfoField::HostName).text);
    EXPECT_FALSE(lost.Get(SystemInfoField::OsName).lost);
    // The same letters written in UTF-8 lost nothing.
    EXPECT_FALSE(ParseSystemInfo(Captured(listing)).Get(SystemInfoField::HostName).lost);
}

TEST(SystemInfo, NoBreakSpacesInValuesReadAsSpaces)
{
    const SystemInfo info = ParseSystemInfo(Captured("\r\nOS Name:    Microsoft Windows\xC2\xA0" "7 Entreprise N \r\n"));
    EXPECT_EQ("Microsoft Windows 7 Entreprise N", info.Get(SystemInfoField::OsName).text);
}

TEST(SystemInfo, KeepsABoundedNumberOfFields)
{
    std::string listing = fixtures::SystemInfoOutput(Speech::Utf8);
    for (size_t i = 0; i < kMaxSystemInfoFields; ++i)
        listing += "More:   " + std::to_string(i) + "\r\n";
    const SystemInfo info = ParseSystemInfo(Captured(listing));
    EXPECT_TRUE(info.fieldsLeftOut);
    EXPECT_EQ("SAMPLE-PC", info.Get(SystemInfoField::HostName).text);
    EXPECT_FALSE(ParseSystemInfo(Captured(fixtures::SystemInfoOutput(Speech::Utf8))).fieldsLeftOut);
}

TEST(SystemInfoVersion, TheVersionPatternHoldsInEveryLanguage)
{
    EXPECT_EQ("6.3.9600", VersionNumber("6.3.9600 Н/Д построение 9600"));
    EXPECT_EQ("9600", BuildNumber("6.3.9600 Н/Д построение 9600"));
    EXPECT_EQ("6.1.7601", VersionNumber("6.1.7601 Service Pack 1 Build 7601"));
    EXPECT_EQ("10.0.17763", VersionNumber("10.0.17763 \xEF\xBF\xBD\xEF\xBF\xBD Build 17763"));
    EXPECT_EQ("", VersionNumber("1.44"));
    EXPECT_EQ("", BuildNumber("VMW71.00V.21100432.B64"));
}

TEST(SystemInfoVersion, OnlyAVersionWhoseLastWordIsItsBuildAnchorsTheListing)
{
    // BIOS versions and dates have dots too; none ends in the build of its version.
    const std::string listing = "\r\nLabel A:   SAMPLE-PC\r\nLabel B:   Windows\r\nLabel C:   1.2.3 x 4\r\n"
                                "Label D:   10.0.19045 N/A Build 19045\r\n";
    const SystemInfo info = ParseSystemInfo(Captured(listing));
    EXPECT_EQ(5u, info.Get(SystemInfoField::OsVersion).line);
    EXPECT_EQ("Label C:   1.2.3 x 4", "Label C:   " + info.Get(SystemInfoField::OsName).text);
}

TEST(SystemInfoArchitecture, FromTheUntranslatedSystemType)
{
    EXPECT_EQ("x64", Architecture("x64-based PC"));
    EXPECT_EQ("x86", Architecture("X86-based PC"));
    EXPECT_EQ("arm64", Architecture("ARM64-based PC"));
    EXPECT_EQ("", Architecture("Itanium"));
}
