// The FILE suite's scratch-file fixture.
#include "kovacore_test.h"

#include <cstdio>
#include <syslog.h>

namespace {

// A missing scratch file is normal; the failure is only logged.
void RemoveLogged(const char *path)
{
    if (std::remove(path) != 0) {
        syslog(LOG_ERR, "%s:%d check failed, errmsg = %m", VELKC_SOURCE, __LINE__);
    }
}

} // namespace

extern "C" {

int CreateEmptyTestFile(void)
{
    RemoveLogged(TEST_FILE);
    RemoveLogged(TEST_FILE_TMP);
    return VELKCExec("/bin/touch", TEST_FILE, nullptr, nullptr, nullptr);
}

void RemoveTestFile(void)
{
    RemoveLogged(TEST_FILE);
    RemoveLogged(TEST_FILE_TMP);
}

} // extern "C"
