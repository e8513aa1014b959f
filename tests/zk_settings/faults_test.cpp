// Fails or kills an edit at every system call, and lets other programs interfere at every moment that matters.
#include "editfile.h"
#include "failure.h"

#include "systemcalls.h"

#include "support/files.h"
#include "support/rows.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <linux/fs.h>
#include <optional>
#include <sys/file.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <thread>

namespace fs = std::filesystem;

namespace {

using Names = std::vector<std::string>;

// Thousands of directories are made fastest in memory, if the kernel has attributes there (6.6).
[[maybe_unused]] const bool isInMemory = [] {
    const std::string folder = "/dev/shm";
    const std::string probe = folder + "/kqsupport-probe-" + std::to_string(getpid());
    const bool hasAttributes = mkdir(probe.c_str(), 0700) == 0 && setxattr(probe.c_str(), "user.note", "n", 1, 0) == 0;
    rmdir(probe.c_str());
    return hasAttributes && setenv("TMPDIR", folder.c_str(), 0) == 0;
}();

constexpr uid_t user = 65534;
constexpr gid_t group = 12345;
// An ACL as it is stored: user 1234 may read and write.
const std::string acl("\2\0\0\0"
                      "\1\0\6\0\xff\xff\xff\xff"
                      "\2\0\6\0\xd2\4\0\0"
                      "\4\0\4\0\xff\xff\xff\xff"
                      "\x10\0\6\0\xff\xff\xff\xff"
                      "\x20\0\4\0\xff\xff\xff\xff",
    44);

struct Situation
{
    const char* name;
    const char* before; // null: the file is missing
    const char* after;
    bool isForeign = false; // it has another owner, an attribute and an ACL
    bool isLinked = false;  // it has two names
    bool isOld = false;     // the file system cannot exchange names, or rename without replacing
    unsigned type = 0;      // of the file system, unless it is the real one
};

constexpr unsigned smb = 0xfe534d42;

const Situation situations[] = {
    {"plain", "k=1\n", "k=2\n"},
    {"foreign", "k=1\n", "k=2\n", true},
    {"links_growing", "k=1\n", "k=longer\n", true, true},
    {"links_shrinking", "k=longer\n", "k=1\n", true, true},
    {"create", nullptr, "k=2\n"},
    {"plain_without_exchange", "k=1\n", "k=2\n", false, false, true},
    {"create_with_a_link", nullptr, "k=2\n", false, false, true},
    {"on_smb", "k=1\n", "k=2\n", true, false, true, smb},
};

// What stat, the attributes and the contents say.
struct State
{
    std::optional<std::string> bytes;
    uid_t owner = 0;
    gid_t ownerGroup = 0;
    mode_t mode = 0;
    nlink_t links = 0;
    std::string note;
    std::string access;
};

bool operator==(const State& a, const State& b)
{
    return a.bytes == b.bytes && a.owner == b.owner && a.ownerGroup == b.ownerGroup && a.mode == b.mode &&
           a.links == b.links && a.note == b.note && a.access == b.access;
}

std::string attribute(const std::string& path, const char* name)
{
    char value[100];
    const ssize_t size = getxattr(path.c_str(), name, value, sizeof value);
    return {value, static_cast<std::size_t>(std::max<ssize_t>(size, 0))};
}

State stateOf(const std::string& path)
{
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0)
        return {};
    return {readFile(path), status.st_uid, status.st_gid, status.st_mode, status.st_nlink, attribute(path, "user.note"),
        attribute(path, "system.posix_acl_access")};
}

bool contains(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

constexpr char change[] = "x=1\n"; // of another program

auto contents(const char* bytes)
{
    return [=](const std::string&) { return bytes; };
}

int happen(const SystemCall&)
{
    return 0;
}

class Folder
{
public:
    explicit Folder(const Situation& situation)
        : m_situation(situation)
    {
        if (!situation.before)
            return;
        writeFile(f, situation.before);
        if (situation.isForeign) {
            EXPECT_EQ(chown(f.c_str(), user, group), 0);
            EXPECT_EQ(setxattr(f.c_str(), "user.note", "n", 1, 0), 0);
            EXPECT_EQ(setxattr(f.c_str(), "system.posix_acl_access", acl.data(), acl.size(), 0), 0);
        }
        if (situation.isLinked)
            fs::create_hard_link(f, dir / "g");
        old = stateOf(f);
    }

    ~Folder()
    {
        for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGTERM}) // an edit ignores them
            std::signal(signal, SIG_DFL);
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    // Returns the message of a failed edit.
    std::optional<std::string> edit(const char* bytes, const SystemCalls::Observer& observer = happen) const
    {
        const SystemCalls calls([&](SystemCall& call) {
            call.type = m_situation.type;
            const int error = observer(call);
            return error == 0 && m_situation.isOld && call.flags != 0 ? EINVAL : error;
        });
        try {
            editFile(f, {std::chrono::seconds(0), !m_situation.before}, [&](const std::string& found) {
                return contains(found, change) ? bytes + std::string(change) : bytes;
            });
            return std::nullopt;
        } catch (const Failure& failure) {
            EXPECT_EQ(failure.status, Trouble);
            return failure.text;
        }
    }

    std::optional<std::string> edit(const SystemCalls::Observer& observer) const
    {
        return edit(m_situation.after, observer);
    }

    State expected() const
    {
        State state = old;
        if (!m_situation.before) {
            state.mode = S_IFREG | 0644;
            state.links = 1;
        }
        state.bytes = m_situation.after;
        return state;
    }

    State state() const
    {
        State state = stateOf(f);
        if (m_situation.isOld && names().size() > 1)
            state.links = 1; // the temporary file is a second name until the next edit
        return state;
    }

    Names names() const
    {
        Names names;
        for (const fs::directory_entry& entry : fs::directory_iterator(dir.path()))
            names.push_back(entry.path().filename());
        std::sort(names.begin(), names.end());
        return names;
    }

    Names namesAfterEdit() const { return m_situation.isLinked ? Names{"f", "g"} : Names{"f"}; }

    // The copy beside the file that has the new contents.
    std::optional<std::string> copy() const
    {
        for (const std::string& name : names()) {
            if (fs::path(name).extension() == ".new" && readFile(dir / name) == m_situation.after)
                return dir / name;
        }
        return std::nullopt;
    }

    void expectNextEdit() const
    {
        std::optional<std::string> message = edit("k=next\n");
        if (const auto left = copy(); message && left) { // what the message says resolves it
            EXPECT_EQ(*message,
                "cannot edit: an interrupted edit may have damaged it; copy " + *left + " to it, or remove that file");
            writeFile(f, readFile(*left));
            message = edit("k=next\n");
        }
        EXPECT_EQ(message.value_or("done"), "done");
        State state = expected();
        state.bytes = "k=next\n";
        EXPECT_TRUE(stateOf(f) == state);
        EXPECT_EQ(names(), namesAfterEdit());
    }

    const TempDir dir;
    const std::string f = dir / "f";
    State old;

private:
    const Situation& m_situation;
};

// Checks the file, and what the next edit makes of it.
void expectWhatIsSaid(const Folder& folder, const std::optional<std::string>& message)
{
    const State found = folder.state();
    const char* const done[] = {"the edit is done, but may not survive a power failure",
        "replaced, but another program may have changed it; the file before is "};
    const auto isSaid = [&](const std::string& part) { return contains(*message, part); };
    if (!message || std::any_of(std::begin(done), std::end(done), isSaid))
        EXPECT_TRUE(found == folder.expected());
    else if (const auto path = message->find("contents are in "); path != std::string::npos)
        EXPECT_EQ(readFile(message->substr(path + 16)), folder.expected().bytes);
    else
        EXPECT_TRUE(found == folder.old) << found.bytes.value_or("no file") << found.mode;
    EXPECT_FALSE(message && message->empty());
    folder.expectNextEdit();
}

class Faults : public testing::TestWithParam<Situation>
{
protected:
    void SetUp() override
    {
        if (geteuid() != 0)
            SKIP_OR_FAIL("only root can make a file of another owner");
        umask(022);
    }
};

// Which calls fail, from the Nth.
enum class Extent
{
    once,
    sameCalls,
    everything
};

class Failing
{
public:
    Failing(int first, int error, Extent extent)
        : m_first(first)
        , m_error(error)
        , m_extent(extent)
    {
    }

    int operator()(const SystemCall& call)
    {
        if (++m_count == m_first)
            m_name = call.name;
        const bool isLater = m_count > m_first &&
                             (m_extent == Extent::everything || (m_extent == Extent::sameCalls && call.name == m_name));
        return m_count == m_first || isLater ? m_error : 0;
    }

    bool hasBegun() const { return m_count >= m_first; }
    const std::string& name() const { return m_name; }

private:
    int m_first;
    int m_error;
    Extent m_extent;
    int m_count = 0;
    std::string m_name;
};

TEST_P(Faults, lose_nothing)
{
    constexpr int mostCalls = 200;
    int faults = 0;
    for (const Extent extent : {Extent::once, Extent::sameCalls, Extent::everything}) {
        for (const int error : {EIO, ENOSPC, EINTR, EACCES, EPERM, EDQUOT, EROFS, ENOMEM}) {
            bool isReached = true;
            for (int call = 1; isReached && call < mostCalls && !HasFailure(); ++call) {
                const Folder folder(GetParam());
                Failing failing(call, error, extent);
                const std::optional<std::string> message = folder.edit(std::ref(failing));
                SCOPED_TRACE(failing.name() + ", call " + std::to_string(call) + ", extent " +
                             std::to_string(int(extent)) + ": " + std::strerror(error) + ": " +
                             message.value_or("done"));
                expectWhatIsSaid(folder, message);
                isReached = failing.hasBegun();
                faults += isReached;
            }
            ASSERT_FALSE(isReached) << "more calls than expected, or a failure";
        }
    }
    std::cout << faults << " faults\n";
}

INSTANTIATE_TEST_SUITE_P(Of, Faults, testing::ValuesIn(situations), rowName);

// What a program may do to the file while it is edited, and whether that is still so in the end.
struct Interference
{
    const char* name;
    bool (*act)(const Folder& folder); ///< false if it could not
    bool (*isKept)(const Folder& folder);
    bool isInStatus = true; ///< false: only the time of the last change tells, which an exchange changes
};

bool tryToWrite(const std::string& path, int flags, const std::string& bytes)
{
    const int file = open(path.c_str(), O_WRONLY | O_NONBLOCK | flags, 0644); // a lease makes it fail
    const bool isWritten = file >= 0 && write(file, bytes.data(), bytes.size()) == ssize_t(bytes.size());
    close(file);
    return isWritten;
}

bool has(const Folder& folder, const std::string& text)
{
    return contains(stateOf(folder.f).bytes.value_or(""), text);
}

const Interference interferences[] = {
    {"chmod", [](const Folder& folder) { return chmod(folder.f.c_str(), 0600) == 0; },
        [](const Folder& folder) { return (stateOf(folder.f).mode & 07777) == 0600; }},
    {"chown", [](const Folder& folder) { return chown(folder.f.c_str(), user, group) == 0; },
        [](const Folder& folder) { return stateOf(folder.f).owner == user; }},
    {"setfattr", [](const Folder& folder) { return setxattr(folder.f.c_str(), "user.note", "other", 5, 0) == 0; },
        [](const Folder& folder) { return attribute(folder.f, "user.note") == "other"; }, false},
    {"link", [](const Folder& folder) { return link(folder.f.c_str(), (folder.dir / "link").c_str()) == 0; },
        [](const Folder& folder) { return fs::equivalent(folder.f, folder.dir / "link"); }},
    {"append", [](const Folder& folder) { return tryToWrite(folder.f, O_APPEND, change); },
        [](const Folder& folder) { return has(folder, change); }},
    {"create", [](const Folder& folder) { return tryToWrite(folder.f, O_CREAT | O_EXCL, change); },
        [](const Folder& folder) { return has(folder, change); }},
    {"replace",
        [](const Folder& folder) {
            return tryToWrite(folder.dir / "other", O_CREAT, change) &&
                   rename((folder.dir / "other").c_str(), folder.f.c_str()) == 0;
        },
        [](const Folder& folder) { return has(folder, change); }},
    {"remove", [](const Folder& folder) { return unlink(folder.f.c_str()) == 0; },
        [](const Folder& folder) { return !fs::exists(folder.f); }},
};

class Interferences : public Faults
{
};

// Whether nothing can tell any more: after the last check before a plain rename or a write in place.
bool isTooLate(const SystemCall& call, bool isInPlace)
{
    const char* const last[] = {"lseek", "write", "ftruncate"};
    const auto isNext = [&](const char* name) { return call.name == name; };
    return (call.name == "renameat2" && call.flags == 0) || (isInPlace && std::any_of(last, std::end(last), isNext));
}

TEST_P(Interferences, are_not_undone)
{
    for (const Interference& interference : interferences) {
        bool isReached = true;
        int done = 0;
        int refused = 0;
        for (int moment = 1; isReached && !HasFailure(); ++moment) {
            SCOPED_TRACE(interference.name + std::string(" at call ") + std::to_string(moment));
            const Folder folder(GetParam());
            int count = 0;
            bool hasActed = false;
            bool isInPlace = false;
            std::string name;
            const auto message = folder.edit([&](const SystemCall& call) {
                isInPlace = isInPlace || ((GetParam().isLinked || GetParam().type == smb) && call.name == "renameat2");
                const bool isUnseen = !interference.isInStatus && call.name == "renameat2";
                if (++count == moment && !isUnseen && !isTooLate(call, isInPlace))
                    hasActed = interference.act(folder);
                if (count == moment)
                    name = call.name;
                return 0;
            });
            isReached = count >= moment;
            EXPECT_TRUE(!hasActed || interference.isKept(folder)) << name << ": " << message.value_or("done");
            EXPECT_TRUE(message || hasActed || folder.state() == folder.expected());
            ++(message ? refused : done);
        }
        std::cout << interference.name << ": " << refused << " refused, " << done << " done\n";
    }
}

INSTANTIATE_TEST_SUITE_P(Of, Interferences, testing::ValuesIn(situations), rowName);

class Kills : public Faults
{
};

// Returns the status of a child that runs `work`.
template <typename Work>
int inChild(const Work& work)
{
    const pid_t child = fork();
    if (child == 0) {
        work();
        _exit(0);
    }
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    return status;
}

TEST_P(Kills, leave_the_old_file_or_the_new_one_or_a_copy)
{
    bool isReached = true;
    for (int kill = 1; isReached && !HasFailure(); ++kill) {
        SCOPED_TRACE(kill);
        const Folder folder(GetParam());
        const int status = inChild([&] {
            int count = 0;
            const auto message = folder.edit([&](const SystemCall&) {
                if (++count == kill)
                    raise(SIGKILL);
                return 0;
            });
            _exit(message ? 1 : 0);
        });
        isReached = WIFSIGNALED(status);
        EXPECT_TRUE(isReached || status == 0);
        const State found = folder.state();
        EXPECT_TRUE(found == folder.old || found == folder.expected() || folder.copy()) << found.bytes.value_or("none");
        folder.expectNextEdit();
    }
}

// Delivers a signal at every system call.
TEST_P(Kills, by_a_signal_end_before_the_edit_or_after_it)
{
    bool isReached = true;
    int before = 0;
    int after = 0;
    for (int moment = 1; isReached && !HasFailure(); ++moment) {
        SCOPED_TRACE(moment);
        const Folder folder(GetParam());
        int count = 0;
        const int status = inChild([&] {
            const auto message = folder.edit([&](const SystemCall&) {
                if (++count == moment)
                    raise(moment % 2 ? SIGTERM : SIGINT);
                return 0;
            });
            _exit(message ? 1 : count < moment ? 2 : 0);
        });
        isReached = !WIFEXITED(status) || WEXITSTATUS(status) != 2;
        const bool isKilled = WIFSIGNALED(status);
        EXPECT_TRUE(isKilled || WEXITSTATUS(status) != 1);
        EXPECT_TRUE(folder.state() == (isKilled ? folder.old : folder.expected()));
        EXPECT_TRUE(folder.names() == folder.namesAfterEdit() || (isKilled && !folder.old.bytes));
        ++(isKilled ? before : after);
    }
    EXPECT_GT(before, 0);
    EXPECT_GT(after, 0);
}

INSTANTIATE_TEST_SUITE_P(Of, Kills, testing::ValuesIn(situations), rowName);

// Faults that a test chooses, in a directory with "k=1".
class Chosen : public testing::Test
{
protected:
    const Folder folder{situations[0]};
    const std::string& f = folder.f;
};

// What an edit does to the disk, in its order.
Names order(const Folder& folder)
{
    const Names wanted = {
        "fchown", "fsetxattr", "fchmod", "write", "fsync", "syncfs", "renameat2", "ftruncate", "unlinkat"};
    Names calls;
    EXPECT_EQ(folder.edit([&](const SystemCall& call) {
        struct stat status = {};
        if (call.name == "fsync" && fstat(call.descriptor, &status) == 0 && S_ISDIR(status.st_mode))
            calls.push_back("fsync directory");
        else if (std::count(wanted.begin(), wanted.end(), call.name) != 0)
            calls.push_back(call.name);
        return 0;
    }),
        std::nullopt);
    return calls;
}

TEST(Order, of_a_replacement)
{
    EXPECT_EQ(order(Folder(situations[0])),
        (Names{"fchmod", "write", "ftruncate", "fsync", "renameat2", "fsync directory", "unlinkat"}));
}

TEST(Order, of_a_replacement_with_owner_and_attributes)
{
    if (geteuid() != 0)
        SKIP_OR_FAIL("only root can make a file of another owner");
    EXPECT_EQ(order(Folder(situations[1])), (Names{"fchown", "fsetxattr", "fsetxattr", "fchmod", "write", "ftruncate",
                                                "fsync", "renameat2", "fsync directory", "unlinkat"}));
}

TEST(Order, of_a_write_in_place)
{
    if (geteuid() != 0)
        SKIP_OR_FAIL("only root can make a file of another owner");
    EXPECT_EQ(order(Folder(situations[2])), (Names{"write", "ftruncate", "fsync", "renameat2", "fsync directory",
                                                "write", "ftruncate", "fsync", "unlinkat"}));
}

TEST(Order, of_a_creation)
{
    EXPECT_EQ(order(Folder(situations[4])),
        (Names{"write", "ftruncate", "fsync", "renameat2", "fsync directory", "unlinkat"}));
}

// An observer that fails the calls of one name.
template <typename Condition>
auto fail(const std::string& name, int error, Condition condition)
{
    return [=](const SystemCall& call) { return call.name == name && condition(call) ? error : 0; };
}

auto fail(const std::string& name, int error)
{
    return fail(name, error, [](const SystemCall&) { return true; });
}

TEST_F(Chosen, folder_that_cannot_be_flushed_is_reported_after_the_edit)
{
    const auto isFolder = [](const SystemCall& call) {
        struct stat status = {};
        return fstat(call.descriptor, &status) == 0 && S_ISDIR(status.st_mode);
    };
    EXPECT_EQ(folder.edit(fail("fsync", EIO, isFolder)),
        "cannot flush its directory: Input/output error; the edit is done, but may not survive a power failure");
    EXPECT_EQ(readFile(f), "k=2\n");
}

TEST_F(Chosen, folder_that_has_no_flush_has_its_file_system_flushed)
{
    int flushed = 0;
    EXPECT_EQ(folder.edit([&](const SystemCall& call) {
        struct stat status = {};
        flushed += call.name == "syncfs";
        return call.name == "fsync" && fstat(call.descriptor, &status) == 0 && S_ISDIR(status.st_mode) ? EINVAL : 0;
    }),
        std::nullopt);
    EXPECT_EQ(flushed, 1);
    EXPECT_EQ(readFile(f), "k=2\n");
}

TEST_F(Chosen, messages_say_what_failed)
{
    const std::pair<const char*, const char*> texts[] = {{"fstat", "open"}, {"fstatfs", "open"}, {"read", "read"},
        {"lseek", "write"}, {"write", "write"}, {"ftruncate", "write"}, {"fsync", "flush to the disk"}};
    for (const auto& [call, action] : texts)
        EXPECT_EQ(folder.edit(fail(call, EIO)), std::string("cannot ") + action + ": Input/output error") << call;
    EXPECT_EQ(readFile(f), "k=1\n");
}

// As on NFS.
TEST_F(Chosen, lock_that_needs_a_descriptor_for_writing)
{
    const auto isReadOnly = [](const SystemCall& call) {
        return (fcntl(call.descriptor, F_GETFL) & O_ACCMODE) == O_RDONLY;
    };
    EXPECT_EQ(folder.edit(fail("flock", EBADF, isReadOnly)), std::nullopt);
    EXPECT_EQ(readFile(f), "k=2\n");
}

TEST_F(Chosen, file_system_without_locks_is_refused_and_has_an_option)
{
    const auto unsupported = fail("flock", ENOSYS);
    EXPECT_EQ(folder.edit(unsupported), "cannot lock: Function not implemented; --no-lock edits without a lock");
    EXPECT_EQ(readFile(f), "k=1\n");
    const SystemCalls calls(unsupported);
    editFile(f, {std::chrono::seconds(0), false, false}, contents("k=3\n"));
    EXPECT_EQ(readFile(f), "k=3\n");
}

TEST_F(Chosen, file_on_smb_keeps_its_node_and_is_not_locked_as_a_whole)
{
    const auto node = [&] {
        struct stat status = {};
        return stat(f.c_str(), &status) == 0 ? status.st_ino : 0;
    };
    const ino_t before = node();
    int locks = 0;
    unsigned type = smb;
    const auto onSmb = [&](SystemCall& call) {
        call.type = type;
        locks += call.name == "flock";
        return 0;
    };
    EXPECT_EQ(folder.edit("k=2\n", onSmb), std::nullopt);
    EXPECT_EQ(readFile(f), "k=2\n");
    type = 0xff534d42; // as older kernels say
    EXPECT_EQ(folder.edit("k=3\n", onSmb), std::nullopt);
    EXPECT_EQ(readFile(f), "k=3\n");
    EXPECT_EQ(node(), before);
    EXPECT_EQ(locks, 0);

    const SystemCalls calls(onSmb);
    const Access access = {std::chrono::seconds(0)};
    editFile(f, access, [&](const std::string& bytes) {
        try {
            editFile(f, access, contents("k=4\n"));
            ADD_FAILURE() << "two edits at once";
        } catch (const Failure& failure) {
            EXPECT_EQ(failure.text, "cannot lock: another process is editing it; --wait waits longer");
        }
        return bytes;
    });
}

TEST_F(Chosen, new_contents_stay_if_a_failed_rename_removes_the_file)
{
    const std::string message = folder
                                    .edit([&](const SystemCall& call) {
                                        if (call.name != "renameat2")
                                            return 0;
                                        return call.flags != 0 ? EINVAL : unlink(f.c_str()) == 0 ? EACCES : 0;
                                    })
                                    .value_or("done");
    const Names left = folder.names();
    ASSERT_EQ(left.size(), 1u);
    EXPECT_EQ(message, "cannot replace: Permission denied; its new contents are in " + (folder.dir / left[0]));
    EXPECT_EQ(readFile(folder.dir / left[0]), "k=2\n");
    try {
        editFile(f, {std::chrono::seconds(0), true}, contents("k=3\n"));
        ADD_FAILURE() << "the next edit ignores it";
    } catch (const Failure& failure) {
        EXPECT_EQ(failure.text, "cannot edit: an interrupted edit may have damaged it; copy " + (folder.dir / left[0]) +
                                    " to it, or remove that file");
    }
}

TEST_F(Chosen, version_of_another_program_stays_if_it_cannot_be_put_back)
{
    int renames = 0;
    const std::string message = folder
                                    .edit([&](const SystemCall& call) {
                                        if (call.flags != RENAME_EXCHANGE)
                                            return 0;
                                        if (++renames == 1) {
                                            writeFile(folder.dir / "other", "other\n");
                                            fs::rename(folder.dir / "other", f);
                                        }
                                        return renames == 2 ? EIO : 0;
                                    })
                                    .value_or("done");
    const Names left = folder.names();
    ASSERT_EQ(left.size(), 2u);
    EXPECT_EQ(
        message, "replaced, but another program may have changed it; the file before is " + (folder.dir / left[0]));
    EXPECT_EQ(readFile(folder.dir / left[0]), "other\n");
    EXPECT_EQ(readFile(f), "k=2\n");
    EXPECT_EQ(folder.edit("k=3\n"), std::nullopt);
    EXPECT_EQ(folder.names(), left) << "the next edit leaves it";
}

TEST_F(Chosen, program_that_opens_the_file_in_the_last_moment_writes_the_file)
{
    if (geteuid() != 0)
        SKIP_OR_FAIL("only the owner and root get a lease");
    int writer = -1;
    EXPECT_EQ(folder.edit([&](const SystemCall& call) {
        if (call.flags == RENAME_EXCHANGE && writer < 0)
            writer = open(f.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
        return 0;
    }),
        "cannot replace: another program has changed it");
    EXPECT_EQ(write(writer, "k=3\n", 4), 4);
    close(writer);
    EXPECT_EQ(readFile(f), "k=3\n");
    EXPECT_EQ(folder.names(), Names{"f"});
}

// First a change of the old file is noticed, then another program replaces the new one.
TEST_F(Chosen, replacement_while_a_change_is_noticed_stays)
{
    int renames = 0;
    const std::string message = folder
                                    .edit([&](const SystemCall& call) {
                                        renames += call.flags == RENAME_EXCHANGE;
                                        if (call.flags == RENAME_EXCHANGE && renames == 1)
                                            chmod(f.c_str(), 0600);
                                        if (call.flags == RENAME_EXCHANGE && renames == 2) {
                                            writeFile(folder.dir / "other", "other\n");
                                            fs::rename(folder.dir / "other", f);
                                        }
                                        return 0;
                                    })
                                    .value_or("done");
    const Names left = folder.names();
    ASSERT_EQ(left.size(), 2u);
    EXPECT_EQ(
        message, "replaced, but another program may have changed it; the file before is " + (folder.dir / left[0]));
    EXPECT_EQ(readFile(f), "other\n");
    EXPECT_EQ(readFile(folder.dir / left[0]), "k=1\n");
}

TEST_F(Chosen, contents_that_cannot_be_read_after_a_failed_rename_are_not_whole)
{
    bool hasFailed = false;
    const std::string message = folder
                                    .edit([&](const SystemCall& call) {
                                        const bool isRename =
                                            call.name == "renameat2" && call.flags != RENAME_NOREPLACE && fs::exists(f);
                                        hasFailed = hasFailed || isRename;
                                        return isRename || (hasFailed && call.name == "read") ? EIO : 0;
                                    })
                                    .value_or("done");
    const Names left = folder.names();
    ASSERT_EQ(left.size(), 2u);
    EXPECT_EQ(message, "cannot replace: Input/output error; its new contents are in " + (folder.dir / left[0]));
    EXPECT_EQ(readFile(folder.dir / left[0]), "k=2\n");
    EXPECT_EQ(readFile(f), "k=1\n");
}

TEST_F(Chosen, attributes_that_cannot_be_read_are_not_dropped)
{
    EXPECT_EQ(folder.edit(fail("flistxattr", EIO)), "cannot copy its owner and attributes: Input/output error");
    EXPECT_EQ(readFile(f), "k=1\n");
    EXPECT_EQ(folder.edit(fail("flistxattr", ENOTSUP)), std::nullopt);
    EXPECT_EQ(readFile(f), "k=2\n");
}

// The system may give a new file attributes that nobody can set.
TEST_F(Chosen, attributes_that_the_new_file_has_already_are_not_set)
{
    if (setxattr(f.c_str(), "user.note", "n", 1, 0) != 0)
        SKIP_OR_FAIL("this file system has no extended attributes");
    struct stat before = {};
    struct stat after = {};
    ASSERT_EQ(stat(f.c_str(), &before), 0);
    EXPECT_EQ(folder.edit([&](const SystemCall& call) {
        if (call.name == "flistxattr")
            setxattr((folder.dir / folder.names()[0]).c_str(), "user.note", "n", 1, 0);
        return call.name == "fsetxattr" ? EPERM : 0;
    }),
        std::nullopt);
    ASSERT_EQ(stat(f.c_str(), &after), 0);
    EXPECT_NE(after.st_ino, before.st_ino) << "the file is replaced";
    EXPECT_EQ(attribute(f, "user.note"), "n");
}

TEST_F(Chosen, attributes_without_a_value_are_kept)
{
    if (setxattr(f.c_str(), "user.note", "", 0, 0) != 0)
        SKIP_OR_FAIL("this file system has no extended attributes");
    EXPECT_EQ(folder.edit(happen), std::nullopt);
    EXPECT_EQ(getxattr(f.c_str(), "user.note", nullptr, 0), 0);
}

TEST_F(Chosen, acl_from_the_directory_that_cannot_be_removed_does_not_stay)
{
    if (setxattr(folder.dir.path().c_str(), "system.posix_acl_default", acl.data(), acl.size(), 0) != 0)
        SKIP_OR_FAIL("no ACLs here, or not for other users");
    struct stat before = {};
    struct stat after = {};
    ASSERT_EQ(stat(f.c_str(), &before), 0);
    EXPECT_EQ(folder.edit(fail("fremovexattr", EPERM)), std::nullopt);
    ASSERT_EQ(stat(f.c_str(), &after), 0);
    EXPECT_EQ(after.st_ino, before.st_ino) << "the file is written in place";
    EXPECT_EQ(attribute(f, "system.posix_acl_access"), "");
    EXPECT_EQ(readFile(f), "k=2\n");
}

TEST_F(Chosen, short_writes_are_continued)
{
    int writes = 0;
    EXPECT_EQ(folder.edit("k=abcdefgh\n",
                  [&](SystemCall& call) {
                      writes += call.name == "write";
                      call.size = std::min<std::size_t>(call.size, 3);
                      return 0;
                  }),
        std::nullopt);
    EXPECT_EQ(writes, 4);
    EXPECT_EQ(readFile(f), "k=abcdefgh\n");
}

// The file may be secret, and the new one gets its owner and mode before its contents.
TEST_F(Chosen, temporary_files_are_private)
{
    for (const bool isLinked : {false, true}) {
        if (isLinked)
            fs::create_hard_link(f, folder.dir / "g");
        std::vector<unsigned> modes;
        EXPECT_EQ(folder.edit(isLinked ? "k=3\n" : "k=2\n",
                      [&](const SystemCall& call) {
                          struct stat status = {};
                          if (call.name == (isLinked ? "fsync" : "fchmod") && fstat(call.descriptor, &status) == 0)
                              modes.push_back(status.st_mode & 07777);
                          return 0;
                      }),
            std::nullopt);
        ASSERT_FALSE(modes.empty());
        EXPECT_EQ(modes[0], 0600u);
    }
}

// The time of the last change changes too. An overlay changes it when the file is opened for writing.
TEST_F(Chosen, late_change_of_the_mode_stays_and_does_not_stop_a_write_in_place)
{
    fs::create_hard_link(f, folder.dir / "g");
    bool isSaved = false;
    EXPECT_EQ(folder.edit([&](const SystemCall& call) {
        isSaved = isSaved || call.name == "renameat2";
        return isSaved && call.name == "openat" ? chmod(f.c_str(), 0600) : 0;
    }),
        std::nullopt);
    EXPECT_EQ(readFile(folder.dir / "g"), "k=2\n");
    EXPECT_EQ(stateOf(f).mode & 07777, 0600u);
}

TEST_F(Chosen, file_that_is_opened_for_writing_before_a_write_in_place_is_refused)
{
    if (geteuid() != 0)
        SKIP_OR_FAIL("only the owner and root get a lease");
    fs::create_hard_link(f, folder.dir / "g");
    int writer = -1;
    EXPECT_EQ(folder.edit([&](const SystemCall& call) {
        if (call.name == "renameat2")
            writer = open(f.c_str(), O_WRONLY | O_CLOEXEC);
        return 0;
    }),
        "cannot replace: another program has changed it");
    close(writer);
    EXPECT_EQ(readFile(f), "k=1\n");
}

TEST_F(Chosen, write_in_place_that_cannot_open_the_file_is_refused)
{
    fs::create_hard_link(f, folder.dir / "g");
    bool isSaved = false;
    EXPECT_EQ(folder.edit([&](const SystemCall& call) {
        isSaved = isSaved || call.name == "renameat2";
        return isSaved && call.name == "openat" ? EIO : 0;
    }),
        "cannot write: Input/output error");
    EXPECT_EQ(readFile(f), "k=1\n");
    EXPECT_EQ(folder.names(), (Names{"f", "g"}));
}

TEST_F(Chosen, write_in_place_without_room_for_a_copy_is_refused)
{
    fs::create_hard_link(f, folder.dir / "g");
    const std::string before = fs::temp_directory_path();
    setenv("TMPDIR", "/dev/shm", 1);
    const auto chosen = folder.edit(fail("renameat2", ENOSPC));
    setenv("TMPDIR", "", 1);
    const auto usual = folder.edit(fail("renameat2", ENOSPC));
    setenv("TMPDIR", before.c_str(), 1);
    EXPECT_EQ(chosen, "cannot save a copy in /dev/shm: No space left on device");
    EXPECT_EQ(usual, "cannot save a copy in /var/tmp: No space left on device");
    EXPECT_EQ(readFile(f), "k=1\n");
    EXPECT_EQ(folder.names(), (Names{"f", "g"}));
}

TEST_F(Chosen, full_folder_is_no_reason_to_write_in_place)
{
    EXPECT_EQ(folder.edit(fail("openat", ENOSPC)),
        "cannot create a file in " + folder.dir.path() + ": No space left on device");
    EXPECT_EQ(readFile(f), "k=1\n");
}

TEST(Creation, does_not_replace_a_file_of_another_program)
{
    const Folder folder(situations[4]);
    EXPECT_EQ(folder.edit([&](const SystemCall& call) {
        if (call.name == "renameat2")
            writeFile(folder.f, "other\n");
        return 0;
    }),
        "cannot create: File exists");
    EXPECT_EQ(readFile(folder.f), "other\n");
    EXPECT_EQ(folder.names(), Names{"f"});
}

TEST_F(Chosen, file_that_is_open_for_writing_is_edited_without_a_lock)
{
    const int writer = open(f.c_str(), O_WRONLY | O_CLOEXEC);
    editFile(f, {std::chrono::seconds(0), false, false}, contents("k=2\n"));
    EXPECT_EQ(readFile(f), "k=2\n");
    close(writer);
    fs::create_hard_link(f, folder.dir / "g");
    const int inPlace = open(f.c_str(), O_WRONLY | O_CLOEXEC);
    editFile(f, {std::chrono::seconds(0), false, false}, contents("k=3\n"));
    EXPECT_EQ(readFile(folder.dir / "g"), "k=3\n");
    close(inPlace);
}

TEST_F(Chosen, file_that_is_replaced_while_it_is_locked_is_opened_again)
{
    const std::string temporary = folder.dir / ".f.zk_settings-0123456789abcdef";
    int locks = 0;
    const SystemCalls calls([&](const SystemCall& call) {
        locks += call.name == "flock";
        if (call.name == "flock" && locks == 1) {
            writeFile(folder.dir / "other", "other\n");
            fs::rename(folder.dir / "other", f);
            writeFile(temporary, "of the edit that has the lock");
        }
        EXPECT_TRUE(call.name != "flock" || locks > 3 || fs::exists(temporary));
        return 0;
    });
    editFile(f, {std::chrono::seconds(1)}, [&](const std::string& bytes) {
        EXPECT_EQ(locks, 3) << "two for the file, and one to see whether the temporary file is in use";
        EXPECT_EQ(bytes, "other\n");
        return "new\n";
    });
    EXPECT_EQ(readFile(f), "new\n");
    EXPECT_FALSE(fs::exists(temporary));
}

TEST_F(Chosen, exchange_that_reports_an_error_may_be_done)
{
    const auto message = folder.edit([&](const SystemCall& call) {
        if (call.name != "renameat2")
            return 0;
        for (const std::string& name : folder.names())
            syscall(SYS_renameat2, AT_FDCWD, (folder.dir / name).c_str(), AT_FDCWD, f.c_str(), RENAME_EXCHANGE);
        return EIO;
    });
    EXPECT_EQ(message, std::nullopt);
    EXPECT_EQ(readFile(f), "k=2\n");
    EXPECT_EQ(folder.names(), Names{"f"});
}

TEST_F(Chosen, temporary_file_of_a_running_edit_stays)
{
    const std::string temporary = ".f.zk_settings-0123456789abcdef";
    writeFile(folder.dir / temporary, "of an edit whose file was replaced");
    const int running = open((folder.dir / temporary).c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_EQ(flock(running, LOCK_EX), 0);
    editFile(f, {std::chrono::seconds(1)}, contents("k=2\n"));
    EXPECT_EQ(folder.names(), (Names{temporary, "f"}));
    close(running);
    editFile(f, {std::chrono::seconds(1)}, contents("k=3\n"));
    EXPECT_EQ(folder.names(), Names{"f"});
}

// Another program finds the file just before it is replaced, and changes it while the directory is flushed. Returns the
// message of the edit.
template <typename Action>
std::string editWithLate(const Folder& folder, const Action& act, int error = 0)
{
    const auto observer = [&](const SystemCall& call) {
        if (call.name != "fsync" || readFile(folder.f) != "k=2\n")
            return 0;
        act(folder.dir / folder.names()[0]);
        return error;
    };
    return folder.edit("k=2\n", observer).value_or("done");
}

TEST_F(Chosen, late_change_of_the_old_mode_is_kept)
{
    for (const int error : {0, EIO}) { // of the flush
        EXPECT_EQ(editWithLate(
                      folder, [](const std::string& old) { chmod(old.c_str(), 0600); }, error),
            "cannot replace: another program has changed it");
        EXPECT_EQ(stateOf(f).mode & 07777, 0600u);
        EXPECT_EQ(readFile(f), "k=1\n");
        EXPECT_EQ(folder.names(), Names{"f"});
        chmod(f.c_str(), 0644);
    }
}

TEST_F(Chosen, late_writes_to_the_old_file_are_kept)
{
    EXPECT_EQ(editWithLate(folder, [](const std::string& old) { writeFile(old, "k=1\nlate\n"); }),
        "cannot replace: another program has changed it");
    EXPECT_EQ(readFile(f), "k=1\nlate\n");
    EXPECT_EQ(folder.names(), Names{"f"});
}

TEST_F(Chosen, return_of_the_old_file_is_flushed)
{
    Names calls;
    const auto message = folder.edit([&](const SystemCall& call) {
        struct stat status = {};
        const bool isFlush = call.name == "fsync" && fstat(call.descriptor, &status) == 0 && S_ISDIR(status.st_mode);
        if (isFlush && calls.size() == 1)
            writeFile(folder.dir / folder.names()[0], "k=1\nlate\n"); // the old file, behind a dot
        if (isFlush || call.name == "renameat2")
            calls.push_back(call.name);
        return 0;
    });
    EXPECT_EQ(message, "cannot replace: another program has changed it");
    EXPECT_EQ(calls, (Names{"renameat2", "fsync", "renameat2", "fsync"}));
}

TEST_F(Chosen, late_writes_to_both_files_are_kept)
{
    const std::string message = editWithLate(folder, [this](const std::string& old) {
        writeFile(old, "k=1\nlate\n");
        writeFile(f, "k=2\nlater\n");
    });
    const Names left = folder.names();
    ASSERT_EQ(left.size(), 2u);
    EXPECT_EQ(
        message, "replaced, but another program may have changed it; the file before is " + (folder.dir / left[0]));
    EXPECT_EQ(readFile(folder.dir / left[0]), "k=1\nlate\n");
    EXPECT_EQ(readFile(f), "k=2\nlater\n");
}

TEST_F(Chosen, file_that_is_open_for_writing_is_waited_for)
{
    if (geteuid() != 0)
        SKIP_OR_FAIL("only the owner and root get a lease");
    const int writer = open(f.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC);
    EXPECT_EQ(folder.edit("k=2\n"), "cannot lock: another process is editing it; --wait waits longer");
    std::thread other([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        EXPECT_EQ(write(writer, "k=other\n", 8), 8);
        close(writer);
    });
    editFile(f, {std::chrono::seconds(10)}, [](const std::string& bytes) {
        EXPECT_EQ(bytes, "k=other\n");
        return bytes;
    });
    other.join();
}

TEST_F(Chosen, temporary_names_cannot_be_predicted)
{
    Names left;
    for (int i = 0; i < 2; ++i) {
        const Folder killed(situations[0]);
        inChild([&] { killed.edit([](const SystemCall& call) { return call.name == "fsync" ? raise(SIGKILL) : 0; }); });
        ASSERT_EQ(killed.names().size(), 2u);
        left.push_back(killed.names()[0]);
        EXPECT_EQ(left.back().size(), std::string(".f.zk_settings-0123456789abcdef").size());
    }
    EXPECT_NE(left[0], left[1]);
}

TEST_F(Chosen, folder_without_room_for_a_copy_has_it_in_the_temporary_folder)
{
    fs::create_hard_link(f, folder.dir / "g");
    const TempDir temporary;
    const std::string before = fs::temp_directory_path();
    setenv("TMPDIR", temporary.path().c_str(), 1);
    int copies = 0;
    EXPECT_EQ(folder.edit([&](const SystemCall& call) {
        if (call.name == "ftruncate") // of the copy, and of the file
            copies += !fs::is_empty(temporary.path());
        return call.name == "write" && fs::exists(folder.dir / "g") && folder.names().size() == 3 ? ENOSPC : 0;
    }),
        std::nullopt);
    setenv("TMPDIR", before.c_str(), 1);
    EXPECT_EQ(copies, 2);
    EXPECT_TRUE(fs::is_empty(temporary.path()));
    EXPECT_EQ(readFile(folder.dir / "g"), "k=2\n");
}

} // namespace
