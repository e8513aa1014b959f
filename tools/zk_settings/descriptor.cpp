#include "descriptor.h"

#include "failure.h"

#include <algorithm>
#include <charconv>
#include <fcntl.h>
#include <filesystem>

namespace fs = std::filesystem;

namespace {

// /dev/stdout and /dev/fd/N are links to a path that this accepts.
bool isDescriptor(const fs::path& path)
{
    std::error_code ignored; // a missing folder gives false
    return fs::equivalent(path.parent_path(), "/proc/self/fd", ignored);
}

} // namespace

std::string withoutLinks(const std::string& name)
{
    constexpr int mostLinks = 40; // the limit of the system
    fs::path path = name;
    std::error_code ignored; // opening the path reports the error
    for (int i = 0; i < mostLinks && !isDescriptor(path) && fs::is_symlink(path, ignored); ++i)
        path = path.parent_path() / fs::read_symlink(path, ignored);
    return path;
}

std::optional<int> namedDescriptor(const std::string& name, int standard)
{
    if (name == "-")
        return standard;
    const fs::path path = withoutLinks(name);
    const std::string number = path.filename();
    int descriptor = -1;
    const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), descriptor);
    const bool isNumber = error == std::errc() && end == number.data() + number.size() && descriptor >= 0;
    return isNumber && isDescriptor(path) ? std::optional(descriptor) : std::nullopt;
}

void occupyStandardDescriptors()
{
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(descriptor, F_GETFD) < 0) // open() returns the lowest free number
            open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY);
    }
}

QByteArray readAll(int descriptor, const std::string& name)
{
    constexpr qsizetype pieceSize = 256 * 1024;
    QByteArray bytes;
    while (true) {
        const qsizetype size = bytes.size();
        bytes.resize(size + pieceSize);
        const ssize_t count = read(descriptor, bytes.data() + size, pieceSize);
        if (count < 0 && errno != EINTR)
            throw systemFailure(name, "read");
        bytes.resize(size + std::max<ssize_t>(count, 0));
        if (count == 0)
            return bytes;
    }
}

void writeAll(int descriptor, const QByteArray& bytes, const std::string& name)
{
    for (qsizetype done = 0; done < bytes.size();) {
        const ssize_t count = write(descriptor, bytes.data() + done, static_cast<std::size_t>(bytes.size() - done));
        if (count < 0 && errno != EINTR)
            throw systemFailure(name, "write");
        done += std::max<ssize_t>(count, 0);
    }
}
