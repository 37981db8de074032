// The drivers' findings: controllers with a problem on the machine, controllers no longer in it,
// and the present ones against the drivers Plug and Play finds in the recovery image.
#include "fixtures/support.h"

#include <gtest/gtest.h>

using namespace report;
using fixtures::Speech;
using namespace testing_support;

namespace
{
// devices.txt listing `count` RAID controllers of one vendor, each with a problem: three lines a
// controller, so that a million stay under the bytes read as text and pass the bound of lines.
std::string RaidControllersWithProblems(int count)
{
    std::string devices;
    for (int i = 0; i < count; ++i)
    {
        char id[32];
        snprintf(id, sizeof id, "PCI\\VEN_1000&DEV_%04X", i % 0x10000);
        devices += "Device " + std::to_string(i) + ":\r\n\t" + id + "\r\n\tPCI\\CC_010400\r\n";
    }
    return devices;
}

const uint64_t kStart = fixtures::Filetime(2024, 5, 10, 8);
const uint64_t kArrived = kStart + 50000000; // five seconds after the start
const char kVmd[] = "PCI\\VEN_8086&DEV_467F";
const char kStore[] = "/Windows/System32/DriverStore/FileRepository/";

fixtures::TreeDevice Vmd(const std::string& instance = "3&11583659&0&E8", uint64_t arrival = kArrived)
{
    return {"PCI\\VEN_8086&DEV_467F&SUBSYS_0A4D1028&REV_00\\" + instance,
            {"PCI\\VEN_8086&DEV_467F&SUBSYS_0A4D1028&REV_00", "PCI\\VEN_8086&DEV_467F&SUBSYS_0A4D1028", "PCI\\VEN_8086&DEV_467F"},
            {"PCI\\VEN_8086&CC_010400", "PCI\\CC_010400", "PCI\\CC_0104"},
            "4&1f1fba2&0",
            arrival,
            0};
}

fixtures::TreeDevice Nic(const std::string& instance, uint64_t arrival, uint64_t removal = 0)
{
    return {"PCI\\VEN_8086&DEV_15B8&SUBSYS_86721043&REV_00\\" + instance,
            {"PCI\\VEN_8086&DEV_15B8&SUBSYS_86721043&REV_00", "PCI\\VEN_8086&DEV_15B8"},
            {"PCI\\VEN_8086&CC_020000", "PCI\\CC_020000", "PCI\\CC_0200"},
            "",
            arrival,
            removal};
}

// The extended sample machine with another device tree (and no devices.txt, so that only the
// tree speaks) and another recovery image.
fixtures::Bundle Machine(const std::vector<fixtures::TreeDevice>& tree, const std::vector<fixtures::InfFile>& infs,
                         const std::string& build = "19041", const std::string& arch = "9", uint64_t start = kStart)
{
    fixtures::Bundle bundle = fixtures::ExtendedSampleBundle();
    bundle.Remove("devices.txt");
    bundle.Set("enum.reg", fixtures::Utf16Le(fixtures::DeviceTree(tree, start).Text()));
    bundle.Set("boot.wim", fixtures::Wim(infs, build, arch));
    return bundle;
}

fixtures::InfFile VendorInfFile(const std::string& path, const std::vector<fixtures::VendorInfModels>& models,
                                fixtures::InfEncoding encoding = fixtures::InfEncoding::Windows1252)
{
    fixtures::VendorInfSpec spec;
    spec.models = models;
    spec.encoding = encoding;
    return {path, fixtures::VendorInf(spec)};
}

bool Has(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}
} // namespace

TEST(DriversMissingInRecoveryImage, AppearsForTheNetworkAdapterThatNoInfLists)
{
    const Report report = AnalyzeBundle(fixtures::ExtendedSampleBundle());
    ASSERT_EQ(1u, CountFindings(report, "drivers.missing-in-recovery-image")) << Summary(report);
    const Finding& finding = Get(report, "drivers.missing-in-recovery-image");
    EXPECT_EQ(Severity::Warning, finding.severity);
    EXPECT_EQ("PCI\\VEN_8086&DEV_10D3", finding.subject);
    EXPECT_EQ("No INF file in the recovery image lists the Intel Corporation 82574L Gigabit Network Connection (PCI\\VEN_8086&DEV_10D3) "
              "for this image",
              finding.title);
    ASSERT_EQ(3u, finding.evidence.size()) << EvidenceText(finding);
    EXPECT_EQ("enum.reg", finding.evidence[0].entry);
    EXPECT_LT(0u, finding.evidence[0].line);
    EXPECT_EQ("PCI\\VEN_8086&DEV_10D3&SUBSYS_07D015AD&REV_00, PCI\\VEN_8086&DEV_10D3, PCI\\VEN_8086&CC_020000, PCI\\CC_020000, PCI\\CC_0200",
              finding.evidence[0].text);
    EXPECT_EQ("PCI\\VEN_8086&DEV_10D3&SUBSYS_07D015AD&REV_00\\4&3b8d6f2&0&0020: present (devices.txt lists it (the collector lists "
              "only present devices))",
              finding.evidence[1].text);
    EXPECT_EQ("boot.wim", finding.evidence[2].entry);
    EXPECT_EQ("image 1 (Windows 10.0 build 19041, x64, workstation): 3 INF files read where Plug and Play looks (2 in "
              "\\Windows\\INF, 1 in the driver store), none lists any of these identifiers in the models section Windows picks "
              "for this image",
              finding.evidence[2].text);
}

TEST(DriversMissingInRecoveryImage, DisappearsWhenAnInfListsTheAdapter)
{
    std::vector<fixtures::InfFile> infs = fixtures::SampleInfs();
    infs.push_back(fixtures::Inf("/Windows/INF/net1ic64.inf", {"PCI\\VEN_8086&DEV_10D3&SUBSYS_07D015AD"}));
    infs.push_back(fixtures::Inf("/Windows/INF/e1i.inf", {"PCI\\VEN_8086&DEV_10D3"}));
    fixtures::Bundle bundle = fixtures::ExtendedSampleBundle();
    bundle.Set("boot.wim", fixtures::Wim(infs));
    const Report report = AnalyzeBundle(bundle);
    EXPECT_EQ(0u, CountFindings(report, "drivers.missing-in-recovery-image")) << Summary(report);
    const Finding& listed = Get(report, "drivers.recovery-image-serves");
    EXPECT_EQ("INF files of the recovery image list 3 of 3 storage and network controllers, for this image", listed.title);
    const std::string text = EvidenceText(listed);
    EXPECT_TRUE(Has(text, "/Windows/INF/e1i.inf [Maker.NTamd64] lists PCI\\VEN_8086&DEV_10D3 (hardware identifier)")) << text;
    EXPECT_TRUE(Has(text, "/Windows/INF/storahci.inf [Maker.NTamd64] lists PCI\\CC_010601 (compatible identifier)")) << text;
}

TEST(DriversMissingInRecoveryImage, IsAnErrorForThePresentRaidControllerWhenOnlyAnX86InfListsIt)
{
    fixtures::Bundle bundle = fixtures::ExtendedSampleBundle();
    bundle.Set("boot.wim", fixtures::Wim({fixtures::Inf("/Windows/INF/storahci.inf", {"PCI\\CC_010601"}),
                                          fixtures::Inf("/Windows/INF/megasas.inf", {"PCI\\VEN_1000&DEV_0079"}, "NTx86")}));
    const Report report = AnalyzeBundle(bundle);
    ASSERT_EQ(1u, CountFindings(report, "drivers.missing-in-recovery-image", "PCI\\VEN_1000&DEV_0079")) << Summary(report);
    for (const Finding& finding : report.findings)
        if (finding.subject == "PCI\\VEN_1000&DEV_0079" && finding.id == "drivers.missing-in-recovery-image")
        {
            EXPECT_EQ(Severity::Error, finding.severity);
            EXPECT_TRUE(Has(EvidenceText(finding), "/Windows/INF/megasas.inf lists PCI\\VEN_1000&DEV_0079 in [Maker.NTx86], which Windows "
                                                   "passes over for this image: for x86, not amd64"))
                << EvidenceText(finding);
        }
    EXPECT_EQ(0u, CountFindings(report, "drivers.missing-in-recovery-image", "PCI\\VEN_8086&DEV_2922"));
}

TEST(DriversMissingInRecoveryImage, ABuildDecoratedSectionDoesNotServeAnOlderImage)
{
    // Intel's RST VMD driver names only NTamd64.10.0...19041: a recovery image of build 17763 sees no disk.
    const std::vector<fixtures::InfFile> infs = {
        VendorInfFile(std::string(kStore) + "iastorvd.inf_amd64_8f2b5c0e6a1d3947/iaStorVD.inf", {{"NTamd64.10.0...19041", {kVmd}}})};
    const Report older = AnalyzeBundle(Machine({Vmd()}, infs, "17763"));
    ASSERT_EQ(1u, CountFindings(older, "drivers.missing-in-recovery-image", kVmd)) << Summary(older);
    const Finding& missing = Get(older, "drivers.missing-in-recovery-image");
    EXPECT_EQ(Severity::Error, missing.severity);
    EXPECT_EQ("No INF file in the recovery image lists the Intel Corporation RAID controller (PCI\\VEN_8086&DEV_467F) for this image",
              missing.title);
    EXPECT_TRUE(Has(EvidenceText(missing), "iaStorVD.inf lists PCI\\VEN_8086&DEV_467F in [iaStorVD_Models.NTamd64.10.0...19041], "
                                           "which Windows passes over for this image: for build 19041 and later; the image is build 17763"))
        << EvidenceText(missing);
    EXPECT_TRUE(Has(EvidenceText(missing), ": present (arrived 2024-05-10 08:00:05 UTC, at or after the machine's last start"))
        << EvidenceText(missing);

    const Report newer = AnalyzeBundle(Machine({Vmd()}, infs, "19041"));
    EXPECT_EQ(0u, CountFindings(newer, "drivers.missing-in-recovery-image")) << Summary(newer);
    EXPECT_TRUE(Has(EvidenceText(Get(newer, "drivers.recovery-image-serves")),
                    "iaStorVD.inf [iaStorVD_Models.NTamd64.10.0...19041] lists PCI\\VEN_8086&DEV_467F (hardware identifier)"));
}

TEST(DriversMissingInRecoveryImage, InfFilesWherePlugAndPlayDoesNotLookAndExtensionInfsDoNotCount)
{
    fixtures::VendorInfSpec extension;
    extension.className = "Extension";
    extension.classGuid = "{e2f84ce7-8efa-411c-aa69-97454ca4cb57}";
    extension.models = {{"NTamd64", {kVmd}}};
    const Report report = AnalyzeBundle(Machine({Vmd()}, {VendorInfFile("/Program Files/Intel/RST/iaStorVD.inf", {{"NTamd64", {kVmd}}}),
                                                          {"/Windows/INF/oem3.inf", fixtures::VendorInf(extension)}}));
    const Finding& missing = Get(report, "drivers.missing-in-recovery-image");
    EXPECT_TRUE(Has(EvidenceText(missing), "1 INF files install no function driver (extension or software component INFs) and were not counted"))
        << EvidenceText(missing);
    EXPECT_TRUE(Has(EvidenceText(missing), "1 INF files elsewhere in the image were not counted: Plug and Play does not look there"));
    EXPECT_EQ(0u, CountFindings(AnalyzeBundle(Machine({Vmd()}, {VendorInfFile(std::string(kStore) + "iastorvd.inf_amd64_1/iaStorVD.inf",
                                                                              {{"NTamd64", {kVmd}}})})),
                                "drivers.missing-in-recovery-image"))
        << "the same INF in the driver store counts";
}

TEST(DriversMissingInRecoveryImage, AnUndecoratedInfServesAnX86ImageOnlyAndAnArm64OneNoX64Image)
{
    const std::vector<fixtures::InfFile> undecorated = {VendorInfFile("/Windows/INF/oem1.inf", {{"", {kVmd}}}, fixtures::InfEncoding::Utf16)};
    EXPECT_EQ(1u, CountFindings(AnalyzeBundle(Machine({Vmd()}, undecorated, "19041", "9")), "drivers.missing-in-recovery-image"));
    EXPECT_EQ(0u, CountFindings(AnalyzeBundle(Machine({Vmd()}, undecorated, "19041", "0")), "drivers.missing-in-recovery-image"));
    const std::vector<fixtures::InfFile> arm64 = {VendorInfFile("/Windows/INF/oem2.inf", {{"NTarm64.10.0...19041", {kVmd}}})};
    EXPECT_EQ(1u, CountFindings(AnalyzeBundle(Machine({Vmd()}, arm64, "19041", "9")), "drivers.missing-in-recovery-image"));
    EXPECT_EQ(0u, CountFindings(AnalyzeBundle(Machine({Vmd()}, arm64, "19041", "12")), "drivers.missing-in-recovery-image"));
}

TEST(DriversControllersNotPresent, RemovedAndOldControllersAreListedNotChecked)
{
    const Report report = AnalyzeBundle(Machine({Nic("3&11583659&0&FE", fixtures::Filetime(2024, 5, 1), fixtures::Filetime(2024, 5, 2)),
                                                 Vmd("3&11583659&0&E8", fixtures::Filetime(2023, 11, 3))},
                                                {}));
    EXPECT_EQ(0u, CountFindings(report, "drivers.missing-in-recovery-image")) << Summary(report);
    const Finding& gone = Get(report, "drivers.controllers-not-present");
    EXPECT_EQ(Severity::Info, gone.severity);
    ASSERT_EQ(2u, gone.evidence.size());
    EXPECT_TRUE(Has(gone.evidence[0].text, "3&11583659&0&FE: removed (removed 2024-05-02 12:00:00 UTC, after it last arrived 2024-05-01 12:00:00 UTC)"))
        << gone.evidence[0].text;
    EXPECT_TRUE(Has(gone.evidence[1].text, "not seen since the machine's last start (last arrived 2023-11-03 12:00:00 UTC, before the "
                                           "machine's last start (ACPI_HAL\\PNP0C08 arrived 2024-05-10 08:00:00 UTC))"))
        << gone.evidence[1].text;

    const Report present = AnalyzeBundle(Machine({Nic("3&11583659&0&FE", kArrived), Vmd()}, {}));
    EXPECT_EQ(0u, CountFindings(present, "drivers.controllers-not-present"));
    EXPECT_EQ(2u, CountFindings(present, "drivers.missing-in-recovery-image"));
}

TEST(DriversMissingInRecoveryImage, TwoInstancesOfOneModelMakeOneFindingNamingBoth)
{
    const Report report = AnalyzeBundle(Machine({Nic("3&11583659&0&FE", kArrived), Nic("3&11583659&0&FF", kArrived)}, {}));
    ASSERT_EQ(1u, CountFindings(report, "drivers.missing-in-recovery-image")) << Summary(report);
    const Finding& finding = Get(report, "drivers.missing-in-recovery-image");
    EXPECT_TRUE(Has(finding.title, "(PCI\\VEN_8086&DEV_15B8) (2 instances) for this image")) << finding.title;
    EXPECT_TRUE(Has(EvidenceText(finding), "0&FE: present")) << EvidenceText(finding);
    EXPECT_TRUE(Has(EvidenceText(finding), "0&FF: present")) << EvidenceText(finding);
}

TEST(DriversMissingInRecoveryImage, AStorageControllerOfUnknownPresenceIsAWarningThatSaysSo)
{
    const Report report = AnalyzeBundle(Machine({Vmd("3&11583659&0&E8", 0)}, {}, "19041", "9", 0));
    const Finding& finding = Get(report, "drivers.missing-in-recovery-image");
    EXPECT_EQ(Severity::Warning, finding.severity);
    EXPECT_TRUE(Has(finding.advice, "Whether this controller is still in the machine cannot be told from the archive."));
    EXPECT_TRUE(Has(EvidenceText(finding), ": presence not known (enum.reg holds no arrival or removal dates for it)")) << EvidenceText(finding);
}

TEST(DriversSystemDiskController, IsFoundFromTheLoaderThroughTheDiskToItsControllerAndRankedFirst)
{
    const fixtures::TreeDevice nvme = {"PCI\\VEN_144D&DEV_A808&SUBSYS_A801144D&REV_00\\4&2b9a57a7&0&0008",
                                       {"PCI\\VEN_144D&DEV_A808&SUBSYS_A801144D&REV_00", "PCI\\VEN_144D&DEV_A808"},
                                       {"PCI\\VEN_144D&CC_010802", "PCI\\CC_010802", "PCI\\CC_0108"},
                                       "5&2b9a57a7&0",
                                       0,
                                       0};
    fixtures::Bundle bundle = Machine({Vmd("3&11583659&0&E8", 0), nvme}, {}, "19041", "9", 0);
    bundle.Set("wmic_disks.log", fixtures::CollectorSaves(fixtures::WmicDisksOutput(
                                     Speech::Utf8, fixtures::kDiskSignature, "OK", "SCSI\\DISK&VEN_NVME&PROD_SAMSUNG_MZVLB512\\5&2B9A57A7&0&000000")));
    const Report report = AnalyzeBundle(bundle);
    const Finding& system = Get(report, "drivers.system-disk-controller");
    EXPECT_EQ("The system disk lies behind the NVMe controller (PCI\\VEN_144D&DEV_A808)", system.title);
    ASSERT_EQ(3u, system.evidence.size()) << EvidenceText(system);
    EXPECT_EQ("BCD00000000.reg", system.evidence[0].entry);
    EXPECT_EQ("the current loader's device: partition at offset 1 MiB of MBR disk 0x5A3C9E01", system.evidence[0].text);
    EXPECT_EQ("disk 0 has that signature; its PNPDeviceID is SCSI\\DISK&VEN_NVME&PROD_SAMSUNG_MZVLB512\\5&2B9A57A7&0&000000", system.evidence[1].text);
    EXPECT_EQ("PCI\\VEN_144D&DEV_A808&SUBSYS_A801144D&REV_00\\4&2b9a57a7&0&0008 has ParentIdPrefix 5&2b9a57a7&0", system.evidence[2].text);
    std::vector<std::string> missing;
    for (const Finding& finding : report.findings)
        if (finding.id == "drivers.missing-in-recovery-image")
            missing.push_back(finding.subject + (finding.severity == Severity::Error ? " error" : " warning"));
    EXPECT_EQ((std::vector<std::string>{"PCI\\VEN_144D&DEV_A808 error", "PCI\\VEN_8086&DEV_467F warning"}), missing)
        << "the system disk's controller first, and present: its disk is listed";

    bundle.Set("wmic_disks.log", fixtures::CollectorSaves(fixtures::WmicDisksOutput(Speech::Utf8)));
    EXPECT_EQ(0u, CountFindings(AnalyzeBundle(bundle), "drivers.system-disk-controller")) << "without PNPDeviceID no link is claimed";
}

TEST(DriversMissingInRecoveryImage, HyperVAndSdHostControllersAreChecked)
{
    const std::vector<fixtures::TreeDevice> tree = {
        {"VMBUS\\{ba6163d9-04a1-4d29-b605-72e2ffb1dc7f}\\{f8b3781b-1e82-4818-a1c3-63d806ec15bb}", {"VMBUS\\{ba6163d9-04a1-4d29-b605-72e2ffb1dc7f}"}, {}, "", kArrived},
        {"VMBUS\\{f8615163-df3e-46c5-913f-f2d2f965ed0e}\\{b22f1bf5-12f6-480d-8f16-702ac7be5caa}", {"VMBUS\\{f8615163-df3e-46c5-913f-f2d2f965ed0e}"}, {}, "", kArrived},
        {"ACPI\\PNP0D40\\1", {"ACPI\\PNP0D40", "*PNP0D40"}, {}, "", kArrived}};
    const Report report = AnalyzeBundle(
        Machine(tree, {VendorInfFile("/Windows/INF/wstorvsc.inf", {{"NTamd64", {"VMBUS\\{ba6163d9-04a1-4d29-b605-72e2ffb1dc7f}"}}})}));
    std::vector<std::string> missing;
    for (const Finding& finding : report.findings)
        if (finding.id == "drivers.missing-in-recovery-image")
            missing.push_back(std::string(SeverityName(finding.severity)) + ": " + finding.title);
    EXPECT_EQ((std::vector<std::string>{"error: No INF file in the recovery image lists the SD host controller (ACPI\\PNP0D40) for this image",
                                        "warning: No INF file in the recovery image lists the Hyper-V network adapter "
                                        "(VMBUS\\{F8615163-DF3E-46C5-913F-F2D2F965ED0E}) for this image"}),
              missing)
        << "the Hyper-V SCSI controller has storvsc's INF";
}

TEST(DriversNotChecked, WhenNeitherTheImageNorSysteminfoNamesThePlatform)
{
    fixtures::Bundle bundle = Machine({Vmd()}, {}, "19041", "");
    bundle.Remove("systeminfo.log");
    const Report report = AnalyzeBundle(bundle);
    EXPECT_EQ(Severity::Warning, Get(report, "drivers.not-checked").severity);
    EXPECT_EQ(0u, CountFindings(report, "drivers.missing-in-recovery-image"));
    EXPECT_EQ(0u, CountFindings(AnalyzeBundle(Machine({Vmd()}, {}, "19041", "")), "drivers.not-checked"))
        << "systeminfo.log's platform stands in for the image's";
}

TEST(DriversNoDriverOnMachine, SaysOnlyThatWindowsReportsAProblemAndDisappearsWithoutDevicesTxt)
{
    const Report report = AnalyzeBundle(fixtures::SampleBundle());
    const Finding& finding = Get(report, "drivers.no-driver-on-machine");
    EXPECT_EQ("Windows reports a problem with the Broadcom / LSI MegaRAID SAS 2108 [Liberator] (PCI\\VEN_1000&DEV_0079)", finding.title);
    EXPECT_TRUE(Has(finding.advice, "not which")) << finding.advice;
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

TEST(DriversShapes, TwentyThousandControllersInDevicesTxtAreReadUpToTheCapWithANote)
{
    fixtures::Bundle bundle = fixtures::SampleBundle();
    bundle.Set("devices.txt", RaidControllersWithProblems(20000));
    const Report report = AnalyzeBundle(bundle);
    EXPECT_TRUE(HasNote(report, "devices.txt", "lists 18976 more storage and network controllers than the report reads (1024)"));
    EXPECT_EQ(1024u, CountFindings(report, "drivers.no-driver-on-machine"));
}

TEST(DriversShapes, AMillionControllersInDevicesTxtAreReadUpToTheLineBound)
{
    fixtures::Bundle bundle = fixtures::SampleBundle();
    bundle.Set("devices.txt", RaidControllersWithProblems(1000000));
    const Report report = AnalyzeBundle(bundle);
    EXPECT_TRUE(HasNote(report, "devices.txt", "holds more than 1000000 lines: those after them were left out, unread")) << Summary(report);
    EXPECT_TRUE(HasNote(report, "devices.txt", "more storage and network controllers than the report reads (1024)")) << Summary(report);
    EXPECT_EQ(1024u, CountFindings(report, "drivers.no-driver-on-machine"));
}

TEST(DriversShapes, AFourMebibyteInfInTheImageIsReadWithANoteOnItsCutLine)
{
    std::string inf = "[Version]\r\nSignature=\"$WINDOWS NT$\"\r\nClass=Net\r\n[Manufacturer]\r\n%Mfg% = Mfg, NTamd64\r\n[Mfg.NTamd64]\r\n"
                      "%Dev% = Inst, PCI\\VEN_8086&DEV_10D3";
    while (inf.size() < (4u << 20) - 64)
        inf += ", \\\r\nPCI\\VEN_1000&DEV_FFFF";
    inf += "\r\n";
    fixtures::Bundle bundle = fixtures::ExtendedSampleBundle();
    bundle.Set("boot.wim", fixtures::Wim({{"/Windows/INF/big.inf", inf}}));
    const Report report = AnalyzeBundle(bundle);
    EXPECT_TRUE(HasNote(report, "boot.wim", "/Windows/INF/big.inf: lines longer than 65536 characters were cut")) << Summary(report);
    EXPECT_EQ(0u, CountFindings(report, "drivers.missing-in-recovery-image", "PCI\\VEN_8086&DEV_10D3"));
}
