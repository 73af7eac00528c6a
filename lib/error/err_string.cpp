// VELKCErrString: a short English text for an error code.
#include <velkc/error.h>

#include <array>
#include <string_view>

namespace {

struct CodeText {
    unsigned int code;
    const char *text;
};

// Texts complete a message such as "velkc-conf: FILE: cannot open file".
constexpr std::array kCodeTexts{
#define VELKC_CODE_TEXT(name, cxx, text, meaning) CodeText{name, text},
    VELKC_ERROR_CODES(VELKC_CODE_TEXT)
#undef VELKC_CODE_TEXT
};

constexpr const char *kUnknownText = "unknown error";

constexpr const char *TextOf(unsigned int code) noexcept
{
    for (const CodeText &entry : kCodeTexts) {
        if (entry.code == code) {
            return entry.text;
        }
    }
    return kUnknownText;
}

// Every code has its own text, unlike any unknown code's, so a message
// tells the codes apart.
constexpr bool TextsDistinct() noexcept
{
    for (std::size_t i = 0; i < kCodeTexts.size(); ++i) {
        if (std::string_view(kCodeTexts[i].text) == kUnknownText) {
            return false;
        }
        for (std::size_t j = i + 1; j < kCodeTexts.size(); ++j) {
            if (kCodeTexts[i].code == kCodeTexts[j].code ||
                std::string_view(kCodeTexts[i].text) == kCodeTexts[j].text) {
                return false;
            }
        }
    }
    return true;
}
static_assert(TextsDistinct());

} // namespace

extern "C" const char *VELKCErrString(unsigned int code) noexcept { return TextOf(code); }
