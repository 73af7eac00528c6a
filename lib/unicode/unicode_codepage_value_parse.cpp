// VELKCCodepageValueParse: the legacy code page of a language.
#include "internal/report.hpp"

#include <velkc/unicode.h>

#include <iterator>
#include <strings.h>

namespace {

struct LanguageCodepages {
    const char *pszLang;
    int iWin;
    int iDos;
};

// Searched in order; the first language code that matches wins.
constexpr LanguageCodepages kLanguages[] = {
    {"utf8", KOVA_CP_UTF8, KOVA_CP_UTF8},        {"utf16", KOVA_CP_UTF16, KOVA_CP_UTF16},
    {"enu", KOVA_CP_WIN_1252, KOVA_CP_WIN_437},  {"fre", KOVA_CP_WIN_1252, KOVA_CP_WIN_850},
    {"ger", KOVA_CP_WIN_1252, KOVA_CP_WIN_850},  {"ita", KOVA_CP_WIN_1252, KOVA_CP_WIN_850},
    {"spn", KOVA_CP_WIN_1252, KOVA_CP_WIN_850},  {"cht", KOVA_CP_WIN_950, KOVA_CP_WIN_950},
    {"chs", KOVA_CP_WIN_936, KOVA_CP_WIN_936},   {"jpn", KOVA_CP_WIN_932, KOVA_CP_WIN_932},
    {"krn", KOVA_CP_WIN_949, KOVA_CP_WIN_949},   {"ptb", KOVA_CP_WIN_1252, KOVA_CP_WIN_850},
    {"rus", KOVA_CP_WIN_1251, KOVA_CP_WIN_866},  {"dan", KOVA_CP_WIN_1252, KOVA_CP_WIN_850},
    {"nor", KOVA_CP_WIN_1252, KOVA_CP_WIN_850},  {"sve", KOVA_CP_WIN_1252, KOVA_CP_WIN_850},
    {"nld", KOVA_CP_WIN_1252, KOVA_CP_WIN_850},  {"gre", KOVA_CP_WIN_1253, KOVA_CP_WIN_737},
    {"heb", KOVA_CP_WIN_1255, KOVA_CP_WIN_862},  {"plk", KOVA_CP_WIN_1250, KOVA_CP_WIN_852},
    {"ptg", KOVA_CP_WIN_1252, KOVA_CP_WIN_850},  {"hun", KOVA_CP_WIN_1250, KOVA_CP_WIN_852},
    {"trk", KOVA_CP_WIN_1254, KOVA_CP_WIN_857},  {"csy", KOVA_CP_WIN_1250, KOVA_CP_WIN_852},
    {"ara", KOVA_CP_WIN_1256, KOVA_CP_WIN_1256},
};
static_assert(std::size(kLanguages) == 25);

// Every Mac code page sits at a fixed distance from its Windows one. The
// rule is applied to every row, UTF-8 and UTF-16 included.
constexpr int kMacOffset = KOVA_CP_MAC_1252 - KOVA_CP_WIN_1252;
static_assert(kMacOffset == 19);

const LanguageCodepages *FindLanguage(const char *szLang)
{
    for (const LanguageCodepages &row : kLanguages) {
        if (strcasecmp(row.pszLang, szLang) == 0) {
            return &row;
        }
    }
    return nullptr;
}

} // namespace

// An unknown language is not an error: -1 with the record untouched.
extern "C" VELKC_API int VELKCCodepageValueParse(int iKind, const char *szLang) noexcept
{
    if (szLang == nullptr) {
        VELKC_LOG(LOG_ERR, "Bad parameter (%d).", iKind);
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -1;
    }
    const LanguageCodepages *pRow = FindLanguage(szLang);
    if (pRow == nullptr) {
        return -1;
    }
    switch (iKind) {
    case KOVA_CODEPAGE_DMS:
    case KOVA_CODEPAGE_WIN:
        return pRow->iWin;
    case KOVA_CODEPAGE_DOS:
        return pRow->iDos;
    case KOVA_CODEPAGE_MAC:
        return pRow->iWin + kMacOffset;
    default:
        VELKC_LOG(LOG_ERR, "Bad parameter (%d).", iKind);
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -1;
    }
}
