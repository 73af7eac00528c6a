// The power fails while a writer works: whatever the file system keeps, the
// target is the old file or the new one, and calling the writer again
// finishes the change.
//
// A writer's file system calls are recorded as the kernel sees them (see
// fault_interposer.hpp): each descriptor stands for the inode it is open
// on, and the changes are replayed on a model of the target's directory,
// the inodes found there and those made there. After the first k calls the
// power fails, and a file system may keep:
// - of the data written to a file and not yet synced (fsync, fdatasync),
//   any of the 4 KiB blocks written, each old or new, and the old size, the
//   new one or one at a block boundary between;
// - of the owner, mode and extended attributes of a file not yet synced by
//   its fsync, and of the names linked, renamed, made and removed in a
//   directory not yet synced by the directory's fsync, any of these changes,
//   each kept or lost whatever became of the others.
// Every such state (sampled where there are too many) is rebuilt on disk
// and checked: the target is the old file or the new one (content, owner,
// mode, extended attributes), a reader finds the old or the new answer, and
// a second call of the writer returns what it returns after a successful
// first call (on the new file) or on the old file, and leaves what one call
// on the old file leaves.
#include "fault_interposer.hpp"
#include "file_support.hpp"
#include "internal.hpp"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <map>
#include <optional>
#include <random>
#include <string_view>
#include <sys/xattr.h>
#include <unordered_set>

using namespace test;

namespace {

constexpr char kTarget[] = "conf";
constexpr std::size_t kBlock = 4096;
// Choices among up to this many unsynced changes are all tried, among more
// they are sampled.
constexpr std::size_t kAllSubsetsUpTo = 6;
constexpr std::size_t kSamples = 64;
// Sizes at block boundaries tried between the old size and the new.
constexpr std::size_t kBoundaries = 4;
// Violations listed for each writer.
constexpr std::size_t kListed = 4;
constexpr uid_t kOwner = 1234;
constexpr gid_t kGroup = 1234;
constexpr mode_t kMode = 0640;
constexpr char kAttr[] = "user.velkc-test";

// kBase after comment lines, ending 2 bytes before a block boundary, so
// that whatever a writer appends crosses it.
const std::string kPadded = [] {
    constexpr std::size_t kSize = kBlock - 2;
    std::string text;
    while (kSize - text.size() - kBase.size() > 100) {
        text += "#" + std::string(98, 'x') + "\n";
    }
    return text + "#" + std::string(kSize - text.size() - kBase.size() - 2, 'x') + "\n" + kBase;
}();

using Xattrs = std::map<std::string, std::string>;

// A file or directory as a state holds it.
struct Node {
    char type = 'f'; // 'f' a regular file, 'd' a directory, 'o' anything else
    std::string content;
    uid_t uid = 0;
    gid_t gid = 0;
    mode_t mode = 0; // permission and set-id bits
    Xattrs xattrs;

    bool operator==(const Node &) const = default;
};

// A directory and what lies under it, by path relative to it ("" itself).
using Tree = std::map<std::string, Node>;

Xattrs ReadXattrs(const std::function<ssize_t(char *, std::size_t)> &list,
                  const std::function<ssize_t(const char *, char *, std::size_t)> &get)
{
    Xattrs xattrs;
    std::string names(65536, '\0');
    const ssize_t size = list(names.data(), names.size());
    for (ssize_t at = 0; at < size; at += static_cast<ssize_t>(std::strlen(names.data() + at)) + 1) {
        std::string value(65536, '\0');
        const ssize_t length = get(names.data() + at, value.data(), value.size());
        value.resize(static_cast<std::size_t>(std::max<ssize_t>(length, 0)));
        xattrs[names.data() + at] = value;
    }
    return xattrs;
}

Xattrs XattrsOf(int fd)
{
    return ReadXattrs(
        [fd](char *list, std::size_t size) { return flistxattr(fd, list, size); },
        [fd](const char *name, char *value, std::size_t size) { return fgetxattr(fd, name, value, size); });
}

Xattrs XattrsAt(const fs::path &path)
{
    return ReadXattrs(
        [&](char *list, std::size_t size) { return llistxattr(path.c_str(), list, size); },
        [&](const char *name, char *value, std::size_t size) { return lgetxattr(path.c_str(), name, value, size); });
}

Node NodeOf(const struct stat &st)
{
    Node node;
    node.type = S_ISREG(st.st_mode) ? 'f' : S_ISDIR(st.st_mode) ? 'd' : 'o';
    node.uid = st.st_uid;
    node.gid = st.st_gid;
    node.mode = st.st_mode & 07777;
    return node;
}

// What lies at path, if anything.
std::optional<Node> NodeAt(const fs::path &path)
{
    struct stat st;
    if (lstat(path.c_str(), &st) != 0) {
        return std::nullopt;
    }
    Node node = NodeOf(st);
    node.xattrs = XattrsAt(path);
    if (node.type == 'f') {
        node.content = ReadFile(path);
    }
    return node;
}

void SnapshotInto(Tree &tree, const fs::path &dir, const std::string &prefix)
{
    for (const std::string &name : ListDir(dir)) {
        const std::string path = prefix + name;
        tree[path] = *NodeAt(dir / name);
        if (tree[path].type == 'd') {
            SnapshotInto(tree, dir / name, path + "/");
        }
    }
}

Tree Snapshot(const fs::path &dir)
{
    Tree tree{{"", *NodeAt(dir)}};
    SnapshotInto(tree, dir, "");
    return tree;
}

// The tree as one text, equal for equal trees only.
std::string Serialized(const Tree &tree)
{
    std::string text;
    const auto field = [&text](std::string_view bytes) {
        text.append(std::to_string(bytes.size())).append(":").append(bytes);
    };
    for (const auto &[path, node] : tree) {
        field(path);
        field(std::string(1, node.type));
        field(node.content);
        field(std::to_string(node.uid) + ":" + std::to_string(node.gid) + ":" + std::to_string(node.mode));
        for (const auto &[name, value] : node.xattrs) {
            field(name);
            field(value);
        }
        text += ";";
    }
    return text;
}

// Throws for a failed call of the test's own.
void Must(int result, const std::string &what)
{
    if (result != 0) {
        throw std::system_error(errno, std::generic_category(), what);
    }
}

// Makes dir hold tree.
void Rebuild(const Tree &tree, const fs::path &dir)
{
    Must(mkdir(dir.c_str(), 0700), "mkdir " + dir.string());
    for (const auto &[path, node] : tree) {
        if (path.empty()) {
            continue;
        }
        if (node.type == 'd') {
            Must(mkdir((dir / path).c_str(), 0700), "mkdir " + path);
        } else if (node.type == 'f') {
            WriteFile(dir / path, node.content);
        } else {
            throw std::runtime_error("cannot rebuild " + path);
        }
    }
    // Children before their directory, whose mode may keep them out.
    for (auto it = tree.rbegin(); it != tree.rend(); ++it) {
        const fs::path path = it->first.empty() ? dir : dir / it->first;
        const Node &node = it->second;
        for (const auto &[name, value] : node.xattrs) {
            Must(lsetxattr(path.c_str(), name.c_str(), value.data(), value.size(), 0), "lsetxattr " + name);
        }
        if (IsRoot()) {
            Must(lchown(path.c_str(), node.uid, node.gid), "lchown " + path.string());
        }
        Must(chmod(path.c_str(), node.mode), "chmod " + path.string());
    }
}

// Text as a listing shows it: escaped, and only the end of a long one.
std::string Quoted(std::string_view text)
{
    constexpr std::size_t kShown = 24;
    std::string shown = text.size() > kShown ? "\"..." : "\"";
    for (const char c : text.substr(text.size() > kShown ? text.size() - kShown : 0)) {
        shown += c == '\n' ? std::string("\\n") : c == '\0' ? std::string("\\0") : std::string(1, c);
    }
    return shown + "\"";
}

std::string Octal(mode_t mode)
{
    char text[16];
    std::snprintf(text, sizeof text, "0%o", static_cast<unsigned>(mode));
    return text;
}

std::string Hex(unsigned code)
{
    char text[16];
    std::snprintf(text, sizeof text, "0x%04X", code);
    return text;
}

std::string Described(const std::optional<Node> &node)
{
    if (!node) {
        return "missing";
    }
    if (node->type != 'f') {
        return "not a regular file";
    }
    std::string text = std::to_string(node->content.size()) + " bytes ending " + Quoted(node->content) + " mode " +
                       Octal(node->mode) + " owner " + std::to_string(node->uid) + ":" + std::to_string(node->gid);
    for (const auto &[name, value] : node->xattrs) {
        text += " " + name;
    }
    return text;
}

// A change the model replays, in the order the calls made them.
struct Op {
    enum class Kind { kData, kAttr, kNames, kSync };
    Kind kind;
    int inode; // the file or directory changed or synced
    std::string text;
    // kData and kAttr: the change, made to the inode's node.
    std::function<void(Node &)> apply = {};
    // kData: the bytes it touches.
    long long from = 0;
    long long to = 0;
    // kNames: names in the directory set to an inode, or removed (-1).
    std::vector<std::pair<std::string, int>> names = {};
    // kSync: of the data alone (fdatasync).
    bool dataOnly = false;
};

struct Inode {
    Node node; // as it was created (or found)
    std::string label;
    std::map<std::string, int> names; // of a directory, as found
};

// The calls of a writer, as changes to the model of its directory: the
// inodes under it, the inodes made there, and what became of them.
class Recording final : public fault::Observer {
public:
    explicit Recording(const fs::path &root)
    {
        struct stat st;
        Must(lstat(root.c_str(), &st), "lstat " + root.string());
        root_ = Add(*NodeAt(root), "the directory", st);
        Scan(root, root_);
    }

    void Saw(const fault::Call &call) noexcept override
    {
        if (call.result < 0) {
            return; // a failed call changed nothing
        }
        try {
            Translate(call);
        } catch (const std::exception &e) {
            problems.push_back(std::string(call.name) + ": " + e.what());
        }
    }

    int root() const { return root_; }
    const std::vector<Inode> &inodes() const { return inodes_; }
    const std::vector<Op> &ops() const { return ops_; }
    // What the recording could not follow.
    std::vector<std::string> problems;

private:
    using Key = std::pair<dev_t, ino_t>;

    int Add(Node node, std::string label, const struct stat &st)
    {
        const int id = static_cast<int>(inodes_.size());
        size_.push_back(static_cast<long long>(node.content.size()));
        inodes_.push_back({std::move(node), std::move(label), {}});
        ids_[{st.st_dev, st.st_ino}] = id; // a reused inode number is a new inode
        if (S_ISDIR(st.st_mode)) {
            view_[id] = {};
        }
        return id;
    }

    void Scan(const fs::path &dir, int id)
    {
        for (const std::string &name : ListDir(dir)) {
            struct stat st;
            Must(lstat((dir / name).c_str(), &st), "lstat " + name);
            const int child = Add(*NodeAt(dir / name), "old " + name, st);
            inodes_[id].names[name] = child;
            view_[id][name] = child;
            if (S_ISDIR(st.st_mode)) {
                Scan(dir / name, child);
            }
        }
    }

    int Known(const struct stat &st) const
    {
        const auto it = ids_.find({st.st_dev, st.st_ino});
        return it != ids_.end() ? it->second : -1;
    }

    int KnownFd(int fd) const
    {
        struct stat st;
        return fstat(fd, &st) == 0 ? Known(st) : -1;
    }

    // An inode made outside the model: its number, if the model had it,
    // was that of an inode since freed.
    void Forget(const struct stat &st) { ids_.erase({st.st_dev, st.st_ino}); }

    bool Named(int id) const
    {
        return std::ranges::any_of(view_, [id](const auto &dir) {
            return std::ranges::any_of(dir.second, [id](const auto &entry) { return entry.second == id; });
        });
    }

    // The model's directory that holds path's last component, or -1 when it
    // lies outside the model, and that component.
    std::pair<int, std::string> Parent(int dirfd, const char *path) const
    {
        std::string p = path;
        while (p.size() > 1 && p.back() == '/') {
            p.pop_back();
        }
        const std::size_t slash = p.rfind('/');
        struct stat st;
        int result;
        if (slash == std::string::npos) {
            result = dirfd == AT_FDCWD ? stat(".", &st) : fstat(dirfd, &st);
        } else {
            result = fstatat(dirfd, slash == 0 ? "/" : p.substr(0, slash).c_str(), &st, 0);
        }
        const int dir = result == 0 ? Known(st) : -1;
        return {view_.contains(dir) ? dir : -1, slash == std::string::npos ? p : p.substr(slash + 1)};
    }

    void Push(Op op)
    {
        if (op.kind == Op::Kind::kNames) {
            for (const auto &[name, id] : op.names) {
                if (id < 0) {
                    view_[op.inode].erase(name);
                } else {
                    view_[op.inode][name] = id;
                }
            }
        }
        ops_.push_back(std::move(op));
    }

    void Data(int id, std::string text, long long from, long long to, long long size, std::function<void(Node &)> apply)
    {
        size_[id] = size;
        Push({Op::Kind::kData, id, std::move(text), std::move(apply), from, to});
    }

    void Attr(int fd, std::string text, std::function<void(Node &)> apply)
    {
        if (const int id = KnownFd(fd); id >= 0) {
            Push({Op::Kind::kAttr, id, text + " " + inodes_[id].label, std::move(apply)});
        }
    }

    void Names(int dir, std::string text, std::vector<std::pair<std::string, int>> names)
    {
        Push({Op::Kind::kNames, dir, std::move(text), {}, 0, 0, std::move(names)});
    }

    static void Write(Node &node, long long offset, const std::string &bytes)
    {
        const auto end = static_cast<std::size_t>(offset) + bytes.size();
        if (node.content.size() < end) {
            node.content.resize(end, '\0');
        }
        node.content.replace(static_cast<std::size_t>(offset), bytes.size(), bytes);
    }

    void Truncate(int id, const std::string &call, long long length)
    {
        Data(id, call + " " + inodes_[id].label + " to " + std::to_string(length), std::min(size_[id], length),
             std::max(size_[id], length), length,
             [length](Node &node) { node.content.resize(static_cast<std::size_t>(length)); });
    }

    void Open(const fault::Call &call)
    {
        const int fd = static_cast<int>(call.result);
        struct stat st;
        Must(fstat(fd, &st), "fstat");
        if ((call.flags & O_TMPFILE) == O_TMPFILE) {
            struct stat dir;
            if (fstatat(call.fd, call.path, &dir, 0) == 0 && view_.contains(Known(dir))) {
                Node node = NodeOf(st);
                node.xattrs = XattrsOf(fd);
                Add(node, "unnamed file " + std::to_string(++unnamed_), st);
            } else {
                Forget(st);
            }
            return;
        }
        if (call.flags & O_CREAT) {
            const auto [dir, name] = Parent(call.fd, call.path);
            if (dir >= 0 && !view_[dir].contains(name)) {
                Node node = NodeOf(st);
                node.xattrs = XattrsOf(fd);
                const int id = Add(node, name, st);
                Names(dir, std::string(call.name) + " O_CREAT " + name, {{name, id}});
                return;
            }
            if (dir >= 0 && view_[dir][name] != Known(st)) {
                throw std::runtime_error("opened " + name + ", not the file the model has under that name");
            }
            if (dir < 0 && Known(st) >= 0 && !Named(Known(st))) {
                Forget(st);
            }
        }
        if (const int id = Known(st); id >= 0 && (call.flags & O_TRUNC)) {
            Truncate(id, std::string(call.name) + " O_TRUNC", 0);
        }
    }

    void Translate(const fault::Call &call)
    {
        const std::string_view name = call.name;
        if (name == "open" || name == "openat") {
            Open(call);
        } else if (name == "write" || name == "pwrite" || name == "pwrite64") {
            const int id = KnownFd(call.fd);
            if (id < 0 || call.result == 0) {
                return;
            }
            const long long offset = call.offset >= 0 ? call.offset : lseek(call.fd, 0, SEEK_CUR) - call.result;
            std::string bytes(static_cast<const char *>(call.data), static_cast<std::size_t>(call.result));
            Data(id,
                 std::string(name) + " " + inodes_[id].label + " " + std::to_string(call.result) + " bytes at " +
                     std::to_string(offset),
                 offset, offset + call.result, std::max(size_[id], offset + call.result),
                 [offset, bytes](Node &node) { Write(node, offset, bytes); });
        } else if (name == "ftruncate") {
            if (const int id = KnownFd(call.fd); id >= 0) {
                Truncate(id, "ftruncate", call.offset);
            }
        } else if (name == "fchown") {
            const long long uid = call.uid;
            const long long gid = call.gid;
            Attr(call.fd, "fchown " + std::to_string(uid) + ":" + std::to_string(gid), [uid, gid](Node &node) {
                node.uid = uid >= 0 ? static_cast<uid_t>(uid) : node.uid;
                node.gid = gid >= 0 ? static_cast<gid_t>(gid) : node.gid;
            });
        } else if (name == "fchmod") {
            const mode_t mode = call.mode & 07777;
            Attr(call.fd, "fchmod " + Octal(mode), [mode](Node &node) { node.mode = mode; });
        } else if (name == "fsetxattr") {
            std::string attr = call.attr;
            std::string value(static_cast<const char *>(call.data), call.size);
            Attr(call.fd, "fsetxattr " + attr, [attr, value](Node &node) { node.xattrs[attr] = value; });
        } else if (name == "fremovexattr") {
            std::string attr = call.attr;
            Attr(call.fd, "fremovexattr " + attr, [attr](Node &node) { node.xattrs.erase(attr); });
        } else if (name == "fsync" || name == "fdatasync") {
            // A directory's names are its data: fdatasync syncs them too.
            if (const int id = KnownFd(call.fd); id >= 0) {
                Push({Op::Kind::kSync,
                      id,
                      std::string(name) + " " + inodes_[id].label,
                      {},
                      0,
                      0,
                      {},
                      name == "fdatasync" && !view_.contains(id)});
            }
        } else if (name == "link" || name == "linkat") {
            const auto [dir, to] = Parent(call.fd2, call.path2);
            struct stat st;
            if (dir < 0 || fstatat(call.fd2, call.path2, &st, AT_SYMLINK_NOFOLLOW) != 0) {
                return;
            }
            const int id = Known(st);
            if (id < 0) {
                throw std::runtime_error("linked a file the model does not hold as " + to);
            }
            Names(dir, std::string(name) + " " + inodes_[id].label + " as " + to, {{to, id}});
        } else if (name == "rename" || name == "renameat" || name == "renameat2") {
            Rename(call);
        } else if (name == "unlink" || name == "unlinkat" || name == "rmdir") {
            if (const auto [dir, gone] = Parent(call.fd, call.path); dir >= 0) {
                Names(dir, std::string(name) + " " + gone, {{gone, -1}});
            }
        } else if (name == "mkdir" || name == "mkdirat") {
            const auto [dir, made] = Parent(call.fd, call.path);
            const velkc::UniqueFd fd(openat(call.fd, call.path, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
            struct stat st;
            Must(fstat(fd.get(), &st), "fstat " + made);
            if (dir < 0) {
                Forget(st);
                return;
            }
            Node node = NodeOf(st);
            node.xattrs = XattrsOf(fd.get());
            Names(dir, std::string(name) + " " + made, {{made, Add(node, made + "/", st)}});
        }
    }

    void Rename(const fault::Call &call)
    {
        const auto [from, oldName] = Parent(call.fd, call.path);
        const auto [to, newName] = Parent(call.fd2, call.path2);
        if (from < 0 && to < 0) {
            return;
        }
        const auto at = [this](int dir, const std::string &name) {
            const auto it = view_[dir].find(name);
            return it != view_[dir].end() ? it->second : -1;
        };
        const int moved = from >= 0 ? at(from, oldName) : -1;
        const bool exchange = call.flags & RENAME_EXCHANGE;
        const int other = exchange && to >= 0 ? at(to, newName) : -1;
        if ((to >= 0 && moved < 0) || (exchange && from >= 0 && other < 0)) {
            throw std::runtime_error("renamed a file the model does not hold to " + newName);
        }
        const std::string text = std::string(call.name) + " " + oldName + " to " + newName;
        if (from == to) {
            Names(from, text, {{oldName, other}, {newName, moved}});
            return;
        }
        // Across directories each directory's half is synced with it.
        if (from >= 0) {
            Names(from, text + " (from " + inodes_[from].label + ")", {{oldName, other}});
        }
        if (to >= 0) {
            Names(to, text + " (into " + inodes_[to].label + ")", {{newName, moved}});
        }
    }

    std::vector<Inode> inodes_;
    std::vector<Op> ops_;
    std::map<Key, int> ids_;
    std::map<int, std::map<std::string, int>> view_; // the directories' names now
    std::vector<long long> size_;                    // the files' sizes now
    int root_ = -1;
    int unnamed_ = 0;
};

// Up to kSamples subsets of n items (true: chosen), all of them when n is
// small; among sampled ones always none, all, and all but one.
std::vector<std::vector<bool>> Subsets(std::size_t n, std::mt19937 &random)
{
    std::vector<std::vector<bool>> subsets;
    if (n <= kAllSubsetsUpTo) {
        for (unsigned mask = 0; mask < (1u << n); ++mask) {
            std::vector<bool> chosen(n);
            for (std::size_t i = 0; i < n; ++i) {
                chosen[i] = (mask >> i) & 1u;
            }
            subsets.push_back(chosen);
        }
        return subsets;
    }
    subsets.emplace_back(n, false);
    subsets.emplace_back(n, true);
    for (std::size_t i = 0; i < n && subsets.size() < kSamples; ++i) {
        subsets.emplace_back(n, true);
        subsets.back()[i] = false;
    }
    std::bernoulli_distribution coin;
    while (subsets.size() < kSamples) {
        std::vector<bool> chosen(n);
        for (std::size_t i = 0; i < n; ++i) {
            chosen[i] = coin(random);
        }
        subsets.push_back(chosen);
    }
    return subsets;
}

using Names = std::vector<std::map<std::string, int>>;

// The inodes reachable from root through names, by path ("" root itself).
std::vector<std::pair<std::string, int>> Reached(int root, const Names &names)
{
    std::vector<std::pair<std::string, int>> reached = {{"", root}};
    for (std::size_t r = 0; r < reached.size(); ++r) {
        const auto [path, id] = reached[r];
        for (const auto &[name, child] : names[id]) {
            reached.emplace_back(path.empty() ? name : path + "/" + name, child);
        }
        if (reached.size() > 10000) {
            throw std::runtime_error("a directory holds itself");
        }
    }
    return reached;
}

// Applies an attribute or name change.
void Apply(const Op &op, std::vector<Node> &nodes, Names &names)
{
    if (op.kind == Op::Kind::kAttr) {
        op.apply(nodes[op.inode]);
    }
    for (const auto &[name, id] : op.names) {
        if (id < 0) {
            names[op.inode].erase(name);
        } else {
            names[op.inode][name] = id;
        }
    }
}

// The model as the recorded calls left it, every change kept.
Tree Final(const Recording &rec)
{
    std::vector<Node> nodes;
    Names names;
    for (const Inode &inode : rec.inodes()) {
        nodes.push_back(inode.node);
        names.push_back(inode.names);
    }
    for (const Op &op : rec.ops()) {
        if (op.kind == Op::Kind::kData) {
            op.apply(nodes[op.inode]);
        } else {
            Apply(op, nodes, names);
        }
    }
    Tree tree;
    for (const auto &[path, id] : Reached(rec.root(), names)) {
        tree.emplace(path, nodes[id]);
    }
    return tree;
}

// A content a file may be left with, and how it came about ("" all new).
struct Content {
    std::string bytes;
    std::string how;
};

// The contents a file may keep when the power fails after its data ops
// before synced (durable) and dirty (issued, not synced).
std::vector<Content> Contents(const Inode &inode, const std::vector<const Op *> &durable,
                              const std::vector<const Op *> &dirty, std::mt19937 &random)
{
    Node base = inode.node;
    for (const Op *op : durable) {
        op->apply(base);
    }
    Node issued = base;
    std::set<std::size_t> sizes = {base.content.size()};
    std::set<std::size_t> blocks;
    for (const Op *op : dirty) {
        op->apply(issued);
        sizes.insert(issued.content.size());
        for (auto b = static_cast<std::size_t>(op->from) / kBlock;
             op->to > op->from && b <= static_cast<std::size_t>(op->to - 1) / kBlock; ++b) {
            blocks.insert(b);
        }
    }
    if (dirty.empty()) {
        return {{issued.content, ""}};
    }
    std::vector<std::size_t> boundaries;
    for (std::size_t at = (*sizes.begin() / kBlock + 1) * kBlock; at < *sizes.rbegin(); at += kBlock) {
        boundaries.push_back(at);
    }
    for (std::size_t i = 0; i < boundaries.size(); ++i) {
        if (i < kBoundaries / 2 || i + kBoundaries / 2 >= boundaries.size()) {
            sizes.insert(boundaries[i]);
        }
    }
    const std::vector<std::size_t> dirtyBlocks(blocks.begin(), blocks.end());
    std::vector<Content> contents = {{issued.content, ""}};
    std::set<std::string> seen = {issued.content};
    for (const std::vector<bool> &kept : Subsets(dirtyBlocks.size(), random)) {
        std::set<std::size_t> fresh;
        std::string lost;
        for (std::size_t i = 0; i < dirtyBlocks.size(); ++i) {
            if (kept[i]) {
                fresh.insert(dirtyBlocks[i]);
            } else {
                lost += (lost.empty() ? "" : ",") + std::to_string(dirtyBlocks[i]);
            }
        }
        for (const std::size_t size : sizes) {
            std::string bytes(size, '\0');
            for (std::size_t at = 0; at < size; at += kBlock) {
                const std::string &from = fresh.contains(at / kBlock) ? issued.content : base.content;
                if (at < from.size()) {
                    bytes.replace(at, std::min({kBlock, size - at, from.size() - at}), from, at,
                                  std::min({kBlock, size - at, from.size() - at}));
                }
            }
            if (seen.insert(bytes).second) {
                contents.push_back({bytes, inode.label + ": " + (lost.empty() ? "" : "block " + lost + " old, ") +
                                               "size " + std::to_string(size) + " (written up to " +
                                               std::to_string(issued.content.size()) + ")"});
            }
        }
    }
    return contents;
}

// Every state (up to sampling) the recorded directory may be left in by a
// power cut, each handed to visit with a way to tell how it came about.
void PowerCuts(const Recording &rec,
               const std::function<void(const Tree &, const std::function<std::string()> &)> &visit)
{
    const std::vector<Op> &ops = rec.ops();
    const std::vector<Inode> &inodes = rec.inodes();
    std::mt19937 random(1);
    for (std::size_t k = 0; k <= ops.size(); ++k) {
        // The last sync of each inode before the cut: of everything, of data.
        std::vector<long> synced(inodes.size(), -1);
        std::vector<long> dataSynced(inodes.size(), -1);
        for (std::size_t j = 0; j < k; ++j) {
            if (ops[j].kind == Op::Kind::kSync) {
                dataSynced[ops[j].inode] = static_cast<long>(j);
                if (!ops[j].dataOnly) {
                    synced[ops[j].inode] = static_cast<long>(j);
                }
            }
        }
        std::vector<std::size_t> unsynced; // attribute and name changes
        std::vector<bool> durable(k);
        std::vector<std::vector<const Op *>> durableData(inodes.size());
        std::vector<std::vector<const Op *>> dirtyData(inodes.size());
        for (std::size_t j = 0; j < k; ++j) {
            const Op &op = ops[j];
            const long last = op.kind == Op::Kind::kData ? dataSynced[op.inode] : synced[op.inode];
            durable[j] = static_cast<long>(j) < last;
            if (op.kind == Op::Kind::kData) {
                (durable[j] ? durableData : dirtyData)[op.inode].push_back(&op);
            } else if (op.kind != Op::Kind::kSync && !durable[j]) {
                unsynced.push_back(j);
            }
        }
        std::vector<std::vector<Content>> contents(inodes.size());
        for (std::size_t i = 0; i < inodes.size(); ++i) {
            if (inodes[i].node.type == 'f') {
                contents[i] = Contents(inodes[i], durableData[i], dirtyData[i], random);
            }
        }
        const std::string cut = k == 0 ? "cut before the first call"
                                       : "cut after " + std::to_string(k) + " of " + std::to_string(ops.size()) + " (" +
                                             ops[k - 1].text + ")";
        for (const std::vector<bool> &kept : Subsets(unsynced.size(), random)) {
            std::vector<bool> applied = durable;
            std::string lost;
            for (std::size_t u = 0; u < unsynced.size(); ++u) {
                applied[unsynced[u]] = kept[u];
                if (!kept[u]) {
                    lost += (lost.empty() ? "; lost: " : ", ") + ops[unsynced[u]].text;
                }
            }
            std::vector<Node> nodes;
            Names names;
            for (const Inode &inode : inodes) {
                nodes.push_back(inode.node);
                names.push_back(inode.names);
            }
            for (std::size_t j = 0; j < k; ++j) {
                if (applied[j] && ops[j].kind != Op::Kind::kData) {
                    Apply(ops[j], nodes, names);
                }
            }
            const std::vector<std::pair<std::string, int>> reached = Reached(rec.root(), names);
            // Each reached file's content choices, combined up to kSamples times.
            std::vector<std::size_t> choosing;
            std::size_t combinations = 1;
            for (std::size_t r = 0; r < reached.size(); ++r) {
                const std::size_t n = contents[reached[r].second].size();
                if (n > 1) {
                    choosing.push_back(r);
                    combinations = std::min(combinations * n, kSamples + 1);
                }
            }
            for (std::size_t c = 0; c < std::min(combinations, kSamples); ++c) {
                std::vector<std::size_t> pick(reached.size(), 0);
                for (std::size_t rest = c; const std::size_t r : choosing) {
                    const std::size_t n = contents[reached[r].second].size();
                    pick[r] = combinations <= kSamples ? rest % n : (c == 0 ? 0 : random() % n);
                    rest /= n;
                }
                Tree tree;
                for (std::size_t r = 0; r < reached.size(); ++r) {
                    const auto &[path, id] = reached[r];
                    Node node = nodes[id];
                    if (node.type == 'f') {
                        node.content = contents[id][pick[r]].bytes;
                    }
                    tree.emplace(path, std::move(node));
                }
                visit(tree, [&] {
                    std::string how = cut + lost;
                    for (std::size_t r = 0; r < reached.size(); ++r) {
                        const std::string &chosen = contents[reached[r].second].empty()
                                                        ? std::string()
                                                        : contents[reached[r].second][pick[r]].how;
                        how += chosen.empty() ? "" : "; " + chosen;
                    }
                    return how;
                });
            }
        }
    }
}

// What a reader finds in a file, as comparable text.
using Probe = std::function<std::string(const char *path)>;

Probe KeyValue(const char *key)
{
    return [key](const char *path) {
        char value[64] = {};
        const int result = VELKCFileGetKeyValue(path, key, value, sizeof value, 0);
        return std::to_string(result) + " " + value;
    };
}

Probe Line(const char *pattern)
{
    return [pattern](const char *path) {
        char line[64] = {};
        const int result = VELKCFileGetLine(path, pattern, line, sizeof line, 0);
        return std::to_string(result) + " " + line;
    };
}

Probe Section(const char *section)
{
    return [section](const char *path) {
        PairHash hash{};
        const int result = VELKCFileGetSection(path, section, hash.address());
        std::set<std::string> pairs;
        for (int i = 0; i < hash->nSlot; ++i) {
            const SzHashSlot &slot = hash->rgSlot[i];
            if (slot.pszKey != nullptr && slot.pszVal != nullptr) {
                pairs.insert(std::string(slot.pszKey) + "=" + slot.pszVal);
            }
        }
        std::string text = std::to_string(result);
        for (const std::string &pair : pairs) {
            text += " " + pair;
        }
        return text;
    };
}

// The reader that sees what a writer of the tables changes.
Probe ProbeFor(std::string_view writer)
{
    static const std::map<std::string_view, Probe> probes = {
        {"SetKeyValue", KeyValue("k1")},     {"AppendKey", KeyValue("k9")},
        {"RemoveKey", KeyValue("k2")},       {"AddLine", Line("new")},
        {"AddLineAppend", Line("new")},      {"AddLineByKey", Line("new")},
        {"AddLineByKeyAppend", Line("new")}, {"SetLine", KeyValue("k2")},
        {"SetLineByKey", KeyValue("k1")},    {"ReplaceSubStr", KeyValue("k1")},
        {"LineComment", KeyValue("k2")},     {"SetKeys", KeyValue("k1")},
        {"AddSection", Section("t")},        {"ModifySection", Section("s")},
    };
    const auto it = probes.find(writer);
    if (it != probes.end()) {
        return it->second;
    }
    return [](const char *path) { // any other writer: the whole file, line by line
        OwnedList lines{VELKCSzListAlloc(512)};
        std::string text = std::to_string(VELKCFileReadLines(path, lines.address()));
        for (int i = 0; i < lines->nItem; ++i) {
            text += "|" + std::string(lines->pszItem[i]);
        }
        return text;
    };
}

struct Subject {
    std::string name;
    FileCall call;
    Probe probe;
    bool exists;           // the target exists before the call
    mode_t dirMode = 0700; // of the target's directory
};

// A writer's call: its result and the target it leaves.
struct Outcome {
    int result = 0;
    std::optional<Node> target;
};

Outcome Call(const Subject &subject, const fs::path &target)
{
    Args args;
    ResetError();
    Outcome outcome;
    outcome.result = subject.call(target.c_str(), args);
    outcome.target = NodeAt(target);
    return outcome;
}

std::string Reported(const Outcome &outcome)
{
    return "returned " + std::to_string(outcome.result) + " (" + Hex(VELKCErrGet()) + ") and left " +
           Described(outcome.target);
}

struct Tally {
    std::size_t states = 0;
    std::size_t violations = 0;
    std::vector<std::string> listed;
};

bool HasXattrs(const fs::path &dir)
{
    const fs::path probe = dir / "xattr";
    WriteFile(probe, "");
    const bool has = setxattr(probe.c_str(), kAttr, "1", 1, 0) == 0;
    fs::remove(probe);
    return has;
}

// The target as the tests start from: kPadded, with an owner, mode and
// extended attribute no writer would give a file of its own.
void MakeOld(const fs::path &target, bool xattrs)
{
    WriteFile(target, kPadded);
    if (IsRoot()) {
        Must(chown(target.c_str(), kOwner, kGroup), "chown");
    }
    Must(chmod(target.c_str(), kMode), "chmod");
    if (xattrs) {
        Must(setxattr(target.c_str(), kAttr, "old", 3, 0), "setxattr");
    }
}

// Records subject's call in a fresh directory under base, then checks every
// state a power cut during it may leave.
Tally PowerCutsOf(const Subject &subject, const fs::path &base, bool xattrs)
{
    Tally tally;
    const fs::path dir = base / "record";
    Must(mkdir(dir.c_str(), 0700), "mkdir");
    Must(chmod(dir.c_str(), subject.dirMode), "chmod");
    const fs::path target = dir / kTarget;
    if (subject.exists) {
        MakeOld(target, xattrs);
    }
    const std::optional<Node> old = NodeAt(target);
    const std::string oldAnswer = subject.probe(target.c_str());
    Recording rec(dir);
    Outcome first;
    {
        Args args;
        ResetError();
        fault::Observe(&rec);
        const Guard observed([] { fault::Observe(nullptr); });
        first.result = subject.call(target.c_str(), args);
    }
    first.target = NodeAt(target);
    const std::string newAnswer = subject.probe(target.c_str());
    const Tree after = Snapshot(dir);
    const Outcome second = Call(subject, target);
    fs::remove_all(dir);
    if (first.result < 0) {
        rec.problems.push_back("the call fails without a power cut: " + Reported(first));
    }
    if (Final(rec) != after) {
        rec.problems.push_back("the calls recorded do not make what the writer left");
    }
    for (const std::string &problem : rec.problems) {
        tally.listed.push_back("recording: " + problem);
        ++tally.violations;
    }
    if (!rec.problems.empty()) {
        return tally;
    }

    const fs::path state = base / "state";
    const fs::path stateTarget = state / kTarget;
    std::unordered_set<std::string> seen; // states already checked
    PowerCuts(rec, [&](const Tree &tree, const std::function<std::string()> &how) {
        if (!seen.insert(Serialized(tree)).second) {
            return;
        }
        ++tally.states;
        Rebuild(tree, state);
        std::vector<std::string> faults;
        const std::optional<Node> found = NodeAt(stateTarget);
        const bool isOld = found == old;
        const bool isNew = found == first.target;
        if (!isOld && !isNew) {
            faults.push_back("the target is " + Described(found));
        }
        if (const std::string answer = subject.probe(stateTarget.c_str()); answer != oldAnswer && answer != newAnswer) {
            faults.push_back("the reader finds \"" + answer + "\"");
        }
        // Called again on the new file the writer does what a second call
        // does; on anything else, what the first call did.
        const Outcome &expected = isNew ? second : first;
        const Outcome retry = Call(subject, stateTarget);
        if (retry.result != expected.result || retry.target != expected.target) {
            faults.push_back("a second call " + Reported(retry));
        }
        fs::remove_all(state);
        if (!faults.empty()) {
            ++tally.violations;
            if (tally.listed.size() < kListed) {
                std::string line = how() + ":";
                for (const std::string &fault : faults) {
                    line += " " + fault + ";";
                }
                tally.listed.push_back(line);
            }
        }
    });
    return tally;
}

// Runs the subjects on tmpfs where there is one (its fsync costs nothing),
// prints a line for each and the violations listed; the total.
std::size_t Violations(const std::vector<Subject> &subjects)
{
    const TempDir base(fs::is_directory("/dev/shm") ? "/dev/shm" : fs::temp_directory_path());
    const Guard mask = SetUmask(022);
    const bool xattrs = HasXattrs(base.path());
    std::size_t total = 0;
    for (const Subject &subject : subjects) {
        const Tally tally = PowerCutsOf(subject, base.path(), xattrs);
        std::printf("%-30s %5zu states, %zu violations\n", subject.name.c_str(), tally.states, tally.violations);
        for (const std::string &line : tally.listed) {
            std::printf("    %s\n", line.c_str());
        }
        std::fflush(stdout);
        total += tally.violations;
    }
    return total;
}

// The writers of the tables on kPadded, or on a missing file for those that
// create one, in a directory of mode dirMode.
std::vector<Subject> Writers(bool exists, mode_t dirMode = 0700)
{
    std::vector<Subject> subjects;
    for (const Writer &writer : AllWriters()) {
        if (exists || writer.creates) {
            const std::string where = std::string(exists ? "" : " (missing)") + (dirMode & 022 ? " (shared)" : "");
            subjects.push_back({writer.name + where, writer.call, ProbeFor(writer.name), exists, dirMode});
        }
    }
    return subjects;
}

TEST(PowerCut, WritersLeaveTheOldOrTheNewFile) { EXPECT_EQ(Violations(Writers(true)), 0u); }

TEST(PowerCut, CreatorsLeaveNoFileOrTheNewOne) { EXPECT_EQ(Violations(Writers(false)), 0u); }

// Where other users may move names beside the target, a writer may put its
// temporary name elsewhere (a directory of its own): a cut there too leaves
// the old or the new file.
TEST(PowerCut, WritersInASharedDirectoryLeaveTheOldOrTheNewFile) { EXPECT_EQ(Violations(Writers(true, 0775)), 0u); }

// Two ways to commit that a power cut can catch half done, written here
// with plain calls: the check must see each of them.
int AppendInPlace(const char *path, Args &)
{
    const int fd = open(path, O_WRONLY | O_APPEND | O_CLOEXEC);
    const bool written = fd >= 0 && write(fd, "k9=v\n", 5) == 5 && fsync(fd) == 0;
    return close(fd) == 0 && written ? 1 : -1;
}

int ChmodAfterSync(const char *path, Args &)
{
    const std::string temp = std::string(path) + ".new";
    const int fd = open(temp.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    bool done = fd >= 0 && write(fd, "k1=x\n", 5) == 5 && fsync(fd) == 0 && fchmod(fd, kMode) == 0;
    done = close(fd) == 0 && done && rename(temp.c_str(), path) == 0;
    const int dir = open(fs::path(path).parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    done = dir >= 0 && fsync(dir) == 0 && done;
    return close(dir) == 0 && done ? 1 : -1;
}

TEST(PowerCut, TheCheckSeesATornAppendAndAnUnsyncedMode)
{
    EXPECT_GT(Violations({{"append in place", AppendInPlace, KeyValue("k9"), true}}), 0u);
    EXPECT_GT(Violations({{"chmod after the sync", ChmodAfterSync, KeyValue("k1"), true}}), 0u);
}

} // namespace
