#include "fakes.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <dlfcn.h>
#include <optional>
#include <sys/types.h>

namespace {

enum class OsRelease
{
    real,
    text,
    failing,
    absent
};

OsRelease osReleaseState = OsRelease::real;
std::string osReleaseText;
std::size_t osReleasePosition = 0;
fakes::OsReleaseFile osReleaseRecord;

std::function<int(const std::string&)> shellAnswer;
std::vector<std::string> shellCommands;

ssize_t readText(void* /*cookie*/, char* buffer, std::size_t size)
{
    const std::size_t count = std::min(size, osReleaseText.size() - osReleasePosition);
    if (count == 0 && osReleaseState == OsRelease::failing) {
        errno = EIO;
        return -1;
    }
    std::memcpy(buffer, osReleaseText.data() + osReleasePosition, count);
    osReleasePosition += count;
    return static_cast<ssize_t>(count);
}

int closeText(void* /*cookie*/)
{
    ++osReleaseRecord.closed;
    return 0;
}

template <typename Function>
Function* next(const char* name)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

} // namespace

extern "C" FILE* fopen(const char* path, const char* mode)
{
    if (osReleaseState == OsRelease::real || std::strcmp(path, "/etc/os-release") != 0)
        return next<FILE*(const char*, const char*)>("fopen")(path, mode);

    osReleaseRecord.modes.emplace_back(mode);
    if (osReleaseState == OsRelease::absent) {
        errno = ENOENT;
        return nullptr;
    }
    osReleasePosition = 0;
    return fopencookie(nullptr, "r", {&readText, nullptr, nullptr, &closeText});
}

extern "C" int system(const char* command)
{
    if (!shellAnswer)
        return next<int(const char*)>("system")(command);
    shellCommands.emplace_back(command);
    return shellAnswer(command);
}

namespace fakes {

void osRelease(const std::string& text, bool failsAtEnd)
{
    osReleaseState = failsAtEnd ? OsRelease::failing : OsRelease::text;
    osReleaseText = text;
    osReleaseRecord = {};
}

void noOsRelease()
{
    osReleaseState = OsRelease::absent;
    osReleaseRecord = {};
}

const OsReleaseFile& osReleaseFile()
{
    return osReleaseRecord;
}

void shell(std::function<int(const std::string&)> answer)
{
    shellAnswer = std::move(answer);
    shellCommands.clear();
}

const std::vector<std::string>& commands()
{
    return shellCommands;
}

void reset()
{
    osReleaseState = OsRelease::real;
    osReleaseText.clear();
    osReleaseRecord = {};
    shellAnswer = nullptr;
    shellCommands.clear();
}

} // namespace fakes
