#ifndef ZK_SETTINGS_DESCRIPTOR_H
#define ZK_SETTINGS_DESCRIPTOR_H

#include <optional>
#include <string>
#include <string_view>
#include <unistd.h>
#include <utility>

/// Owns an open file descriptor.
class Descriptor
{
public:
    explicit Descriptor(int number = -1)
        : m_number(number)
    {
    }
    Descriptor(Descriptor&& other) noexcept
        : m_number(std::exchange(other.m_number, -1))
    {
    }
    ~Descriptor() { reset(-1); }

    /// Closes the file and owns another.
    void reset(int number)
    {
        if (isOpen())
            close(m_number);
        m_number = number;
    }

    bool isOpen() const { return m_number >= 0; }
    int number() const { return m_number; }

private:
    int m_number;
};

/// Returns 0 for "-" and "/dev/stdin", N for "/dev/fd/N", and nothing for other names. Read the descriptor itself:
/// opening such a name opens the file again, at its start.
std::optional<int> namedDescriptor(const std::string& name);

/// Opens the standard descriptors that are closed, so that no other file gets their numbers. Reading standard input or
/// writing the others then still fails.
void occupyStandardDescriptors();

/// Reads to the end, or to the first piece that contains a NUL byte: a settings file has none, but a device may send
/// them without end. Throws Failure.
std::string readAll(int descriptor);

/// Writes every byte at the descriptor's offset. `file` is for the message, if it is not the command's FILE. Throws
/// Failure.
void writeAll(int descriptor, std::string_view bytes, const char* file = "");

/// Makes the bytes the whole contents, and flushes them to the disk. Throws Failure.
void overwrite(int descriptor, const std::string& bytes);

/// Copies the owner, group and mode of the status, and the extended attributes with ACLs. Call it before the first
/// write, so that the write clears the set-user-ID bits as usual. Throws Failure.
void copyStatus(int from, const struct stat& status, int to);

/// Whether another program has the file open for writing. Only root and the owner learn it, and only from a descriptor
/// that cannot write; otherwise false.
bool isWrittenElsewhere(int descriptor);

#endif
