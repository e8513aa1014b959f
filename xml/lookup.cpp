#include "xml/kqxml.h"

#include <algorithm>

namespace {

// The parser leaves in each node where it found it, so the last one tells how many lines a subtree takes, about; long
// ones count for several. Nodes that no parser made have no place, and a subtree of them seems to take no line.
qint64 linesBelow(const QDomElement& element)
{
    constexpr int levels = 8; // the last leaf of a deep tree may be far
    constexpr int columnsPerLine = 100;
    QDomNode last = element.lastChild();
    for (int level = 1; level < levels && last.hasChildNodes(); ++level)
        last = last.lastChild();
    const qint64 lines = last.lineNumber() - qint64(element.lineNumber());
    const qint64 columns = last.columnNumber() - qint64(element.columnNumber());
    return lines + columns / columnsPerLine;
}

// A handle for each node makes a walk of ours five times dearer by the node than Qt's own, which visits them all. So
// we look at few nodes, at more in a larger subtree: an early match is found without the rest, and a late one or none
// costs a few percent more than Qt's walk, or a fifth in a subtree of some dozens.
qint64 nodesNearTheFront(const QDomElement& element)
{
    constexpr qint64 always = 2;
    constexpr qint64 linesPerNode = 100;
    return std::max(always, linesBelow(element) / linesPerNode);
}

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

    for (qint64 nodes = nodesNearTheFront(element); !node.isNull(); node = nextNode(node, element)) {
        if (--nodes < 0)
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
