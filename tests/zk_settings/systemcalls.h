#ifndef KQSUPPORT_TESTS_ZK_SETTINGS_SYSTEMCALLS_H
#define KQSUPPORT_TESTS_ZK_SETTINGS_SYSTEMCALLS_H

#include <cstddef>
#include <functional>
#include <string>

/// A system call of the code under test that is about to happen.
struct SystemCall
{
    std::string name;     ///< of the function in the C library
    int descriptor;       ///< its first argument if that is a file, else AT_FDCWD
    unsigned flags = 0;   ///< of renameat2
    std::size_t size = 0; ///< of write; may be reduced
    unsigned type = 0;    ///< of fstatfs: the file system to report, unless 0
};

/// While it lives, `observe` sees every system call on files. It returns 0 to let it happen, or the error with which it
/// fails. What it does itself is not seen. A flush takes no time: it only looks as if it happened.
class SystemCalls
{
public:
    using Observer = std::function<int(SystemCall& call)>;

    explicit SystemCalls(Observer observer);
    ~SystemCalls();
    SystemCalls(const SystemCalls&) = delete;
    SystemCalls& operator=(const SystemCalls&) = delete;
};

#endif
