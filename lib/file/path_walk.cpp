// The walk that resolves a writer's target.
#include "path_walk.hpp"

#include "internal/report.hpp"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <linux/openat2.h>
#include <string_view>
#include <sys/syscall.h>
#include <unistd.h>
#include <utility>

namespace velkc {

namespace {

// As many links as the kernel follows in one lookup.
constexpr int kMaxLinks = 40;

constexpr int kPathFlags = O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

// "a/b/c" gives "a/b" and "c"; "c" gives "" and "c"; "/c" gives "/" and "c".
std::pair<std::string_view, std::string_view> SplitLast(std::string_view path) noexcept
{
    const std::size_t slash = path.rfind('/');
    if (slash == std::string_view::npos) {
        return {{}, path};
    }
    return {path.substr(0, slash == 0 ? 1 : slash), path.substr(slash + 1)};
}

// A component as a C string; false when it is longer than a name can be.
bool CopyName(std::string_view component, char (&name)[NAME_MAX + 1]) noexcept
{
    if (component.size() > NAME_MAX) {
        return false;
    }
    std::memcpy(name, component.data(), component.size());
    name[component.size()] = '\0';
    return true;
}

// A name that stands for a directory, never for a file to write.
bool NamesDirectory(std::string_view name) noexcept { return name.empty() || name == "." || name == ".."; }

// The directory path names, opened for reading in one call when no link
// lies on the way; an invalid descriptor otherwise, and on kernels without
// openat2, and the walk decides.
UniqueFd OpenLinkFreeDirectory(std::string_view path) noexcept
{
    char copy[PATH_MAX] = ".";
    if (path.size() >= sizeof copy) {
        return UniqueFd();
    }
    if (!path.empty()) {
        copy[path.copy(copy, path.size())] = '\0';
    }
    open_how how{};
    how.flags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
    how.resolve = RESOLVE_NO_SYMLINKS;
    return UniqueFd(static_cast<int>(syscall(SYS_openat2, AT_FDCWD, copy, &how, sizeof how)));
}

class Walk {
public:
    explicit Walk(const char *path) noexcept : path_(path), writer_(geteuid()) {}

    // Opens (O_PATH) the directory that path names, from start when it is
    // relative.
    Status Directory(int start, std::string_view path, UniqueFd &out);

    // Resolves name in dir, following a link in it, into target. dir is
    // opened for reading again unless it is already readable.
    Status Last(UniqueFd dir, bool readable, std::string_view name, ResolvedTarget &target, struct stat &st);

private:
    // Opens the directory that the link name in dir leads to.
    Status FollowToDirectory(int dir, const char *name, UniqueFd &out);

    // Checks that the link name in dir (of status link) may be read, and
    // reads it into text (PATH_MAX bytes).
    Status ReadLink(int dir, const char *name, const struct stat &link, char *text);

    // True when a link of status link may lead to a file of status to.
    bool MayLeadTo(const struct stat &link, const struct stat &to) const noexcept
    {
        return link.st_uid == writer_ || link.st_uid == 0 || to.st_uid == link.st_uid;
    }

    Status Refuse(const char *name, const struct stat &link, const char *why) const;

    const char *path_; // as the caller gave it, for the log
    uid_t writer_;
    int links_ = 0;
};

Status Walk::Refuse(const char *name, const struct stat &link, const char *why) const
{
    VELKC_LOG(LOG_ERR, "refused to follow symbolic link \"%s\" (owner %u) on the way to \"%s\": %s", name,
              static_cast<unsigned>(link.st_uid), path_, why);
    return ERR_UNSAFE_LINK;
}

Status Walk::Directory(int start, std::string_view path, UniqueFd &out)
{
    UniqueFd held;
    if (path.starts_with('/')) {
        held.reset(open("/", kPathFlags));
        if (!held) {
            return ERR_OPEN_FAILED;
        }
    }
    int current = held ? held.get() : start;
    while (!path.empty()) {
        const std::size_t slash = path.find('/');
        const std::string_view component = path.substr(0, slash);
        path.remove_prefix(slash == std::string_view::npos ? path.size() : slash + 1);
        if (component.empty() || component == ".") {
            continue;
        }
        char name[NAME_MAX + 1];
        if (!CopyName(component, name)) {
            return ERR_OPEN_FAILED;
        }
        UniqueFd next(openat(current, name, kPathFlags));
        if (!next) {
            // O_NOFOLLOW with O_DIRECTORY fails on a link to anything.
            if (errno != ENOTDIR && errno != ELOOP) {
                return ERR_OPEN_FAILED;
            }
            if (Status status = FollowToDirectory(current, name, next)) {
                return status;
            }
        }
        held = std::move(next);
        current = held.get();
    }
    out.reset(held ? held.release() : openat(start, ".", kPathFlags));
    return out ? kOk : ERR_OPEN_FAILED;
}

Status Walk::ReadLink(int dir, const char *name, const struct stat &link, char *text)
{
    if (++links_ > kMaxLinks) {
        return ERR_OPEN_FAILED;
    }
    if (link.st_uid != writer_) {
        struct stat parent;
        if (fstat(dir, &parent) != 0) {
            return ERR_OPEN_FAILED;
        }
        constexpr mode_t kShared = S_ISVTX | S_IWOTH;
        if ((parent.st_mode & kShared) == kShared && link.st_uid != parent.st_uid) {
            return Refuse(name, link, "it lies in a sticky world-writable directory whose owner did not make it");
        }
    }
    const ssize_t size = readlinkat(dir, name, text, PATH_MAX);
    if (size <= 0 || size >= PATH_MAX) {
        return ERR_OPEN_FAILED;
    }
    text[size] = '\0';
    return kOk;
}

Status Walk::FollowToDirectory(int dir, const char *name, UniqueFd &out)
{
    struct stat link;
    if (fstatat(dir, name, &link, AT_SYMLINK_NOFOLLOW) != 0 || !S_ISLNK(link.st_mode)) {
        return ERR_OPEN_FAILED;
    }
    const MallocPtr<char> text(static_cast<char *>(std::malloc(PATH_MAX)));
    if (!text) {
        return ERR_OUT_OF_MEMORY;
    }
    if (Status status = ReadLink(dir, name, link, text.get())) {
        return status;
    }
    UniqueFd target;
    if (Status status = Directory(dir, text.get(), target)) {
        return status;
    }
    struct stat st;
    if (fstat(target.get(), &st) != 0) {
        return ERR_OPEN_FAILED;
    }
    if (!MayLeadTo(link, st)) {
        return Refuse(name, link, "it leads to a directory of another owner");
    }
    out = std::move(target);
    return kOk;
}

Status Walk::Last(UniqueFd dir, bool readable, std::string_view component, ResolvedTarget &target, struct stat &st)
{
    char name[NAME_MAX + 1];
    if (NamesDirectory(component) || !CopyName(component, name)) {
        return ERR_OPEN_FAILED;
    }
    if (fstatat(dir.get(), name, &st, AT_SYMLINK_NOFOLLOW) != 0) {
        if (errno != ENOENT) {
            return ERR_OPEN_FAILED;
        }
        target.exists = false;
    } else if (S_ISLNK(st.st_mode)) {
        const struct stat link = st;
        const MallocPtr<char> text(static_cast<char *>(std::malloc(PATH_MAX)));
        if (!text) {
            return ERR_OUT_OF_MEMORY;
        }
        if (Status status = ReadLink(dir.get(), name, link, text.get())) {
            return status;
        }
        const auto [dirPath, last] = SplitLast(text.get());
        UniqueFd linkDir;
        if (Status status = Directory(dir.get(), dirPath, linkDir)) {
            return status;
        }
        if (Status status = Last(std::move(linkDir), false, last, target, st)) {
            return status;
        }
        if (!target.exists) {
            return ERR_OPEN_FAILED; // dangling: never followed to create a file
        }
        return MayLeadTo(link, st) ? kOk : Refuse(name, link, "it leads to a file of another owner");
    } else {
        target.exists = true;
    }
    // The writer reads the directory's entries' status, syncs and locks it:
    // an O_PATH descriptor can do neither.
    target.dir = readable ? std::move(dir) : UniqueFd(openat(dir.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!target.dir || fstat(target.dir.get(), &target.dirStat) != 0) {
        return ERR_OPEN_FAILED;
    }
    std::memcpy(target.name, name, sizeof name);
    return kOk;
}

} // namespace

Status ResolveTarget(const char *path, ResolvedTarget &target)
{
    Walk walk(path);
    const auto [dirPath, name] = SplitLast(path);
    UniqueFd dir = OpenLinkFreeDirectory(dirPath);
    const bool readable = static_cast<bool>(dir);
    if (!readable) {
        if (Status status = walk.Directory(AT_FDCWD, dirPath, dir)) {
            return status;
        }
    }
    struct stat st;
    return walk.Last(std::move(dir), readable, name, target, st);
}

} // namespace velkc
