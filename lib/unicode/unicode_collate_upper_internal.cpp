// Collation of the upper-cased forms of two UTF-8 strings, converted and
// upper-cased only as far as the collator reads them.
#include "unicode_internal.hpp"

#include <velkc/error.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <unicode/uiter.h>
#include <unicode/ustring.h>
#include <unicode/utf16.h>
#include <unicode/utf8.h>

namespace {

// The upper-case form of well-formed UTF-8 text as a UCharIterator. Units
// are produced on demand into a buffer that keeps everything produced, so
// the collator can move back freely. The root-locale upper-case mapping of a
// code point does not depend on its neighbours, so mapping one code point at
// a time gives the same text as mapping the whole string.
class LazyUpper {
public:
    explicit LazyUpper(std::string_view src) noexcept : src_(src)
    {
        iter_.context = this;
        iter_.length = -1;
        iter_.limit = -1;
        iter_.getIndex = GetIndex;
        iter_.move = Move;
        iter_.hasNext = HasNext;
        iter_.hasPrevious = HasPrevious;
        iter_.current = Current;
        iter_.next = Next;
        iter_.previous = Previous;
        iter_.getState = GetState;
        iter_.setState = SetState;
    }
    LazyUpper(const LazyUpper &) = delete;
    LazyUpper &operator=(const LazyUpper &) = delete;

    UCharIterator *Iter() noexcept { return &iter_; }
    // 0, or the error that cut the text short.
    unsigned Error() const noexcept { return err_; }

private:
    // Room for the longest full upper-case mapping of one code point.
    static constexpr int32_t kMaxUnitsPerCodePoint = 8;

    static LazyUpper &Self(const UCharIterator *pIter)
    {
        return *static_cast<LazyUpper *>(const_cast<void *>(pIter->context));
    }

    bool Grow() noexcept
    {
        const int32_t cap = 2 * cap_;
        auto *pNew = static_cast<UChar *>(std::realloc(heap_.get(), static_cast<std::size_t>(cap) * sizeof(UChar)));
        if (pNew == nullptr) {
            err_ = ERR_OUT_OF_MEMORY;
            return false;
        }
        if (!heap_) {
            std::memcpy(pNew, inline_.data(), static_cast<std::size_t>(n_) * sizeof(UChar));
        }
        heap_.release();
        heap_.reset(pNew);
        buf_ = pNew;
        cap_ = cap;
        return true;
    }

    // Appends the upper-case form of the next code point; false at the end
    // of the text or on failure.
    bool Produce() noexcept
    {
        if (iSrc_ == static_cast<int32_t>(src_.size()) || err_ != 0 || (cap_ - n_ < kMaxUnitsPerCodePoint && !Grow())) {
            return false;
        }
        const auto c = static_cast<unsigned char>(src_[static_cast<std::size_t>(iSrc_)]);
        if (c < 0x80) {
            buf_[n_++] = static_cast<UChar>(c >= 'a' && c <= 'z' ? c - ('a' - 'A') : c);
            ++iSrc_;
            return true;
        }
        UChar32 cp = 0;
        U8_NEXT(reinterpret_cast<const uint8_t *>(src_.data()), iSrc_, static_cast<int32_t>(src_.size()), cp);
        std::array<UChar, 2> units{};
        int32_t cch = 0;
        U16_APPEND_UNSAFE(units.data(), cch, cp);
        UErrorCode status = U_ZERO_ERROR;
        n_ += u_strToUpper(buf_ + n_, cap_ - n_, units.data(), cch, "", &status);
        if (U_FAILURE(status)) {
            err_ = ERR_UNICODE_FAILED;
            return false;
        }
        return true;
    }

    // Produces until n units exist or the text ends; true if they exist.
    bool Reach(int64_t n) noexcept
    {
        while (n_ < n && Produce()) {
        }
        return n_ >= n;
    }

    static int32_t GetIndex(UCharIterator *pIter, UCharIteratorOrigin origin)
    {
        LazyUpper &self = Self(pIter);
        switch (origin) {
        case UITER_ZERO:
        case UITER_START:
            return 0;
        case UITER_CURRENT:
            return self.pos_;
        case UITER_LIMIT:
        case UITER_LENGTH:
            self.Reach(INT32_MAX);
            return self.n_;
        }
        return -1;
    }

    static int32_t Move(UCharIterator *pIter, int32_t delta, UCharIteratorOrigin origin)
    {
        LazyUpper &self = Self(pIter);
        const int64_t target = GetIndex(pIter, origin) + static_cast<int64_t>(delta);
        self.Reach(target);
        self.pos_ = static_cast<int32_t>(std::clamp<int64_t>(target, 0, self.n_));
        return self.pos_;
    }

    static UBool HasNext(UCharIterator *pIter)
    {
        LazyUpper &self = Self(pIter);
        return self.Reach(int64_t{self.pos_} + 1);
    }

    static UBool HasPrevious(UCharIterator *pIter) { return Self(pIter).pos_ > 0; }

    static UChar32 Current(UCharIterator *pIter)
    {
        LazyUpper &self = Self(pIter);
        return self.Reach(int64_t{self.pos_} + 1) ? self.buf_[self.pos_] : U_SENTINEL;
    }

    static UChar32 Next(UCharIterator *pIter)
    {
        LazyUpper &self = Self(pIter);
        return self.Reach(int64_t{self.pos_} + 1) ? self.buf_[self.pos_++] : U_SENTINEL;
    }

    static UChar32 Previous(UCharIterator *pIter)
    {
        LazyUpper &self = Self(pIter);
        return self.pos_ > 0 ? self.buf_[--self.pos_] : U_SENTINEL;
    }

    static uint32_t GetState(const UCharIterator *pIter) { return static_cast<uint32_t>(Self(pIter).pos_); }

    static void SetState(UCharIterator *pIter, uint32_t state, UErrorCode *pStatus)
    {
        LazyUpper &self = Self(pIter);
        if (!self.Reach(state)) {
            *pStatus = U_INDEX_OUTOFBOUNDS_ERROR;
            return;
        }
        self.pos_ = static_cast<int32_t>(state);
    }

    UCharIterator iter_{};
    std::string_view src_;
    int32_t iSrc_ = 0;
    // Left uninitialised: only produced units are ever read.
    std::array<UChar, 256> inline_;
    velkc::MallocPtr<UChar> heap_;
    UChar *buf_ = inline_.data();
    int32_t cap_ = static_cast<int32_t>(inline_.size());
    int32_t n_ = 0;
    int32_t pos_ = 0;
    unsigned err_ = 0;
};

} // namespace

namespace velkc::unicode {

unsigned CollateUpper(const UCollator *pColl, std::string_view a, std::string_view b, int *pResult) noexcept
{
    LazyUpper upperA(a);
    LazyUpper upperB(b);
    UErrorCode status = U_ZERO_ERROR;
    const UCollationResult r = WithIcu([&] { return ucol_strcollIter(pColl, upperA.Iter(), upperB.Iter(), &status); });
    if (const unsigned err = upperA.Error() != 0 ? upperA.Error() : upperB.Error(); err != 0) {
        return err;
    }
    if (U_FAILURE(status)) {
        return ERR_UNICODE_FAILED;
    }
    *pResult = r == UCOL_LESS ? -1 : r == UCOL_EQUAL ? 0 : 1;
    return 0;
}

} // namespace velkc::unicode
