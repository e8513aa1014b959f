#include "support/process.h"

#include "support/files.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace {

void become(int descriptor, const std::string& path, int flags)
{
    const int file = open(path.c_str(), flags, 0600);
    if (file < 0 || dup2(file, descriptor) < 0)
        _exit(126);
    close(file);
}

[[noreturn]] void startChild(const std::vector<std::string>& arguments, const Start& start, const TempDir& dir)
{
    setpgid(0, 0); // a group of its own, to end it as a whole
    become(STDIN_FILENO, dir / "in", O_RDONLY);
    become(STDOUT_FILENO, dir / "out", O_WRONLY | O_CREAT);
    become(STDERR_FILENO, dir / "err", O_WRONLY | O_CREAT);
    if (!start.directory.empty() && chdir(start.directory.c_str()) != 0)
        _exit(126);

    // Qt warns on standard error if the locale is not UTF-8, as in a bare container.
    setenv("LC_ALL", "C.UTF-8", 1);
    for (const std::string& assignment : start.environment) {
        const std::size_t equals = assignment.find('=');
        setenv(assignment.substr(0, equals).c_str(), assignment.c_str() + equals + 1, 1);
    }
    execute(arguments, start.seconds);
}

} // namespace

Finished run(const std::vector<std::string>& arguments, const Start& start)
{
    const TempDir dir;
    writeFile(dir / "in", start.input);

    const pid_t child = fork();
    if (child < 0)
        throw std::runtime_error("cannot fork");
    if (child == 0)
        startChild(arguments, start, dir);

    int status = 0;
    if (waitpid(child, &status, 0) != child)
        throw std::runtime_error("cannot wait for " + arguments[0]);
    if (WIFSIGNALED(status) && WTERMSIG(status) == SIGALRM) {
        kill(-child, SIGKILL);
        ADD_FAILURE() << arguments[0] << " did not end within " << start.seconds << " seconds";
    }

    Finished finished;
    finished.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    finished.out = readFile(dir / "out");
    finished.err = readFile(dir / "err");
    return finished;
}

void execute(const std::vector<std::string>& arguments, unsigned seconds)
{
    std::vector<char*> argv;
    for (const std::string& argument : arguments)
        argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    alarm(seconds);
    execvp(argv[0], argv.data());
    _exit(127);
}
