#pragma once
// The boot configuration store's objects, and their reading from a registry export or hive of
// HKLM\BCD00000000 (element numbers, the same in every language). bcdedit.h reads the same
// objects from "bcdedit /enum all".
#include "read/registry.h"

#include <cstdint>
#include <string>
#include <vector>

namespace report
{
// Object types of the Description key's "Type" value.
const uint32_t kBootLoaderObject = 0x10200003;
const uint32_t kBootManagerObject = 0x10100002;
const size_t kMaxStoreProblems = 16;

struct BcdDevice
{
    enum class Kind
    {
        None,
        Partition,
        Ramdisk,
        Boot,
        Other,
    };
    Kind kind = Kind::None;
    // From a registry element: the partition (a partition device's, or the one a ramdisk's image
    // lies on) as its raw fields.
    bool fromElement = false;
    bool partitionRead = false; // the partition's style and fields were read (GPT or MBR)
    bool gpt = false;
    uint32_t signature = 0;  // MBR disk signature
    int64_t offset = 0;      // MBR partition offset in bytes
    std::string diskGuid;    // GPT, as text
    std::string partitionGuid;
    std::string imagePath; // a ramdisk's image file
    std::string optionsId; // a ramdisk's options object, "{...}"
    std::string other;     // what a device of another kind is, e.g. "a device of type 9"
    std::string problem;   // why an element could not be read in full; "" when it was
    std::string text;      // bcdedit's own spelling, e.g. "partition=C:" or "ramdisk=[C:]\...,{...}"
    std::string partitionText; // of that text: "C:" or "\Device\HarddiskVolume4"

    bool SamePartition(const BcdDevice& other) const;
    std::string Describe() const;
};

// Where a value came from, for evidence.
struct BcdSource
{
    size_t line = 0;
    std::string text;
};

struct BcdObject
{
    std::string id; // "{...}" in lower case; bcdedit's alias when it shows one ("{current}")
    uint32_t type = 0;
    bool loader = false;  // a Windows boot loader (0x10200003)
    bool manager = false; // the Windows boot manager
    std::string description;
    bool descriptionLost = false; // letters of it were lost to the code page
    BcdDevice device;   // 11000001, "device"
    BcdDevice osDevice; // 21000001, "osdevice"
    std::vector<std::string> recoverySequence; // 14000008
    int recoveryEnabled = -1;                  // 16000009: -1 not set, 0 no, 1 yes
    int winPe = -1;                            // 26000022
    std::string defaultObject;                 // the boot manager's 23000003
    std::vector<std::string> inherits;         // bcdedit's "inherit"
    BcdSource where, deviceWhere, osDeviceWhere, sequenceWhere, enabledWhere;
};

struct BootStore
{
    std::string entry; // the archive entry it was read from
    std::vector<BcdObject> objects;
    std::string language; // of bcdedit's labels; "" when they do not show it
    bool labelsGarbled = false; // the language was told through letters lost to the code page
    // False for a bcdedit listing that shows only some objects (plain "bcdedit", or "/enum" of
    // one entry): an object it does not show may still be in the store.
    bool listsAll = true;
    // Elements that could not be read in full, "object {...} element 21000001: why" (at most
    // kMaxStoreProblems, then one line saying how many more).
    std::vector<std::string> problems;

    const BcdObject* Find(const std::string& id) const;
};

BootStore BootStoreFromRegistry(const RegTree& tree, const std::string& entry);
// A device element (11000001, 21000001, ...) as Windows stores it: an additional options object's
// identifier (bytes 0-15), then the device.
BcdDevice DeviceFromElement(const std::string& data);
std::string FormatGuid(const std::string& bytes16);
std::string FormatSize(uint64_t bytes);
} // namespace report
