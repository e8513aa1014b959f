#ifndef KQSUPPORT_FUZZ_MEMORYFILE_H
#define KQSUPPORT_FUZZ_MEMORYFILE_H

#include "input.h"

#include <QFile>

#include <sys/mman.h>
#include <unistd.h>

/// A file in memory that Qt opens by a path.
class MemoryFile
{
public:
    explicit MemoryFile(std::string_view bytes = {})
        : m_descriptor(memfd_create("fuzz", 0))
    {
        require(
            write(m_descriptor, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size()), "a file to read");
    }
    ~MemoryFile() { close(m_descriptor); }
    MemoryFile(const MemoryFile&) = delete;

    QString path() const { return QStringLiteral("/proc/self/fd/%1").arg(m_descriptor); }
    QByteArray bytes() const
    {
        QFile file(path());
        require(file.open(QIODevice::ReadOnly), "a file to compare");
        return file.readAll();
    }

private:
    int m_descriptor;
};

#endif
