#include "read/wmic.h"

namespace report
{
std::vector<Disk> ParseWmicDisks(const Text& text)
{
    std::vector<Disk> disks;
    size_t header = 0;
    while (header < text.lines.size() && Trim(text.lines[header]).empty())
        ++header;
    if (header >= text.lines.size())
        return disks;
    // Column starts: each heading begins after a run of spaces. Offsets count code points, so
    // the header and the rows are compared as UTF-32.
    const std::u32string head = DecodeUtf8(text.lines[header]);
    std::vector<std::pair<std::string, size_t>> columns;
    for (size_t i = 0; i < head.size(); ++i)
        if (head[i] != ' ' && (i == 0 || head[i - 1] == ' '))
        {
            size_t end = head.find(U' ', i);
            columns.push_back({AsciiLower(EncodeUtf8(head.substr(i, end == std::u32string::npos ? std::u32string::npos : end - i))), i});
        }
    for (size_t l = header + 1; l < text.lines.size(); ++l)
    {
        const std::u32string row = DecodeUtf8(text.lines[l]);
        if (Trim(text.lines[l]).empty())
            continue;
        Disk disk;
        disk.line = l + 1;
        for (size_t c = 0; c < columns.size(); ++c)
        {
            const size_t end = c + 1 < columns.size() ? columns[c + 1].second : std::u32string::npos;
            const std::string value =
                columns[c].second < row.size() ? Trim(EncodeUtf8(row.substr(columns[c].second, end == std::u32string::npos ? end : end - columns[c].second))) : "";
            const std::string& name = columns[c].first;
            if (name == "index")
                disk.index = value;
            else if (name == "model" || (name == "caption" && disk.model.empty()))
                disk.model = value;
            else if (name == "signature")
            {
                disk.signature = value;
                disk.signatureListed = true;
            }
            else if (name == "size")
                disk.size = strtoull(value.c_str(), nullptr, 10);
            else if (name == "partitions")
                disk.partitions = value;
            else if (name == "status")
                disk.status = value;
            else if (name == "pnpdeviceid")
                disk.pnpDeviceId = value;
        }
        disks.push_back(disk);
    }
    return disks;
}
} // namespace report
