// systeminfo's listing of the machine.
#include "fixtures/support.h"
#include "read/sysinfo.h"

#include <gtest/gtest.h>

using namespace report;
using fixtures::Speech;
using testing_support::Captured;

class SystemInfoSpeech : public testing::TestWithParam<Speech>
{
};

TEST_P(SystemInfoSpeech, ReadsTheMachineInEveryForm)
{
    const SystemInfo info = ParseSystemInfo(Captured(fixtures::SystemInfoOutput(GetParam())));
    EXPECT_EQ("SAMPLE-PC", info.Get(SystemInfoField::HostName).text);
    EXPECT_EQ("Microsoft Windows 10 Pro", info.Get(SystemInfoField::OsName).text);
    EXPECT_EQ("10.0.19045", VersionNumber(info.Get(SystemInfoField::OsVersion).text));
    EXPECT_EQ("19045", BuildNumber(info.Get(SystemInfoField::OsVersion).text));
    EXPECT_EQ("x64", Architecture(info.Get(SystemInfoField::SystemType).text));
    EXPECT_EQ("C:\\Windows", info.Get(SystemInfoField::WindowsDirectory).text);
    EXPECT_EQ("\\Device\\HarddiskVolume1", info.Get(SystemInfoField::BootDevice).text) << "its German label has an umlaut";
    EXPECT_EQ(GetParam() == Speech::German ? "German" : "English", info.language);
    EXPECT_EQ(4u, info.Get(SystemInfoField::OsVersion).line);
}

INSTANTIATE_TEST_SUITE_P(Forms, SystemInfoSpeech, testing::Values(Speech::Utf8, Speech::Field, Speech::German));
