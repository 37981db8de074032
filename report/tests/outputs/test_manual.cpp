// The manual page mpdiag-report(1): it renders cleanly, and it names every option that --help
// lists and every finding id that the checks can raise.
#include "fixtures/support.h"

#include <gtest/gtest.h>

#include <set>

using testing_support::RunReport;

namespace
{
const std::string kManual = std::string(REPORT_SOURCE_DIR) + "/packaging/mpdiag-report.1";

std::string Output(const std::string& command)
{
    int status = 0;
    const std::string out = testing_support::CommandOutput(command, status);
    EXPECT_EQ(0, status) << command;
    return out;
}

// The page as a terminal shows it, in ASCII (so "\-" is "-"), without emphasis, its lines unbroken.
std::string Rendered() { return Output("groff -man -Tascii -rLL=400n -P-cbou '" + kManual + "' 2>&1"); }

// Words of --help's option lines that are options: "--json", "-h,--help" gives "-h" and "--help".
std::set<std::string> HelpOptions(const std::string& help)
{
    std::set<std::string> options;
    for (size_t at = help.find("\n  -"); at != std::string::npos; at = help.find("\n  -", at + 1))
    {
        const size_t end = help.find_first_of(" \n=", at + 3);
        const std::string names = help.substr(at + 3, end - at - 3);
        for (size_t start = 0, comma; start < names.size(); start = comma + 1)
        {
            comma = std::min(names.find(',', start), names.size());
            options.insert(names.substr(start, comma - start));
        }
    }
    return options;
}

bool IsFindingId(const std::string& text)
{
    static const char* const families[] = {"recovery.", "drivers.", "boot.", "disks.", "logs.", "events.", "collection.", "archive."};
    for (const char* family : families)
        if (text.compare(0, std::string(family).size(), family) == 0)
            return text.size() > std::string(family).size() &&
                   text.find_first_not_of("abcdefghijklmnopqrstuvwxyz-", std::string(family).size()) == std::string::npos;
    return false;
}

// Every string literal of the checks' sources that is a finding id.
std::set<std::string> FindingIds()
{
    std::set<std::string> ids;
    const std::string folder = std::string(REPORT_SOURCE_DIR) + "/src/check";
    for (const std::string& name : testing_support::FolderEntries(folder))
    {
        const std::string source = fixtures::ReadFile(folder + "/" + name);
        for (size_t open = source.find('"'); open != std::string::npos; open = source.find('"', open + 1))
        {
            const size_t close = source.find('"', open + 1);
            if (close == std::string::npos)
                break;
            if (IsFindingId(source.substr(open + 1, close - open - 1)))
                ids.insert(source.substr(open + 1, close - open - 1));
            open = close;
        }
    }
    return ids;
}
} // namespace

TEST(Manual, RendersWithoutWarningsAndGivesTheExitStatuses)
{
    EXPECT_EQ("", Output("groff -man -Tutf8 -ww -z '" + kManual + "' 2>&1"));
    const std::string page = Rendered();
    for (const char* part : {"NAME", "SYNOPSIS", "OPTIONS", "EXIT STATUS", "FINDINGS", "FILES", "EXAMPLES", "/usr/share/misc/pci.ids"})
        EXPECT_NE(std::string::npos, page.find(part)) << part;
}

TEST(Manual, NamesEveryOptionThatHelpLists)
{
    std::string help;
    ASSERT_EQ(0, RunReport("--help", help));
    const std::set<std::string> options = HelpOptions(help);
    EXPECT_EQ((std::set<std::string>{"-h", "--help", "--json", "--summary", "--html", "--html-dir", "--pci-ids", "--version"}), options) << help;
    const std::string page = Rendered();
    for (const std::string& option : options)
        EXPECT_NE(std::string::npos, page.find(option)) << option;
}

TEST(Manual, NamesEveryFindingIdOfTheChecks)
{
    const std::set<std::string> ids = FindingIds();
    EXPECT_GE(ids.size(), 30u) << "the scan finds the ids";
    EXPECT_TRUE(ids.count("boot.recovery-disabled") && ids.count("events.bug-check"));
    const std::string page = Rendered();
    for (const std::string& id : ids)
        EXPECT_NE(std::string::npos, page.find(id)) << id << " is not in " << kManual;
}
