#pragma once
// The archive's files as the checks need them: decoded text, or a copy in the private folder.
// Whatever cannot be read is noted in the report once, and the checks go on without it.
#include "read/archive.h"
#include "read/text.h"

#include <map>
#include <set>
#include <string>
#include <vector>

namespace report
{
// A file the report could not read, or read only in part.
struct FileNote
{
    std::string entry;
    std::string text;
};

// Largest entry read into memory as text, and largest copied out for a library to open.
const uint64_t kTextCap = 64ull << 20;
const uint64_t kImageCap = 4ull << 30;
const uint64_t kEventLogCap = 512ull << 20;

class Bundle
{
public:
    explicit Bundle(const Archive& archive) : m_archive(archive) {}

    const Archive& Zip() const { return m_archive; }
    bool Has(const std::string& name) const { return m_archive.Find(name) != nullptr; }
    // The stored name of an entry ("" when absent), for evidence.
    std::string StoredName(const std::string& name) const;
    // A command output saved by the collector; null when absent or unreadable.
    const Text* Captured(const std::string& name) { return Decode(name, true); }
    // A file that Windows wrote (registry exports, setup logs); null when absent or unreadable.
    const Text* SystemText(const std::string& name) { return Decode(name, false); }
    // The entry copied into the private folder; "" when absent or unreadable.
    std::string Extract(const std::string& name, uint64_t cap);
    TempFolder& Temp() { return m_temp; }
    void Note(const std::string& entry, const std::string& text) { m_notes.push_back({entry, text}); }
    const std::vector<FileNote>& Notes() const { return m_notes; }

private:
    const Text* Decode(const std::string& name, bool captured);

    const Archive& m_archive;
    std::vector<FileNote> m_notes;
    TempFolder m_temp;
    std::map<std::string, Text> m_texts;
    std::set<std::string> m_failed; // entries already noted as unreadable
};
} // namespace report
