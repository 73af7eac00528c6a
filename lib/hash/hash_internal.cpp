// The hash code of the hash table and the hash set, and the table's
// writers of pairs and values.
#include "hash_internal.hpp"

#include <bit>
#include <climits>
#include <cstdint>
#include <cstring>

namespace {

using namespace velkc::hash;

std::uint64_t LittleEndian64(const unsigned char *pb) noexcept
{
    std::uint64_t w;
    std::memcpy(&w, pb, sizeof w);
    if constexpr (std::endian::native == std::endian::big) {
        w = __builtin_bswap64(w);
    }
    return w;
}

std::uint32_t LittleEndian32(const unsigned char *pb) noexcept
{
    std::uint32_t w;
    std::memcpy(&w, pb, sizeof w);
    if constexpr (std::endian::native == std::endian::big) {
        w = __builtin_bswap32(w);
    }
    return w;
}

// The cb <= 8 bytes at pb as a little-endian number, the missing high bytes
// zero, read without a byte loop and without touching a byte past them.
[[gnu::always_inline]] inline std::uint64_t LittleEndianTail(const unsigned char *pb, std::size_t cb) noexcept
{
    if (cb >= 4) {
        // The last four bytes, less those that the first four hold already.
        const std::uint64_t high = std::uint64_t{LittleEndian32(pb + cb - 4)} >> (8 * (8 - cb));
        return LittleEndian32(pb) | high << 32;
    }
    if (cb == 0) {
        return 0;
    }
    // One, two or three bytes: the first, the middle and the last cover them.
    const std::uint64_t mid = std::uint64_t{pb[cb / 2]} << (8 * (cb / 2));
    const std::uint64_t last = std::uint64_t{pb[cb - 1]} << (8 * (cb - 1));
    return pb[0] | mid | last;
}

// Odd constants with well-spread bits, so that no common text cancels
// them.
constexpr std::uint64_t kSeed = 0x9E3779B97F4A7C15ull;
constexpr std::uint64_t kMulA = 0xA0761D6478BD642Full;
constexpr std::uint64_t kMulB = 0xE7037ED1A0B428DBull;
constexpr std::uint64_t kMulC = 0x8EBC6AF09C88C6E3ull;

// The two halves of the 128-bit product, folded into one: every bit of
// either factor reaches the middle bits of the product, and the fold
// brings them to both ends.
std::uint64_t Fold(std::uint64_t a, std::uint64_t b) noexcept
{
    const unsigned __int128 product = static_cast<unsigned __int128>(a) * b;
    return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
}

// The word sum's share of an eight-byte group: its two 32-bit words.
std::uint32_t WordSum(std::uint64_t w) noexcept
{
    return static_cast<std::uint32_t>(w) + static_cast<std::uint32_t>(w >> 32);
}

// Copies key and value into the string area, key first, and makes slot idx
// live with them. The caller has checked that cbKey + cbVal bytes are free.
void WritePair(SzHash *pHash, const char *szKey, const KeyHash &kh, int cbKey, const char *szValue, int cbVal,
               int idx) noexcept
{
    SzHashSlot &slot = pHash->rgSlot[idx];
    const bool wasLive = slot.pszKey != nullptr;
    slot.pszKey = StoreString(pHash, szKey, cbKey);
    slot.pszVal = StoreString(pHash, szValue, cbVal);
    ++pHash->nPair;
    IndexKey(pHash, idx, kh, wasLive);
}

// Bytes of a key and value pair, or -1 if a block could not hold them.
int PairSize(int cbKey, int cbVal) noexcept
{
    return (cbKey < 0 || cbVal < 0 || cbKey > INT_MAX - cbVal) ? -1 : cbKey + cbVal;
}

// Makes room for cbNeed more bytes and one more pair. If the table moved,
// *pIdx is looked up again for szKey in the new block; -1 there cannot
// happen (a grown table has free slots), but the new block is returned all
// the same so that the caller's handle never points at the freed one.
SzHash *Reserve(SzHash *pHash, const char *szKey, const KeyHash &kh, int cbNeed, int *pIdx) noexcept
{
    SzHash *pNew = VELKCICheckSpace(pHash, cbNeed);
    if (pNew != nullptr && pNew != pHash) {
        *pIdx = SlotForWrite(pNew, szKey, kh);
    }
    return pNew;
}

} // namespace

namespace velkc::hash {

// Sixteen bytes at a time: four little-endian 32-bit words for the sum
// (the last group zero-padded, so the sum comes out as if taken four bytes
// at a time), and one multiply for the mix; a last multiply spreads the mix
// over all its bits, whose low end places the index entry and whose high
// end is its tag.
KeyHash HashKey(const char *sz) noexcept
{
    const auto *pb = reinterpret_cast<const unsigned char *>(sz);
    KeyHash kh;
    kh.cb = std::strlen(sz);
    std::size_t cb = kh.cb;
    std::uint64_t h = kSeed ^ cb;
    for (; cb > 16; pb += 16, cb -= 16) {
        const std::uint64_t a = LittleEndian64(pb);
        const std::uint64_t b = LittleEndian64(pb + 8);
        kh.sum += WordSum(a) + WordSum(b);
        h = Fold(a ^ kMulA, b ^ h);
    }
    std::uint64_t a = 0;
    std::uint64_t b = 0;
    if (cb > 8) {
        a = LittleEndian64(pb);
        b = LittleEndianTail(pb + 8, cb - 8);
    } else if (cb == 8) {
        a = LittleEndian64(pb);
    } else {
        a = LittleEndianTail(pb, cb);
    }
    kh.sum += WordSum(a) + WordSum(b);
    h = Fold(a ^ kMulA, b ^ h ^ kMulB);
    kh.mix = Fold(h, kMulC);
    return kh;
}

void PutPair(SzHash *pHash, const char *szKey, const KeyHash &kh, const char *szValue, int idx) noexcept
{
    const int cbKey = StoredSize(kh.cb);
    const int cbVal = StoredSize(szValue);
    const int cbNeed = PairSize(cbKey, cbVal);
    if (cbNeed >= 0 && cbNeed <= pHash->cbFree) {
        WritePair(pHash, szKey, kh, cbKey, szValue, cbVal, idx);
    }
}

SzHash *AddPair(SzHash *pHash, const char *szKey, const KeyHash &kh, const char *szValue, int *pIdx,
                bool fTrustedIdx) noexcept
{
    const int cbKey = StoredSize(kh.cb);
    const int cbVal = StoredSize(szValue);
    SzHash *pNew = Reserve(pHash, szKey, kh, PairSize(cbKey, cbVal), pIdx);
    if (pNew != nullptr && ValidSlot(pNew, *pIdx)) {
        if (pNew == pHash && !fTrustedIdx) {
            CheckPlacement(pNew, szKey, kh, *pIdx);
        }
        WritePair(pNew, szKey, kh, cbKey, szValue, cbVal, *pIdx);
    }
    return pNew;
}

SzHash *UpdateValue(SzHash *pHash, const char *szKey, const KeyHash &kh, const char *szValue, int *pIdx) noexcept
{
    char *pszOld = pHash->rgSlot[*pIdx].pszVal;
    const std::size_t cchNew = std::strlen(szValue);
    if (cchNew <= std::strlen(pszOld)) {
        std::memmove(pszOld, szValue, cchNew + 1);
        return pHash;
    }
    const int cbNeed = StoredSize(cchNew);
    SzHash *pNew = Reserve(pHash, szKey, kh, cbNeed, pIdx);
    if (pNew != nullptr && ValidSlot(pNew, *pIdx)) {
        pNew->rgSlot[*pIdx].pszVal = StoreString(pNew, szValue, cbNeed);
    }
    return pNew;
}

} // namespace velkc::hash
