// The power fails while a writer works: whatever the file system keeps, the
// target is the old file or the new one, and calling the writer again
// finishes the change.
//
// After each file system call of a writer (see fault_interposer.hpp), what
// it changed in the target's directory is recorded on a model of it. After
// the first k calls the power fails, and a file system may keep:
// - of the data written to a file and not yet synced (fsync, fdatasync),
//   any of the 4 KiB blocks written, each old or new, and the old size, the
//   new one or one at a block boundary between;
// - of the owner, mode and extended attributes of a file not yet synced by
//   its fsync, and of the names linked, renamed, made and removed in a
//   directory not yet synced by the directory's fsync, any of these changes,
//   each kept or lost whatever became of the others.
// Every such state (sampled where there are too many) is rebuilt on disk and
// checked: the target is the old file or the new one (content, owner, mode,
// extended attributes), a reader finds the old or the new answer, and a
// second call of the writer returns what it returns after a successful first
// call (on the new file) or on the old file, and leaves what one call on the
// old file leaves.
#include "fault_interposer.hpp"
#include "file_support.hpp"
#include "internal/internal.hpp"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <map>
#include <numeric>
#include <optional>
#include <random>
#include <sys/xattr.h>

using namespace test;

namespace {

constexpr char kTarget[] = "conf";
constexpr std::size_t kBlock = 4096;
// Up to this many states are tried for each cut: all where there are no
// more, else drawn.
constexpr std::size_t kStates = 4096;
constexpr std::size_t kBoundaries = 2; // sizes tried at each end of the block boundaries between old and new
constexpr std::size_t kListed = 4;     // violations listed for each writer
constexpr uid_t kOwner = 1234;         // and group
constexpr mode_t kMode = 0640;
constexpr char kAttr[] = "user.velkc-test";

// kBase after comment lines, ending 2 bytes before a block boundary, so
// that whatever a writer appends crosses it.
const std::string kPadded = [] {
    std::string text;
    while (text.size() + 100 + kBase.size() <= kBlock - 2) {
        text += std::string(99, '#') + "\n";
    }
    return text + std::string(kBlock - 3 - kBase.size() - text.size(), '#') + "\n" + kBase;
}();

// A file or directory as a state holds it.
struct Node {
    char type = 'o'; // 'f' a regular file, 'd' a directory, 'o' anything else (or unreadable)
    std::string content;
    uid_t uid = 0;
    gid_t gid = 0;
    mode_t mode = 0; // permission and set-id bits
    std::map<std::string, std::string> xattrs;

    auto operator<=>(const Node &) const = default;
};

// A directory and what lies under it, by path relative to it ("" itself).
using Tree = std::map<std::string, Node>;

// Throws for a failed call of the test's own.
void Must(int result, const std::string &what)
{
    if (result != 0) {
        throw std::system_error(errno, std::generic_category(), what);
    }
}

std::string Printed(const char *format, unsigned value)
{
    char text[16];
    std::snprintf(text, sizeof text, format, value);
    return text;
}

Node NodeOf(int fd)
{
    struct stat st;
    Must(fstat(fd, &st), "fstat");
    const char type = S_ISREG(st.st_mode) ? 'f' : S_ISDIR(st.st_mode) ? 'd' : 'o';
    Node node{type, "", st.st_uid, st.st_gid, st.st_mode & 07777, {}};
    if (node.type == 'f') { // through /proc: fd may be open for writing only
        node.content = ReadFile("/proc/self/fd/" + std::to_string(fd));
    }
    std::string names(65536, '\0');
    names.resize(static_cast<std::size_t>(std::max<ssize_t>(flistxattr(fd, names.data(), names.size()), 0)));
    for (const char *name = names.data(); name < names.data() + names.size(); name += std::strlen(name) + 1) {
        std::string value(65536, '\0');
        value.resize(static_cast<std::size_t>(std::max<ssize_t>(fgetxattr(fd, name, value.data(), value.size()), 0)));
        node.xattrs[name] = value;
    }
    return node;
}

// What lies at path, if anything.
std::optional<Node> NodeAt(const fs::path &path)
{
    const velkc::UniqueFd fd(open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct stat st;
    return fd ? NodeOf(fd.get()) : lstat(path.c_str(), &st) == 0 ? std::optional<Node>(Node{}) : std::nullopt;
}

// Makes dir hold tree.
void Rebuild(const Tree &tree, const fs::path &dir)
{
    for (const auto &[path, node] : tree) {
        if (node.type == 'o') {
            throw std::runtime_error("cannot rebuild " + path);
        }
        node.type == 'd' ? Must(mkdir((dir / path).c_str(), 0700), "mkdir " + path)
                         : WriteFile(dir / path, node.content);
    }
    // Children before their directory, whose mode may keep them out.
    for (auto it = tree.rbegin(); it != tree.rend(); ++it) {
        const fs::path path = dir / it->first;
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
    std::string shown = text.size() > 24 ? "\"..." : "\"";
    for (const char c : text.substr(text.size() - std::min<std::size_t>(text.size(), 24))) {
        shown += c == '\n' ? "\\n" : c == '\0' ? "\\0" : std::string(1, c);
    }
    return shown + "\"";
}

std::string Described(const std::optional<Node> &node)
{
    if (!node || node->type != 'f') {
        return node ? "not a regular file" : "missing";
    }
    return std::to_string(node->content.size()) + " bytes ending " + Quoted(node->content) + " mode " +
           Printed("0%o", node->mode) + " owner " + std::to_string(node->uid) + ":" + std::to_string(node->gid) + " " +
           std::to_string(node->xattrs.size()) + " extended attributes";
}

// The model of a directory: its inodes (the directory itself is inode 0)
// and the names in each directory among them.
struct Model {
    std::vector<Node> nodes;
    std::vector<std::map<std::string, int>> names;
};

// The inodes reached from the directory through names, by path.
Tree TreeOf(const Model &model)
{
    Tree tree;
    std::vector<std::pair<std::string, int>> todo = {{"", 0}};
    while (!todo.empty() && tree.size() < 10000) {
        const auto [path, id] = todo.back();
        todo.pop_back();
        tree.emplace(path, model.nodes[id]);
        for (const auto &[name, child] : model.names[id]) {
            if (child >= 0) {
                todo.emplace_back(path.empty() ? name : path + "/" + name, child);
            }
        }
    }
    return tree;
}

// A change the model replays, in the order the calls made them.
struct Op {
    enum Kind { kData, kChange, kSync, kDataSync } kind; // kChange: of attributes or names
    int inode;                                           // changed or synced
    std::string text;
    std::function<void(Model &)> apply = [](Model &) {};
    std::size_t synced = SIZE_MAX; // the first op after it that synced it
};

using Key = std::pair<dev_t, ino_t>;

// The inode at path under dirfd (fd's own with "" and AT_EMPTY_PATH).
std::optional<Key> KeyAt(int dirfd, const char *path, int flags = AT_SYMLINK_NOFOLLOW)
{
    struct stat st;
    return fstatat(dirfd, path, &st, flags) == 0 ? std::optional<Key>({st.st_dev, st.st_ino}) : std::nullopt;
}

// The calls of a writer, as changes to the model of its directory: after
// each call, what it may have changed (the file it acted on, the directories
// of its paths) is compared with the model.
class Recording final : public fault::Observer {
public:
    explicit Recording(const fs::path &dir) { Scan(dir, "the directory"); }

    void Saw(const fault::Call &call) noexcept override
    {
        try {
            if (call.result >= 0) { // a failed call changed nothing
                Follow(call, call.name);
            }
        } catch (const std::exception &e) {
            problems.push_back("recording: " + std::string(call.name) + ": " + e.what());
        }
    }

    Model start; // every inode as found or made, with the names found
    Model now;   // as the calls left them
    std::vector<std::string> labels;
    std::vector<Op> ops;
    std::vector<std::string> problems; // what the recording could not follow

private:
    int Known(const std::optional<Key> &key) const
    {
        const auto it = key ? ids_.find(*key) : ids_.end();
        return it != ids_.end() ? it->second : -1;
    }

    // The model's directory open as fd, or -1.
    int Dir(int fd) const
    {
        const int id = fd >= 0 ? Known(KeyAt(fd, "", AT_EMPTY_PATH)) : -1;
        return id >= 0 && now.nodes[id].type == 'd' ? id : -1;
    }

    int Add(const Node &node, const Key &key, std::string label)
    {
        ids_[key] = static_cast<int>(labels.size()); // a reused number is a new inode
        for (Model *model : {&start, &now}) {
            model->nodes.push_back(node);
            model->names.emplace_back();
        }
        labels.push_back(std::move(label));
        return static_cast<int>(labels.size()) - 1;
    }

    int Scan(const fs::path &path, const std::string &label)
    {
        const int id = Add(*NodeAt(path), *KeyAt(AT_FDCWD, path.c_str()), label);
        for (const std::string &name : now.nodes[id].type == 'd' ? ListDir(path) : std::set<std::string>()) {
            const int child = Scan(path / name, "old " + name);
            start.names[id][name] = now.names[id][name] = child;
        }
        return id;
    }

    void Push(Op op)
    {
        for (Op &earlier : ops) {
            const bool covered = op.kind == Op::kSync || (op.kind == Op::kDataSync && earlier.kind == Op::kData);
            if (earlier.inode == op.inode && covered && earlier.synced == SIZE_MAX) {
                earlier.synced = ops.size();
            }
        }
        op.apply(now);
        ops.push_back(std::move(op));
    }

    void Follow(const fault::Call &call, const std::string &name)
    {
        const bool opens = name.starts_with("open");
        const int fd = opens ? static_cast<int>(call.result) : call.fd;
        if (opens && (call.flags & O_TMPFILE) == O_TMPFILE) { // path names the directory of an unnamed file
            const velkc::UniqueFd dir(openat(call.fd, call.path, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
            if (Dir(dir.get()) >= 0) {
                Add(NodeOf(fd), *KeyAt(fd, "", AT_EMPTY_PATH), "unnamed file");
            } else {
                ids_.erase(*KeyAt(fd, "", AT_EMPTY_PATH)); // made outside, perhaps with a freed inode's number
            }
            return;
        }
        const bool makes = name.starts_with("mkdir") || (opens && (call.flags & O_CREAT));
        for (const auto &[dirfd, path, made] : {std::tuple(call.fd, call.path, makes), {call.fd2, call.path2, false}}) {
            if (path != nullptr) {
                Names(dirfd, path, made, name);
            }
        }
        const int id = opens || call.path == nullptr ? Known(KeyAt(fd, "", AT_EMPTY_PATH)) : -1;
        if (id >= 0 && (name == "fsync" || name == "fdatasync")) {
            // A directory's names are its data: fdatasync syncs them too.
            Push({name == "fsync" || now.nodes[id].type == 'd' ? Op::kSync : Op::kDataSync, id,
                  name + " " + labels[id]});
        } else if (id >= 0) {
            Changes(id, NodeOf(fd), name + " " + labels[id]);
        }
    }

    // Records how the names changed in the directory holding path, if it is
    // the model's; makes: the call made what path names.
    void Names(int dirfd, std::string path, bool makes, const std::string &call)
    {
        path.erase(path.find_last_not_of('/') + 1);
        const fs::path named = path;
        const velkc::UniqueFd fd(openat(dirfd, named.has_parent_path() ? named.parent_path().c_str() : ".",
                                        O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        const int dir = Dir(fd.get());
        if (const std::optional<Key> key = KeyAt(dirfd, path.c_str()); dir < 0 && makes && key) {
            ids_.erase(*key); // made outside, perhaps with a freed inode's number
        }
        if (dir < 0) {
            return;
        }
        const fs::path at = "/proc/self/fd/" + std::to_string(fd.get());
        const std::set<std::string> listed = ListDir(at);
        std::vector<std::pair<std::string, int>> changes;
        std::string text = call + ":";
        for (const auto &[name, id] : now.names[dir]) {
            if (id >= 0 && !listed.contains(name)) {
                changes.emplace_back(name, -1);
                text += (changes.size() > 1 ? ", " : " ") + name + " removed";
            }
        }
        for (const std::string &name : listed) {
            const std::optional<Key> key = KeyAt(fd.get(), name.c_str());
            const auto was = now.names[dir].find(name);
            const bool fresh = was == now.names[dir].end() || was->second < 0;
            const int id =
                makes && fresh && name == named.filename() ? Add(*NodeAt(at / name), *key, name) : Known(key);
            if (id < 0) {
                throw std::runtime_error(name + " is a file the model does not hold");
            }
            if (fresh || was->second != id) {
                changes.emplace_back(name, id);
                text += (changes.size() > 1 ? ", " : " ") + name + " = " + labels[id];
            }
        }
        if (!changes.empty()) {
            Push({Op::kChange, dir, text, [dir, changes](Model &model) {
                      for (const auto &[name, id] : changes) {
                          model.names[dir][name] = id;
                      }
                  }});
        }
    }

    // Records how inode id changed to is: its data, then its owner, mode and
    // extended attributes, each set only where it changed.
    void Changes(int id, const Node &is, const std::string &text)
    {
        const Node was = now.nodes[id];
        if (is.content != was.content) {
            Push({Op::kData, id, text + " to " + std::to_string(is.content.size()) + " bytes",
                  [id, content = is.content](Model &model) { model.nodes[id].content = content; }});
        }
        if (std::tie(is.uid, is.gid, is.mode, is.xattrs) != std::tie(was.uid, was.gid, was.mode, was.xattrs)) {
            Push({Op::kChange, id, text, [id, is, was](Model &model) {
                      Node &node = model.nodes[id];
                      node.uid = is.uid != was.uid ? is.uid : node.uid;
                      node.gid = is.gid != was.gid ? is.gid : node.gid;
                      node.mode = is.mode != was.mode ? is.mode : node.mode;
                      std::erase_if(node.xattrs, [&](const auto &xattr) {
                          return was.xattrs.contains(xattr.first) && !is.xattrs.contains(xattr.first);
                      });
                      for (const auto &[name, value] : is.xattrs) {
                          if (!was.xattrs.contains(name) || was.xattrs.at(name) != value) {
                              node.xattrs[name] = value;
                          }
                      }
                  }});
        }
    }

    std::map<Key, int> ids_; // the model's inode of each number
};

// Every state (up to sampling) a power cut may leave the recorded directory
// in, each handed to visit with how it came about. A state is a choice for
// each change of attributes or names not synced (kept or lost), each block
// of data not synced (new or old) and the size of each file with such data.
void PowerCuts(const Recording &rec, const std::function<void(const Tree &, const std::string &)> &visit)
{
    const std::vector<Op> &ops = rec.ops;
    std::mt19937 random(1);
    for (std::size_t k = 0; k <= ops.size(); ++k) {
        Model base = rec.start;   // with the data synced before the cut
        Model issued = rec.start; // with all the data written before it
        std::size_t unsynced = 0; // changes of attributes and names
        // The blocks in which a file's synced and written data differ, and
        // its sizes but the new one.
        std::map<int, std::pair<std::set<std::size_t>, std::set<std::size_t>>> dirty;
        for (std::size_t j = 0; j < k; ++j) {
            const Op &op = ops[j];
            if (op.kind == Op::kChange && op.synced >= k) {
                ++unsynced;
            } else if (op.kind == Op::kData && op.synced < k) {
                op.apply(base);
                op.apply(issued);
            } else if (op.kind == Op::kData) {
                op.apply(issued);
                dirty[op.inode].second.insert(
                    {base.nodes[op.inode].content.size(), issued.nodes[op.inode].content.size()});
            }
        }
        std::vector<std::size_t> radix(unsynced, 2); // of each choice
        for (auto &[id, file] : dirty) {
            auto &[blocks, sizes] = file;
            const std::string_view was = base.nodes[id].content;
            const std::string_view is = issued.nodes[id].content;
            for (std::size_t at = 0; at < std::max(was.size(), is.size()); at += kBlock) {
                if (was.substr(std::min(at, was.size()), kBlock) != is.substr(std::min(at, is.size()), kBlock)) {
                    blocks.insert(at / kBlock);
                }
            }
            const std::size_t low = *sizes.begin();
            const std::size_t high = *sizes.rbegin();
            for (std::size_t at = (low / kBlock + 1) * kBlock; at < high; at += kBlock) {
                if (at <= low + kBoundaries * kBlock || at + kBoundaries * kBlock >= high) {
                    sizes.insert(at);
                }
            }
            sizes.erase(is.size());
            radix.insert(radix.end(), blocks.size(), 2);
            radix.push_back(sizes.size() + 1);
        }
        const std::size_t states =
            std::accumulate(radix.begin(), radix.end(), std::size_t{1},
                            [](std::size_t n, std::size_t r) { return std::min(n * r, kStates + 1); });
        const std::string cut = "cut after " + std::to_string(k) + " of " + std::to_string(ops.size()) +
                                (k > 0 ? " (" + ops[k - 1].text + ")" : "");
        for (std::size_t c = 0; c < std::min(states, kStates); ++c) {
            // Above kStates: none lost, all lost, each alone lost, then drawn.
            std::vector<std::size_t> digits(radix.size());
            for (std::size_t i = 0, rest = c; i < radix.size(); rest /= radix[i++]) {
                digits[i] = states <= kStates      ? rest % radix[i]
                            : c == 0               ? 0
                            : c == 1 || c == i + 2 ? radix[i] - 1
                            : c < radix.size() + 2 ? 0
                                                   : random() % radix[i];
            }
            std::string how = cut;
            Model model = base;
            std::size_t d = 0;
            for (std::size_t j = 0; j < k; ++j) {
                const bool lost = ops[j].kind == Op::kChange && ops[j].synced >= k && digits[d++] == 1;
                how += lost ? (how == cut ? "; lost: " : ", ") + ops[j].text : "";
                if (ops[j].kind == Op::kChange && !lost) {
                    ops[j].apply(model);
                }
            }
            for (const auto &[id, file] : dirty) {
                const auto &[blocks, sizes] = file;
                std::set<std::size_t> old;
                std::string told;
                for (const std::size_t block : blocks) {
                    if (digits[d++] == 1) {
                        told += (old.empty() ? "block " : ",") + std::to_string(block);
                        old.insert(block);
                    }
                }
                const std::string &is = issued.nodes[id].content;
                const std::size_t pick = digits[d++];
                const std::size_t size = pick == 0 ? is.size() : *std::next(sizes.begin(), pick - 1);
                std::string &bytes = model.nodes[id].content = std::string(size, '\0');
                for (std::size_t at = 0; at < size; at += kBlock) {
                    if (const std::string &from = old.contains(at / kBlock) ? base.nodes[id].content : is;
                        at < from.size()) {
                        from.copy(bytes.data() + at, std::min(kBlock, size - at), at);
                    }
                }
                if (!old.empty() || size != is.size()) {
                    how += "; " + rec.labels[id] + ": " + (told.empty() ? "" : told + " old, ") + "size " +
                           std::to_string(size) + " (written up to " + std::to_string(is.size()) + ")";
                }
            }
            visit(TreeOf(model), how);
        }
    }
}

// What a reader finds in a file, line by line. Every reader opens the file
// the same way, and the lines show whatever any of them could find.
std::string ReaderAnswer(const fs::path &path)
{
    velkc::List lines{VELKCSzListAlloc(512)};
    std::string text = std::to_string(VELKCFileReadLines(path.c_str(), lines.address()));
    for (int i = 0; i < lines->nItem; ++i) {
        text += "|" + std::string(lines->pszItem[i]);
    }
    return text;
}

struct Subject {
    std::string name;
    FileCall call;
    bool exists;           // the target exists before the call
    mode_t dirMode = 0700; // of the target's directory
};

struct Outcome {
    int result;
    unsigned error;
    std::optional<Node> target;
};

Outcome Call(const Subject &subject, const fs::path &target, fault::Observer *observer = nullptr)
{
    Args args;
    ResetError();
    fault::Observe(observer);
    const int result = subject.call(target.c_str(), args);
    fault::Observe(nullptr);
    return {result, VELKCErrGet(), NodeAt(target)};
}

std::string Reported(const Outcome &outcome)
{
    return "returned " + std::to_string(outcome.result) + " (" + Printed("0x%04X", outcome.error) + ") and left " +
           Described(outcome.target);
}

// Records subject's call in a fresh directory under base, checks every state
// a power cut during it may leave and prints a line, with the violations
// listed; their number.
std::size_t PowerCutsOf(const Subject &subject, const fs::path &base, bool xattrs)
{
    const fs::path dir = base / "record";
    const fs::path target = dir / kTarget;
    Must(mkdir(dir.c_str(), 0700) || chmod(dir.c_str(), subject.dirMode), "mkdir " + dir.string());
    if (subject.exists) { // with an owner, mode and extended attribute no writer would give a file of its own
        WriteFile(target, kPadded);
        Must(IsRoot() ? chown(target.c_str(), kOwner, kOwner) : 0, "chown");
        Must(chmod(target.c_str(), kMode) || (xattrs ? setxattr(target.c_str(), kAttr, "old", 3, 0) : 0), "chmod");
    }
    const std::optional<Node> old = NodeAt(target);
    const std::string oldAnswer = ReaderAnswer(target);
    Recording rec(dir);
    const Outcome first = Call(subject, target, &rec);
    const std::string newAnswer = ReaderAnswer(target);
    const Tree after = TreeOf(Recording(dir).now);
    const Outcome second = Call(subject, target);
    RemoveTree(dir);
    if (first.result < 0) {
        rec.problems.push_back("recording: the call fails without a power cut: " + Reported(first));
    }
    if (TreeOf(rec.now) != after) {
        rec.problems.push_back("recording: the calls recorded do not make what the writer left");
    }
    std::vector<std::string> listed = rec.problems;
    std::size_t violations = listed.size();
    std::set<Tree> seen; // states already checked
    const fs::path state = base / "state";
    PowerCuts(rec, [&](const Tree &tree, const std::string &how) {
        if (!rec.problems.empty() || !seen.insert(tree).second) {
            return;
        }
        Rebuild(tree, state);
        std::string faults;
        const std::optional<Node> found = NodeAt(state / kTarget);
        if (found != old && found != first.target) {
            faults += " the target is " + Described(found) + ";";
        }
        if (const std::string answer = ReaderAnswer(state / kTarget); answer != oldAnswer && answer != newAnswer) {
            faults += " the reader finds " + Quoted(answer) + ";";
        }
        // Called again on the new file the writer does what a second call
        // does; on anything else, what the first call did.
        const Outcome &expected = found == first.target ? second : first;
        if (const Outcome retry = Call(subject, state / kTarget);
            retry.result != expected.result || retry.target != expected.target) {
            faults += " a second call " + Reported(retry) + ";";
        }
        fs::remove_all(state);
        if (!faults.empty() && violations++ < kListed) {
            listed.push_back(how + ":" + faults);
        }
    });
    std::printf("%-30s %5zu states, %zu violations\n", subject.name.c_str(), seen.size(), violations);
    for (const std::string &line : listed) {
        std::printf("    %s\n", line.c_str());
    }
    std::fflush(stdout);
    return violations;
}

// Runs the subjects on tmpfs where there is one (its fsync costs nothing);
// the violations found.
std::size_t Violations(const std::vector<Subject> &subjects)
{
    const TempDir base(fs::is_directory("/dev/shm") ? "/dev/shm" : fs::temp_directory_path());
    const Guard mask = SetUmask(022);
    const bool xattrs = setxattr(base.path().c_str(), kAttr, "1", 1, 0) == 0;
    std::size_t total = 0;
    for (const Subject &subject : subjects) {
        total += PowerCutsOf(subject, base.path(), xattrs);
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
            subjects.push_back({writer.name + where, writer.call, exists, dirMode});
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
    EXPECT_GT(Violations({{"append in place", AppendInPlace, true}}), 0u);
    EXPECT_GT(Violations({{"chmod after the sync", ChmodAfterSync, true}}), 0u);
}

} // namespace
