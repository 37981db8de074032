#pragma once
// From an archive to a report: what the archive says (facts), then the checks.
#include "check/findings.h"
#include "read/archive.h"

#include <string>

namespace report
{
struct Options
{
    std::string pciIds = "/usr/share/misc/pci.ids";
};

Report Analyze(const Archive& archive, const std::string& archivePath, const Options& options);
} // namespace report
