#include "xml/kqxml.h"

#include "reference/dom.h"
#include "xml/documents.h"
#include "xml/randomdocument.h"

namespace {

using namespace std::chrono_literals;

QStringList searchedNames()
{
    return elementNames() + QStringList{QString(), QStringLiteral(""), QStringLiteral("r"), QStringLiteral("absent"),
                                QStringLiteral("#text"), QStringLiteral("#comment"), QStringLiteral("p:renamed"),
                                QStringLiteral("renamed"), QStringLiteral("long.name")};
}

/// Shapes that no parser makes: elements in entity references, renamed, given another prefix, or without a name.
void disturb(Dice& dice, QDomDocument& document)
{
    QDomElement element = dice.oneOf(reference::allElements(document));
    switch (dice.below(6)) {
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

TEST(RandomDocuments, every_lookup_finds_what_the_loop_over_elementsByTagName_finds)
{
    Dice dice;
    Cases cases(300, 3000, 6s);
    int parsedWell = 0;
    int found = 0;
    while (cases.next() && !testing::Test::HasFailure()) {
        const QByteArray xml = randomDocument(dice);
        for (const bool namespaces : {false, true}) {
            QDomDocument document;
            if (!document.setContent(xml, namespaces))
                continue;
            ++parsedWell;
            disturb(dice, document);
            const QString before = written(document);
            const QDomElement start =
                dice.oneIn(2) ? document.documentElement() : dice.oneOf(reference::allElements(document));
            for (const QString& tag : searchedNames()) {
                SCOPED_TRACE(xml.toStdString() + "\nnamespaces " + std::to_string(namespaces) + ", " +
                             tag.toStdString() + " below " + start.nodeName().toStdString());
                expectSameLookups(start, tag);
                found += KQXml::GetChildElement(start, tag).isNull() ? 0 : 1;
            }
            EXPECT_EQ(written(document), before);
        }
    }
    EXPECT_GT(parsedWell, 300);
    EXPECT_GT(found, 600);
}

/// Two parses of one document: one edited by the library, one by the reference implementation.
struct Twins
{
    QDomDocument ours;
    QDomDocument theirs;

    void editBoth(Dice& dice)
    {
        const QList<QDomElement> inOurs = reference::allElements(ours);
        const QList<QDomElement> inTheirs = reference::allElements(theirs);
        ASSERT_EQ(inOurs.size(), inTheirs.size());
        const int parent = dice.below(int(inOurs.size()));
        // A child of the parent, any element at all, or none.
        const int reference = dice.oneIn(4) ? -1 : dice.below(int(inOurs.size()));
        QDomElement ourReference = reference < 0 ? QDomElement() : inOurs.at(reference);
        QDomElement theirReference = reference < 0 ? QDomElement() : inTheirs.at(reference);
        if (dice.oneIn(2)) {
            ourReference = inOurs.at(parent).firstChildElement();
            theirReference = inTheirs.at(parent).firstChildElement();
        }
        QDomElement ourParent = inOurs.at(parent);
        QDomElement theirParent = inTheirs.at(parent);

        static const QStringList texts = {
            QString(), QStringLiteral(""), QStringLiteral("new"), QStringLiteral("<\u00e9&]]>")};
        const QString tag = dice.oneOf(elementNames());
        const QString text = dice.oneOf(texts);
        switch (dice.below(3)) {
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

TEST(RandomDocuments, every_edit_does_what_its_steps_in_Qt_calls_do)
{
    Dice dice;
    Cases cases(300, 3000, 6s);
    int edited = 0;
    while (cases.next() && !testing::Test::HasFailure()) {
        const QByteArray xml = randomDocument(dice);
        const bool namespaces = dice.oneIn(2);
        Twins twins;
        if (!twins.ours.setContent(xml, namespaces))
            continue;
        twins.theirs.setContent(xml, namespaces);
        const QString before = written(twins.ours);
        for (int edits = 1 + dice.below(5); edits > 0; --edits)
            twins.editBoth(dice);
        EXPECT_EQ(written(twins.ours), written(twins.theirs)) << xml.constData();
        edited += written(twins.ours) == before ? 0 : 1;
    }
    EXPECT_GT(edited, 150);
}

} // namespace
