#pragma once
// A boot configuration store written into the registry, as HKLM\BCD00000000 shows the system's
// store: objects with a type, and elements with their device records at the offsets the
// system uses.
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

// An application device (element 11000001) of `size` bytes; the fields lie at bytes 32 and 56.
std::string AppDeviceElement(const PartitionIdentity& partition, size_t size = 88);
// A ramdisk OS device (element 21000001) naming `imagePath` (with its terminating zero) on the
// partition; the fields lie at bytes 84 and 108, the path from byte 140.
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
