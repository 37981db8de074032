// The boot chain and the disks in the three outputs: a short section of the text, an object of the
// JSON, an inline SVG drawing of the page; the same facts, the same breaks, the same unknowns.
#include "outputs/chain_bundles.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using namespace testing_support;
using Json = nlohmann::ordered_json;

namespace
{
std::string Report(const std::string& options, const fixtures::Bundle& bundle, std::string* page = nullptr)
{
    const std::string folder = fixtures::TempDir();
    const std::string html = folder + "/report.html";
    std::string out, err;
    const int status = RunReport(options + (page ? " --html " + html : "") + " " + bundle.Write(folder + "/mpdiag.zip"), out, &err);
    EXPECT_EQ(0, status) << err;
    if (page)
        *page = fixtures::ReadFile(html);
    return out;
}

// The part of the page between the drawing's opening and closing tags.
std::string Svg(const std::string& page)
{
    const size_t start = page.find("<svg"), end = page.find("</svg>");
    return start == std::string::npos || end == std::string::npos ? "" : page.substr(start, end + 6 - start);
}
} // namespace

TEST(ChainOutputs, TextHasAShortSectionBeforeTheFindings)
{
    const std::string out = Report("", fixtures::SampleBundle());
    const std::string section =
        "\nBoot chain (BCD00000000.reg)\n"
        "  Boot manager       {9dea862c-5cdd-4e70-acc1-f32b344d4795}, disk 0 (MBR 0x5A3C9E01), partition at 1 MiB\n"
        "  Current loader     <- no default in the boot manager: effect unknown; {4f2c1a8e-7b3d-11ef-a1c4-0021cc6b2e10} \"Windows 10\", "
        "disk 0 (MBR 0x5A3C9E01), partition at 1 MiB; chosen because it is the only Windows loader that is not a recovery loader\n"
        "  Recovery sequence  <- recovery enabled; {4f2c1a8f-7b3d-11ef-a1c4-0021cc6b2e10}\n"
        "  Recovery loader    <- first entry; {4f2c1a8f-7b3d-11ef-a1c4-0021cc6b2e10} \"Windows Recovery Environment\"\n"
        "  Recovery image     <- ramdisk; \\Recovery\\WindowsRE\\Winre.wim, disk 0 (MBR 0x5A3C9E01), partition at 1 MiB; "
        "the collector found C:\\Recovery\\WindowsRE\\WinRE.wim\n"
        "  The chain holds as far as the archive shows; not known: current loader (no default in the boot manager)\n"
        "  Disk 0: SAMPLE DISK 0, MBR 0x5A3C9E01, 60 GiB, 3 partitions listed, status OK\n"
        "    at 1 MiB (size unknown): Boot manager, Windows, Recovery image\n"
        "\nFindings (";
    EXPECT_NE(std::string::npos, out.find(section)) << out;
}

TEST(ChainOutputs, TextMarksABreakWithTheFindingBehindIt)
{
    const std::string out = Report("", chain_bundles::Broken());
    EXPECT_NE(std::string::npos, out.find("  Recovery sequence  <- BROKEN (recovery disabled): Recovery is disabled for the running system's "
                                          "boot loader [boot.recovery-disabled]; {4f2c1a8f"))
        << out;
    EXPECT_NE(std::string::npos, out.find("  Recovery image     <- ramdisk; IN DOUBT: The recovery loader's image lies at offset 70 GiB, beyond "
                                          "the end of disk 0 [disks.recovery-partition-outside-disk]; \\Recovery"))
        << out;
    EXPECT_NE(std::string::npos, out.find("    at 70 GiB (size unknown): Recovery image\n")) << out;
}

TEST(ChainOutputs, JsonAddsTheChainAfterTheFieldsItHadAlready)
{
    const Json json = Json::parse(Report("--json", fixtures::SampleBundle()));
    std::vector<std::string> keys;
    for (const auto& item : json.items())
        keys.push_back(item.key());
    EXPECT_EQ((std::vector<std::string>{"archive", "run", "machine", "files", "findings", "boot_chain"}), keys);
    const Json& chain = json["boot_chain"];
    EXPECT_EQ("BCD00000000.reg", chain["source"]);
    ASSERT_EQ(5u, chain["steps"].size());
    EXPECT_EQ("boot-manager", chain["steps"][0]["step"]);
    EXPECT_FALSE(chain["steps"][0].contains("link")) << "nothing leads to the boot manager";
    const Json& sequence = chain["steps"][2];
    EXPECT_EQ("recovery-sequence", sequence["step"]);
    EXPECT_EQ("ok", sequence["state"]);
    EXPECT_EQ((Json{{"state", "ok"}, {"text", "recovery enabled"}, {"problem", ""}, {"finding", ""}}), sequence["link"]);
    EXPECT_EQ("\\Recovery\\WindowsRE\\Winre.wim", chain["steps"][4]["id"]);
    const Json& disk = chain["disks"].at(0);
    EXPECT_EQ(64424509440u, disk["size"]);
    EXPECT_EQ("0x5A3C9E01", disk["identity"]);
    EXPECT_EQ((Json{{"offset", 1048576}, {"guid", ""}, {"name", ""}, {"roles", {"boot-manager", "windows", "recovery-image"}}}),
              disk["partitions"].at(0));
}

TEST(ChainOutputs, JsonSaysUnknownWithNull)
{
    fixtures::Bundle bundle = fixtures::SampleBundle();
    bundle.Remove("BCD00000000.reg");
    const Json chain = Json::parse(Report("--json", bundle))["boot_chain"];
    EXPECT_EQ(nullptr, chain["unplaced_partitions"].at(0)["offset"]) << "bcdedit gives no offset";
    EXPECT_EQ("C:", chain["unplaced_partitions"].at(0)["name"]);
    fixtures::Bundle other = fixtures::SampleBundle();
    other.Set("wmic_disks.log", fixtures::CollectorSaves(fixtures::WmicDisksOutput(fixtures::Speech::Utf8, 0x12345678)));
    const Json disks = Json::parse(Report("--json", other))["boot_chain"]["disks"];
    ASSERT_EQ(2u, disks.size());
    EXPECT_EQ(false, disks[1]["listed"]);
    EXPECT_EQ(nullptr, disks[1]["size"]) << "a disk that only the store names has no known size";
}

TEST(ChainOutputs, JsonStaysValidWhateverBytesTheArchiveHolds)
{
    fixtures::Bundle bundle = fixtures::SampleBundle();
    bundle.Set("setuperr.log", std::string("2024-03-14 09:12:44, Error  CBS  Failed \xFF\xFE\xC3 in \x01 step\r\n"));
    bundle.Set("mpdiag.log", std::string("09:00:00 ! Item not copied: C:\\Logs\\\xE9t\xE9.log\r\n"));
    const std::string out = Report("--json", bundle);
    EXPECT_TRUE(Json::accept(out)) << out;
}

TEST(ChainOutputs, PageDrawsTheChainAsInlineSvgThatRefersToNothing)
{
    std::string page;
    Report("", fixtures::SampleBundle(), &page);
    const std::string svg = Svg(page);
    ASSERT_FALSE(svg.empty()) << page;
    EXPECT_NE(std::string::npos, svg.find("role=\"img\" aria-labelledby=\"chain-title chain-desc\"")) << svg;
    EXPECT_NE(std::string::npos, svg.find("<desc id=\"chain-desc\">The chain holds as far as the archive shows")) << svg;
    for (const char* text : {">Boot manager<", ">Current loader<", ">Recovery sequence<", ">Recovery loader<", ">Recovery image<",
                             ">{4f2c1a8e-7b3d-11ef-a1c4-0021cc6b2e10}<", ">\\Recovery\\WindowsRE\\Winre.wim<",
                             ">Disk 0 \xC2\xB7 MBR 0x5A3C9E01 \xC2\xB7 60 GiB<", ">extent unknown<", ">at 1 MiB \xE2\x80\x93<tspan"})
        EXPECT_NE(std::string::npos, svg.find(text)) << text;
    for (const char* outside : {"<script", "href", "src=", "url(", "@import", "http:", "https:", "<image", "<foreignObject"})
        EXPECT_EQ(std::string::npos, page.find(outside)) << outside;
    EXPECT_NE(std::string::npos, page.find("Content-Security-Policy\" content=\"default-src 'none'")) << page;
}

TEST(ChainOutputs, PageEscapesWhatTheStoreSaysInsideTheDrawing)
{
    const std::string objects = "HKEY_LOCAL_MACHINE\\BCD00000000\\Objects\\";
    fixtures::RegExport store = fixtures::SampleBootStore();
    store.Key(objects + fixtures::kLoader + "\\Elements\\12000004").String("Element", "</text><script>alert(1)</script>&");
    std::string page;
    Report("", WithBootStore(fixtures::SampleBundle(), store), &page);
    EXPECT_EQ(std::string::npos, page.find("<script>")) << page;
    EXPECT_NE(std::string::npos, Svg(page).find("&quot;&lt;/text&gt;&lt;script&gt;alert(1)&lt;/script&gt;&amp;&quot;")) << Svg(page);
}

TEST(ChainOutputs, PageMarksBreaksAndDrawsNoExtentItDoesNotKnow)
{
    std::string page;
    Report("", chain_bundles::Broken(), &page);
    const std::string svg = Svg(page);
    EXPECT_NE(std::string::npos, svg.find(">BROKEN: recovery disabled<")) << svg;
    EXPECT_NE(std::string::npos, svg.find(">IN DOUBT<")) << svg;
    EXPECT_NE(std::string::npos, svg.find(">at 70 GiB (beyond the disk&#39;s end) \xE2\x80\x93<tspan")) << svg;
    EXPECT_NE(std::string::npos, page.find("<figcaption>The chain breaks on the way to the recovery sequence")) << page;
    // A disk of unknown size is hatched whole and says so: no partition is put anywhere on it.
    fixtures::Bundle bundle = fixtures::SampleBundle();
    bundle.Set("wmic_disks.log", fixtures::CollectorSaves(fixtures::WmicDisksOutput(fixtures::Speech::Utf8, 0x12345678)));
    Report("", bundle, &page);
    EXPECT_NE(std::string::npos, Svg(page).find(">size unknown: not to scale<")) << Svg(page);
    EXPECT_NE(std::string::npos, Svg(page).find(">MBR disk, not listed \xC2\xB7 size unknown<")) << Svg(page);
    EXPECT_NE(std::string::npos, Svg(page).find(">at 1 MiB \xE2\x80\x93<tspan")) << Svg(page);
}
