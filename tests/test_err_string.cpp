// VELKCErrString: one distinct text per error code.
#include <velkc.h>

#include <gtest/gtest.h>
#include <set>
#include <string>

namespace {

constexpr unsigned int kCodes[] = {
    ERR_SUCCESS,          ERR_NOT_ENOUGH_MEMORY, ERR_OUT_OF_MEMORY, ERR_OPEN_FAILED,   ERR_READ_FAILED,
    ERR_WRITE_FAILED,     ERR_BAD_PARAMETERS,    ERR_KEY_NOT_FOUND, ERR_KEY_EXISTS,    ERR_SECTION_NOT_FOUND,
    ERR_QUOTA_EXCEEDED,   ERR_SEEK_FAILED,       ERR_STAT_FAILED,   ERR_RENAME_FAILED, ERR_LOCK_TIMEOUT,
    ERR_OPERATION_FAILED, ERR_UNSAFE_LINK,       ERR_NOT_DURABLE,   ERR_FORMAT_ERROR,  ERR_UNICODE_FAILED,
    ERR_FORK_FAILED,
};

const std::string kUnknown = VELKCErrString(0xFF00);

TEST(ErrString, EveryCodeHasItsOwnText)
{
    std::set<std::string> seen{kUnknown};
    for (unsigned int code : kCodes) {
        const std::string text = VELKCErrString(code);
        EXPECT_FALSE(text.empty()) << std::hex << code;
        EXPECT_TRUE(seen.insert(text).second) << std::hex << code << " repeats \"" << text << '"';
        EXPECT_TRUE(islower(static_cast<unsigned char>(text.front())) && text.back() != '.') << text;
    }
}

TEST(ErrString, UnknownCodesShareTheGenericText)
{
    EXPECT_EQ(kUnknown, "unknown error");
    // Near misses of real codes: a low byte set, a code shifted, the top bit.
    for (unsigned int code : {0x0001u, 0x0901u, 0x0300u, 0x2F00u, 0x00090000u, 0x80000000u, 0xFFFFFFFFu}) {
        EXPECT_EQ(VELKCErrString(code), kUnknown) << std::hex << code;
    }
    EXPECT_STREQ(VELKCErrString(ERR_SUCCESS), "no error");
}

} // namespace
