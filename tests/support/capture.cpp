#include "support/capture.h"

#include "support/files.h"

#include <cstdio>
#include <fcntl.h>
#include <stdexcept>
#include <unistd.h>

namespace {

// Restores the descriptor, even when the action throws.
class Redirection
{
public:
    Redirection(int descriptor, const char* path, int flags)
        : m_descriptor(descriptor)
        , m_saved(dup(descriptor))
    {
        const int target = open(path, flags | O_CLOEXEC, 0600);
        if (m_saved < 0 || target < 0)
            throw std::runtime_error(std::string("cannot redirect to ") + path);
        flush();
        dup2(target, m_descriptor);
        close(target);
    }
    ~Redirection()
    {
        flush();
        dup2(m_saved, m_descriptor);
        close(m_saved);
        std::clearerr(stdin);
        std::clearerr(stdout);
    }
    Redirection(const Redirection&) = delete;
    Redirection& operator=(const Redirection&) = delete;

private:
    void flush() const
    {
        std::fflush(stdout);
        std::fflush(stderr);
        if (m_descriptor == STDIN_FILENO)
            std::fflush(stdin); // drops what was read ahead
    }

    int m_descriptor;
    int m_saved;
};

} // namespace

void withDescriptor(int descriptor, const char* path, int flags, const std::function<void()>& action)
{
    const Redirection redirection(descriptor, path, flags);
    action();
}

std::string captured(int descriptor, const std::function<void()>& action)
{
    const TempDir dir;
    const std::string path = dir / "captured";
    withDescriptor(descriptor, path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, action);
    return readFile(path);
}
