#ifndef KQSUPPORT_TESTS_EXTRACTMODEL_H
#define KQSUPPORT_TESTS_EXTRACTMODEL_H

#include <QByteArray>
#include <QString>

/// The rules of raw element extraction, step by step and with no regard for speed: what the library is compared with.
QByteArray modelExtractElement(const QByteArray& xml, const QString& tagName, bool contentOnly);

#endif
