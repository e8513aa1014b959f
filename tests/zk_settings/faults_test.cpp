// Fails or kills an edit at every system call, and lets other programs interfere at every moment that matters.
#include "failure.h"
#include "lockedfile.h"

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
#include <sys/wait.h>
#include <sys/xattr.h>

namespace fs = std::filesystem;

namespace {

using Names = std::vector<std::string>;

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
};

const Situation situations[] = {
    {"plain", "k=1\n", "k=2\n"},
    {"foreign", "k=1\n", "k=2\n", true},
    {"links_growing", "k=1\n", "k=longer\n", true, true},
    {"links_shrinking", "k=longer\n", "k=1\n", true, true},
    {"create", nullptr, "k=2\n"},
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

    // Returns the message of a failed edit.
    std::optional<std::string> edit(const char* bytes, const SystemCalls::Observer& observer = happen) const
    {
        const SystemCalls calls(observer);
        try {
            LockedFile(f, {std::chrono::seconds(0), true}).replace(bytes);
            return std::nullopt;
        } catch (const Failure& failure) {
            EXPECT_EQ(failure.status, Trouble);
            return failure.file == f ? failure.text : "no name: " + failure.text;
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

bool contains(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

// Checks the file, and what the next edit makes of it.
void expectWhatIsSaid(const Folder& folder, const std::optional<std::string>& message)
{
    const State found = stateOf(folder.f);
    const char* const done[] = {"edited, but the edit may not survive a power failure: cannot flush its folder",
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
        sigprocmask(SIG_BLOCK, nullptr, &m_signals);
    }
    void TearDown() override { sigprocmask(SIG_SETMASK, &m_signals, nullptr); }

private:
    sigset_t m_signals = {};
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
            EXPECT_FALSE(isReached) << "more calls than expected";
        }
    }
    std::cout << faults << " faults\n";
}

INSTANTIATE_TEST_SUITE_P(Of, Faults, testing::ValuesIn(situations), rowName);

class Kills : public Faults
{
};

TEST_P(Kills, leave_the_old_file_or_the_new_one_or_a_copy)
{
    bool isReached = true;
    for (int kill = 1; isReached && !HasFailure(); ++kill) {
        SCOPED_TRACE(kill);
        const Folder folder(GetParam());
        const pid_t child = fork();
        if (child == 0) {
            int count = 0;
            const auto message = folder.edit([&](const SystemCall&) {
                if (++count == kill)
                    raise(SIGKILL);
                return 0;
            });
            _exit(message ? 1 : 0);
        }
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        isReached = WIFSIGNALED(status);
        EXPECT_TRUE(isReached || status == 0);
        const State found = stateOf(folder.f);
        EXPECT_TRUE(found == folder.old || found == folder.expected() || folder.copy()) << found.bytes.value_or("none");
        folder.expectNextEdit();
    }
}

INSTANTIATE_TEST_SUITE_P(Of, Kills, testing::ValuesIn(situations), rowName);

} // namespace
