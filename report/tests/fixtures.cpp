#include "fixtures.h"

#include <hivex.h>
#include <wimlib.h>
#include <zip.h>
#include <zlib.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <sys/stat.h>

namespace fixtures
{
namespace
{
void Require(bool condition, const std::string& what)
{
    if (!condition)
        throw std::runtime_error("fixture: " + what);
}

void Put16(std::string& out, size_t at, uint16_t value)
{
    out[at] = static_cast<char>(value & 0xFF);
    out[at + 1] = static_cast<char>(value >> 8);
}

void Put32(std::string& out, size_t at, uint32_t value)
{
    for (int i = 0; i < 4; ++i)
        out[at + i] = static_cast<char>(value >> (8 * i) & 0xFF);
}

void Put64(std::string& out, size_t at, uint64_t value)
{
    Put32(out, at, static_cast<uint32_t>(value));
    Put32(out, at + 4, static_cast<uint32_t>(value >> 32));
}

void Append16(std::string& out, uint16_t value)
{
    out.push_back(static_cast<char>(value & 0xFF));
    out.push_back(static_cast<char>(value >> 8));
}

// Code points of UTF-8 text that the fixtures write themselves (always valid).
std::u32string CodePoints(const std::string& utf8)
{
    std::u32string out;
    for (size_t i = 0; i < utf8.size();)
    {
        const auto b = static_cast<unsigned char>(utf8[i]);
        const int length = b < 0x80 ? 1 : b < 0xE0 ? 2 : b < 0xF0 ? 3 : 4;
        char32_t c = length == 1 ? b : length == 2 ? b & 0x1F : length == 3 ? b & 0x0F : b & 0x07;
        for (int k = 1; k < length; ++k)
            c = c << 6 | (static_cast<unsigned char>(utf8[i + k]) & 0x3F);
        out.push_back(c);
        i += length;
    }
    return out;
}

std::string Hex(const std::string& bytes, size_t firstLineUsed)
{
    // As reg export writes it: byte pairs separated by commas, lines broken after about 76
    // characters with a backslash.
    std::string out;
    size_t column = firstLineUsed;
    char pair[4];
    for (size_t i = 0; i < bytes.size(); ++i)
    {
        snprintf(pair, sizeof pair, "%02x", static_cast<unsigned char>(bytes[i]));
        out += pair;
        column += 2;
        if (i + 1 < bytes.size())
        {
            out += ",";
            ++column;
            if (column > 74)
            {
                out += "\\\r\n  ";
                column = 2;
            }
        }
    }
    return out;
}

std::string Utf16Bytes(const std::string& utf8)
{
    return Utf16Le(utf8, false);
}

// The wmic, systeminfo and bcdedit outputs as the child writes them into its pipe.
std::string Speak(const std::string& utf8Text, Speech speech, bool wide)
{
    if (speech == Speech::Utf8)
        return utf8Text;
    return wide ? Utf16Le(utf8Text) : Cp850(utf8Text);
}
} // namespace

std::string CollectorSaves(const std::string& child)
{
    // MultiByteToWideChar with CP_UTF8: every byte that does not start a complete sequence
    // becomes U+FFFD on its own.
    std::string decoded;
    for (size_t i = 0; i < child.size();)
    {
        const auto b = static_cast<unsigned char>(child[i]);
        const size_t length = b < 0x80 ? 1 : (b >= 0xC2 && b < 0xE0) ? 2 : (b >= 0xE0 && b < 0xF0) ? 3 : (b >= 0xF0 && b < 0xF5) ? 4 : 0;
        bool valid = length > 0 && i + length <= child.size();
        for (size_t k = 1; valid && k < length; ++k)
            valid = (static_cast<unsigned char>(child[i + k]) & 0xC0) == 0x80;
        if (valid)
        {
            decoded.append(child, i, length);
            i += length;
        }
        else
        {
            decoded += "\xEF\xBF\xBD";
            ++i;
        }
    }
    std::string saved;
    size_t start = 0;
    while (start <= decoded.size())
    {
        size_t end = decoded.find('\n', start);
        if (end == std::string::npos)
            end = decoded.size();
        if (end > start)
            saved += decoded.substr(start, end - start) + "\r\n";
        start = end + 1;
    }
    return saved;
}

std::string Utf16Le(const std::string& utf8, bool byteOrderMark)
{
    std::string out = byteOrderMark ? "\xFF\xFE" : "";
    for (char32_t c : CodePoints(utf8))
    {
        Require(c < 0x10000, "UTF-16 fixture text stays in the basic plane");
        Append16(out, static_cast<uint16_t>(c));
    }
    return out;
}

std::string Cp850(const std::string& utf8)
{
    const std::map<char32_t, char> table = {{U'ü', '\x81'}, {U'é', '\x82'}, {U'ä', '\x84'}, {U'Ä', '\x8E'},
                                            {U'ö', '\x94'}, {U'Ö', '\x99'}, {U'Ü', '\x9A'}, {U'ß', '\xE1'}};
    std::string out;
    for (char32_t c : CodePoints(utf8))
    {
        if (c < 0x80)
            out.push_back(static_cast<char>(c));
        else
        {
            Require(table.count(c) != 0, "a letter of code page 850's table");
            out.push_back(table.at(c));
        }
    }
    return out;
}

RegExport& RegExport::Key(const std::string& path)
{
    m_text += "\r\n[" + path + "]\r\n";
    return *this;
}

RegExport& RegExport::String(const std::string& name, const std::string& value)
{
    m_text += "\"" + name + "\"=\"" + value + "\"\r\n";
    return *this;
}

RegExport& RegExport::Dword(const std::string& name, uint32_t value)
{
    char text[16];
    snprintf(text, sizeof text, "%08x", value);
    m_text += "\"" + name + "\"=dword:" + text + "\r\n";
    return *this;
}

RegExport& RegExport::Binary(const std::string& name, const std::string& bytes, int type)
{
    const std::string prefix = "\"" + name + "\"=" + (type == 3 ? std::string("hex:") : "hex(" + std::to_string(type) + "):");
    m_text += prefix + Hex(bytes, prefix.size()) + "\r\n";
    return *this;
}

RegExport& RegExport::MultiSz(const std::string& name, const std::vector<std::string>& strings)
{
    std::string bytes;
    for (const std::string& s : strings)
        bytes += Utf16Bytes(s) + std::string(2, '\0');
    return Binary(name, bytes + std::string(2, '\0'), 7);
}

std::string PartitionElement(uint32_t signature, int64_t offset)
{
    std::string bytes(88, '\0');
    Put32(bytes, 16, 6);
    Put64(bytes, 32, static_cast<uint64_t>(offset));
    Put32(bytes, 56, signature);
    return bytes;
}

std::string GptPartitionElement(const std::string& diskGuid16, const std::string& partitionGuid16)
{
    std::string bytes(88, '\0');
    Put32(bytes, 16, 6);
    bytes.replace(32, 16, partitionGuid16);
    bytes.replace(56, 16, diskGuid16);
    return bytes;
}

std::string RamdiskElement(uint32_t signature, int64_t offset, const std::string& imagePath)
{
    std::string bytes(140, '\0');
    Put32(bytes, 16, 3);
    Put64(bytes, 84, static_cast<uint64_t>(offset));
    Put32(bytes, 108, signature);
    return bytes + Utf16Bytes(imagePath) + std::string(2, '\0');
}

RegExport SampleBootStore(int64_t recoveryOffset, bool recoveryEnabled)
{
    const std::string objects = "HKEY_LOCAL_MACHINE\\BCD00000000\\Objects\\";
    const std::string image = "\\Recovery\\WindowsRE\\Winre.wim";
    RegExport store;
    store.Key("HKEY_LOCAL_MACHINE\\BCD00000000").Key("HKEY_LOCAL_MACHINE\\BCD00000000\\Objects");
    store.Key(objects + kBootManager).Key(objects + kBootManager + "\\Description").Dword("Type", 0x10100002);
    store.Key(objects + kBootManager + "\\Elements\\11000001").Binary("Element", PartitionElement(kDiskSignature, kSystemOffset));
    store.Key(objects + kLoader).Key(objects + kLoader + "\\Description").Dword("Type", 0x10200003);
    store.Key(objects + kLoader + "\\Elements\\11000001").Binary("Element", PartitionElement(kDiskSignature, kSystemOffset));
    store.Key(objects + kLoader + "\\Elements\\12000004").String("Element", "Windows 10");
    store.Key(objects + kLoader + "\\Elements\\14000008").MultiSz("Element", {kRecoveryLoader});
    store.Key(objects + kLoader + "\\Elements\\16000009").Binary("Element", recoveryEnabled ? "\x01" : std::string(1, '\0'));
    store.Key(objects + kRecoveryLoader).Key(objects + kRecoveryLoader + "\\Description").Dword("Type", 0x10200003);
    store.Key(objects + kRecoveryLoader + "\\Elements\\11000001").Binary("Element", RamdiskElement(kDiskSignature, recoveryOffset, image));
    store.Key(objects + kRecoveryLoader + "\\Elements\\12000004").String("Element", "Windows Recovery Environment");
    store.Key(objects + kRecoveryLoader + "\\Elements\\21000001").Binary("Element", RamdiskElement(kDiskSignature, recoveryOffset, image));
    store.Key(objects + kRecoveryLoader + "\\Elements\\26000022").Binary("Element", "\x01");
    return store;
}

InfFile Inf(const std::string& path, const std::vector<std::string>& ids, const std::string& platform, bool utf16)
{
    std::string text = "; a driver of the recovery image\r\n[Version]\r\nSignature=\"$WINDOWS NT$\"\r\nClass=SCSIAdapter\r\n\r\n"
                       "[Manufacturer]\r\n%Maker% = Maker, " + platform + "\r\n\r\n[Maker." + platform + "]\r\n";
    for (size_t i = 0; i < ids.size(); ++i)
        text += "%Device" + std::to_string(i) + "% = Install_Section, " + ids[i] + "  ; model " + std::to_string(i) + "\r\n";
    text += "\r\n[Strings]\r\nMaker = \"Sample; Maker\"\r\n";
    return {path, utf16 ? Utf16Le(text) : text};
}

std::vector<InfFile> SampleInfs()
{
    return {Inf("/Windows/INF/storahci.inf", {"PCI\\CC_010601"}),
            Inf("/Windows/System32/DriverStore/FileRepository/megasas.inf_amd64_1/megasas.inf",
                {"PCI\\VEN_1000&DEV_0079&SUBSYS_92651000", "PCI\\VEN_1000&DEV_0079"}, "NTamd64", true),
            Inf("/Windows/INF/machine.inf", {"ACPI\\PNP0A03"})};
}

std::string Wim(const std::vector<InfFile>& files, const std::string& build, const std::string& arch)
{
    static const int initialized = wimlib_global_init(0);
    (void)initialized;
    const std::string tree = TempDir() + "/tree";
    for (const InfFile& file : files)
    {
        const std::string path = tree + file.path;
        for (size_t slash = path.find('/', 1); slash != std::string::npos; slash = path.find('/', slash + 1))
            mkdir(path.substr(0, slash).c_str(), 0700);
        WriteFile(path, file.text);
    }
    mkdir(tree.c_str(), 0700);
    WIMStruct* wim = nullptr;
    Require(wimlib_create_new_wim(WIMLIB_COMPRESSION_TYPE_LZX, &wim) == 0, "new WIM");
    Require(wimlib_add_image(wim, tree.c_str(), "Microsoft Windows Recovery Environment (x64)", nullptr, 0) == 0, "WIM image");
    if (!build.empty())
        Require(wimlib_set_image_property(wim, 1, "WINDOWS/VERSION/BUILD", build.c_str()) == 0, "WIM build");
    if (!arch.empty())
        Require(wimlib_set_image_property(wim, 1, "WINDOWS/ARCH", arch.c_str()) == 0, "WIM architecture");
    const std::string path = TempDir() + "/boot.wim";
    Require(wimlib_write(wim, path.c_str(), WIMLIB_ALL_IMAGES, 0, 1) == 0, "WIM write");
    wimlib_free(wim);
    return ReadFile(path);
}

namespace
{
// Binary XML of event records, written into a chunk: element and attribute names stand inline,
// at the chunk offset their reference gives.
class BinaryXml
{
public:
    BinaryXml(std::string& chunk, size_t& pos) : m_chunk(chunk), m_pos(pos) {}

    void Byte(uint8_t b) { m_chunk[m_pos++] = static_cast<char>(b); }
    void Word(uint16_t w)
    {
        Put16(m_chunk, m_pos, w);
        m_pos += 2;
    }
    void Dword(uint32_t d)
    {
        Put32(m_chunk, m_pos, d);
        m_pos += 4;
    }
    void Name(const std::string& name)
    {
        Dword(static_cast<uint32_t>(m_pos + 4)); // the name follows at once
        Dword(0);                                 // no next name
        uint32_t hash = 0;
        for (char c : name)
            hash = hash * 65599 + static_cast<unsigned char>(c);
        Word(static_cast<uint16_t>(hash));
        Word(static_cast<uint16_t>(name.size()));
        for (char c : name)
            Word(static_cast<unsigned char>(c));
        Word(0);
    }
    void Text(const std::string& text)
    {
        Byte(0x05);
        Byte(0x01); // a UTF-16 string
        Word(static_cast<uint16_t>(text.size()));
        for (char c : text)
            Word(static_cast<unsigned char>(c));
    }
    // An element with optional attributes and either text or children (written by `content`).
    template <typename Content>
    void Element(const std::string& name, const std::vector<std::pair<std::string, std::string>>& attributes, Content content)
    {
        Byte(attributes.empty() ? 0x01 : 0x41);
        Word(0xFFFF);
        const size_t sizeAt = m_pos;
        Dword(0);
        Name(name);
        size_t listAt = 0;
        if (!attributes.empty())
        {
            listAt = m_pos;
            Dword(0);
            for (size_t i = 0; i < attributes.size(); ++i)
            {
                Byte(i + 1 < attributes.size() ? 0x46 : 0x06);
                Name(attributes[i].first);
                Text(attributes[i].second);
            }
            Put32(m_chunk, listAt, static_cast<uint32_t>(m_pos - listAt - 4));
        }
        Byte(0x02);
        content();
        Byte(0x04);
        Put32(m_chunk, sizeAt, static_cast<uint32_t>(m_pos - sizeAt - 4));
    }

private:
    std::string& m_chunk;
    size_t& m_pos;
};

uint32_t Crc(const std::string& data, size_t from, size_t to)
{
    return static_cast<uint32_t>(crc32(0, reinterpret_cast<const Bytef*>(data.data() + from), static_cast<uInt>(to - from)));
}

std::string FiletimeText(uint64_t filetime)
{
    const time_t seconds = static_cast<time_t>((filetime - 116444736000000000ull) / 10000000ull);
    struct tm utc;
    gmtime_r(&seconds, &utc);
    char text[40];
    strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S.0000000Z", &utc);
    return text;
}
} // namespace

uint64_t Filetime(int year, int month, int day, int hour)
{
    struct tm utc = {};
    utc.tm_year = year - 1900;
    utc.tm_mon = month - 1;
    utc.tm_mday = day;
    utc.tm_hour = hour;
    return static_cast<uint64_t>(timegm(&utc)) * 10000000ull + 116444736000000000ull;
}

std::string EventLog(const std::vector<Event>& events)
{
    std::string chunk(65536, '\0');
    size_t pos = 512, last = 512;
    for (size_t i = 0; i < events.size(); ++i)
    {
        const Event& event = events[i];
        last = pos;
        const size_t start = pos;
        Put32(chunk, pos, 0x00002a2a);
        pos += 8; // signature, then the size
        Put64(chunk, pos, i + 1);
        Put64(chunk, pos + 8, event.filetime);
        pos += 16;
        BinaryXml xml(chunk, pos);
        xml.Byte(0x0F);
        xml.Byte(0x01);
        xml.Byte(0x01);
        xml.Byte(0x00);
        xml.Element("Event", {{"xmlns", "http://schemas.microsoft.com/win/2004/08/events/event"}}, [&] {
            xml.Element("System", {}, [&] {
                xml.Element("Provider", {{"Name", event.provider}}, [] {});
                xml.Element("EventID", {}, [&] { xml.Text(std::to_string(event.id)); });
                xml.Element("Level", {}, [&] { xml.Text(std::to_string(event.level)); });
                xml.Element("TimeCreated", {{"SystemTime", FiletimeText(event.filetime)}}, [] {});
                xml.Element("EventRecordID", {}, [&] { xml.Text(std::to_string(i + 1)); });
                xml.Element("Channel", {}, [&] { xml.Text("System"); });
                xml.Element("Computer", {}, [&] { xml.Text("SAMPLE-PC"); });
            });
        });
        xml.Byte(0x00);
        pos += 4;
        Put32(chunk, start + 4, static_cast<uint32_t>(pos - start));
        Put32(chunk, pos - 4, static_cast<uint32_t>(pos - start));
    }
    memcpy(&chunk[0], "ElfChnk", 8);
    Put64(chunk, 8, 1);
    Put64(chunk, 16, events.size());
    Put64(chunk, 24, 1);
    Put64(chunk, 32, events.size());
    Put32(chunk, 40, 128);
    Put32(chunk, 44, static_cast<uint32_t>(last));
    Put32(chunk, 48, static_cast<uint32_t>(pos));
    Put32(chunk, 52, Crc(chunk, 512, pos));
    const uint32_t headerCrc = static_cast<uint32_t>(
        crc32(Crc(chunk, 0, 120), reinterpret_cast<const Bytef*>(chunk.data() + 128), 384));
    Put32(chunk, 124, headerCrc);

    std::string file(4096, '\0');
    memcpy(&file[0], "ElfFile", 8);
    Put64(file, 8, 0);
    Put64(file, 16, 0);
    Put64(file, 24, events.size() + 1);
    Put32(file, 32, 128);
    Put16(file, 36, 1);
    Put16(file, 38, 3);
    Put16(file, 40, 4096);
    Put16(file, 42, 1);
    Put32(file, 124, Crc(file, 0, 120));
    return file + chunk;
}

std::string Hive(int64_t recoveryOffset, bool recoveryEnabled)
{
    // An empty hive: the header, one bin with the root key, its security record and free space.
    std::string hive(8192, '\0');
    memcpy(&hive[0], "regf", 4);
    Put32(hive, 4, 1);
    Put32(hive, 8, 1);
    Put32(hive, 20, 1);
    Put32(hive, 24, 3);
    Put32(hive, 32, 1);
    Put32(hive, 36, 0x20);
    Put32(hive, 40, 4096);
    Put32(hive, 44, 1);
    uint32_t sum = 0;
    for (size_t i = 0; i < 508; i += 4)
        sum ^= static_cast<uint32_t>(static_cast<unsigned char>(hive[i])) | static_cast<unsigned char>(hive[i + 1]) << 8 |
               static_cast<unsigned char>(hive[i + 2]) << 16 | static_cast<uint32_t>(static_cast<unsigned char>(hive[i + 3])) << 24;
    Put32(hive, 508, sum);
    const size_t bin = 4096, root = bin + 0x20, security = bin + 0x78, freeCell = bin + 0xA8;
    memcpy(&hive[bin], "hbin", 4);
    Put32(hive, bin + 8, 4096);
    Put32(hive, root, static_cast<uint32_t>(-88));
    memcpy(&hive[root + 4], "nk", 2);
    Put16(hive, root + 6, 0x2C);
    Put32(hive, root + 4 + 28, 0xFFFFFFFF);
    Put32(hive, root + 4 + 32, 0xFFFFFFFF);
    Put32(hive, root + 4 + 40, 0xFFFFFFFF);
    Put32(hive, root + 4 + 44, 0x78);
    Put32(hive, root + 4 + 48, 0xFFFFFFFF);
    Put16(hive, root + 4 + 72, 4);
    memcpy(&hive[root + 4 + 76], "ROOT", 4);
    Put32(hive, security, static_cast<uint32_t>(-48));
    memcpy(&hive[security + 4], "sk", 2);
    Put32(hive, security + 8, 0x78);
    Put32(hive, security + 12, 0x78);
    Put32(hive, security + 16, 1);
    Put32(hive, security + 20, 20);
    hive[security + 24] = 1;       // revision
    Put16(hive, security + 26, 0x8000); // self-relative
    Put32(hive, freeCell, static_cast<uint32_t>(8192 - freeCell));

    const std::string path = TempDir() + "/BCD00000000.hiv";
    WriteFile(path, hive);
    hive_h* h = hivex_open(path.c_str(), HIVEX_OPEN_WRITE);
    Require(h != nullptr, "hivex opens the empty hive");
    auto child = [&](hive_node_h parent, const char* name) {
        const hive_node_h node = hivex_node_add_child(h, parent, name);
        Require(node != 0, std::string("hive key ") + name);
        return node;
    };
    auto value = [&](hive_node_h node, const char* name, hive_type type, const std::string& data) {
        hive_set_value v = {const_cast<char*>(name), type, data.size(), const_cast<char*>(data.data())};
        Require(hivex_node_set_values(h, node, 1, &v, 0) == 0, std::string("hive value ") + name);
    };
    auto dword = [](uint32_t number) {
        std::string bytes(4, '\0');
        Put32(bytes, 0, number);
        return bytes;
    };
    const hive_node_h objects = child(hivex_root(h), "Objects");
    const std::string image = "\\Recovery\\WindowsRE\\Winre.wim";
    const struct
    {
        const char* id;
        uint32_t type;
        std::vector<std::pair<const char*, std::pair<hive_type, std::string>>> elements;
    } store[] = {
        {kLoader, 0x10200003,
         {{"11000001", {hive_t_REG_BINARY, PartitionElement(kDiskSignature, kSystemOffset)}},
          {"14000008", {hive_t_REG_MULTI_SZ, Utf16Bytes(kRecoveryLoader) + std::string(4, '\0')}},
          {"16000009", {hive_t_REG_BINARY, recoveryEnabled ? "\x01" : std::string(1, '\0')}}}},
        {kRecoveryLoader, 0x10200003,
         {{"11000001", {hive_t_REG_BINARY, RamdiskElement(kDiskSignature, recoveryOffset, image)}},
          {"21000001", {hive_t_REG_BINARY, RamdiskElement(kDiskSignature, recoveryOffset, image)}}}},
    };
    for (const auto& object : store)
    {
        const hive_node_h key = child(objects, object.id);
        value(child(key, "Description"), "Type", hive_t_REG_DWORD, dword(object.type));
        const hive_node_h elements = child(key, "Elements");
        for (const auto& element : object.elements)
            value(child(elements, element.first), "Element", element.second.first, element.second.second);
    }
    Require(hivex_commit(h, nullptr, 0) == 0, "hive written");
    hivex_close(h);
    return ReadFile(path);
}

std::string Bundle::Write(const std::string& path) const
{
    int error = 0;
    zip_t* archive = zip_open(path.c_str(), ZIP_CREATE | ZIP_TRUNCATE, &error);
    Require(archive != nullptr, "zip " + path);
    for (const auto& file : files)
    {
        zip_source_t* source = zip_source_buffer(archive, file.second.data(), file.second.size(), 0);
        Require(source && zip_file_add(archive, file.first.c_str(), source, ZIP_FL_ENC_UTF_8) >= 0, "zip entry " + file.first);
    }
    Require(zip_close(archive) == 0, "zip written");
    return path;
}

std::string SystemInfoOutput(Speech speech)
{
    const std::string english =
        "\r\nHost Name:                 SAMPLE-PC\r\n"
        "OS Name:                   Microsoft Windows 10 Pro\r\n"
        "OS Version:                10.0.19045 N/A Build 19045\r\n"
        "OS Manufacturer:           Microsoft Corporation\r\n"
        "OS Configuration:          Standalone Workstation\r\n"
        "Registered Owner:          Jürgen Müller\r\n"
        "Original Install Date:     3/14/2024, 9:12:44 AM\r\n"
        "System Type:               x64-based PC\r\n"
        "Windows Directory:         C:\\Windows\r\n"
        "System Directory:          C:\\Windows\\system32\r\n"
        "Boot Device:               \\Device\\HarddiskVolume1\r\n"
        "System Locale:             de-at;German (Austria)\r\n"
        "Hotfix(s):                 2 Hotfix(s) Installed.\r\n"
        "                           [01]: KB5012170\r\n"
        "                           [02]: KB5031539\r\n";
    const std::string german =
        "\r\nHostname:                                      SAMPLE-PC\r\n"
        "Betriebssystemname:                            Microsoft Windows 10 Pro\r\n"
        "Betriebssystemversion:                         10.0.19045 Nicht zutreffend Build 19045\r\n"
        "Betriebssystemhersteller:                      Microsoft Corporation\r\n"
        "Registrierter Benutzer:                        Jürgen Müller\r\n"
        "Ursprüngliches Installationsdatum:             14.03.2024, 09:12:44\r\n"
        "Systemtyp:                                     x64-basierter PC\r\n"
        "Windows-Verzeichnis:                           C:\\Windows\r\n"
        "System-Verzeichnis:                            C:\\Windows\\system32\r\n"
        "Startgerät:                                    \\Device\\HarddiskVolume1\r\n"
        "Systemgebietsschema:                           de-at;Deutsch (Österreich)\r\n"
        "Hotfix(es):                                    2 Hotfix(es) installiert.\r\n"
        "                                               [01]: KB5012170\r\n";
    return Speak(speech == Speech::German ? german : english, speech, false);
}

std::string BcdeditOutput(Speech speech, bool recoveryEnabled, const std::string& recoveryDevice)
{
    const bool de = speech == Speech::German;
    const std::string identifier = de ? "Bezeichner" : "identifier";
    const std::string yes = de ? "Ja" : "Yes";
    const std::string pad = std::string(24 - identifier.size(), ' ');
    const std::string ramdisk = "ramdisk=[" + recoveryDevice + "]\\Recovery\\WindowsRE\\Winre.wim,{4f2c1a90-7b3d-11ef-a1c4-0021cc6b2e10}";
    const std::string text =
        std::string("\r\n") + (de ? "Windows-Start-Manager\r\n---------------------\r\n" : "Windows Boot Manager\r\n--------------------\r\n") +
        identifier + pad + "{bootmgr}\r\n"
        "device                  partition=C:\r\n"
        "description             Windows Boot Manager\r\n"
        "locale                  " + (de ? "de-DE" : "en-US") + "\r\n"
        "default                 {current}\r\n"
        "displayorder            {current}\r\n"
        "timeout                 30\r\n\r\n" +
        (de ? "Windows-Startladeprogramm\r\n-------------------------\r\n" : "Windows Boot Loader\r\n-------------------\r\n") +
        identifier + pad + "{current}\r\n"
        "device                  partition=C:\r\n"
        "path                    \\Windows\\system32\\winload.exe\r\n"
        "description             Windows 10\r\n"
        "recoverysequence        " + kRecoveryLoader + "\r\n"
        "displaymessageoverride  Recovery\r\n"
        "recoveryenabled         " + (recoveryEnabled ? yes : (de ? "Nein" : "No")) + "\r\n"
        "osdevice                partition=C:\r\n"
        "systemroot              \\Windows\r\n\r\n" +
        (de ? "Windows-Startladeprogramm\r\n-------------------------\r\n" : "Windows Boot Loader\r\n-------------------\r\n") +
        identifier + pad + kRecoveryLoader + "\r\n"
        "device                  " + ramdisk + "\r\n"
        "path                    \\windows\\system32\\winload.exe\r\n"
        "description             " + (de ? "Windows-Wiederherstellungsumgebung" : "Windows Recovery Environment") + "\r\n"
        "osdevice                " + ramdisk + "\r\n"
        "winpe                   " + yes + "\r\n\r\n" +
        (de ? "Geräteoptionen\r\n--------------\r\n" : "Device options\r\n--------------\r\n") +
        identifier + pad + "{4f2c1a90-7b3d-11ef-a1c4-0021cc6b2e10}\r\n"
        "description             Windows Recovery\r\n"
        "ramdisksdidevice        partition=" + recoveryDevice + "\r\n"
        "ramdisksdipath          \\Recovery\\WindowsRE\\boot.sdi\r\n";
    return Speak(text, speech, false);
}

std::string WmicDisksOutput(Speech speech, uint32_t signature, const std::string& status)
{
    // wmic pads each column to its widest value and two spaces; lines end in CR CR LF.
    const std::vector<std::pair<std::string, std::string>> columns = {
        {"Caption", "SAMPLE DISK 0"}, {"DeviceID", "\\\\.\\PHYSICALDRIVE0"}, {"Index", "0"},
        {"InterfaceType", "SCSI"},    {"MediaType", "Fixed hard disk media"}, {"Model", "SAMPLE DISK 0"},
        {"Partitions", "3"},          {"Signature", std::to_string(signature)}, {"Size", std::to_string(kDiskSize)},
        {"Status", status}};
    std::string header, row;
    for (const auto& column : columns)
    {
        const size_t width = std::max(column.first.size(), column.second.size()) + 2;
        header += column.first + std::string(width - column.first.size(), ' ');
        row += column.second + std::string(width - column.second.size(), ' ');
    }
    return Speak(header + "\r\r\n" + row + "\r\r\n\r\r\n", speech, true);
}

Bundle SampleBundle(Speech speech)
{
    Bundle bundle;
    const std::string hotfix = "Description      HotFixID   InstalledOn  \r\r\nUpdate           KB5012170  8/9/2022     \r\r\n"
                               "Security Update  KB5031539  10/10/2023   \r\r\n\r\r\n";
    bundle.Set("systeminfo.log", CollectorSaves(SystemInfoOutput(speech)))
        .Set("bcdedit_all.log", CollectorSaves(BcdeditOutput(speech)))
        .Set("wmic_disks.log", CollectorSaves(WmicDisksOutput(speech)))
        .Set("wmic_hotfix.log", CollectorSaves(speech == Speech::Utf8 ? hotfix : Utf16Le(hotfix)))
        .Set("devices.txt", "Device 0:\r\n"
                            "\tPCI\\VEN_1000&DEV_0079&SUBSYS_92631000&REV_05\r\n\tPCI\\VEN_1000&DEV_0079\r\n"
                            "\tPCI\\VEN_1000&CC_010400\r\n\tPCI\\CC_010400\r\n\tPCI\\CC_0104\r\n"
                            "Device 1:\r\n"
                            "\tPCI\\VEN_8086&DEV_10D3&SUBSYS_07D015AD&REV_00\r\n\tPCI\\VEN_8086&DEV_10D3\r\n"
                            "\tPCI\\VEN_8086&CC_020000\r\n\tPCI\\CC_020000\r\n\tPCI\\CC_0200\r\n")
        .Set("BCD00000000.reg", Utf16Le(SampleBootStore().Text()))
        .Set("services.reg", Utf16Le(RegExport().Key("HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Services").Text()))
        .Set("recovery_path.log", "C:\\Recovery\\WindowsRE\\WinRE.wim\r\n")
        .Set("mpdiag.log", "")
        .Set("mp.log", "sample System32\\mp.log\r\nsecond line\r\n")
        .Set("mpb.log", "sample product log\r\n")
        .Set("setupact.log", "2024-03-14 09:12:44, Info                  CBS    Starting TrustedInstaller initialization.\r\n")
        .Set("setuperr.log", "")
        .Set("Inf/setupapi.dev.log", "[Device Install Log]\r\n");
    const std::string base = "HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Enum\\PCI\\";
    RegExport enumExport;
    enumExport.Key("HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Enum").Key("HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Enum\\PCI");
    enumExport.Key(base + "VEN_8086&DEV_2922&SUBSYS_00000000&REV_02\\3&11583659&0&FA")
        .String("ClassGUID", "{4d36e97b-e325-11ce-bfc1-08002be10318}")
        .MultiSz("HardwareID", {"PCI\\VEN_8086&DEV_2922&SUBSYS_00000000&REV_02", "PCI\\VEN_8086&DEV_2922"})
        .MultiSz("CompatibleIDs", {"PCI\\VEN_8086&CC_010601", "PCI\\CC_010601", "PCI\\CC_0106"});
    enumExport.Key(base + "VEN_1000&DEV_0079&SUBSYS_92631000&REV_05\\4&2a7c5e1&0&0010")
        .String("ClassGUID", "{4d36e97b-e325-11ce-bfc1-08002be10318}")
        .MultiSz("HardwareID", {"PCI\\VEN_1000&DEV_0079&SUBSYS_92631000&REV_05", "PCI\\VEN_1000&DEV_0079"})
        .MultiSz("CompatibleIDs", {"PCI\\VEN_1000&CC_010400", "PCI\\CC_010400", "PCI\\CC_0104"});
    enumExport.Key(base + "VEN_8086&DEV_10D3&SUBSYS_07D015AD&REV_00\\4&3b8d6f2&0&0020")
        .String("ClassGUID", "{4d36e972-e325-11ce-bfc1-08002be10318}")
        .MultiSz("HardwareID", {"pci\\ven_8086&dev_10d3&subsys_07d015ad&rev_00", "pci\\ven_8086&dev_10d3"})
        .MultiSz("CompatibleIDs", {"pci\\ven_8086&cc_020000", "pci\\cc_020000", "pci\\cc_0200"});
    enumExport.Key(base + "VEN_8086&DEV_1237&SUBSYS_00000000&REV_02\\3&267a616a&0&00")
        .MultiSz("HardwareID", {"PCI\\VEN_8086&DEV_1237"})
        .MultiSz("CompatibleIDs", {"PCI\\CC_060000", "PCI\\CC_0600"});
    bundle.Set("enum.reg", Utf16Le(enumExport.Text()));
    return bundle;
}

Bundle ExtendedSampleBundle(Speech speech)
{
    Bundle bundle = SampleBundle(speech);
    bundle.Set("System32/WinEvt/Logs/System.evtx",
               EventLog({{"Microsoft-Windows-Kernel-General", 12, 4, Filetime(2024, 3, 14)},
                         {"Service Control Manager", 7036, 4, Filetime(2024, 3, 15)}}));
    bundle.Set("System32/WinEvt/Logs/Application.evtx", EventLog({}));
    bundle.Set("boot.wim", Wim(SampleInfs()));
    return bundle;
}

std::string TempDir()
{
    static std::string base;
    static int count = 0;
    if (base.empty())
    {
        const char* tmp = getenv("TMPDIR");
        std::string pattern = std::string(tmp && *tmp ? tmp : "/tmp") + "/report-tests.XXXXXX";
        Require(mkdtemp(&pattern[0]) != nullptr, "temporary folder");
        base = pattern;
        atexit([] { std::system(("rm -rf '" + base + "'").c_str()); });
    }
    const std::string dir = base + "/" + std::to_string(++count);
    mkdir(dir.c_str(), 0700);
    return dir;
}

std::string ReadFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    std::stringstream bytes;
    bytes << in.rdbuf();
    return bytes.str();
}

void WriteFile(const std::string& path, const std::string& bytes)
{
    std::ofstream out(path, std::ios::binary);
    out << bytes;
    Require(static_cast<bool>(out.flush()), "write " + path);
}
} // namespace fixtures
