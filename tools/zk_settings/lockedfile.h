#ifndef ZK_SETTINGS_LOCKEDFILE_H
#define ZK_SETTINGS_LOCKEDFILE_H

#include "descriptor.h"

#include <chrono>
#include <sys/stat.h>

/// A regular file, locked against other edits, read, and replaced as a whole.
///
/// The lock is flock() on the file itself, or on its folder while the file does not exist. It ends with its process, so
/// it is never stale. An edit replaces the file, so after a wait for the lock the path is opened again.
class LockedFile
{
public:
    /// Locks and reads the file, or the target of a symbolic link. Throws Failure if it is not a regular file, or if
    /// the lock is not free within `wait`.
    LockedFile(const std::string& name, std::chrono::seconds wait);

    bool exists() const { return m_exists; }
    /// Empty if the file does not exist.
    const QByteArray& bytes() const { return m_bytes; }

    /// Makes `bytes` the contents, unless they already are. Throws Failure on an error, and keeps the old contents.
    ///
    /// Writes a new file beside the old one, with its owner, mode, ACL and extended attributes, flushes it to the disk,
    /// and renames it over the old one. Writes in place if the file has several hard links, or if the folder or the
    /// owner does not allow a new file.
    void replace(const QByteArray& bytes);

private:
    void open();
    bool lock(); ///< false if another process has the lock or has replaced the file
    void takeStatus();
    bool isCurrent() const; ///< whether the name still leads to the locked file, and that has not changed
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
