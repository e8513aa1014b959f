// Parses a document twice. The lookups and edits of the library in one copy must match those of the reference
// implementation in the other. The input is a byte that selects namespaces, then lines with a tag name, a text and the
// edits, an empty line, and the document. An edit is an operation (u, b or a), its element, and the element next to
// which it inserts.
#include "xml/kqxml.h"

#include "input.h"
#include "reference/dom.h"

#include <vector>

namespace {

QString toText(std::string_view utf8)
{
    return QString::fromUtf8(utf8.data(), static_cast<qsizetype>(utf8.size()));
}

void requireSameLookups(const QDomElement& element, const QString& tagName, const QString& attribute)
{
    const QDomElement first = reference::first(element, tagName);
    QStringList texts;
    for (const QDomElement& match : reference::all(element, tagName))
        texts.append(match.text());
    require(KQXml::GetChildElements(element, tagName) == reference::all(element, tagName), "all elements");
    require(KQXml::GetChildElementsTextList(element, tagName) == texts, "all texts");
    require(KQXml::GetChildElement(element, tagName) == first, "the first element");
    require(KQXml::GetChildElementText(element, tagName) == first.text(), "the first text");
    require(KQXml::GetChildElementAttribute(element, tagName, attribute) == first.attribute(attribute), "an attribute");
}

// Returns an element of the document, the null element, or an element of another document.
QDomElement chosen(const QDomDocument& document, char choice)
{
    static QDomDocument another;
    const QDomElement foreign = another.createElement(QStringLiteral("foreign"));
    const QList<QDomElement> choices = QList<QDomElement>{{}, foreign} + reference::allElements(document);
    return choices.at(static_cast<unsigned char>(choice - '0') % choices.size());
}

void edit(const std::string& how, QDomDocument& ours, QDomDocument& theirs, const QString& tagName, const QString& text)
{
    QDomElement element = chosen(ours, how[1]);
    switch (how[0]) {
    case 'b':
        KQXml::InsertBeforeElement(&ours, element, chosen(ours, how[2]), tagName, text);
        return reference::insertBefore(theirs, chosen(theirs, how[1]), chosen(theirs, how[2]), tagName, text);
    case 'a':
        KQXml::InsertAfterElement(&ours, element, chosen(ours, how[2]), tagName, text);
        return reference::insertAfter(theirs, chosen(theirs, how[1]), chosen(theirs, how[2]), tagName, text);
    default:
        KQXml::UpdateElementText(&ours, &element, text);
        return reference::updateText(theirs, chosen(theirs, how[1]), text);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Input input(data, size);
    const bool namespaces = input.byte() % 2 == 0;
    const QString tagName = toText(input.line());
    const QString text = toText(input.line());
    std::vector<std::string> edits;
    for (std::string_view line = input.line(); !line.empty() && edits.size() < 10; line = input.line()) {
        edits.emplace_back(line);
        edits.back().resize(3);
    }
    const std::string_view rest = input.rest();
    const QByteArray xml(rest.data(), static_cast<qsizetype>(rest.size()));

    QDomDocument ours;
    QDomDocument theirs;
    if (!ours.setContent(xml, namespaces) || !theirs.setContent(xml, namespaces))
        return 0;
    requireSameLookups(ours.documentElement(), tagName, text);
    for (const std::string& how : edits) {
        edit(how, ours, theirs, tagName, text);
        require(ours.toString(-1) == theirs.toString(-1), "the edited document");
    }
    requireSameLookups(ours.documentElement(), tagName, text);
    return 0;
}
