#pragma once
// Archives as the collector leaves them, built in the tests: the files of a sample machine in
// the three forms a bundle arrives in, recovery images made with wimlib, System event logs and
// boot configuration hives.
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace fixtures
{
// How the machine's console programs wrote their output.
enum class Speech
{
    Utf8,   // stand-ins that write UTF-8, English
    Field,  // as Windows does: wmic UTF-16LE with a byte-order mark, systeminfo and bcdedit code page 850
    German, // as Field, with German labels
};

// What the collector makes of a child's output: the bytes read as UTF-8 (each byte that is not
// part of a UTF-8 sequence becoming U+FFFD, zero bytes kept), split at line feeds with empty
// pieces dropped, each line saved followed by CR LF.
std::string CollectorSaves(const std::string& childOutput);
// UTF-16LE with a byte-order mark, of UTF-8 text.
std::string Utf16Le(const std::string& utf8, bool byteOrderMark = true);
// Code page 850 of UTF-8 text (its German letters; the rest must be ASCII).
std::string Cp850(const std::string& utf8);

// A registry export: "Windows Registry Editor Version 5.00", keys and values.
class RegExport
{
public:
    RegExport& Key(const std::string& path);
    RegExport& String(const std::string& name, const std::string& value);
    RegExport& Dword(const std::string& name, uint32_t value);
    RegExport& Binary(const std::string& name, const std::string& bytes, int type = 3);
    RegExport& MultiSz(const std::string& name, const std::vector<std::string>& strings);
    // UTF-8 text with CR LF line ends; the caller picks the file's encoding.
    std::string Text() const { return m_text; }

private:
    std::string m_text = "Windows Registry Editor Version 5.00\r\n";
};

// Boot configuration device records, as the registry stores them.
std::string PartitionElement(uint32_t signature, int64_t offset);
std::string RamdiskElement(uint32_t signature, int64_t offset, const std::string& imagePath);
std::string GptPartitionElement(const std::string& diskGuid16, const std::string& partitionGuid16);

const char kLoader[] = "{4f2c1a8e-7b3d-11ef-a1c4-0021cc6b2e10}";
const char kRecoveryLoader[] = "{4f2c1a8f-7b3d-11ef-a1c4-0021cc6b2e10}";
const char kBootManager[] = "{9dea862c-5cdd-4e70-acc1-f32b344d4795}";
const uint32_t kDiskSignature = 0x5A3C9E01;
const int64_t kSystemOffset = 1LL << 20;
const uint64_t kDiskSize = 64424509440ull;

// The sample machine's boot configuration store: the system's loader on C: (1 MiB into disk
// 0x5A3C9E01) with recovery enabled, its recovery loader's ramdisk naming
// \Recovery\WindowsRE\Winre.wim on `recoveryOffset`.
RegExport SampleBootStore(int64_t recoveryOffset = kSystemOffset, bool recoveryEnabled = true);

struct InfFile
{
    std::string path; // inside the image, "/" separated
    std::string text;
};
// An INF file serving `ids` on `platform` ("NTamd64", "NTx86", ...), stored in UTF-16LE or not.
InfFile Inf(const std::string& path, const std::vector<std::string>& ids, const std::string& platform = "NTamd64",
            bool utf16 = false);
// The INF files of the sample recovery image: drivers for the SATA and the RAID controller.
std::vector<InfFile> SampleInfs();
// A WIM of one image holding the files, with the given Windows build and architecture ("9" x64).
std::string Wim(const std::vector<InfFile>& files, const std::string& build = "19041", const std::string& arch = "9");

struct Event
{
    std::string provider;
    uint32_t id;
    int level;
    uint64_t filetime;
};
// A System event log (.evtx) holding the events.
std::string EventLog(const std::vector<Event>& events);
uint64_t Filetime(int year, int month, int day, int hour = 12);

// A saved registry hive of the store (what "reg save hklm\BCD00000000" writes).
std::string Hive(int64_t recoveryOffset = kSystemOffset, bool recoveryEnabled = true);

// The files of the sample machine's archive, as the collector names them.
struct Bundle
{
    std::map<std::string, std::string> files;

    Bundle& Set(const std::string& name, const std::string& bytes)
    {
        files[name] = bytes;
        return *this;
    }
    Bundle& Remove(const std::string& name)
    {
        files.erase(name);
        return *this;
    }
    bool Has(const std::string& name) const { return files.count(name) != 0; }
    // Writes it as a zip archive; returns the path.
    std::string Write(const std::string& path) const;
};

// A normal run on the sample machine, its console programs speaking as given.
Bundle SampleBundle(Speech speech = Speech::Utf8);
// An extended run: also the System event log (a quiet one) and boot.wim (the sample image).
Bundle ExtendedSampleBundle(Speech speech = Speech::Utf8);

// Captured outputs of the sample machine's programs, as the child wrote them.
std::string SystemInfoOutput(Speech speech);
std::string BcdeditOutput(Speech speech, bool recoveryEnabled = true, const std::string& recoveryDevice = "C:");
std::string WmicDisksOutput(Speech speech, uint32_t signature = kDiskSignature, const std::string& status = "OK");

// A fresh folder under the system's temporary folder, removed at exit of the test program.
std::string TempDir();
std::string ReadFile(const std::string& path);
void WriteFile(const std::string& path, const std::string& bytes);
} // namespace fixtures
