// The hash code shared by the hash table and the hash set, and the table's
// lookups for reading and for writing.
#include "hash_internal.hpp"

#include <cstdint>

namespace {

// Up to four bytes read as a little-endian number, missing high bytes zero.
std::uint32_t LittleEndianWord(const unsigned char *pb, std::size_t cb) noexcept
{
    std::uint32_t w = 0;
    for (std::size_t i = cb; i-- > 0;) {
        w = (w << 8) | pb[i];
    }
    return w;
}

} // namespace

extern "C" {

// The sum, with 32-bit wrap-around, of the text's little-endian 32-bit
// words (the last one padded with zero bytes), modulo the slot count.
int VELKCRadixHashCode(const char *sz, unsigned int nSlot) noexcept
{
    if (sz == nullptr || nSlot == 0) {
        return -1;
    }
    const auto *pb = reinterpret_cast<const unsigned char *>(sz);
    const std::size_t cb = std::strlen(sz);
    std::uint32_t sum = 0;
    std::size_t i = 0;
    for (; i + 4 <= cb; i += 4) {
        sum += LittleEndianWord(pb + i, 4);
    }
    sum += LittleEndianWord(pb + i, cb - i);
    return static_cast<int>(sum % nSlot);
}

int VELKCGetLookDict(const SzHash *pHash, const char *szKey) noexcept
{
    if (pHash == nullptr) {
        return -1;
    }
    return velkc::hash::ProbeFor(pHash, szKey).found;
}

int VELKCSetLookDict(const SzHash *pHash, const char *szKey) noexcept
{
    if (pHash == nullptr) {
        return -1;
    }
    return velkc::hash::SlotForWrite(pHash, szKey);
}

} // extern "C"
