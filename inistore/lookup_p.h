#ifndef KQSUPPORT_INISTORE_LOOKUP_P_H
#define KQSUPPORT_INISTORE_LOOKUP_P_H

#include "inistore/inistore.h"

namespace inistore {

/// Whether section names, keys or values are the same but for case: what `QString::compare(a, b, Qt::CaseInsensitive)`
/// calls equal, found out sooner.
bool matches(QStringView a, QStringView b);

/// The predicate for a search of lines by key.
inline auto hasKey(QStringView key)
{
    return [key](const INILine& line) { return matches(line.m_key, key); };
}

} // namespace inistore

#endif
