// The safe rewrite as every configuration writer uses it: the target is
// replaced whole or not at all, keeps its owner and mode, and no temporary
// file outlives the call.
#include "test_file_writers_support.hpp"

#include <cerrno>
#include <cstring>
#include <sys/mount.h>
#include <sys/stat.h>

using namespace writers_test;

namespace {

class Rewrite : public ScratchDir {};

TEST_F(Rewrite, EveryWriterKeepsOwnerGroupAndMode)
{
    // As root: a file of another user with set-id bits; else a private mode.
    const uid_t uid = IsRoot() ? 65534 : geteuid();
    const gid_t gid = IsRoot() ? 65534 : getegid();
    const mode_t mode = IsRoot() ? 06640 : 0600;
    for (const Writer &writer : AllWriters()) {
        SCOPED_TRACE(writer.name);
        const fs::path target = Path("conf");
        WriteFile(target, kBase);
        ASSERT_EQ(chown(target.c_str(), uid, gid), 0);
        ASSERT_EQ(chmod(target.c_str(), mode), 0);
        Args args;
        ASSERT_EQ(writer.call(target.c_str(), args), writer.result);
        EXPECT_NE(ReadFile(target), kBase);
        struct stat st;
        ASSERT_EQ(stat(target.c_str(), &st), 0);
        EXPECT_EQ(st.st_uid, uid);
        EXPECT_EQ(st.st_gid, gid);
        EXPECT_EQ(st.st_mode & 07777, mode);
    }
}

TEST_F(Rewrite, NoTemporaryFileStaysAndNeighboursAreUntouched)
{
    for (const Writer &writer : AllWriters()) {
        SCOPED_TRACE(writer.name);
        WriteFile(Path("conf"), kBase);
        WriteFile(Path("conf.tmp"), "sibling\n");
        WriteFile(Path("other"), "other\n");
        Args args;
        ASSERT_EQ(writer.call(Path("conf").c_str(), args), writer.result);
        EXPECT_EQ(ListDir(dir_), (std::set<std::string>{"conf", "conf.tmp", "other"}));
        EXPECT_EQ(ReadFile(Path("conf.tmp")), "sibling\n");
        EXPECT_EQ(ReadFile(Path("other")), "other\n");
    }
}

TEST_F(Rewrite, NothingToChangeLeavesTheFileAsItWas)
{
    SzList *keys = VELKCSzListAlloc(512);
    ASSERT_NE(keys, nullptr);
    ASSERT_GE(VELKCSzListPush(&keys, "nokey"), 0);
    const std::function<int(const char *)> calls[] = {
        [](const char *p) { return VELKCFileRemoveKey(p, "k"); },
        [](const char *p) { return VELKCFileAddLine(p, "zz", "x", 0); },
        [](const char *p) { return VELKCFileSetLine(p, "zz", "x", 0); },
        [&](const char *p) { return VELKCFileSetLineByKey(p, keys, "x", "="); },
        [&](const char *p) { return VELKCFileAddLineByKey(p, keys, "x", 0, "="); },
        [](const char *p) { return VELKCFileReplaceSubStr(p, "zz", "x"); },
        [](const char *p) { return VELKCFileLineComment(p, "zz", 0); },
        [](const char *p) { return VELKCFileAppendKey(p, "k1", "x", nullptr); },
        [](const char *p) { return VELKCIFileModifySection(p, "zz", nullptr, nullptr, 0, nullptr); },
    };
    WriteFile(Path("conf"), kBase);
    for (const auto &call : calls) {
        EXPECT_EQ(call(Path("conf").c_str()), 0);
        EXPECT_EQ(ReadFile(Path("conf")), kBase);
        EXPECT_EQ(ListDir(dir_), std::set<std::string>{"conf"});
    }
    VELKCSzListFree(keys);
}

TEST_F(Rewrite, DirectoryTargetIsRefusedAndNothingIsLeft)
{
    fs::create_directory(Path("conf"));
    for (const Writer &writer : AllWriters()) {
        SCOPED_TRACE(writer.name);
        Args args;
        ResetError();
        EXPECT_EQ(writer.call(Path("conf").c_str(), args), -1);
        // Appending a key treats a directory as a bad path.
        EXPECT_EQ(VELKCErrGet(), std::strcmp(writer.name, "AppendKey") == 0 ? ERR_BAD_PARAMETERS : ERR_OPEN_FAILED);
        EXPECT_EQ(ListDir(dir_), std::set<std::string>{"conf"});
        EXPECT_TRUE(fs::is_empty(Path("conf")));
    }
}

// Root only: a small file system of its own, mounted for the test.
class SmallFileSystem : public ScratchDir {
protected:
    void SetUp() override
    {
        ScratchDir::SetUp();
        if (!IsRoot()) {
            GTEST_SKIP() << "mounting a small tmpfs needs root";
        }
        mnt_ = Path("mnt");
        fs::create_directory(mnt_);
        if (mount("velkc-test", mnt_.c_str(), "tmpfs", 0, "size=64k") != 0) {
            GTEST_SKIP() << "cannot mount a tmpfs here: " << std::strerror(errno);
        }
        mounted_ = true;
    }
    void TearDown() override
    {
        if (mounted_) {
            umount2(mnt_.c_str(), MNT_DETACH);
        }
        ScratchDir::TearDown();
    }

    fs::path mnt_;
    bool mounted_ = false;
};

TEST_F(SmallFileSystem, FullFileSystemFailsTheWriteAndKeepsTheTarget)
{
    // Exactly ten pages, so an append needs a new page; the rest is filled.
    std::string content = kBase;
    content += std::string(40960 - content.size() - 1, 'x') + "\n";
    const fs::path target = mnt_ / "conf";
    WriteFile(target, content);
    ASSERT_EQ(fs::file_size(target), 40960u);
    {
        std::ofstream filler(mnt_ / "filler", std::ios::binary);
        const std::string block(4096, 'f');
        while (filler.write(block.data(), block.size())) {
        }
    }
    for (const Writer &writer : AllWriters()) {
        SCOPED_TRACE(writer.name);
        Args args;
        ResetError();
        EXPECT_EQ(writer.call(target.c_str(), args), -1);
        EXPECT_EQ(VELKCErrGet(), ERR_WRITE_FAILED);
        EXPECT_TRUE(ReadFile(target) == content);
        EXPECT_EQ(ListDir(mnt_), (std::set<std::string>{"conf", "filler"}));
    }
}

// Root only: a bind mount on the target makes the final rename fail.
TEST_F(Rewrite, FailedRenameKeepsTheTarget)
{
    if (!IsRoot()) {
        GTEST_SKIP() << "a bind mount needs root";
    }
    WriteFile(Path("conf"), kBase);
    WriteFile(Path("cover"), kBase);
    if (mount(Path("cover").c_str(), Path("conf").c_str(), nullptr, MS_BIND, nullptr) != 0) {
        GTEST_SKIP() << "cannot bind-mount here: " << std::strerror(errno);
    }
    ResetError();
    EXPECT_EQ(VELKCFileSetKeyValue(Path("conf").c_str(), "k1", "x", nullptr), -1);
    EXPECT_EQ(VELKCErrGet(), ERR_RENAME_FAILED);
    EXPECT_EQ(ListDir(dir_), (std::set<std::string>{"conf", "cover"}));

    ResetError();
    EXPECT_EQ(VELKCFileAddLine(Path("conf").c_str(), nullptr, "x", 0), -1);
    EXPECT_EQ(VELKCErrGet(), ERR_RENAME_FAILED);
    EXPECT_EQ(ListDir(dir_), (std::set<std::string>{"conf", "cover"}));

    umount2(Path("conf").c_str(), MNT_DETACH);
    EXPECT_EQ(ReadFile(Path("conf")), kBase);
}

} // namespace
