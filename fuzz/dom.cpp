// Any document that Qt parses, with a tag name and a text on the first lines: the lookups are those of Qt's own list,
// and an edit changes what it names.
#include "xml/kqxml.h"

#include "input.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Input input(data, size);
    const auto text = [](std::string_view t) { return QString::fromUtf8(t.data(), static_cast<qsizetype>(t.size())); };
    const bool namespaces = input.byte() % 2 == 0;
    const QString tagName = text(input.line());
    const QString value = text(input.line());
    const std::string_view xml = input.rest();

    QDomDocument document;
    if (!document.setContent(QByteArray(xml.data(), static_cast<qsizetype>(xml.size())), namespaces))
        return 0;
    QDomElement root = document.documentElement();

    QList<QDomElement> elements;
    QStringList texts;
    const QDomNodeList matches = root.elementsByTagName(tagName);
    for (int i = 0; i < matches.length(); ++i) {
        const QDomElement match = matches.item(i).toElement();
        if (match.isNull())
            continue;
        elements.append(match);
        texts.append(match.text());
    }
    require(KQXml::GetChildElements(root, tagName) == elements, "all elements");
    require(KQXml::GetChildElementsTextList(root, tagName) == texts, "all texts");
    if (!tagName.isNull()) {
        const QDomElement first = elements.isEmpty() ? QDomElement() : elements.constFirst();
        require(KQXml::GetChildElement(root, tagName) == first, "the first element");
        require(KQXml::GetChildElementText(root, tagName) == first.text(), "the first text");
        require(KQXml::GetChildElementAttribute(root, tagName, value) == first.attribute(value), "an attribute");
    }

    const int children = root.childNodes().length();
    KQXml::InsertBeforeElement(&document, root, QDomElement(), QStringLiteral("fuzz"), value);
    require(root.firstChildElement().tagName() == u"fuzz" && root.firstChild().firstChild().nodeValue() == value,
        "the element inserted first");
    KQXml::InsertAfterElement(&document, root, QDomElement(), QStringLiteral("fuzz"), value);
    require(root.childNodes().length() == children + 2, "the element inserted last");

    QDomElement inserted = root.lastChildElement();
    KQXml::UpdateElementText(&document, &inserted, tagName);
    require(inserted.text() == tagName, "the text updated");
    return 0;
}
