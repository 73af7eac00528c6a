// Fuzzes the configuration-file readers on a file made of the input, with
// keys, patterns and section names taken from the input or from the file.
#include "fuzz_support.hpp"

#include <cstring>
#include <strings.h>

namespace {

constexpr int kDefaultResult = 7;

// Returns the full call's result with flags 0, for the cross-checks below.
int CheckGetKeyValue(const char *file, const std::string &key, int cb)
{
    int firstResult = 0;
    for (int flags : {0, MATCH_FLAG_LAST}) {
        const int needed = VELKCFileGetKeyValue(file, key.c_str(), nullptr, 0, flags);
        FUZZ_CHECK(needed == -1 || needed == 0 || needed >= 2);
        std::vector<char> value(static_cast<std::size_t>(cb));
        const int result = VELKCFileGetKeyValue(file, key.c_str(), value.data(), cb, flags);
        FUZZ_CHECK(result == -1 || result == 0 || (result >= 2 && result <= cb));
        if (needed >= 0 && needed <= cb) {
            FUZZ_CHECK(result == needed);
        }
        if (result == -1 && needed > cb) {
            FUZZ_CHECK(VELKCErrGet() == ERR_NOT_ENOUGH_MEMORY);
        }
        if (flags == 0) {
            FUZZ_CHECK(result <= 0 || std::strlen(value.data()) == static_cast<std::size_t>(result) - 1);
            firstResult = needed <= cb ? result : -1;
            if (needed > 0) {
                // A buffer of exactly the size asked for is enough.
                std::vector<char> exact(static_cast<std::size_t>(needed));
                FUZZ_CHECK(VELKCFileGetKeyValue(file, key.c_str(), exact.data(), needed, 0) == needed);
            }
        }
    }
    return firstResult;
}

void CheckGetLine(const char *file, const std::string &pattern, int cb, int flags)
{
    std::vector<char> line(static_cast<std::size_t>(cb));
    const int result = VELKCFileGetLine(file, pattern.c_str(), line.data(), cb, flags);
    FUZZ_CHECK(result >= -1 && result <= cb);
    FUZZ_CHECK(result <= 0 || (line[0] != '#' && line[0] != ';'));
}

void CheckPairsAndSections(const char *file, const std::string &content, const std::string &section,
                           const std::string &key, int cb)
{
    velkc::Hash pairs(VELKCSzHashAlloc(0));
    FUZZ_CHECK(pairs.get() != nullptr);
    const int nPair = VELKCFileGetPair(file, pairs.address());
    FUZZ_CHECK(nPair == -1 || nPair == VELKCSzHashPairNum(pairs.get()));

    velkc::Hash inSection(VELKCSzHashAlloc(0));
    FUZZ_CHECK(inSection.get() != nullptr);
    const int nInSection = VELKCFileGetSection(file, section.c_str(), inSection.address());
    FUZZ_CHECK(nInSection == -1 || nInSection == VELKCSzHashPairNum(inSection.get()));

    // The section value is the section's pair, cut to the buffer.
    std::vector<char> value(static_cast<std::size_t>(cb));
    const int result = VELKCFileGetSectionValue(file, section.c_str(), key.c_str(), value.data(), cb);
    FUZZ_CHECK(result == 0 || result == -1);
    if (nInSection >= 0) {
        const char *expected = VELKCSzHashGetValue(inSection.get(), key.c_str());
        FUZZ_CHECK((result == 0) == (expected != nullptr));
        FUZZ_CHECK(result != 0 || std::string(expected).substr(0, static_cast<std::size_t>(cb) - 1) == value.data());
    }

    velkc::List names(VELKCSzListAlloc(0));
    FUZZ_CHECK(names.get() != nullptr);
    const int nName = VELKCFileEnumSection(file, names.address());
    FUZZ_CHECK(nName == -1 || nName == names->nItem);
    for (int i = 0; nName > 0 && content.find('\0') == std::string::npos && i < names->nItem; ++i) {
        FUZZ_CHECK(content.find(std::string("[") + names->pszItem[i] + "]") != std::string::npos);
    }
}

void CheckGetKeys(FuzzedDataProvider &in, const char *file)
{
    const std::string seps = in.ConsumeRandomLengthString(4);
    velkc::List wanted(VELKCSzListAlloc(0));
    FUZZ_CHECK(wanted.get() != nullptr);
    fuzz::PushItems(in, wanted);
    velkc::Hash found(VELKCSzHashAlloc(0));
    FUZZ_CHECK(found.get() != nullptr);
    const int result =
        VELKCFileGetKeys(file, wanted->nItem > 0 ? wanted.get() : nullptr, found.address(), seps.c_str());
    FUZZ_CHECK(result == -1 || result == VELKCSzHashPairNum(found.get()));
    if (result <= 0 || wanted->nItem == 0) {
        return;
    }
    velkc::List keys(VELKCSzListAlloc(0));
    FUZZ_CHECK(keys.get() != nullptr && VELKCSzHashEnumKey(found.get(), keys.address()) >= 0);
    for (int i = 0; i < keys->nItem; ++i) {
        FUZZ_CHECK(VELKCSzListFind(wanted.get(), keys->pszItem[i]) >= 0);
    }
}

void CheckReadLines(const char *file, const std::string &content)
{
    velkc::List lines(VELKCSzListAlloc(0));
    FUZZ_CHECK(lines.get() != nullptr);
    const int result = VELKCFileReadLines(file, lines.address());
    FUZZ_CHECK(result == 0 || result == -1);
    if (result != 0 || content.find('\0') != std::string::npos) {
        return;
    }
    // Without NUL bytes the pieces give the file back.
    std::string joined;
    for (int i = 0; i < lines->nItem; ++i) {
        FUZZ_CHECK(std::strlen(lines->pszItem[i]) <= 1023);
        joined += lines->pszItem[i];
    }
    FUZZ_CHECK(joined == content);
}

void CheckKeyValue(const char *file, const std::string &key, const std::string &expected, int keyValue)
{
    const int result = VELKCFileCheckKeyValue(file, key.c_str(), expected.c_str(), kDefaultResult);
    FUZZ_CHECK(result == 0 || result == 1 || result == kDefaultResult);
    if (keyValue == 0) {
        FUZZ_CHECK(result == kDefaultResult);
    }
    if (keyValue > 0 && keyValue <= 512) {
        std::vector<char> value(static_cast<std::size_t>(keyValue));
        FUZZ_CHECK(VELKCFileGetKeyValue(file, key.c_str(), value.data(), keyValue, 0) == keyValue);
        FUZZ_CHECK(result == (strcasecmp(value.data(), expected.c_str()) == 0));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzedDataProvider in(data, size);
    const int cb = in.ConsumeIntegralInRange(1, 80);
    const int lineFlags = (in.ConsumeIntegral<uint8_t>() & (MATCH_FLAG_LAST | MATCH_FLAG_PREFIX | MATCH_FLAG_SUFFIX)) |
                          (in.ConsumeBool() ? MATCH_FLAG_IGNORE_CASE : 0);
    const std::size_t contentSize = in.ConsumeIntegralInRange<std::size_t>(0, in.remaining_bytes());
    const std::string content = in.ConsumeBytesAsString(contentSize);
    const std::string key = fuzz::PickName(in, content);
    const std::string section = fuzz::PickName(in, content);
    const std::string pattern = fuzz::PickName(in, content);
    const std::string expected = in.ConsumeRandomLengthString(16);

    const fuzz::fs::path path = fuzz::Scratch().path() / "conf";
    test::WriteFile(path, content);
    const char *file = path.c_str();

    const int keyValue = CheckGetKeyValue(file, key, cb);
    CheckGetLine(file, pattern, cb, lineFlags);
    CheckPairsAndSections(file, content, section, key, cb);
    CheckGetKeys(in, file);
    CheckReadLines(file, content);
    CheckKeyValue(file, key, expected, keyValue);
    return 0;
}
