#pragma once
// The words that Windows' console programs print in the machine's language, as real machines
// printed them. Another language is a new row in the tables of labels.cpp, added only from real
// output; a language without a row is read by the place and shape of what the programs print
// (sysinfo.cpp, bcdedit.cpp).
#include <cstddef>
#include <string>

namespace report
{
enum class SystemInfoField
{
    HostName,
    OsName,
    OsVersion,
    SystemType,
    WindowsDirectory,
    SystemDirectory,
    BootDevice,
};

enum class BcdeditSection
{
    BootManager,
    FirmwareBootManager,
    BootLoader,
    ResumeLoader,
    MemoryTester,
    DeviceOptions,
    Unknown,
};

// How a label was recognised.
struct LabelMatch
{
    std::string language; // "" when it is none of the table's
    // Matched through letters the collector's decoding lost (U+FFFD, or letters it made of a
    // code page's bytes): its readable part agrees, and the caller must check its place.
    bool garbled = false;
};

// The place of a field among systeminfo's "label: value" lines, the same in every language
// (1: host name, 2: OS name, 3: OS version, ..., 14: system type, ...).
size_t SystemInfoOrdinal(SystemInfoField field);
LabelMatch MatchSystemInfoLabel(const std::string& text, SystemInfoField field);
// The first label of a bcdedit section: "identifier" and its translations.
LabelMatch MatchBcdeditIdentifier(const std::string& text);
// A section's title; `label` says in which language it was recognised.
BcdeditSection MatchBcdeditSection(const std::string& title, LabelMatch* label = nullptr);
} // namespace report
