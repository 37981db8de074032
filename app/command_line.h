#pragma once

// The one switch: the first argument starts with "-x" (case-sensitive; the rest of it and
// any later arguments are ignored).
bool IsExtendedRun(int argc, const char* const* argv);
