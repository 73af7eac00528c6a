// Fuzzes the configuration-file writers: the first bytes choose a writer and
// its arguments, hostile ones included; the rest is the file's content.
#include "fuzz_support.hpp"

#include <cstring>
#include <string_view>

namespace {

enum Writer {
    kSetKeyValue,
    kAppendKey,
    kRemoveKey,
    kAddLine,
    kAddLineByKey,
    kSetLine,
    kSetLineByKey,
    kReplaceSubStr,
    kLineComment,
    kSetKeys,
    kAddSection,
    kModifySection,
    kWriterCount
};

// A pair format and what it puts around the value.
struct Format {
    const char *format;
    const char *before;
    const char *after;
};

constexpr Format kFormats[] = {
    {nullptr, "", ""},           {"%s=%s\n", "", ""}, {"%s = %s\n", " ", ""},
    {"%s=\"%s\"\n", "\"", "\""}, {"%s:%s\n", "", ""}, // no "=": not a pair format
};

// A string from the input, often made hostile for a line-based file.
std::string Argument(FuzzedDataProvider &in)
{
    std::string text = in.ConsumeRandomLengthString(24);
    const std::size_t middle = text.size() / 2;
    switch (in.ConsumeIntegralInRange(0, 7)) {
    case 1:
        return std::string(1, "[#; "[in.ConsumeIntegralInRange(0, 3)]) + text;
    case 2:
        return text.insert(middle, "\n");
    case 3:
        return text.insert(middle, "\r");
    case 4:
        return text.insert(middle, "=");
    case 5:
        return std::string(in.ConsumeIntegralInRange(0, 3), in.ConsumeBool() ? ' ' : '\t');
    default:
        return text;
    }
}

bool HasLineBreak(std::string_view text) { return text.find_first_of("\r\n") != std::string_view::npos; }

// Keys that a writer must refuse: they would not read back as one key line.
bool IsHostileKey(std::string_view key)
{
    return HasLineBreak(key) || key.find('=') != std::string_view::npos ||
           key.find_first_not_of(" \t") == std::string_view::npos || key.starts_with('[') || key.starts_with('#') ||
           key.starts_with(';');
}

bool IsHostilePair(const char *key, const char *value) { return IsHostileKey(key) || HasLineBreak(value); }

// Keys that read back unchanged: nothing for the trimming to take off.
bool IsPlainKey(std::string_view key)
{
    constexpr std::string_view kBlanks = " \t\r\n";
    return !IsHostileKey(key) && kBlanks.find(key.front()) == std::string_view::npos &&
           kBlanks.find(key.back()) == std::string_view::npos &&
           !(key.size() >= 2 && key.front() == '"' && key.back() == '"');
}

bool HasHostilePair(const SzHash *hash)
{
    for (int i = 0; hash != nullptr && i < hash->nSlot; ++i) {
        const SzHashSlot &slot = hash->rgSlot[i];
        if (slot.pszKey != nullptr && IsHostilePair(slot.pszKey, slot.pszVal)) {
            return true;
        }
    }
    return false;
}

struct Call {
    explicit Call(FuzzedDataProvider &in)
        : writer(in.ConsumeIntegralInRange(0, kWriterCount - 1)),
          format(kFormats[in.ConsumeIntegralInRange<std::size_t>(0, std::size(kFormats) - 1)]),
          flags(in.ConsumeIntegral<uint16_t>() &
                (MATCH_FLAG_LAST | MATCH_FLAG_PREFIX | MATCH_FLAG_SUFFIX | MATCH_FLAG_AFTER | MATCH_FLAG_IGNORE_CASE)),
          sectionFlags(in.ConsumeBool() ? SECTION_FLAG_REPLACE : 0), nullPattern(in.ConsumeBool()),
          nullLine(in.ConsumeIntegralInRange(0, 7) == 0), nullNewSection(in.ConsumeBool()),
          missing(in.ConsumeIntegralInRange(0, 7) == 0), key(Argument(in)), value(Argument(in)), pattern(Argument(in)),
          line(Argument(in)), section(Argument(in)), newSection(Argument(in)), seps(in.ConsumeRandomLengthString(3))
    {
        FUZZ_CHECK(patterns.get() != nullptr && hash.get() != nullptr && remove.get() != nullptr);
        fuzz::PushItems(in, patterns);
        for (int n = in.ConsumeIntegralInRange(0, 3); n > 0; --n) {
            const std::string pairKey = Argument(in);
            FUZZ_CHECK(VELKCSzHashSetValue(hash.address(), pairKey.c_str(), Argument(in).c_str()) >= 0);
        }
        if (in.ConsumeBool()) {
            FUZZ_CHECK(VELKCSzHashSetValue(remove.address(), Argument(in).c_str(), "") >= 0);
        }
    }

    int Run(const char *file) const
    {
        const char *pat = nullPattern ? nullptr : pattern.c_str();
        const char *text = nullLine ? nullptr : line.c_str();
        switch (writer) {
        case kSetKeyValue:
            return VELKCFileSetKeyValue(file, key.c_str(), value.c_str(), format.format);
        case kAppendKey:
            return VELKCFileAppendKey(file, key.c_str(), value.c_str(), format.format);
        case kRemoveKey:
            return VELKCFileRemoveKey(file, key.c_str());
        case kAddLine:
            return VELKCFileAddLine(file, pat, text, flags);
        case kAddLineByKey:
            return VELKCFileAddLineByKey(file, nullPattern ? nullptr : patterns.get(), text, flags & MATCH_FLAG_AFTER,
                                         seps.c_str());
        case kSetLine:
            return VELKCFileSetLine(file, pattern.c_str(), text, flags);
        case kSetLineByKey:
            return VELKCFileSetLineByKey(file, patterns.get(), text, seps.c_str());
        case kReplaceSubStr:
            return VELKCFileReplaceSubStr(file, pattern.c_str(), line.c_str());
        case kLineComment:
            return VELKCFileLineComment(file, pattern.c_str(), flags & 1);
        case kSetKeys:
            return VELKCFileSetKeys(file, hash.get(), remove->nPair > 0 ? remove.get() : nullptr, format.format);
        case kAddSection:
            return VELKCFileAddSection(file, section.c_str(), hash.get(), format.format);
        default:
            return VELKCIFileModifySection(file, section.c_str(), nullNewSection ? nullptr : newSection.c_str(),
                                           hash.get(), sectionFlags, format.format);
        }
    }

    // Whether the writer must refuse the call as an injection.
    bool Injects() const
    {
        switch (writer) {
        case kSetKeyValue:
        case kAppendKey:
            return IsHostilePair(key.c_str(), value.c_str());
        case kSetKeys:
            return HasHostilePair(hash.get());
        case kAddSection:
            return HasHostilePair(hash.get()) || HasLineBreak(section.c_str());
        case kModifySection:
            return (sectionFlags & SECTION_FLAG_REPLACE) &&
                   (HasHostilePair(hash.get()) || (!nullNewSection && HasLineBreak(newSection.c_str())));
        default:
            return false;
        }
    }

    // After a successful VELKCFileSetKeyValue of a plain pair in a pair
    // format the key reads back as the value, trimmed as the readers trim.
    void CheckReadBack(const char *file) const
    {
        if (writer != kSetKeyValue || !IsPlainKey(key.c_str()) || HasLineBreak(value.c_str()) ||
            !VELKCIFileCheckFormat(format.format)) {
            return;
        }
        const std::string expected = fuzz::TrimSpace(format.before + std::string(value.c_str()) + format.after);
        const int needed = VELKCFileGetKeyValue(file, key.c_str(), nullptr, 0, 0);
        FUZZ_CHECK(needed == (expected.empty() ? 0 : static_cast<int>(expected.size()) + 1));
        if (needed > 0) {
            std::vector<char> read(static_cast<std::size_t>(needed));
            FUZZ_CHECK(VELKCFileGetKeyValue(file, key.c_str(), read.data(), needed, 0) == needed);
            FUZZ_CHECK(expected == read.data());
        }
    }

    int writer;
    Format format;
    int flags;
    int sectionFlags;
    bool nullPattern;
    bool nullLine;
    bool nullNewSection;
    bool missing;
    std::string key, value, pattern, line, section, newSection, seps;
    velkc::List patterns{VELKCSzListAlloc(0)};
    velkc::Hash hash{VELKCSzHashAlloc(0)};
    velkc::Hash remove{VELKCSzHashAlloc(0)};
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzedDataProvider in(data, size);
    const Call call(in);
    const std::string content = in.ConsumeRemainingBytesAsString();

    fuzz::ClearScratch();
    const fuzz::fs::path path = fuzz::Scratch() / "conf";
    if (!call.missing) {
        test::WriteFile(path, content);
    }
    const int result = call.Run(path.c_str());

    // Nothing but the target is left beside it.
    const std::set<std::string> names = test::ListDir(fuzz::Scratch().path());
    const std::set<std::string> target{"conf"};
    FUZZ_CHECK(names == target || (call.missing && names.empty()));
    if (result == -1) {
        FUZZ_CHECK(call.missing ? names.empty() : test::ReadFile(path) == content);
    } else {
        call.CheckReadBack(path.c_str());
    }
    if (call.Injects()) {
        FUZZ_CHECK(result == -1 && VELKCErrGet() == ERR_BAD_PARAMETERS);
    }
    return 0;
}
