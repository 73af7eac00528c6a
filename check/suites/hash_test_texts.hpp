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

// Random keys and values for n pairs, released with RandomPairsFree.
static inline void RandomPairsGen(const char **rgszKey, const char **rgszVal, int n)
{
    RandomTextsGen(rgszKey, n);
    RandomTextsGen(rgszVal, n);
}

static inline void RandomPairsFree(const char **rgszKey, const char **rgszVal, int n)
{
    RandomTextsFree(rgszKey, n);
    RandomTextsFree(rgszVal, n);
}

// A check run on the table after pair i has been set.
typedef void (*PairCheckFn)(const SzHash *pshHash, const char **rgszKey, const char **rgszVal, int i);

// Sets the n pairs in order, each call asserted to succeed without an
// error, and runs fnAfter (when given) after each one. The table is taken
// by reference because growth moves it.
static inline void HashSetPairs(SzHash *&pshHash, const char **rgszKey, const char **rgszVal, int n,
                                PairCheckFn fnAfter)
{
    for (int i = 0; i < n; i++) {
        VELK_RESET();
        VELK_ASSERT_INT_ERR(VELKCSzHashSetValue(&pshHash, rgszKey[i], rgszVal[i]), !=, -1);
        VELK_ASSERT_ERR(ERR_SUCCESS);
        if (fnAfter != NULL) {
            fnAfter(pshHash, rgszKey, rgszVal, i);
        }
    }
}

// Pair i was the (i + 1)th one set.
static inline void AssertPairCount(const SzHash *pshHash, const char **, const char **, int i)
{
    VELK_ASSERT_INT_ERR(VELKCSzHashPairNum(pshHash), ==, i + 1);
    VELK_ASSERT_ERR(ERR_SUCCESS);
}

// The value of key i reads back.
static inline void AssertValueOf(const SzHash *pshHash, const char **rgszKey, const char **rgszVal, int i)
{
    VELK_RESET();
    const char *szVal = VELKCSzHashGetValue(pshHash, rgszKey[i]);
    VELK_ASSERT_ERR(ERR_SUCCESS);
    VELK_ASSERT_STR(szVal, rgszVal[i]);
}

// The list holds exactly the n texts, in any order; the failure message is
// the call's own text.
#define VELK_ASSERT_LIST_SAME(call) VELK_CHECK_MSG(0 == (call), #call)
