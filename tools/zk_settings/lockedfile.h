#ifndef ZK_SETTINGS_LOCKEDFILE_H
#define ZK_SETTINGS_LOCKEDFILE_H

#include "newfile.h"

#include <chrono>
#include <memory>

/// How to open a file for an edit.
struct Access
{
    std::chrono::seconds wait{10}; ///< for another edit, and for a program that has the file open for writing
    bool create = false;           ///< treat a missing file as empty
    bool lock = true;              ///< false: for a file system without locks
};

/// A regular file, locked against other edits, read, and replaced as a whole.
///
/// FILE is the file, or the target of a symbolic link. NEW is `.NAME.zk_settings-RANDOM` in its directory. A step that
/// fails leaves what the step before left, and no NEW.
///
/// | step                                                           | at FILE | if killed, beside it  |
/// |----------------------------------------------------------------|---------|-----------------------|
/// | open FILE; lock it; remove what a killed edit left; read it    | old     |                       |
/// | create NEW; copy owner, attributes and mode; write; flush      | old     | NEW, maybe incomplete |
/// | check that FILE has not changed; exchange NEW and FILE         | new     | the old file, as NEW  |
/// | flush the directory                                            | new     | the old file, as NEW  |
/// | if the old file has changed, exchange back, flush; remove NEW  | new/old | NEW, old or new       |
///
/// If another program has changed the new file too, the old one stays as NEW with the ending `.old`.
///
/// If the file system cannot exchange names, NEW is renamed over FILE. If that fails, NEW is removed only after the old
/// bytes have been read from FILE. Otherwise NEW becomes a COPY, as below. To create FILE, NEW is renamed or linked to
/// it.
///
/// A file is written in place if it has several hard links, if its directory or owner allows no new file, or if it is
/// on SMB: the server removes a file that is renamed over while a program has it open. COPY is NEW with the ending
/// `.new`. It is in $TMPDIR or /var/tmp if the directory has no room for it:
///
/// | step                                                           | at FILE | if killed, beside it  |
/// |----------------------------------------------------------------|---------|-----------------------|
/// | create NEW; write; flush                                       | old     | NEW, maybe incomplete |
/// | rename NEW to COPY; flush the directory                        | old     | COPY                  |
/// | open FILE for writing; check that it has not changed           | old     | COPY                  |
/// | write, truncate and flush FILE; if that fails, restore it      | damaged | COPY                  |
/// | remove COPY                                                    | new     |                       |
///
/// The next edit removes a NEW. It removes a COPY with the bytes of FILE, and refuses to edit while there is another.
/// The lock is flock() on FILE, or on its directory while FILE is missing. It ends with its process, so it is never
/// stale.
class LockedFile
{
public:
    /// Locks and reads the file. Throws Failure if it is missing or not regular, or if the lock is not free in time.
    LockedFile(const std::string& name, const Access& access);

    bool exists() const { return m_file.isOpen(); }
    /// Empty if the file does not exist.
    const std::string& bytes() const { return m_bytes; }

    /// Makes `bytes` the contents, unless they already are. Throws Failure on an error; the old contents stay unless it
    /// says otherwise. From then on the process ignores SIGHUP, SIGINT, SIGQUIT and SIGTERM, so that it ends with the
    /// status of the edit.
    void replace(const std::string& bytes);

private:
    void open();
    bool isReady(); ///< locks; false if the file is locked, open for writing, or replaced by another process
    bool takeLock();
    bool tryLock() const;
    bool isWritten() const; ///< whether another program has it open for writing, if locks are wanted
    /// Whether `name` is the open file, as it was before, except for st_ctim if wanted. Nothing on an error.
    std::optional<bool> isUnchanged(
        const std::string& name, int file, const struct stat& before, bool exceptTime) const;
    bool hasOldBytes(const std::string& name) const;
    void removeCopy(const std::string& name) const;

    void create(const std::string& bytes) const;
    // These three return false if the file may be written in place.
    bool replaceByRename(const std::string& bytes) const;
    bool keepUnlessIntact(NewFile& fresh) const;
    bool refused(const char* action) const;
    bool rename(const NewFile& fresh, unsigned flags) const;
    /// Flushes the directory. After an exchange, `exchanged` is the status of the new file before it.
    void finish(NewFile& fresh, const struct stat* exchanged) const;
    [[noreturn]] void exchangeBack(NewFile& fresh, const struct stat& written) const;

    void writeInPlace(const std::string& bytes) const;
    std::unique_ptr<NewFile> save(const Folder& folder, const std::string& bytes) const;
    void overwrite(int file, const std::string& bytes) const;

    std::string m_name; // for messages
    Access m_access;
    Folder m_folder;
    std::string m_base; // the name in the directory, which is no symbolic link
    Descriptor m_file;  // not open while the file is missing
    bool m_isOnSmb = false;
    struct stat m_status = {};
    std::string m_bytes;
};

#endif
