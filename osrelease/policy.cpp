#include "osrelease/osrelease.h"

#include <limits>

namespace {

struct Policy
{
    const char* id;
    std::int32_t oldestMajor;
    const char* refusal;
};

// The first row whose id occurs in m_id decides. Rocky Linux and AlmaLinux are accepted from 8, although their texts
// say 9.
constexpr Policy policies[] = {
    {"rhel", 8, "Zentrak'26 requires RHEL 8 or later\n\n"},
    {"centos", 8, "Zentrak'26 requires CentOS Linux 8 or later\n\n"},
    {"rocky", 8, "Zentrak'26 requires Rocky Linux 9 or later\n\n"},
    {"almalinux", 8, "Zentrak'26 requires AlmaLinux 9 or later\n\n"},
    {"fedora", 43, "Zentrak'26 requires Fedora 43 or later\n\n"},
    {"ubuntu", 22, "Zentrak'26 requires Ubuntu 22 or later\n\n"},
    {"linuxmint", 22, "Zentrak'26 requires Linux Mint 22 or later\n\n"},
    {"sled", 16, "Zentrak'26 requires SUSE Linux Enterprise 16 or later\n\n"},
    {"sles", 16, "Zentrak'26 requires SUSE Linux Enterprise 16 or later\n\n"},
    {"opensuse", 16, "Zentrak'26 requires openSUSE 16 or later\n\n"},
    {"arch", std::numeric_limits<std::int32_t>::min(), ""}, // a rolling release: every version
};

std::string notVerified(const COSRelease& os)
{
    const bool hasPrettyName = !os.m_prettyName.empty();
    const std::string& name = hasPrettyName ? os.m_prettyName : os.m_id;
    const std::string& detail = hasPrettyName ? os.m_id : os.m_versionId;
    return "Zentrak'26 was not verified to run under \"" + name + "\" " + detail + "\n\n";
}

} // namespace

bool COSRelease::OSSupported(std::string& message)
{
    for (const Policy& policy : policies) {
        if (m_id.find(policy.id) == std::string::npos)
            continue;
        if (m_major >= policy.oldestMajor)
            return true;
        message = policy.refusal + m_verifiedReleases;
        return false;
    }
    message = notVerified(*this) + m_verifiedReleases;
    return false;
}
