#pragma once
// INF files: the hardware identifiers their models sections list.
#include "read/text.h"

#include <string>
#include <vector>

namespace report
{
// The identifiers an INF file's models sections list for an architecture ("" = any).
std::vector<std::string> InfHardwareIds(const Text& inf, const std::string& architecture);
} // namespace report
