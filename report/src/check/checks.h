#pragma once
// The checks, one per family of findings; each turns facts into findings of the report.
#include "check/analyze.h"
#include "check/findings.h"
#include "facts/facts.h"

namespace report
{
void CheckRecoveryImage(const Facts& facts, Report& report);
void CheckDrivers(const Facts& facts, Bundle& bundle, const Options& options, Report& report);
void CheckBootConfiguration(const Facts& facts, Report& report);
void CheckDisks(const Facts& facts, Report& report);
void CheckLogs(Bundle& bundle, Report& report);
void CheckEvents(const Facts& facts, Bundle& bundle, Report& report);
void CheckCompleteness(const Facts& facts, Bundle& bundle, Report& report);
// Not a check: the boot chain and the disks as the findings judged them, for the drawing.
BootChain MapBootChain(const Facts& facts, const std::vector<Finding>& findings);
} // namespace report
