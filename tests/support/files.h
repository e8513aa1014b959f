#ifndef KQSUPPORT_TESTS_FILES_H
#define KQSUPPORT_TESTS_FILES_H

#include <string>

/// The bytes of a file; fails the running test and returns nothing when it cannot be read.
std::string readFile(const std::string& path);

/// Creates or replaces a file; fails the running test when it cannot.
void writeFile(const std::string& path, const std::string& bytes);

/// A temporary directory, removed with its content.
class TempDir
{
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::string& path() const { return m_path; }
    std::string operator/(const std::string& name) const { return m_path + '/' + name; }

private:
    std::string m_path;
};

#endif
