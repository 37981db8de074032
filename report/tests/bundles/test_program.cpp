// The program on archives that are damaged, hostile or not mpdiag's at all.
#include "fixtures/support.h"
#include "read/archive.h"

#include <gtest/gtest.h>

using namespace report;
using namespace testing_support;

TEST(Program, ReadsASampleArchiveAndExitsZeroWhateverItFound)
{
    std::string out;
    EXPECT_EQ(0, RunReport(SampleZip(), out)) << out;
    EXPECT_NE(std::string::npos, out.find("Host:        SAMPLE-PC")) << out;
    EXPECT_NE(std::string::npos, out.find("Microsoft Windows 10 Pro, version 10.0.19045 (build 19045), x64")) << out;
    EXPECT_NE(std::string::npos, out.find("[drivers.no-driver-on-machine]")) << out;
}

TEST(Program, RefusesAFileThatIsNoZipWithExitTwo)
{
    const std::string path = fixtures::TempDir() + "/mpdiag.zip";
    fixtures::WriteFile(path, "this is a text file, not an archive\n");
    std::string out, err;
    EXPECT_EQ(2, RunReport(path, out, &err));
    EXPECT_NE(std::string::npos, err.find("cannot be read as a zip archive: Not a zip archive")) << err;
    EXPECT_EQ("", out);
    EXPECT_EQ(2, RunReport(fixtures::TempDir() + "/missing.zip", out, &err));
    EXPECT_NE(std::string::npos, err.find("No such file")) << err;
}

TEST(Program, RefusesAZipThatMpdiagDidNotMakeWithExitTwo)
{
    fixtures::Bundle other;
    other.Set("readme.txt", "hello\r\n").Set("photos/cat.jpg", "\xFF\xD8\xFF");
    std::string out, err;
    EXPECT_EQ(2, RunReport(other.Write(fixtures::TempDir() + "/other.zip"), out, &err));
    EXPECT_NE(std::string::npos, err.find("not one that mpdiag.exe made")) << err;
}

TEST(Program, ATruncatedArchiveIsRefusedWithoutACrash)
{
    const std::string bytes = fixtures::ReadFile(fixtures::ExtendedSampleBundle().Write(fixtures::TempDir() + "/whole.zip"));
    for (size_t keep : {bytes.size() / 2, bytes.size() - 30, size_t(100), size_t(0)})
    {
        const std::string path = fixtures::TempDir() + "/truncated.zip";
        fixtures::WriteFile(path, bytes.substr(0, keep));
        std::string out, err;
        EXPECT_EQ(2, RunReport(path, out, &err)) << "kept " << keep << " bytes: " << err;
        EXPECT_NE(std::string::npos, err.find("cannot be read as a zip archive")) << err;
    }
}

TEST(Program, HostileNamesAreLeftOutAndNothingIsWrittenOutsideItsPrivateFolder)
{
    fixtures::Bundle bundle = fixtures::ExtendedSampleBundle();
    bundle.Set("../../evil.txt", "x").Set("/tmp/absolute.txt", "x").Set("C:\\Windows\\system.ini", "x")
        .Set("Logs/../../../climb.txt", "x").Set("./mpdiag.log", "x");
    const std::string zip = bundle.Write(fixtures::TempDir() + "/hostile.zip");
    const std::string temp = fixtures::TempDir(), cwd = fixtures::TempDir();
    std::string out, err;
    const int status = RunReport("--json --pci-ids " + testing_support::PciIdsFile() + " " + zip, out, &err);
    EXPECT_EQ(0, status) << err;
    EXPECT_NE(std::string::npos, out.find("\"id\": \"archive.unsafe-entries\"")) << out;
    EXPECT_NE(std::string::npos, out.find("5 archive entries with unsafe names were left out")) << out;
    // The same run with its temporary and working folders watched.
    const std::string command = "cd '" + cwd + "' && TMPDIR='" + temp + "' " + MPDIAG_REPORT_EXE + " " + zip + " >/dev/null";
    ASSERT_EQ(0, std::system(command.c_str()));
    EXPECT_TRUE(FolderEntries(temp).empty()) << "the private folder is removed";
    EXPECT_TRUE(FolderEntries(cwd).empty());
    EXPECT_EQ(std::string::npos, fixtures::ReadFile("/tmp/absolute.txt").find('x'));
}

TEST(Program, AZipBombIsReadOnlyUpToItsCap)
{
    fixtures::Bundle bundle = fixtures::SampleBundle();
    bundle.Set("wmic_disks.log", std::string((64u << 20) + 1, 'A')); // a few kilobytes once compressed
    std::string out, err;
    EXPECT_EQ(0, RunReport(bundle.Write(fixtures::TempDir() + "/bomb.zip"), out, &err)) << err;
    EXPECT_NE(std::string::npos, out.find("wmic_disks.log: could not be read: declares 67108865 bytes, more than the 67108864 this report reads")) << out;
}

TEST(Robustness, DamagedFilesNeverStopTheReport)
{
    const fixtures::Bundle whole = fixtures::ExtendedSampleBundle(fixtures::Speech::Field);
    unsigned seed = 20240502;
    auto random = [&seed] { return seed = seed * 1103515245u + 12345u, seed >> 16; };
    for (const auto& file : whole.files)
        for (int damage = 0; damage < 3; ++damage)
        {
            std::string bytes = file.second;
            if (damage == 0)
                bytes.resize(bytes.size() / 2);
            else if (damage == 1)
            {
                for (char& c : bytes)
                    if (random() % 7 == 0)
                        c = static_cast<char>(random());
            }
            else
            {
                bytes.assign(4096, '\0');
                for (char& c : bytes)
                    c = static_cast<char>(random());
            }
            fixtures::Bundle bundle = whole;
            bundle.Set(file.first, bytes);
            const Report report = testing_support::AnalyzeBundle(bundle);
            EXPECT_FALSE(report.findings.empty()) << file.first << " damage " << damage;
        }
}
