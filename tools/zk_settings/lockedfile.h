#ifndef ZK_SETTINGS_LOCKEDFILE_H
#define ZK_SETTINGS_LOCKEDFILE_H

#include "newfile.h"

#include <chrono>

/// How to open a file for an edit.
struct Access
{
    std::chrono::seconds wait{10}; ///< for another edit, and for a program that has the file open for writing
    bool create = false;           ///< treat a missing file as empty
    bool lock = true;              ///< false: for a file system without locks
};

/// A regular file, locked against other edits, read, and replaced as a whole.
///
/// The life of an edit. FILE is the file, or the target of a symbolic link. NEW is `.NAME.zk_settings-RANDOM` in its
/// folder. A failure at a step leaves what the step before left.
///
/// | step                                                 | at FILE | beside it, until the next edit     |
/// |------------------------------------------------------|---------|------------------------------------|
/// | open FILE, its folder if it is missing               | old     |                                    |
/// | lock it; read it; remove what a killed edit left     | old     |                                    |
/// | create NEW; copy owner, attributes, mode; write      | old     | if killed: NEW, maybe incomplete   |
/// | flush NEW                                            | old     | if killed: NEW                     |
/// | take a lease; check that FILE has not changed        | old     | if killed: NEW                     |
/// | exchange NEW and FILE; check what came out           | new     | if killed: the old file, as NEW    |
/// | if that has changed: exchange back                   | old     | if that fails: the other program's |
/// | remove NEW; flush the folder                         | new     |                                    |
///
/// Where the file system cannot exchange two names, NEW is renamed over FILE. If that fails, NEW is removed only after
/// the old bytes have been read from FILE: an SMB server may have removed it. To create FILE, NEW is renamed to it, or
/// linked, unless it exists.
///
/// A write in place, for a file with several hard links, or where the folder or the owner allows no new file. COPY is
/// NEW with the ending `.new`, or in $TMPDIR or /var/tmp if the folder has no room:
///
/// | step                                                 | at FILE | beside it                          |
/// |------------------------------------------------------|---------|------------------------------------|
/// | create NEW, write, flush                             | old     | if killed: NEW, maybe incomplete   |
/// | open FILE for writing; check that it has not changed | old     | if killed: NEW                     |
/// | rename NEW to COPY; flush the folder                 | old     | if killed: COPY                    |
/// | reserve space, write, truncate, flush                | damaged | if killed: COPY                    |
/// | if that fails: write the old bytes                   | old     | if that fails: COPY                |
/// | remove COPY                                          | new     |                                    |
///
/// The next edit removes a NEW. It removes a COPY with the bytes of FILE, and refuses to edit while there is another.
///
/// The lock is flock() on FILE, or on its folder while FILE is missing. It ends with its process, so it is never stale.
class LockedFile
{
public:
    /// Locks and reads the file. Throws Failure if it is missing or not regular, or if the lock is not free in time.
    LockedFile(const std::string& name, const Access& access);

    bool exists() const { return m_file.isOpen(); }
    /// Empty if the file does not exist.
    const QByteArray& bytes() const { return m_bytes; }

    /// Makes `bytes` the contents, unless they already are. Throws Failure on an error; the old contents stay unless it
    /// says otherwise. Blocks SIGHUP, SIGINT, SIGQUIT and SIGTERM for the rest of the process, so that it ends with the
    /// status of the edit.
    void replace(const QByteArray& bytes);

private:
    void open();
    bool takeLock();
    bool isReady();         ///< locks; false if the file is locked, open for writing, or replaced by another process
    bool isCurrent() const; ///< whether m_base is the locked file, and that has not changed
    bool isLocked(const std::string& name) const; ///< the same for `name`, which may have been renamed
    bool isWhole() const;                         ///< whether m_base has the old contents
    void removeCopy(const std::string& name) const;

    void create(const QByteArray& bytes) const;
    bool replaceByRename(const QByteArray& bytes); ///< this and the next three: false if refused, but in place may work
    bool exchange(NewFile& fresh);
    bool renameOver(NewFile& fresh);
    bool refused(const char* action) const;
    void finish(NewFile& fresh) const;
    void save(NewFile& copy, const QByteArray& bytes) const;
    void writeInPlace(const QByteArray& bytes) const;
    void overwrite(int file, const QByteArray& bytes) const;

    std::string m_name; // for messages
    Access m_access;
    Folder m_folder;
    std::string m_base; // the name in the folder, which is no symbolic link
    Descriptor m_file;  // not open while the file is missing
    struct stat m_status = {};
    QByteArray m_bytes;
};

#endif
