#include "read/archive.h"

#include "read/text.h"

#include <zip.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ftw.h>
#include <stdexcept>
#include <sys/stat.h>

namespace report
{
namespace
{
std::string NormalName(std::string name)
{
    for (char& c : name)
        if (c == '\\')
            c = '/';
    return AsciiLower(name);
}

std::string ZipError(zip* archive)
{
    return zip_strerror(archive);
}
} // namespace

bool IsSafeEntryName(const std::string& name)
{
    if (name.empty() || name[0] == '/' || name[0] == '\\')
        return false;
    if (name.size() >= 2 && name[1] == ':')
        return false;
    for (char c : name)
        if (static_cast<unsigned char>(c) < 0x20)
            return false;
    const std::string normal = "/" + NormalName(name) + "/";
    return normal.find("/../") == std::string::npos && normal.find("/./") == std::string::npos;
}

std::unique_ptr<Archive> Archive::Open(const std::string& path, std::string& error, size_t maxEntries)
{
    int code = 0;
    zip* archive = zip_open(path.c_str(), ZIP_RDONLY | ZIP_CHECKCONS, &code);
    if (!archive)
    {
        zip_error_t zipError;
        zip_error_init_with_code(&zipError, code);
        error = zip_error_strerror(&zipError);
        zip_error_fini(&zipError);
        return nullptr;
    }
    return std::unique_ptr<Archive>(new Archive(archive, maxEntries));
}

Archive::Archive(zip* archive, size_t maxEntries) : m_zip(archive)
{
    const zip_int64_t count = zip_get_num_entries(m_zip, 0);
    for (zip_int64_t i = 0; i < count; ++i)
    {
        if (static_cast<size_t>(i) == maxEntries)
        {
            m_leftOut = static_cast<size_t>(count - i);
            break;
        }
        ++m_lookedAt;
        zip_stat_t stat;
        zip_stat_init(&stat);
        if (zip_stat_index(m_zip, static_cast<zip_uint64_t>(i), 0, &stat) != 0 || !(stat.valid & ZIP_STAT_NAME))
            continue;
        const std::string name = stat.name;
        if (!IsSafeEntryName(name))
        {
            m_rejected.push_back(name);
            continue;
        }
        if (!name.empty() && (name.back() == '/' || name.back() == '\\'))
            continue; // a folder entry
        ArchiveEntry entry;
        entry.name = name;
        entry.key = NormalName(name);
        entry.size = stat.valid & ZIP_STAT_SIZE ? stat.size : 0;
        entry.index = static_cast<uint64_t>(i);
        m_index.emplace(entry.key, m_entries.size());
        m_entries.push_back(std::move(entry));
    }
}

Archive::~Archive() { zip_discard(m_zip); }

const ArchiveEntry* Archive::Find(const std::string& name) const
{
    const auto found = m_index.find(NormalName(name));
    return found == m_index.end() ? nullptr : &m_entries[found->second];
}

template <typename Sink>
bool Archive::Copy(const ArchiveEntry& entry, uint64_t cap, Sink sink, std::string& error) const
{
    if (entry.size > cap)
    {
        error = "declares " + std::to_string(entry.size) + " bytes, more than the " + std::to_string(cap) +
                " this report reads";
        return false;
    }
    zip_file_t* file = zip_fopen_index(m_zip, entry.index, 0);
    if (!file)
    {
        error = ZipError(m_zip);
        return false;
    }
    char buffer[65536];
    uint64_t total = 0;
    bool ok = true;
    for (;;)
    {
        const zip_int64_t got = zip_fread(file, buffer, sizeof buffer);
        if (got < 0)
        {
            error = zip_file_strerror(file);
            ok = false;
            break;
        }
        if (got == 0)
            break;
        total += static_cast<uint64_t>(got);
        // The declared size may lie (a zip bomb): the bytes themselves are counted.
        if (total > cap)
        {
            error = "holds more than the " + std::to_string(cap) + " bytes this report reads";
            ok = false;
            break;
        }
        const Flow flow = sink(buffer, static_cast<size_t>(got));
        if (flow == Flow::Fail)
        {
            error = "cannot be written to the report's temporary folder";
            ok = false;
        }
        if (flow != Flow::Go)
            break;
    }
    zip_fclose(file);
    return ok;
}

bool Archive::Read(const ArchiveEntry& entry, uint64_t cap, std::string& bytes, std::string& error) const
{
    bool whole = true;
    return ReadHead(entry, cap, SIZE_MAX, bytes, whole, error);
}

bool Archive::ReadHead(const ArchiveEntry& entry, uint64_t cap, size_t lineFeeds, std::string& bytes, bool& whole,
                       std::string& error) const
{
    bytes.clear();
    // The declared size, never more than the cap, saves the copies of growing; a lie costs nothing more.
    bytes.reserve(static_cast<size_t>(std::min(entry.size, cap)));
    size_t seen = 0;
    whole = true;
    const bool ok = Copy(entry, cap,
                         [&](const char* data, size_t size) {
                             bytes.append(data, size);
                             for (const char* at = data; (at = static_cast<const char*>(memchr(at, '\n', size - (at - data)))); ++at)
                                 if (++seen >= lineFeeds)
                                 {
                                     whole = false;
                                     return Flow::Stop;
                                 }
                             return Flow::Go;
                         },
                         error);
    if (!ok)
        bytes.clear();
    return ok;
}

bool Archive::Extract(const ArchiveEntry& entry, const std::string& path, uint64_t cap, std::string& error) const
{
    FILE* out = fopen(path.c_str(), "wbx");
    if (!out)
    {
        error = "cannot be written to the report's temporary folder";
        return false;
    }
    bool ok = Copy(entry, cap, [&](const char* data, size_t size) { return fwrite(data, 1, size, out) == size ? Flow::Go : Flow::Fail; },
                   error);
    if (fclose(out) != 0 && ok)
    {
        error = "cannot be written to the report's temporary folder";
        ok = false;
    }
    if (!ok)
        remove(path.c_str());
    return ok;
}

TempFolder::TempFolder()
{
    const char* base = getenv("TMPDIR");
    std::string pattern = std::string(base && *base ? base : "/tmp") + "/mpdiag-report.XXXXXX";
    if (!mkdtemp(&pattern[0]))
        throw std::runtime_error("cannot make a temporary folder in " + pattern.substr(0, pattern.rfind('/')));
    m_path = pattern;
}

TempFolder::~TempFolder()
{
    nftw(
        m_path.c_str(), [](const char* path, const struct stat*, int, struct FTW*) { return remove(path); }, 16,
        FTW_DEPTH | FTW_PHYS);
}

std::string TempFolder::NewPath(const std::string& suffix)
{
    return m_path + "/" + std::to_string(++m_count) + suffix;
}
} // namespace report
