#ifndef KQSUPPORT_TESTS_RANDOMDOCUMENT_H
#define KQSUPPORT_TESTS_RANDOMDOCUMENT_H

#include "support/random.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

/// The names that random documents are made of, some of them alike but for case or prefix.
const QStringList& elementNames();

/// A document of elements with and without prefix and content, attributes, text outside ASCII, CDATA, comments,
/// instructions and entities. Most are well-formed; a prefix is now and then not declared.
QByteArray randomDocument(Random& random);

#endif
