#pragma once
// Times as Windows stores them: FILETIME, 100-nanosecond steps since 1601-01-01 UTC.
#include <cstdint>
#include <ctime>
#include <string>

namespace report
{
const uint64_t kFiletimeOf1970 = 116444736000000000ull;

// "2024-05-03 12:00:00 UTC"; "(no time)" before 1970.
inline std::string FormatFiletime(uint64_t filetime)
{
    if (filetime < kFiletimeOf1970)
        return "(no time)";
    const time_t seconds = static_cast<time_t>((filetime - kFiletimeOf1970) / 10000000ull);
    struct tm utc;
    if (!gmtime_r(&seconds, &utc))
        return "(no time)";
    char text[40];
    strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S UTC", &utc);
    return text;
}
} // namespace report
