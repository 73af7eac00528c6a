// Random keys, values and items for the HASH and HASHSET suites.
#pragma once

#include "../kovacore_test.h"

// Fills rgsz with n fresh random texts; the test releases them with
// RandomTextsFree at its end.
static inline void RandomTextsGen(const char **rgsz, int n)
{
    for (int i = 0; i < n; i++) {
        rgsz[i] = RandomTextGen();
        VELK_ASSERT_PTR(rgsz[i], !=, NULL);
    }
}

static inline void RandomTextsFree(const char **rgsz, int n)
{
    for (int i = 0; i < n; i++) {
        RandomTextFree(const_cast<char *>(rgsz[i]));
    }
}

// The list holds exactly the n texts, in any order; the failure message is
// the call's own text.
#define VELK_ASSERT_LIST_SAME(call) VELK_CHECK_MSG(0 == (call), #call)
