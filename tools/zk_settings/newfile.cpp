#include "newfile.h"

#include "failure.h"

#include <QUuid>

#include <fcntl.h>
#include <linux/limits.h>
#include <map>
#include <sys/xattr.h>

namespace fs = std::filesystem;

namespace {

constexpr int randomSize = 16;

std::string prefix(const std::string& base)
{
    return '.' + base.substr(0, 200) + ".zk_settings-"; // a name has at most 255 bytes
}

using Attributes = std::map<std::string, std::string>;

// False on an error, with errno.
bool readAttributes(int file, Attributes& attributes)
{
    std::string names(XATTR_LIST_MAX, '\0');
    const ssize_t namesSize = flistxattr(file, names.data(), names.size());
    if (namesSize < 0)
        return errno == ENOTSUP; // this file system has none
    for (const char* name = names.data(); name < names.data() + namesSize; name += std::strlen(name) + 1) {
        std::string& value = attributes[name];
        value.resize(XATTR_SIZE_MAX);
        const ssize_t size = fgetxattr(file, name, value.data(), value.size());
        if (size < 0)
            return false;
        value.resize(static_cast<std::size_t>(size));
    }
    return true;
}

// Sets only what differs: some attributes cannot be set, but the new file has the same. Others come from the directory.
bool copyAttributes(int from, int to)
{
    Attributes wanted;
    Attributes present;
    bool isDone = readAttributes(from, wanted) && readAttributes(to, present);
    for (const auto& [name, value] : wanted) {
        const bool isThere = present.count(name) != 0 && present[name] == value;
        isDone = isDone && (isThere || fsetxattr(to, name.c_str(), value.data(), value.size(), 0) == 0);
    }
    for (const auto& [name, value] : present)
        isDone = isDone && (wanted.count(name) != 0 || fremovexattr(to, name.c_str()) == 0);
    return isDone;
}

} // namespace

Folder::Folder(const fs::path& name)
    : path(name.empty() ? "." : name)
{
    for (const int access : {O_RDONLY, O_PATH}) { // a directory that cannot be read may allow a new file
        if (!isOpen())
            Descriptor::operator=(Descriptor(open(path.c_str(), access | O_DIRECTORY | O_CLOEXEC)));
    }
}

std::vector<std::string> Folder::leftovers(const std::string& base, const std::string& ending) const
{
    const std::string start = prefix(base);
    std::vector<std::string> names;
    std::error_code error; // a directory that cannot be read
    for (fs::directory_iterator entry(path, error), end; entry != end; entry.increment(error)) {
        const std::string name = entry->path().filename();
        const std::string random = name.substr(std::min(start.size(), name.size()), randomSize);
        if (random.size() == randomSize && name == (start + random).append(ending))
            names.push_back(name);
    }
    return names;
}

// Not every file system can flush a directory, and not every user may read it.
bool Folder::flush(int file) const
{
    return fsync(number()) == 0 || ((errno == EINVAL || errno == EBADF) && syncfs(file) == 0);
}

NewFile::NewFile(const Folder& folder, const std::string& base, mode_t mode)
    : m_folder(folder)
    , m_name(prefix(base) + QUuid::createUuid().toByteArray(QUuid::Id128).left(randomSize).toStdString())
{
    Descriptor::operator=(
        Descriptor(openat(folder.number(), m_name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode)));
}

NewFile::~NewFile()
{
    if (isOpen() && !m_isKept)
        unlinkat(m_folder.number(), m_name.c_str(), 0);
}

// Sets the mode last, because a change of owner clears some of its bits.
bool NewFile::copyStatus(int from, const struct stat& status) const
{
    struct stat fresh = {};
    if (fstat(number(), &fresh) != 0)
        return false;
    const bool isOwned = fresh.st_uid == status.st_uid && fresh.st_gid == status.st_gid;
    return (isOwned || fchown(number(), status.st_uid, status.st_gid) == 0) && copyAttributes(from, number()) &&
           fchmod(number(), status.st_mode & 07777) == 0;
}

void NewFile::write(const std::string& bytes) const
{
    writeAll(number(), bytes);
    ::flush(number());
}

bool NewFile::renameTo(const std::string& name, unsigned flags) const
{
    return renameat2(m_folder.number(), m_name.c_str(), m_folder.number(), name.c_str(), flags) == 0;
}

bool NewFile::appendToName(const char* ending)
{
    const bool isDone = renameTo(m_name + ending, 0);
    m_name += isDone ? ending : "";
    return isDone;
}
