// VELKCFileLockTableGet: the calling thread's table of lock files, created
// on first use, closed at thread exit and reset in forked children.
#include "internal/lock_table.hpp"
#include "internal/report.hpp"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <pthread.h>
#include <unistd.h>

namespace {

struct LockFileName {
    unsigned int bit;
    const char *path;
};

// Table order is the order VELKCFileCloseLock walks in; it is not bit order.
constexpr LockFileName kLockFiles[velkc::kLockTableLive] = {
    {0x00000800, "/run/kovasdk/lock/lock_kovainfo"},
    {0x00000010, "/run/kovasdk/lock/lock_pw"},
    {0x00000020, "/run/kovasdk/lock/lock_gr"},
    {0x00000080, "/run/kovasdk/lock/lock_rc"},
    {0x00000100, "/run/kovasdk/lock/lock_host"},
    {0x00000040, "/run/kovasdk/lock/lock_smb"},
    {0x00000200, "/run/kovasdk/lock/lock_exports"},
    {0x00000400, "/run/kovasdk/lock/lock_nw"},
    {0x00001000, "/run/kovasdk/lock/lock_apple"},
    {0x00002000, "/run/kovasdk/lock/lock_snmp"},
    {0x00004000, "/run/kovasdk/lock/lock_win"},
    {0x00008000, "/run/kovasdk/lock/lock_tapebkp"},
    {0x00010000, "/run/kovasdk/lock/lock_connect"},
    {0x00020000, "/run/kovasdk/lock/lock_usbidmap"},
    {0x00040000, "/run/kovasdk/lock/lock_duseruid"},
    {0x00080000, "/run/kovasdk/lock/lock_dusergid"},
    {0x00100000, "/run/kovasdk/lock/lock_fstab"},
    {0x00200000, "/run/kovasdk/lock/lock_hotswap"},
    {0x00400000, "/run/kovasdk/lock/lock_space"},
    {0x00800000, "/run/kovasdk/lock/lock_ttys1"},
    {0x01000000, "/run/kovasdk/lock/lock_srvmgr"},
    {0x02000000, "/run/kovasdk/lock/lock_kovamount"},
    {0x04000000, "/run/kovasdk/lock/lock_lunbkptask"},
    {0x08000000, "/run/kovasdk/lock/lock_lunbkp_env"},
    {0x10000000, "/run/kovasdk/lock/lock_pkg"},
    {0x20000000, "/run/kovasdk/lock/lock_ftp_currlog"},
    {0x40000000, "/run/kovasdk/lock/lock_sshd_refernce"},
    {0x80000000, "/run/kovasdk/lock/lock_sftp_currlog"},
};

pthread_key_t gLockTableKey;

// Key destructor: runs at thread exit.
void DestroyTable(void *p)
{
    auto *table = static_cast<VELKCFileLock *>(p);
    velkc::ResetLockEntries(
        table, [](std::FILE *f) noexcept { return std::fclose(f) == 0; }, velkc::LockWords::kBoth);
    std::free(table);
}

// Creates the key and registers the fork handler before main.
struct LockTableRegistration {
    LockTableRegistration()
    {
        if ((errno = pthread_key_create(&gLockTableKey, DestroyTable)) != 0) {
            VELKC_LOG(LOG_ERR, "Failed to create key (%m)");
        }
        // Only the forking thread lives on in a child, and it holds none of
        // the parent's locks.
        if ((errno = pthread_atfork(nullptr, nullptr, velkc::ResetLockTableInChild)) != 0) {
            VELKC_LOG(LOG_ERR, "Failed to register fork handler (%m)");
        }
    }
};

const LockTableRegistration gRegistration;

} // namespace

// A child of a threaded process may neither free memory nor take the stdio
// locks that fclose needs (another thread may have held them at the fork),
// so the streams are left allocated: closing their descriptors is what
// gives the locks up.
void velkc::ResetLockTableInChild() noexcept
{
    if (auto *table = static_cast<VELKCFileLock *>(pthread_getspecific(gLockTableKey))) {
        ResetLockEntries(
            table, [](std::FILE *f) noexcept { return close(fileno(f)) == 0; }, LockWords::kBoth);
    }
}

bool velkc::ResetLockEntries(VELKCFileLock *table, bool (*closeFile)(std::FILE *) noexcept, LockWords words) noexcept
{
    bool closed = true;
    for (int i = 0; i < kLockTableLive; ++i) {
        if (table[i].pFile != nullptr) {
            closed = closeFile(table[i].pFile) && closed;
            table[i].pFile = nullptr;
        }
        table[i].nLock = 0;
        if (words == LockWords::kBoth) {
            table[i].nLock2 = 0;
        }
    }
    return closed;
}

int velkc::LockTableFds(int (&fds)[kLockTableLive]) noexcept
{
    int n = 0;
    if (const auto *table = static_cast<const VELKCFileLock *>(pthread_getspecific(gLockTableKey))) {
        for (int i = 0; i < kLockTableLive; ++i) {
            if (table[i].pFile != nullptr) {
                fds[n++] = fileno(table[i].pFile);
            }
        }
    }
    return n;
}

extern "C" void *VELKCFileLockTableGet(void) noexcept
{
    if (void *table = pthread_getspecific(gLockTableKey)) {
        return table;
    }
    auto *table = static_cast<VELKCFileLock *>(std::calloc(velkc::kLockTableSize, sizeof(VELKCFileLock)));
    if (table == nullptr) {
        VELKC_LOG(LOG_ERR, "Failed to create lock table (%m)");
        VELKC_SET_ERR(ERR_OUT_OF_MEMORY);
        return nullptr;
    }
    for (int i = 0; i < velkc::kLockTableLive; ++i) {
        table[i].szPath = kLockFiles[i].path;
        table[i].uBit = kLockFiles[i].bit;
    }
    table[velkc::kLockTableLive].szPath = "";
    if ((errno = pthread_setspecific(gLockTableKey, table)) != 0) {
        VELKC_LOG(LOG_ERR, "Failed to set thread specific data (%m)");
        VELKC_SET_ERR(errno == ENOMEM ? ERR_OUT_OF_MEMORY : ERR_OPERATION_FAILED);
        DestroyTable(table);
        return nullptr;
    }
    return table;
}
