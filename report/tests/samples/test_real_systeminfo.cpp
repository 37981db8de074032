// systeminfo as real machines printed it, in eight languages (field-samples/systeminfo-*.txt,
// read where they lie), as the collector stores it and as UTF-8: the facts their SOURCES.md
// gives, and no finding that a good listing would not give.
#include "fixtures/support.h"
#include "samples/sample_test.h"

#include <gtest/gtest.h>

using namespace report;
using namespace testing_support;
using fixtures::SampleForm;

namespace
{
std::string HowRead(const MachineSummary& machine, const std::string& fact)
{
    for (const auto& each : machine.howRead)
        if (each.first == fact)
            return each.second;
    return "";
}
} // namespace

class RealSystemInfo : public SampleTest
{
};

TEST_P(RealSystemInfo, YieldsTheFactsOfTheSample)
{
    const Report report = AnalyzeBundle(bundle);
    const MachineSummary& m = report.machine;
    const std::pair<const char*, std::string> reported[] = {
        {"host", m.hostName}, {"os_name", m.osName}, {"os_version", m.osVersion}, {"build", m.build}, {"architecture", m.architecture}};
    for (const auto& fact : reported)
    {
        const std::string truth = Sample().Fact(fact.first);
        // Letters outside ASCII do not survive the console's code page and the collector's UTF-8
        // decoding: such a fact must be unknown, with a note saying why, never garbled.
        const bool lost = truth != "NA" && fixtures::LostInForm(Sample(), truth, Form());
        const std::string expected = truth == "NA" || lost ? "" : truth;
        EXPECT_EQ(expected, fact.second) << fact.first;
        EXPECT_EQ(!expected.empty(), !HowRead(m, fact.first).empty()) << fact.first << " says how it was read when it is known";
        if (lost)
        {
            EXPECT_TRUE(HasNote(report, "systeminfo.log", "lost letters to the console's code page before it reached the archive"))
                << fact.first;
        }
    }
    EXPECT_EQ("no", m.windowsPe);
}

TEST_P(RealSystemInfo, RaisesNothingThatAGoodListingWouldNot)
{
    fixtures::Bundle good = bundle;
    good.Set("systeminfo.log", fixtures::CollectorSaves(fixtures::SystemInfoOutput(fixtures::Speech::Utf8)));
    EXPECT_EQ(Summary(AnalyzeBundle(good)), Summary(AnalyzeBundle(bundle)));
}

INSTANTIATE_SAMPLE_TESTS(RealSystemInfo, "systeminfo-");

TEST(RealSystemInfoLanguages, TheLabelsLanguageIsTheTablesWhereTheLabelsKeptTheirLetters)
{
    const std::pair<const char*, const char*> samples[] = {
        {"systeminfo-de-win7-05", "German"},   {"systeminfo-it-win10-01", "Italian"},  {"systeminfo-es-win10-02", "Spanish"},
        {"systeminfo-fr-win7-04", "French"},   {"systeminfo-fr-win10-16", "French"},   {"systeminfo-ru-ws2012r2-06", "Russian"},
        {"systeminfo-zhcn-win10-03", "Chinese"}, {"systeminfo-en-esarlocale-21", "English"}};
    for (const auto& sample : samples)
        for (SampleForm form : {SampleForm::Utf8, SampleForm::Field})
        {
            fixtures::Bundle bundle;
            if (!fixtures::SampleBundle({sample.first, {}}, form, bundle))
                GTEST_SKIP() << "the field samples are not beside the checkout";
            EXPECT_EQ(sample.second, AnalyzeBundle(bundle).machine.labelsLanguage) << sample.first << " " << fixtures::FormName(form);
        }
}
