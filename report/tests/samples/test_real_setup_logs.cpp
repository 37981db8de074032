// Setup logs that real machines wrote (field-samples/setup*.txt, read where they lie), copied as
// the collector copies them: their error lines are counted.
#include "fixtures/support.h"
#include "samples/sample_test.h"

#include <gtest/gtest.h>

using namespace report;
using namespace testing_support;

class RealSetupLog : public SampleTest
{
};

TEST_P(RealSetupLog, CountsItsErrorLines)
{
    const std::string entry = fixtures::SampleEntry(Sample());
    const Report report = AnalyzeBundle(bundle);
    const Finding& errors = Get(report, "logs.setup-errors");
    EXPECT_EQ(entry, errors.subject);
    EXPECT_EQ(Sample().Fact("error_lines") + " error lines in " + entry, errors.title.substr(0, errors.title.find(" (")));
}

INSTANTIATE_SAMPLE_TESTS(RealSetupLog, "setup");
