// Support shared by the fuzz targets: invariant checks that abort (so that
// libFuzzer keeps the input), a private scratch directory per process, and
// owning handles for the library's containers.
#pragma once

#include "internal/internal.hpp"
#include "support.hpp"
#include <velkc/containers.hpp>

#include <fuzzer/FuzzedDataProvider.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

// Aborts on a broken invariant: libFuzzer reports the crash and saves the
// input as the reproducer.
#define FUZZ_CHECK(cond)                                                                      \
    do {                                                                                      \
        if (!(cond)) {                                                                        \
            std::fprintf(stderr, "%s:%d: invariant failed: %s\n", __FILE__, __LINE__, #cond); \
            std::abort();                                                                     \
        }                                                                                     \
    } while (0)

namespace fuzz {

namespace fs = std::filesystem;

// A block from malloc that the library may have reallocated.
using MallocPtr = velkc::MallocPtr<char>;

// Made once per process under $TMPDIR. libFuzzer may end the process
// without running destructors, so the CTest runs point TMPDIR at a
// directory of their own that they remove.
inline const test::TempDir &Scratch()
{
    static const test::TempDir dir;
    return dir;
}

// Empties the scratch directory between two inputs.
inline void ClearScratch()
{
    for (const std::string &name : test::ListDir(Scratch().path())) {
        fs::remove_all(Scratch() / name);
    }
}

// Lines of the text, each without its "\n".
inline std::vector<std::string> Lines(const std::string &text)
{
    std::vector<std::string> lines;
    std::size_t begin = 0;
    while (begin < text.size()) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        lines.push_back(text.substr(begin, end - begin));
        begin = end + 1;
    }
    return lines;
}

inline std::string TrimBlanks(const std::string &text)
{
    const char *blanks = " \t\r\n";
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

// A key or section name for a reader or writer: most often one that the file
// holds, so that the interesting paths are reached, otherwise raw input.
inline std::string PickName(FuzzedDataProvider &in, const std::string &content)
{
    const int mode = in.ConsumeIntegralInRange(0, 2);
    const std::vector<std::string> lines = Lines(content);
    if (mode == 0 || lines.empty()) {
        return in.ConsumeRandomLengthString(64);
    }
    const std::string &line = lines[in.ConsumeIntegralInRange<std::size_t>(0, lines.size() - 1)];
    if (mode == 1) {
        return TrimBlanks(line.substr(0, line.find('=')));
    }
    const std::size_t close = line.rfind(']');
    return close == std::string::npos ? line : line.substr(1, close == 0 ? 0 : close - 1);
}

// A list of up to four items from the input.
inline void PushItems(FuzzedDataProvider &in, velkc::List &list)
{
    for (int n = in.ConsumeIntegralInRange(0, 4); n > 0; --n) {
        FUZZ_CHECK(VELKCSzListPush(list.address(), in.ConsumeRandomLengthString(16).c_str()) >= 0);
    }
}

inline std::string TrimSpace(std::string text)
{
    const int len = VELKCStrTrimSpace(text.data(), nullptr);
    FUZZ_CHECK(len >= 0);
    text.resize(static_cast<std::size_t>(len));
    return text;
}

} // namespace fuzz
