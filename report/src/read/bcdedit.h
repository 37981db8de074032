#pragma once
// The boot configuration store as "bcdedit /enum all" lists it: sections of "name value" lines,
// their titles and a few words in the machine's language (labels.h).
#include "read/boot_store.h"
#include "read/text.h"

#include <string>

namespace report
{
BootStore BootStoreFromBcdedit(const Text& text, const std::string& entry);
} // namespace report
