#ifndef ZK_SETTINGS_FAILURE_H
#define ZK_SETTINGS_FAILURE_H

#include <cerrno>
#include <cstring>
#include <string>

/// The exit statuses.
enum Status
{
    Done = 0,
    Absent = 1, ///< no such section, key or value
    Trouble = 2 ///< everything else
};

/// Ends a command. main() prints it and returns the status.
struct Failure
{
    Status status;
    std::string text;
    int line = 0;          ///< 0: none
    std::string file = {}; ///< empty: the command's FILE
    int error = 0;         ///< errno of the system call that has failed; 0 also if the edit is done nevertheless
};

/// Describes the system call that has just failed: "cannot read: Permission denied", and what follows.
inline Failure systemFailure(const std::string& action, const char* rest = "", const char* file = "")
{
    return {Trouble, "cannot " + action + ": " + std::strerror(errno) + rest, 0, file, errno};
}

/// Throws systemFailure() unless the system call is done.
inline void check(bool isDone, const std::string& action, const char* rest = "", const char* file = "")
{
    if (!isDone)
        throw systemFailure(action, rest, file);
}

#endif
