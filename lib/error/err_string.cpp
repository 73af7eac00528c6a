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
    CodeText{ERR_SUCCESS, "no error"},
    CodeText{ERR_NOT_ENOUGH_MEMORY, "result does not fit in the buffer"},
    CodeText{ERR_OUT_OF_MEMORY, "out of memory"},
    CodeText{ERR_OPEN_FAILED, "cannot open file"},
    CodeText{ERR_READ_FAILED, "cannot read file"},
    CodeText{ERR_WRITE_FAILED, "cannot write file"},
    CodeText{ERR_BAD_PARAMETERS, "bad parameters"},
    CodeText{ERR_KEY_NOT_FOUND, "key not found"},
    CodeText{ERR_KEY_EXISTS, "key already exists"},
    CodeText{ERR_SECTION_NOT_FOUND, "section not found"},
    CodeText{ERR_QUOTA_EXCEEDED, "disk quota exceeded"},
    CodeText{ERR_SEEK_FAILED, "cannot seek in file"},
    CodeText{ERR_STAT_FAILED, "cannot get file status"},
    CodeText{ERR_RENAME_FAILED, "cannot rename temporary file"},
    CodeText{ERR_LOCK_TIMEOUT, "timed out waiting for the file lock"},
    CodeText{ERR_OPERATION_FAILED, "operation failed"},
    CodeText{ERR_UNSAFE_LINK, "refused to follow a link another user controls"},
    CodeText{ERR_NOT_DURABLE, "change made but not confirmed on disk"},
    CodeText{ERR_FILE_TOO_LARGE, "file too large to edit in memory"},
    CodeText{ERR_FORMAT_ERROR, "bad file format"},
    CodeText{ERR_UNICODE_FAILED, "unicode conversion failed"},
    CodeText{ERR_FORK_FAILED, "cannot fork"},
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
