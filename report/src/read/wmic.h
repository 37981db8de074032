#pragma once
// wmic's tables: the machine's disks ("wmic diskdrive list") and updates ("wmic qfe list").
#include "read/text.h"

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

namespace report
{
// A table as wmic prints it: each column starts where its heading does, counted in the cells of
// the console (a letter of Chinese, Japanese or Korean takes two).
struct WmicRow
{
    size_t line = 0;
    std::vector<std::string> cells; // one per heading; "" for an empty cell
    std::vector<bool> read;         // false where the cell's place could not be told
};

struct WmicTable
{
    std::vector<std::string> headings;
    std::vector<WmicRow> rows;
    bool rowsLeftOut = false; // more rows than the report keeps (kMaxWmicRows)

    // The column of a heading (any case); -1 when the table has none.
    int Column(const std::string& heading) const;
    // The cell of a row, "" when the column is absent or the cell was not read; `read` tells which.
    std::string Cell(const WmicRow& row, const std::string& heading, bool* read = nullptr) const;
};

const size_t kMaxWmicRows = 1024;

// Cuts each row by the console's cells. A letter whose width is not known (one the collector's
// decoding lost, or one that takes one or two cells by the console's code page) moves the
// following columns by one or two cells; the next value, which wmic puts at its column's start,
// tells which. A cell that cannot be placed is left unread.
WmicTable ParseWmicTable(const Text& text);

struct Disk
{
    size_t line = 0;
    std::string index; // the disk number, from Index or DeviceID (\\.\PHYSICALDRIVE1)
    std::string model;
    std::string signature; // decimal, as wmic prints it; empty on a GPT disk
    bool signatureListed = false; // the listing has the column and this disk's cell was read
    uint64_t size = 0;
    bool sizeKnown = false;
    std::string partitions;
    std::string status;
    std::string pnpDeviceId; // "SCSI\DISK&VEN_...\5&1ec51bf7&0&000000"; "" when not listed or not read
    std::vector<std::string> unread; // headings of the cells that could not be read

    bool Mbr() const { return signatureListed && !signature.empty() && signature != "0"; }
    uint32_t SignatureValue() const { return static_cast<uint32_t>(strtoul(signature.c_str(), nullptr, 10)); }
};

std::vector<Disk> DisksFromWmic(const WmicTable& table);
// The updates "wmic qfe list" lists, one per row; -1 when the table is no such list.
long CountWmicUpdates(const WmicTable& table);
} // namespace report
