// Fuzzes the byte-string functions with buffers of exactly the size given,
// so that any write past the size the caller declares is caught.
#include "fuzz_support.hpp"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <memory>
#include <string_view>

namespace {

// A heap buffer of exactly n bytes holding text (cut to fit).
std::unique_ptr<char[]> Buffer(std::size_t n, std::string_view text = {})
{
    auto buffer = std::make_unique<char[]>(n);
    if (n > 0) {
        const std::size_t len = std::min(text.size(), n - 1);
        std::copy_n(text.data(), len, buffer.get());
        buffer[len] = '\0';
    }
    return buffer;
}

void CheckTrim(const std::string &text, const std::string &delim)
{
    const std::size_t len = text.size();
    auto out = Buffer(len + 1);
    auto inPlace = Buffer(len + 1, text);
    const int result = VELKCStrTrim(Buffer(len + 1, text).get(), out.get(), delim.c_str());
    FUZZ_CHECK(result >= 0 && static_cast<std::size_t>(result) == std::strlen(out.get()));
    FUZZ_CHECK(VELKCStrTrim(inPlace.get(), nullptr, delim.c_str()) == result);
    FUZZ_CHECK(std::strcmp(inPlace.get(), out.get()) == 0);
    const std::string_view set = delim.c_str();
    if (result > 0 && !set.empty()) {
        FUZZ_CHECK(set.find(out[0]) == std::string_view::npos);
        FUZZ_CHECK(set.find(out[static_cast<std::size_t>(result) - 1]) == std::string_view::npos);
    }

    auto spaced = Buffer(len + 1, text);
    const int trimmed = VELKCStrTrimSpace(spaced.get(), out.get());
    FUZZ_CHECK(trimmed >= 0 && static_cast<std::size_t>(trimmed) == std::strlen(out.get()));
    FUZZ_CHECK(static_cast<std::size_t>(trimmed) <= std::strlen(spaced.get()));
}

void CheckReplace(const std::string &text, const std::string &oldText, const std::string &newText, int size)
{
    const long long needed = static_cast<long long>(std::strlen(text.c_str()) + 1 + std::strlen(newText.c_str())) -
                             static_cast<long long>(std::strlen(oldText.c_str()));
    auto input = Buffer(text.size() + 1, text);
    auto out = Buffer(static_cast<std::size_t>(size));
    const int result = VELKCStrReplace(input.get(), oldText.c_str(), newText.c_str(), out.get(), size);
    FUZZ_CHECK(result == (size < needed ? -1 : std::strstr(input.get(), oldText.c_str()) != nullptr));
    if (result == 1) {
        FUZZ_CHECK(static_cast<long long>(std::strlen(out.get())) == needed - 1);
        // In place, in a buffer with room for the result.
        const std::size_t room = std::max<std::size_t>(text.size() + 1, static_cast<std::size_t>(needed));
        auto same = Buffer(room, text);
        FUZZ_CHECK(VELKCStrReplace(same.get(), oldText.c_str(), newText.c_str(), nullptr, static_cast<int>(room)) == 1);
        FUZZ_CHECK(std::strcmp(same.get(), out.get()) == 0);
    }
    const int deleted = VELKCStrDelete(input.get(), oldText.c_str(), out.get(), size);
    FUZZ_CHECK(deleted >= -1 && deleted <= 1);
}

// Splits with both splitters and joins the pieces back.
void CheckSplitJoin(const std::string &text, const std::string &seps, int joinSize)
{
    velkc::List all(VELKCSzListAlloc(0));
    velkc::List tokens(VELKCSzListAlloc(0));
    FUZZ_CHECK(all.get() != nullptr && tokens.get() != nullptr);
    const int nAll = VELKCStrSep(text.c_str(), seps.c_str(), all.address());
    const int nTokens = VELKCStrTok(text.c_str(), seps.c_str(), tokens.address());
    FUZZ_CHECK(nAll == all->nItem && nTokens == tokens->nItem && nTokens <= nAll);

    const std::string_view set = seps.c_str();
    std::size_t total = 0;
    for (int i = 0; i < nAll; ++i) {
        FUZZ_CHECK(std::string_view(all->pszItem[i]).find_first_of(set) == std::string_view::npos);
        total += std::strlen(all->pszItem[i]);
    }
    FUZZ_CHECK(total + static_cast<std::size_t>(nAll) - 1 == std::strlen(text.c_str()));

    // The re-entrant tokenizer yields the same tokens as the list splitter.
    std::string copy = text.c_str();
    char *cursor = copy.data();
    for (int i = 0; i < nTokens; ++i) {
        const char *token = VELKCStrTokIndex(&cursor, seps.c_str());
        FUZZ_CHECK(token != nullptr && *token != '\0' && std::strcmp(token, tokens->pszItem[i]) == 0);
    }
    FUZZ_CHECK(VELKCStrTokIndex(&cursor, seps.c_str()) == nullptr);

    if (set.empty()) {
        return;
    }
    char *joined = static_cast<char *>(std::malloc(static_cast<std::size_t>(joinSize)));
    FUZZ_CHECK(joined != nullptr);
    int cb = joinSize;
    const int result = VELKCStrJoin(all->pszItem, nAll, seps.substr(0, 1).c_str(), &joined, &cb);
    fuzz::MallocPtr owned(joined);
    FUZZ_CHECK(result == 0 || (result == -1 && std::strlen(text.c_str()) == 0));
    if (result == 0) {
        // Each separator byte comes back as the first one.
        std::string expected = text.c_str();
        for (char &c : expected) {
            c = set.find(c) != std::string_view::npos ? set[0] : c;
        }
        FUZZ_CHECK(expected == joined && static_cast<std::size_t>(cb) > expected.size());
    }
}

void CheckSepPair(const std::string &text)
{
    velkc::List pair(VELKCSzListAlloc(0));
    FUZZ_CHECK(pair.get() != nullptr);
    const int result = VELKCStrSepPair(text.c_str(), pair.address());
    const std::string_view view = text.c_str();
    const std::size_t equals = view.find('=');
    const bool hasKey =
        equals != std::string_view::npos && !fuzz::TrimSpace(std::string(view.substr(0, equals))).empty();
    FUZZ_CHECK(result == (hasKey ? 0 : -1));
    FUZZ_CHECK(pair->nItem == (hasKey ? 2 : 0));
}

void CheckColon(const std::string &text, int cbDst)
{
    // The encoders write their terminator at szDst[cbDst].
    auto encoded = Buffer(static_cast<std::size_t>(cbDst) + 1);
    const int result = VELKCStrEncodeColon(text.c_str(), encoded.get(), cbDst);
    FUZZ_CHECK(result >= -1 && result <= cbDst);
    if (result >= 0) {
        FUZZ_CHECK(static_cast<std::size_t>(result) == std::strlen(encoded.get()));
        auto decoded = Buffer(static_cast<std::size_t>(result) + 1);
        FUZZ_CHECK(VELKCStrDecodeColon(encoded.get(), decoded.get(), result) ==
                   static_cast<int>(std::strlen(text.c_str())));
        FUZZ_CHECK(std::strcmp(decoded.get(), text.c_str()) == 0);
    }
    auto decoded = Buffer(static_cast<std::size_t>(cbDst) + 1);
    const int length = VELKCStrDecodeColon(text.c_str(), decoded.get(), cbDst);
    FUZZ_CHECK(length >= -1 && length <= cbDst);
    FUZZ_CHECK(length < 0 || static_cast<std::size_t>(length) == std::strlen(decoded.get()));
}

void CheckCaseLower(const std::string &text, int size)
{
    auto input = Buffer(text.size() + 1, text);
    auto out = Buffer(static_cast<std::size_t>(size));
    const char *result = VELKCStrCaseLower(input.get(), 0, out.get(), size);
    const std::size_t len = std::strlen(input.get());
    FUZZ_CHECK(result == (len + 1 <= static_cast<std::size_t>(size) ? out.get() : nullptr));
    FUZZ_CHECK(VELKCStrCaseLower(input.get(), 0, nullptr, 0) == input.get());
    for (std::size_t i = 0; i <= len; ++i) {
        FUZZ_CHECK(std::tolower(static_cast<unsigned char>(input[i])) == static_cast<unsigned char>(input[i]));
        FUZZ_CHECK(result == nullptr || out[i] == input[i]);
    }
}

void CheckCat(FuzzedDataProvider &in, const std::string &start)
{
    char *dest = nullptr;
    int cb = 0;
    if (!start.empty()) {
        cb = static_cast<int>(start.size()) + 1;
        dest = static_cast<char *>(std::malloc(static_cast<std::size_t>(cb)));
        FUZZ_CHECK(dest != nullptr);
        std::memcpy(dest, start.c_str(), static_cast<std::size_t>(cb));
    }
    std::string expected = start.c_str();
    for (int n = in.ConsumeIntegralInRange(1, 4); n > 0; --n) {
        const std::string piece = in.ConsumeRandomLengthString(2048);
        FUZZ_CHECK(VELKCStrCat(&dest, &cb, piece.c_str()) == 0);
        expected += piece.c_str();
    }
    fuzz::MallocPtr owned(dest);
    FUZZ_CHECK(expected.empty() ? dest == nullptr || *dest == '\0' : expected == dest);
    FUZZ_CHECK(dest == nullptr || static_cast<std::size_t>(cb) > std::strlen(dest));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzedDataProvider in(data, size);
    const int bufferSize = in.ConsumeIntegralInRange(0, 300);
    const std::string seps = in.ConsumeRandomLengthString(4);
    const std::string oldText = in.ConsumeRandomLengthString(16);
    const std::string newText = in.ConsumeRandomLengthString(16);
    const std::string text = in.ConsumeRandomLengthString(256);

    CheckTrim(text, seps);
    CheckReplace(text, oldText, newText, bufferSize);
    CheckSplitJoin(text, seps, bufferSize + 1);
    CheckSepPair(text);
    CheckColon(text, bufferSize);
    CheckCaseLower(text, bufferSize);
    CheckCat(in, oldText);
    return 0;
}
