// What the collection missed: each missing file, and why.
#include "fixtures/support.h"

#include <gtest/gtest.h>

using namespace report;
using namespace testing_support;

TEST(CollectionMissingFile, TheRegistryFilesMissingTogetherPointAtASpacedTemporaryFolder)
{
    fixtures::Bundle bundle = fixtures::SampleBundle();
    bundle.Remove("enum.reg").Remove("services.reg").Remove("BCD00000000.reg")
        .Set("mpdiag.log", "09:00:00 ! Item not copied: C:\\Users\\Jo Smith\\AppData\\Local\\Temp\\MPDiag1a2b\\Logs\\CBS\\CBS.log\r\n");
    const Report report = AnalyzeBundle(bundle);
    EXPECT_EQ(4u, CountFindings(report, "collection.missing-file")) << Summary(report);
    const Finding* finding = nullptr;
    for (const Finding& each : report.findings)
        if (each.subject == "BCD00000000.reg")
            finding = &each;
    ASSERT_NE(nullptr, finding);
    EXPECT_EQ(Severity::Warning, finding->severity);
    EXPECT_NE(std::string::npos, finding->title.find("a space in its path breaks them")) << finding->title;
    EXPECT_EQ("BCD00000000.reg:0: not in the archive\n"
              "mpdiag.log:1: working folder: C:\\Users\\Jo Smith\\AppData\\Local\\Temp\\MPDiag1a2b (holds a space)\n",
              EvidenceText(*finding));
    EXPECT_EQ(1u, CountFindings(report, "collection.log-errors"));
    EXPECT_EQ(1u, CountFindings(report, "boot.recovery-loader")) << "bcdedit stands in for the export";
}

TEST(CollectionMissingFile, DisappearsWhenTheFileIsThere)
{
    fixtures::Bundle bundle = fixtures::SampleBundle();
    EXPECT_EQ(1u, CountFindings(AnalyzeBundle(bundle), "collection.missing-file", "BCD00000000.hiv"));
    bundle.Set("BCD00000000.hiv", fixtures::Hive());
    EXPECT_EQ(0u, CountFindings(AnalyzeBundle(bundle), "collection.missing-file"));
    bundle.Remove("systeminfo.log");
    const Report report = AnalyzeBundle(bundle);
    EXPECT_EQ(Severity::Warning, Get(report, "collection.missing-file").severity);
    EXPECT_EQ("unknown", report.machine.windowsPe);
}

TEST(CollectionMissingFile, EventLogsMissingFromAnExtendedRun)
{
    fixtures::Bundle bundle = fixtures::ExtendedSampleBundle();
    EXPECT_EQ(0u, CountFindings(AnalyzeBundle(bundle), "collection.missing-file", "System32/winevt/Logs/System.evtx"));
    bundle.Remove("System32/WinEvt/Logs/System.evtx");
    EXPECT_EQ(1u, CountFindings(AnalyzeBundle(bundle), "collection.missing-file", "System32/winevt/Logs/System.evtx"));
}

TEST(CollectionMissingFile, TheWorkingFolderEndsAtItsLastMPDiagFolderAndNeverCrossesAQuote)
{
    fixtures::Bundle bundle = fixtures::SampleBundle();
    bundle.Remove("enum.reg").Remove("services.reg").Remove("BCD00000000.reg")
        .Set("mpdiag.log", "09:00:00   Copy from C:\\MPDiag99 to \"D:\\Temp Files\\MPDIAG7f\\Logs\\MPDiagAB\\x.log\" done\r\n");
    const Report report = AnalyzeBundle(bundle);
    const Finding* finding = nullptr;
    for (const Finding& each : report.findings)
        if (each.subject == "enum.reg")
            finding = &each;
    ASSERT_NE(nullptr, finding) << Summary(report);
    EXPECT_EQ("enum.reg:0: not in the archive\n"
              "mpdiag.log:1: working folder: D:\\Temp Files\\MPDIAG7f\\Logs\\MPDiagAB (holds a space)\n",
              EvidenceText(*finding))
        << "C:\\MPDiag99 is a drive's root, no folder below one";
}

// Files in unexpected encodings.
