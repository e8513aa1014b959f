#include "xml/kqxml.h"

namespace {

// A handle for each node makes our walk dearer by the node than Qt's own, which visits them all. So we walk while a
// match would still be found a thousand times sooner than by Qt in a document of megabytes, and then leave it to Qt.
constexpr int nodesNearTheFront = 128;

QDomNode nextUpward(QDomNode node, const QDomElement& root)
{
    while (node != root) {
        const QDomNode sibling = node.nextSibling();
        if (!sibling.isNull())
            return sibling;
        node = node.parentNode();
    }
    return {};
}

// The node after this one in document order; null behind the last one below `root`.
QDomNode nextNode(const QDomNode& node, const QDomElement& root)
{
    const QDomNode child = node.firstChild();
    return child.isNull() ? nextUpward(node, root) : child;
}

QDomElement firstMatch(const QDomElement& element, const QString& tagName)
{
    QDomNode node = element.firstChild();
    if (tagName.isNull()) // Qt's list then holds the children, of every kind
        return node.toElement();

    for (int visited = 0; !node.isNull(); node = nextNode(node, element)) {
        if (++visited > nodesNearTheFront)
            return element.elementsByTagName(tagName).item(0).toElement();
        const QDomElement candidate = node.toElement();
        if (!candidate.isNull() && candidate.tagName() == tagName)
            return candidate;
    }
    return {};
}

template <typename Visitor>
void forEachMatch(const QDomElement& element, const QString& tagName, Visitor visit)
{
    const QDomNodeList matches = element.elementsByTagName(tagName);
    const int count = matches.length(); // each call climbs to the document
    for (int i = 0; i < count; ++i) {
        const QDomElement match = matches.item(i).toElement();
        if (!match.isNull())
            visit(match);
    }
}

} // namespace

KQXml::KQXml() {}

KQXml::~KQXml() {}

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
    QStringList texts;
    forEachMatch(element, tagName, [&](const QDomElement& match) { texts.append(match.text()); });
    return texts;
}

QList<QDomElement> KQXml::GetChildElements(const QDomElement& element, const QString& tagName)
{
    QList<QDomElement> elements;
    forEachMatch(element, tagName, [&](const QDomElement& match) { elements.append(match); });
    return elements;
}
