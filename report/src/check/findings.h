#pragma once
// What the report says: the machine, the collection, and the findings with their evidence.
#include "check/boot_chain.h"
#include "facts/bundle.h"

#include <string>
#include <vector>

namespace report
{
enum class Severity
{
    Error,
    Warning,
    Info,
};
const char* SeverityName(Severity severity);

// Where a finding's claim can be checked: an archive entry and a line of it (0: no line), or a
// value read from it.
struct Evidence
{
    std::string entry;
    size_t line = 0;
    std::string text;
};

struct Finding
{
    std::string id; // stable: support's notes and scripts refer to it
    Severity severity = Severity::Info;
    std::string subject; // what the finding is about when one id can appear more than once
    std::string title;
    std::vector<Evidence> evidence;
    std::string advice;
};

struct MachineSummary
{
    std::string hostName;
    std::string osName;
    std::string osVersion;
    std::string build;
    std::string architecture;
    std::string windowsPe; // "yes", "no" or "unknown"
    std::string labelsLanguage;
    std::string updates; // how many updates wmic lists; "" when unknown
    // How each fact was read, by the name of its field in the JSON ("host", "os_name",
    // "os_version", "build", "architecture", "windows_pe"): "English label", "position in the
    // listing", "shape of the value", ...; a fact that is unknown has none.
    std::vector<std::pair<std::string, std::string>> howRead;
};

struct Report
{
    std::string archive;
    std::string run; // "normal" or "extended"
    MachineSummary machine;
    std::vector<FileNote> notes;
    std::vector<Finding> findings;
    BootChain bootChain;

    Finding& Add(const std::string& id, Severity severity, const std::string& title, const std::string& advice);
    // Most severe first; within a severity, in the order the checks made them.
    void SortFindings();
    const Finding* FindById(const std::string& id) const;
};
} // namespace report
