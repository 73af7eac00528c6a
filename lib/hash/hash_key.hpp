// The two codes of a key that the hash table and the hash set place and
// index it by, from one pass over its bytes. Inline: every lookup starts
// here, and a call costs a fair share of a lookup in a small block.
#pragma once

#include "internal/little_endian.hpp"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace velkc::hash {

// `sum` is the 32-bit word sum that places the key (its home slot is
// sum % nSlot); `mix` is a well-spread hash that only the slot index uses;
// `cb` is the key's length, so that callers need not measure it again.
struct KeyHash {
    std::uint32_t sum = 0;
    std::uint64_t mix = 0;
    std::size_t cb = 0;
};

namespace key_hash_detail {

// Odd constants with well-spread bits, so that no common text cancels them.
inline constexpr std::uint64_t kSeed = 0x9E3779B97F4A7C15ull;
inline constexpr std::uint64_t kMulA = 0xA0761D6478BD642Full;
inline constexpr std::uint64_t kMulB = 0xE7037ED1A0B428DBull;
inline constexpr std::uint64_t kMulC = 0x8EBC6AF09C88C6E3ull;

// The two halves of the 128-bit product, folded into one: every bit of
// either factor reaches the middle bits of the product, and the fold
// brings them to both ends.
inline std::uint64_t Fold(std::uint64_t a, std::uint64_t b) noexcept
{
    const unsigned __int128 product = static_cast<unsigned __int128>(a) * b;
    return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
}

// The word sum's share of an eight-byte group: its two 32-bit words.
inline std::uint32_t WordSum(std::uint64_t w) noexcept
{
    return static_cast<std::uint32_t>(w) + static_cast<std::uint32_t>(w >> 32);
}

} // namespace key_hash_detail

// Sixteen bytes at a time: four little-endian 32-bit words for the sum
// (the last group zero-padded, so the sum comes out as if taken four bytes
// at a time), and one multiply for the mix; a last multiply spreads the mix
// over all its bits, whose low end places the index entry and whose high
// end is its tag.
inline KeyHash HashKey(const char *sz) noexcept
{
    using namespace key_hash_detail;
    const auto *pb = reinterpret_cast<const unsigned char *>(sz);
    KeyHash kh;
    kh.cb = std::strlen(sz);
    std::size_t cb = kh.cb;
    std::uint64_t h = kSeed ^ cb;
    for (; cb > 16; pb += 16, cb -= 16) {
        const std::uint64_t a = LoadLittleEndian<std::uint64_t>(pb);
        const std::uint64_t b = LoadLittleEndian<std::uint64_t>(pb + 8);
        kh.sum += WordSum(a) + WordSum(b);
        h = Fold(a ^ kMulA, b ^ h);
    }
    std::uint64_t a = 0;
    std::uint64_t b = 0;
    if (cb > 8) {
        a = LoadLittleEndian<std::uint64_t>(pb);
        b = LoadLittleEndianTail(pb + 8, cb - 8);
    } else if (cb == 8) {
        a = LoadLittleEndian<std::uint64_t>(pb);
    } else {
        a = LoadLittleEndianTail(pb, cb);
    }
    kh.sum += WordSum(a) + WordSum(b);
    h = Fold(a ^ kMulA, b ^ h ^ kMulB);
    kh.mix = Fold(h, kMulC);
    return kh;
}

} // namespace velkc::hash
