#include "xml/kqxml.h"

#include "reference/dom.h"
#include "xml/documents.h"
#include "xml/randomdocument.h"

namespace {

QStringList searchedNames()
{
    return elementNames() + QStringList{QString(), QStringLiteral(""), QStringLiteral("r"), QStringLiteral("absent"),
                                QStringLiteral("#text"), QStringLiteral("#comment"), QStringLiteral("p:renamed"),
                                QStringLiteral("renamed"), QStringLiteral("long.name")};
}

/// Adds elements that no parser produces: in entity references, with a changed name or prefix, or without a name.
void addUnparsableShapes(Random& random, QDomDocument& document)
{
    QDomElement element = random.of(reference::allElements(document));
    switch (random.below(6)) {
    case 0: {
        QDomEntityReference reference = document.createEntityReference(QStringLiteral("k"));
        reference.appendChild(reference::elementWithText(document, QStringLiteral("k"), QStringLiteral("inside")));
        element.appendChild(reference);
        break;
    }
    case 1:
        element.setTagName(QStringLiteral(""));
        break;
    case 2:
        element.appendChild(document.createElementNS(QStringLiteral("urn:p"), QStringLiteral("p:renamed")));
        break;
    case 3:
        element.setPrefix(QStringLiteral("p"));
        break;
    default:
        break;
    }
}

void expectSameLookups(const QDomElement& element, const QString& tag)
{
    const QDomElement first = reference::first(element, tag);
    const QList<QDomElement> list = reference::all(element, tag);
    EXPECT_EQ(KQXml::GetChildElement(element, tag), first);
    EXPECT_EQ(KQXml::GetChildElements(element, tag), list);

    const QString text = first.isNull() ? QString() : first.text();
    EXPECT_EQ(KQXml::GetChildElementText(element, tag), text);
    EXPECT_EQ(KQXml::GetChildElementText(element, tag).isNull(), text.isNull());

    const QString attribute = first.isNull() ? QString() : first.attribute(QStringLiteral("v"), QString());
    EXPECT_EQ(KQXml::GetChildElementAttribute(element, tag, QStringLiteral("v")), attribute);
    EXPECT_EQ(KQXml::GetChildElementAttribute(element, tag, QStringLiteral("v")).isNull(), attribute.isNull());

    QStringList texts;
    for (const QDomElement& match : list)
        texts.append(match.text());
    EXPECT_EQ(KQXml::GetChildElementsTextList(element, tag), texts);
}

TEST(RandomDocuments, lookups_match_the_reference)
{
    int parsedWell = 0;
    int found = 0;
    const int cases = forEachRandomCase(300, [&](Random& random) {
        const QByteArray xml = randomDocument(random);
        for (const bool namespaces : {false, true}) {
            QDomDocument document;
            if (!document.setContent(xml, namespaces))
                continue;
            ++parsedWell;
            addUnparsableShapes(random, document);
            const QString before = written(document);
            const QDomElement start =
                random.oneIn(2) ? document.documentElement() : random.of(reference::allElements(document));
            for (const QString& tag : searchedNames()) {
                SCOPED_TRACE("namespaces " + std::to_string(namespaces) + ", " + tag.toStdString() + " below " +
                             start.nodeName().toStdString());
                expectSameLookups(start, tag);
                found += KQXml::GetChildElement(start, tag).isNull() ? 0 : 1;
            }
            EXPECT_EQ(written(document), before);
        }
        return xml.toStdString();
    });
    EXPECT_GE(parsedWell, cases);
    EXPECT_GE(found, 2 * cases);
}

/// Two parses of one document: one edited by the library, one by the reference implementation.
struct Twins
{
    QDomDocument ours;
    QDomDocument theirs;

    void editBoth(Random& random)
    {
        const QList<QDomElement> inOurs = reference::allElements(ours);
        const QList<QDomElement> inTheirs = reference::allElements(theirs);
        ASSERT_EQ(inOurs.size(), inTheirs.size());
        const int parent = random.below(int(inOurs.size()));
        // A child of the parent, any element at all, or none.
        const int reference = random.oneIn(4) ? -1 : random.below(int(inOurs.size()));
        QDomElement ourReference = reference < 0 ? QDomElement() : inOurs.at(reference);
        QDomElement theirReference = reference < 0 ? QDomElement() : inTheirs.at(reference);
        if (random.oneIn(2)) {
            ourReference = inOurs.at(parent).firstChildElement();
            theirReference = inTheirs.at(parent).firstChildElement();
        }
        QDomElement ourParent = inOurs.at(parent);
        QDomElement theirParent = inTheirs.at(parent);

        static const QStringList texts = {
            QString(), QStringLiteral(""), QStringLiteral("new"), QStringLiteral("<\u00e9&]]>")};
        const QString tag = random.of(elementNames());
        const QString text = random.of(texts);
        switch (random.below(3)) {
        case 0:
            KQXml::UpdateElementText(&ours, &ourParent, text);
            reference::updateText(theirs, theirParent, text);
            break;
        case 1:
            KQXml::InsertBeforeElement(&ours, ourParent, ourReference, tag, text);
            reference::insertBefore(theirs, theirParent, theirReference, tag, text);
            break;
        default:
            KQXml::InsertAfterElement(&ours, ourParent, ourReference, tag, text);
            reference::insertAfter(theirs, theirParent, theirReference, tag, text);
        }
    }
};

TEST(RandomDocuments, edits_match_the_reference)
{
    int edited = 0;
    const int cases = forEachRandomCase(300, [&](Random& random) {
        const QByteArray xml = randomDocument(random);
        const bool namespaces = random.oneIn(2);
        Twins twins;
        if (!twins.ours.setContent(xml, namespaces))
            return xml.toStdString();
        twins.theirs.setContent(xml, namespaces);
        const QString before = written(twins.ours);
        for (int edits = 1 + random.below(5); edits > 0; --edits)
            twins.editBoth(random);
        EXPECT_EQ(written(twins.ours), written(twins.theirs));
        edited += written(twins.ours) == before ? 0 : 1;
        return xml.toStdString();
    });
    EXPECT_GE(edited, cases / 2);
}

} // namespace
