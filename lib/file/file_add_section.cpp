// VELKCFileAddSection: append a section unless one of that name exists.
#include "line_model.hpp"
#include "rewrite.hpp"

namespace {

// Reads the whole file looking for the header of szSection. Sets
// terminated when the last line read ends in "\n" (false for an empty file).
bool FindSection(velkc::LineReader &reader, const char *szSection, bool &found, bool &terminated)
{
    found = false;
    terminated = false;
    while (!found && reader.next()) {
        found = velkc::IsHeaderOf(reader.view(), szSection);
        terminated = !reader.lastLineUnterminated();
    }
    return !reader.failed();
}

} // namespace

// The section is appended in place, without a temporary file.
extern "C" int VELKCFileAddSection(const char *szFile, const char *szSection, const SzHash *pHash,
                                   const char *szFormat) noexcept
{
    if (szFile == nullptr || szSection == nullptr || pHash == nullptr) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -1;
    }
    velkc::LineReader reader;
    if (!reader.open(szFile, "a+")) {
        VELKC_SET_ERR(ERR_OPEN_FAILED);
        return -1;
    }
    bool found = false;
    bool terminated = false;
    if (!FindSection(reader, szSection, found, terminated)) {
        return -1; // a read error carries no code
    }
    if (found) {
        return 0;
    }
    // A bad format is refused before anything is appended, so that a failure
    // never leaves half a section behind.
    if (!VELKCIFileCheckFormat(szFormat)) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -1;
    }
    // Even an empty file gets the "\n": the section then follows a blank line.
    const velkc::Output out(reader.stream());
    if (!terminated && out.Write("\n") != velkc::kOk) {
        VELKC_SET_ERR(ERR_WRITE_FAILED);
        return -1;
    }
    if (VELKCFileHash2File(out.stream(), szSection, pHash, szFormat) != 0) {
        return -1;
    }
    if (velkc::Status status = velkc::Sync(out)) {
        return VELKC_FAIL(status);
    }
    return 1;
}
