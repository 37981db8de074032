#include "facts/bundle.h"

namespace report
{
std::string Bundle::StoredName(const std::string& name) const
{
    const ArchiveEntry* entry = m_archive.Find(name);
    return entry ? entry->name : "";
}

namespace
{
// A text's reading stops after this many line-feed bytes: past its bound of lines, whatever the
// encoding (a UTF-16 unit holds at most two such bytes, a line feed one).
const size_t kLineFeedsRead = 2 * kMaxLines + 2;

// What the bounds of decoding left out of a text, as notes; none when it was read whole. `whole`:
// whether the entry's bytes were all read.
std::vector<std::string> BoundNotes(const Text& text, bool whole)
{
    std::vector<std::string> notes;
    if (text.cutLines)
        notes.push_back(std::to_string(text.cutLines) + (text.cutLines == 1 ? " line longer than " : " lines longer than ") +
                        std::to_string(kMaxLineBytes) + " bytes " + (text.cutLines == 1 ? "was" : "were") + " cut there");
    if (text.linesLeftOut && whole)
        notes.push_back("holds more than " + std::to_string(kMaxLines) + " lines: the " + std::to_string(text.linesLeftOut) +
                        " after them were left out");
    else if (text.linesLeftOut || !whole)
        notes.push_back("holds more than " + std::to_string(kMaxLines) + " lines: those after them were left out, unread");
    return notes;
}
} // namespace

std::unique_ptr<const Text> Bundle::Decode(const std::string& name, bool captured)
{
    const ArchiveEntry* entry = m_archive.Find(name);
    if (!entry)
        return nullptr;
    std::string problem;
    auto text = std::make_unique<Text>();
    bool whole = true;
    {
        std::string bytes;
        if (!m_archive.ReadHead(*entry, kTextCap, kLineFeedsRead, bytes, whole, problem) ||
            !(captured ? DecodeCapturedOutput(bytes, *text, problem) : DecodeSystemText(bytes, *text, problem)))
        {
            Note(entry->name, "could not be read: " + problem + "; left out of the report");
            return nullptr;
        }
    }
    if (!problem.empty())
        Note(entry->name, problem);
    if (text->form == TextForm::Utf16ReadAsUtf8)
        Note(entry->name, std::string("UTF-16 output that the collector read as UTF-8; text recovered, ") +
                              std::to_string(text->lostCharacters) + " characters lost in the collection");
    else if (captured && text->lostCharacters)
        Note(entry->name, std::to_string(text->lostCharacters) +
                              " characters lost in the collection (output in the console's code page, read as "
                              "UTF-8; shown as U+FFFD)");
    for (const std::string& note : BoundNotes(*text, whole))
        Note(entry->name, note);
    return text;
}

void Bundle::NoteFailure(const std::string& name, const std::string& failed, const std::string& why)
{
    const std::string stored = StoredName(name);
    Note(stored.empty() ? name : stored, failed + " (" + why + "); left out of the report");
}

std::string Bundle::Extract(const std::string& name, uint64_t cap)
{
    const ArchiveEntry* entry = m_archive.Find(name);
    if (!entry)
        return "";
    const std::string path = m_temp.NewPath(".bin");
    std::string problem;
    if (!m_archive.Extract(*entry, path, cap, problem))
    {
        Note(entry->name, "could not be read: " + problem + "; left out of the report");
        return "";
    }
    return path;
}
} // namespace report
