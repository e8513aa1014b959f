#ifndef KQSUPPORT_TESTS_DOCUMENTS_H
#define KQSUPPORT_TESTS_DOCUMENTS_H

#include "support/qtprinting.h"

#include <QDomDocument>

#include <gtest/gtest.h>

/// The two ways to parse names for the DOM: as written, or split into prefix and local name.
enum class Names
{
    Plain,
    Namespaces
};

inline QDomDocument parsed(const QByteArray& xml, Names names = Names::Plain)
{
    QDomDocument document;
    EXPECT_TRUE(document.setContent(xml, names == Names::Namespaces)) << xml.constData();
    return document;
}

/// Returns the whole document as text, without the line breaks that Qt adds.
inline QString written(const QDomDocument& document)
{
    return document.toString(-1);
}

#endif
