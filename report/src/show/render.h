#pragma once
// The report as terminal text, as JSON and as one self-contained HTML page.
#include "check/findings.h"

#include <string>

namespace report
{
std::string RenderText(const Report& report);
std::string RenderJson(const Report& report);
std::string RenderHtml(const Report& report);
} // namespace report
