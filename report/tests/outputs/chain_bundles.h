#pragma once
// Archives whose boot chain the outputs draw: a broken one, and one made around the real boot
// configuration store of a UEFI machine. Both are made here from the sample machine's files.
#include "fixtures/support.h"

#include <string>

namespace chain_bundles
{
// The sample machine with recovery disabled and its recovery loader's image at 70 GiB into its
// 60 GiB disk: the arrow to the recovery sequence breaks, the image is in doubt.
inline fixtures::Bundle Broken()
{
    return testing_support::WithBootStore(fixtures::SampleBundle(), fixtures::SampleBootStore(70LL << 30, false));
}

// The real store (real-artifacts/hives/regipy-BCD.xz, read where it lies) as BCD00000000.hiv, in
// the sample machine's archive without the files that describe another machine's boot
// configuration and disks. recovery_path.log is made: the path the collector writes when it finds
// the image through the store (a volume name, made up here, and the loader's image path).
// Returns false where the real store is absent.
inline bool AroundRealStore(fixtures::Bundle& bundle)
{
    const std::string hive = testing_support::UnpackedSharedFile("real-artifacts/hives/regipy-BCD.xz");
    if (hive.empty())
        return false;
    bundle = fixtures::SampleBundle();
    bundle.Remove("BCD00000000.reg").Remove("bcdedit_all.log").Remove("wmic_disks.log");
    bundle.Set("BCD00000000.hiv", fixtures::ReadFile(hive));
    bundle.Set("recovery_path.log", "\\\\?\\Volume{00000000-0000-0000-0000-000000000001}\\Recovery\\WindowsRE\\Winre.wim\r\n");
    return true;
}

const char kRealStoreSkip[] = "real-artifacts/hives/regipy-BCD.xz is not beside the checkout";
} // namespace chain_bundles
