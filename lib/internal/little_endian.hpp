// Loads of unaligned bytes as little-endian numbers, the first byte lowest,
// for the code that hashes or scans text a word at a time.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace velkc {

// The Word at p (a 32- or 64-bit unsigned type).
template <typename Word>
inline Word LoadLittleEndian(const void *p) noexcept
{
    Word w;
    std::memcpy(&w, p, sizeof w);
    if constexpr (std::endian::native == std::endian::big) {
        if constexpr (sizeof w == sizeof(std::uint64_t)) {
            w = __builtin_bswap64(w);
        } else {
            w = __builtin_bswap32(w);
        }
    }
    return w;
}

// The cb <= 8 bytes at p as a little-endian number, the missing high bytes
// zero, read without a byte loop (a memcpy of a varying size is a library
// call) and without touching a byte past them.
inline std::uint64_t LoadLittleEndianTail(const void *p, std::size_t cb) noexcept
{
    const auto *pb = static_cast<const unsigned char *>(p);
    if (cb >= 4) {
        // The last four bytes, less those that the first four hold already.
        const std::uint64_t high = std::uint64_t{LoadLittleEndian<std::uint32_t>(pb + cb - 4)} >> (8 * (8 - cb));
        return LoadLittleEndian<std::uint32_t>(pb) | high << 32;
    }
    if (cb == 0) {
        return 0;
    }
    // One, two or three bytes: the first, the middle and the last cover them.
    const std::uint64_t mid = std::uint64_t{pb[cb / 2]} << (8 * (cb / 2));
    const std::uint64_t last = std::uint64_t{pb[cb - 1]} << (8 * (cb - 1));
    return pb[0] | mid | last;
}

} // namespace velkc
