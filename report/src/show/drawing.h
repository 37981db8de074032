#pragma once
// The boot chain and the disks as an inline SVG drawing for the HTML page: no script and no
// reference outside itself, its words real text (printed, selected, read aloud), every extent
// that the archive does not give drawn hatched and named unknown.
#include "check/boot_chain.h"

#include <string>

namespace report
{
std::string BootChainSvg(const BootChain& chain);
} // namespace report
