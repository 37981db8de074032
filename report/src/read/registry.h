#pragma once
// Registry keys and values as a registry export (.reg) or a saved hive holds them.
#include "read/text.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace report
{
enum RegType : uint32_t
{
    kRegNone = 0,
    kRegSz = 1,
    kRegBinary = 3,
    kRegDword = 4,
    kRegMultiSz = 7,
};

struct RegValue
{
    std::string name; // "" for the default value
    uint32_t type = kRegNone;
    std::string data; // the raw bytes (strings as UTF-16LE, as the registry stores them)
    size_t line = 0;  // of the value in a .reg file; 0 for a hive
};

struct RegKey
{
    std::string path; // as written, e.g. "HKEY_LOCAL_MACHINE\BCD00000000\Objects"
    size_t line = 0;
    std::vector<RegValue> values;

    const RegValue* Value(const std::string& name) const;
};

class RegTree
{
public:
    RegKey& AddKey(const std::string& path, size_t line);
    const RegKey* Key(const std::string& path) const;
    const std::vector<RegKey>& Keys() const { return m_keys; }
    // What its reader left out to stay within its bounds, for a note on the file; "" when nothing.
    const std::string& LeftOut() const { return m_leftOut; }
    void SetLeftOut(const std::string& what) { m_leftOut = what; }

private:
    std::vector<RegKey> m_keys;
    std::map<std::string, size_t> m_index; // lower-case path
    std::string m_leftOut;
};

// The longest value line of an export, its continuation lines joined, that is read: far more
// than any value the report reads (a boot configuration element, a device's identifiers).
const size_t kMaxValueText = 1 << 20;

// Parses an export ("Windows Registry Editor Version 5.00" or "REGEDIT4"). Lines it cannot
// understand are counted in `skipped` and left out; so are values longer than kMaxValueText,
// which the tree's LeftOut() names.
RegTree ParseRegExport(const Text& text, size_t& skipped);

// Value helpers.
std::string Utf16ToUtf8(const std::string& data);
std::vector<std::string> MultiSz(const std::string& data);
uint32_t LittleEndian32(const std::string& data, size_t offset);
uint64_t LittleEndian64(const std::string& data, size_t offset);
} // namespace report
