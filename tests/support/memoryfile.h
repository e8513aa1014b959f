#ifndef KQSUPPORT_TESTS_MEMORYFILE_H
#define KQSUPPORT_TESTS_MEMORYFILE_H

#include <QFile>

#include <stdexcept>
#include <string_view>
#include <sys/mman.h>
#include <unistd.h>

/// A file in memory that has a path. Tests with thousands of files then need no disk access.
class MemoryFile
{
public:
    explicit MemoryFile(std::string_view bytes = {})
        : m_descriptor(memfd_create("test", MFD_CLOEXEC))
    {
        if (write(m_descriptor, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size()))
            throw std::runtime_error("cannot make a file in memory");
    }
    ~MemoryFile() { close(m_descriptor); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    QString path() const { return QStringLiteral("/proc/self/fd/%1").arg(m_descriptor); }
    QByteArray bytes() const
    {
        QFile file(path());
        if (!file.open(QIODevice::ReadOnly))
            throw std::runtime_error("cannot read a file in memory");
        return file.readAll();
    }

private:
    int m_descriptor;
};

#endif
