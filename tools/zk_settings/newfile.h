#ifndef ZK_SETTINGS_NEWFILE_H
#define ZK_SETTINGS_NEWFILE_H

#include "descriptor.h"

#include <filesystem>
#include <sys/stat.h>
#include <vector>

/// An open directory.
struct Folder : Descriptor
{
    Folder() = default;
    explicit Folder(const std::filesystem::path& name);

    /// Returns the names that edits of the file `base` have left, with this ending.
    std::vector<std::string> leftovers(const std::string& base, const std::string& ending) const;
    /// Flushes the names. `file` is any open file of the file system. False on an error, with errno.
    bool flush(int file) const;

    std::filesystem::path path;
};

/// A temporary file: `.NAME.zk_settings-RANDOM`, for the file NAME of the directory. Removes itself unless kept.
class NewFile : public Descriptor
{
public:
    NewFile(const Folder& folder, const std::string& base, mode_t mode);
    ~NewFile();
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    const std::string& name() const { return m_name; }
    std::string path() const { return m_folder.path / m_name; }

    /// Copies owner, group, extended attributes with ACLs, and mode. Call it before the first write, so that the write
    /// clears the set-user-ID bits as usual. False on an error, with errno.
    bool copyStatus(int from, const struct stat& status) const;
    /// Writes and flushes. Throws Failure.
    void write(const std::string& bytes) const;
    /// Takes a name in the directory, with the flags of renameat2(). False on an error, with errno.
    bool renameTo(const std::string& name, unsigned flags) const;
    bool appendToName(const char* ending);
    void keep() { m_isKept = true; }

private:
    const Folder& m_folder;
    std::string m_name;
    bool m_isKept = false;
};

#endif
