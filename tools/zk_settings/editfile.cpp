#include "editfile.h"

#include "descriptor.h"
#include "failure.h"

#include <QDeadlineTimer>
#include <QUuid>

#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <tuple>

namespace fs = std::filesystem;

namespace {

constexpr int existing = O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC; // does not wait if it is a pipe
constexpr std::size_t randomSize = 16;

struct Folder : Descriptor
{
    void open(const fs::path& name)
    {
        path = name;
        reset(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        if (!isOpen()) // one that cannot be read may allow a new file
            reset(::open(path.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    }

    fs::path path;
};

// The file as it was when it was locked, and what it becomes. It is not open if it is missing.
struct File : Descriptor
{
    Access access;
    Folder folder;
    std::string base;   // the name in the folder, which is no symbolic link
    std::string prefix; // of the names of its temporary files
    bool isOnSmb = false;
    struct stat status = {};
    std::string bytes;
    std::string newBytes;
};

// A temporary file. Removes itself unless it is kept.
struct NewFile : Descriptor
{
    NewFile(const Folder& where, const std::string& prefix, mode_t mode)
        : folder(where)
        , name(prefix + QUuid::createUuid().toByteArray(QUuid::Id128).left(randomSize).toStdString())
    {
        reset(openat(folder.number(), name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode));
        check(isOpen(), "create a file in " + folder.path.string());
    }
    ~NewFile()
    {
        if (!isKept)
            unlinkat(folder.number(), name.c_str(), 0);
    }
    bool renameTo(const std::string& target, unsigned flags) const
    {
        return renameat2(folder.number(), name.c_str(), folder.number(), target.c_str(), flags) == 0;
    }
    // Adds the ending to the name, so that the next edit leaves the file. Returns its path.
    std::string keep(const char* ending)
    {
        isKept = true;
        return folder.path / (renameTo(name + ending, 0) ? name + ending : name);
    }

    const Folder& folder;
    std::string name;
    bool isKept = false;
};

// Flushes the names. Not every file system can flush a directory, and not every user may read it.
bool flushFolder(const NewFile& fresh)
{
    return fsync(fresh.folder.number()) == 0 || ((errno == EINVAL || errno == EBADF) && syncfs(fresh.number()) == 0);
}

// False also if they cannot be read.
bool hasBytes(const Folder& folder, const std::string& name, const std::string& bytes)
{
    const Descriptor file(openat(folder.number(), name.c_str(), O_RDONLY | existing));
    try {
        return readAll(file.number()) == bytes;
    } catch (const Failure&) {
        return false;
    }
}

// Whether the file has this name and is as it was, or is still missing. An exchange of names changes st_ctim.
bool isUnchanged(const File& file, const std::string& name)
{
    if (file.access.lock && isWrittenElsewhere(file.number()))
        return false;
    struct stat named = {};
    const bool isFound = fstatat(file.folder.number(), name.c_str(), &named, AT_SYMLINK_NOFOLLOW) == 0;
    const bool isExchanged = name != file.base;
    check(isFound || errno == ENOENT || isExchanged, "open");
    const auto state = [isExchanged](const struct stat& s) {
        const timespec changed = isExchanged ? timespec{} : s.st_ctim;
        return std::make_tuple(s.st_dev, s.st_ino, s.st_mode, s.st_uid, s.st_gid, s.st_nlink, s.st_size,
            s.st_mtim.tv_sec, s.st_mtim.tv_nsec, changed.tv_sec, changed.tv_nsec);
    };
    return state(named) == state(file.status);
}

void look(File& file)
{
    struct statfs system = {};
    check(fstat(file.number(), &file.status) == 0 && fstatfs(file.number(), &system) == 0, "open");
    if (!S_ISREG(file.status.st_mode))
        throw Failure{Trouble, "cannot edit: not a regular file"};
    file.isOnSmb = system.f_type == 0xfe534d42 || system.f_type == 0xff534d42; // the second by older kernels
}

File openFile(const std::string& name, const Access& access)
{
    File file;
    file.access = access;
    file.reset(open(name.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    check(file.isOpen() || (errno == ENOENT && access.create), "open");
    if (file.isOpen())
        look(file);
    std::error_code error;
    const fs::path path = file.isOpen() ? fs::canonical(name, error) : fs::absolute(name, error);
    if (error) // another program has removed it since
        throw Failure{Trouble, "cannot open: " + error.message()};
    if (!file.isOpen() && fs::is_symlink(path, error)) // as open() with O_CREAT and O_EXCL
        throw Failure{Trouble, "cannot create: the name is a symbolic link to a missing file"};
    file.base = path.filename();
    file.prefix = '.' + file.base.substr(0, 200) + ".zk_settings-"; // a name has at most 255 bytes
    file.folder.open(path.parent_path());
    check(file.folder.isOpen(), "open its directory");
    return file;
}

// On SMB a lock on the whole file keeps other programs from reading it. A lock on a byte that no file has does not.
bool tryLock(const File& file)
{
    struct flock byte = {F_WRLCK, SEEK_SET, INT64_MAX - 1, 1, 0};
    const int number = file.isOpen() ? file.number() : file.folder.number();
    return (file.isOnSmb ? fcntl(number, F_OFD_SETLK, &byte) : flock(number, LOCK_EX | LOCK_NB)) == 0;
}

bool lock(File& file)
{
    bool isLocked = tryLock(file);
    if (!isLocked && errno == EBADF && file.isOpen()) { // on NFS and SMB it must be open for writing
        file.reset(openat(file.folder.number(), file.base.c_str(), O_RDWR | existing));
        isLocked = file.isOpen() && tryLock(file);
    }
    const bool isBusy = errno == EAGAIN || (errno == EACCES && file.isOpen()); // the second on SMB
    check(isLocked || isBusy, "lock", "; --no-lock edits without a lock");
    return isLocked;
}

// Whether it is the only name of what another edit has locked: a program may have replaced the file during that edit.
bool isInUse(const File& file, const std::string& fresh)
{
    const Descriptor descriptor(openat(file.folder.number(), fresh.c_str(), O_RDONLY | existing));
    struct stat status = {};
    return fstat(descriptor.number(), &status) == 0 && status.st_nlink == 1 &&
           flock(descriptor.number(), LOCK_SH | LOCK_NB) != 0 && errno == EWOULDBLOCK;
}

// Whether a copy can be removed. In a shared directory anyone can create a file of its name.
bool isObsolete(const File& file, const std::string& copy)
{
    struct stat status = {};
    fstatat(file.folder.number(), copy.c_str(), &status, AT_SYMLINK_NOFOLLOW);
    const bool isTrusted = status.st_uid == 0 || status.st_uid == geteuid() || status.st_uid == file.status.st_uid;
    if (!S_ISREG(status.st_mode) || !isTrusted)
        return false;
    if (!hasBytes(file.folder, copy, file.bytes))
        throw Failure{Trouble, "cannot edit: an interrupted edit may have damaged it; copy " +
                                   (file.folder.path / copy).string() + " to it, or remove that file"};
    check(fsync(file.number()) == 0, "flush to the disk"); // an edit may have been killed before
    return true;
}

// Removes what killed edits have left. One may be a second name of the file, which is then written in place.
void tidy(const File& file)
{
    const std::size_t size = file.prefix.size() + randomSize;
    std::error_code error; // a directory that cannot be read
    for (fs::directory_iterator entry(file.folder.path, error), end; entry != end; entry.increment(error)) {
        const std::string name = entry->path().filename();
        const bool isOurs = name.rfind(file.prefix, 0) == 0;
        const bool isNew = isOurs && name.size() == size && !isInUse(file, name);
        const bool isCopy = isOurs && name.size() == size + 4 && entry->path().extension() == ".new";
        if (isNew || (isCopy && isObsolete(file, name)))
            unlinkat(file.folder.number(), name.c_str(), 0);
    }
}

File openLocked(const std::string& name, const Access& access)
{
    for (const QDeadlineTimer deadline(access.wait);; usleep(5000)) {
        File file = openFile(name, access); // each time, because an edit replaces the file
        if ((!access.lock || lock(file)) && isUnchanged(file, file.base))
            return file;
        if (deadline.hasExpired())
            throw Failure{Trouble, "cannot lock: another process is editing it; --wait waits longer"};
    }
}

constexpr char changed[] = "cannot replace: another program has changed it";

// After another program has changed the old file. If it has written or replaced the new file too, that one stays.
[[noreturn]] void exchangeBack(const File& file, NewFile& fresh)
{
    if (fresh.renameTo(file.base, RENAME_EXCHANGE)) {
        if (hasBytes(file.folder, fresh.name, file.newBytes)) {
            flushFolder(fresh);
            throw Failure{Trouble, changed};
        }
        fresh.renameTo(file.base, RENAME_EXCHANGE);
    }
    throw Failure{
        Trouble, "replaced, but another program may have changed it; the file before is " + fresh.keep(".old")};
}

// Another program may have found the old file just before the exchange, and changed it since.
void finish(const File& file, NewFile& fresh, bool isExchange)
{
    const bool isFlushed = flushFolder(fresh);
    const Failure unflushed = // built while errno is that of the flush
        systemFailure("flush its directory", "; the edit is done, but may not survive a power failure");
    if (isExchange && !isUnchanged(file, fresh.name))
        exchangeBack(file, fresh);
    if (!isFlushed)
        throw Failure{Trouble, unflushed.text};
}

void create(const File& file)
{
    NewFile fresh(file.folder, file.prefix, 0666);
    overwrite(fresh.number(), file.newBytes);
    const int folder = file.folder.number();
    if (!fresh.renameTo(file.base, RENAME_NOREPLACE)) // not every file system can do that
        check(linkat(folder, fresh.name.c_str(), folder, file.base.c_str(), 0) == 0, "create");
    finish(file, fresh, false);
}

void replaceByRename(const File& file)
{
    NewFile fresh(file.folder, file.prefix, 0600);
    flock(fresh.number(), LOCK_EX | LOCK_NB); // other edits leave it, and later wait until this one has ended
    copyStatus(file.number(), file.status, fresh.number());
    overwrite(fresh.number(), file.newBytes);
    Failure failure = {Trouble, {}};
    for (const bool isExchange : {true, false}) { // not every file system can exchange names
        if (!isUnchanged(file, file.base))
            throw Failure{Trouble, changed};
        const bool isDone = fresh.renameTo(file.base, isExchange ? RENAME_EXCHANGE : 0);
        failure = systemFailure("replace");
        if (isDone || hasBytes(file.folder, file.base, file.newBytes)) // a server may have done it all the same
            return finish(file, fresh, isExchange);
    }
    if (hasBytes(file.folder, file.base, file.bytes))
        throw failure;
    throw Failure{Trouble, failure.text + "; its new contents are in " + fresh.keep(".new")};
}

// Returns a copy from which a file that is damaged by a write in place can be restored.
std::unique_ptr<NewFile> save(const Folder& folder, const File& file)
{
    auto copy = std::make_unique<NewFile>(folder, file.prefix, 0600);
    overwrite(copy->number(), file.newBytes);
    const bool isNamed = copy->renameTo(copy->name + ".new", 0);
    copy->name += isNamed ? ".new" : "";
    check(isNamed && flushFolder(*copy), "save a copy in " + folder.path.string());
    return copy;
}

void overwriteOrRestore(const File& file, int target, NewFile& copy)
{
    copy.isKept = true; // also if memory runs out
    try {
        overwrite(target, file.newBytes);
    } catch (Failure& failure) {
        try {
            if (!hasBytes(file.folder, file.base, file.bytes))
                overwrite(target, file.bytes);
            copy.isKept = false;
        } catch (const Failure&) {
            failure.text += "; it is damaged, and its new contents are in " + (copy.folder.path / copy.name).string();
        }
        throw;
    }
    copy.isKept = false;
}

void writeInPlace(const File& file)
{
    Folder spare;
    std::unique_ptr<NewFile> copy;
    try {
        copy = save(file.folder, file);
    } catch (const Failure&) {
        const QByteArray temporary = qgetenv("TMPDIR");
        spare.open(temporary.isEmpty() ? "/var/tmp" : temporary.constData()); // /var/tmp survives a restart
        copy = save(spare, file);
    }
    const bool isWritten = file.access.lock && isWrittenElsewhere(file.number());
    const Descriptor target(openat(file.folder.number(), file.base.c_str(), O_RDWR | existing));
    check(target.isOpen(), "write");
    if (isWritten || readAll(target.number()) != file.bytes)
        throw Failure{Trouble, changed};
    overwriteOrRestore(file, target.number(), *copy);
}

void replace(const File& file)
{
    for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGTERM})
        std::signal(signal, SIG_IGN);
    if (!file.isOpen())
        return create(file);
    check(faccessat(file.folder.number(), file.base.c_str(), W_OK, AT_EACCESS) == 0, "write");
    try {
        if (!file.isOnSmb && file.status.st_nlink == 1)
            return replaceByRename(file);
    } catch (const Failure& failure) { // the directory, the owner or a mount point may allow no new file
        const int error = failure.error;
        if (error != EACCES && error != EPERM && error != EROFS && error != EBUSY && error != EINVAL)
            throw;
    }
    writeInPlace(file);
}

} // namespace

void editFile(const std::string& name, const Access& access, const std::function<std::string(const std::string&)>& edit)
{
    File file = openLocked(name, access);
    if (file.isOpen())
        file.bytes = readAll(file.number());
    tidy(file);
    file.newBytes = edit(file.bytes);
    if (!file.isOpen() || file.newBytes != file.bytes)
        replace(file);
}
