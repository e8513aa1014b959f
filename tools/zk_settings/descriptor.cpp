#include "descriptor.h"

#include "failure.h"

#include <algorithm>
#include <charconv>
#include <csignal>
#include <fcntl.h>
#include <linux/limits.h>
#include <sys/stat.h>
#include <sys/xattr.h>

static constexpr char copying[] = "copy its owner and attributes";

std::optional<int> namedDescriptor(const std::string& name)
{
    if (name == "-" || name == "/dev/stdin")
        return STDIN_FILENO;
    const std::string folder = "/dev/fd/";
    const char* const end = name.data() + name.size();
    unsigned number = 0; // takes no sign
    if (name.compare(0, folder.size(), folder) != 0)
        return std::nullopt;
    const auto [stop, error] = std::from_chars(name.data() + folder.size(), end, number);
    return error == std::errc() && stop == end ? std::optional(static_cast<int>(number)) : std::nullopt;
}

void occupyStandardDescriptors()
{
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(descriptor, F_GETFD) < 0) // open() returns the lowest free number
            open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY);
    }
}

// No call is repeated after EINTR: the program has no signal handlers, so the kernel continues a call after a stop.
std::string readAll(int descriptor)
{
    constexpr std::size_t pieceSize = 256 * 1024;
    std::string bytes;
    while (true) {
        const std::size_t size = bytes.size();
        bytes.resize(size + pieceSize);
        const ssize_t count = read(descriptor, bytes.data() + size, pieceSize);
        check(count >= 0, "read");
        bytes.resize(size + static_cast<std::size_t>(count));
        if (count == 0 || bytes.find('\0', size) != bytes.npos)
            return bytes;
    }
}

void writeAll(int descriptor, std::string_view bytes, const char* file)
{
    while (!bytes.empty()) {
        const ssize_t count = write(descriptor, bytes.data(), bytes.size());
        check(count >= 0, "write", "", file);
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
}

void overwrite(int descriptor, const std::string& bytes)
{
    check(lseek(descriptor, 0, SEEK_SET) == 0, "write");
    writeAll(descriptor, bytes);
    check(ftruncate(descriptor, static_cast<off_t>(bytes.size())) == 0, "write");
    check(fsync(descriptor) == 0, "flush to the disk");
}

// Sets only what differs: some attributes cannot be set, but the new file has the same.
static void copyAttributes(int from, int to)
{
    static char names[XATTR_LIST_MAX], value[XATTR_SIZE_MAX], present[XATTR_SIZE_MAX];
    const ssize_t namesSize = flistxattr(from, names, sizeof names);
    check(namesSize >= 0 || errno == ENOTSUP, copying);                    // this file system has none
    const bool isPlain = fremovexattr(to, "system.posix_acl_access") == 0; // that of the directory
    check(isPlain || errno == ENODATA || errno == ENOTSUP, copying);
    for (const char* name = names; name < names + namesSize; name += std::strlen(name) + 1) {
        const ssize_t size = fgetxattr(from, name, value, sizeof value);
        check(size >= 0, copying);
        const bool isThere =
            fgetxattr(to, name, present, sizeof present) == size && std::equal(value, value + size, present);
        check(isThere || fsetxattr(to, name, value, static_cast<std::size_t>(size), 0) == 0, copying);
    }
}

// Sets the mode last, because a change of owner clears some of its bits.
void copyStatus(int from, const struct stat& status, int to)
{
    struct stat present = {};
    check(fstat(to, &present) == 0, copying);
    const bool isOwned = present.st_uid == status.st_uid && present.st_gid == status.st_gid;
    check(isOwned || fchown(to, status.st_uid, status.st_gid) == 0, copying);
    copyAttributes(from, to);
    check(fchmod(to, status.st_mode & 07777) == 0, copying);
}

// The system refuses a lease then.
bool isWrittenElsewhere(int descriptor)
{
    if ((fcntl(descriptor, F_GETFL) & O_ACCMODE) != O_RDONLY)
        return false;
    std::signal(SIGIO, SIG_IGN); // sent if another program opens the file just now
    const bool isRefused = fcntl(descriptor, F_SETLEASE, F_RDLCK) != 0 && errno == EAGAIN;
    fcntl(descriptor, F_SETLEASE, F_UNLCK);
    return isRefused;
}
