#pragma once
// A saved registry hive (what "reg save" writes), read with hivex into the same tree as an export.
#include "read/registry.h"

#include <string>

namespace report
{
// Reads a saved hive; its root becomes `rootPath`. False, with the reason, when it cannot.
bool ReadHive(const std::string& file, const std::string& rootPath, RegTree& tree, std::string& error);
} // namespace report
