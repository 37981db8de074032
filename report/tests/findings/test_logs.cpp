// The setup and product logs' findings.
#include "fixtures/support.h"

#include <gtest/gtest.h>

using namespace report;
using namespace testing_support;

TEST(LogsSetupErrors, GroupsAndCountsErrorLinesWithTheNewestFirst)
{
    fixtures::Bundle bundle = fixtures::SampleBundle();
    bundle.Set("setuperr.log", fixtures::Utf16Le("2024-03-14 09:12:44, Error                 CSI    00000001 (F) Failed to open 0x80070002\r\n"
                                                 "2024-03-14 09:12:45, Error                 CSI    00000002 (F) Failed to open 0x80070005\r\n"
                                                 "2024-03-14 09:12:46, Info                  CBS    fine\r\n"
                                                 "2024-03-14 09:12:47, Error                 SP     Operation failed: Add boot entry\r\n"));
    const Report report = AnalyzeBundle(bundle);
    const Finding& finding = Get(report, "logs.setup-errors");
    EXPECT_EQ("3 error lines in setuperr.log (2 kinds)", finding.title);
    EXPECT_EQ("setuperr.log:4: SP     Operation failed: Add boot entry  (1×)\n"
              "setuperr.log:2: CSI    00000002 (F) Failed to open 0x80070005  (2×)\n",
              EvidenceText(finding));
    EXPECT_EQ(0u, CountFindings(AnalyzeBundle(fixtures::SampleBundle()), "logs.setup-errors"));
}

TEST(LogsProductErrors, CountsTheProductsErrorRecords)
{
    fixtures::Bundle bundle = fixtures::SampleBundle();
    bundle.Set("mpb.log", "2024-05-02 10:00:00 start\r\n2024-05-02 10:00:01 ERROR cannot open volume 3\r\n"
                          "2024-05-02 10:00:02 ERROR cannot open volume 4\r\n2024-05-02 10:00:03 terror is no error word? no\r\n");
    const Report report = AnalyzeBundle(bundle);
    const Finding& finding = Get(report, "logs.product-errors");
    EXPECT_EQ("mpb.log", finding.subject);
    EXPECT_EQ("3 error records in mpb.log (2 kinds)", finding.title);
    EXPECT_EQ(0u, CountFindings(AnalyzeBundle(fixtures::SampleBundle()), "logs.product-errors"));
}

TEST(LogsSetupErrors, AFatalErrorLineIsReadAfterItsWholeLevel)
{
    fixtures::Bundle bundle = fixtures::SampleBundle();
    bundle.Set("setuperr.log", "2024-03-14 09:12:44, Fatal Error           SP     Cannot continue\r\n"
                               "2024-03-14 09:12:45, Fatal                 SP     Stopped\r\n"
                               "2024-03-14 09:12:46, Errors                SP     not a level\r\n"
                               "2024-03-14 09:12:47, Error\r\n"
                               "2024-3-14 09:12:48, Error                 SP     not a time stamp\r\n");
    const Report report = AnalyzeBundle(bundle);
    const Finding& finding = Get(report, "logs.setup-errors");
    EXPECT_EQ("2 error lines in setuperr.log (2 kinds)", finding.title);
    EXPECT_EQ("setuperr.log:2: SP     Stopped  (1×)\n"
              "setuperr.log:1: SP     Cannot continue  (1×)\n",
              EvidenceText(finding));
}

TEST(LogsProductErrors, NumbersAreMaskedSoThatErrorsOfOneKindGoTogether)
{
    fixtures::Bundle bundle = fixtures::SampleBundle();
    bundle.Set("mp.log", "[2024-05-02 10:00:01] failed at 0x80070002 on volume 3 id DEADBEEF01\r\n"
                         "[2024-05-02 10:00:02] failed at 0x80070005 on volume 12 id cafebabe99\r\n"
                         "[2024-05-02 10:00:03] failed at 0x8007 on volume 1 id cafe\r\n"
                         "2024-05-02T10:00:04 Exception: in thread 7\r\n"
                         "no time stamp ! marker\r\n");
    const Report report = AnalyzeBundle(bundle);
    const Finding& finding = Get(report, "logs.product-errors");
    EXPECT_EQ("5 error records in mp.log (4 kinds)", finding.title);
    EXPECT_EQ("mp.log:5: no time stamp ! marker  (1×)\n"
              "mp.log:4: Exception: in thread 7  (1×)\n"
              "mp.log:3: failed at 0x8007 on volume 1 id cafe  (1×)\n"
              "mp.log:2: failed at 0x80070005 on volume 12 id cafebabe99  (2×)\n",
              EvidenceText(finding))
        << "\"cafe\" is too short for a hex number";
}

TEST(LogsProductErrors, AShortHexNumberAfter0xIsOneNumber)
{
    fixtures::Bundle bundle = fixtures::SampleBundle();
    bundle.Set("mp.log", "[2024-05-02 10:00:01] failed with 0x1F\r\n"
                         "[2024-05-02 10:00:02] failed with 0xA0\r\n");
    const Report report = AnalyzeBundle(bundle);
    const Finding& finding = Get(report, "logs.product-errors");
    EXPECT_EQ("2 error records in mp.log (1 kind)", finding.title);
    EXPECT_EQ("mp.log:2: failed with 0xA0  (2×)\n", EvidenceText(finding));
}

// 6. Event logs.
