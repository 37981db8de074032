// Writes the seed corpora of the fuzz targets: the files of the test fixtures (the sample
// machine's archives in their three forms, an extended run, a saved hive, INF files, boot
// configuration elements, event logs), each into the folder of the target that reads it.
// Everything here is made by the fixtures; nothing comes from a real machine.
//   fuzz_seeds FOLDER
#include "fixtures/fixtures.h"

#include <sys/stat.h>

#include <cstdio>
#include <map>
#include <string>

namespace
{
std::string g_folder;

void Seed(const std::string& target, const std::string& name, const std::string& bytes)
{
    const std::string folder = g_folder + "/" + target;
    mkdir(folder.c_str(), 0755);
    std::string file = name.substr(name.find_first_not_of("/\\"));
    for (char& c : file)
        if (c == '/' || c == '\\')
            c = '_';
    fixtures::WriteFile(folder + "/" + file, bytes);
}

// The targets that read each of the collector's files.
const std::map<std::string, std::vector<std::string>> kReaders = {
    {"systeminfo.log", {"systeminfo", "text"}},
    {"bcdedit_all.log", {"bcdedit", "text"}},
    {"wmic_disks.log", {"wmic", "text"}},
    {"wmic_hotfix.log", {"text"}},
    {"mpdiag.log", {"diaglog", "text"}},
    {"devices.txt", {"devices", "text"}},
    {"recovery_path.log", {"text"}},
    {"enum.reg", {"registry_export", "text"}},
    {"services.reg", {"registry_export"}},
    {"BCD00000000.reg", {"registry_export", "text"}},
    {"BCD00000000.hiv", {"hive"}},
    {"setupact.log", {"logs", "text"}},
    {"setuperr.log", {"logs", "text"}},
    {"mp.log", {"logs", "text"}},
    {"mpb.log", {"logs", "text"}},
    {"System32/WinEvt/Logs/System.evtx", {"event_log"}},
};

void SeedBundle(const std::string& name, fixtures::Bundle bundle)
{
    for (const auto& file : bundle.files)
    {
        const auto readers = kReaders.find(file.first);
        if (readers != kReaders.end())
            for (const std::string& target : readers->second)
                Seed(target, name + "-" + file.first, file.second);
    }
    Seed("archive", name + ".zip", fixtures::ReadFile(bundle.Write(fixtures::TempDir() + "/" + name + ".zip")));
}
} // namespace

int main(int argc, char** argv)
{
    if (argc != 2)
    {
        fprintf(stderr, "usage: fuzz_seeds FOLDER\n");
        return 2;
    }
    g_folder = argv[1];
    mkdir(g_folder.c_str(), 0755);
    using fixtures::Speech;
    SeedBundle("sample-utf8", fixtures::SampleBundle(Speech::Utf8));
    SeedBundle("sample-field", fixtures::SampleBundle(Speech::Field));
    SeedBundle("sample-german", fixtures::SampleBundle(Speech::German));
    SeedBundle("extended-field", fixtures::ExtendedSampleBundle(Speech::Field));
    SeedBundle("sample-with-hive", fixtures::SampleBundle().Set("BCD00000000.hiv", fixtures::Hive()));

    // Made in the tests' own words: the collector's log, setup and product logs with errors.
    Seed("diaglog", "made-records.log",
         fixtures::CollectorSaves("14:03:27 ! Error: !src || !dest\r\n\r\n14:03:28 - VSS snapshot failed - retrying\r\n"
                                  "14:03:29   Output for command: \"bcdedit\", currentDir: \"C:\\Windows\\system32\"\r\n"
                                  "10:00:00   System drive signature: 1513922049\r\n10:00:00   System partition offset: 1048576\r\n"
                                  "09:00:00 ! Item not copied: C:\\Users\\Jo Smith\\AppData\\Local\\Temp\\MPDiag1a2b\\x.log\r\n"
                                  "14:03:29 !!! fatal\r\n"));
    Seed("logs", "made-setuperr.log",
         fixtures::Utf16Le("2024-03-14 09:12:44, Error                 CSI    00000001 (F) Failed to open 0x80070002\r\n"
                           "2024-03-14 09:12:46, Info                  CBS    fine\r\n"
                           "2024-03-14 09:12:47, Fatal Error           SP     Operation failed: Add boot entry\r\n"));
    Seed("logs", "made-mpb.log", "2024-05-02 10:00:00 start\r\n2024-05-02 10:00:01 ERROR cannot open volume 3\r\n"
                                 "[2024-05-02T10:00:02] exception 0xC0000005 ! at deadbeef01\r\n");
    for (const fixtures::InfFile& inf : fixtures::SampleInfs())
        Seed("inf", inf.path, inf.text);
    Seed("inf", "made-utf16.inf", fixtures::Inf("made.inf", {"PCI\\VEN_8086&DEV_10D3"}, "NTamd64", true).text);
    Seed("boot_element", "partition", fixtures::PartitionElement(fixtures::kDiskSignature, fixtures::kSystemOffset));
    Seed("boot_element", "ramdisk", fixtures::RamdiskElement(fixtures::kDiskSignature, 63LL << 30, "\\Recovery\\WindowsRE\\Winre.wim"));
    Seed("boot_element", "gpt-partition", fixtures::GptPartitionElement(std::string(16, '\x11'), std::string(16, '\x22')));
    Seed("event_log", "made-troubles.evtx",
         fixtures::EventLog({{"Microsoft-Windows-WER-SystemErrorReporting", 1001, 2, fixtures::Filetime(2024, 5, 1)},
                             {"disk", 7, 2, fixtures::Filetime(2024, 5, 2)},
                             {"EventLog", 6008, 2, fixtures::Filetime(2024, 5, 3)}}));
    return 0;
}
