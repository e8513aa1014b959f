#ifndef KQSUPPORT_TESTS_DOMMODEL_H
#define KQSUPPORT_TESTS_DOMMODEL_H

#include <QDomDocument>
#include <QList>
#include <QString>

/// The lookups as the loop over Qt's list, and the edits as the steps in Qt's calls, that they stand for: what the
/// library is compared with.
QDomElement modelFirst(const QDomElement& element, const QString& tagName);
QList<QDomElement> modelAll(const QDomElement& element, const QString& tagName);
void modelUpdateText(QDomDocument& document, QDomElement element, const QString& text);
void modelInsertBefore(QDomDocument& document, QDomElement parent, const QDomElement& refChild, const QString& tagName,
    const QString& text);
void modelInsertAfter(QDomDocument& document, QDomElement parent, const QDomElement& refChild, const QString& tagName,
    const QString& text);

/// An element whose only child is a text.
QDomElement modelElement(QDomDocument& document, const QString& tagName, const QString& text);

/// Every element of the document, from the root down.
QList<QDomElement> allElements(const QDomDocument& document);

#endif
