#ifndef KQSUPPORT_TESTS_RANDOMDOCUMENT_H
#define KQSUPPORT_TESTS_RANDOMDOCUMENT_H

#include "support/random.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

/// Returns the element names in random documents. Some differ only in case or prefix.
const QStringList& elementNames();

/// Returns a document of elements with and without prefix and content, attributes, text outside ASCII, CDATA, comments,
/// processing instructions and entities. Most are well-formed; sometimes a prefix is not declared.
QByteArray randomDocument(Random& random);

#endif
