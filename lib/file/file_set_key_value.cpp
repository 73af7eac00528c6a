// VELKCFileSetKeyValue: set a key's value, replacing its line or appending
// one.
#include "rewrite.hpp"

namespace {

constexpr const char *kDefaultFormat = "%s=%s\n";

} // namespace

extern "C" int VELKCFileSetKeyValue(const char *szFile, const char *szKey, const char *szValue,
                                    const char *szFormat) noexcept
{
    if (szFile == nullptr || szKey == nullptr || szValue == nullptr) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -1;
    }
    const char *format = szFormat != nullptr ? szFormat : kDefaultFormat;
    velkc::Rewrite rw(szFile, {.readError = ERR_WRITE_FAILED});
    bool created = false;
    if (velkc::Status status = rw.OpenOrCreate(
            "r", [&](const velkc::Output &out) { return out.Pair(format, szKey, szValue); }, created)) {
        return VELKC_FAIL(status);
    }
    if (created) {
        return 1;
    }
    if (velkc::Status status = rw.Begin()) {
        return VELKC_FAIL(status);
    }
    const velkc::Output &out = rw.out();
    velkc::LineCopy copy;
    bool replaced = false;
    velkc::Status status = rw.CopyLines([&](const velkc::LineReader &line) -> velkc::Status {
        // The copy leaves out the newline: after the match it holds the key
        // as the file spells it, which is written back.
        std::string_view text = line.view();
        if (text.ends_with('\n')) {
            text.remove_suffix(1);
        }
        char *key = copy.assign(text);
        if (key == nullptr) {
            return ERR_OUT_OF_MEMORY;
        }
        if (!VELKCILineKeyMatch(key, szKey)) {
            return out.Write(line.view());
        }
        if (replaced) {
            return velkc::kOk; // duplicates collapse into the first line
        }
        replaced = true;
        return out.Pair(format, key, szValue);
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
