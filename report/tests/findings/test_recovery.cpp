// The recovery image's findings, each made to appear and to disappear.
#include "fixtures/support.h"

#include <gtest/gtest.h>

using namespace report;
using namespace testing_support;

TEST(RecoveryImageNotFound, AppearsWithoutRecoveryPathAndQuotesTheStoreWalk)
{
    fixtures::Bundle bundle = fixtures::SampleBundle();
    bundle.Remove("recovery_path.log")
        .Set("mpdiag.log", "10:00:01   System volume: \\\\.\\C:; Device Number: 2\r\n10:00:01 ! Can't get system drive\r\n");
    const Report report = AnalyzeBundle(bundle);
    const Finding& finding = Get(report, "recovery.image-not-found");
    EXPECT_EQ(Severity::Error, finding.severity);
    EXPECT_EQ("recovery_path.log:0: not in the archive\n"
              "mpdiag.log:1: System volume: \\\\.\\C:; Device Number: 2\n"
              "mpdiag.log:2: Can't get system drive\n"
              "BCD00000000.reg:" + std::to_string(finding.evidence.back().line) +
                  ": the boot configuration's recovery loader names ramdisk \\Recovery\\WindowsRE\\Winre.wim on the "
                  "partition at offset 1 MiB of MBR disk 0x5A3C9E01\n",
              EvidenceText(finding));
    EXPECT_NE(std::string::npos, finding.advice.find("could not tell which disk holds the system volume"));
    EXPECT_EQ(0u, CountFindings(report, "collection.log-errors")) << "the walk's records are the finding's evidence";
}

TEST(RecoveryImageNotFound, DisappearsWhenTheImageWasFound)
{
    EXPECT_EQ(0u, CountFindings(AnalyzeBundle(fixtures::SampleBundle()), "recovery.image-not-found"));
}

TEST(RecoveryImageNotCollected, IsANoteInANormalRunAndAWarningInAnExtendedOne)
{
    EXPECT_EQ(Severity::Info, Get(AnalyzeBundle(fixtures::SampleBundle()), "recovery.image-not-collected").severity);
    fixtures::Bundle bundle = fixtures::ExtendedSampleBundle();
    EXPECT_EQ(0u, CountFindings(AnalyzeBundle(bundle), "recovery.image-not-collected"));
    bundle.Remove("boot.wim");
    EXPECT_EQ(Severity::Warning, Get(AnalyzeBundle(bundle), "recovery.image-not-collected").severity);
}

TEST(RecoveryImage, DescribesTheImageFromItsMetadata)
{
    const Report report = AnalyzeBundle(fixtures::ExtendedSampleBundle());
    const Finding& finding = Get(report, "recovery.image");
    EXPECT_EQ("Recovery image: 1 image, Windows build 19041, x64", finding.title);
    EXPECT_EQ("extended", report.run);
}

TEST(RecoveryImageInvalid, AppearsForABootWimThatIsNoWim)
{
    fixtures::Bundle bundle = fixtures::ExtendedSampleBundle();
    bundle.Set("boot.wim", std::string(300000, 'x'));
    const Report report = AnalyzeBundle(bundle);
    const Finding& finding = Get(report, "recovery.image-invalid");
    EXPECT_EQ(Severity::Error, finding.severity);
    EXPECT_NE(std::string::npos, EvidenceText(finding).find("boot.wim:0:")) << EvidenceText(finding);
    EXPECT_EQ(0u, CountFindings(report, "recovery.image"));
}

TEST(RecoveryImageInvalid, DisappearsForARealWim)
{
    EXPECT_EQ(0u, CountFindings(AnalyzeBundle(fixtures::ExtendedSampleBundle()), "recovery.image-invalid"));
}

TEST(RecoveryImageBuildMismatch, AppearsForAnImageOfAnotherRelease)
{
    fixtures::Bundle bundle = fixtures::ExtendedSampleBundle();
    bundle.Set("boot.wim", fixtures::Wim(fixtures::SampleInfs(), "17763"));
    const Report report = AnalyzeBundle(bundle);
    const Finding& finding = Get(report, "recovery.image-build-mismatch");
    EXPECT_EQ(Severity::Warning, finding.severity);
    EXPECT_EQ("boot.wim:0: image 1: build 17763\nsysteminfo.log:4: 10.0.19045 N/A Build 19045\n", EvidenceText(finding));
}

TEST(RecoveryImageBuildMismatch, DisappearsForTheImageOfTheSameServicingBranch)
{
    // Windows 10 22H2 (19045) carries a 19041 recovery image.
    EXPECT_EQ(0u, CountFindings(AnalyzeBundle(fixtures::ExtendedSampleBundle()), "recovery.image-build-mismatch"));
}

TEST(RecoveryImageArchitectureMismatch, AppearsForAnX86ImageOnAnX64System)
{
    fixtures::Bundle bundle = fixtures::ExtendedSampleBundle();
    bundle.Set("boot.wim", fixtures::Wim(fixtures::SampleInfs(), "19041", "0"));
    const Report report = AnalyzeBundle(bundle);
    EXPECT_EQ(Severity::Error, Get(report, "recovery.image-architecture-mismatch").severity);
    EXPECT_EQ(0u, CountFindings(AnalyzeBundle(fixtures::ExtendedSampleBundle()), "recovery.image-architecture-mismatch"));
}

// 2. Drivers the recovery environment lacks.
