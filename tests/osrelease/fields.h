#ifndef KQSUPPORT_TESTS_FIELDS_H
#define KQSUPPORT_TESTS_FIELDS_H

#include "osrelease/osrelease.h"

#include <tuple>

/// Returns all fields, to compare two releases or one before and after a call.
inline auto fieldsOf(const COSRelease& os)
{
    return std::make_tuple(os.m_verifiedReleases, os.m_error, os.m_id, os.m_idLike, os.m_versionId, os.m_prettyName,
        os.m_major, os.m_minor, os.m_patch);
}

#endif
