#pragma once
// Read-only access to a zip archive that may be damaged or hostile: entry names are never used
// as paths, every read is capped, and files are only ever written into a private folder.
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

struct zip;

namespace report
{
struct ArchiveEntry
{
    std::string name;  // as stored
    std::string key;   // lower case, "/" as separator: how the report looks entries up
    uint64_t size = 0; // as declared; never trusted for a read
    uint64_t index = 0;
};

// The entries of an archive that the report looks at, in the order the archive lists them; those
// after are left out (and counted). The collector's largest runs make a few hundred thousand.
const size_t kMaxEntries = 1000000;

class Archive
{
public:
    // Null, with the reason, when the file cannot be opened as a zip archive.
    static std::unique_ptr<Archive> Open(const std::string& path, std::string& error, size_t maxEntries = kMaxEntries);
    ~Archive();
    Archive(const Archive&) = delete;
    Archive& operator=(const Archive&) = delete;

    const std::vector<ArchiveEntry>& Entries() const { return m_entries; }
    // Entries left out because their names climb out of the archive or are absolute.
    const std::vector<std::string>& RejectedNames() const { return m_rejected; }
    // Entries left out because the archive lists more than the report looks at (the first
    // `maxEntries` it was opened with).
    size_t EntriesLeftOut() const { return m_leftOut; }
    size_t EntriesLookedAt() const { return m_lookedAt; }
    // The entry of that name, ignoring case and the kind of separator; null when absent.
    const ArchiveEntry* Find(const std::string& name) const;
    // At most `cap` bytes; false, with the reason, when the entry is larger or cannot be read.
    bool Read(const ArchiveEntry& entry, uint64_t cap, std::string& bytes, std::string& error) const;
    // The same, but the read ends once `lineFeeds` line-feed bytes have come (with the chunk that
    // brought the last of them); `whole` says whether the entry was read to its end. Past a text's
    // bound of lines, the rest need not be inflated.
    bool ReadHead(const ArchiveEntry& entry, uint64_t cap, size_t lineFeeds, std::string& bytes, bool& whole,
                  std::string& error) const;
    // Writes the entry to `path` (a file the caller names in its private folder), at most `cap` bytes.
    bool Extract(const ArchiveEntry& entry, const std::string& path, uint64_t cap, std::string& error) const;

private:
    Archive(zip* archive, size_t maxEntries);
    enum class Flow
    {
        Go,
        Stop, // enough has been read
        Fail, // the bytes cannot be kept
    };
    template <typename Sink>
    bool Copy(const ArchiveEntry& entry, uint64_t cap, Sink sink, std::string& error) const;

    zip* m_zip;
    std::vector<ArchiveEntry> m_entries;
    std::map<std::string, size_t> m_index; // key → the first entry of that key
    std::vector<std::string> m_rejected;
    size_t m_leftOut = 0, m_lookedAt = 0;
};

// A folder that only this user can enter, removed with all it holds when the object goes.
class TempFolder
{
public:
    TempFolder();
    ~TempFolder();
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;
    const std::string& Path() const { return m_path; }
    // A new, not yet existing path in the folder.
    std::string NewPath(const std::string& suffix);

private:
    std::string m_path;
    unsigned m_count = 0;
};

// Whether a stored name stays inside the archive: relative, no "..", no drive, no control characters.
bool IsSafeEntryName(const std::string& name);
} // namespace report
