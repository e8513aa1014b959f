#include "support/mounts.h"

#include "support/files.h"
#include "support/rows.h"

#include <cstdio>
#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr int cannotMount = 77;

// An ordinary user can mount only as root of a user namespace.
bool becomeRootOfANamespace()
{
    const std::string user = std::to_string(geteuid());
    const std::string group = std::to_string(getegid());
    if (unshare(CLONE_NEWUSER) != 0)
        return false;
    writeFile("/proc/self/setgroups", "deny");
    writeFile("/proc/self/uid_map", "0 " + user + " 1");
    writeFile("/proc/self/gid_map", "0 " + group + " 1");
    return true;
}

bool makeMountsPrivate()
{
    return (geteuid() == 0 || becomeRootOfANamespace()) && unshare(CLONE_NEWNS) == 0 &&
           mount("none", "/", "none", MS_REC | MS_PRIVATE, nullptr) == 0;
}

// An exception must not leave the child, which would go on with the other tests.
[[noreturn]] void runChild(const std::function<void()>& action) noexcept
{
    if (!makeMountsPrivate())
        _exit(cannotMount);
    action();
    std::fflush(nullptr);
    _exit(testing::Test::HasFailure() ? 1 : 0);
}

} // namespace

void withPrivateMounts(const std::function<void()>& action)
{
    std::fflush(nullptr); // or the child prints it once more
    const pid_t child = fork();
    if (child == 0)
        runChild(action);
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    if (WIFEXITED(status) && WEXITSTATUS(status) == cannotMount)
        SKIP_OR_FAIL("no private mount namespace");
    EXPECT_EQ(status, 0) << "the failures are above";
}
