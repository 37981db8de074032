#pragma once
// The report as terminal text, as JSON and as one self-contained HTML page; and the one-line
// summary of a report, for a desk that reads many archives at once.
#include "check/findings.h"

#include <string>

namespace report
{
std::string RenderText(const Report& report);
// Indented, or on one line (JSON Lines: one report per line).
std::string RenderJson(const Report& report, bool oneLine = false);
std::string RenderHtml(const Report& report);
// archive, host, system, errors, warnings and the most severe finding's id, separated by tabs.
std::string RenderSummary(const Report& report);
// The same as one line of JSON.
std::string RenderSummaryJson(const Report& report);
} // namespace report
