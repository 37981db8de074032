// The command line as a command-line tool's users expect it: --help, --version, and mistakes
// named with exit status 2.
#include "fixtures/support.h"

#include <gtest/gtest.h>

using testing_support::RunReport;
using testing_support::SampleZip;

TEST(CommandLine, HelpListsEveryOptionAndTheExitStatuses)
{
    std::string out, err;
    ASSERT_EQ(0, RunReport("--help", out, &err)) << err;
    for (const char* expected : {"Usage: mpdiag-report [OPTIONS] ARCHIVE...", "-h,--help", "--json", "--summary", "--html FILE",
                                 "--html-dir FOLDER", "--pci-ids FILE=/usr/share/misc/pci.ids", "--version", "Exit status: 0",
                                 "See mpdiag-report(1)"})
        EXPECT_NE(std::string::npos, out.find(expected)) << expected << " in\n" << out;
    EXPECT_EQ("", err);
}

TEST(CommandLine, VersionIsTheProjectsVersion)
{
    std::string out;
    EXPECT_EQ(0, RunReport("--version", out));
    EXPECT_EQ("mpdiag-report " MPDIAG_REPORT_VERSION "\n", out);
}

TEST(CommandLine, MistakesAreNamedAndExitTwo)
{
    const struct
    {
        std::string arguments;
        std::string message;
    } cases[] = {
        {"", "ARCHIVE is required"},
        {"--frobnicate " + SampleZip(), "The following argument was not expected: --frobnicate"},
        {SampleZip() + " --html", "--html: 1 required FILE missing"},
        {SampleZip() + " --pci-ids", "--pci-ids: 1 required FILE missing"},
        {"--html a.html --html-dir pages " + SampleZip(), "--html excludes --html-dir"},
        {"--html a.html " + SampleZip() + " " + SampleZip(), "--html writes the page of one archive; for several archives use --html-dir"},
    };
    for (const auto& each : cases)
    {
        std::string out, err;
        EXPECT_EQ(2, RunReport(each.arguments, out, &err)) << each.arguments;
        EXPECT_NE(std::string::npos, err.find(each.message)) << each.arguments << ": " << err;
        EXPECT_NE(std::string::npos, err.find("Run with --help for more information.")) << err;
        EXPECT_EQ("", out) << each.arguments;
    }
}
