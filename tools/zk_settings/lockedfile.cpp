#include "lockedfile.h"

#include "failure.h"

#include <QRandomGenerator>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <linux/limits.h>
#include <set>
#include <sys/file.h>
#include <sys/xattr.h>
#include <thread>

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

namespace {

constexpr int existing = O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC; // does not wait if it is a pipe

bool isSameFile(const struct stat& a, const struct stat& b)
{
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

bool isSameTime(const struct timespec& a, const struct timespec& b)
{
    return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

// Everything but the time of the last change, which a rename changes.
bool isSameStatus(const struct stat& a, const struct stat& b)
{
    return a.st_mode == b.st_mode && a.st_nlink == b.st_nlink && a.st_uid == b.st_uid && a.st_gid == b.st_gid &&
           a.st_size == b.st_size && isSameTime(a.st_mtim, b.st_mtim);
}

// The errors of a folder or an owner that allows no new file. The old one may still be writable.
bool isRefusal(int error)
{
    const int refusals[] = {EACCES, EPERM, EROFS, EBUSY, EINVAL};
    return std::find(std::begin(refusals), std::end(refusals), error) != std::end(refusals);
}

Failure changed(const std::string& name)
{
    return {Trouble, "cannot replace: another program has changed it", 0, name};
}

// Follows symbolic links at the end of the path, also one to a file that does not exist yet. In a sticky folder that
// everyone may write, a link must belong to this user or to the folder's owner, as with fs.protected_symlinks.
fs::path withoutLinks(const std::string& name)
{
    constexpr int mostLinks = 40; // the kernel's limit
    fs::path path = name;
    for (int i = 0; i < mostLinks; ++i) {
        struct stat link = {};
        struct stat folder = {};
        std::error_code error;
        if (lstat(path.c_str(), &link) != 0 ? errno == ENOENT : !S_ISLNK(link.st_mode))
            return path;
        const fs::path parent = path.parent_path();
        const fs::path target = fs::read_symlink(path, error);
        if (error || stat(parent.empty() ? "." : parent.c_str(), &folder) != 0)
            break;
        const bool isShared = (folder.st_mode & S_ISVTX) != 0 && (folder.st_mode & S_IWOTH) != 0;
        if (isShared && link.st_uid != geteuid() && link.st_uid != folder.st_uid) {
            errno = EACCES;
            break;
        }
        path = parent / target;
    }
    throw systemFailure(name, "open");
}

bool attributeNames(int file, std::set<std::string>& names)
{
    std::string list(XATTR_LIST_MAX, '\0');
    const ssize_t size = flistxattr(file, list.data(), list.size());
    if (size < 0)
        return errno == ENOTSUP; // this file system has none
    list.resize(static_cast<std::size_t>(size));
    for (std::size_t begin = 0; begin < list.size(); begin = list.find('\0', begin) + 1)
        names.insert(list.c_str() + begin);
    return true;
}

std::optional<std::string> attribute(int file, const std::string& name)
{
    std::string value(XATTR_SIZE_MAX, '\0');
    const ssize_t size = fgetxattr(file, name.c_str(), value.data(), value.size());
    if (size < 0)
        return std::nullopt;
    value.resize(static_cast<std::size_t>(size));
    return value;
}

// Includes ACLs. The new file may have attributes that it got from its folder.
bool copyAttributes(int from, int to)
{
    std::set<std::string> wanted;
    std::set<std::string> present;
    if (!attributeNames(from, wanted) || !attributeNames(to, present))
        return false;
    for (const std::string& name : present) {
        if (wanted.count(name) == 0 && fremovexattr(to, name.c_str()) != 0)
            return false;
    }
    for (const std::string& name : wanted) {
        const std::optional<std::string> value = attribute(from, name);
        if (!value)
            return false;
        if (attribute(to, name) != value && fsetxattr(to, name.c_str(), value->data(), value->size(), 0) != 0)
            return false;
    }
    return true;
}

// Call this before the first write, so that the write clears the set-user-ID bits as usual. Sets the mode last, because
// a change of owner clears some of its bits.
bool copyStatus(int from, const struct stat& status, int to)
{
    struct stat fresh = {};
    if (fstat(to, &fresh) != 0)
        return false;
    const bool isOwned = fresh.st_uid == status.st_uid && fresh.st_gid == status.st_gid;
    return (isOwned || fchown(to, status.st_uid, status.st_gid) == 0) && copyAttributes(from, to) &&
           fchmod(to, status.st_mode & 07777) == 0;
}

void flush(int file, const std::string& name)
{
    if (fsync(file) != 0)
        throw systemFailure(name, "flush to the disk");
}

// Not every file system can flush a folder, and not every user may open it. `file` is any file of the file system.
bool flushFolder(const Descriptor& folder, int file)
{
    return fsync(folder.number()) == 0 || ((errno == EINVAL || errno == EBADF) && syncfs(file) == 0);
}

void overwrite(int file, const QByteArray& bytes, const std::string& name)
{
    if (lseek(file, 0, SEEK_SET) != 0)
        throw systemFailure(name, "write");
    writeAll(file, bytes, name);
    if (ftruncate(file, bytes.size()) != 0)
        throw systemFailure(name, "write");
    flush(file, name);
}

// From here on the edit is done or not done, and the exit status says which.
void blockSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGTERM})
        sigaddset(&signals, signal);
    sigprocmask(SIG_BLOCK, &signals, nullptr);
}

// A lease makes a program that opens the file for writing wait, and tells of it. Only root and the owner get one, and
// only for a descriptor that cannot write.
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

constexpr char copyEnding[] = ".new";
constexpr std::size_t randomSize = 16;

std::string temporaryPrefix(const std::string& base)
{
    return '.' + base.substr(0, 200) + ".zk_settings-"; // a name has at most 255 bytes
}

} // namespace

Folder::Folder(const fs::path& path)
    : m_path(path)
{
    const char* const name = path.empty() ? "." : path.c_str();
    *static_cast<Descriptor*>(this) = Descriptor(open(name, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!isOpen() && errno == EACCES) // it may allow a search and a new file
        *static_cast<Descriptor*>(this) = Descriptor(open(name, O_PATH | O_DIRECTORY | O_CLOEXEC));
}

// A temporary file. Removes itself unless kept.
class NewFile
{
public:
    NewFile(const Folder& folder, const std::string& base, mode_t mode)
        : m_folder(folder)
    {
        // Nobody can create the name in advance.
        const QByteArray random = QByteArray::number(QRandomGenerator::system()->generate64(), 16);
        m_name = temporaryPrefix(base) + random.rightJustified(randomSize, '0').toStdString();
        m_file = Descriptor(openat(folder.number(), m_name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode));
    }
    ~NewFile() { remove(); }
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    bool isOpen() const { return m_file.isOpen(); }
    int number() const { return m_file.number(); }
    const std::string& name() const { return m_name; }
    const Folder& folder() const { return m_folder; }
    std::string path() const { return m_folder.path() / m_name; }

    void keep() { m_isKept = true; }
    void remove()
    {
        if (isOpen() && !m_isKept)
            unlinkat(m_folder.number(), m_name.c_str(), 0);
        keep();
    }
    bool renameTo(const std::string& name, unsigned flags)
    {
        return renameat2(m_folder.number(), m_name.c_str(), m_folder.number(), name.c_str(), flags) == 0;
    }
    bool appendToName(const char* ending)
    {
        const bool isDone = renameTo(m_name + ending, 0);
        m_name += isDone ? ending : "";
        return isDone;
    }
    bool linkTo(const std::string& name)
    {
        return linkat(m_folder.number(), m_name.c_str(), m_folder.number(), name.c_str(), 0) == 0;
    }

private:
    const Folder& m_folder;
    std::string m_name;
    Descriptor m_file;
    bool m_isKept = false;
};

LockedFile::LockedFile(const std::string& name, const Access& access)
    : m_name(name)
    , m_access(access)
{
    const auto deadline = Clock::now() + access.wait;
    for (open(); !lock(); open()) { // an edit replaces the file, so the path is opened again
        if (Clock::now() >= deadline)
            throw Failure{Trouble, "cannot lock: another process is editing it", 0, m_name};
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    if (m_exists)
        m_bytes = readAll(m_file.number(), m_name);
    for (const std::string& copy : leftovers(copyEnding))
        removeCopy(copy);
}

void LockedFile::open()
{
    m_file = Descriptor(::open(m_name.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    m_exists = m_file.isOpen();
    if (!m_exists && (errno != ENOENT || !m_access.create))
        throw systemFailure(m_name, "open");
    const fs::path path = withoutLinks(m_name);
    m_base = path.filename();
    m_folder = Folder(path.parent_path());
    if (!m_folder.isOpen())
        throw systemFailure(m_name, "open its folder");
    takeStatus();
    if (m_exists && !S_ISREG(m_status.st_mode))
        throw Failure{Trouble, "cannot edit: not a regular file", 0, m_name};
}

void LockedFile::takeStatus()
{
    if (m_exists && fstat(m_file.number(), &m_status) != 0)
        throw systemFailure(m_name, "open");
}

bool LockedFile::lock()
{
    if (m_access.lock && !takeLock())
        return false;
    for (const std::string& name : leftovers(""))
        unlinkat(m_folder.number(), name.c_str(), 0);
    takeStatus();
    return isCurrent() && !(m_exists && m_access.lock && Lease(m_file.number()).isBroken());
}

// On NFS only a file that is open for writing can be locked.
bool LockedFile::takeLock()
{
    const auto tryLock = [this] { return flock((m_exists ? m_file : m_folder).number(), LOCK_EX | LOCK_NB) == 0; };
    bool isLocked = tryLock();
    if (!isLocked && errno == EBADF && m_exists) {
        m_file = Descriptor(openat(m_folder.number(), m_base.c_str(), O_RDWR | existing));
        isLocked = m_file.isOpen() && tryLock();
    }
    if (isLocked || errno == EWOULDBLOCK)
        return isLocked;
    Failure failure = systemFailure(m_name, "lock");
    failure.text += "; --no-lock edits without a lock";
    throw failure;
}

bool LockedFile::isCurrent() const
{
    struct stat named = {};
    if (fstatat(m_folder.number(), m_base.c_str(), &named, AT_SYMLINK_NOFOLLOW) == 0)
        return m_exists && isSameFile(named, m_status) && isSameStatus(named, m_status) &&
               isSameTime(named.st_ctim, m_status.st_ctim);
    if (errno != ENOENT)
        throw systemFailure(m_name, "open");
    return !m_exists;
}

// Returns the names of the temporary files of this file. Live edits of it have none, because they wait for the lock.
std::vector<std::string> LockedFile::leftovers(const std::string& ending) const
{
    const std::string prefix = temporaryPrefix(m_base);
    std::vector<std::string> names;
    std::error_code error; // a folder that cannot be read
    for (fs::directory_iterator entry(m_folder.path(), error), end; entry != end; entry.increment(error)) {
        const std::string name = entry->path().filename();
        const std::string random = name.substr(std::min(prefix.size(), name.size()), randomSize);
        if (random.size() == randomSize && name == prefix + random + ending)
            names.push_back(name);
    }
    return names;
}

// In a shared folder anyone can create a file of this name.
void LockedFile::removeCopy(const std::string& name) const
{
    const Descriptor file(openat(m_folder.number(), name.c_str(), O_RDONLY | existing));
    struct stat status = {};
    if (!file.isOpen() || fstat(file.number(), &status) != 0 || !S_ISREG(status.st_mode) ||
        (status.st_uid != geteuid() && status.st_uid != m_status.st_uid))
        return;
    const std::string path = m_folder.path() / name;
    if (readAll(file.number(), path) != m_bytes)
        throw Failure{Trouble,
            "cannot edit: an interrupted edit may have damaged it; copy " + path + " to it, or remove that file", 0,
            m_name};
    unlinkat(m_folder.number(), name.c_str(), 0);
}

void LockedFile::replace(const QByteArray& bytes)
{
    if (m_exists && bytes == m_bytes)
        return;
    blockSignals();
    if (!m_exists)
        return create(bytes);
    if (faccessat(m_folder.number(), m_base.c_str(), W_OK, AT_EACCESS) != 0)
        throw systemFailure(m_name, "write");
    if (m_status.st_nlink > 1 || !replaceByRename(bytes))
        writeInPlace(bytes);
}

bool LockedFile::refused(const char* action) const
{
    if (isRefusal(errno))
        return false;
    throw systemFailure(m_name, action);
}

void LockedFile::flushFolder(int file) const
{
    if (::flushFolder(m_folder, file))
        return;
    Failure failure = systemFailure(m_name, "flush its folder to the disk");
    failure.text = "edited, but the edit may not survive a power failure: " + failure.text;
    throw failure;
}

void LockedFile::create(const QByteArray& bytes) const
{
    NewFile fresh(m_folder, m_base, 0666);
    if (!fresh.isOpen())
        throw systemFailure(m_name, "create a file in its folder");
    writeAll(fresh.number(), bytes, m_name);
    flush(fresh.number(), m_name);
    // A file that another program has created meanwhile stays.
    if (!fresh.renameTo(m_base, RENAME_NOREPLACE) && (errno == EEXIST || !fresh.linkTo(m_base)))
        throw systemFailure(m_name, "create");
    fresh.remove();
    flushFolder(fresh.number());
}

bool LockedFile::replaceByRename(const QByteArray& bytes)
{
    NewFile fresh(m_folder, m_base, 0600);
    if (!fresh.isOpen())
        return refused("create a file in its folder");
    if (!copyStatus(m_file.number(), m_status, fresh.number()))
        return refused("copy its owner and attributes");
    writeAll(fresh.number(), bytes, m_name);
    flush(fresh.number(), m_name);
    flock(fresh.number(), LOCK_EX | LOCK_NB); // the next edit waits until this one is flushed
    if (!exchange(fresh))
        return false;
    fresh.remove();
    flushFolder(fresh.number());
    return true;
}

bool LockedFile::exchange(NewFile& fresh)
{
    const Lease lease(m_access.lock ? m_file.number() : -1);
    if (lease.isBroken() || !isCurrent())
        throw changed(m_name);
    if (!fresh.renameTo(m_base, RENAME_EXCHANGE))
        return renameOver(fresh);
    if (!lease.isBroken() && isLockedFile(fresh.name()))
        return true;
    if (fresh.renameTo(m_base, RENAME_EXCHANGE))
        throw changed(m_name);
    fresh.appendToName(".old"); // so that the next edit leaves it
    fresh.keep();
    throw Failure{
        Trouble, "replaced, but another program may have changed it; the file before is " + fresh.path(), 0, m_name};
}

// Whether the name leads to the locked file, apart from the time of its last change, which a rename changes.
bool LockedFile::isLockedFile(const std::string& name) const
{
    struct stat named = {};
    struct stat locked = {};
    return fstatat(m_folder.number(), name.c_str(), &named, AT_SYMLINK_NOFOLLOW) == 0 &&
           fstat(m_file.number(), &locked) == 0 && isSameFile(named, locked) && isSameStatus(named, m_status);
}

bool LockedFile::renameOver(NewFile& fresh)
{
    if (!isCurrent())
        throw changed(m_name);
    if (fresh.renameTo(m_base, 0))
        return true;
    const int error = errno;
    const bool isIntact = isWhole();
    errno = error;
    if (isIntact)
        return refused("replace");
    m_file = Descriptor(); // an SMB server removes a file that is open here when it is closed
    if (fresh.renameTo(m_base, RENAME_NOREPLACE))
        return true;
    fresh.keep();
    errno = error;
    Failure failure = systemFailure(m_name, "replace");
    failure.text += "; its new contents are in " + fresh.path();
    throw failure;
}

bool LockedFile::isWhole() const
{
    const Descriptor file(openat(m_folder.number(), m_base.c_str(), O_RDONLY | existing));
    try {
        return file.isOpen() && readAll(file.number(), m_name) == m_bytes;
    } catch (const Failure&) {
        return false;
    }
}

void LockedFile::writeInPlace(const QByteArray& bytes) const
{
    const char* const temporary = std::getenv("TMPDIR");
    const Folder spare(temporary ? temporary : "/var/tmp"); // survives a restart
    std::optional<NewFile> copy;
    try {
        save(copy.emplace(m_folder, m_base, 0600), bytes);
    } catch (const Failure&) {
        save(copy.emplace(spare, m_base, 0600), bytes);
    }
    if ((m_access.lock && Lease(m_file.number()).isBroken()) || !isCurrent())
        throw changed(m_name);
    const Descriptor file(openat(m_folder.number(), m_base.c_str(), O_WRONLY | existing));
    if (!file.isOpen())
        throw systemFailure(m_name, "write");
    if (!isLockedFile(m_base))
        throw changed(m_name);
    try {
        overwrite(file.number(), bytes, m_name);
    } catch (Failure& failure) {
        if (!isWhole() && !restore(file.number())) {
            copy->keep();
            failure.text += "; it is damaged, and its new contents are in " + copy->path();
        }
        throw;
    }
}

// The copy of the new contents from which a damaged file can be restored.
void LockedFile::save(NewFile& copy, const QByteArray& bytes) const
{
    const char action[] = "save a copy before a write in place";
    if (!copy.isOpen())
        throw systemFailure(m_name, action);
    writeAll(copy.number(), bytes, m_name);
    flush(copy.number(), m_name);
    if (!copy.appendToName(copyEnding) || !::flushFolder(copy.folder(), copy.number()))
        throw systemFailure(m_name, action);
}

bool LockedFile::restore(int file) const
{
    try {
        overwrite(file, m_bytes, m_name);
        return true;
    } catch (const Failure&) {
        return false;
    }
}
