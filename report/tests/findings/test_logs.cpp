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

// 6. Event logs.
