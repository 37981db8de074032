// systeminfo's output as the collector saves it, and the machine's summary made of it.
#include "fuzzing.h"
#include "read/sysinfo.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    report::Text text;
    if (!fuzzing::Decoded(fuzzing::Bytes(data, size), true, text))
        return 0;
    const report::SystemInfo info = report::ParseSystemInfo(text);
    const std::string& version = info.Get(report::SystemInfoField::OsVersion).text;
    report::VersionNumber(version);
    report::BuildNumber(version);
    report::Architecture(info.Get(report::SystemInfoField::SystemType).text);
    return 0;
}
