// The sample machine's own archive: only what is really wrong with it is a finding.
#include "fixtures/support.h"

#include <gtest/gtest.h>

using namespace report;
using testing_support::AnalyzeBundle;
using testing_support::Summary;

TEST(Baseline, TheSampleMachineShowsOnlyItsTwoControllersWithoutADriverAsTrouble)
{
    const Report report = AnalyzeBundle(fixtures::SampleBundle());
    EXPECT_EQ("warning drivers.no-driver-on-machine PCI\\VEN_1000&DEV_0079\n"
              "warning drivers.no-driver-on-machine PCI\\VEN_8086&DEV_10D3\n"
              "info recovery.image-not-collected\n"
              "info drivers.not-checked\n"
              "info boot.current-loader\n"
              "info boot.recovery-loader\n"
              "info disks.layout\n"
              "info disks.recovery-location\n"
              "info collection.missing-file BCD00000000.hiv\n",
              Summary(report));
    EXPECT_EQ("normal", report.run);
    EXPECT_EQ("SAMPLE-PC", report.machine.hostName);
    EXPECT_EQ("19045", report.machine.build);
    EXPECT_EQ("no", report.machine.windowsPe);
}

// 1. The recovery image.
