#include "support/mounts.h"

#include "support/files.h"

#include <cerrno>
#include <cstring>
#include <sched.h>
#include <stdexcept>
#include <sys/mount.h>
#include <unistd.h>

namespace {

std::string failure(const std::string& what)
{
    return what + ": " + std::strerror(errno);
}

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

} // namespace

std::string makeMountsPrivate()
{
    if (geteuid() != 0 && !becomeRootOfANamespace())
        return failure("no user namespace");
    if (unshare(CLONE_NEWNS) != 0)
        return failure("no mount namespace");
    if (mount("none", "/", "none", MS_REC | MS_PRIVATE, nullptr) != 0)
        return failure("mounts stay shared");
    return {};
}

void mountOver(const std::string& target, const std::string& source)
{
    if (mount(source.c_str(), target.c_str(), "none", MS_BIND, nullptr) != 0)
        throw std::runtime_error(failure("cannot mount over " + target));
}
