// wmic's tables as real machines printed them (field-samples/wmic-*.txt, read where they lie),
// as the collector stores them (UTF-16 read as UTF-8) and as UTF-8: every disk's facts, the
// number of updates, and no alarm about the disks.
#include "fixtures/support.h"
#include "samples/sample_test.h"
#include "read/wmic.h"

#include <gtest/gtest.h>

using namespace report;
using namespace testing_support;
using fixtures::SampleForm;

class RealWmicDisks : public SampleTest
{
};

TEST_P(RealWmicDisks, ReadsEveryDiskOfTheSample)
{
    const std::vector<Disk> disks = DisksFromWmic(ParseWmicTable(DecodeSaved(bundle.files.at("wmic_disks.log"))));
    ASSERT_EQ(2u, disks.size());
    for (size_t n = 0; n < disks.size(); ++n)
    {
        const std::string fact = "disk." + std::to_string(n + 1) + ".";
        const Disk& disk = disks[n];
        EXPECT_EQ(Sample().Fact(fact + "index"), disk.index) << fact;
        EXPECT_EQ(Sample().Fact(fact + "model"), disk.model) << fact;
        EXPECT_TRUE(disk.sizeKnown) << fact;
        EXPECT_EQ(Sample().Fact(fact + "size"), std::to_string(disk.size)) << fact;
        EXPECT_EQ(Sample().Fact(fact + "partitions"), disk.partitions) << fact;
        EXPECT_TRUE(disk.signatureListed) << fact;
        const std::string signature = Sample().Fact(fact + "signature");
        EXPECT_EQ(signature == "none" ? "" : signature, disk.signature) << fact;
        EXPECT_EQ(signature != "none", disk.Mbr()) << fact;
        EXPECT_EQ(Sample().Fact(fact + "status"), disk.status) << fact;
        EXPECT_TRUE(disk.unread.empty()) << fact;
    }
}

TEST_P(RealWmicDisks, RaisesNoAlarmAboutTheDisks)
{
    const Report report = AnalyzeBundle(bundle);
    EXPECT_EQ("", Alarms(report, "disks."));
    EXPECT_EQ(2u, Get(report, "disks.layout").evidence.size());
    EXPECT_FALSE(HasNote(report, "wmic_disks.log", "could not be cut"));
}

INSTANTIATE_SAMPLE_TESTS(RealWmicDisks, "wmic-diskdrive-");

TEST(RealWmicDisksJapanese, TheDescriptionsWideLettersLeaveTheColumnsAfterThemInPlace)
{
    fixtures::Bundle bundle;
    if (!fixtures::SampleBundle({"wmic-diskdrive-ja-01", {}}, SampleForm::Utf8, bundle))
        GTEST_SKIP() << "the field samples are not beside the checkout";
    const Report report = AnalyzeBundle(bundle);
    const Finding& layout = Get(report, "disks.layout");
    EXPECT_EQ("wmic_disks.log:2: disk 1: WDC WD10EZEX-60WN4A1, GPT or not initialised (no signature), 931.5 GiB, 2 partitions, status OK\n"
              "wmic_disks.log:3: disk 0: LITEON CL1-8D128-HP, GPT or not initialised (no signature), 119.2 GiB, 3 partitions, status OK\n",
              EvidenceText(layout));
}

class RealWmicUpdates : public SampleTest
{
};

TEST_P(RealWmicUpdates, CountsTheUpdates)
{
    EXPECT_EQ(Sample().Fact("updates"), AnalyzeBundle(bundle).machine.updates);
}

INSTANTIATE_SAMPLE_TESTS(RealWmicUpdates, "wmic-qfe-");
