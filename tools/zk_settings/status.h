#ifndef ZK_SETTINGS_STATUS_H
#define ZK_SETTINGS_STATUS_H

#include <sys/stat.h>
#include <tuple>

// What is compared of the status of two files.

/// Which file it is.
inline auto identity(const struct stat& s)
{
    return std::make_tuple(s.st_dev, s.st_ino);
}

/// Who may do what.
inline auto access(const struct stat& s)
{
    return std::make_tuple(s.st_mode, s.st_uid, s.st_gid);
}

/// Changes with the contents.
inline auto contents(const struct stat& s)
{
    return std::make_tuple(s.st_size, s.st_mtim.tv_sec, s.st_mtim.tv_nsec);
}

/// Everything but the time of the last change, which a rename changes.
inline bool isSameState(const struct stat& a, const struct stat& b)
{
    return access(a) == access(b) && contents(a) == contents(b) && a.st_nlink == b.st_nlink;
}

#endif
