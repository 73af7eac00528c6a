// The per-thread error record.
#include <velkc.h>

#include <gtest/gtest.h>
#include <thread>

namespace {

struct Record {
    unsigned code;
    const char *file;
    int line;
};

Record Read() { return {VELKCErrGet(), VELKCErrorGetFile(), VELKCErrorGetLine()}; }

TEST(ErrorRecord, FreshThreadStartsClear)
{
    VELKCErrSetEx(ERR_OPEN_FAILED, "main_thread", 7);
    Record seen{};
    std::thread([&] { seen = Read(); }).join();
    EXPECT_EQ(seen.code, 0u);
    EXPECT_EQ(seen.file, nullptr);
    EXPECT_EQ(seen.line, 0);
}

TEST(ErrorRecord, ThreadsDoNotSeeEachOther)
{
    VELKCErrSetEx(ERR_KEY_NOT_FOUND, "main_thread", 11);
    Record seen{};
    std::thread([&] {
        VELKCErrSetEx(ERR_BAD_PARAMETERS, "worker", 22);
        seen = Read();
    }).join();
    EXPECT_EQ(seen.code, unsigned{ERR_BAD_PARAMETERS});
    EXPECT_STREQ(seen.file, "worker");
    EXPECT_EQ(seen.line, 22);

    const Record mine = Read();
    EXPECT_EQ(mine.code, unsigned{ERR_KEY_NOT_FOUND});
    EXPECT_STREQ(mine.file, "main_thread");
    EXPECT_EQ(mine.line, 11);
}

TEST(ErrorRecord, ExportedCodeIsTheThreadsCode)
{
    VELKCErrSetEx(ERR_FORMAT_ERROR, "format", 3);
    EXPECT_EQ(kovaerrno, unsigned{ERR_FORMAT_ERROR});
    std::thread([] { EXPECT_EQ(kovaerrno, 0u); }).join();
}

TEST(ErrorRecord, SuccessLeavesTheFailureInPlace)
{
    VELKCErrSetEx(0, "test", 1);
    EXPECT_EQ(VELKCSzListGet(nullptr, 0), nullptr); // fails: bad parameters
    const Record failed = Read();
    ASSERT_EQ(failed.code, unsigned{ERR_BAD_PARAMETERS});

    SzList *list = VELKCSzListAlloc(0);
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(VELKCSzListPush(&list, "x"), 0);
    VELKCSzListFree(list);

    const Record after = Read();
    EXPECT_EQ(after.code, failed.code);
    EXPECT_STREQ(after.file, failed.file);
    EXPECT_EQ(after.line, failed.line);
}

} // namespace
