#pragma once
// A boot configuration store written into the registry, as HKLM\BCD00000000 shows the system's
// store: objects with a type, and elements with their devices in the layout Windows writes
// (that of the real stores: an options object's identifier, a device header, its data).
#include <wx/string.h>

#include <windows.h>

#include <string>
#include <vector>

const DWORD kBootLoader = 0x10200003;
const DWORD kBootManager = 0x10100002;

// The partition a device element names: MBR by disk signature and partition offset, or, with
// the signature 0xFFFFFFFF, GPT by disk and partition identifiers.
struct PartitionIdentity
{
    DWORD signature;
    LONGLONG offset;
    GUID disk;
    GUID partition;
};

// A partition device element (11000001) cut or padded to `size` bytes: the device at byte 16
// (type 6), the partition's fields at bytes 32 and 56, its style (0 GPT, 1 MBR) at 52.
std::string AppDeviceElement(const PartitionIdentity& partition, size_t size = 88);
// A ramdisk device element (21000001) naming `imagePath` (with its terminating zero) on the
// partition: the device at byte 16 (type 0, block I/O) of kind 3 (byte 32), its image file's
// structure at 56 and the partition device holding it at 68, whose fields lie at bytes 84 and
// 108 (style at 104); the path from byte 140.
std::string OsDeviceElement(const PartitionIdentity& partition, const std::wstring& imagePath);
// The bytes of a REG_MULTI_SZ value (MultiSzText's text).
std::string MultiSz(const std::vector<std::wstring>& strings);

class BootStore
{
public:
    // The object's key and its Description\Type.
    static void Object(const wxString& id, DWORD type);
    static void Element(const wxString& id, const wxString& element, const std::string& bytes,
                        DWORD type = REG_BINARY);
    static void Remove();
};

// The store of the sample machine, as "bcdedit /enum all" shows it there: the boot manager on
// `recovery`; the system's loader on `system`, recovery enabled, whose recovery sequence is the
// recovery loader, whose ramdisk names \Recovery\WindowsRE\Winre.wim on `recovery` with its
// options object (boot.sdi); the resume application, the memory tester and the settings objects.
// Its entries carry `locale`.
void InstallBootStore(const PartitionIdentity& system, const PartitionIdentity& recovery,
                      const std::wstring& locale = L"en-GB");
