#pragma once
// The machine's disks, as "wmic diskdrive list" prints them.
#include "read/text.h"

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

namespace report
{
struct Disk
{
    size_t line = 0;
    std::string index; // the disk number
    std::string model;
    std::string signature; // decimal, as wmic prints it; empty on a GPT disk
    bool signatureListed = false; // whether the listing has the column at all
    uint64_t size = 0;
    std::string partitions;
    std::string status;
    std::string pnpDeviceId; // "SCSI\DISK&VEN_...\5&1ec51bf7&0&000000"; "" when not listed

    bool Mbr() const { return !signature.empty() && signature != "0"; }
    uint32_t SignatureValue() const { return static_cast<uint32_t>(strtoul(signature.c_str(), nullptr, 10)); }
};

// The table of "wmic diskdrive list": columns start where their headings do.
std::vector<Disk> ParseWmicDisks(const Text& text);
} // namespace report
