#include "facts/bundle.h"

namespace report
{
std::string Bundle::StoredName(const std::string& name) const
{
    const ArchiveEntry* entry = m_archive.Find(name);
    return entry ? entry->name : "";
}

const Text* Bundle::Decode(const std::string& name, bool captured)
{
    const ArchiveEntry* entry = m_archive.Find(name);
    if (!entry || m_failed.count(entry->key))
        return nullptr;
    auto cached = m_texts.find(entry->key);
    if (cached != m_texts.end())
        return &cached->second;
    std::string bytes, problem;
    Text text;
    if (!m_archive.Read(*entry, kTextCap, bytes, problem) ||
        !(captured ? DecodeCapturedOutput(bytes, text, problem) : DecodeSystemText(bytes, text, problem)))
    {
        Note(entry->name, "could not be read: " + problem + "; left out of the report");
        m_failed.insert(entry->key);
        return nullptr;
    }
    if (!problem.empty())
        Note(entry->name, problem);
    if (text.form == TextForm::Utf16ReadAsUtf8)
        Note(entry->name, std::string("UTF-16 output that the collector read as UTF-8; text recovered, ") +
                              std::to_string(text.lostCharacters) + " characters lost in the collection");
    else if (captured && text.lostCharacters)
        Note(entry->name, std::to_string(text.lostCharacters) +
                              " characters lost in the collection (output in the console's code page, read as "
                              "UTF-8; shown as U+FFFD)");
    return &m_texts.emplace(entry->key, std::move(text)).first->second;
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
