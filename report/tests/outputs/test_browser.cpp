// The page in a real browser (headless Chromium, through browser_probe.py): what a person sees of
// the sample machine's page, a broken chain's, the real store's and the real collector's (where
// they are there): the drawing present, of a sensible size, its text inside it and apart, readable
// on screen and on paper; every finding shown; no request leaving the page.
#include "outputs/chain_bundles.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <map>
#include <unistd.h>

using namespace testing_support;
using Json = nlohmann::json;

namespace
{
const std::string kProbe = std::string(REPORT_SOURCE_DIR) + "/tests/outputs/browser_probe.py";
const std::string kCollectorArchive = std::string(COLLECTOR_BUILD_DIR) + "/e2e/extended/tool/mpdiag.zip";

struct Page
{
    std::string file;
    Json report; // the same archive's JSON report
    Json seen;   // what the browser showed
};

// Runs the probe on pages; their results by file, or the probe's complaint in `problem`.
std::map<std::string, Json> Probe(const std::vector<std::string>& files, std::string& problem)
{
    const std::string errors = fixtures::TempDir() + "/probe.err";
    std::string command = "python3 '" + kProbe + "'";
    for (const std::string& file : files)
        command += " '" + file + "'";
    int status = 0;
    const std::string out = CommandOutput(command + " 2>'" + errors + "'", status);
    std::map<std::string, Json> results;
    for (size_t start = 0, end; (end = out.find('\n', start)) != std::string::npos; start = end + 1)
    {
        const Json result = Json::parse(out.substr(start, end - start));
        results[result["page"]] = result;
    }
    if (status != 0)
        problem = "browser_probe.py failed (Debian's chromium is installed by scripts/setup.sh): " + fixtures::ReadFile(errors);
    return results;
}

Page Render(const std::string& name, const std::string& archive)
{
    Page page;
    page.file = fixtures::TempDir() + "/" + name + ".html";
    std::string out, err;
    EXPECT_EQ(0, RunReport("--json --html " + page.file + " " + archive, out, &err)) << err;
    page.report = Json::parse(out);
    return page;
}

// The pages, rendered and probed once for all tests: one browser for them all.
class Browser : public testing::Test
{
protected:
    static std::map<std::string, Page> pages;
    static std::string problem;

    static void SetUpTestSuite()
    {
        pages["sample"] = Render("sample", fixtures::ExtendedSampleBundle(fixtures::Speech::Field).Write(fixtures::TempDir() + "/mpdiag.zip"));
        pages["broken"] = Render("broken", chain_bundles::Broken().Write(fixtures::TempDir() + "/mpdiag.zip"));
        fixtures::Bundle real;
        if (chain_bundles::AroundRealStore(real))
            pages["real-store"] = Render("real-store", real.Write(fixtures::TempDir() + "/mpdiag.zip"));
        if (access(kCollectorArchive.c_str(), R_OK) == 0)
            pages["collector"] = Render("collector", kCollectorArchive);
        std::vector<std::string> files;
        for (const auto& page : pages)
            files.push_back(page.second.file);
        const std::map<std::string, Json> seen = Probe(files, problem);
        for (auto& page : pages)
            page.second.seen = seen.count(page.second.file) ? seen.at(page.second.file) : Json();
    }

    // What every page must show a person.
    static void ExpectSeenAsItShouldBe(const std::string& name)
    {
        ASSERT_TRUE(problem.empty()) << problem;
        const Page& page = pages.at(name);
        const Json& seen = page.seen;
        ASSERT_TRUE(seen.is_object()) << name << ": not probed";
        EXPECT_TRUE(seen["loaded"].get<bool>());
        EXPECT_EQ(Json::array(), seen["requests"]) << "no request leaves the page";
        EXPECT_EQ(Json::array(), seen["console"]) << "no error, no blocked fetch";
        EXPECT_EQ(0, seen["scripts"]);
        for (const char* media : {"screen", "print"})
        {
            const Json& drawing = seen[media];
            ASSERT_TRUE(drawing.is_object()) << media << ": no drawing";
            EXPECT_EQ(Json::array(), drawing["outside"]) << media << ": text outside the drawing";
            EXPECT_EQ(Json::array(), drawing["overlaps"]) << media << ": texts over each other";
            EXPECT_EQ(Json::array(), drawing["spill"]) << media << ": text out of its box";
        }
        const Json& screen = seen["screen"];
        EXPECT_GE(screen["width"].get<double>(), 600) << screen.dump();
        EXPECT_LE(screen["width"].get<double>(), 1000) << screen.dump();
        EXPECT_GE(screen["height"].get<double>(), 300) << screen.dump();
        EXPECT_LE(screen["height"].get<double>(), 1600) << screen.dump();
        EXPECT_GE(screen["smallest"].get<double>(), 11) << "px on screen";
        EXPECT_GE(seen["print"]["smallest"].get<double>(), 8) << "px on an A4 page: 6 pt";
        const std::string text = seen["text"];
        EXPECT_NE(std::string::npos, text.find(page.report["boot_chain"]["verdict"].get<std::string>())) << "the verdict under the drawing";
        ASSERT_EQ(page.report["findings"].size(), seen["findings"].size());
        for (size_t i = 0; i < seen["findings"].size(); ++i)
        {
            EXPECT_TRUE(seen["findings"][i]["shown"].get<bool>()) << i;
            const std::string title = page.report["findings"][i]["title"];
            EXPECT_NE(std::string::npos, seen["findings"][i]["first"].get<std::string>().find(title)) << title;
        }
    }

    // How many of the drawing's texts hold that text.
    static size_t Drawn(const std::string& name, const std::string& text)
    {
        size_t count = 0;
        for (const Json& each : pages.at(name).seen["screen"]["texts"])
            count += each.get<std::string>().find(text) != std::string::npos;
        return count;
    }
};

std::map<std::string, Page> Browser::pages;
std::string Browser::problem;
} // namespace

TEST_F(Browser, SampleMachinesPageShowsTheChainTheDiskAndEveryFinding)
{
    ExpectSeenAsItShouldBe("sample");
    for (const char* text : {"Boot manager", "{4f2c1a8e-7b3d-11ef-a1c4-0021cc6b2e10}", "\\Recovery\\WindowsRE\\Winre.wim",
                             "Disk 0 \xC2\xB7 MBR 0x5A3C9E01 \xC2\xB7 60 GiB", "extent unknown"})
        EXPECT_TRUE(Drawn("sample", text)) << text;
    EXPECT_EQ(1u, Drawn("sample", "BROKEN")) << "only the legend's";
    EXPECT_EQ(1u, Drawn("sample", "IN DOUBT")) << "only the legend's";
}

TEST_F(Browser, BrokenChainsPageMarksTheBreakAndTheDoubt)
{
    ExpectSeenAsItShouldBe("broken");
    for (const char* text : {"BROKEN: recovery disabled", "Recovery is disabled for the running system", "IN DOUBT", "at 70 GiB (beyond the disk's end) \xE2\x80\x93"})
        EXPECT_TRUE(Drawn("broken", text)) << text;
}

TEST_F(Browser, RealStoresPageShowsItsLoadersAndTheImageOnTheirGptDisk)
{
    if (!pages.count("real-store"))
        GTEST_SKIP() << chain_bundles::kRealStoreSkip;
    ExpectSeenAsItShouldBe("real-store");
    for (const char* text : {"{733b62e5-f608-11eb-825c-c112f60133ab}", "\"Windows 10\"", "GPT disk, not listed \xC2\xB7 size unknown", "{0b2394a9-095e-487d-8d48-719ecd4d78ca}",
                             "{8e0f2c38-e4ea-47ba-b7fc-9d8c74dccf0b}", "{6cdfcd69-de75-4490-8f99-5a84bf264917}",
                             "\\Recovery\\WindowsRE\\Winre.wim"})
        EXPECT_TRUE(Drawn("real-store", text)) << text;
}

TEST_F(Browser, RealCollectorsPageShowsItsMachine)
{
    if (!pages.count("collector"))
        GTEST_SKIP() << kCollectorArchive << " is not there (the collector's end-to-end tests make it)";
    ExpectSeenAsItShouldBe("collector");
    EXPECT_NE(std::string::npos, pages.at("collector").seen["text"].get<std::string>().find("SAMPLE-PC"));
}

// The probe's own checks can fail: a page that fetches, hides a finding and draws text outside its
// drawing and over other text is seen as such.
TEST(BrowserProbe, SeesARequestAHiddenFindingAndMisplacedText)
{
    const std::string file = fixtures::TempDir() + "/made.html";
    fixtures::WriteFile(file, "<!DOCTYPE html><html><body><img src=\"http://127.0.0.1:9/x.png\" alt=\"\">"
                              "<div class=\"finding\" style=\"display:none\">hidden</div>"
                              "<svg class=\"chain\" viewBox=\"0 0 100 50\" width=\"200\"><text x=\"90\" y=\"20\" font-size=\"11\">far outside</text>"
                              "<text x=\"5\" y=\"40\" font-size=\"11\">one</text><text x=\"8\" y=\"40\" font-size=\"11\">two</text></svg>"
                              "</body></html>");
    std::string problem;
    const std::map<std::string, Json> seen = Probe({file}, problem);
    ASSERT_TRUE(problem.empty()) << problem;
    const Json& result = seen.at(file);
    ASSERT_EQ(1u, result["requests"].size()) << result.dump();
    EXPECT_EQ("http://127.0.0.1:9/x.png", result["requests"][0]);
    EXPECT_FALSE(result["findings"][0]["shown"].get<bool>());
    EXPECT_EQ(Json::array({"far outside"}), result["screen"]["outside"]);
    EXPECT_EQ(Json::array({Json::array({"one", "two"})}), result["screen"]["overlaps"]);
}
