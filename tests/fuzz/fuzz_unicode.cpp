// Fuzzes the caseless comparison against the comparison computed the long
// way from ICU, and every UTF-8 check this CPU runs against ICU's converter,
// at every placement of the text in a vector block.
#include "fuzz_support.hpp"
#include "unicode/unicode_utf8_check.hpp"
#include "unicode_reference.hpp"

#include <cstdint>
#include <string>
#include <vector>

namespace {

using velkc::unicode::Utf8Checker;

// text at offset past a 64-byte boundary, between bytes that would be
// errors if a vector check took in the bytes before it or past its end.
void CheckAllCheckers(const std::string &text, bool valid, std::size_t offset)
{
    std::vector<char> buf(text.size() + 192, '\xe0');
    char *p = buf.data() + (64 - reinterpret_cast<std::uintptr_t>(buf.data()) % 64) + offset % 64;
    std::copy(text.begin(), text.end() + 1, p);
    std::fill(p + text.size() + 1, buf.data() + buf.size(), '\x80');
    for (const Utf8Checker checker : {Utf8Checker::kScalar, Utf8Checker::kSsse3, Utf8Checker::kAvx2}) {
        if (velkc::unicode::Utf8CheckerRuns(checker)) {
            const velkc::unicode::Utf8Check check = velkc::unicode::CheckUtf8With(checker, p);
            FUZZ_CHECK(check.valid == valid && (!valid || check.cb == text.size()));
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    FuzzedDataProvider in(data, size);
    const std::size_t offset = in.ConsumeIntegral<std::uint8_t>();
    // Texts that share a start differ where the fast paths must hand over.
    const std::string shared = in.ConsumeRandomLengthString(300);
    const std::string a = shared + in.ConsumeRandomLengthString(300);
    const std::string b = shared + in.ConsumeRemainingBytesAsString();
    const std::string cutA = a.c_str(), cutB = b.c_str(); // as the library sees them
    const bool validA = test::ConverterTakes(cutA);
    CheckAllCheckers(cutA, validA, offset);
    CheckAllCheckers(cutB, test::ConverterTakes(cutB), offset + 1);
    const int expected = test::ReferenceCaseCmp(cutA, cutB);
    FUZZ_CHECK(VELKCUnicodeUTF8StrCaseCmp(cutA.c_str(), cutB.c_str()) == expected);
    FUZZ_CHECK(VELKCUnicodeUTF8StrCaseCmp(cutA.c_str(), cutA.c_str()) == (validA ? 0 : -2));
    return 0;
}
