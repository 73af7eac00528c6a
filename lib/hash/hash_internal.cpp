// The hash code of the hash table and the hash set, and the table's
// writers of pairs and values.
#include "hash_internal.hpp"

#include <bit>
#include <climits>
#include <cstdint>
#include <cstring>

namespace {

using namespace velkc::hash;

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

void PutPair(SzHash *pHash, const char *szKey, const KeyHash &kh, const char *szValue, int idx) noexcept
{
    const int cbKey = StoredSize(szKey);
    const int cbVal = StoredSize(szValue);
    const int cbNeed = PairSize(cbKey, cbVal);
    if (cbNeed >= 0 && cbNeed <= pHash->cbFree) {
        WritePair(pHash, szKey, kh, cbKey, szValue, cbVal, idx);
    }
}

SzHash *AddPair(SzHash *pHash, const char *szKey, const KeyHash &kh, const char *szValue, int *pIdx,
                bool fTrustedIdx) noexcept
{
    const int cbKey = StoredSize(szKey);
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
    const int cbNeed = StoredSize(szValue);
    SzHash *pNew = Reserve(pHash, szKey, kh, cbNeed, pIdx);
    if (pNew != nullptr && ValidSlot(pNew, *pIdx)) {
        pNew->rgSlot[*pIdx].pszVal = StoreString(pNew, szValue, cbNeed);
    }
    return pNew;
}

} // namespace velkc::hash
