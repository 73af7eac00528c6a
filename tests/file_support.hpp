// Support for the configuration-file tests: a scratch directory for each
// test, every reader and every writer called with typical arguments on a
// file like kBase, and the containers such a call needs.
#pragma once

#include "support.hpp"
#include <velkc/containers.hpp>

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace test {

// The lines every reader and writer of the tables can work on.
inline const std::string kBase = "k1=v1\nk2=v2\n#c=1\n[s]\nm=1\n";

// kBase after comment lines, fifty pages in all: reading and writing it
// takes several calls, and appending to it needs a page more.
inline const std::string kLarge = [] {
    constexpr std::size_t kSize = 50 * 4096;
    std::string text;
    while (kSize - text.size() - kBase.size() > 200) {
        text += "#" + std::string(98, 'x') + "\n";
    }
    return text + "#" + std::string(kSize - text.size() - kBase.size() - 2, 'x') + "\n" + kBase;
}();

// A test with a scratch directory of its own.
class ScratchTest : public ::testing::Test {
protected:
    fs::path Path(const fs::path &name) const { return dir_ / name; }

    TempDir scratch_;
    const fs::path &dir_ = scratch_.path();
};

// The record holds code, set in the source file named source.
inline void ExpectError(unsigned code, const char *source)
{
    EXPECT_EQ(VELKCErrGet(), code);
    EXPECT_STREQ(VELKCErrorGetFile(), source);
}

// A hash holding the given pairs.
struct PairHash : velkc::Hash {
    PairHash(std::initializer_list<std::pair<const char *, const char *>> pairs) : velkc::Hash(VELKCSzHashAlloc(512))
    {
        for (const auto &[key, value] : pairs) {
            VELKCSzHashSetValue(address(), key, value);
        }
    }
};

// What a call of the tables works with: a hash holding k1=z, a list holding
// k1 and a value buffer.
struct Args {
    PairHash hash{{"k1", "z"}};
    velkc::List keys{VELKCSzListAlloc(512)};
    char buf[64] = {};

    Args() { VELKCSzListPush(keys.address(), "k1"); }
};

using FileCall = std::function<int(const char *path, Args &args)>;

struct Reader {
    const char *name;
    FileCall call;
    int failure; // the result that reports a failure
};

inline const std::vector<Reader> &AllReaders()
{
    static const std::vector<Reader> readers = {
        {"GetKeyValue", [](const char *p, Args &a) { return VELKCFileGetKeyValue(p, "k2", a.buf, 64, 0); }, -1},
        {"GetLine", [](const char *p, Args &a) { return VELKCFileGetLine(p, "k2", a.buf, 64, 0); }, -1},
        {"GetSectionValue", [](const char *p, Args &a) { return VELKCFileGetSectionValue(p, "s", "m", a.buf, 64); },
         -1},
        {"GetPair", [](const char *p, Args &a) { return VELKCFileGetPair(p, a.hash.address()); }, -1},
        {"GetSection", [](const char *p, Args &a) { return VELKCFileGetSection(p, "s", a.hash.address()); }, -1},
        {"GetKeys", [](const char *p, Args &a) { return VELKCFileGetKeys(p, a.keys.get(), a.hash.address(), "="); },
         -1},
        {"EnumSection", [](const char *p, Args &a) { return VELKCFileEnumSection(p, a.keys.address()); }, -1},
        {"ReadLines", [](const char *p, Args &a) { return VELKCFileReadLines(p, a.keys.address()); }, -1},
        // Answers 0 on errors, never the default meant for a missing key.
        {"CheckKeyValue", [](const char *p, Args &) { return VELKCFileCheckKeyValue(p, "k2", "v2", 7); }, 0},
    };
    return readers;
}

// A transaction that sets a key before the first section and commits.
inline int EditAndCommit(const char *path)
{
    VELKCFileEdit *edit = VELKCFileEditOpen(path, 0);
    if (edit == nullptr) {
        return -1;
    }
    if (VELKCFileEditSetValue(edit, nullptr, "k1", "z") < 0) {
        VELKCFileEditAbort(edit);
        return -1;
    }
    return VELKCFileEditCommit(edit);
}

struct Writer {
    const char *name;
    FileCall call;
    int result;    // on kBase
    bool rewrites; // through a temporary file, rather than appending in place
    bool creates;  // a missing file
};

inline const std::vector<Writer> &AllWriters()
{
    static const std::vector<Writer> writers = {
        {"SetKeyValue", [](const char *p, Args &) { return VELKCFileSetKeyValue(p, "k1", "x", nullptr); }, 1, true,
         true},
        {"AppendKey", [](const char *p, Args &) { return VELKCFileAppendKey(p, "k9", "v", nullptr); }, 1, false, true},
        {"RemoveKey", [](const char *p, Args &) { return VELKCFileRemoveKey(p, "k2"); }, 1, true, false},
        {"AddLine", [](const char *p, Args &) { return VELKCFileAddLine(p, "k2", "new", 0); }, 1, true, true},
        {"AddLineAppend", [](const char *p, Args &) { return VELKCFileAddLine(p, nullptr, "new", MATCH_FLAG_AFTER); },
         1, false, true},
        {"AddLineByKey", [](const char *p, Args &a) { return VELKCFileAddLineByKey(p, a.keys.get(), "new", 0, "=\n"); },
         1, true, false},
        {"AddLineByKeyAppend",
         [](const char *p, Args &) { return VELKCFileAddLineByKey(p, nullptr, "new", MATCH_FLAG_AFTER, "="); }, 0,
         false, true},
        {"SetLine", [](const char *p, Args &) { return VELKCFileSetLine(p, "k2", "k2=z", 0); }, 1, true, true},
        {"SetLineByKey", [](const char *p, Args &a) { return VELKCFileSetLineByKey(p, a.keys.get(), "k1=z", "=\n"); },
         1, true, false},
        {"ReplaceSubStr", [](const char *p, Args &) { return VELKCFileReplaceSubStr(p, "v1", "w1"); }, 1, true, false},
        {"LineComment", [](const char *p, Args &) { return VELKCFileLineComment(p, "k2", 0); }, 1, true, false},
        {"SetKeys", [](const char *p, Args &a) { return VELKCFileSetKeys(p, a.hash.get(), nullptr, nullptr); }, 1, true,
         true},
        {"AddSection", [](const char *p, Args &a) { return VELKCFileAddSection(p, "t", a.hash.get(), nullptr); }, 1,
         false, true},
        {"ModifySection",
         [](const char *p, Args &a) {
             return VELKCIFileModifySection(p, "s", nullptr, a.hash.get(), SECTION_FLAG_REPLACE, nullptr);
         },
         1, true, false},
        {"SetSectionKeyValue", [](const char *p, Args &) { return VELKCFileSetSectionKeyValue(p, "s", "m", "2"); }, 1,
         true, true},
        {"RemoveSectionKey", [](const char *p, Args &) { return VELKCFileRemoveSectionKey(p, "s", "m"); }, 1, true,
         false},
        {"EditCommit", [](const char *p, Args &) { return EditAndCommit(p); }, 1, true, true},
    };
    return writers;
}

// The two append shortcuts write without reading the file.
inline bool ReadsTheFile(const Writer &writer) { return !std::string_view(writer.name).ends_with("Append"); }

} // namespace test
