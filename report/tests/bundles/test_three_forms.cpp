// One machine, three bundles: English stand-ins writing UTF-8, the field's encodings (UTF-16
// wmic, code page 850 systeminfo and bcdedit), and a German machine; and one in a language
// without a table. The report must not depend on the form.
#include "fixtures/support.h"

#include <gtest/gtest.h>

using namespace report;
using fixtures::Speech;
using testing_support::AnalyzeBundle;
using testing_support::Summary;

TEST(ThreeForms, ANormalRunGivesTheSameFindings)
{
    const std::string english = Summary(AnalyzeBundle(fixtures::SampleBundle(Speech::Utf8)));
    EXPECT_EQ(english, Summary(AnalyzeBundle(fixtures::SampleBundle(Speech::Field))));
    EXPECT_EQ(english, Summary(AnalyzeBundle(fixtures::SampleBundle(Speech::German))));
}

TEST(ThreeForms, AnExtendedRunGivesTheSameFindings)
{
    const std::string english = Summary(AnalyzeBundle(fixtures::ExtendedSampleBundle(Speech::Utf8)));
    EXPECT_NE(std::string::npos, english.find("drivers.missing-in-recovery-image")) << english;
    EXPECT_EQ(english, Summary(AnalyzeBundle(fixtures::ExtendedSampleBundle(Speech::Field))));
    EXPECT_EQ(english, Summary(AnalyzeBundle(fixtures::ExtendedSampleBundle(Speech::German))));
}

TEST(ThreeForms, WithoutTheRegistryExportBcdeditGivesTheSameFindingsInEachLanguage)
{
    std::string first;
    for (Speech speech : {Speech::Utf8, Speech::Field, Speech::German})
    {
        fixtures::Bundle bundle = fixtures::SampleBundle(speech);
        bundle.Remove("BCD00000000.reg").Set("bcdedit_all.log", fixtures::CollectorSaves(fixtures::BcdeditOutput(speech, false)));
        const std::string summary = Summary(AnalyzeBundle(bundle));
        EXPECT_NE(std::string::npos, summary.find("error boot.recovery-disabled")) << summary;
        if (first.empty())
            first = summary;
        EXPECT_EQ(first, summary);
    }
}

TEST(ThreeForms, ALanguageWithoutATableGivesTheSameMachineAndFindings)
{
    const report::Report english = AnalyzeBundle(fixtures::SampleBundle(Speech::Utf8));
    fixtures::Bundle bundle = fixtures::SampleBundle(Speech::Unlisted);
    const report::Report unlisted = AnalyzeBundle(bundle);
    EXPECT_EQ(english.machine.hostName, unlisted.machine.hostName);
    EXPECT_EQ(english.machine.osName, unlisted.machine.osName);
    EXPECT_EQ(english.machine.build, unlisted.machine.build);
    EXPECT_EQ(english.machine.architecture, unlisted.machine.architecture);
    EXPECT_EQ(english.machine.windowsPe, unlisted.machine.windowsPe);
    EXPECT_EQ("", unlisted.machine.labelsLanguage);
    EXPECT_EQ(Summary(english), Summary(unlisted));
    // Without the registry export the store is read from bcdedit's listing, titles unknown.
    bundle.Remove("BCD00000000.reg");
    fixtures::Bundle englishBundle = fixtures::SampleBundle(Speech::Utf8);
    englishBundle.Remove("BCD00000000.reg");
    EXPECT_EQ(Summary(AnalyzeBundle(englishBundle)), Summary(AnalyzeBundle(bundle)));
}

TEST(ThreeForms, TheMachineIsDescribedAlikeAndTheGermanLabelsAreNamed)
{
    const report::Report english = AnalyzeBundle(fixtures::SampleBundle(Speech::Utf8));
    const report::Report german = AnalyzeBundle(fixtures::SampleBundle(Speech::German));
    EXPECT_EQ(english.machine.osName, german.machine.osName);
    EXPECT_EQ(english.machine.osVersion, german.machine.osVersion);
    EXPECT_EQ(english.machine.architecture, german.machine.architecture);
    EXPECT_EQ("German", german.machine.labelsLanguage);
}
