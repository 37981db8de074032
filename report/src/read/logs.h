#pragma once
// The setup logs that Windows writes (setupact.log, setuperr.log) and the product's own logs
// (mp.log, mpb.log): their error lines.
#include "read/text.h"

#include <cstddef>
#include <string>
#include <vector>

namespace report
{
struct LogLine
{
    size_t line = 0; // 1-based
    std::string text;
};

// Lines "2023-10-10 12:00:00, Error                 CSI    00000001 message" (also Fatal and
// Fatal Error); the text is what follows the level.
std::vector<LogLine> SetupLogErrors(const Text& text);
// Records with a word "error", "fatal", "failed" or "exception", or the " ! " marker; the text is
// the line without its leading time stamp.
std::vector<LogLine> ProductLogErrors(const Text& text);
} // namespace report
