// Notes on the files the report read: what the collection lost, what is no text.
#include "fixtures/support.h"

#include <gtest/gtest.h>

using namespace report;
using namespace testing_support;
using fixtures::Speech;

TEST(Encodings, FieldOutputIsRecoveredAndItsLossesAreNoted)
{
    const Report report = AnalyzeBundle(fixtures::SampleBundle(Speech::Field));
    EXPECT_TRUE(HasNote(report, "wmic_disks.log", "UTF-16 output that the collector read as UTF-8; text recovered, 0 characters lost"));
    EXPECT_TRUE(HasNote(report, "systeminfo.log", "2 characters lost")) << "the two umlauts of Jürgen Müller";
    EXPECT_EQ("Microsoft Windows 10 Pro", report.machine.osName);
}

TEST(Encodings, AFileThatIsNoTextIsNamedAndSkipped)
{
    fixtures::Bundle bundle = fixtures::SampleBundle();
    std::string binary(2000, '\x01');
    bundle.Set("systeminfo.log", binary).Set("enum.reg", binary);
    const Report report = AnalyzeBundle(bundle);
    EXPECT_TRUE(HasNote(report, "systeminfo.log", "could not be read: holds binary data"));
    EXPECT_TRUE(HasNote(report, "enum.reg", "could not be read"));
    EXPECT_EQ(1u, CountFindings(report, "boot.recovery-loader"));
}

TEST(Encodings, SystemInfoInALanguageOutsideTheTableIsNamedAndReadByItsOrder)
{
    // Labels that no table holds, made in the test.
    fixtures::Bundle bundle = fixtures::SampleBundle();
    bundle.Set("systeminfo.log", "Label 1:   SAMPLE-PC\r\nLabel 2:   Microsoft Windows 10 Pro\r\nLabel 3:   10.0.19045 N/A Build 19045\r\n");
    const Report report = AnalyzeBundle(bundle);
    EXPECT_TRUE(HasNote(report, "systeminfo.log", "a language that the report's label table does not hold: the machine was read "
                                                  "by the order of systeminfo's fields"));
    EXPECT_EQ("Microsoft Windows 10 Pro", report.machine.osName);
    EXPECT_EQ(Summary(AnalyzeBundle(fixtures::SampleBundle())), Summary(report)) << "the findings do not depend on it";
}
