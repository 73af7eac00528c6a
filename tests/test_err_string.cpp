// VELKCErrString: one distinct text per error code.
#include <velkc.h>

#include <fstream>
#include <gtest/gtest.h>
#include <set>
#include <string>

namespace {

constexpr unsigned int kCodes[] = {
#define CODE(name, cxx, text, meaning) name,
    VELKC_ERROR_CODES(CODE)
#undef CODE
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

// The table is the one list of the codes: no ERR_ constant of the header
// may be missing from it.
TEST(ErrString, EveryConstantHasARowInTheTable)
{
    std::set<std::string> defined;
    std::ifstream header(VELKC_ERROR_HEADER);
    for (std::string line; std::getline(header, line);) {
        if (line.starts_with("#define ERR_")) {
            defined.insert(line.substr(8, line.find(' ', 8) - 8));
        }
    }
    const std::set<std::string> listed = {
#define NAME(name, cxx, text, meaning) #name,
        VELKC_ERROR_CODES(NAME)
#undef NAME
    };
    EXPECT_FALSE(defined.empty());
    EXPECT_EQ(defined, listed);
}

} // namespace
