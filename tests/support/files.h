#ifndef KQSUPPORT_TESTS_FILES_H
#define KQSUPPORT_TESTS_FILES_H

#include <string>

/// Returns the bytes of a file. If it cannot be read, fails the running test and returns nothing.
std::string readFile(const std::string& path);

/// Creates or replaces a file. Fails the running test if that is not possible.
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
