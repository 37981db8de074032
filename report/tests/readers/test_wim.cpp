// The recovery image: its metadata, and the INF files where Plug and Play looks for drivers.
#include "fixtures/support.h"
#include "read/wim.h"

#include <gtest/gtest.h>

using namespace report;

namespace
{
std::string WimFile(const std::vector<fixtures::InfFile>& files, const std::string& build = "19041", const std::string& arch = "9")
{
    const std::string file = fixtures::TempDir() + "/boot.wim";
    fixtures::WriteFile(file, fixtures::Wim(files, build, arch));
    return file;
}

DriverSearch Search(const std::string& wim, unsigned build = 19041)
{
    const WimInfo info = ReadWimInfo(wim);
    EXPECT_TRUE(info.valid) << info.error;
    InfTarget target = TargetOf(*info.RecoveryImage(), "");
    target.build = build;
    TempFolder temp;
    return SearchDrivers(wim, 1, target, temp);
}
} // namespace

TEST(WimImage, TheTargetIsTheImagesOwnVersionBuildPlatformAndProductType)
{
    const WimInfo info = ReadWimInfo(WimFile({}, "17763", "9"));
    ASSERT_TRUE(info.valid) << info.error;
    const InfTarget target = TargetOf(*info.RecoveryImage(), "x86");
    EXPECT_EQ("x64", target.architecture);
    EXPECT_EQ(10u, target.major);
    EXPECT_EQ(0u, target.minor);
    EXPECT_EQ(17763u, target.build);
    EXPECT_EQ(1u, target.productType) << "WinNT: a workstation product";
    EXPECT_EQ("x86", TargetOf(*ReadWimInfo(WimFile({}, "17763", "")).RecoveryImage(), "x86").architecture)
        << "without WINDOWS/ARCH the installed system's platform stands in";
}

TEST(DriverSearch, ReadsOnlyTheInfFolderAndTheDriverStore)
{
    const std::vector<std::string> ids = {"PCI\\VEN_10EC&DEV_8168"};
    const DriverSearch search = Search(WimFile({fixtures::Inf("/Windows/INF/a.inf", {"PCI\\VEN_1000&DEV_0001"}),
                                                fixtures::Inf("/WINDOWS/inf/B.INF", {"PCI\\VEN_1000&DEV_0002"}),
                                                fixtures::Inf("/Windows/System32/DriverStore/FileRepository/c.inf_amd64_1/c.inf",
                                                              {"PCI\\VEN_1000&DEV_0003"}),
                                                fixtures::Inf("/Program Files/Vendor/Drivers/rt640x64.inf", ids),
                                                fixtures::Inf("/Windows/INF/old/rt640x64.inf", ids),
                                                fixtures::Inf("/Windows/System32/DriverStore/FileRepository/rt640x64.inf", ids)}));
    ASSERT_TRUE(search.done) << search.problem;
    EXPECT_EQ(2u, search.infFolder);
    EXPECT_EQ(1u, search.driverStore);
    EXPECT_EQ(3u, search.elsewhere);
    EXPECT_EQ(3u, search.ids.size());
    EXPECT_EQ(0u, search.ids.count(ids.front())) << "an INF under Program Files is no driver Plug and Play finds";
    EXPECT_EQ("/WINDOWS/inf/B.INF", search.ids.at("PCI\\VEN_1000&DEV_0002").inf) << "folders named in any case";
    EXPECT_EQ("Maker.NTamd64", search.ids.at("PCI\\VEN_1000&DEV_0002").section);
}

TEST(DriverSearch, ExtensionInfsAreNamedAndNotCounted)
{
    fixtures::VendorInfSpec extension;
    extension.className = "Extension";
    extension.classGuid = "{e2f84ce7-8efa-411c-aa69-97454ca4cb57}";
    extension.models = {{"NTamd64", {"PCI\\VEN_8086&DEV_467F"}}};
    const DriverSearch search = Search(WimFile({{"/Windows/INF/oem7.inf", fixtures::VendorInf(extension)}}));
    ASSERT_TRUE(search.done) << search.problem;
    EXPECT_TRUE(search.ids.empty());
    EXPECT_EQ(std::vector<std::string>{"/Windows/INF/oem7.inf (Class=Extension)"}, search.notFunction);
}

TEST(DriverSearch, SectionsPassedOverAreKeptWithTheReason)
{
    fixtures::VendorInfSpec vmd;
    vmd.models = {{"NTamd64.10.0...19041", {"PCI\\VEN_8086&DEV_467F"}}};
    const std::string wim = WimFile({{"/Windows/System32/DriverStore/FileRepository/iastorvd.inf_amd64_1/iaStorVD.inf", fixtures::VendorInf(vmd)}},
                                    "17763");
    const DriverSearch older = Search(wim, 17763);
    EXPECT_EQ(0u, older.ids.count("PCI\\VEN_8086&DEV_467F"));
    ASSERT_EQ(1u, older.passedOver.count("PCI\\VEN_8086&DEV_467F"));
    EXPECT_EQ("for build 19041 and later; the image is build 17763", older.passedOver.at("PCI\\VEN_8086&DEV_467F").why);
    EXPECT_EQ(1u, Search(wim, 19041).ids.count("PCI\\VEN_8086&DEV_467F"));
}

TEST(WimImage, AServerImageIsNoWorkstation)
{
    WimImage image;
    image.architecture = "x64";
    image.productType = "ServerNT";
    EXPECT_EQ(3u, TargetOf(image, "").productType);
    image.productType = "LanmanNT";
    EXPECT_EQ(2u, TargetOf(image, "").productType);
    image.productType = "";
    EXPECT_EQ(1u, TargetOf(image, "").productType) << "an image without one is Windows PE or RE";
}
