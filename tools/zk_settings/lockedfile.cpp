#include "lockedfile.h"

#include "failure.h"

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <limits>
#include <sys/file.h>
#include <sys/vfs.h>
#include <thread>
#include <tuple>

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

namespace {

constexpr int existing = O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC; // does not wait if it is a pipe

Failure changed()
{
    return {Trouble, "cannot replace: another program has changed it"};
}

struct stat statusOf(int file)
{
    struct stat status = {};
    if (fstat(file, &status) != 0)
        throw systemFailure("open");
    return status;
}

bool isOnSmb(int file)
{
    struct statfs system = {};
    if (fstatfs(file, &system) != 0)
        throw systemFailure("open");
    const auto type = static_cast<unsigned>(system.f_type);
    return type == 0xff534d42 || type == 0xfe534d42; // older kernels return the first for all versions
}

// What another program may change. A rename changes st_ctim too.
auto state(const struct stat& s, bool exceptTime)
{
    const timespec changed = exceptTime ? timespec{} : s.st_ctim;
    return std::make_tuple(s.st_mode, s.st_uid, s.st_gid, s.st_nlink, s.st_size, s.st_mtim.tv_sec, s.st_mtim.tv_nsec,
        changed.tv_sec, changed.tv_nsec);
}

} // namespace

LockedFile::LockedFile(const std::string& name, const Access& access)
    : m_name(name)
    , m_access(access)
{
    const auto deadline = Clock::now() + access.wait;
    for (open(); !isReady(); open()) { // an edit replaces the file, so the path is opened again
        if (Clock::now() >= deadline)
            throw Failure{Trouble, "cannot lock: another process is editing it; --wait waits longer"};
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    if (exists() && !S_ISREG(m_status.st_mode))
        throw Failure{Trouble, "cannot edit: not a regular file"};
    if (exists())
        m_bytes = readAll(m_file.number());
    for (const std::string& copy : m_folder.leftovers(m_base, ".new"))
        removeCopy(copy);
}

void LockedFile::open()
{
    m_file = Descriptor(::open(m_name.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!exists() && (errno != ENOENT || !m_access.create))
        throw systemFailure("open");
    m_isOnSmb = exists() && isOnSmb(m_file.number());
    std::error_code error;
    const fs::path path = exists() ? fs::canonical(m_name, error) : fs::path(m_name);
    if (error) // another program has removed it since
        throw Failure{Trouble, "cannot open: " + error.message()};
    if (!exists() && fs::is_symlink(path, error)) // as open() with O_CREAT and O_EXCL
        throw Failure{Trouble, "cannot create: the name is a symbolic link to a missing file"};
    m_base = path.filename();
    m_folder = Folder(path.parent_path());
    if (!m_folder.isOpen())
        throw systemFailure("open its directory");
}

bool LockedFile::isReady()
{
    if (m_access.lock && !takeLock())
        return false;
    if (exists())
        m_status = statusOf(m_file.number());
    const bool isCurrent = exists() ? isUnchanged(m_base, m_file.number(), m_status, false).value_or(false)
                                    : faccessat(m_folder.number(), m_base.c_str(), F_OK, AT_SYMLINK_NOFOLLOW) != 0;
    if (!isCurrent) // otherwise what is left may be of the edit that replaces it
        return false;
    for (const std::string& name : m_folder.leftovers(m_base, ""))
        unlinkat(m_folder.number(), name.c_str(), 0);
    if (exists()) // one may have been a second name
        m_status = statusOf(m_file.number());
    return !isWritten();
}

// On SMB a lock on the whole file keeps other programs from reading it. A lock on a byte that no file has does not.
bool LockedFile::tryLock() const
{
    const int file = (exists() ? m_file : m_folder).number();
    struct flock byte = {};
    byte.l_type = F_WRLCK;
    byte.l_start = std::numeric_limits<off_t>::max() - 1;
    byte.l_len = 1;
    return (m_isOnSmb ? fcntl(file, F_OFD_SETLK, &byte) : flock(file, LOCK_EX | LOCK_NB)) == 0;
}

// On NFS and SMB only a file that is open for writing can be locked.
bool LockedFile::takeLock()
{
    bool isLocked = !m_isOnSmb && tryLock();
    if (m_isOnSmb || (!isLocked && errno == EBADF && exists())) {
        m_file = Descriptor(openat(m_folder.number(), m_base.c_str(), O_RDWR | existing));
        isLocked = m_file.isOpen() && tryLock();
    }
    const bool isBusy = errno == EWOULDBLOCK || (errno == EACCES && m_isOnSmb && m_file.isOpen());
    if (!isLocked && !isBusy)
        throw systemFailure("lock", "; --no-lock edits without a lock");
    return isLocked;
}

// The system refuses a lease while the file is open for writing. Only root and the owner can ask, and only with a
// descriptor that cannot write.
bool LockedFile::isWritten() const
{
    if (!exists() || !m_access.lock || (fcntl(m_file.number(), F_GETFL) & O_ACCMODE) != O_RDONLY)
        return false;
    std::signal(SIGIO, SIG_IGN); // sent if another program opens the file just now
    const bool isRefused = fcntl(m_file.number(), F_SETLEASE, F_RDLCK) != 0 && errno == EAGAIN;
    fcntl(m_file.number(), F_SETLEASE, F_UNLCK);
    return isRefused;
}

std::optional<bool> LockedFile::isUnchanged(
    const std::string& name, int file, const struct stat& before, bool exceptTime) const
{
    struct stat named = {};
    struct stat opened = {};
    if (fstatat(m_folder.number(), name.c_str(), &named, AT_SYMLINK_NOFOLLOW) != 0 || fstat(file, &opened) != 0)
        return std::nullopt;
    return named.st_dev == opened.st_dev && named.st_ino == opened.st_ino &&
           state(opened, exceptTime) == state(before, exceptTime);
}

bool LockedFile::hasOldBytes(const std::string& name) const
{
    const Descriptor file(openat(m_folder.number(), name.c_str(), O_RDONLY | existing));
    try {
        return file.isOpen() && readAll(file.number()) == m_bytes;
    } catch (const Failure&) {
        return false;
    }
}

// In a shared directory anyone can create a file of this name.
void LockedFile::removeCopy(const std::string& name) const
{
    struct stat status = {};
    const bool isFound = fstatat(m_folder.number(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0;
    const bool isTrusted = status.st_uid == 0 || status.st_uid == geteuid() || status.st_uid == m_status.st_uid;
    if (!isFound || !S_ISREG(status.st_mode) || !isTrusted)
        return;
    if (!hasOldBytes(name))
        throw Failure{Trouble, "cannot edit: an interrupted edit may have damaged it; copy " +
                                   (m_folder.path / name).string() + " to it, or remove that file"};
    unlinkat(m_folder.number(), name.c_str(), 0);
}

void LockedFile::replace(const std::string& bytes)
{
    if (exists() && bytes == m_bytes)
        return;
    for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGTERM})
        std::signal(signal, SIG_IGN);
    if (!exists())
        return create(bytes);
    if (faccessat(m_folder.number(), m_base.c_str(), W_OK, AT_EACCESS) != 0)
        throw systemFailure("write");
    if (m_isOnSmb || m_status.st_nlink > 1 || !replaceByRename(bytes))
        writeInPlace(bytes);
}

bool LockedFile::refused(const char* action) const
{
    if (errno != EACCES && errno != EPERM && errno != EROFS && errno != EBUSY && errno != EINVAL)
        throw systemFailure(action);
    return false;
}

void LockedFile::create(const std::string& bytes) const
{
    NewFile fresh(m_folder, m_base, 0666);
    if (!fresh.isOpen())
        throw systemFailure("create a file in its directory");
    fresh.write(bytes);
    const int folder = m_folder.number();
    const bool isNamed = fresh.renameTo(m_base, RENAME_NOREPLACE) || // not every file system can do that
                         linkat(folder, fresh.name().c_str(), folder, m_base.c_str(), 0) == 0;
    if (!isNamed) // another program may have created it meanwhile
        throw systemFailure("create");
    finish(fresh, nullptr);
}

bool LockedFile::replaceByRename(const std::string& bytes) const
{
    NewFile fresh(m_folder, m_base, 0600);
    if (!fresh.isOpen())
        return refused("create a file in its directory");
    if (!fresh.copyStatus(m_file.number(), m_status))
        return refused("copy its owner and attributes");
    fresh.write(bytes);
    flock(fresh.number(), LOCK_EX | LOCK_NB); // the next edit waits until this one has ended
    const struct stat written = statusOf(fresh.number());
    if (rename(fresh, RENAME_EXCHANGE))
        finish(fresh, &written);
    else if (rename(fresh, 0)) // not every file system can exchange names
        finish(fresh, nullptr);
    else
        return keepUnlessIntact(fresh);
    return true;
}

bool LockedFile::rename(const NewFile& fresh, unsigned flags) const
{
    if (isWritten() || !isUnchanged(m_base, m_file.number(), m_status, false).value_or(false))
        throw changed();
    return fresh.renameTo(m_base, flags);
}

// Another program may have found the old file just before the exchange, and changed it since.
void LockedFile::finish(NewFile& fresh, const struct stat* exchanged) const
{
    const bool isFlushed = m_folder.flush(fresh.number());
    const Failure unflushed = // built while errno is that of the flush
        systemFailure("flush its directory", "; the edit is done, but may not survive a power failure");
    if (exchanged && (isWritten() || !isUnchanged(fresh.name(), m_file.number(), m_status, true).value_or(false)))
        exchangeBack(fresh, *exchanged);
    if (!isFlushed)
        throw unflushed;
}

void LockedFile::exchangeBack(NewFile& fresh, const struct stat& written) const
{
    if (fresh.renameTo(m_base, RENAME_EXCHANGE)) {
        if (isUnchanged(fresh.name(), fresh.number(), written, true).value_or(true)) {
            m_folder.flush(fresh.number());
            throw changed();
        }
        fresh.renameTo(m_base, RENAME_EXCHANGE); // another program has changed or replaced the new file
    }
    fresh.appendToName(".old"); // so that the next edit leaves it
    fresh.keep();
    throw Failure{Trouble, "replaced, but another program may have changed it; the file before is " + fresh.path()};
}

// After a rename that failed. A server may have removed the old file all the same.
bool LockedFile::keepUnlessIntact(NewFile& fresh) const
{
    const int error = errno;
    const bool isIntact = hasOldBytes(m_base);
    errno = error;
    if (isIntact)
        return refused("replace");
    fresh.appendToName(".new"); // so that the next edit leaves it
    fresh.keep();
    errno = error;
    throw systemFailure("replace", "; its new contents are in " + fresh.path());
}

// Returns a copy from which a file that is damaged by a write in place can be restored.
std::unique_ptr<NewFile> LockedFile::save(const Folder& folder, const std::string& bytes) const
{
    const std::string action = "save a copy in " + folder.path.string();
    auto copy = std::make_unique<NewFile>(folder, m_base, 0600);
    if (!copy->isOpen())
        throw systemFailure(action);
    copy->write(bytes);
    if (!copy->appendToName(".new") || !folder.flush(copy->number()))
        throw systemFailure(action);
    return copy;
}

void LockedFile::writeInPlace(const std::string& bytes) const
{
    const char* const temporary = std::getenv("TMPDIR");
    const Folder spare(temporary ? temporary : "/var/tmp"); // it survives a restart
    std::unique_ptr<NewFile> copy;
    try {
        copy = save(m_folder, bytes);
    } catch (const Failure&) {
        copy = save(spare, bytes);
    }
    if (isWritten())
        throw changed();
    const Descriptor file(openat(m_folder.number(), m_base.c_str(), O_WRONLY | existing)); // may change st_ctim
    if (!file.isOpen() || !isUnchanged(m_base, m_file.number(), m_status, true).value_or(false))
        throw file.isOpen() ? changed() : systemFailure("write");
    try {
        overwrite(file.number(), bytes);
    } catch (Failure& failure) {
        try {
            if (!hasOldBytes(m_base))
                overwrite(file.number(), m_bytes);
        } catch (const Failure&) {
            copy->keep();
            failure.text += "; it is damaged, and its new contents are in " + copy->path();
        }
        throw;
    }
}

void LockedFile::overwrite(int file, const std::string& bytes) const
{
    if (lseek(file, 0, SEEK_SET) != 0)
        throw systemFailure("write");
    writeAll(file, bytes);
    if (ftruncate(file, static_cast<off_t>(bytes.size())) != 0)
        throw systemFailure("write");
    flush(file);
}
