// Owning handles for the library's containers. Functions that may grow a
// container take the address of its handle and may replace the block, so the
// handle hands out that address and frees whatever block it holds last.
#pragma once

#include <velkc/hash.h>
#include <velkc/list.h>

namespace velkc {

template <typename T, void (*Free)(T *)>
class OwnedContainer {
public:
    explicit OwnedContainer(T *block) noexcept : block_(block) {}
    OwnedContainer(const OwnedContainer &) = delete;
    OwnedContainer &operator=(const OwnedContainer &) = delete;
    ~OwnedContainer() { Free(block_); }

    T *get() const noexcept { return block_; }
    T *operator->() const noexcept { return block_; }
    T **address() noexcept { return &block_; }
    explicit operator bool() const noexcept { return block_ != nullptr; }

private:
    T *block_;
};

using OwnedList = OwnedContainer<SzList, VELKCSzListFree>;
using OwnedHash = OwnedContainer<SzHash, VELKCSzHashFree>;

} // namespace velkc
