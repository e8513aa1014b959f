#include "xml/kqxml.h"

namespace {

// A CDATA section counts as text, as in Qt.
QDomText firstTextChild(const QDomElement& element)
{
    QDomNode child = element.firstChild();
    while (!child.isNull() && !child.isText())
        child = child.nextSibling();
    return child.toText();
}

QDomElement textElement(QDomDocument& document, const QString& tagName, const QString& text)
{
    QDomElement element = document.createElement(tagName);
    element.appendChild(document.createTextNode(text));
    return element;
}

} // namespace

void KQXml::UpdateElementText(QDomDocument* document, QDomElement* element, const QString& text)
{
    if (!element || element->isNull())
        return;
    if (!element->hasChildNodes()) {
        element->appendChild(document->createTextNode(text));
        return;
    }
    firstTextChild(*element).setData(text); // without a text child, a null node that ignores it
}

void KQXml::InsertBeforeElement(QDomDocument* document, QDomElement& parent, const QDomElement& refChild,
    const QString& tagName, const QString& text)
{
    if (!parent.isNull())
        parent.insertBefore(textElement(*document, tagName, text), refChild);
}

void KQXml::InsertAfterElement(QDomDocument* document, QDomElement& parent, const QDomElement& refChild,
    const QString& tagName, const QString& text)
{
    if (!parent.isNull())
        parent.insertAfter(textElement(*document, tagName, text), refChild);
}
