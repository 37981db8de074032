#include "read/wmic.h"

#include <uniwidth.h>

#include <algorithm>

namespace report
{
namespace
{
const size_t kMaxColumns = 256;
const size_t kMaxLine = 1 << 16; // code points; wmic's widest tables are a few thousand
const char32_t kLost = 0xFFFD;

// The cells a letter takes on the console, at least and at most. East Asian letters of
// ambiguous width take two on a Chinese, Japanese or Korean console and one on the others;
// libunistring tells them apart by the encoding it is given.
struct Width
{
    int least, most;
};

Width CellsOf(char32_t c, bool lettersLost)
{
    if (c == kLost && lettersLost)
        return {1, 2};
    const int narrow = std::max(0, uc_width(c, "UTF-8")), wide = std::max(0, uc_width(c, "EUC-JP"));
    return {std::min(narrow, wide), std::max(narrow, wide)};
}

// Where the headings start, in cells; false when a heading's letter has no certain width.
bool Headings(const std::u32string& line, std::vector<std::string>& names, std::vector<size_t>& starts)
{
    size_t cell = 0;
    for (size_t i = 0; i < line.size() && names.size() < kMaxColumns; ++i)
    {
        const Width width = CellsOf(line[i], false);
        if (width.least != width.most)
            return false;
        if (line[i] != ' ' && (i == 0 || line[i - 1] == ' '))
        {
            const size_t end = line.find(U' ', i);
            names.push_back(EncodeUtf8(line.substr(i, end == std::u32string::npos ? std::u32string::npos : end - i)));
            starts.push_back(cell);
        }
        cell += width.least;
    }
    return !names.empty();
}

class RowCutter
{
public:
    RowCutter(const std::vector<size_t>& starts, bool lettersLost) : m_starts(starts), m_lettersLost(lettersLost) {}

    WmicRow Cut(const std::u32string& line, size_t lineNumber)
    {
        m_row = {lineNumber, std::vector<std::string>(m_starts.size()), std::vector<bool>(m_starts.size(), false)};
        m_column = kNone;
        size_t least = 0, most = 0; // the cell the letter at i starts in lies between these
        for (size_t i = 0; i < line.size(); ++i)
        {
            if (line[i] != ' ' && (i == 0 || (i >= 2 && line[i - 1] == ' ' && line[i - 2] == ' ')))
            {
                // A value after two spaces or more may start a column: where one start lies in
                // the cells it can be at, it does.
                const auto first = std::lower_bound(m_starts.begin(), m_starts.end(), least);
                const auto last = std::upper_bound(m_starts.begin(), m_starts.end(), most);
                // More than one: the rest of the row cannot be placed, and stays unread.
                if (last - first > 1)
                    return m_row;
                if (last - first == 1)
                {
                    Close(line, i, first - m_starts.begin());
                    least = most = *first;
                }
            }
            const Width width = CellsOf(line[i], m_lettersLost);
            least += width.least;
            most += width.most;
        }
        Close(line, line.size(), m_starts.size());
        return m_row;
    }

private:
    static const size_t kNone = static_cast<size_t>(-1);

    // Ends the open cell before letter `end`; the columns up to `next` were empty.
    void Close(const std::u32string& line, size_t end, size_t next)
    {
        const size_t from = m_column == kNone ? 0 : m_column;
        for (size_t c = from; c < next && c < m_starts.size(); ++c)
            m_row.read[c] = true;
        if (m_column != kNone)
            m_row.cells[m_column] = Trim(EncodeUtf8(line.substr(m_begin, end - m_begin)));
        m_column = next;
        m_begin = end;
    }

    const std::vector<size_t>& m_starts;
    const bool m_lettersLost;
    WmicRow m_row;
    size_t m_column = kNone, m_begin = 0;
};

std::string Digits(const std::string& text)
{
    return !text.empty() && text.find_first_not_of("0123456789") == std::string::npos ? text : "";
}
} // namespace

int WmicTable::Column(const std::string& heading) const
{
    for (size_t c = 0; c < headings.size(); ++c)
        if (EqualsNoCase(headings[c], heading))
            return static_cast<int>(c);
    return -1;
}

std::string WmicTable::Cell(const WmicRow& row, const std::string& heading, bool* read) const
{
    const int column = Column(heading);
    const bool known = column >= 0 && row.read[column];
    if (read)
        *read = known;
    return known ? row.cells[column] : "";
}

WmicTable ParseWmicTable(const Text& text)
{
    WmicTable table;
    size_t header = 0;
    while (header < text.lines.size() && Trim(text.lines[header]).empty())
        ++header;
    std::vector<size_t> starts;
    if (header >= text.lines.size() || !Headings(DecodeUtf8(text.lines[header]), table.headings, starts))
        return WmicTable();
    RowCutter cutter(starts, text.lostCharacters > 0);
    for (size_t l = header + 1; l < text.lines.size(); ++l)
    {
        if (Trim(text.lines[l]).empty())
            continue;
        if (table.rows.size() == kMaxWmicRows)
        {
            table.rowsLeftOut = true;
            break;
        }
        const std::u32string line = DecodeUtf8(text.lines[l]);
        table.rows.push_back(line.size() <= kMaxLine ? cutter.Cut(line, l + 1)
                                                     : WmicRow{l + 1, std::vector<std::string>(starts.size()), std::vector<bool>(starts.size(), false)});
    }
    return table;
}

std::vector<Disk> DisksFromWmic(const WmicTable& table)
{
    std::vector<Disk> disks;
    for (const WmicRow& row : table.rows)
    {
        Disk disk;
        disk.line = row.line;
        disk.index = Digits(table.Cell(row, "Index"));
        const std::string device = table.Cell(row, "DeviceID");
        const std::string drive = "\\\\.\\PHYSICALDRIVE";
        if (disk.index.empty() && StartsWithNoCase(device, drive))
            disk.index = Digits(device.substr(drive.size()));
        disk.model = table.Cell(row, "Model");
        if (disk.model.empty())
            disk.model = table.Cell(row, "Caption");
        disk.signature = table.Cell(row, "Signature", &disk.signatureListed);
        const std::string size = Digits(table.Cell(row, "Size"));
        disk.sizeKnown = !size.empty();
        disk.size = strtoull(size.c_str(), nullptr, 10);
        disk.partitions = table.Cell(row, "Partitions");
        disk.status = table.Cell(row, "Status");
        disk.pnpDeviceId = table.Cell(row, "PNPDeviceID");
        for (const char* heading : {"Index", "DeviceID", "Model", "Signature", "Size", "Partitions", "Status"})
        {
            bool read = false;
            table.Cell(row, heading, &read);
            if (table.Column(heading) >= 0 && !read)
                disk.unread.push_back(heading);
        }
        disks.push_back(disk);
    }
    return disks;
}

long CountWmicUpdates(const WmicTable& table)
{
    return table.Column("HotFixID") < 0 ? -1 : static_cast<long>(table.rows.size());
}
} // namespace report
