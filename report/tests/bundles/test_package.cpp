// The Debian package: made with cpack from this build, unpacked into a scratch root (dpkg -x), and
// the program installed there run on an archive.
#include "fixtures/support.h"

#include <gtest/gtest.h>

#include <sstream>

using namespace testing_support;

namespace
{
const std::string kDeb = std::string("mpdiag-report_") + MPDIAG_REPORT_VERSION + "_amd64.deb";

// A shell command's standard output; the command must succeed.
std::string Shell(const std::string& command)
{
    int status = 0;
    const std::string out = CommandOutput(command, status);
    EXPECT_EQ(0, status) << command << "\n" << out;
    return out;
}

// The package of this build, made once for the tests below.
const std::string& Package()
{
    static const std::string path = [] {
        const std::string folder = fixtures::TempDir();
        Shell("cpack --config '" REPORT_BUILD_DIR "/CPackConfig.cmake' -B '" + folder + "' 2>&1");
        return folder + "/" + kDeb;
    }();
    return path;
}

// The package unpacked into a fresh scratch root; returns the root.
std::string Installed()
{
    const std::string root = fixtures::TempDir() + "/root";
    Shell("dpkg -x '" + Package() + "' '" + root + "'");
    return root;
}

std::vector<std::string> Words(const std::string& text)
{
    std::istringstream in(text);
    std::vector<std::string> words;
    for (std::string word; in >> word;)
        words.push_back(word);
    return words;
}
} // namespace

TEST(Package, IsNamedAfterTheVersionAndHoldsTheProgramItsManualAndCopyright)
{
    EXPECT_EQ("mpdiag-report\n" MPDIAG_REPORT_VERSION "\namd64\n",
              Shell("dpkg-deb -f '" + Package() + "' Package Version Architecture | sed 's/^[A-Za-z]*: //'"));
    const std::string contents = Shell("dpkg-deb -c '" + Package() + "'");
    for (const char* file : {"./usr/bin/mpdiag-report", "./usr/share/man/man1/mpdiag-report.1.gz", "./usr/share/doc/mpdiag-report/copyright"})
        EXPECT_NE(std::string::npos, contents.find(std::string(file) + "\n")) << file << " in\n" << contents;
    const std::string copyright = fixtures::ReadFile(Installed() + "/usr/share/doc/mpdiag-report/copyright");
    for (const char* part : {"Copyright (C) 2026 Quorvel", "==> nlohmann-json3-dev", "==> libcli11-dev", "Upstream-Name: CLI11"})
        EXPECT_NE(std::string::npos, copyright.find(part)) << part;
}

TEST(Package, DependsOnThePackageOfEveryLibraryItLoadsAndOnThePciNames)
{
    // The packages it depends on, without their versions, one per line.
    const std::string depends = "\n" + Shell("dpkg-deb -f '" + Package() + "' Depends | tr ',' '\\n' | awk '{print $1}'");
    EXPECT_NE(std::string::npos, depends.find("\npci.ids\n")) << depends;
    // Each shared library the installed program names (its own, not theirs: those come with their
    // packages), where the loader finds it here, and the package that holds it.
    const std::string program = Installed() + "/usr/bin/mpdiag-report";
    const std::vector<std::string> needed = Words(Shell("objdump -p '" + program + "' | awk '$1 == \"NEEDED\" {print $2}'"));
    ASSERT_GE(needed.size(), 6u) << "libzip, hivex, libevtx, wimlib, the C++ runtime, libc";
    const std::string found = Shell("ldd '" + program + "'");
    for (const std::string& name : needed)
    {
        const size_t at = found.find(name + " => ");
        ASSERT_NE(std::string::npos, at) << name << " not found by the loader:\n" << found;
        const std::string library = Words(found.substr(at + name.size() + 4)).at(0);
        // With /usr merged, dpkg may know the file under /lib rather than /usr/lib.
        const std::string owner = Shell("p=$(realpath '" + library + "'); { dpkg -S \"$p\" 2>/dev/null || dpkg -S \"${p#/usr}\"; } | cut -d: -f1");
        EXPECT_NE(std::string::npos, depends.find("\n" + Words(owner).at(0) + "\n")) << library << " of " << owner << " not in" << depends;
    }
    EXPECT_EQ("pci.ids\n", Shell("dpkg -S /usr/share/misc/pci.ids | cut -d: -f1")) << "the default list comes from that package";
}

TEST(Package, InstalledProgramReadsAnArchiveAsTheBuiltOneDoes)
{
    const std::string root = Installed();
    const std::string program = root + "/usr/bin/mpdiag-report";
    EXPECT_EQ("mpdiag-report " MPDIAG_REPORT_VERSION "\n", Shell("'" + program + "' --version"));
    const std::string arguments = " --pci-ids " + PciIdsFile() + " " + SampleZip();
    const std::string installed = Shell("'" + program + "'" + arguments);
    std::string built;
    EXPECT_EQ(0, RunReport(arguments, built));
    EXPECT_EQ(built, installed);
    EXPECT_NE(std::string::npos, installed.find("Boot chain (BCD00000000.reg)")) << installed;
    const std::string manual = Shell("zcat '" + root + "/usr/share/man/man1/mpdiag-report.1.gz' | groff -man -Tutf8 -P-cbou 2>&1");
    EXPECT_NE(std::string::npos, manual.find("EXIT STATUS")) << manual;
}
