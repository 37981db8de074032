#pragma once
// What the three outputs say alike: where evidence lies, the counts, unknown facts.
#include "check/findings.h"

#include <cstddef>
#include <string>

namespace report
{
// "entry line N: " before an evidence's text; "" when it names no entry.
std::string Where(const Evidence& evidence);
size_t Count(const Report& report, Severity severity);
// "1 error, 2 warnings, 3 notes"
std::string Counts(const Report& report);
std::string OrUnknown(const std::string& text);
// "OS name, version V (build B), architecture"
std::string SystemLine(const MachineSummary& m);
// How the machine's facts were read, "host: English label; os_name: position in the listing"
// (facts read alike share one entry: "host, os_name: English label"); "" when none was read.
std::string HowRead(const MachineSummary& m);
} // namespace report
