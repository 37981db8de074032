// The drivers' findings: controllers without a driver on the machine or in the recovery image.
#include "fixtures/support.h"

#include <gtest/gtest.h>

using namespace report;
using fixtures::Speech;
using namespace testing_support;

TEST(DriversMissingInRecoveryImage, AppearsForTheNetworkAdapterThatNoInfServes)
{
    const Report report = AnalyzeBundle(fixtures::ExtendedSampleBundle());
    ASSERT_EQ(1u, CountFindings(report, "drivers.missing-in-recovery-image")) << Summary(report);
    const Finding& finding = Get(report, "drivers.missing-in-recovery-image");
    EXPECT_EQ(Severity::Warning, finding.severity);
    EXPECT_EQ("PCI\\VEN_8086&DEV_10D3", finding.subject);
    EXPECT_EQ("The recovery image has no driver for the Intel Corporation 82574L Gigabit Network Connection (PCI\\VEN_8086&DEV_10D3)",
              finding.title);
    ASSERT_EQ(2u, finding.evidence.size());
    EXPECT_EQ("enum.reg", finding.evidence[0].entry);
    EXPECT_LT(0u, finding.evidence[0].line);
    EXPECT_EQ("PCI\\VEN_8086&DEV_10D3&SUBSYS_07D015AD&REV_00, PCI\\VEN_8086&DEV_10D3, PCI\\VEN_8086&CC_020000, PCI\\CC_020000, PCI\\CC_0200",
              finding.evidence[0].text);
    EXPECT_EQ("boot.wim", finding.evidence[1].entry);
    EXPECT_EQ("image 1: 3 INF files searched, none lists any of these identifiers", finding.evidence[1].text);
}

TEST(DriversMissingInRecoveryImage, DisappearsWhenAnInfServesTheAdapter)
{
    std::vector<fixtures::InfFile> infs = fixtures::SampleInfs();
    infs.push_back(fixtures::Inf("/Windows/INF/net1ic64.inf", {"PCI\\VEN_8086&DEV_10D3&SUBSYS_07D015AD"}));
    infs.push_back(fixtures::Inf("/Windows/INF/e1i.inf", {"PCI\\VEN_8086&DEV_10D3"}));
    fixtures::Bundle bundle = fixtures::ExtendedSampleBundle();
    bundle.Set("boot.wim", fixtures::Wim(infs));
    const Report report = AnalyzeBundle(bundle);
    EXPECT_EQ(0u, CountFindings(report, "drivers.missing-in-recovery-image")) << Summary(report);
    const std::string served = EvidenceText(Get(report, "drivers.recovery-image-serves"));
    EXPECT_NE(std::string::npos, served.find("/Windows/INF/e1i.inf serves PCI\\VEN_8086&DEV_10D3 (hardware identifier)")) << served;
    EXPECT_NE(std::string::npos, served.find("storahci.inf serves PCI\\CC_010601 (compatible identifier)")) << served;
}

TEST(DriversMissingInRecoveryImage, IsAnErrorForTheRaidControllerWhenItsDriverIsMissing)
{
    fixtures::Bundle bundle = fixtures::ExtendedSampleBundle();
    bundle.Set("boot.wim", fixtures::Wim({fixtures::Inf("/Windows/INF/storahci.inf", {"PCI\\CC_010601"}),
                                          fixtures::Inf("/Windows/INF/megasas.inf", {"PCI\\VEN_1000&DEV_0079"}, "NTx86")}));
    const Report report = AnalyzeBundle(bundle);
    EXPECT_EQ(1u, CountFindings(report, "drivers.missing-in-recovery-image", "PCI\\VEN_1000&DEV_0079"))
        << "an INF for x86 does not serve an x64 image\n" << Summary(report);
    for (const Finding& finding : report.findings)
    {
        if (finding.subject == "PCI\\VEN_1000&DEV_0079" && finding.id == "drivers.missing-in-recovery-image")
        {
            EXPECT_EQ(Severity::Error, finding.severity);
        }
    }
    EXPECT_EQ(0u, CountFindings(report, "drivers.missing-in-recovery-image", "PCI\\VEN_8086&DEV_2922"));
}

TEST(DriversNoDriverOnMachine, AppearsForEachControllerOfDevicesTxtAndDisappearsWithoutIt)
{
    const Report report = AnalyzeBundle(fixtures::SampleBundle());
    const Finding& finding = Get(report, "drivers.no-driver-on-machine");
    EXPECT_EQ("The machine has no working driver for the Broadcom / LSI MegaRAID SAS 2108 [Liberator] (PCI\\VEN_1000&DEV_0079)", finding.title);
    EXPECT_EQ(1u, finding.evidence.at(0).line);
    EXPECT_EQ("devices.txt", finding.evidence.at(0).entry);
    fixtures::Bundle bundle = fixtures::SampleBundle();
    bundle.Remove("devices.txt");
    EXPECT_EQ(0u, CountFindings(AnalyzeBundle(bundle), "drivers.no-driver-on-machine"));
}

TEST(DriversNoDriverInPe, IsAnErrorWhenTheRunWasInWindowsPe)
{
    fixtures::Bundle bundle = fixtures::SampleBundle();
    std::string info = fixtures::SystemInfoOutput(Speech::Utf8);
    info.replace(info.find("C:\\Windows\r\n"), 10, "X:\\windows");
    bundle.Set("systeminfo.log", fixtures::CollectorSaves(info));
    const Report report = AnalyzeBundle(bundle);
    EXPECT_EQ("yes", report.machine.windowsPe);
    EXPECT_EQ(2u, CountFindings(report, "drivers.no-driver-in-pe"));
    EXPECT_EQ(Severity::Error, Get(report, "drivers.no-driver-in-pe").severity);
    EXPECT_EQ(0u, CountFindings(report, "drivers.no-driver-on-machine"));
}

// 3. The boot configuration.
