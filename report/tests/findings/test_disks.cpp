// The disks' findings: their layout and status, and where the recovery image lies.
#include "fixtures/support.h"

#include <gtest/gtest.h>

using namespace report;
using fixtures::Speech;
using namespace testing_support;

namespace
{
// A disk table made in the test: a Japanese description (8 letters of two cells and a space)
// before an empty column, padded by cells as wmic pads. Through the collector's UTF-8 decoding
// the description's letters are lost, and the status could then start either of two columns.
std::string JapaneseDiskTable()
{
    return "Description        Index  Status     Signature   Size         \r\r\n"
           "ディスク ドライブ         Pred Fail  1513922049  64424509440  \r\r\n\r\r\n";
}
} // namespace

TEST(DisksLayout, DescribesEachDisk)
{
    const Report report = AnalyzeBundle(fixtures::SampleBundle(Speech::Field));
    const Finding& finding = Get(report, "disks.layout");
    EXPECT_EQ("wmic_disks.log:2: disk 0: SAMPLE DISK 0, MBR (signature 0x5A3C9E01), 60 GiB, 3 partitions, status OK\n", EvidenceText(finding));
    const Finding& location = Get(report, "disks.recovery-location");
    EXPECT_EQ("The recovery loader's image lies on disk 0, in the partition at offset 1 MiB", location.title);
}

TEST(DisksRecoveryDiskMissing, AppearsWhenNoDiskHasTheLoadersSignature)
{
    fixtures::Bundle bundle = fixtures::SampleBundle(Speech::Field);
    bundle.Set("wmic_disks.log", fixtures::CollectorSaves(fixtures::WmicDisksOutput(Speech::Field, 0x12345678)));
    const Report report = AnalyzeBundle(bundle);
    EXPECT_EQ(Severity::Warning, Get(report, "disks.recovery-disk-missing").severity);
    EXPECT_EQ(0u, CountFindings(AnalyzeBundle(fixtures::SampleBundle(Speech::Field)), "disks.recovery-disk-missing"));
}

TEST(DisksRecoveryPartitionOutsideDisk, AppearsForAnOffsetBeyondTheDisksEnd)
{
    // 63 GiB on a disk of 60 GiB.
    const Report report = AnalyzeBundle(WithBootStore(fixtures::SampleBundle(), fixtures::SampleBootStore(63LL << 30)));
    EXPECT_EQ(1u, CountFindings(report, "disks.recovery-partition-outside-disk"));
    const Report inside = AnalyzeBundle(WithBootStore(fixtures::SampleBundle(), fixtures::SampleBootStore(59LL << 30)));
    EXPECT_EQ(0u, CountFindings(inside, "disks.recovery-partition-outside-disk"));
    EXPECT_EQ("The recovery loader's image lies on disk 0, in the partition at offset 59 GiB", Get(inside, "disks.recovery-location").title);
}

TEST(DisksStatus, AppearsOnlyWhereTheStatusCellWasPlaced)
{
    fixtures::Bundle bundle = fixtures::SampleBundle();
    bundle.Set("wmic_disks.log", fixtures::CollectorSaves(JapaneseDiskTable()));
    EXPECT_EQ("Disk ? reports status Pred Fail", Get(AnalyzeBundle(bundle), "disks.status").title);
    bundle.Set("wmic_disks.log", fixtures::CollectorSaves(fixtures::Utf16Le(JapaneseDiskTable())));
    const Report report = AnalyzeBundle(bundle);
    EXPECT_EQ(0u, CountFindings(report, "disks.status")) << Summary(report);
    EXPECT_EQ("wmic_disks.log:2: disk ?: (model unknown), partition style unknown, size unknown\n", EvidenceText(Get(report, "disks.layout")));
    EXPECT_TRUE(HasNote(report, "wmic_disks.log", "1 of its 1 rows could not be cut into all their columns"));
}

TEST(DisksRecoveryDiskMissing, NeedsEveryDisksSignatureRead)
{
    fixtures::Bundle bundle = fixtures::SampleBundle();
    const std::string other = fixtures::CollectorSaves(fixtures::Utf16Le(
        "Description        Index  Status     Signature   Size         \r\r\n"
        "Disk drive         1      OK         305419896   64424509440  \r\r\n"));
    const std::string table = JapaneseDiskTable();
    // A disk of another signature, and one whose signature could not be placed.
    bundle.Set("wmic_disks.log", fixtures::CollectorSaves(fixtures::Utf16Le(
                                     table.substr(0, table.rfind("\r\r\n\r\r\n") + 3) +
                                     "Disk drive         1      OK         305419896   64424509440  \r\r\n\r\r\n")));
    EXPECT_EQ(0u, CountFindings(AnalyzeBundle(bundle), "disks.recovery-disk-missing"));
    bundle.Set("wmic_disks.log", other);
    EXPECT_EQ(1u, CountFindings(AnalyzeBundle(bundle), "disks.recovery-disk-missing"));
}

TEST(DisksStatus, AppearsForADiskThatIsNotOk)
{
    fixtures::Bundle bundle = fixtures::SampleBundle();
    bundle.Set("wmic_disks.log", fixtures::CollectorSaves(fixtures::WmicDisksOutput(Speech::Utf8, fixtures::kDiskSignature, "Pred Fail")));
    EXPECT_EQ("Disk 0 reports status Pred Fail", Get(AnalyzeBundle(bundle), "disks.status").title);
    EXPECT_EQ(0u, CountFindings(AnalyzeBundle(fixtures::SampleBundle()), "disks.status"));
}

