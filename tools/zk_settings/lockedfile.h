#ifndef ZK_SETTINGS_LOCKEDFILE_H
#define ZK_SETTINGS_LOCKEDFILE_H

#include "descriptor.h"

#include <chrono>
#include <sys/stat.h>

/// A regular file that one process at a time edits: locked, read, and replaced as a whole.
///
/// The lock is flock() on the file itself. It ends with its process, however that ends, so no lock is ever stale; it
/// needs no second file, works where the folder may not be written, and is one for all names of the file. (A lock file
/// with a process id would lie behind after a crash, and mean nothing in another container.) As a file that waited for
/// is replaced by then, the path is looked up again after the wait. A file that is still absent has its folder locked.
class LockedFile
{
public:
    /// Locks and reads the file at `name`; a symbolic link stands for its target. Throws Failure when somebody else
    /// holds the lock for longer than `wait`, and when this is no regular file.
    LockedFile(const std::string& name, std::chrono::seconds wait);

    bool exists() const { return m_exists; }
    /// Empty for an absent file.
    const QByteArray& bytes() const { return m_bytes; }

    /// Makes `bytes` the contents, or throws Failure and leaves the file as it was. Does nothing when they are already.
    ///
    /// The new file is written beside the old one, flushed to the disk and renamed over it, with the owner, mode, ACL
    /// and extended attributes of the old one. Where that cannot be (hard links, a folder or an owner that may not be
    /// changed), the file is written in place.
    void replace(const QByteArray& bytes);

private:
    void openAndLock(std::chrono::steady_clock::time_point deadline);
    void checkTime(std::chrono::steady_clock::time_point deadline) const;
    void takeStatus();
    bool isCurrent() const;
    bool replaceByRename(const QByteArray& bytes);
    void writeInPlace(const QByteArray& bytes) const;
    std::string folder() const;

    std::string m_name; // for messages
    std::string m_path; // no symbolic link
    Descriptor m_lock;  // the file, or its folder while it is absent
    bool m_exists = false;
    struct stat m_status = {};
    QByteArray m_bytes;
};

#endif
