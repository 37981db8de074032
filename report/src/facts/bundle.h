#pragma once
// The archive's files as the checks need them: decoded text, or a copy in the private folder.
// Whatever cannot be read is noted in the report once, and the checks go on without it.
#include "read/archive.h"
#include "read/text.h"

#include <exception>
#include <memory>
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

// What the note on an entry says when its reader stopped.
const char kReaderStopped[] = "could not be read: its reader stopped";

class Bundle
{
public:
    explicit Bundle(const Archive& archive) : m_archive(archive) {}

    const Archive& Zip() const { return m_archive; }
    bool Has(const std::string& name) const { return m_archive.Find(name) != nullptr; }
    // The stored name of an entry ("" when absent), for evidence.
    std::string StoredName(const std::string& name) const;
    // A command output saved by the collector; null when absent or unreadable. The caller owns
    // the text: it reads what it needs once and drops it, so that texts never pile up.
    std::unique_ptr<const Text> Captured(const std::string& name) { return Decode(name, true); }
    // A file that Windows wrote (registry exports, setup logs); null when absent or unreadable.
    std::unique_ptr<const Text> SystemText(const std::string& name) { return Decode(name, false); }
    // The entry copied into the private folder; "" when absent or unreadable.
    std::string Extract(const std::string& name, uint64_t cap);
    TempFolder& Temp() { return m_temp; }
    void Note(const std::string& entry, const std::string& text) { m_notes.push_back({entry, text}); }
    const std::vector<FileNote>& Notes() const { return m_notes; }

    // Runs `step`, which reads the entry `name` or works on what was read of it, and returns
    // what it returns. Whatever it throws becomes a note on the entry, `failed` followed by the
    // reason, and false: one damaged file never ends the report.
    template <typename Step>
    bool Isolated(const std::string& name, const std::string& failed, Step step);

private:
    std::unique_ptr<const Text> Decode(const std::string& name, bool captured);
    void NoteFailure(const std::string& name, const std::string& failed, const std::string& why);

    const Archive& m_archive;
    std::vector<FileNote> m_notes;
    TempFolder m_temp;
};

template <typename Step>
bool Bundle::Isolated(const std::string& name, const std::string& failed, Step step)
{
    try
    {
        return step();
    }
    catch (const std::exception& e)
    {
        NoteFailure(name, failed, e.what());
    }
    catch (...)
    {
        NoteFailure(name, failed, "an unknown failure");
    }
    return false;
}
} // namespace report
