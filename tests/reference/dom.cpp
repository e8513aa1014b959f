#include "reference/dom.h"

namespace reference {

QDomElement first(const QDomElement& element, const QString& tagName)
{
    const QDomNodeList matches = element.elementsByTagName(tagName);
    return matches.length() == 0 ? QDomElement() : matches.item(0).toElement();
}

QList<QDomElement> all(const QDomElement& element, const QString& tagName)
{
    QList<QDomElement> list;
    const QDomNodeList matches = element.elementsByTagName(tagName);
    for (int i = 0; i < matches.length(); ++i) {
        if (!matches.item(i).toElement().isNull())
            list.append(matches.item(i).toElement());
    }
    return list;
}

void updateText(QDomDocument& document, QDomElement element, const QString& text)
{
    if (element.isNull())
        return;
    if (element.firstChild().isNull()) {
        element.appendChild(document.createTextNode(text));
        return;
    }
    for (QDomNode child = element.firstChild(); !child.isNull(); child = child.nextSibling()) {
        QDomText textNode = child.toText();
        if (!textNode.isNull()) {
            textNode.setData(text);
            return;
        }
    }
}

void insertBefore(QDomDocument& document, QDomElement parent, const QDomElement& refChild, const QString& tagName,
    const QString& text)
{
    if (!parent.isNull())
        parent.insertBefore(elementWithText(document, tagName, text), refChild);
}

void insertAfter(QDomDocument& document, QDomElement parent, const QDomElement& refChild, const QString& tagName,
    const QString& text)
{
    if (!parent.isNull())
        parent.insertAfter(elementWithText(document, tagName, text), refChild);
}

QDomElement elementWithText(QDomDocument& document, const QString& tagName, const QString& text)
{
    QDomElement element = document.createElement(tagName);
    QDomText textNode = document.createTextNode(text);
    element.appendChild(textNode);
    return element;
}

QList<QDomElement> allElements(const QDomDocument& document)
{
    QList<QDomElement> all = {document.documentElement()};
    for (int i = 0; i < all.size(); ++i) {
        const QDomElement element = all.at(i);
        for (QDomElement c = element.firstChildElement(); !c.isNull(); c = c.nextSiblingElement())
            all.append(c);
    }
    return all;
}

} // namespace reference
