// VELKCFileSetKeyValue: set a key's value, replacing its line or appending
// one.
#include "internal/report.hpp"
#include "line_model.hpp"
#include "rewrite.hpp"
#include "section_output.hpp"

namespace {

// The key as the file spells it, blanks kept: the text before the line's
// first "=". A line that starts with "=" spells no key there ("=k=v" is a
// line of "k"), so the key is then written as given.
const char *SpelledKey(const velkc::LineReader &line, const char *szKey)
{
    std::string_view text = velkc::AsCString(line.view());
    std::size_t end = text.find('=');
    if (end == std::string_view::npos) {
        end = text.size() - (text.ends_with('\n') ? 1 : 0);
    }
    if (end == 0) {
        return szKey;
    }
    line.data()[end] = '\0'; // the line itself is not written again
    return line.data();
}

} // namespace

extern "C" int VELKCFileSetKeyValue(const char *szFile, const char *szKey, const char *szValue,
                                    const char *szFormat) noexcept
{
    if (szFile == nullptr || szKey == nullptr || szValue == nullptr || !velkc::IsSafeKey(szKey) ||
        !velkc::IsSafeValue(szValue)) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -1;
    }
    const char *format = szFormat != nullptr ? szFormat : velkc::kDefaultPairFormat;
    velkc::Rewrite rw(szFile);
    if (velkc::Status status = rw.StartOrCreate()) {
        return VELKC_FAIL(status);
    }
    velkc::Output &out = rw.out();
    bool replaced = false;
    velkc::Status status = rw.CopyLinesContaining(szKey, [&](const velkc::LineReader &line) -> velkc::Status {
        if (!velkc::IsKeyLineOf(line.view(), szKey)) {
            return out.Write(line.view());
        }
        if (replaced) {
            return velkc::kOk; // duplicates collapse into the first line
        }
        replaced = true;
        return out.Pair(format, SpelledKey(line, szKey), szValue);
    });
    if (status == velkc::kOk && !replaced) {
        status = rw.SeparateFromLastLine();
        if (status == velkc::kOk) {
            status = out.Pair(format, szKey, szValue);
        }
    }
    if (velkc::Status failed = rw.CommitAfter(status)) {
        return VELKC_FAIL(failed);
    }
    return 1;
}
