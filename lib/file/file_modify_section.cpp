// VELKCIFileModifySection: replace, rename or delete every section of a name.
#include "internal/report.hpp"
#include "line_model.hpp"
#include "rewrite.hpp"
#include "section_output.hpp"

extern "C" int VELKCIFileModifySection(const char *szFile, const char *szSection, const char *szNewSection,
                                       const SzHash *pHash, int flags, const char *szFormat) noexcept
{
    if (szFile == nullptr || szSection == nullptr) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -1;
    }
    const bool replace = flags & SECTION_FLAG_REPLACE;
    const char *newName = szNewSection != nullptr ? szNewSection : szSection;
    // A replacement that would change the file's structure is refused before
    // the file is looked at.
    if (replace && !velkc::SafeSection(newName, pHash)) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -1;
    }
    velkc::Rewrite rw(szFile, {.quotaError = true});
    if (velkc::Status status = rw.Start()) {
        return VELKC_FAIL(status);
    }
    velkc::Output &out = rw.out();
    bool inside = false;
    bool found = false;
    velkc::Status status = rw.CopyLines([&](const velkc::LineReader &line) -> velkc::Status {
        const int len = static_cast<int>(line.size());
        if (VELKCIFileIsSection(line.data(), len)) {
            inside = VELKCIFileMatchSection(line.data(), len, szSection) == 1;
            if (!inside) {
                return out.Write(line.view());
            }
            found = true;
            // The old header goes; the replacement takes its place.
            return replace ? velkc::WriteSection(out, newName, pHash, szFormat) : velkc::kOk;
        }
        // The old section's comments stay, after the new content.
        if (inside && !velkc::IsCommentLine(line.data())) {
            return velkc::kOk;
        }
        return out.Write(line.view());
    });
    // Without a match the unchanged copy is committed all the same.
    if (velkc::Status failed = rw.CommitAfter(status)) {
        return VELKC_FAIL(failed);
    }
    if (!found) {
        VELKC_SET_ERR(ERR_KEY_NOT_FOUND);
        return 0;
    }
    return 1;
}
