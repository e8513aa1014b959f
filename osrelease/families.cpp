#include "osrelease/osrelease.h"

#include <algorithm>
#include <initializer_list>

namespace {

bool containsAny(const std::string& field, std::initializer_list<const char*> identifiers)
{
    return std::any_of(identifiers.begin(), identifiers.end(),
        [&](const char* identifier) { return field.find(identifier) != std::string::npos; });
}

} // namespace

bool COSRelease::RpmBased()
{
    return containsAny(m_id, {"rhel", "centos", "rocky", "alma", "fedora", "sles", "sled", "opensuse"}) ||
           containsAny(m_idLike, {"rhel", "centos", "fedora", "opensuse", "suse"});
}

bool COSRelease::SuseBased()
{
    return containsAny(m_id, {"sles", "sled", "opensuse"}) || containsAny(m_idLike, {"opensuse", "suse"});
}

bool COSRelease::DebBased()
{
    return containsAny(m_id, {"ubuntu", "debian", "linuxmint"}) || containsAny(m_idLike, {"ubuntu", "debian"});
}

bool COSRelease::PacmanBased()
{
    return containsAny(m_id, {"arch"});
}
