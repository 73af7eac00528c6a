// Support shared by the fuzz targets: invariant checks that abort (so that
// libFuzzer keeps the input), a private scratch directory per process, whole
// file reads and writes, and owning handles for the library's containers.
#pragma once

#include <velkc.h>

#include <fuzzer/FuzzedDataProvider.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "file/owned_container.hpp"

// Aborts on a broken invariant: libFuzzer reports the crash and saves the
// input as the reproducer.
#define FUZZ_CHECK(cond)                                                                     \
    do {                                                                                     \
        if (!(cond)) {                                                                       \
            std::fprintf(stderr, "%s:%d: invariant failed: %s\n", __FILE__, __LINE__, #cond); \
            std::abort();                                                                    \
        }                                                                                    \
    } while (0)

namespace fuzz {

namespace fs = std::filesystem;

using velkc::OwnedHash;
using velkc::OwnedList;

struct FreeDeleter {
    void operator()(void *p) const noexcept { std::free(p); }
};

// A block from malloc that the library may have reallocated.
using MallocPtr = std::unique_ptr<char, FreeDeleter>;

// Made once per process with mkdtemp under $TMPDIR. libFuzzer may end the
// process without running destructors, so the CTest runs point TMPDIR at a
// directory of their own that they remove.
class ScratchDir {
public:
    ScratchDir()
    {
        const char *tmp = std::getenv("TMPDIR");
        std::string name = std::string(tmp != nullptr && *tmp != '\0' ? tmp : "/tmp") + "/velkc-fuzz-XXXXXX";
        FUZZ_CHECK(mkdtemp(name.data()) != nullptr);
        dir_ = name;
    }
    ~ScratchDir()
    {
        std::error_code ignored;
        fs::remove_all(dir_, ignored);
    }
    ScratchDir(const ScratchDir &) = delete;
    ScratchDir &operator=(const ScratchDir &) = delete;

    const fs::path &path() const { return dir_; }

    // Empties the directory between two inputs.
    void Clear() const
    {
        for (const auto &entry : fs::directory_iterator(dir_)) {
            fs::remove_all(entry.path());
        }
    }

    std::set<std::string> Names() const
    {
        std::set<std::string> names;
        for (const auto &entry : fs::directory_iterator(dir_)) {
            names.insert(entry.path().filename().string());
        }
        return names;
    }

private:
    fs::path dir_;
};

inline const ScratchDir &Scratch()
{
    static const ScratchDir dir;
    return dir;
}

inline std::string ReadFile(const fs::path &path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

inline void WriteFile(const fs::path &path, const std::string &text)
{
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << text;
    FUZZ_CHECK(out.flush());
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
inline void PushItems(FuzzedDataProvider &in, OwnedList &list)
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
