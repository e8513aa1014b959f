#include "descriptor.h"

#include "failure.h"

#include <fcntl.h>
#include <regex>

std::optional<int> namedDescriptor(const std::string& name, int standard)
{
    if (name == "-")
        return standard;
    if (name == "/dev/stdin")
        return STDIN_FILENO;
    if (name == "/dev/stdout")
        return STDOUT_FILENO;
    if (name == "/dev/stderr")
        return STDERR_FILENO;
    static const std::regex numbered("/(?:dev|proc/self)/fd/([0-9]{1,7})");
    std::smatch match;
    if (!std::regex_match(name, match, numbered))
        return std::nullopt;
    return std::stoi(match[1]);
}

void occupyStandardDescriptors()
{
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(descriptor, F_GETFD) < 0) // the lowest free number is what open() takes
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
