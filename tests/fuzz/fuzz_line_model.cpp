// Fuzzes the line predicates: substring, key, token-list and section-header
// matching and the pair format check.
#include "fuzz_support.hpp"

#include <cstring>
#include <string_view>

namespace {

bool IsComment(std::string_view line) { return line.starts_with('#') || line.starts_with(';'); }

void CheckLineMatch(const std::string &line, const std::string &pattern, int extraFlags)
{
    const int plain = VELKCILineMatch(line.c_str(), pattern.c_str(), extraFlags & MATCH_FLAG_LAST);
    for (int flags : {0, MATCH_FLAG_PREFIX, MATCH_FLAG_SUFFIX, MATCH_FLAG_PREFIX | MATCH_FLAG_SUFFIX}) {
        for (int caseFlag : {0, MATCH_FLAG_IGNORE_CASE}) {
            const int result = VELKCILineMatch(line.c_str(), pattern.c_str(), flags | caseFlag | extraFlags);
            FUZZ_CHECK(result == 0 || result == 1);
            FUZZ_CHECK(!IsComment(line.c_str()) || result == 0);
            // A match at an end is a match.
            FUZZ_CHECK(caseFlag || !result || plain);
        }
    }
    FUZZ_CHECK(VELKCILineMatch(line.c_str(), pattern.c_str(), -1 - extraFlags) == 0);
    if (!IsComment(line.c_str()) && pattern.c_str()[0] == '\0') {
        FUZZ_CHECK(plain == 1);
    }
}

// A key the readers find when it is written as "key=value".
bool IsPlainKey(std::string_view key)
{
    return !key.empty() && key.find('=') == std::string_view::npos && key.find('\0') == std::string_view::npos &&
           !IsComment(key) && std::string_view(" \t\r\n").find(key.front()) == std::string_view::npos &&
           std::string_view(" \t\r\n").find(key.back()) == std::string_view::npos &&
           !(key.size() >= 2 && key.front() == '"' && key.back() == '"');
}

void CheckKeyMatch(const std::string &line, const std::string &key, const std::string &value)
{
    std::string copy = line; // the match cuts its argument
    const int result = VELKCILineKeyMatch(copy.data(), key.c_str());
    FUZZ_CHECK(result == 0 || result == 1);
    FUZZ_CHECK(!IsComment(line.c_str()) || result == 0);
    FUZZ_CHECK(!result || std::strchr(key.c_str(), '=') == nullptr);
    if (IsPlainKey(key)) {
        std::string pair = key + "=" + value;
        FUZZ_CHECK(VELKCILineKeyMatch(pair.data(), key.c_str()) == 1);
    }
}

void CheckFileMatch(FuzzedDataProvider &in, const std::string &line)
{
    std::string seps = in.ConsumeRandomLengthString(4);
    velkc::List pattern(VELKCSzListAlloc(0));
    FUZZ_CHECK(pattern.get() != nullptr);
    fuzz::PushItems(in, pattern);
    const int result = VELKCFileMatch(line.c_str(), pattern.get(), seps.c_str());
    FUZZ_CHECK(result == 0 || result == 1);
    FUZZ_CHECK(result == 1 || pattern->nItem > 0);
    FUZZ_CHECK(!IsComment(line.c_str()) || pattern->nItem == 0 || result == 0);
    FUZZ_CHECK(VELKCFileMatch(line.c_str(), nullptr, seps.c_str()) == 1);

    // The tokens of a line joined with a separator match their own list,
    // with wildcards anywhere.
    if (seps.empty() || seps.find('\0') != std::string::npos) {
        return;
    }
    velkc::List tokens(VELKCSzListAlloc(0));
    FUZZ_CHECK(tokens.get() != nullptr);
    std::string joined;
    for (int i = 0; i < pattern->nItem; ++i) {
        const std::string_view item = pattern->pszItem[i];
        if (item.empty() || item.find_first_of(seps) != std::string_view::npos) {
            return;
        }
        joined += std::string(item) + seps[0];
        FUZZ_CHECK(VELKCSzListPush(tokens.address(), in.ConsumeBool() ? "" : pattern->pszItem[i]) >= 0);
    }
    if (!IsComment(joined)) {
        FUZZ_CHECK(VELKCFileMatch(joined.c_str(), tokens.get(), seps.c_str()) == 1);
    }
}

void CheckSections(FuzzedDataProvider &in, const std::string &line, const std::string &section)
{
    const int len = in.ConsumeIntegralInRange<int>(0, static_cast<int>(std::strlen(line.c_str())));
    const int isSection = VELKCIFileIsSection(line.c_str(), len);
    const int matches = VELKCIFileMatchSection(line.c_str(), len, section.c_str());
    FUZZ_CHECK(isSection == 0 || isSection == 1);
    FUZZ_CHECK(matches == 0 || matches == 1);
    FUZZ_CHECK(line[0] == '[' || (isSection == 0 && matches == 0));
    const bool wholeLine = len == static_cast<int>(std::strlen(line.c_str()));
    FUZZ_CHECK(!wholeLine || !matches || isSection);
    FUZZ_CHECK(VELKCIFileMatchSection(line.c_str(), len, nullptr) == -1);

    const std::string header =
        "[" + std::string(section.c_str()) + "]" + std::string(in.ConsumeIntegralInRange(0, 3), ' ');
    const int headerLen = static_cast<int>(header.size());
    FUZZ_CHECK(VELKCIFileMatchSection(header.c_str(), headerLen, section.c_str()) == 1);
    FUZZ_CHECK(VELKCIFileIsSection(header.c_str(), headerLen) == 1);
}

void CheckFormat(const std::string &format, const std::string &around)
{
    const int result = VELKCIFileCheckFormat(format.c_str());
    FUZZ_CHECK(result == 0 || result == 1);
    FUZZ_CHECK(result == 1 || VELKCErrGet() == ERR_FORMAT_ERROR);
    const std::string text = around.c_str();
    const std::string valid = text + "%s=%s\n" + text;
    FUZZ_CHECK(VELKCIFileCheckFormat(valid.c_str()) == 1);
    FUZZ_CHECK(VELKCIFileCheckFormat(nullptr) == 1);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzedDataProvider in(data, size);
    const int extraFlags = in.ConsumeBool() ? MATCH_FLAG_LAST : 0;
    const std::string pattern = in.ConsumeRandomLengthString(32);
    const std::string key = in.ConsumeRandomLengthString(32);
    const std::string section = in.ConsumeRandomLengthString(32);
    const std::string format = in.ConsumeRandomLengthString(32);
    const std::string line = in.ConsumeRandomLengthString(256);

    CheckLineMatch(line, pattern, extraFlags);
    CheckKeyMatch(line, key, pattern);
    CheckSections(in, line, section);
    CheckFormat(format, pattern);
    CheckFileMatch(in, line);
    return 0;
}
