#include "descriptor.h"

#include "failure.h"

#include <charconv>
#include <fcntl.h>

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
