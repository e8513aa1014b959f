// The first step of an installer: which Linux release is this, is it supported, and which packages are missing?
#include "osrelease/osrelease.h"

#include <cstdio>
#include <stdexcept>
#include <string>

bool g_kq_verbose = false; // the library reads it; --verbose sets it

namespace {

constexpr char usage[] =
    "usage: zk_install [--distrib NAME] [--verbose]\n"
    "\n"
    "Shows the Linux release and whether it is supported, and prints the command that installs missing packages.\n"
    "\n"
    "  --distrib NAME   assume this distribution instead of detecting it:\n"
    "                   rhel, fedora, rocky, alma, debian, ubuntu, mint, suse or arch\n"
    "  --verbose        print what was detected to standard error\n"
    "  -h, --help       show this help\n"
    "\n"
    "Exit status: 0 the release is supported, 1 it is not, 2 everything else.";

int complain(const std::string& message)
{
    std::fprintf(stderr, "zk_install: %s\n", message.c_str());
    return 2;
}

const char* familyOf(COSRelease& os)
{
    if (os.SuseBased()) // before RPM: every SUSE release is RPM-based too
        return "SUSE";
    if (os.RpmBased())
        return "RPM";
    if (os.DebBased())
        return "Debian";
    return os.PacmanBased() ? "Pacman" : nullptr;
}

int check(int argc, char** argv)
{
    COSRelease os(argc, argv);
    if (!os.m_error.empty())
        return complain(os.m_error);

    const char* const family = familyOf(os);
    const std::string name = os.m_prettyName.empty() ? os.m_id + ' ' + os.m_versionId : os.m_prettyName;
    std::printf("Linux release: %s\nPackage family: %s\n\n", name.c_str(), family ? family : "unknown");

    std::string refusal;
    const bool isSupported = os.OSSupported(refusal);
    if (!isSupported)
        std::printf("%s\n\n", refusal.c_str());

    // The check does not return whether a package is missing. It prints nothing if none is.
    std::puts(family ? "Checking the packages. If none is missing, nothing more is printed.\n"
                     : "The packages are not checked, because the package family is unknown.");
    g_kq_verbose = false; // the check detects the release again
    COSRelease::CheckPrerequisites(argc, argv);
    if (std::fflush(stdout) != 0 || std::ferror(stdout))
        return complain("standard output: cannot write");
    return isSupported ? 0 : 1;
}

} // namespace

int main(int argc, char** argv)
try {
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        if (argument == "-h" || argument == "--help")
            return std::puts(usage) < 0 ? 2 : 0;
        if (argument == "--distrib")
            ++i; // the library reads the name
        else if (argument == "--verbose")
            g_kq_verbose = true;
        else // also --distrib=NAME, which the library would ignore
            return complain("unexpected argument '" + argument + "'; see zk_install --help");
    }
    return check(argc, argv);
} catch (const std::logic_error&) { // the conversion of VERSION_ID throws invalid_argument or out_of_range
    return complain("the VERSION_ID in /etc/os-release is not a version number; name the distribution with --distrib");
}
