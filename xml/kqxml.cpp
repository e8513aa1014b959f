#include "xml/kqxml.h"

#include <QXmlStreamReader>

namespace {

// Qt's list visits the whole subtree. Our own walk stops at the first match, but it costs several times as much per
// node, so it only looks at the first nodes and leaves the rest to Qt.
constexpr int probedNodes = 16;

// Returns the node after `node` in document order; null after the last one below `root`.
QDomNode nextNode(QDomNode node, const QDomElement& root)
{
    QDomNode next = node.firstChild();
    for (; next.isNull() && node != root; node = node.parentNode())
        next = node.nextSibling();
    return next;
}

QDomElement firstMatch(const QDomElement& element, const QString& tagName)
{
    QDomNode node = element.firstChild();
    if (tagName.isNull()) // Qt's list then holds the direct children of every kind
        return node.toElement();

    for (int i = 0; i < probedNodes; ++i) {
        if (node.isNull())
            return {};
        if (node.isElement() && node.toElement().tagName() == tagName)
            return node.toElement();
        node = nextNode(node, element);
    }
    return element.elementsByTagName(tagName).item(0).toElement();
}

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

bool isAt(const QXmlStreamReader& reader, QXmlStreamReader::TokenType token, const QString& tagName)
{
    return reader.tokenType() == token && reader.name() == tagName;
}

// Uses character offsets as byte offsets, and assumes tags without attributes, spaces or prefix. The positions are not
// clamped, even below zero: clients rely on exactly these bytes.
QByteArray cut(const QByteArray& xml, const QString& tagName, bool contentOnly, qint64 start, qint64 end)
{
    const auto nameLength = static_cast<qint32>(tagName.toUtf8().size());
    const qint32 startTag = nameLength + 2;
    const qint32 endTag = nameLength + 3;
    if (contentOnly)
        return xml.mid(start, end - start - endTag).trimmed();
    return xml.mid(start - startTag, end - start + startTag).trimmed();
}

} // namespace

KQXml::KQXml() = default;

KQXml::~KQXml() = default;

QString KQXml::GetChildElementText(const QDomElement& element, const QString& tagName)
{
    return firstMatch(element, tagName).text();
}

QDomElement KQXml::GetChildElement(const QDomElement& element, const QString& tagName)
{
    return firstMatch(element, tagName);
}

QString KQXml::GetChildElementAttribute(
    const QDomElement& element, const QString& tagName, const QString& attributeName)
{
    return firstMatch(element, tagName).attribute(attributeName, QString());
}

QStringList KQXml::GetChildElementsTextList(const QDomElement& element, const QString& tagName)
{
    const QList<QDomElement> matches = GetChildElements(element, tagName);
    QStringList texts;
    for (const QDomElement& match : matches)
        texts.append(match.text());
    return texts;
}

QList<QDomElement> KQXml::GetChildElements(const QDomElement& element, const QString& tagName)
{
    const QDomNodeList matches = element.elementsByTagName(tagName);
    const int count = matches.length(); // each call walks up to the document
    QList<QDomElement> elements;
    for (int i = 0; i < count; ++i) {
        const QDomElement match = matches.item(i).toElement();
        if (!match.isNull())
            elements.append(match);
    }
    return elements;
}

void KQXml::UpdateElementText(QDomDocument* document, QDomElement* element, const QString& text)
{
    if (!element || element->isNull())
        return;
    if (!element->hasChildNodes()) {
        element->appendChild(document->createTextNode(text));
        return;
    }
    firstTextChild(*element).setData(text); // without a text child, a null node, which ignores the call
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

QByteArray KQXml::ExtractElement(const QByteArray& xml, const QString& tagName, bool contentOnly)
{
    // The reader gets the whole input: fed in pieces, it would accept an element before a wrongly encoded byte.
    QXmlStreamReader reader(xml);
    qint64 start = 0;
    for (; !reader.atEnd(); reader.readNext()) {
        if (isAt(reader, QXmlStreamReader::StartElement, tagName))
            start = reader.characterOffset();
        else if (isAt(reader, QXmlStreamReader::EndElement, tagName))
            return cut(xml, tagName, contentOnly, start, reader.characterOffset());
    }
    return {};
}
