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
    EXPECT_EQ("recoveryenabled No", finding.evidence.at(0).text) << "bcdedit's Yes and No are English in every language";
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

TEST(BootRecoveryLoaderUnlisted, AppearsInsteadOfMissingWhenTheListingShowsOnlySomeObjects)
{
    fixtures::Bundle bundle = fixtures::PartialBcdeditBundle();
    const Report partial = AnalyzeBundle(bundle);
    EXPECT_EQ(Severity::Info, Get(partial, "boot.recovery-loader-unlisted").severity);
    EXPECT_EQ(0u, CountFindings(partial, "boot.recovery-loader-missing"));
    EXPECT_TRUE(HasNote(partial, "bcdedit_all.log", "lists only some of the store's objects"));
    bundle.Set("bcdedit_all.log", fixtures::CollectorSaves(fixtures::PartialBcdeditOutput() +
                                                           "\r\nBoot Loader Settings\r\n--------------------\r\n"
                                                           "identifier              {bootloadersettings}\r\n"));
    const Report all = AnalyzeBundle(bundle);
    EXPECT_EQ(0u, CountFindings(all, "boot.recovery-loader-unlisted"));
    EXPECT_EQ(Severity::Error, Get(all, "boot.recovery-loader-missing").severity);
}

TEST(BootRecoveryLoaderDevice, AppearsForARecoveryLoaderOnAPartition)
{
    const std::string objects = "HKEY_LOCAL_MACHINE\\BCD00000000\\Objects\\" + std::string(fixtures::kRecoveryLoader);
    fixtures::RegExport store = fixtures::SampleBootStore();
    store.Key(objects + "\\Elements\\21000001").Binary("Element", fixtures::PartitionElement(fixtures::kDiskSignature, fixtures::kSystemOffset));
    const Report report = AnalyzeBundle(WithBootStore(fixtures::SampleBundle(), store));
    EXPECT_EQ(Severity::Warning, Get(report, "boot.recovery-loader-device").severity);
    EXPECT_EQ(0u, CountFindings(AnalyzeBundle(fixtures::SampleBundle()), "boot.recovery-loader-device"));
}

TEST(BootRecoveryLoaderDevice, AnElementThatCannotBeReadIsNoWarning)
{
    const std::string objects = "HKEY_LOCAL_MACHINE\\BCD00000000\\Objects\\" + std::string(fixtures::kRecoveryLoader);
    const std::string ramdisk = fixtures::RamdiskElement(fixtures::kDiskSignature, fixtures::kSystemOffset, "\\Recovery\\WindowsRE\\Winre.wim");
    fixtures::RegExport store = fixtures::SampleBootStore();
    store.Key(objects + "\\Elements\\21000001").Binary("Element", ramdisk.substr(0, 30));
    const Report report = AnalyzeBundle(WithBootStore(fixtures::SampleBundle(), store));
    EXPECT_EQ(0u, CountFindings(report, "boot.recovery-loader-device")) << Summary(report);
    EXPECT_EQ(Severity::Info, Get(report, "boot.recovery-loader-device-unread").severity);
    EXPECT_TRUE(HasNote(report, "BCD00000000.reg", "element 21000001: ends at byte 30, inside the device header at byte 16"));
    EXPECT_EQ(0u, CountFindings(AnalyzeBundle(fixtures::SampleBundle()), "boot.recovery-loader-device-unread"));
}

TEST(BootRecoveryLoader, AGptRamdiskAsWindowsWritesItIsTheRecoveryImage)
{
    const std::string objects = "HKEY_LOCAL_MACHINE\\BCD00000000\\Objects\\" + std::string(fixtures::kRecoveryLoader);
    const std::string disk = fixtures::GuidBytes("{0b2394a9-095e-487d-8d48-719ecd4d78ca}");
    const std::string partition = fixtures::GuidBytes("{6cdfcd69-de75-4490-8f99-5a84bf264917}");
    fixtures::RegExport store = fixtures::SampleBootStore();
    store.Key(objects + "\\Elements\\21000001")
        .Binary("Element", fixtures::GptRamdiskElement(disk, partition, "\\Recovery\\WindowsRE\\Winre.wim", fixtures::GuidBytes(fixtures::kRamdiskOptions)));
    const Report report = AnalyzeBundle(WithBootStore(fixtures::SampleBundle(), store));
    EXPECT_EQ(0u, CountFindings(report, "boot.recovery-loader-device")) << Summary(report);
    EXPECT_NE(std::string::npos, EvidenceText(Get(report, "boot.recovery-path-mismatch"))
                                     .find("ramdisk \\Recovery\\WindowsRE\\Winre.wim on the partition {6cdfcd69-de75-4490-8f99-5a84bf264917} "
                                           "of GPT disk {0b2394a9-095e-487d-8d48-719ecd4d78ca}"))
        << "the image lies on another partition than the system's";
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

