#pragma once
// The words that Windows' console programs print in the machine's language. Another language
// is a new row in the tables of labels.cpp.
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
    BootDevice,
};

enum class BcdeditWord
{
    Identifier,
    Yes,
    No,
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

// The language of the label when `text` is a systeminfo label for `field` ("" when it is not).
// Letters the collector's decoding lost (U+FFFD) match any letter.
std::string MatchSystemInfoLabel(const std::string& text, SystemInfoField field);
std::string MatchBcdeditWord(const std::string& text, BcdeditWord word);
BcdeditSection MatchBcdeditSection(const std::string& title);
} // namespace report
