#pragma once
// Running the report on an archive built in a test, and looking at what it found.
#include "analysis.h"
#include "fixtures.h"

#include <string>

namespace testing_support
{
// A pci.ids of the sample machine's controllers, so that names do not follow the system's list.
std::string PciIdsFile();
report::Report AnalyzeBundle(const fixtures::Bundle& bundle);
report::Report AnalyzeArchive(const std::string& path);
size_t CountFindings(const report::Report& report, const std::string& id, const std::string& subject = "");
// All findings as "severity id subject" lines, for messages and comparisons.
std::string Summary(const report::Report& report);
// Runs the mpdiag-report executable; its standard output in `out`, its exit status returned.
int RunReport(const std::string& arguments, std::string& out, std::string* err = nullptr);
} // namespace testing_support
