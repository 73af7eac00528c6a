// VELKCFileSetSectionKeyValue: set one key of one section, changing nothing
// else in the file.
#include "internal/report.hpp"
#include "line_model.hpp"
#include "pair_line.hpp"
#include "rewrite.hpp"
#include "section_output.hpp"
#include "section_scan.hpp"

namespace {

// Copies the target with the change made: the key's last line with its new
// value, or a new pair after the section's anchor line, or a new section at
// the end. The bytes around the change are copied as they are.
velkc::Status SetKey(velkc::Rewrite &rw, const char *szSection, const char *szKey, const char *szValue)
{
    velkc::LineReader &reader = rw.target();
    const int fd = reader.fd();
    velkc::KeyPlace place(szKey);
    place.sectionFound = szSection == nullptr; // a missing file is an empty one
    if (fd >= 0) {
        if (velkc::Status status = velkc::FindKey(reader, szSection, place)) {
            return status;
        }
    }
    const velkc::KeyScan &scan = place.scan;
    velkc::Output &out = rw.out();
    if (scan.keyLines() > 0) {
        velkc::Status status = reader.seek(scan.keyBegin());
        if (status == velkc::kOk && !reader.next()) {
            status = reader.error() != velkc::kOk ? reader.error() : ERR_READ_FAILED;
        }
        if (status == velkc::kOk) {
            status = out.Copy(fd, 0, scan.keyBegin());
        }
        if (status == velkc::kOk) {
            status = velkc::WriteWithValue(out, reader.view(), *velkc::SplitPair(reader.view()), szValue);
        }
        return rw.CommitAfter(status == velkc::kOk ? out.Copy(fd, scan.keyEnd(), place.size) : status);
    }
    // The neighbours' style takes a second pass, for a section without pairs.
    velkc::NearbyStyle nearby;
    if (fd >= 0 && !scan.style().known()) {
        if (velkc::Status status = velkc::FindNearbyStyle(reader, szSection, nearby)) {
            return status;
        }
    }
    const velkc::PairStyle style = velkc::StyleOfNewPair(szSection, scan.style(), nearby.style());
    const velkc::Position at = !place.sectionFound ? place.size
                               : scan.hasAnchor()  ? scan.insertAt()
                                                   : place.sectionBegin;
    velkc::Status status = out.Copy(fd, 0, at);
    if (status == velkc::kOk) {
        status = place.sectionFound ? velkc::WriteNewPair(out, style, place.end.eol(), szKey, szValue, scan.anchorEnd())
                                    : velkc::WriteNewSection(out, style, place.end, szSection, szKey, szValue);
    }
    return rw.CommitAfter(status == velkc::kOk ? out.Copy(fd, at, place.size) : status);
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
