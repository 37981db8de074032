// bcdedit as real machines printed it, in six languages (field-samples/bcdedit-*.txt, read where
// they lie), as the collector stores it and as UTF-8: the running system's loader, its recovery
// settings and the labels' language, and no alarm that the sample's facts contradict.
#include "facts/current_loader.h"
#include "fixtures/support.h"
#include "samples/sample_test.h"
#include "read/bcdedit.h"

#include <gtest/gtest.h>

using namespace report;
using namespace testing_support;
using fixtures::SampleForm;

class RealBcdedit : public SampleTest
{
};

TEST_P(RealBcdedit, ReadsTheLoaderAndItsRecoverySettings)
{
    const BootStore store = BootStoreFromBcdedit(DecodeSaved(bundle.files.at("bcdedit_all.log")), "bcdedit_all.log");
    std::string how;
    const BcdObject* current = CurrentLoader(store, {}, how);
    ASSERT_NE(nullptr, current);
    EXPECT_EQ(Sample().Fact("current_loader"), current->id);
    EXPECT_EQ(Sample().Fact("recovery_enabled") == "yes" ? 1 : 0, current->recoveryEnabled);
    ASSERT_FALSE(current->recoverySequence.empty());
    EXPECT_EQ(Sample().Fact("recovery_sequence"), current->recoverySequence.front());
    EXPECT_EQ(Sample().Fact("labels"), store.language);
    if (Form() == SampleForm::Utf8)
    {
        EXPECT_FALSE(store.labelsGarbled);
    }
}

TEST_P(RealBcdedit, TheReportNamesTheLoaderAndRaisesOnlyWhatTheSampleShows)
{
    const Report report = AnalyzeBundle(bundle);
    const Finding& loader = Get(report, "boot.current-loader");
    const std::string description = Sample().Fact("description");
    const bool lost = fixtures::LostInForm(Sample(), description, Form());
    EXPECT_EQ("Windows starts through boot loader " + Sample().Fact("current_loader") +
                  (lost ? " (its description lost letters to the code page)" : " (\"" + description + "\")"),
              loader.title);
    EXPECT_NE(std::string::npos, loader.evidence.at(0).text.find("(" + Sample().Fact("labels") + " labels"));
    // Recovery disabled is the one alarm any of these listings holds evidence for.
    EXPECT_EQ(Sample().Fact("recovery_enabled") == "no" ? "error boot.recovery-disabled\n" : "", Alarms(report, "boot."));
}

INSTANTIATE_SAMPLE_TESTS(RealBcdedit, "bcdedit-");

TEST(RealBcdeditListing, EnumAllShowsTheRecoveryLoaderAndPlainBcdeditDoesNot)
{
    for (const char* name : {"bcdedit-en-bios-01", "bcdedit-en-uefi-06"})
    {
        fixtures::Bundle bundle;
        if (!fixtures::SampleBundle({name, {}}, SampleForm::Field, bundle))
            GTEST_SKIP() << "the field samples are not beside the checkout";
        const Report report = AnalyzeBundle(bundle);
        const bool all = std::string(name) == "bcdedit-en-bios-01";
        EXPECT_EQ(all ? 1u : 0u, CountFindings(report, "boot.recovery-loader")) << name;
        EXPECT_EQ(all ? 0u : 1u, CountFindings(report, "boot.recovery-loader-unlisted")) << name;
    }
}
