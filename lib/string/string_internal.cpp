// Trimming and token appending shared by the byte-string functions.
#include "string_internal.hpp"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace velkc {

namespace {

// True when out lies strictly after in and not after its terminator: a
// forward copy there would overwrite bytes it has yet to read. An output
// before the input is safe for a forward copy and is accepted.
bool StartsInsideText(const char *in, std::size_t len, const char *out)
{
    const auto begin = reinterpret_cast<std::uintptr_t>(in);
    const auto target = reinterpret_cast<std::uintptr_t>(out);
    return target > begin && target <= begin + len;
}

} // namespace

int TrimText(char *szInput, char *szOutput, std::string_view set, Quotes quotes)
{
    if (szInput == nullptr) {
        return -1;
    }
    const std::size_t len = std::strlen(szInput);
    if (StartsInsideText(szInput, len, szOutput)) {
        return -1;
    }
    const std::string_view text = Trim(
        {szInput, len}, [set](char c) { return set.find(c) != std::string_view::npos; }, quotes);
    char *target = szOutput != nullptr ? szOutput : szInput;
    if (target == szInput) {
        std::memmove(target, text.data(), text.size());
    } else {
        std::copy(text.begin(), text.end(), target);
    }
    target[text.size()] = '\0';
    return static_cast<int>(text.size());
}

int AppendTokens(char *text, const char *szSep, SzList **ppList, EmptyTokens empty)
{
    // One table lookup per byte instead of a search of szSep.
    std::array<bool, 256> isSep{};
    for (const char *sep = szSep; *sep != '\0'; ++sep) {
        isSep[static_cast<unsigned char>(*sep)] = true;
    }
    int count = 0;
    for (char *token = text;;) {
        char *end = token;
        while (*end != '\0' && !isSep[static_cast<unsigned char>(*end)]) {
            ++end;
        }
        const bool last = *end == '\0';
        *end = '\0';
        if (empty == EmptyTokens::Keep || end != token) {
            if (VELKCSzListPush(ppList, token) < 0) {
                return -1;
            }
            ++count;
        }
        if (last) {
            return count;
        }
        token = end + 1;
    }
}

} // namespace velkc
