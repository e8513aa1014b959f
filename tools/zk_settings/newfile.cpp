#include "newfile.h"

#include "failure.h"

#include <QRandomGenerator>

#include <fcntl.h>
#include <linux/limits.h>
#include <map>
#include <sys/xattr.h>

namespace fs = std::filesystem;

namespace {

constexpr std::size_t randomSize = 16;

std::string prefix(const std::string& base)
{
    return '.' + base.substr(0, 200) + ".zk_settings-"; // a name has at most 255 bytes
}

// False on an error, with errno.
bool readAttributes(int file, std::map<std::string, std::string>& attributes)
{
    std::string list(XATTR_LIST_MAX, '\0');
    const ssize_t listSize = flistxattr(file, list.data(), list.size());
    if (listSize < 0)
        return errno == ENOTSUP; // this file system has none
    list.resize(static_cast<std::size_t>(listSize));
    for (std::size_t begin = 0; begin < list.size(); begin = list.find('\0', begin) + 1) {
        std::string value(XATTR_SIZE_MAX, '\0');
        const ssize_t size = fgetxattr(file, list.c_str() + begin, value.data(), value.size());
        if (size < 0)
            return false;
        value.resize(static_cast<std::size_t>(size));
        attributes[list.c_str() + begin] = value;
    }
    return true;
}

// The new file may have attributes that it got from its directory.
bool copyAttributes(int from, int to)
{
    std::map<std::string, std::string> wanted;
    std::map<std::string, std::string> present;
    if (!readAttributes(from, wanted) || !readAttributes(to, present))
        return false;
    for (const auto& [name, value] : present) {
        if (wanted.count(name) == 0 && fremovexattr(to, name.c_str()) != 0)
            return false;
    }
    for (const auto& [name, value] : wanted) {
        const auto found = present.find(name);
        if ((found == present.end() || found->second != value) &&
            fsetxattr(to, name.c_str(), value.data(), value.size(), 0) != 0)
            return false;
    }
    return true;
}

} // namespace

Folder::Folder(const fs::path& path)
    : m_path(path.empty() ? "." : path)
{
    for (const int access : {O_RDONLY, O_PATH}) { // a directory that cannot be read may allow a new file
        if (!isOpen())
            Descriptor::operator=(Descriptor(open(m_path.c_str(), access | O_DIRECTORY | O_CLOEXEC)));
    }
}

// Not every file system can flush a directory, and not every user may read it.
bool Folder::flush(int file) const
{
    return fsync(number()) == 0 || ((errno == EINVAL || errno == EBADF) && syncfs(file) == 0);
}

NewFile::NewFile(const Folder& folder, const std::string& base, mode_t mode)
    : m_folder(folder)
{
    const QByteArray random = QByteArray::number(QRandomGenerator::system()->generate64(), 16);
    m_name = prefix(base) + random.rightJustified(randomSize, '0').toStdString();
    m_file = Descriptor(openat(folder.number(), m_name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode));
}

std::vector<std::string> NewFile::leftovers(const Folder& folder, const std::string& base, const std::string& ending)
{
    const std::string start = prefix(base);
    std::vector<std::string> names;
    std::error_code error; // a directory that cannot be read
    for (fs::directory_iterator entry(folder.path(), error), end; entry != end; entry.increment(error)) {
        const std::string name = entry->path().filename();
        const std::string random = name.substr(std::min(start.size(), name.size()), randomSize);
        if (random.size() == randomSize && name == (start + random).append(ending))
            names.push_back(name);
    }
    return names;
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

void NewFile::write(const QByteArray& bytes, const std::string& name) const
{
    writeAll(number(), bytes, name);
    flush(number(), name);
}

bool NewFile::renameTo(const std::string& name, unsigned flags) const
{
    return renameat2(m_folder.number(), m_name.c_str(), m_folder.number(), name.c_str(), flags) == 0;
}

bool NewFile::linkTo(const std::string& name) const
{
    return linkat(m_folder.number(), m_name.c_str(), m_folder.number(), name.c_str(), 0) == 0;
}

bool NewFile::appendToName(const char* ending)
{
    const bool isDone = renameTo(m_name + ending, 0);
    m_name += isDone ? ending : "";
    return isDone;
}

void NewFile::remove()
{
    if (isOpen() && !m_isKept)
        unlinkat(m_folder.number(), m_name.c_str(), 0);
    keep();
}
