#pragma once
// What the fuzz targets share: the bytes as the report decodes them, a file for the readers that
// read files, and a check that stops the run when the reader breaks its own promise.
#include "read/text.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <unistd.h>

namespace fuzzing
{
inline std::string Bytes(const uint8_t* data, size_t size) { return std::string(reinterpret_cast<const char*>(data), size); }

// A broken promise is a finding: libFuzzer saves the input that broke it.
inline void Require(bool condition, const char* promise)
{
    if (!condition)
    {
        fprintf(stderr, "broken promise: %s\n", promise);
        abort();
    }
}

// Text as the report makes it of a collector's capture or of a file Windows wrote; checks what
// decoding promises of every text it returns: bounded lines of valid UTF-8 without line feeds.
inline bool Decoded(const std::string& bytes, bool captured, report::Text& text)
{
    std::string problem;
    if (!(captured ? report::DecodeCapturedOutput(bytes, text, problem) : report::DecodeSystemText(bytes, text, problem)))
        return false;
    Require(text.lines.size() <= report::kMaxLines, "at most kMaxLines lines");
    for (const std::string& line : text.lines)
    {
        size_t invalid = 0;
        report::DecodeUtf8(line, &invalid);
        Require(line.size() <= report::kMaxLineBytes, "no line longer than kMaxLineBytes");
        Require(invalid == 0, "lines of valid UTF-8");
        Require(line.find('\n') == std::string::npos, "no line feed inside a line");
    }
    return true;
}

// The bytes in a file of this process's own, for the readers that open files.
inline std::string InFile(const std::string& bytes, const char* suffix)
{
    static const std::string folder = [] {
        const char* base = getenv("TMPDIR");
        std::string pattern = std::string(base && *base ? base : "/tmp") + "/mpdiag-fuzz.XXXXXX";
        Require(mkdtemp(&pattern[0]) != nullptr, "a temporary folder");
        return pattern;
    }();
    const std::string path = folder + "/input" + suffix;
    std::ofstream(path, std::ios::binary | std::ios::trunc).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    return path;
}
} // namespace fuzzing
