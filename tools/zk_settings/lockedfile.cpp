#include "lockedfile.h"

#include "failure.h"

#include <algorithm>
#include <fcntl.h>
#include <filesystem>
#include <linux/limits.h>
#include <set>
#include <sys/file.h>
#include <sys/xattr.h>
#include <thread>

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

namespace {

constexpr char changedMeanwhile[] = "cannot replace: another program has changed it";

bool isSameState(const struct stat& a, const struct stat& b)
{
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino && a.st_size == b.st_size &&
           a.st_mtim.tv_sec == b.st_mtim.tv_sec && a.st_mtim.tv_nsec == b.st_mtim.tv_nsec;
}

// The errors of a folder that allows no new file. The old one may still be writable.
bool isRefusal(int error)
{
    const int refusals[] = {EACCES, EPERM, EROFS, EBUSY, EEXIST};
    return std::find(std::begin(refusals), std::end(refusals), error) != std::end(refusals);
}

// Empty on a file system without attributes.
std::set<std::string> attributeNames(int file)
{
    std::string list(XATTR_LIST_MAX, '\0');
    list.resize(std::size_t(std::max<ssize_t>(flistxattr(file, list.data(), list.size()), 0)));
    std::set<std::string> names;
    for (std::size_t begin = 0; begin < list.size(); begin = list.find('\0', begin) + 1)
        names.insert(list.c_str() + begin);
    return names;
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
    const std::set<std::string> wanted = attributeNames(from);
    for (const std::string& name : attributeNames(to)) {
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

void writeAt(int file, const QByteArray& bytes, qsizetype from, qsizetype to, const std::string& name)
{
    if (lseek(file, from, SEEK_SET) < 0)
        throw systemFailure(name, "write");
    writeAll(file, bytes.mid(from, to - from), name);
}

void flush(int file, const std::string& name)
{
    if (fsync(file) != 0 && errno != EINVAL) // not every file system can flush a folder
        throw systemFailure(name, "flush to the disk");
}

// A temporary file. Removes itself unless renamed. Its name depends only on what is locked, so the next edit removes
// what a crash left.
class NewFile
{
public:
    NewFile(std::string path, mode_t mode)
        : m_path(std::move(path))
    {
        unlink(m_path.c_str());
        m_file = Descriptor(open(m_path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode));
    }
    ~NewFile()
    {
        if (m_file.isOpen() && !m_isRenamed)
            unlink(m_path.c_str());
    }
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    bool isOpen() const { return m_file.isOpen(); }
    int number() const { return m_file.number(); }
    bool renameTo(const std::string& path) { return m_isRenamed = rename(m_path.c_str(), path.c_str()) == 0; }

private:
    std::string m_path;
    Descriptor m_file;
    bool m_isRenamed = false;
};

} // namespace

LockedFile::LockedFile(const std::string& name, std::chrono::seconds wait)
    : m_name(name)
{
    const auto deadline = Clock::now() + wait;
    for (open(); !lock(); open()) { // an edit replaces the file, so the path is opened again
        if (Clock::now() >= deadline)
            throw Failure{Trouble, "cannot lock: another process is editing it", 0, m_name};
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    if (m_exists)
        m_bytes = readAll(m_lock.number(), m_name);
}

std::string LockedFile::folder() const
{
    const std::string folder = fs::path(m_path).parent_path();
    return folder.empty() ? "." : folder;
}

void LockedFile::open()
{
    m_path = withoutLinks(m_name);
    m_lock = Descriptor(::open(m_path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC)); // does not wait if it is a pipe
    m_exists = m_lock.isOpen();
    if (!m_exists && errno == ENOENT)
        m_lock = Descriptor(::open(folder().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    takeStatus();
    if (m_exists && !S_ISREG(m_status.st_mode))
        throw Failure{Trouble, "cannot edit: not a regular file", 0, m_name};
}

bool LockedFile::lock()
{
    if (flock(m_lock.number(), LOCK_EX | LOCK_NB) != 0) {
        if (errno == EWOULDBLOCK)
            return false;
        throw systemFailure(m_name, "lock");
    }
    takeStatus();
    return isCurrent();
}

void LockedFile::takeStatus()
{
    if (!m_lock.isOpen() || fstat(m_lock.number(), &m_status) != 0)
        throw systemFailure(m_name, "open");
}

bool LockedFile::isCurrent() const
{
    struct stat named = {};
    if (stat(m_name.c_str(), &named) != 0)
        return !m_exists;
    return m_exists && isSameState(named, m_status);
}

void LockedFile::replace(const QByteArray& bytes)
{
    if (m_exists && bytes == m_bytes)
        return;
    if (m_exists && faccessat(AT_FDCWD, m_path.c_str(), W_OK, AT_EACCESS) != 0)
        throw systemFailure(m_name, "write");
    const bool hasOneName = !m_exists || m_status.st_nlink == 1;
    if (!hasOneName || !replaceByRename(bytes))
        writeInPlace(bytes);
}

bool LockedFile::replaceByRename(const QByteArray& bytes)
{
    NewFile file(folder() + "/.zk_settings-" + std::to_string(m_status.st_ino), m_exists ? 0600 : 0666);
    if (!file.isOpen()) {
        if (m_exists && isRefusal(errno))
            return false;
        throw systemFailure(m_name, "create a file in its folder");
    }
    if (m_exists && !copyStatus(m_lock.number(), m_status, file.number()))
        return false;
    writeAll(file.number(), bytes, m_name);
    flush(file.number(), m_name);
    if (!isCurrent())
        throw Failure{Trouble, changedMeanwhile, 0, m_name};
    if (!file.renameTo(m_path)) {
        if (m_exists && isRefusal(errno))
            return false;
        throw systemFailure(m_name, "replace");
    }
    const Descriptor folderFile(::open(folder().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (folderFile.isOpen())
        flush(folderFile.number(), m_name);
    return true;
}

// Writes the end first, so that a full disk is noticed before an old byte is overwritten. If a write fails, restores
// the old bytes.
void LockedFile::writeInPlace(const QByteArray& bytes) const
{
    const Descriptor file(::open(m_path.c_str(), O_WRONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct stat opened = {};
    if (!file.isOpen() || fstat(file.number(), &opened) != 0)
        throw systemFailure(m_name, "write");
    if (!isSameState(opened, m_status))
        throw Failure{Trouble, changedMeanwhile, 0, m_name};
    try {
        writeAt(file.number(), bytes, std::min(m_bytes.size(), bytes.size()), bytes.size(), m_name);
        writeAt(file.number(), bytes, 0, std::min(m_bytes.size(), bytes.size()), m_name);
        if (ftruncate(file.number(), bytes.size()) != 0)
            throw systemFailure(m_name, "write");
        flush(file.number(), m_name);
    } catch (const Failure&) {
        if (ftruncate(file.number(), m_bytes.size()) == 0)
            writeAt(file.number(), m_bytes, 0, m_bytes.size(), m_name);
        throw;
    }
}
