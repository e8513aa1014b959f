#ifndef KQSUPPORT_INISTORE_LOOKUP_P_H
#define KQSUPPORT_INISTORE_LOOKUP_P_H

#include "inistore/inistore.h"

namespace inistore {

/// The slower half of `matches`, for texts of one length.
bool sameButForCase(QStringView a, QStringView b);

/// Whether section names, keys or values are the same but for case: what `QString::compare(a, b, Qt::CaseInsensitive)`
/// calls equal, found out sooner. Folding maps unit to unit, so a length that differs decides.
inline bool matches(QStringView a, QStringView b)
{
    return a.size() == b.size() && sameButForCase(a, b);
}

/// The predicate for a search of lines by key.
inline auto hasKey(QStringView key)
{
    return [key](const INILine& line) { return matches(line.m_key, key); };
}

} // namespace inistore

#endif
