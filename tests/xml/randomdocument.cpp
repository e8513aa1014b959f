#include "xml/randomdocument.h"

namespace {

QByteArray randomText(Random& random)
{
    static const QList<QByteArray> pieces = {"text", " ", "\n", "1", "k", "&lt;", "&amp;", "&#xe9;", "\xc3\xa9",
        "\xe2\x82\xac", "\xf0\x9f\x98\x80", "]]&gt;", "&e;", "&deep;"};
    QByteArray text;
    for (int count = random.below(4); count > 0; --count)
        text += random.of(pieces);
    return text;
}

QByteArray randomAttributes(Random& random)
{
    static const QList<QByteArray> values = {"", "1", "&lt;k&gt;", "\xc3\xa9", "<k>"};
    QByteArray attributes;
    if (random.oneIn(3))
        attributes += " v=\"" + random.of(values).replace('<', "&lt;") + '"';
    if (random.oneIn(6))
        attributes += " k='" + random.of(values).replace('<', "&lt;") + '\'';
    return attributes;
}

QByteArray randomName(Random& random)
{
    return random.oneIn(400) ? QByteArray("undeclared:k") : random.of(elementNames()).toUtf8();
}

void addChildren(Random& random, QByteArray& xml, int& budget, int depth);

void addElement(Random& random, QByteArray& xml, int& budget, int depth)
{
    const QByteArray name = randomName(random);
    const QByteArray blank = random.oneIn(8) ? " " : "";
    xml += '<' + name + randomAttributes(random) + blank;
    if (random.oneIn(4)) {
        xml += "/>";
        return;
    }
    xml += '>';
    addChildren(random, xml, budget, depth + 1);
    xml += "</" + name + blank + '>';
}

void addChildren(Random& random, QByteArray& xml, int& budget, int depth)
{
    for (int count = depth == 0 ? budget : random.below(5); count > 0 && budget > 0; --count) {
        --budget;
        switch (random.below(9)) {
        case 0:
            xml += "<!-- <k>no</k> -->";
            break;
        case 1:
            xml += "<![CDATA[<k>no</k>]]>";
            break;
        case 2:
            xml += "<?k <k>no</k>?>";
            break;
        case 3:
        case 4:
            xml += randomText(random);
            break;
        default:
            if (depth < 30)
                addElement(random, xml, budget, depth);
        }
    }
}

} // namespace

const QStringList& elementNames()
{
    static const QStringList names = {QStringLiteral("k"), QStringLiteral("K"), QStringLiteral("x:k"),
        QStringLiteral("y:k"), QStringLiteral("b"), QStringLiteral("x:b"), QStringLiteral("long.name-1"),
        QStringLiteral("gr\u00f6\u00dfe")};
    return names;
}

QByteArray randomDocument(Random& random)
{
    static const QList<int> sizes = {1, 3, 8, 20, 60, 200, 500};
    QByteArray xml = random.oneIn(2) ? "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n" : "";
    xml += "<!DOCTYPE r [<!ENTITY e 'one'><!ENTITY deep '<k>two<b/></k>'>]>\n";
    xml += "<r xmlns:x=\"urn:x\" xmlns:y=\"urn:y\">";
    int budget = random.of(sizes);
    addChildren(random, xml, budget, 0);
    return xml + "</r>";
}
