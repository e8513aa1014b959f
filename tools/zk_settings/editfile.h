#ifndef ZK_SETTINGS_EDITFILE_H
#define ZK_SETTINGS_EDITFILE_H

#include <chrono>
#include <functional>
#include <string>

struct Access
{
    std::chrono::seconds wait{10}; ///< for another edit, and for a program that has the file open for writing
    bool create = false;           ///< treat a missing file as empty
    bool lock = true;              ///< false: for a file system without locks
};

/// Locks a regular file, reads it, and replaces it as a whole if `edit` returns other bytes. Once it writes, it ignores
/// SIGHUP, SIGINT, SIGQUIT and SIGTERM. Throws Failure; the old contents stay unless it says otherwise.
///
/// FILE is the file, or the target of a symbolic link. NEW is `.NAME.zk_settings-RANDOM` in its directory. A step that
/// fails leaves what the step before left, and no NEW.
///
/// | step                                                           | at FILE | if killed, beside it  |
/// |----------------------------------------------------------------|---------|-----------------------|
/// | open FILE; lock it; read it; remove what a killed edit left    | old     |                       |
/// | create and lock NEW; copy the status; write; flush             | old     | NEW, maybe incomplete |
/// | check that FILE has not changed; exchange NEW and FILE         | new     | the old file, as NEW  |
/// | flush the directory                                            | new     | the old file, as NEW  |
/// | if the old file has changed, exchange back, flush; remove NEW  | new/old | NEW, old or new       |
///
/// If another program has written or replaced the new file too, the old one stays as NEW with the ending `.old`. If the
/// file system cannot exchange names, NEW is renamed over FILE. If that fails, and the old bytes cannot be read from
/// FILE any more, NEW becomes a COPY, as below. To create FILE, NEW is renamed or linked to it.
///
/// A file is written in place if it has several hard links, if its directory, mount or owner allows no new file, or on
/// SMB: the server removes a file that is renamed over while a program has it open. COPY is NEW with the ending `.new`.
/// It is in $TMPDIR or /var/tmp if the directory does not allow it; then no edit looks for it:
///
/// | step                                                           | at FILE | if killed, beside it  |
/// |----------------------------------------------------------------|---------|-----------------------|
/// | create NEW; write; flush; name it COPY; flush the directory    | old     | NEW or COPY           |
/// | open FILE for writing; check that it has the old bytes         | old     | COPY                  |
/// | write, truncate and flush FILE; if that fails, restore it      | damaged | COPY                  |
/// | remove COPY                                                    | new     |                       |
///
/// The next edit removes from the directory each NEW that no process has locked, and a COPY with the bytes of FILE. It
/// refuses to edit while there is another COPY. The lock is flock() on FILE, or on its directory if FILE is missing.
void editFile(
    const std::string& name, const Access& access, const std::function<std::string(const std::string& bytes)>& edit);

#endif
