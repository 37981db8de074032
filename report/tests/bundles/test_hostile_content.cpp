// Long or odd content inside otherwise valid files, as a broken machine or an attacker writes it:
// each report completes, names the damaged file in a note, and keeps what the other files say.
#include "facts/bundle.h"
#include "fixtures/support.h"

#include <gtest/gtest.h>

#include <stdexcept>

using namespace report;
using namespace testing_support;

namespace
{
const char kCut[] = "1 line longer than 16384 bytes was cut there";

// Each finding of the sample machine's report, by id and subject, is in `report` too.
void ExpectTheSampleFindings(const Report& report)
{
    static const Report sample = AnalyzeBundle(fixtures::SampleBundle());
    for (const Finding& finding : sample.findings)
        EXPECT_EQ(1u, CountFindings(report, finding.id, finding.subject)) << finding.id << " " << finding.subject << " among\n"
                                                                          << Summary(report);
}

std::string EmptyLines() { return std::string(64u << 20, '\n'); }
} // namespace

TEST(HostileContent, ALineOfThirtyThousandCharactersInTheSetupLogsIsCut)
{
    const std::string line = "2024-03-14 09:12:44, Error                 CSI    " + std::string(30000, 'x') + "\r\n";
    fixtures::Bundle bundle = fixtures::SampleBundle();
    bundle.Set("setupact.log", line).Set("setuperr.log", line);
    const Report report = AnalyzeBundle(bundle);
    EXPECT_TRUE(HasNote(report, "setupact.log", kCut));
    EXPECT_TRUE(HasNote(report, "setuperr.log", kCut));
    EXPECT_EQ(2u, CountFindings(report, "logs.setup-errors")) << "the line, cut, is still an error line";
    ExpectTheSampleFindings(report);
}

TEST(HostileContent, ALineOfThirtyThousandCharactersInTheProductLogsIsCut)
{
    fixtures::Bundle bundle = fixtures::SampleBundle();
    bundle.Set("mp.log", "2024-05-02 10:00:01 ERROR " + std::string(30000, '1') + "\r\n")
        .Set("mpb.log", "2024" + std::string(16000, '1') + " failed " + std::string(14000, 'x') + "\r\n");
    const Report report = AnalyzeBundle(bundle);
    EXPECT_TRUE(HasNote(report, "mp.log", kCut));
    EXPECT_TRUE(HasNote(report, "mpb.log", kCut));
    EXPECT_EQ(2u, CountFindings(report, "logs.product-errors"));
    ExpectTheSampleFindings(report);
}

TEST(HostileContent, ALineOfThirtyThousandCharactersInTheToolsOwnLogIsCut)
{
    // With the registry files missing, the report looks for the working folder in the log's records.
    fixtures::Bundle bundle = fixtures::SampleBundle();
    bundle.Remove("enum.reg").Remove("services.reg").Remove("BCD00000000.reg")
        .Set("mpdiag.log", "09:00:00 ! Item not copied: C:\\" + std::string(30000, 'a') + "\\MPDiag1a2b\r\n");
    const Report report = AnalyzeBundle(bundle);
    EXPECT_TRUE(HasNote(report, "mpdiag.log", kCut));
    EXPECT_EQ(1u, CountFindings(report, "collection.log-errors"));
    EXPECT_EQ(4u, CountFindings(report, "collection.missing-file")) << Summary(report);
    EXPECT_EQ(1u, CountFindings(report, "boot.recovery-loader")) << "bcdedit stands in for the export";
}

TEST(HostileContent, AnOsVersionOfThirtyThousandCharactersInSystemInfoIsCut)
{
    fixtures::Bundle bundle = fixtures::SampleBundle();
    bundle.Set("systeminfo.log", fixtures::CollectorSaves("Host Name:                 SAMPLE-PC\r\n"
                                                          "OS Version:                10.0." + std::string(30000, '1') + "\r\n"));
    const Report report = AnalyzeBundle(bundle);
    EXPECT_TRUE(HasNote(report, "systeminfo.log", kCut));
    EXPECT_EQ("SAMPLE-PC", report.machine.hostName);
    EXPECT_EQ(1u, CountFindings(report, "boot.recovery-loader"));
}

TEST(HostileContent, AnOsVersionOfTwentyThousandDigitsInSystemInfoIsCut)
{
    fixtures::Bundle bundle = fixtures::SampleBundle();
    bundle.Set("systeminfo.log", fixtures::CollectorSaves("Host Name:                 SAMPLE-PC\r\n"
                                                          "OS Version:                " + std::string(20000, '1') + "\r\n"));
    const Report report = AnalyzeBundle(bundle);
    EXPECT_TRUE(HasNote(report, "systeminfo.log", kCut)) << Summary(report);
    EXPECT_EQ("SAMPLE-PC", report.machine.hostName);
    ExpectTheSampleFindings(report);
}

TEST(HostileContent, AWmicTableOfTwoThousandColumnsAndRowsKeepsItsBoundedRows)
{
    std::string header, row;
    for (int i = 0; i < 2000; ++i)
    {
        char cell[32];
        snprintf(cell, sizeof cell, "Column%05d  ", i);
        header += cell;
        snprintf(cell, sizeof cell, "value%06d  ", i);
        row += cell;
    }
    std::string table = header + "\r\n";
    for (int i = 0; i < 2000; ++i)
        table += row + "\r\n";
    fixtures::Bundle bundle = fixtures::SampleBundle();
    bundle.Set("wmic_disks.log", fixtures::CollectorSaves(table));
    const Report report = AnalyzeBundle(bundle);
    EXPECT_TRUE(HasNote(report, "wmic_disks.log", "2001 lines longer than 16384 bytes were cut there")) << Summary(report);
    EXPECT_TRUE(HasNote(report, "wmic_disks.log", "only its first 1024 rows were read")) << Summary(report);
    EXPECT_EQ(1u, CountFindings(report, "boot.recovery-loader"));
}

TEST(HostileContent, AMillionContinuationLinesInARegistryExportAreLeftOut)
{
    std::string store = fixtures::SampleBootStore().Text() + "\r\n[HKEY_LOCAL_MACHINE\\BCD00000000\\Description]\r\n\"Long\"=hex:00,\\\r\n";
    for (int i = 0; i < 1000000; ++i)
        store += "  00,\\\r\n";
    store += "  00\r\n";
    fixtures::Bundle bundle = fixtures::SampleBundle();
    bundle.Set("BCD00000000.reg", fixtures::Utf16Le(store));
    const Report report = AnalyzeBundle(bundle);
    EXPECT_TRUE(HasNote(report, "BCD00000000.reg", "1 value longer than 1048576 bytes of text left out"));
    EXPECT_TRUE(HasNote(report, "BCD00000000.reg", "holds more than 1000000 lines"));
    ExpectTheSampleFindings(report);
}

TEST(HostileContent, SixtyFourMebibytesOfEmptyLinesInOneEntryAreLeftOutPastTheBound)
{
    fixtures::Bundle bundle = fixtures::SampleBundle();
    bundle.Set("setupact.log", EmptyLines());
    const Report report = AnalyzeBundle(bundle);
    EXPECT_TRUE(HasNote(report, "setupact.log", "holds more than 1000000 lines: those after them were left out, unread"));
    ExpectTheSampleFindings(report);
}

TEST(HostileContent, TenEntriesOfSixtyFourMebibytesOfEmptyLinesGiveAReport)
{
    // Ten of the files that the report reads as text (bcdedit_all.log only stands in for the
    // store's registry export, which is whole here).
    const char* const names[] = {"setupact.log", "setuperr.log", "mp.log", "mpb.log", "mpdiag.log",
                                 "systeminfo.log", "wmic_disks.log", "devices.txt", "enum.reg", "recovery_path.log"};
    fixtures::Bundle bundle = fixtures::SampleBundle();
    for (const char* name : names)
        bundle.Set(name, EmptyLines());
    std::string out, err;
    EXPECT_EQ(0, RunReport(bundle.Write(fixtures::TempDir() + "/ten.zip"), out, &err)) << err;
    for (const char* name : names)
        EXPECT_NE(std::string::npos, out.find(std::string(name) + ": holds more than 1000000 lines")) << name << "\n" << out;
    EXPECT_NE(std::string::npos, out.find("[boot.recovery-loader]")) << "the registry export of the store is whole";
}

TEST(Isolation, AStepThatThrowsBecomesANoteOnItsEntryAndTheReportGoesOn)
{
    std::string error;
    const auto archive = Archive::Open(SampleZip(), error);
    ASSERT_NE(nullptr, archive) << error;
    Bundle bundle(*archive);
    EXPECT_FALSE(bundle.Isolated("SYSTEMINFO.LOG", kReaderStopped, []() -> bool { throw std::out_of_range("stoul"); }));
    EXPECT_FALSE(bundle.Isolated("absent.log", "could not be checked", []() -> bool { throw 42; }));
    EXPECT_TRUE(bundle.Isolated("mpdiag.log", kReaderStopped, [] { return true; }));
    ASSERT_EQ(2u, bundle.Notes().size());
    EXPECT_EQ("systeminfo.log", bundle.Notes()[0].entry) << "the entry's stored name";
    EXPECT_EQ("could not be read: its reader stopped (stoul); left out of the report", bundle.Notes()[0].text);
    EXPECT_EQ("absent.log", bundle.Notes()[1].entry);
    EXPECT_EQ("could not be checked (an unknown failure); left out of the report", bundle.Notes()[1].text);
}

TEST(HostileContent, EntriesPastTheArchivesBoundAreLeftOutAndNamed)
{
    fixtures::Bundle bundle = fixtures::SampleBundle();
    for (int i = 0; i < 5; ++i)
        bundle.Set("zz/" + std::to_string(i) + ".log", "x");
    const std::string path = bundle.Write(fixtures::TempDir() + "/many.zip");
    const size_t bound = bundle.files.size() - 5;
    std::string error;
    const auto archive = Archive::Open(path, error, bound);
    ASSERT_NE(nullptr, archive) << error;
    Options options;
    options.pciIds = PciIdsFile();
    const Report report = Analyze(*archive, path, options);
    EXPECT_TRUE(HasNote(report, "many.zip", "lists 5 entries after the first " + std::to_string(bound) +
                                                " that this report looks at: they were left out"));
    ExpectTheSampleFindings(report);
}
