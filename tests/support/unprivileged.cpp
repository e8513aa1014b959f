#include "support/unprivileged.h"

#include <gtest/gtest.h>

#include <grp.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr uid_t nobody = 65534;

bool dropPrivileges()
{
    if (geteuid() != 0)
        return true;
    return setgroups(0, nullptr) == 0 && setgid(nobody) == 0 && setuid(nobody) == 0 && geteuid() == nobody;
}

[[noreturn]] void answer(int descriptor, const std::function<std::string()>& action)
{
    if (!dropPrivileges())
        _exit(2);
    const std::string text = action();
    const bool sent = write(descriptor, text.data(), text.size()) == ssize_t(text.size());
    _exit(sent ? 0 : 3);
}

} // namespace

std::string asOrdinaryUser(const std::function<std::string()>& action)
{
    int ends[2];
    EXPECT_EQ(pipe(ends), 0);
    const pid_t child = fork();
    if (child == 0)
        answer(ends[1], action);
    close(ends[1]);

    std::string text;
    char buffer[4096];
    for (ssize_t got = 0; (got = read(ends[0], buffer, sizeof buffer)) > 0;)
        text.append(buffer, std::size_t(got));
    close(ends[0]);

    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0) << "the ordinary user's process failed";
    return text;
}
