#pragma once
// What the outputs say alike: where evidence lies, the counts, unknown facts, the boot chain in words.
#include "check/findings.h"

#include <cstddef>
#include <string>

namespace report
{
// "entry line N: " before an evidence's text; "" when it names no entry.
std::string Where(const Evidence& evidence);
size_t Count(const Report& report, Severity severity);
// "2 warnings", "1 error"
std::string Counted(const Report& report, Severity severity, const char* word);
// "1 error, 2 warnings, 3 notes"
std::string Counts(const Report& report);
std::string OrUnknown(const std::string& text);
// "OS name, version V (build B), architecture"
std::string SystemLine(const MachineSummary& m);
// How the machine's facts were read, "host: English label; os_name: position in the listing"
// (facts read alike share one entry: "host, os_name: English label"); "" when none was read.
std::string HowRead(const MachineSummary& m);
// Text made safe inside HTML and SVG, in element content and in quoted attributes.
std::string Escaped(const std::string& text);

// A step of the boot chain in words: `{id} "description", DEVICE; detail`.
std::string StepFacts(const ChainStep& step);
// How the arrow into a step holds: "default", "BROKEN (recovery disabled): title [id]".
std::string LinkWords(const ChainStep& step);
// The step's own state: "", "BROKEN: title [id]", "unknown", "not reached".
std::string StateWords(const ChainStep& step);
// The arrow into a step (after `arrow`, none for the first step), its state and its facts, in one line.
std::string StepLine(const BootChain& chain, const ChainStep& step, const std::string& arrow);
// "MBR 0x5A3C9E01" of a listed disk; "" of one that only the store names (its title says it).
std::string DiskStyle(const DiskPlace& disk);
// "60 GiB" or "size unknown"
std::string DiskSize(const DiskPlace& disk);
// "3 partitions listed"; "" when the listing gives no count
std::string PartitionsListed(const DiskPlace& disk);
// "Disk 0: SAMPLE SATA SSD 60GB, MBR 0x5A3C9E01, 60 GiB, 1 partition listed, status OK"
std::string DiskLine(const DiskPlace& disk);
// "3 more disks of the listing, which hold no partition of the chain, are not shown"; "" for none
std::string DisksLeftOut(const BootChain& chain);
// "at 1 MiB (size unknown): Boot manager, Windows, Recovery image"
std::string PartitionLine(const PartitionPlace& partition);
} // namespace report
