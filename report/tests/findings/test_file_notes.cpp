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

TEST(Encodings, SystemInfoInALanguageOutsideTheTableIsNamed)
{
    fixtures::Bundle bundle = fixtures::SampleBundle();
    bundle.Set("systeminfo.log", "Nom de l'h\xC3\xB4te:       SAMPLE-PC\r\nNom du syst\xC3\xA8me d'exploitation: Microsoft Windows 10 Pro\r\n");
    const Report report = AnalyzeBundle(bundle);
    EXPECT_TRUE(HasNote(report, "systeminfo.log", "a language that the report's label table does not hold"));
    EXPECT_EQ("", report.machine.osName);
    EXPECT_EQ(Summary(AnalyzeBundle(fixtures::SampleBundle())), Summary(report)) << "the findings do not depend on it";
}
