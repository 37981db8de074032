// Many archives at once, as a support desk receives them: each reported in turn, JSON Lines,
// one summary line each, a bad archive named and skipped, one page each into a folder.
#include "fixtures/support.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <sys/stat.h>

using namespace testing_support;
using Json = nlohmann::json;

namespace
{
std::vector<std::string> Lines(const std::string& text)
{
    std::vector<std::string> lines;
    for (size_t start = 0, end; start < text.size(); start = end + 1)
    {
        end = text.find('\n', start);
        if (end == std::string::npos)
            end = text.size();
        lines.push_back(text.substr(start, end - start));
    }
    return lines;
}

// Two case folders, each with its mpdiag.zip: the sample machine, and the same with recovery disabled.
struct Cases
{
    std::string folder = fixtures::TempDir();
    std::string quiet, broken;

    Cases()
    {
        mkdir((folder + "/4711").c_str(), 0700);
        mkdir((folder + "/4712").c_str(), 0700);
        quiet = fixtures::SampleBundle().Write(folder + "/4711/mpdiag.zip");
        broken = WithBootStore(fixtures::SampleBundle(), fixtures::SampleBootStore(fixtures::kSystemOffset, false)).Write(folder + "/4712/mpdiag.zip");
    }
    std::string NotAZip() const
    {
        const std::string path = folder + "/notes.zip";
        fixtures::WriteFile(path, "a text file\n");
        return path;
    }
};
} // namespace

TEST(Batch, ReportsEachArchiveInTurnAsItWouldAlone)
{
    const Cases cases;
    std::string both, first, second;
    ASSERT_EQ(0, RunReport(cases.quiet + " " + cases.broken, both));
    ASSERT_EQ(0, RunReport(cases.quiet, first));
    ASSERT_EQ(0, RunReport(cases.broken, second));
    EXPECT_EQ(first + "\n" + second, both);
}

TEST(Batch, JsonWritesOneDocumentPerLineNamingItsArchive)
{
    const Cases cases;
    std::string out;
    ASSERT_EQ(0, RunReport("--json " + cases.quiet + " " + cases.broken, out));
    const std::vector<std::string> lines = Lines(out);
    ASSERT_EQ(2u, lines.size()) << out;
    EXPECT_EQ(cases.quiet, Json::parse(lines[0])["archive"]);
    EXPECT_EQ(cases.broken, Json::parse(lines[1])["archive"]);
    EXPECT_EQ("broken", Json::parse(lines[1])["boot_chain"]["steps"][2]["link"]["state"]);
    std::string alone;
    ASSERT_EQ(0, RunReport("--json " + cases.quiet, alone));
    EXPECT_EQ(Json::parse(alone), Json::parse(lines[0])) << "the same document, on one line";
    EXPECT_GT(Lines(alone).size(), 10u) << "one archive alone is indented, as before";
}

TEST(Batch, SummaryIsOneLinePerArchive)
{
    const Cases cases;
    std::string out;
    ASSERT_EQ(0, RunReport("--summary " + cases.quiet + " " + cases.broken, out));
    const std::string system = "Microsoft Windows 10 Pro, version 10.0.19045 (build 19045), x64";
    EXPECT_EQ(cases.quiet + "\tSAMPLE-PC\t" + system + "\t0 errors\t2 warnings\tdrivers.no-driver-on-machine\n" +
                  cases.broken + "\tSAMPLE-PC\t" + system + "\t1 error\t2 warnings\tboot.recovery-disabled\n",
              out);
    ASSERT_EQ(0, RunReport("--summary --json " + cases.quiet + " " + cases.broken, out));
    const std::vector<std::string> lines = Lines(out);
    ASSERT_EQ(2u, lines.size()) << out;
    EXPECT_EQ((Json{{"archive", cases.broken}, {"host", "SAMPLE-PC"}, {"system", system}, {"errors", 1}, {"warnings", 2},
                    {"notes", Json::parse(lines[1])["notes"]}, {"most_severe", "boot.recovery-disabled"}, {"most_severe_severity", "error"}}),
              Json::parse(lines[1]));
}

TEST(Batch, ABadArchiveIsNamedAndSkippedAndTheStatusSaysSo)
{
    const Cases cases;
    fixtures::Bundle other;
    other.Set("readme.txt", "hello\r\n");
    const std::string foreign = other.Write(cases.folder + "/foreign.zip");
    std::string out, err;
    EXPECT_EQ(2, RunReport("--summary " + cases.quiet + " " + cases.NotAZip() + " " + foreign + " " + cases.broken, out, &err));
    const std::vector<std::string> lines = Lines(out);
    ASSERT_EQ(2u, lines.size()) << out;
    EXPECT_EQ(0u, lines[0].find(cases.quiet + "\t"));
    EXPECT_EQ(0u, lines[1].find(cases.broken + "\t"));
    EXPECT_NE(std::string::npos, err.find(cases.folder + "/notes.zip cannot be read as a zip archive")) << err;
    EXPECT_NE(std::string::npos, err.find(foreign + " is a zip archive, but not one that mpdiag.exe made")) << err;
}

TEST(Batch, HtmlDirWritesOnePagePerArchiveNamedApart)
{
    const Cases cases;
    const std::string pages = fixtures::TempDir() + "/pages";
    const std::string single = fixtures::SampleBundle().Write(cases.folder + "/case-4713.zip");
    std::string out, err;
    ASSERT_EQ(0, RunReport("--summary --html-dir " + pages + " " + cases.quiet + " " + cases.broken + " " + single, out, &err)) << err;
    std::vector<std::string> names = FolderEntries(pages);
    std::sort(names.begin(), names.end());
    EXPECT_EQ((std::vector<std::string>{"4711_mpdiag.html", "4712_mpdiag.html", "case-4713.html"}), names);
    EXPECT_NE(std::string::npos, fixtures::ReadFile(pages + "/4712_mpdiag.html").find(cases.broken)) << "each page is its archive's";
    EXPECT_NE(std::string::npos, fixtures::ReadFile(pages + "/4712_mpdiag.html").find(">BROKEN: recovery disabled<"));
}

TEST(Batch, APageThatCannotBeWrittenExitsOneAfterEveryReport)
{
    const Cases cases;
    std::string out, err;
    EXPECT_EQ(1, RunReport("--summary --html-dir /nonexistent-folder/pages " + cases.quiet + " " + cases.broken, out, &err));
    EXPECT_EQ(2u, Lines(out).size()) << out;
    EXPECT_NE(std::string::npos, err.find("cannot write /nonexistent-folder/pages/4711_mpdiag.html")) << err;
}
