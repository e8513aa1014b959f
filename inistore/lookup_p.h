#ifndef KQSUPPORT_INISTORE_LOOKUP_P_H
#define KQSUPPORT_INISTORE_LOOKUP_P_H

#include <QStringView>

namespace inistore {

/// `equalsIgnoreCase` for texts of the same length.
bool sameLengthEqualsIgnoreCase(QStringView a, QStringView b);

/// The same as `QString::compare(a, b, Qt::CaseInsensitive) == 0`, but faster. Qt folds each UTF-16 unit to one unit,
/// so texts of different lengths are never equal.
inline bool equalsIgnoreCase(QStringView a, QStringView b)
{
    return a.size() == b.size() && sameLengthEqualsIgnoreCase(a, b);
}

} // namespace inistore

#endif
