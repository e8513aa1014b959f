#include "systemcalls.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace {

SystemCalls::Observer observer;

// Whether the call happens. Otherwise errno is set.
bool happens(SystemCall& call)
{
    if (!observer)
        return true;
    const SystemCalls::Observer current = std::move(observer);
    observer = nullptr; // what it does is not seen
    errno = current(call);
    observer = current;
    return errno == 0;
}

template <typename Result, typename... Arguments>
Result real(const char* name, Arguments... arguments)
{
    return reinterpret_cast<Result (*)(Arguments...)>(dlsym(RTLD_NEXT, name))(arguments...);
}

template <typename Result = int, typename... Arguments>
Result pass(int descriptor, const char* name, Arguments... arguments)
{
    SystemCall call{name, descriptor};
    return happens(call) ? real<Result>(name, arguments...) : -1;
}

int flushed(const char* name, int file)
{
    if (!observer)
        return real<int>(name, file);
    SystemCall call{name, file};
    return happens(call) ? 0 : -1;
}

} // namespace

SystemCalls::SystemCalls(Observer wanted)
{
    observer = std::move(wanted);
}

SystemCalls::~SystemCalls()
{
    observer = nullptr;
}

// The calls that tools/zk_settings makes, and those that std::filesystem makes for it.
extern "C" {

int open(const char* path, int flags, ...)
{
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = va_arg(rest, mode_t);
    va_end(rest);
    return pass(AT_FDCWD, "open", path, flags, mode);
}

int openat(int folder, const char* path, int flags, ...)
{
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = va_arg(rest, mode_t);
    va_end(rest);
    return pass(folder, "openat", folder, path, flags, mode);
}

int fcntl(int file, int command, ...)
{
    va_list rest;
    va_start(rest, command);
    void* const argument = va_arg(rest, void*);
    va_end(rest);
    return pass(file, "fcntl", file, command, argument);
}

ssize_t read(int file, void* bytes, std::size_t size)
{
    return pass<ssize_t>(file, "read", file, bytes, size);
}

ssize_t write(int file, const void* bytes, std::size_t size)
{
    SystemCall call{"write", file, 0, size};
    return happens(call) ? real<ssize_t>("write", file, bytes, call.size) : -1;
}

off_t lseek(int file, off_t offset, int whence) noexcept
{
    return pass<off_t>(file, "lseek", file, offset, whence);
}

int fsync(int file)
{
    return flushed("fsync", file);
}

int syncfs(int file) noexcept
{
    return flushed("syncfs", file);
}

int ftruncate(int file, off_t size) noexcept
{
    return pass(file, "ftruncate", file, size);
}

int fstatfs(int file, struct statfs* system) noexcept
{
    SystemCall call{"fstatfs", file};
    const int result = happens(call) ? real<int>("fstatfs", file, system) : -1;
    if (call.type != 0)
        system->f_type = call.type;
    return result;
}

int flock(int file, int operation) noexcept
{
    return pass(file, "flock", file, operation);
}

int stat(const char* path, struct stat* status) noexcept
{
    return pass(AT_FDCWD, "stat", path, status);
}

int lstat(const char* path, struct stat* status) noexcept
{
    return pass(AT_FDCWD, "lstat", path, status);
}

int fstat(int file, struct stat* status) noexcept
{
    return pass(file, "fstat", file, status);
}

int fstatat(int folder, const char* path, struct stat* status, int flags) noexcept
{
    return pass(folder, "fstatat", folder, path, status, flags);
}

int faccessat(int folder, const char* path, int mode, int flags) noexcept
{
    return pass(folder, "faccessat", folder, path, mode, flags);
}

ssize_t readlink(const char* path, char* target, std::size_t size) noexcept
{
    return pass<ssize_t>(AT_FDCWD, "readlink", path, target, size);
}

char* realpath(const char* path, char* found) noexcept
{
    SystemCall call{"realpath", AT_FDCWD};
    return happens(call) ? real<char*>("realpath", path, found) : nullptr;
}

int renameat2(int from, const char* path, int to, const char* target, unsigned flags) noexcept
{
    SystemCall call{"renameat2", from, flags};
    return happens(call) ? real<int>("renameat2", from, path, to, target, flags) : -1;
}

int linkat(int from, const char* path, int to, const char* target, int flags) noexcept
{
    return pass(from, "linkat", from, path, to, target, flags);
}

int unlinkat(int folder, const char* path, int flags) noexcept
{
    return pass(folder, "unlinkat", folder, path, flags);
}

int fchown(int file, uid_t user, gid_t group) noexcept
{
    return pass(file, "fchown", file, user, group);
}

int fchmod(int file, mode_t mode) noexcept
{
    return pass(file, "fchmod", file, mode);
}

ssize_t flistxattr(int file, char* list, std::size_t size) noexcept
{
    return pass<ssize_t>(file, "flistxattr", file, list, size);
}

ssize_t fgetxattr(int file, const char* name, void* value, std::size_t size) noexcept
{
    return pass<ssize_t>(file, "fgetxattr", file, name, value, size);
}

int fsetxattr(int file, const char* name, const void* value, std::size_t size, int flags) noexcept
{
    return pass(file, "fsetxattr", file, name, value, size, flags);
}

int fremovexattr(int file, const char* name) noexcept
{
    return pass(file, "fremovexattr", file, name);
}
}
