// An INF file of the recovery image, read for an x64 image of Windows 10 build 19041 and for an
// x86 image whose version is not known.
#include "fuzzing.h"
#include "read/inf.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    report::Text text;
    if (fuzzing::Decoded(fuzzing::Bytes(data, size), false, text))
    {
        for (const report::InfTarget& target : {report::InfTarget{"x64", 10, 0, 19041, 1}, report::InfTarget{"x86", 0, 0, 0, 1}})
            for (const report::InfSection& section : report::ReadInf(text, target).chosen)
                for (const std::string& id : section.ids)
                    fuzzing::Require(id == report::AsciiUpper(id), "identifiers are kept in upper case");
    }
    return 0;
}
