// The boot configuration's findings, from the registry export, the hive and bcdedit.
#include "fixtures/support.h"

#include <gtest/gtest.h>

using namespace report;
using fixtures::Speech;
using namespace testing_support;

TEST(BootRecoveryDisabled, AppearsFromTheRegistryExport)
{
    const Report report = AnalyzeBundle(WithBootStore(fixtures::SampleBundle(), fixtures::SampleBootStore(fixtures::kSystemOffset, false)));
    const Finding& finding = Get(report, "boot.recovery-disabled");
    EXPECT_EQ(Severity::Error, finding.severity);
    EXPECT_EQ("BCD00000000.reg", finding.evidence.at(0).entry);
    EXPECT_EQ("Element=00", finding.evidence.at(0).text);
}

TEST(BootRecoveryDisabled, DisappearsWhenRecoveryIsEnabled)
{
    EXPECT_EQ(0u, CountFindings(AnalyzeBundle(fixtures::SampleBundle()), "boot.recovery-disabled"));
}

class BcdeditOnly : public testing::TestWithParam<Speech>
{
};

TEST_P(BcdeditOnly, RecoveryDisabledAppearsFromBcdeditWhenTheExportIsMissing)
{
    fixtures::Bundle bundle = fixtures::SampleBundle(GetParam());
    bundle.Remove("BCD00000000.reg").Set("bcdedit_all.log", fixtures::CollectorSaves(fixtures::BcdeditOutput(GetParam(), false)));
    const Report report = AnalyzeBundle(bundle);
    const Finding& finding = Get(report, "boot.recovery-disabled");
    EXPECT_EQ("bcdedit_all.log", finding.evidence.at(0).entry);
    EXPECT_EQ(20u, finding.evidence.at(0).line);
    EXPECT_EQ(GetParam() == Speech::German ? "recoveryenabled Nein" : "recoveryenabled No", finding.evidence.at(0).text);
}

TEST_P(BcdeditOnly, RecoveryDisabledDisappearsWhenBcdeditSaysYes)
{
    fixtures::Bundle bundle = fixtures::SampleBundle(GetParam());
    bundle.Remove("BCD00000000.reg");
    const Report report = AnalyzeBundle(bundle);
    EXPECT_EQ(0u, CountFindings(report, "boot.recovery-disabled"));
    EXPECT_EQ(1u, CountFindings(report, "boot.recovery-loader")) << Summary(report);
}

INSTANTIATE_TEST_SUITE_P(Forms, BcdeditOnly, testing::Values(Speech::Utf8, Speech::Field, Speech::German));

TEST(BootConfiguration, TheRegistryExportComesBeforeBcdedit)
{
    fixtures::Bundle bundle = fixtures::SampleBundle();
    bundle.Set("bcdedit_all.log", fixtures::CollectorSaves(fixtures::BcdeditOutput(Speech::Utf8, false)));
    EXPECT_EQ(0u, CountFindings(AnalyzeBundle(bundle), "boot.recovery-disabled"));
}

TEST(BootConfiguration, TheHiveStandsInForAMissingExport)
{
    fixtures::Bundle bundle = fixtures::SampleBundle();
    bundle.Remove("BCD00000000.reg").Set("BCD00000000.hiv", fixtures::Hive(fixtures::kSystemOffset, false));
    const Report report = AnalyzeBundle(bundle);
    EXPECT_EQ("BCD00000000.hiv", Get(report, "boot.recovery-disabled").evidence.at(0).entry) << Summary(report);
}

TEST(BootRecoverySequenceMissing, AppearsForALoaderWithoutOne)
{
    fixtures::RegExport store;
    store.Key("HKEY_LOCAL_MACHINE\\BCD00000000\\Objects\\" + std::string(fixtures::kLoader) + "\\Description").Dword("Type", 0x10200003);
    store.Key("HKEY_LOCAL_MACHINE\\BCD00000000\\Objects\\" + std::string(fixtures::kLoader) + "\\Elements\\11000001")
        .Binary("Element", fixtures::PartitionElement(fixtures::kDiskSignature, fixtures::kSystemOffset));
    const Report report = AnalyzeBundle(WithBootStore(fixtures::SampleBundle(), store));
    EXPECT_EQ(Severity::Error, Get(report, "boot.recovery-sequence-missing").severity);
    EXPECT_EQ(0u, CountFindings(AnalyzeBundle(fixtures::SampleBundle()), "boot.recovery-sequence-missing"));
}

TEST(BootRecoveryLoaderMissing, AppearsWhenTheSequenceNamesNoObjectOfTheStore)
{
    fixtures::RegExport store = fixtures::SampleBootStore();
    store.Key("HKEY_LOCAL_MACHINE\\BCD00000000\\Objects\\" + std::string(fixtures::kLoader) + "\\Elements\\14000008")
        .MultiSz("Element", {"{deadbeef-0000-0000-0000-000000000000}"});
    const Report report = AnalyzeBundle(WithBootStore(fixtures::SampleBundle(), store));
    EXPECT_EQ("The recovery sequence points at {deadbeef-0000-0000-0000-000000000000}, which is not a boot loader in the store",
              Get(report, "boot.recovery-loader-missing").title);
    EXPECT_EQ(0u, CountFindings(AnalyzeBundle(fixtures::SampleBundle()), "boot.recovery-loader-missing"));
}

TEST(BootRecoveryPathMismatch, AppearsWhenTheLoaderStartsAnImageOnAnotherPartition)
{
    const Report report = AnalyzeBundle(WithBootStore(fixtures::SampleBundle(), fixtures::SampleBootStore(63LL << 30)));
    const Finding& finding = Get(report, "boot.recovery-path-mismatch");
    EXPECT_EQ(Severity::Warning, finding.severity);
    EXPECT_NE(std::string::npos, EvidenceText(finding).find("the image found lies on the system partition, the loader's on another"));
    EXPECT_EQ(0u, CountFindings(report, "boot.recovery-loader"));
}

TEST(BootRecoveryPathMismatch, AppearsFromBcdeditForARamdiskOnAVolumeWithoutLetter)
{
    fixtures::Bundle bundle = fixtures::SampleBundle(Speech::German);
    bundle.Remove("BCD00000000.reg").Set("bcdedit_all.log", fixtures::CollectorSaves(fixtures::BcdeditOutput(Speech::German, true, "\\Device\\HarddiskVolume4")));
    EXPECT_EQ(1u, CountFindings(AnalyzeBundle(bundle), "boot.recovery-path-mismatch"));
}

TEST(BootRecoveryPathMismatch, DisappearsWhenTheLoaderStartsTheImageFound)
{
    EXPECT_EQ(0u, CountFindings(AnalyzeBundle(fixtures::SampleBundle()), "boot.recovery-path-mismatch"));
}

TEST(BootConfigurationMissing, AppearsWithoutExportHiveAndBcdedit)
{
    fixtures::Bundle bundle = fixtures::SampleBundle();
    bundle.Remove("BCD00000000.reg").Remove("bcdedit_all.log");
    EXPECT_EQ(1u, CountFindings(AnalyzeBundle(bundle), "boot.configuration-missing"));
    EXPECT_EQ(0u, CountFindings(AnalyzeBundle(fixtures::SampleBundle()), "boot.configuration-missing"));
}

// 4. Disks.
