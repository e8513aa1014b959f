#ifndef ZK_SETTINGS_LEASE_H
#define ZK_SETTINGS_LEASE_H

#include <cerrno>
#include <csignal>
#include <fcntl.h>

/// A lease makes a program that opens the file for writing wait, and tells of it. Only root and the owner get one, and
/// only for a descriptor that cannot write.
class Lease
{
public:
    explicit Lease(int file)
        : m_file(file)
    {
        std::signal(SIGIO, SIG_IGN); // the kernel's message that the lease is broken
        if ((fcntl(file, F_GETFL) & O_ACCMODE) == O_RDONLY)
            m_error = fcntl(file, F_SETLEASE, F_RDLCK) == 0 ? 0 : errno;
    }
    ~Lease()
    {
        if (m_error == 0)
            fcntl(m_file, F_SETLEASE, F_UNLCK);
    }
    Lease(const Lease&) = delete;
    Lease& operator=(const Lease&) = delete;

    /// Whether another program has the file open for writing, or waits for that.
    bool isBroken() const { return m_error == EAGAIN || (m_error == 0 && fcntl(m_file, F_GETLEASE) != F_RDLCK); }

private:
    int m_file;
    int m_error = EINVAL;
};

#endif
