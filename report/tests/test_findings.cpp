// Each finding, made to appear by an archive that shows the trouble, and to disappear when the
// archive does not. The base archives are the sample machine's, whose recovery loader starts
// the image the collector found.
#include "support.h"

#include <gtest/gtest.h>

using namespace report;
using fixtures::Speech;
using testing_support::AnalyzeBundle;
using testing_support::CountFindings;
using testing_support::Summary;

namespace
{
const Finding& Get(const Report& report, const std::string& id)
{
    const Finding* finding = report.FindById(id);
    if (!finding)
        throw std::runtime_error("no finding " + id + " among:\n" + Summary(report));
    return *finding;
}

std::string EvidenceText(const Finding& finding)
{
    std::string text;
    for (const Evidence& evidence : finding.evidence)
        text += evidence.entry + ":" + std::to_string(evidence.line) + ": " + evidence.text + "\n";
    return text;
}

bool HasNote(const Report& report, const std::string& entry, const std::string& part)
{
    for (const FileNote& note : report.notes)
        if (note.entry == entry && note.text.find(part) != std::string::npos)
            return true;
    return false;
}

fixtures::Bundle WithBootStore(fixtures::Bundle bundle, const fixtures::RegExport& store)
{
    return bundle.Set("BCD00000000.reg", fixtures::Utf16Le(store.Text()));
}
} // namespace

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

TEST(RecoveryImageNotFound, AppearsWithoutRecoveryPathAndQuotesTheStoreWalk)
{
    fixtures::Bundle bundle = fixtures::SampleBundle();
    bundle.Remove("recovery_path.log")
        .Set("mpdiag.log", "10:00:01   System volume: \\\\.\\C:; Device Number: 2\r\n10:00:01 ! Can't get system drive\r\n");
    const Report report = AnalyzeBundle(bundle);
    const Finding& finding = Get(report, "recovery.image-not-found");
    EXPECT_EQ(Severity::Error, finding.severity);
    EXPECT_EQ("recovery_path.log:0: not in the archive\n"
              "mpdiag.log:1: System volume: \\\\.\\C:; Device Number: 2\n"
              "mpdiag.log:2: Can't get system drive\n"
              "BCD00000000.reg:" + std::to_string(finding.evidence.back().line) +
                  ": the boot configuration's recovery loader names ramdisk \\Recovery\\WindowsRE\\Winre.wim on the "
                  "partition at offset 1 MiB of MBR disk 0x5A3C9E01\n",
              EvidenceText(finding));
    EXPECT_NE(std::string::npos, finding.advice.find("could not tell which disk holds the system volume"));
    EXPECT_EQ(0u, CountFindings(report, "collection.log-errors")) << "the walk's records are the finding's evidence";
}

TEST(RecoveryImageNotFound, DisappearsWhenTheImageWasFound)
{
    EXPECT_EQ(0u, CountFindings(AnalyzeBundle(fixtures::SampleBundle()), "recovery.image-not-found"));
}

TEST(RecoveryImageNotCollected, IsANoteInANormalRunAndAWarningInAnExtendedOne)
{
    EXPECT_EQ(Severity::Info, Get(AnalyzeBundle(fixtures::SampleBundle()), "recovery.image-not-collected").severity);
    fixtures::Bundle bundle = fixtures::ExtendedSampleBundle();
    EXPECT_EQ(0u, CountFindings(AnalyzeBundle(bundle), "recovery.image-not-collected"));
    bundle.Remove("boot.wim");
    EXPECT_EQ(Severity::Warning, Get(AnalyzeBundle(bundle), "recovery.image-not-collected").severity);
}

TEST(RecoveryImage, DescribesTheImageFromItsMetadata)
{
    const Report report = AnalyzeBundle(fixtures::ExtendedSampleBundle());
    const Finding& finding = Get(report, "recovery.image");
    EXPECT_EQ("Recovery image: 1 image, Windows build 19041, x64", finding.title);
    EXPECT_EQ("extended", report.run);
}

TEST(RecoveryImageInvalid, AppearsForABootWimThatIsNoWim)
{
    fixtures::Bundle bundle = fixtures::ExtendedSampleBundle();
    bundle.Set("boot.wim", std::string(300000, 'x'));
    const Report report = AnalyzeBundle(bundle);
    const Finding& finding = Get(report, "recovery.image-invalid");
    EXPECT_EQ(Severity::Error, finding.severity);
    EXPECT_NE(std::string::npos, EvidenceText(finding).find("boot.wim:0:")) << EvidenceText(finding);
    EXPECT_EQ(0u, CountFindings(report, "recovery.image"));
}

TEST(RecoveryImageInvalid, DisappearsForARealWim)
{
    EXPECT_EQ(0u, CountFindings(AnalyzeBundle(fixtures::ExtendedSampleBundle()), "recovery.image-invalid"));
}

TEST(RecoveryImageBuildMismatch, AppearsForAnImageOfAnotherRelease)
{
    fixtures::Bundle bundle = fixtures::ExtendedSampleBundle();
    bundle.Set("boot.wim", fixtures::Wim(fixtures::SampleInfs(), "17763"));
    const Report report = AnalyzeBundle(bundle);
    const Finding& finding = Get(report, "recovery.image-build-mismatch");
    EXPECT_EQ(Severity::Warning, finding.severity);
    EXPECT_EQ("boot.wim:0: image 1: build 17763\nsysteminfo.log:4: 10.0.19045 N/A Build 19045\n", EvidenceText(finding));
}

TEST(RecoveryImageBuildMismatch, DisappearsForTheImageOfTheSameServicingBranch)
{
    // Windows 10 22H2 (19045) carries a 19041 recovery image.
    EXPECT_EQ(0u, CountFindings(AnalyzeBundle(fixtures::ExtendedSampleBundle()), "recovery.image-build-mismatch"));
}

TEST(RecoveryImageArchitectureMismatch, AppearsForAnX86ImageOnAnX64System)
{
    fixtures::Bundle bundle = fixtures::ExtendedSampleBundle();
    bundle.Set("boot.wim", fixtures::Wim(fixtures::SampleInfs(), "19041", "0"));
    const Report report = AnalyzeBundle(bundle);
    EXPECT_EQ(Severity::Error, Get(report, "recovery.image-architecture-mismatch").severity);
    EXPECT_EQ(0u, CountFindings(AnalyzeBundle(fixtures::ExtendedSampleBundle()), "recovery.image-architecture-mismatch"));
}

// 2. Drivers the recovery environment lacks.

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

TEST(BootRecoveryDisabled, AppearsFromTheRegistryExport)
{
    const Report report = AnalyzeBundle(WithBootStore(fixtures::SampleBundle(), fixtures::SampleBootStore(fixtures::kSystemOffset, false)));
    const Finding& finding = Get(report, "boot.recovery-disabled");
    EXPECT_EQ(Severity::Error, finding.severity);
    EXPECT_EQ("BCD00000000.reg", finding.evidence.at(0).entry);
    EXPECT_EQ("Element=00", finding.evidence.at(0).text);
}

TEST(BootRecoveryDisabled, DisappearsWhenRecoveryIsEnabled)
{
    EXPECT_EQ(0u, CountFindings(AnalyzeBundle(fixtures::SampleBundle()), "boot.recovery-disabled"));
}

class BcdeditOnly : public testing::TestWithParam<Speech>
{
};

TEST_P(BcdeditOnly, RecoveryDisabledAppearsFromBcdeditWhenTheExportIsMissing)
{
    fixtures::Bundle bundle = fixtures::SampleBundle(GetParam());
    bundle.Remove("BCD00000000.reg").Set("bcdedit_all.log", fixtures::CollectorSaves(fixtures::BcdeditOutput(GetParam(), false)));
    const Report report = AnalyzeBundle(bundle);
    const Finding& finding = Get(report, "boot.recovery-disabled");
    EXPECT_EQ("bcdedit_all.log", finding.evidence.at(0).entry);
    EXPECT_EQ(20u, finding.evidence.at(0).line);
    EXPECT_EQ(GetParam() == Speech::German ? "recoveryenabled Nein" : "recoveryenabled No", finding.evidence.at(0).text);
}

TEST_P(BcdeditOnly, RecoveryDisabledDisappearsWhenBcdeditSaysYes)
{
    fixtures::Bundle bundle = fixtures::SampleBundle(GetParam());
    bundle.Remove("BCD00000000.reg");
    const Report report = AnalyzeBundle(bundle);
    EXPECT_EQ(0u, CountFindings(report, "boot.recovery-disabled"));
    EXPECT_EQ(1u, CountFindings(report, "boot.recovery-loader")) << Summary(report);
}
INSTANTIATE_TEST_SUITE_P(Forms, BcdeditOnly, testing::Values(Speech::Utf8, Speech::Field, Speech::German));

TEST(BootConfiguration, TheRegistryExportComesBeforeBcdedit)
{
    fixtures::Bundle bundle = fixtures::SampleBundle();
    bundle.Set("bcdedit_all.log", fixtures::CollectorSaves(fixtures::BcdeditOutput(Speech::Utf8, false)));
    EXPECT_EQ(0u, CountFindings(AnalyzeBundle(bundle), "boot.recovery-disabled"));
}

TEST(BootConfiguration, TheHiveStandsInForAMissingExport)
{
    fixtures::Bundle bundle = fixtures::SampleBundle();
    bundle.Remove("BCD00000000.reg").Set("BCD00000000.hiv", fixtures::Hive(fixtures::kSystemOffset, false));
    const Report report = AnalyzeBundle(bundle);
    EXPECT_EQ("BCD00000000.hiv", Get(report, "boot.recovery-disabled").evidence.at(0).entry) << Summary(report);
}

TEST(BootRecoverySequenceMissing, AppearsForALoaderWithoutOne)
{
    fixtures::RegExport store;
    store.Key("HKEY_LOCAL_MACHINE\\BCD00000000\\Objects\\" + std::string(fixtures::kLoader) + "\\Description").Dword("Type", 0x10200003);
    store.Key("HKEY_LOCAL_MACHINE\\BCD00000000\\Objects\\" + std::string(fixtures::kLoader) + "\\Elements\\11000001")
        .Binary("Element", fixtures::PartitionElement(fixtures::kDiskSignature, fixtures::kSystemOffset));
    const Report report = AnalyzeBundle(WithBootStore(fixtures::SampleBundle(), store));
    EXPECT_EQ(Severity::Error, Get(report, "boot.recovery-sequence-missing").severity);
    EXPECT_EQ(0u, CountFindings(AnalyzeBundle(fixtures::SampleBundle()), "boot.recovery-sequence-missing"));
}

TEST(BootRecoveryLoaderMissing, AppearsWhenTheSequenceNamesNoObjectOfTheStore)
{
    fixtures::RegExport store = fixtures::SampleBootStore();
    store.Key("HKEY_LOCAL_MACHINE\\BCD00000000\\Objects\\" + std::string(fixtures::kLoader) + "\\Elements\\14000008")
        .MultiSz("Element", {"{deadbeef-0000-0000-0000-000000000000}"});
    const Report report = AnalyzeBundle(WithBootStore(fixtures::SampleBundle(), store));
    EXPECT_EQ("The recovery sequence points at {deadbeef-0000-0000-0000-000000000000}, which is not a boot loader in the store",
              Get(report, "boot.recovery-loader-missing").title);
    EXPECT_EQ(0u, CountFindings(AnalyzeBundle(fixtures::SampleBundle()), "boot.recovery-loader-missing"));
}

TEST(BootRecoveryPathMismatch, AppearsWhenTheLoaderStartsAnImageOnAnotherPartition)
{
    const Report report = AnalyzeBundle(WithBootStore(fixtures::SampleBundle(), fixtures::SampleBootStore(63LL << 30)));
    const Finding& finding = Get(report, "boot.recovery-path-mismatch");
    EXPECT_EQ(Severity::Warning, finding.severity);
    EXPECT_NE(std::string::npos, EvidenceText(finding).find("the image found lies on the system partition, the loader's on another"));
    EXPECT_EQ(0u, CountFindings(report, "boot.recovery-loader"));
}

TEST(BootRecoveryPathMismatch, AppearsFromBcdeditForARamdiskOnAVolumeWithoutLetter)
{
    fixtures::Bundle bundle = fixtures::SampleBundle(Speech::German);
    bundle.Remove("BCD00000000.reg").Set("bcdedit_all.log", fixtures::CollectorSaves(fixtures::BcdeditOutput(Speech::German, true, "\\Device\\HarddiskVolume4")));
    EXPECT_EQ(1u, CountFindings(AnalyzeBundle(bundle), "boot.recovery-path-mismatch"));
}

TEST(BootRecoveryPathMismatch, DisappearsWhenTheLoaderStartsTheImageFound)
{
    EXPECT_EQ(0u, CountFindings(AnalyzeBundle(fixtures::SampleBundle()), "boot.recovery-path-mismatch"));
}

TEST(BootConfigurationMissing, AppearsWithoutExportHiveAndBcdedit)
{
    fixtures::Bundle bundle = fixtures::SampleBundle();
    bundle.Remove("BCD00000000.reg").Remove("bcdedit_all.log");
    EXPECT_EQ(1u, CountFindings(AnalyzeBundle(bundle), "boot.configuration-missing"));
    EXPECT_EQ(0u, CountFindings(AnalyzeBundle(fixtures::SampleBundle()), "boot.configuration-missing"));
}

// 4. Disks.

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

TEST(DisksStatus, AppearsForADiskThatIsNotOk)
{
    fixtures::Bundle bundle = fixtures::SampleBundle();
    bundle.Set("wmic_disks.log", fixtures::CollectorSaves(fixtures::WmicDisksOutput(Speech::Utf8, fixtures::kDiskSignature, "Pred Fail")));
    EXPECT_EQ("Disk 0 reports status Pred Fail", Get(AnalyzeBundle(bundle), "disks.status").title);
    EXPECT_EQ(0u, CountFindings(AnalyzeBundle(fixtures::SampleBundle()), "disks.status"));
}

// 5. Setup and product logs.

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

TEST(EventsSystemLog, CountsBootAndDiskTroubleNewestFirst)
{
    fixtures::Bundle bundle = fixtures::ExtendedSampleBundle();
    bundle.Set("System32/WinEvt/Logs/System.evtx",
               fixtures::EventLog({{"Microsoft-Windows-Kernel-Power", 41, 1, fixtures::Filetime(2024, 5, 1)},
                                   {"Service Control Manager", 7036, 4, fixtures::Filetime(2024, 5, 2)},
                                   {"EventLog", 6008, 2, fixtures::Filetime(2024, 5, 3)},
                                   {"BugCheck", 1001, 2, fixtures::Filetime(2024, 5, 3)},
                                   {"disk", 153, 3, fixtures::Filetime(2024, 5, 4)},
                                   {"storahci", 129, 3, fixtures::Filetime(2024, 5, 5)},
                                   {"storahci", 5, 4, fixtures::Filetime(2024, 5, 5)}}));
    const Report report = AnalyzeBundle(bundle);
    const Finding& shutdowns = Get(report, "events.unexpected-shutdown");
    EXPECT_EQ("2 unexpected shutdowns in the System log, the newest 2024-05-03 12:00:00 UTC", shutdowns.title);
    EXPECT_EQ("System32/WinEvt/Logs/System.evtx:0: 2024-05-03 12:00:00 UTC EventLog event 6008 (record 3)\n"
              "System32/WinEvt/Logs/System.evtx:0: 2024-05-01 12:00:00 UTC Microsoft-Windows-Kernel-Power event 41 (record 1)\n",
              EvidenceText(shutdowns));
    EXPECT_EQ(Severity::Error, Get(report, "events.bug-check").severity);
    EXPECT_EQ(Severity::Error, Get(report, "events.disk-error").severity);
    EXPECT_EQ("1 storage controller errors and resets in the System log, the newest 2024-05-05 12:00:00 UTC",
              Get(report, "events.controller-error").title) << "the informational storahci event is no trouble";
}

TEST(EventsSystemLog, AQuietLogMakesNoFinding)
{
    const Report report = AnalyzeBundle(fixtures::ExtendedSampleBundle());
    for (const char* id : {"events.unexpected-shutdown", "events.bug-check", "events.disk-error", "events.controller-error"})
        EXPECT_EQ(0u, CountFindings(report, id)) << id;
}

TEST(EventsSystemLog, AnUnreadableLogIsNotedAndTheReportGoesOn)
{
    fixtures::Bundle bundle = fixtures::ExtendedSampleBundle();
    bundle.Set("System32/WinEvt/Logs/System.evtx", "sample System32\\WinEvt\\Logs\\System.evtx\r\nsecond line\r\n");
    const Report report = AnalyzeBundle(bundle);
    EXPECT_TRUE(HasNote(report, "System32/WinEvt/Logs/System.evtx", "not an event log")) << Summary(report);
    EXPECT_EQ(1u, CountFindings(report, "recovery.image"));
}

// 7. Collection completeness.

TEST(CollectionMissingFile, TheRegistryFilesMissingTogetherPointAtASpacedTemporaryFolder)
{
    fixtures::Bundle bundle = fixtures::SampleBundle();
    bundle.Remove("enum.reg").Remove("services.reg").Remove("BCD00000000.reg")
        .Set("mpdiag.log", "09:00:00 ! Item not copied: C:\\Users\\Jo Smith\\AppData\\Local\\Temp\\MPDiag1a2b\\Logs\\CBS\\CBS.log\r\n");
    const Report report = AnalyzeBundle(bundle);
    EXPECT_EQ(4u, CountFindings(report, "collection.missing-file")) << Summary(report);
    const Finding* finding = nullptr;
    for (const Finding& each : report.findings)
        if (each.subject == "BCD00000000.reg")
            finding = &each;
    ASSERT_NE(nullptr, finding);
    EXPECT_EQ(Severity::Warning, finding->severity);
    EXPECT_NE(std::string::npos, finding->title.find("a space in its path breaks them")) << finding->title;
    EXPECT_EQ("BCD00000000.reg:0: not in the archive\n"
              "mpdiag.log:1: working folder: C:\\Users\\Jo Smith\\AppData\\Local\\Temp\\MPDiag1a2b (holds a space)\n",
              EvidenceText(*finding));
    EXPECT_EQ(1u, CountFindings(report, "collection.log-errors"));
    EXPECT_EQ(1u, CountFindings(report, "boot.recovery-loader")) << "bcdedit stands in for the export";
}

TEST(CollectionMissingFile, DisappearsWhenTheFileIsThere)
{
    fixtures::Bundle bundle = fixtures::SampleBundle();
    EXPECT_EQ(1u, CountFindings(AnalyzeBundle(bundle), "collection.missing-file", "BCD00000000.hiv"));
    bundle.Set("BCD00000000.hiv", fixtures::Hive());
    EXPECT_EQ(0u, CountFindings(AnalyzeBundle(bundle), "collection.missing-file"));
    bundle.Remove("systeminfo.log");
    const Report report = AnalyzeBundle(bundle);
    EXPECT_EQ(Severity::Warning, Get(report, "collection.missing-file").severity);
    EXPECT_EQ("unknown", report.machine.windowsPe);
}

TEST(CollectionMissingFile, EventLogsMissingFromAnExtendedRun)
{
    fixtures::Bundle bundle = fixtures::ExtendedSampleBundle();
    EXPECT_EQ(0u, CountFindings(AnalyzeBundle(bundle), "collection.missing-file", "System32/winevt/Logs/System.evtx"));
    bundle.Remove("System32/WinEvt/Logs/System.evtx");
    EXPECT_EQ(1u, CountFindings(AnalyzeBundle(bundle), "collection.missing-file", "System32/winevt/Logs/System.evtx"));
}

// Files in unexpected encodings.

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
