// INF files read as Plug and Play reads them for one image: the decorated models section Windows
// picks, and the identifiers it lists.
#include "fixtures/support.h"
#include "read/inf.h"

#include <gtest/gtest.h>

using namespace report;
using testing_support::SystemText;

namespace
{
const char kVmd[] = "PCI\\VEN_8086&DEV_467F";

InfTarget Image(unsigned build, const std::string& architecture = "x64", unsigned productType = 1)
{
    InfTarget target;
    target.architecture = architecture;
    target.major = 10;
    target.minor = 0;
    target.build = build;
    target.productType = productType;
    return target;
}

InfDriver Read(const fixtures::VendorInfSpec& spec, const InfTarget& target)
{
    return ReadInf(SystemText(fixtures::VendorInf(spec)), target);
}

fixtures::VendorInfSpec Spec(const std::vector<fixtures::VendorInfModels>& models,
                             fixtures::InfEncoding encoding = fixtures::InfEncoding::Windows1252)
{
    fixtures::VendorInfSpec spec;
    spec.models = models;
    spec.encoding = encoding;
    return spec;
}

std::string Chosen(const InfDriver& driver)
{
    std::string text;
    for (const InfSection& section : driver.chosen)
    {
        text += "[" + section.name + "]";
        for (const std::string& id : section.ids)
            text += " " + id;
        text += "\n";
    }
    return text;
}

const InfPassedOver* PassedOver(const InfDriver& driver, const std::string& section)
{
    for (const InfPassedOver& passed : driver.passedOver)
        if (passed.section.name == section)
            return &passed;
    return nullptr;
}
} // namespace

TEST(InfDecoration, BuildIsAMinimum)
{
    const fixtures::VendorInfSpec spec = Spec({{"NTamd64.10.0...19041", {kVmd}}});
    const InfDriver older = Read(spec, Image(17763));
    EXPECT_EQ("", Chosen(older)) << "a section for build 19041 and later is no section for build 17763";
    const InfPassedOver* passed = PassedOver(older, "iaStorVD_Models.NTamd64.10.0...19041");
    ASSERT_NE(nullptr, passed);
    EXPECT_EQ("for build 19041 and later; the image is build 17763", passed->why);
    EXPECT_EQ(std::vector<std::string>{kVmd}, passed->section.ids);
    EXPECT_EQ("[iaStorVD_Models.NTamd64.10.0...19041] PCI\\VEN_8086&DEV_467F\n", Chosen(Read(spec, Image(19041))));
    EXPECT_EQ("[iaStorVD_Models.NTamd64.10.0...19041] PCI\\VEN_8086&DEV_467F\n", Chosen(Read(spec, Image(22621))));
}

TEST(InfDecoration, WindowsPicksTheClosestSectionOfAnEntry)
{
    const fixtures::VendorInfSpec spec =
        Spec({{"NTamd64.10.0...19041", {kVmd}}, {"NTamd64.10.0", {"PCI\\VEN_8086&DEV_A77F"}}, {"NTamd64", {"PCI\\VEN_8086&DEV_2822"}}});
    EXPECT_EQ("[iaStorVD_Models.NTamd64.10.0] PCI\\VEN_8086&DEV_A77F\n", Chosen(Read(spec, Image(17763))));
    const InfDriver newer = Read(spec, Image(19045));
    EXPECT_EQ("[iaStorVD_Models.NTamd64.10.0...19041] PCI\\VEN_8086&DEV_467F\n", Chosen(newer)) << "one section per entry, not all that fit";
    const InfPassedOver* passed = PassedOver(newer, "iaStorVD_Models.NTamd64");
    ASSERT_NE(nullptr, passed);
    EXPECT_EQ("Windows picks the closer [iaStorVD_Models.NTamd64.10.0...19041]", passed->why);
}

TEST(InfDecoration, AHigherVersionIsCloserThanAHigherBuildOfAnOlderVersion)
{
    const fixtures::VendorInfSpec spec = Spec({{"NTamd64.6.3...9600", {"PCI\\VEN_8086&DEV_2822"}}, {"NTamd64.10.0", {kVmd}}});
    const InfDriver driver = Read(spec, Image(19041));
    EXPECT_EQ("[iaStorVD_Models.NTamd64.10.0] PCI\\VEN_8086&DEV_467F\n", Chosen(driver));
    ASSERT_NE(nullptr, PassedOver(driver, "iaStorVD_Models.NTamd64.6.3...9600"));
    EXPECT_EQ("Windows picks the closer [iaStorVD_Models.NTamd64.10.0]", PassedOver(driver, "iaStorVD_Models.NTamd64.6.3...9600")->why);
}

TEST(InfDecoration, APlatformIsExactAndSixtyFourBitWindowsIgnoresUndecoratedSections)
{
    const fixtures::VendorInfSpec spec = Spec({{"", {"PCI\\VEN_1000&DEV_0079"}}, {"NT", {"PCI\\VEN_1000&DEV_0073"}}, {"NTx86", {"PCI\\VEN_1000&DEV_005B"}}});
    const InfDriver x64 = Read(spec, Image(19041));
    EXPECT_EQ("", Chosen(x64));
    ASSERT_NE(nullptr, PassedOver(x64, "iaStorVD_Models"));
    EXPECT_EQ("undecorated: x64 Windows uses only sections decorated for its platform", PassedOver(x64, "iaStorVD_Models")->why);
    EXPECT_EQ("decorated for no platform: x64 Windows uses only sections decorated for its platform",
              PassedOver(x64, "iaStorVD_Models.NT")->why);
    EXPECT_EQ("for x86, not amd64", PassedOver(x64, "iaStorVD_Models.NTx86")->why);
    EXPECT_EQ("[iaStorVD_Models.NTx86] PCI\\VEN_1000&DEV_005B\n", Chosen(Read(spec, Image(19041, "x86"))))
        << "on x86 the platform section is closer than the plain NT one";
    EXPECT_EQ("[iaStorVD_Models] PCI\\VEN_1000&DEV_0079\n", Chosen(Read(Spec({{"", {"PCI\\VEN_1000&DEV_0079"}}}), Image(19041, "x86"))))
        << "x86 Windows uses an undecorated section";
}

TEST(InfDecoration, AnArm64OnlyInfListsNothingForAnX64Image)
{
    const fixtures::VendorInfSpec spec = Spec({{"NTarm64.10.0...22000", {"ACPI\\QCOM24A5"}}}, fixtures::InfEncoding::Utf16);
    EXPECT_EQ("", Chosen(Read(spec, Image(22621))));
    EXPECT_EQ("for arm64, not amd64", PassedOver(Read(spec, Image(22621)), "iaStorVD_Models.NTarm64.10.0...22000")->why);
    EXPECT_EQ("[iaStorVD_Models.NTarm64.10.0...22000] ACPI\\QCOM24A5\n", Chosen(Read(spec, Image(22621, "arm64"))));
}

TEST(InfDecoration, VersionProductTypeAndSuiteAreCheckedAgainstTheImage)
{
    const fixtures::VendorInfSpec spec = Spec({{"NTamd64.10.0.3", {"PCI\\VEN_1000&DEV_0097"}},
                                               {"NTamd64.10.0.1", {"PCI\\VEN_1000&DEV_0087"}},
                                               {"NTamd64.10.1", {"PCI\\VEN_1000&DEV_00A0"}},
                                               {"NTamd64....0x80", {"PCI\\VEN_1000&DEV_0016"}}});
    const InfDriver driver = Read(spec, Image(19041));
    EXPECT_EQ("[iaStorVD_Models.NTamd64.10.0.1] PCI\\VEN_1000&DEV_0087\n", Chosen(driver)) << "Windows PE and RE are workstation products";
    EXPECT_EQ("for a server; the image is a workstation", PassedOver(driver, "iaStorVD_Models.NTamd64.10.0.3")->why);
    EXPECT_EQ("for Windows 10.1 and later; the image is Windows 10.0", PassedOver(driver, "iaStorVD_Models.NTamd64.10.1")->why);
    EXPECT_EQ("for product suite 0x80, which the image's metadata does not give", PassedOver(driver, "iaStorVD_Models.NTamd64....0x80")->why);
    EXPECT_EQ("[iaStorVD_Models.NTamd64.10.0.3] PCI\\VEN_1000&DEV_0097\n", Chosen(Read(spec, Image(19041, "x64", 3))));
}

TEST(InfDecoration, AnOlderVersionStillServesAndItsBuildNoLongerCounts)
{
    const fixtures::VendorInfSpec spec = Spec({{"NTamd64.6.3...99999", {"PCI\\VEN_1B4B&DEV_9230"}}});
    EXPECT_EQ("[iaStorVD_Models.NTamd64.6.3...99999] PCI\\VEN_1B4B&DEV_9230\n", Chosen(Read(spec, Image(17763))))
        << "a build counts only where the versions are equal";
}

TEST(InfFunctionDrivers, ExtensionAndSoftwareComponentInfsInstallNone)
{
    fixtures::VendorInfSpec extension = Spec({{"NTamd64", {kVmd}}});
    extension.className = "Extension";
    extension.classGuid = "{e2f84ce7-8efa-411c-aa69-97454ca4cb57}";
    EXPECT_EQ("Class=Extension", Read(extension, Image(19041)).notFunctionDriver);
    fixtures::VendorInfSpec component = Spec({{"NTamd64", {"SWC\\VID0001&PID0001"}}});
    component.className = "%ComponentClass%";
    component.classGuid = "{5C4C3332-344D-483C-8739-259E934C9CC8}";
    EXPECT_EQ("Class=SoftwareComponent", Read(component, Image(19041)).notFunctionDriver) << "known by its class GUID";
    EXPECT_EQ("", Read(Spec({{"NTamd64", {kVmd}}}), Image(19041)).notFunctionDriver);
}

TEST(InfText, Utf16And8BitInfsWithLocalisedStringsReadAlike)
{
    const std::vector<fixtures::VendorInfModels> models = {{"NTamd64.10.0...17763", {"pci\\ven_8086&dev_9a0b", "PCI\\VEN_8086&DEV_A0D3&CC_0104"}}};
    const InfDriver wide = Read(Spec(models, fixtures::InfEncoding::Utf16), Image(19041));
    const InfDriver narrow = Read(Spec(models, fixtures::InfEncoding::Windows1252), Image(19041));
    EXPECT_EQ("[iaStorVD_Models.NTamd64.10.0...17763] PCI\\VEN_8086&DEV_9A0B PCI\\VEN_8086&DEV_A0D3&CC_0104\n", Chosen(wide));
    EXPECT_EQ(Chosen(wide), Chosen(narrow));
}

TEST(InfText, ContinuationLinesJoinAndCommentsEndOutsideQuotes)
{
    const std::string inf = "[Version]\r\nSignature=\"$WINDOWS NT$\" ; a comment\r\nClass=Net\r\n"
                            "[Manufacturer]\r\n%Mfg% = Mfg, \\\r\n    NTamd64.10.0, NTx86 ; both\r\n"
                            "[Mfg.NTamd64.10.0]\r\n\"Adapter; dual port\" = Inst, \\\r\n  PCI\\VEN_14E4&DEV_165F ; model\r\n";
    EXPECT_EQ("[Mfg.NTamd64.10.0] PCI\\VEN_14E4&DEV_165F\n", Chosen(ReadInf(SystemText(inf), Image(19041))));
}

TEST(InfText, ALogicalLineLongerThanTheCapIsCutAndCounted)
{
    std::string inf = "[Manufacturer]\r\n%Mfg% = Mfg, NTamd64\r\n[Mfg.NTamd64]\r\n%Dev% = Inst, PCI\\VEN_1000&DEV_0079";
    for (size_t i = 0; i < kInfLineCap / 4; ++i)
        inf += ", \\\r\nPCI\\X";
    inf += "\r\n";
    const InfDriver driver = ReadInf(SystemText(inf), Image(19041));
    EXPECT_EQ(1u, driver.cutLines);
    ASSERT_EQ(1u, driver.chosen.size());
    EXPECT_EQ("PCI\\VEN_1000&DEV_0079", driver.chosen.front().ids.front());
}
