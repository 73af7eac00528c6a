// The hash code shared by the hash table and the hash set, and the table's
// lookups for reading and for writing.
#include "hash_internal.hpp"

#include <bit>
#include <cstdint>

namespace {

// Up to eight bytes read as a little-endian number, missing high bytes zero.
std::uint64_t LittleEndianTail(const unsigned char *pb, std::size_t cb) noexcept
{
    std::uint64_t w = 0;
    for (std::size_t i = cb; i-- > 0;) {
        w = (w << 8) | pb[i];
    }
    return w;
}

std::uint64_t LittleEndianWord(const unsigned char *pb) noexcept
{
    std::uint64_t w;
    std::memcpy(&w, pb, sizeof w);
    if constexpr (std::endian::native == std::endian::big) {
        w = __builtin_bswap64(w);
    }
    return w;
}

constexpr std::uint64_t kMul = 0x9E3779B97F4A7C15ull;

// Adds an eight-byte group to both codes: its two 32-bit words to the sum,
// the whole group to the mix.
void Absorb(velkc::hash::KeyHash &kh, std::uint64_t w) noexcept
{
    kh.sum += static_cast<std::uint32_t>(w) + static_cast<std::uint32_t>(w >> 32);
    kh.mix = (kh.mix ^ w) * kMul;
    kh.mix ^= kh.mix >> 32;
}

// The finaliser of a well-known 64-bit mixer: every input bit reaches
// every output bit.
std::uint64_t Finalise(std::uint64_t h) noexcept
{
    h ^= h >> 33;
    h *= 0xFF51AFD7ED558CCDull;
    h ^= h >> 33;
    h *= 0xC4CEB9FE1A85EC53ull;
    h ^= h >> 33;
    return h;
}

} // namespace

namespace velkc::hash {

// Eight bytes at a time: two little-endian 32-bit words each, so the word
// sum comes out as if taken four bytes at a time.
KeyHash HashKey(const char *sz) noexcept
{
    const auto *pb = reinterpret_cast<const unsigned char *>(sz);
    std::size_t cb = std::strlen(sz);
    KeyHash kh;
    kh.mix = cb * kMul;
    for (; cb >= 8; pb += 8, cb -= 8) {
        Absorb(kh, LittleEndianWord(pb));
    }
    Absorb(kh, LittleEndianTail(pb, cb));
    kh.mix = Finalise(kh.mix);
    return kh;
}

} // namespace velkc::hash

extern "C" {

// The sum, with 32-bit wrap-around, of the text's little-endian 32-bit
// words (the last one padded with zero bytes), modulo the slot count.
int VELKCRadixHashCode(const char *sz, unsigned int nSlot) noexcept
{
    if (sz == nullptr || nSlot == 0) {
        return -1;
    }
    return static_cast<int>(velkc::hash::HashKey(sz).sum % nSlot);
}

int VELKCGetLookDict(const SzHash *pHash, const char *szKey) noexcept
{
    if (pHash == nullptr || szKey == nullptr) {
        return -1;
    }
    return velkc::hash::FindSlot(pHash, szKey, velkc::hash::HashKey(szKey));
}

int VELKCSetLookDict(const SzHash *pHash, const char *szKey) noexcept
{
    if (pHash == nullptr) {
        return -1;
    }
    return velkc::hash::SlotForWrite(pHash, szKey);
}

} // extern "C"
