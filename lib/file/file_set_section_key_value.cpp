// VELKCFileSetSectionKeyValue: set one key of one section, changing nothing
// else in the file.
#include "internal/report.hpp"
#include "line_model.hpp"
#include "pair_line.hpp"
#include "rewrite.hpp"
#include "section_output.hpp"
#include "section_scan.hpp"

namespace {

// No line: the key is replaced, or goes into a new section.
constexpr long kNoLine = -2;

velkc::Status SetKey(velkc::Rewrite &rw, const char *szSection, const char *szKey, const char *szValue)
{
    velkc::KeySurvey survey(szSection, szKey);
    if (velkc::Status status = rw.ReadAhead([&](std::string_view line) { survey.Feed(line); })) {
        return status;
    }
    velkc::Output &out = rw.out();
    const long keyLine = survey.scan().keyLine();
    // -1: before the first line.
    const long insertAfter = survey.sectionFound() && keyLine < 0 ? survey.scan().insertAfter() : kNoLine;
    const auto newPair = [&](std::string_view after) {
        return velkc::WriteNewPair(out, survey.style(), survey.end().eol(), szKey, szValue, after);
    };
    if (insertAfter == -1) {
        if (velkc::Status status = newPair("")) {
            return status;
        }
    }
    long index = 0;
    velkc::Status status = rw.CopyLines([&](const velkc::LineReader &reader) {
        const std::string_view line = reader.view();
        const long at = index++;
        if (at == keyLine) {
            return velkc::WriteWithValue(out, line, *velkc::SplitPair(line), szValue);
        }
        velkc::Status copied = out.Write(line);
        return copied == velkc::kOk && at == insertAfter ? newPair(line) : copied;
    });
    if (status == velkc::kOk && !survey.sectionFound()) {
        status = velkc::WriteNewSection(out, survey.style(), survey.end(), szSection, szKey, szValue);
    }
    return rw.CommitAfter(status);
}

} // namespace

extern "C" int VELKCFileSetSectionKeyValue(const char *szFile, const char *szSection, const char *szKey,
                                           const char *szValue) noexcept
{
    if (szFile == nullptr || szKey == nullptr || szValue == nullptr || !velkc::IsSectionKey(szKey) ||
        !velkc::IsSafeValue(szValue) || !velkc::SafeSection(szSection, nullptr)) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -1;
    }
    velkc::Rewrite rw(szFile);
    if (velkc::Status status = rw.StartOrCreate()) {
        return VELKC_FAIL(status);
    }
    if (velkc::Status status = SetKey(rw, szSection, szKey, szValue)) {
        return VELKC_FAIL(status);
    }
    return 1;
}
