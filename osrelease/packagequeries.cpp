#include "osrelease/osrelease.h"

#include <cstdlib>

namespace {

// Only the exit-status byte of the wait status counts. A signal that ends the shell leaves it zero and so counts as
// success (one that ends the tool comes to us as the shell reports it); a shell that cannot be started (-1) or finds no
// tool (127) does not.
bool succeeds(const std::string& command)
{
    return (std::system(command.c_str()) & 0xff00) == 0;
}

} // namespace

bool COSRelease::RpmInstalled(std::string const& package)
{
    return succeeds("rpm -q --quiet " + package + " >/dev/null 2>&1");
}

// dpkg-query succeeds for a removed package whose configuration is left, so its status words decide.
bool COSRelease::DebInstalled(std::string const& package)
{
    return succeeds("dpkg-query -W -f='${Status}' " + package + " 2>/dev/null | grep -q 'ok installed'");
}

bool COSRelease::PacmanInstalled(std::string const& package)
{
    return succeeds("pacman -Qiq " + package + " >/dev/null 2>&1");
}
