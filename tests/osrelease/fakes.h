#ifndef KQSUPPORT_TESTS_STANDINS_H
#define KQSUPPORT_TESTS_STANDINS_H

#include <functional>
#include <string>
#include <vector>

/// Stand-ins at the process's edge. A test program that links standins.cpp defines `fopen` and `system` itself, and the
/// dynamic linker gives its definitions to the library. Without a stand-in in force both pass everything on.
namespace standin {

/// What became of the calls for `/etc/os-release` since the stand-in was set.
struct OsReleaseFile
{
    std::vector<std::string> modes; ///< of each `fopen`
    int closed = 0;                 ///< how many of the opened files were closed again
};

/// Makes `/etc/os-release` hold `text`; after its last byte comes the end of the file or, with `failsAtEnd`, an error.
void osRelease(const std::string& text, bool failsAtEnd = false);
/// Makes `/etc/os-release` a file that cannot be opened.
void noOsRelease();
const OsReleaseFile& osReleaseFile();

/// Makes `system` record its command and return what `answer` gives.
void shell(std::function<int(const std::string& command)> answer);
const std::vector<std::string>& commands();

/// Takes every stand-in away and forgets what was recorded.
void reset();

} // namespace standin

#endif
