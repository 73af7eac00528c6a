// VELKCFileRemoveSectionKey: remove one key of one section, changing
// nothing else in the file.
#include "internal/report.hpp"
#include "rewrite.hpp"
#include "section_scan.hpp"

namespace {

// Copies the target without the key's lines: the section line by line, the
// bytes around it as they are. Once the file's last line goes, the line that
// becomes last loses its line ending if that one had none, so that the file
// ends as it did.
velkc::Status CopyWithoutKey(velkc::Rewrite &rw, const char *szKey, const velkc::KeyPlace &place)
{
    velkc::LineReader &reader = rw.target();
    velkc::Output &out = rw.out();
    const bool trimLastKept =
        place.end.unterminated && place.sectionEnd == place.size && place.lastKeptEnd < place.sectionEnd;
    velkc::Status status = out.Copy(reader.fd(), 0, place.sectionBegin);
    if (status == velkc::kOk) {
        status = reader.seek(place.sectionBegin);
    }
    velkc::KeyScan again(szKey);
    while (status == velkc::kOk && reader.position() < place.sectionEnd && reader.next()) {
        std::string_view line = reader.view();
        const velkc::Position begin = reader.lineOffset();
        if (again.Feed(begin, begin + line.size(), line) != velkc::LineRole::kOther) {
            continue;
        }
        if (trimLastKept && begin + line.size() == place.lastKeptEnd) {
            line.remove_suffix(velkc::EndingToDrop(line, place.end));
        }
        status = out.Write(line);
    }
    if (status == velkc::kOk) {
        status = reader.error();
    }
    return status == velkc::kOk ? out.Copy(reader.fd(), place.sectionEnd, place.size) : status;
}

} // namespace

extern "C" int VELKCFileRemoveSectionKey(const char *szFile, const char *szSection, const char *szKey) noexcept
{
    if (szFile == nullptr || szKey == nullptr) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -1;
    }
    velkc::Rewrite rw(szFile);
    if (velkc::Status status = rw.Start()) {
        return VELKC_FAIL(status);
    }
    velkc::KeyPlace place(szKey);
    if (velkc::Status status = velkc::FindKey(rw.target(), szSection, place)) {
        return VELKC_FAIL(status);
    }
    const long removed = place.scan.keyLines();
    if (removed == 0) {
        VELKC_SET_ERR(place.sectionFound ? ERR_KEY_NOT_FOUND : ERR_SECTION_NOT_FOUND);
        return 0;
    }
    if (velkc::Status status = rw.CommitAfter(CopyWithoutKey(rw, szKey, place))) {
        return VELKC_FAIL(status);
    }
    return static_cast<int>(removed);
}
