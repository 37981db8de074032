// Text decoding of any bytes, as a capture of the collector and as a file Windows wrote.
#include "fuzzing.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string bytes = fuzzing::Bytes(data, size);
    report::Text text;
    fuzzing::Decoded(bytes, true, text);
    fuzzing::Decoded(bytes, false, text);
    return 0;
}
