#include "osrelease/osrelease.h"

#include <cstdlib>

namespace {

// Only the exit-status byte of the wait status counts. It is zero if a signal ends the shell, which therefore counts
// as success. It is not zero if the shell cannot be started (-1) or does not find the tool (127).
bool succeeds(const std::string& command)
{
    return (std::system(command.c_str()) & 0xff00) == 0;
}

} // namespace

bool COSRelease::RpmInstalled(std::string const& package)
{
    return succeeds("rpm -q --quiet " + package + " >/dev/null 2>&1");
}

// dpkg-query succeeds for a removed package that left its configuration, so the status words decide.
bool COSRelease::DebInstalled(std::string const& package)
{
    return succeeds("dpkg-query -W -f='${Status}' " + package + " 2>/dev/null | grep -q 'ok installed'");
}

bool COSRelease::PacmanInstalled(std::string const& package)
{
    return succeeds("pacman -Qiq " + package + " >/dev/null 2>&1");
}
