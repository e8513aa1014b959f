#ifndef KQSUPPORT_TESTS_REFERENCE_EXTRACTION_H
#define KQSUPPORT_TESTS_REFERENCE_EXTRACTION_H

#include <QByteArray>
#include <QString>

namespace reference {

/// The reference implementation of KQXml::ExtractElement: the simplest code, without regard to speed.
QByteArray extractElement(const QByteArray& xml, const QString& tagName, bool contentOnly);

} // namespace reference

#endif
