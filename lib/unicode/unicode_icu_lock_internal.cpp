// The process-wide lock around ICU calls and its fork handlers.
#include "internal/report.hpp"
#include "unicode_internal.hpp"

#include <atomic>
#include <cerrno>
#include <pthread.h>

namespace {

// The number of ICU calls under way, and a bit that a fork sets to hold the
// lock exclusively. New calls wait while the bit is set, so a fork is not
// starved by threads that keep calling ICU. A pthread rwlock will not do:
// the child must release what its parent took, and that lock records its
// writer by a thread id the child's thread no longer has.
constexpr unsigned kForking = 1u << 31;
std::atomic<unsigned> gIcuLock{0};

// Adds n to the lock word once no fork holds it or waits for it.
void AddWhenNoFork(unsigned n)
{
    unsigned state = gIcuLock.load(std::memory_order_relaxed);
    for (;;) {
        if (state & kForking) {
            gIcuLock.wait(state, std::memory_order_relaxed);
            state = gIcuLock.load(std::memory_order_relaxed);
        } else if (gIcuLock.compare_exchange_weak(state, state + n, std::memory_order_acquire,
                                                  std::memory_order_relaxed)) {
            return;
        }
    }
}

void LockBeforeFork()
{
    AddWhenNoFork(kForking);
    for (unsigned state = gIcuLock.load(std::memory_order_acquire); state != kForking;
         state = gIcuLock.load(std::memory_order_acquire)) {
        gIcuLock.wait(state, std::memory_order_acquire);
    }
}

void UnlockInParent()
{
    gIcuLock.store(0, std::memory_order_release);
    gIcuLock.notify_all();
}

// The child's thread is the only one: nobody to wake.
void UnlockInChild() { gIcuLock.store(0, std::memory_order_relaxed); }

// Registers the fork handlers before main.
struct IcuLockRegistration {
    IcuLockRegistration()
    {
        if ((errno = pthread_atfork(LockBeforeFork, UnlockInParent, UnlockInChild)) != 0) {
            VELKC_LOG(LOG_ERR, "Failed to register fork handler (%m)");
        }
    }
};

const IcuLockRegistration gRegistration;

} // namespace

namespace velkc::unicode {

IcuCall::IcuCall() noexcept { AddWhenNoFork(1); }

IcuCall::~IcuCall()
{
    // The last call a waiting fork needed to end.
    if (gIcuLock.fetch_sub(1, std::memory_order_release) == (kForking | 1)) {
        gIcuLock.notify_all();
    }
}

} // namespace velkc::unicode
