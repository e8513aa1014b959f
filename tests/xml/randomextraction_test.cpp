#include "xml/kqxml.h"

#include "reference/extraction.h"
#include "support/qtprinting.h"
#include "xml/randomdocument.h"

#include <gtest/gtest.h>

#include <QStringEncoder>

namespace {

/// Compares both forms with the reference implementation; returns whether the element was found.
bool expectSame(const QByteArray& xml, const QString& tag)
{
    bool found = false;
    for (const bool contentOnly : {true, false}) {
        const QByteArray expected = reference::extractElement(xml, tag, contentOnly);
        const QByteArray result = KQXml::ExtractElement(xml, tag, contentOnly);
        EXPECT_EQ(result, expected) << tag.toStdString() << " in " << testing::PrintToString(xml);
        EXPECT_EQ(result.isNull(), expected.isNull()) << tag.toStdString() << " in " << testing::PrintToString(xml);
        found = found || !expected.isNull();
    }
    return found;
}

QStringList searchedNames()
{
    return elementNames() + QStringList{QString(), QStringLiteral(""), QStringLiteral("r"), QStringLiteral("absent"),
                                QStringLiteral("%1"), QStringLiteral("k>"), QString(QChar(0xd800)),
                                QStringLiteral("undeclared:k")};
}

QByteArray encoded(QStringConverter::Encoding encoding, QStringConverter::Flag flag, const QByteArray& utf8)
{
    QStringEncoder encoder(encoding, flag);
    return encoder(QString::fromUtf8(utf8));
}

/// Returns the document in one of the encodings that the reader knows, which may differ from the declared one.
QByteArray inAnyEncoding(Random& random, QByteArray xml)
{
    static const QList<QByteArray> names = {"UTF-8", "utf-8", "ISO-8859-1", "UTF-16", "US-ASCII", "nonsense", ""};
    if (random.oneIn(2))
        xml.replace("encoding=\"UTF-8\"", "encoding=\"" + random.of(names) + '"');
    switch (random.below(6)) {
    case 0:
        return "\xef\xbb\xbf" + xml;
    case 1:
        return encoded(QStringConverter::Latin1, QStringConverter::Flag::Default,
            xml.replace("encoding=\"UTF-8\"", "encoding=\"ISO-8859-1\""));
    case 2:
        return encoded(QStringConverter::Utf16LE,
            random.oneIn(2) ? QStringConverter::Flag::WriteBom : QStringConverter::Flag::Default, xml);
    case 3:
        return encoded(QStringConverter::Utf16BE,
            random.oneIn(2) ? QStringConverter::Flag::WriteBom : QStringConverter::Flag::Default, xml);
    default:
        return xml;
    }
}

/// Removes, replaces, inserts or doubles a few bytes or pieces of markup.
QByteArray mutated(Random& random, QByteArray xml)
{
    static const QList<QByteArray> pieces = {"<", ">", "/", "</k>", "<k>", "<k ", "<k/>", "<!--", "-->", "<![CDATA[",
        "]]>", "&", ";", "\"", "'", "=", " ", "\n", "<?xml version='1.0' encoding='", "<!ENTITY k '<k>1</k>'>",
        "<!DOCTYPE", "\xc3", "\xff", "\xfe\xff"};
    for (int steps = 1 + random.below(3); steps > 0; --steps) {
        const int at = random.below(int(xml.size()) + 1);
        switch (random.below(5)) {
        case 0:
            xml.remove(at, 1 + random.below(8));
            break;
        case 1:
            if (at < xml.size())
                xml[at] = char(random.below(256));
            break;
        case 2:
            xml.insert(at, xml.mid(at, 1 + random.below(20)));
            break;
        case 3:
            xml.truncate(at);
            break;
        default:
            xml.insert(at, random.of(pieces));
        }
    }
    return xml;
}

QByteArray noise(Random& random)
{
    QByteArray bytes(random.below(60), '\0');
    for (char& byte : bytes)
        byte = char(random.below(256));
    return bytes;
}

TEST(RandomExtraction, matches_the_reference)
{
    int found = 0;
    const int cases = forEachRandomCase(1000, [&](Random& random) {
        const QByteArray xml = inAnyEncoding(random, randomDocument(random));
        for (const QString& tag : searchedNames())
            found += expectSame(xml, tag) ? 1 : 0;
        return xml.toStdString();
    });
    EXPECT_GE(found, cases / 2);
}

TEST(RandomExtraction, matches_the_reference_on_mutated_bytes)
{
    int found = 0;
    const int cases = forEachRandomCase(4000, [&](Random& random) {
        const QByteArray xml = mutated(random, inAnyEncoding(random, randomDocument(random)));
        found += expectSame(xml, random.of(searchedNames())) ? 1 : 0;
        expectSame(noise(random), QStringLiteral("k"));
        return xml.toStdString();
    });
    EXPECT_GE(found, cases / 20);
}

const QByteArray everyConstruct =
    "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone='yes'?>\n"
    "<!DOCTYPE r [\n<!ENTITY e 'x'><!ENTITY deep '<k>&e;</k>'>\n<!ELEMENT r ANY>\n<!ATTLIST r a CDATA 'd'>\n]>\n"
    "<r xmlns:x=\"urn:x\" k='<k>'>\n<!-- <k>no</k> -->\n<?k <k>no</k>?>\n<![CDATA[<k>no</k>]]>\n"
    "\xc3\xa9 &lt;k&gt; &#x6b; &e;\n<x:k a=\"1\" >in<k/><k\n>\xe2\x82\xac</k\t></x:k>&deep;<k></k></r>\n<!--end-->";

TEST(EveryTruncatedPrefix, matches_the_reference)
{
    const QByteArray unquoted = QByteArray(everyConstruct).replace("k='<k>'", "k='&lt;k>'");
    int found = 0;
    for (const QByteArray& whole :
        {everyConstruct, unquoted, encoded(QStringConverter::Utf16LE, QStringConverter::Flag::WriteBom, unquoted),
            encoded(QStringConverter::Utf16BE, QStringConverter::Flag::Default, unquoted),
            QByteArray("\xef\xbb\xbf" + unquoted)}) {
        for (qsizetype length = 0; length <= whole.size(); ++length) {
            for (const char* const tag : {"k", "r", "x", ""})
                found += expectSame(whole.left(length), QString::fromLatin1(tag)) ? 1 : 0;
        }
    }
    EXPECT_GT(found, 100);
}

} // namespace
