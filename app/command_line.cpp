#include "command_line.h"

bool IsExtendedRun(int argc, const char* const* argv)
{
    return argc > 1 && argv[1][0] == '-' && argv[1][1] == 'x';
}
