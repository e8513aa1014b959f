#include "osrelease/osrelease.h"

#include <algorithm>
#include <string_view>

namespace {

struct ForcedIdentity
{
    std::string_view name;
    const char* id;
    const char* versionId;
};

// Every identity passes the support policy, so an override is never refused. This is why "debian" selects Ubuntu:
// Debian itself is not supported.
constexpr ForcedIdentity forcedIdentities[] = {
    {"rhel", "rhel", "8.10"},
    {"fedora", "fedora", "43"},
    {"rocky", "rocky", "9"},
    {"alma", "almalinux", "9"},
    {"debian", "ubuntu", "22.04"},
    {"ubuntu", "ubuntu", "22.04"},
    {"mint", "linuxmint", "22.3"},
    {"suse", "sles", "16.0"},
    {"arch", "arch", "0.0"},
};

std::string usage()
{
    std::string names;
    for (const ForcedIdentity& forced : forcedIdentities)
        names.append(names.empty() ? "" : "|").append(forced.name);
    return "Usage...\n\nzk_install --distrib [" + names + "]";
}

} // namespace

bool COSRelease::ForceOS(int argc, char** argv)
{
    if (argc <= 1)
        return false;

    char** const end = argv + argc;
    char** const option = std::find(argv + 1, end, std::string_view("--distrib"));
    if (option == end)
        return false;
    if (option + 1 == end) {
        m_error = "Missing distribution\n\n" + usage();
        return true;
    }

    const std::string_view name(option[1]);
    for (const ForcedIdentity& forced : forcedIdentities) {
        if (name != forced.name)
            continue;
        m_id = forced.id;
        m_versionId = forced.versionId;
        ParseVersion();
        return true;
    }
    m_error = "Unknown distribution \"" + std::string(name) + "\"\n\n" + usage();
    return true;
}
