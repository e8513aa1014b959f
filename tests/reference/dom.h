#ifndef KQSUPPORT_TESTS_REFERENCE_DOM_H
#define KQSUPPORT_TESTS_REFERENCE_DOM_H

#include <QDomDocument>
#include <QList>
#include <QString>

/// The reference implementation of the DOM helpers, in the simplest calls of Qt.
namespace reference {

QDomElement first(const QDomElement& element, const QString& tagName);
QList<QDomElement> all(const QDomElement& element, const QString& tagName);
void updateText(QDomDocument& document, QDomElement element, const QString& text);
void insertBefore(QDomDocument& document, QDomElement parent, const QDomElement& refChild, const QString& tagName,
    const QString& text);
void insertAfter(QDomDocument& document, QDomElement parent, const QDomElement& refChild, const QString& tagName,
    const QString& text);

/// An element whose only child is a text.
QDomElement elementWithText(QDomDocument& document, const QString& tagName, const QString& text);

/// Every element of the document, from the root down.
QList<QDomElement> allElements(const QDomDocument& document);

} // namespace reference

#endif
