#pragma once
// A saved registry hive (what "reg save" writes), read with hivex into the same tree as an export.
#include "read/registry.h"

#include <cstddef>
#include <string>

namespace report
{
// What the walk of a hive keeps: a damaged hive may loop or nest without end, so the walk stops
// at these and says so in the tree's LeftOut().
const size_t kMaxHiveKeys = 200000;
const int kMaxHiveDepth = 64;
const size_t kMaxHiveBytes = 64u << 20; // key paths, value names and data

// Reads a saved hive; its root becomes `rootPath`. False, with the reason, when it cannot.
bool ReadHive(const std::string& file, const std::string& rootPath, RegTree& tree, std::string& error);
} // namespace report
