// The boot chain and the disks that the outputs show: its steps from the boot configuration, its
// breaks as the findings judge them, the partitions placed on the disks, and what stays unknown.
#include "outputs/chain_bundles.h"
#include "show/format.h"

#include <gtest/gtest.h>

using namespace report;
using namespace testing_support;

namespace
{
const char kLoader[] = "{4f2c1a8e-7b3d-11ef-a1c4-0021cc6b2e10}";
const char kRecovery[] = "{4f2c1a8f-7b3d-11ef-a1c4-0021cc6b2e10}";

std::string States(const BootChain& chain)
{
    std::string text;
    for (const ChainStep& step : chain.steps)
        text += step.role + " " + ChainStateName(step.link) + "/" + ChainStateName(step.state) + "\n";
    return text;
}

std::string Roles(const PartitionPlace& partition)
{
    std::string text;
    for (const std::string& role : partition.roles)
        text += (text.empty() ? "" : ",") + role;
    return text;
}

const ChainStep& StepOf(const BootChain& chain, const std::string& role)
{
    for (const ChainStep& step : chain.steps)
        if (step.role == role)
            return step;
    throw std::runtime_error("no step " + role);
}
} // namespace

TEST(BootChain, SampleMachineHoldsFromTheBootManagerToTheImage)
{
    const BootChain chain = AnalyzeBundle(fixtures::SampleBundle()).bootChain;
    EXPECT_EQ("boot-manager ok/ok\ncurrent-loader unknown/ok\nrecovery-sequence ok/ok\nrecovery-loader ok/ok\nrecovery-image ok/ok\n",
              States(chain));
    EXPECT_EQ("BCD00000000.reg", chain.source);
    EXPECT_EQ(fixtures::kBootManager, StepOf(chain, "boot-manager").id);
    EXPECT_EQ(kLoader, StepOf(chain, "current-loader").id);
    EXPECT_EQ("no default in the boot manager", StepOf(chain, "current-loader").linkText);
    EXPECT_EQ("disk 0 (MBR 0x5A3C9E01), partition at 1 MiB", StepOf(chain, "current-loader").device);
    EXPECT_EQ("recovery enabled", StepOf(chain, "recovery-sequence").linkText);
    EXPECT_EQ(kRecovery, StepOf(chain, "recovery-sequence").id);
    EXPECT_EQ("Windows Recovery Environment", StepOf(chain, "recovery-loader").description);
    const ChainStep& image = StepOf(chain, "recovery-image");
    EXPECT_EQ("\\Recovery\\WindowsRE\\Winre.wim", image.id);
    EXPECT_EQ("the collector found C:\\Recovery\\WindowsRE\\WinRE.wim", image.detail);
    EXPECT_EQ(nullptr, chain.First(ChainState::Broken));
    EXPECT_EQ("The chain holds as far as the archive shows; not known: current loader (no default in the boot manager)", chain.Verdict());
}

TEST(BootChain, SampleMachinesDiskCarriesOnePartitionWithAllThreeRoles)
{
    const BootChain chain = AnalyzeBundle(fixtures::SampleBundle()).bootChain;
    ASSERT_EQ(1u, chain.disks.size());
    const DiskPlace& disk = chain.disks.front();
    EXPECT_TRUE(disk.listed);
    EXPECT_EQ("Disk 0", disk.Title());
    EXPECT_EQ("MBR", disk.style);
    EXPECT_EQ("0x5A3C9E01", disk.identity);
    EXPECT_EQ(fixtures::kDiskSize, disk.size);
    EXPECT_EQ("3", disk.partitionsListed);
    ASSERT_EQ(1u, disk.partitions.size());
    EXPECT_EQ(fixtures::kSystemOffset, disk.partitions[0].offset);
    EXPECT_EQ("boot-manager,windows,recovery-image", Roles(disk.partitions[0]));
    EXPECT_TRUE(chain.unplaced.empty());
}

TEST(BootChain, RecoveryDisabledBreaksTheArrowToTheSequence)
{
    const BootChain chain = AnalyzeBundle(WithBootStore(fixtures::SampleBundle(), fixtures::SampleBootStore(fixtures::kSystemOffset, false))).bootChain;
    const ChainStep& sequence = StepOf(chain, "recovery-sequence");
    EXPECT_EQ(ChainState::Broken, sequence.link);
    EXPECT_EQ("recovery disabled", sequence.linkText);
    EXPECT_EQ("boot.recovery-disabled", sequence.linkFindingId);
    EXPECT_EQ(ChainState::Ok, sequence.state) << "the sequence itself is still there";
    EXPECT_EQ(&sequence, chain.First(ChainState::Broken));
    EXPECT_EQ("The chain breaks on the way to the recovery sequence: Recovery is disabled for the running system's boot loader "
              "[boot.recovery-disabled]",
              chain.Verdict());
}

TEST(BootChain, AMissingSequenceBreaksAndTheStepsAfterItAreNotReached)
{
    const std::string objects = "HKEY_LOCAL_MACHINE\\BCD00000000\\Objects\\";
    fixtures::RegExport store;
    store.Key(objects + kLoader + "\\Description").Dword("Type", 0x10200003);
    store.Key(objects + kLoader + "\\Elements\\11000001").Binary("Element", fixtures::PartitionElement(fixtures::kDiskSignature, fixtures::kSystemOffset));
    const BootChain chain = AnalyzeBundle(WithBootStore(fixtures::SampleBundle(), store)).bootChain;
    EXPECT_EQ("boot-manager ok/unknown\ncurrent-loader unknown/ok\nrecovery-sequence unknown/broken\n"
              "recovery-loader not-reached/not-reached\nrecovery-image not-reached/not-reached\n",
              States(chain));
    EXPECT_EQ("the store holds no boot manager", StepOf(chain, "boot-manager").detail);
    EXPECT_EQ("boot.recovery-sequence-missing", StepOf(chain, "recovery-sequence").findingId);
}

TEST(BootChain, ASequenceToAnAbsentLoaderBreaksAtTheRecoveryLoader)
{
    const std::string objects = "HKEY_LOCAL_MACHINE\\BCD00000000\\Objects\\";
    fixtures::RegExport store = fixtures::SampleBootStore();
    store.Key(objects + kLoader + "\\Elements\\14000008").MultiSz("Element", {"{00000000-1111-2222-3333-444444444444}"});
    const BootChain chain = AnalyzeBundle(WithBootStore(fixtures::SampleBundle(), store)).bootChain;
    const ChainStep& loader = StepOf(chain, "recovery-loader");
    EXPECT_EQ(ChainState::Broken, loader.state);
    EXPECT_EQ("boot.recovery-loader-missing", loader.findingId);
    EXPECT_EQ("{00000000-1111-2222-3333-444444444444}", loader.id);
    EXPECT_EQ("not in the store", loader.detail);
    EXPECT_EQ(ChainState::NotReached, StepOf(chain, "recovery-image").state);
}

TEST(BootChain, ALoaderThatAPartialListingDoesNotShowIsUnknownNotAbsent)
{
    fixtures::Bundle bundle = fixtures::PartialBcdeditBundle();
    const BootChain chain = AnalyzeBundle(bundle).bootChain;
    const ChainStep& loader = StepOf(chain, "recovery-loader");
    EXPECT_EQ("{deadbeef-0000-0000-0000-000000000000}", loader.id);
    EXPECT_EQ("not in the listing", loader.detail);
    EXPECT_NE(ChainState::Broken, loader.state) << "an info finding marks nothing";
}

TEST(BootChain, ALongListingOfDisksKeepsTheChainsDiskAndTheFirstOthers)
{
    // A made listing of 20 disks in wmic's columns: disk 0 is the sample machine's, the others
    // carry no partition of the chain.
    std::string listing = "Index  Signature   Size         \r\r\n";
    for (uint32_t i = 0; i < 20; ++i)
    {
        const std::string index = std::to_string(i), signature = std::to_string(i ? 1000 + i : fixtures::kDiskSignature);
        listing += index + std::string(7 - index.size(), ' ') + signature + std::string(12 - signature.size(), ' ') +
                   std::to_string(fixtures::kDiskSize) + "  \r\r\n";
    }
    const BootChain chain =
        AnalyzeBundle(fixtures::SampleBundle().Set("wmic_disks.log", fixtures::CollectorSaves(fixtures::Utf16Le(listing)))).bootChain;
    ASSERT_EQ(1u + kChainDiskCap, chain.disks.size());
    EXPECT_EQ("0", chain.disks.front().index);
    EXPECT_FALSE(chain.disks.front().partitions.empty());
    EXPECT_EQ(std::to_string(kChainDiskCap), chain.disks.back().index);
    EXPECT_EQ(3u, chain.disksLeftOut);
    EXPECT_EQ("3 more disks of the listing, which hold no partition of the chain, are not shown", DisksLeftOut(chain));
}

TEST(BootChain, AnImageTheCollectorDidNotFindBreaksTheLastStep)
{
    fixtures::Bundle bundle = fixtures::SampleBundle();
    bundle.Remove("recovery_path.log");
    const BootChain chain = AnalyzeBundle(bundle).bootChain;
    const ChainStep& image = StepOf(chain, "recovery-image");
    EXPECT_EQ(ChainState::Broken, image.state);
    EXPECT_EQ("recovery.image-not-found", image.findingId);
    EXPECT_EQ("The collector found no recovery image on the machine", image.problem);
    EXPECT_EQ("\\Recovery\\WindowsRE\\Winre.wim", image.id) << "the loader still names its image";
}

TEST(BootChain, AnImageOnADiskTheMachineLacksIsInDoubtAndDrawnOnThatDisk)
{
    fixtures::Bundle bundle = fixtures::SampleBundle();
    bundle.Set("wmic_disks.log", fixtures::CollectorSaves(fixtures::WmicDisksOutput(fixtures::Speech::Utf8, 0x12345678)));
    const BootChain chain = AnalyzeBundle(bundle).bootChain;
    const ChainStep& image = StepOf(chain, "recovery-image");
    EXPECT_EQ(ChainState::Doubtful, image.state);
    EXPECT_EQ("disks.recovery-disk-missing", image.findingId);
    EXPECT_EQ("MBR disk 0x5A3C9E01, partition at 1 MiB", image.device);
    ASSERT_EQ(2u, chain.disks.size());
    EXPECT_TRUE(chain.disks[0].partitions.empty()) << "the listed disk is another one";
    const DiskPlace& missing = chain.disks[1];
    EXPECT_FALSE(missing.listed);
    EXPECT_EQ("MBR disk 0x5A3C9E01 (not listed)", missing.Title());
    EXPECT_EQ(0u, missing.size) << "no size is known for a disk that is not listed";
    ASSERT_EQ(1u, missing.partitions.size());
    EXPECT_EQ("boot-manager,windows,recovery-image", Roles(missing.partitions[0]));
}

TEST(BootChain, BrokenChainBundleBreaksTwice)
{
    const BootChain chain = AnalyzeBundle(chain_bundles::Broken()).bootChain;
    EXPECT_EQ(ChainState::Broken, StepOf(chain, "recovery-sequence").link);
    const ChainStep& image = StepOf(chain, "recovery-image");
    EXPECT_EQ(ChainState::Doubtful, image.state);
    EXPECT_EQ("disks.recovery-partition-outside-disk", image.findingId);
    const DiskPlace& disk = chain.disks.at(0);
    ASSERT_EQ(2u, disk.partitions.size()) << "the system's partition and the image's, in order";
    EXPECT_EQ(fixtures::kSystemOffset, disk.partitions[0].offset);
    EXPECT_EQ("boot-manager,windows", Roles(disk.partitions[0]));
    EXPECT_EQ(70LL << 30, disk.partitions[1].offset);
    EXPECT_EQ("recovery-image", Roles(disk.partitions[1]));
}

TEST(BootChain, WithoutABootConfigurationEveryStepIsUnknown)
{
    fixtures::Bundle bundle = fixtures::SampleBundle();
    bundle.Remove("BCD00000000.reg").Remove("bcdedit_all.log");
    const BootChain chain = AnalyzeBundle(bundle).bootChain;
    EXPECT_EQ("", chain.source);
    for (const ChainStep& step : chain.steps)
        EXPECT_EQ(ChainState::Unknown, step.state) << step.role;
    EXPECT_EQ("the archive holds no readable boot configuration; the collector found C:\\Recovery\\WindowsRE\\WinRE.wim",
              StepOf(chain, "recovery-image").detail);
    EXPECT_EQ(1u, chain.disks.size()) << "the listed disk is still drawn";
    EXPECT_TRUE(chain.disks[0].partitions.empty());
}

TEST(BootChain, FromBcdeditAloneThePartitionsHaveNoDisk)
{
    fixtures::Bundle bundle = fixtures::SampleBundle();
    bundle.Remove("BCD00000000.reg");
    const BootChain chain = AnalyzeBundle(bundle).bootChain;
    EXPECT_EQ("bcdedit_all.log", chain.source);
    EXPECT_EQ(ChainState::Ok, StepOf(chain, "recovery-image").state);
    EXPECT_EQ("partition C:", StepOf(chain, "current-loader").device);
    ASSERT_EQ(1u, chain.unplaced.size());
    EXPECT_EQ("C:", chain.unplaced[0].name);
    EXPECT_EQ(-1, chain.unplaced[0].offset);
    EXPECT_TRUE(chain.disks.at(0).partitions.empty()) << "bcdedit names no disk: nothing is placed on one";
}

TEST(BootChain, GptPartitionsLieOnADiskOnlyTheStoreNames)
{
    const std::string objects = "HKEY_LOCAL_MACHINE\\BCD00000000\\Objects\\";
    fixtures::RegExport store = fixtures::SampleBootStore();
    store.Key(objects + kLoader + "\\Elements\\11000001")
        .Binary("Element", fixtures::GptPartitionElement(std::string(16, '\x11'), std::string(16, '\x22')));
    const BootChain chain = AnalyzeBundle(WithBootStore(fixtures::SampleBundle(), store)).bootChain;
    const DiskPlace* gpt = nullptr;
    for (const DiskPlace& disk : chain.disks)
        if (disk.style == "GPT")
            gpt = &disk;
    ASSERT_NE(nullptr, gpt);
    EXPECT_FALSE(gpt->listed);
    EXPECT_EQ("{11111111-1111-1111-1111-111111111111}", gpt->identity);
    ASSERT_EQ(1u, gpt->partitions.size());
    EXPECT_EQ(-1, gpt->partitions[0].offset) << "a GPT element gives no offset";
    EXPECT_EQ("{22222222-2222-2222-2222-222222222222}", gpt->partitions[0].guid);
    EXPECT_EQ("windows", Roles(gpt->partitions[0]));
}

// The real store: the chain as its facts say (SOURCES.md), up to the image that the recovery
// loader's ramdisk element names, on GPT partition {6cdfcd69-...} of the Windows disk.
TEST(BootChain, RealStoreLeadsToTheImageOnItsOwnPartition)
{
    fixtures::Bundle bundle;
    if (!chain_bundles::AroundRealStore(bundle))
        GTEST_SKIP() << chain_bundles::kRealStoreSkip;
    const BootChain chain = AnalyzeBundle(bundle).bootChain;
    EXPECT_EQ("BCD00000000.hiv", chain.source);
    EXPECT_EQ("{9dea862c-5cdd-4e70-acc1-f32b344d4795}", StepOf(chain, "boot-manager").id);
    const ChainStep& current = StepOf(chain, "current-loader");
    EXPECT_EQ("{733b62e5-f608-11eb-825c-c112f60133ab}", current.id);
    EXPECT_EQ("default", current.linkText);
    EXPECT_EQ("GPT disk {0b2394a9-095e-487d-8d48-719ecd4d78ca}, partition {8e0f2c38-e4ea-47ba-b7fc-9d8c74dccf0b}", current.device);
    EXPECT_EQ("recovery enabled", StepOf(chain, "recovery-sequence").linkText);
    EXPECT_EQ(ChainState::Ok, StepOf(chain, "recovery-loader").state);
    EXPECT_EQ("Windows Recovery Environment", StepOf(chain, "recovery-loader").description);
    const ChainStep& image = StepOf(chain, "recovery-image");
    EXPECT_EQ(ChainState::Ok, image.link) << States(chain);
    EXPECT_EQ("ramdisk", image.linkText);
    EXPECT_EQ("\\Recovery\\WindowsRE\\Winre.wim", image.id);
    EXPECT_EQ("GPT disk {0b2394a9-095e-487d-8d48-719ecd4d78ca}, partition {6cdfcd69-de75-4490-8f99-5a84bf264917}", image.device);
}
