#ifndef KQSUPPORT_TESTS_FAKES_H
#define KQSUPPORT_TESTS_FAKES_H

#include <functional>
#include <string>
#include <vector>

/// Fakes of `fopen` and `system`. A test program that links fakes.cpp defines both functions itself, and the dynamic
/// linker gives its definitions to the library. While nothing is faked, both call the real function.
namespace fakes {

/// The calls for `/etc/os-release` since it was faked.
struct OsReleaseFile
{
    std::vector<std::string> modes; ///< one for each `fopen`
    int closed = 0;                 ///< how many files were closed
};

/// Makes `/etc/os-release` contain `text`. Reading past it gives the end of the file or, with `failsAtEnd`, an error.
void osRelease(const std::string& text, bool failsAtEnd = false);
/// Makes `/etc/os-release` a file that cannot be opened.
void noOsRelease();
const OsReleaseFile& osReleaseFile();

/// Makes `system` record its command and return the result of `answer`.
void shell(std::function<int(const std::string& command)> answer);
const std::vector<std::string>& commands();

/// Ends all fakes and clears the records.
void reset();

} // namespace fakes

#endif
