#ifndef KQSUPPORT_TESTS_PROCESS_H
#define KQSUPPORT_TESTS_PROCESS_H

#include <string>
#include <vector>

/// How a program ended and what it printed.
struct Finished
{
    int status = -1; ///< exit status, or 128 plus the signal that ended it
    std::string out;
    std::string err;
};

/// How to start a program, beyond its arguments.
struct Start
{
    std::string input;                    ///< its standard input, then end of file
    std::vector<std::string> environment; ///< NAME=VALUE, added to ours and LC_ALL=C.UTF-8
    std::string directory;                ///< working directory; ours if empty
    unsigned seconds = 120;               ///< after which it is ended
};

/// Runs a program to its end. `arguments[0]` is looked up on the path. If it takes too long, ends it with all that it
/// has started, and fails the running test.
Finished run(const std::vector<std::string>& arguments, const Start& start = {});

/// Replaces this process, a child, with a program, which SIGALRM ends after `seconds`.
[[noreturn]] void execute(const std::vector<std::string>& arguments, unsigned seconds = Start().seconds);

#endif
