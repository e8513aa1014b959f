#ifndef ZK_SETTINGS_NEWFILE_H
#define ZK_SETTINGS_NEWFILE_H

#include "descriptor.h"

#include <filesystem>
#include <sys/stat.h>
#include <vector>

/// An open directory.
class Folder : public Descriptor
{
public:
    Folder() = default;
    explicit Folder(const std::filesystem::path& path);

    const std::filesystem::path& path() const { return m_path; }
    /// Flushes its names. `file` is any open file of the file system. False on an error, with errno.
    bool flush(int file) const;

private:
    std::filesystem::path m_path;
};

/// A temporary file: `.NAME.zk_settings-RANDOM`, for the file NAME of the directory. Removes itself unless kept.
class NewFile
{
public:
    NewFile(const Folder& folder, const std::string& base, mode_t mode);
    ~NewFile() { remove(); }
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    /// Returns the names that edits of the file `base` have left, with this ending.
    static std::vector<std::string> leftovers(const Folder& folder, const std::string& base, const std::string& ending);

    bool isOpen() const { return m_file.isOpen(); }
    int number() const { return m_file.number(); }
    const Folder& folder() const { return m_folder; }
    const std::string& name() const { return m_name; }
    std::string path() const { return m_folder.path() / m_name; }

    /// Copies owner, group, extended attributes with ACLs, and mode. Call it before the first write, so that the write
    /// clears the set-user-ID bits as usual. False on an error, with errno.
    bool copyStatus(int from, const struct stat& status) const;
    /// Writes and flushes. `name` is for the message. Throws Failure.
    void write(const QByteArray& bytes, const std::string& name) const;
    /// Takes a name in the directory, with the flags of renameat2().
    bool renameTo(const std::string& name, unsigned flags) const;
    bool linkTo(const std::string& name) const;
    bool appendToName(const char* ending);
    void keep() { m_isKept = true; }
    void remove();

private:
    const Folder& m_folder;
    std::string m_name;
    Descriptor m_file;
    bool m_isKept = false;
};

#endif
