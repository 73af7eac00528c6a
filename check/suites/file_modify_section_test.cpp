// FILE suite: VELKCIFileModifySection.
#include "file_suite_data.hpp"

static const char *grgszThreeSections[] = {"[Empty]", "[Sec]", "k1=v1", "k2=v2", "[Three]", "m1=s1", "m2=s2", NULL};

// Modifies a section of the scratch file, expecting result and code, then
// compares the file, comment lines included, and the ".tmp" sibling.
#define MODIFY(section, newSection, hash, flags, format, result, code, lines)                                          \
    do {                                                                                                               \
        VELK_RESET();                                                                                                  \
        VELK_ASSERT_INT_ERR(VELKCIFileModifySection(TEST_FILE, section, newSection, hash, flags, format), ==, result); \
        VELK_ASSERT_ERR(code);                                                                                         \
        VELK_ASSERT(CheckFileWithGetlineIgnoreComment(TEST_FILE, (lines)) == 0);                                       \
        FILE_SUITE_CHECK(TEST_FILE_TMP, grgszThreeSections);                                                           \
    } while (0)

// Reads a section into a fresh table and expects npair pairs.
#define GET_SECTION(section, npair)                                                        \
    do {                                                                                   \
        VELKCHashRemoveAll(pshRead);                                                       \
        VELK_RESET();                                                                      \
        VELK_ASSERT_INT_ERR(VELKCFileGetSection(TEST_FILE, section, &pshRead), ==, npair); \
    } while (0)

START_TEST(ErrVELKIFileModifySectionNULLArg)
{
    FILE_SUITE_WRITE_BOTH(FILE_DATA_FOUR_KEYS);

    FILE_SUITE_REFUSED(VELKCIFileModifySection(NULL, "Sec", NULL, NULL, 0, NULL), -1);

    FILE_SUITE_REFUSED(VELKCIFileModifySection(TEST_FILE, NULL, "Sec", NULL, SECTION_FLAG_REPLACE, NULL), -1);

    FILE_SUITE_CHECK_BOTH(grgszFourKeysLines);
}
END_TEST

START_TEST(ErrVELKIFileModifySectionTest)
{
    static const char *rgszOne[] = {"[One]", "k0=v0", "[Sec]", "k1=v1", "k2=v2", "[Three]", "m1=s1", "m2=s2", NULL};
    static const char *rgszThird[] = {"[One]", "k0=v0", "[Sec]", "k1=v1", "k2=v2", "[Third]", "k0=v0", NULL};
    static const char *rgszNoSec[] = {"[One]", "k0=v0", "[Third]", "k0=v0", NULL};
    static const char *rgszComment[] = {"[One]", "k0=v0", "[Third]", "#keep", "k0=v0", NULL};
    static const char *rgszReplaced[] = {"[One]", "k0=v0", "[Third]", "k9=v9", "#keep", NULL};
    SzHash *pshHash = VELKCSzHashAlloc(512);
    SzHash *pshOther = VELKCSzHashAlloc(512);
    SzHash *pshRead = VELKCSzHashAlloc(512);

    VELK_ASSERT_PTR(pshHash, !=, NULL);
    VELK_ASSERT_PTR(pshOther, !=, NULL);
    VELK_ASSERT_PTR(pshRead, !=, NULL);
    VELK_ASSERT_INT(VELKCSzHashSetValue(&pshHash, "k0", "v0"), >=, 0);
    VELK_ASSERT_INT(VELKCSzHashSetValue(&pshOther, "k9", "v9"), >=, 0);
    FILE_SUITE_WRITE_BOTH(FILE_DATA_THREE_SECTIONS);

    // No such section: the file is rewritten unchanged.
    MODIFY("NotFound", NULL, pshHash, SECTION_FLAG_REPLACE, NULL, 0, ERR_KEY_NOT_FOUND, grgszThreeSections);

    MODIFY("Empty", "One", pshHash, SECTION_FLAG_REPLACE, NULL, 1, ERR_SUCCESS, rgszOne);
    GET_SECTION("Empty", 0);
    GET_SECTION("One", 1);
    VELK_ASSERT(VELKCSzHashGetValue(pshRead, "k0") != NULL && strcmp(VELKCSzHashGetValue(pshRead, "k0"), "v0") == 0);

    MODIFY("Three", "Third", pshHash, SECTION_FLAG_REPLACE, NULL, 1, ERR_SUCCESS, rgszThird);
    GET_SECTION("Three", 0);
    GET_SECTION("Third", 1);
    VELK_ASSERT(VELKCSzHashGetValue(pshRead, "k0") != NULL && strcmp(VELKCSzHashGetValue(pshRead, "k0"), "v0") == 0);

    // Without the replace flag the section is deleted and the new name ignored.
    MODIFY("Sec", "DelSec", pshHash, 0, NULL, 1, ERR_SUCCESS, rgszNoSec);
    GET_SECTION("Sec", 0);
    GET_SECTION("DelSec", 0);

    // A comment of the old section stays, after the new content.
    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCFileAddLine(TEST_FILE, "[Third]", "#keep", MATCH_FLAG_AFTER), ==, 1);
    VELK_ASSERT(CheckFileWithGetlineIgnoreComment(TEST_FILE, rgszComment) == 0);
    MODIFY("Third", NULL, pshOther, SECTION_FLAG_REPLACE, NULL, 1, ERR_SUCCESS, rgszReplaced);

    // A format without its newline fails and leaves the file as it was.
    MODIFY("One", NULL, pshOther, SECTION_FLAG_REPLACE, "%s=%s", -1, ERR_BAD_PARAMETERS, rgszReplaced);

    VELKCSzHashFree(pshHash);
    VELKCSzHashFree(pshOther);
    VELKCSzHashFree(pshRead);
}
END_TEST

TCase *file_modify_section_test(void)
{
    TCase *tc = tcase_create("");
    _tcase_add_test(tc, ErrVELKIFileModifySectionNULLArg, 0, 0, 0, 1);
    _tcase_add_test(tc, ErrVELKIFileModifySectionTest, 0, 0, 0, 1);
    return tc;
}
