#include "xml/randomdocument.h"

#include <gtest/gtest.h>

#include <iostream>

namespace {

unsigned chosenSeed()
{
    const int given = testing::GTEST_FLAG(random_seed);
    return given != 0 ? unsigned(given) : 1 + std::random_device{}() % 99999;
}

QByteArray randomText(Dice& dice)
{
    static const QList<QByteArray> pieces = {"text", " ", "\n", "1", "k", "&lt;", "&amp;", "&#xe9;", "\xc3\xa9",
        "\xe2\x82\xac", "\xf0\x9f\x98\x80", "]]&gt;", "&e;", "&deep;"};
    QByteArray text;
    for (int count = dice.below(4); count > 0; --count)
        text += dice.oneOf(pieces);
    return text;
}

QByteArray randomAttributes(Dice& dice)
{
    static const QList<QByteArray> values = {"", "1", "&lt;k&gt;", "\xc3\xa9", "<k>"};
    QByteArray attributes;
    if (dice.oneIn(3))
        attributes += " v=\"" + dice.oneOf(values).replace('<', "&lt;") + '"';
    if (dice.oneIn(6))
        attributes += " k='" + dice.oneOf(values).replace('<', "&lt;") + '\'';
    return attributes;
}

QByteArray randomName(Dice& dice)
{
    return dice.oneIn(400) ? QByteArray("undeclared:k") : dice.oneOf(elementNames()).toUtf8();
}

void addChildren(Dice& dice, QByteArray& xml, int& budget, int depth);

void addElement(Dice& dice, QByteArray& xml, int& budget, int depth)
{
    const QByteArray name = randomName(dice);
    const QByteArray blank = dice.oneIn(8) ? " " : "";
    xml += '<' + name + randomAttributes(dice) + blank;
    if (dice.oneIn(4)) {
        xml += "/>";
        return;
    }
    xml += '>';
    addChildren(dice, xml, budget, depth + 1);
    xml += "</" + name + blank + '>';
}

void addChildren(Dice& dice, QByteArray& xml, int& budget, int depth)
{
    for (int count = depth == 0 ? budget : dice.below(5); count > 0 && budget > 0; --count) {
        --budget;
        switch (dice.below(9)) {
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
            xml += randomText(dice);
            break;
        default:
            if (depth < 30)
                addElement(dice, xml, budget, depth);
        }
    }
}

} // namespace

Dice::Dice()
{
    const unsigned seed = chosenSeed();
    std::cout << "seed: --gtest_random_seed=" << seed << '\n';
    m_engine.seed(seed);
}

Cases::Cases(int least, int most, std::chrono::seconds limit)
    : m_least(least)
    , m_most(most)
    , m_end(std::chrono::steady_clock::now() + limit)
{
}

bool Cases::next()
{
    if (m_done >= m_least && (m_done >= m_most || std::chrono::steady_clock::now() > m_end))
        return false;
    ++m_done;
    return true;
}

const QStringList& elementNames()
{
    static const QStringList names = {QStringLiteral("k"), QStringLiteral("K"), QStringLiteral("x:k"),
        QStringLiteral("y:k"), QStringLiteral("b"), QStringLiteral("x:b"), QStringLiteral("long.name-1"),
        QStringLiteral("gr\u00f6\u00dfe")};
    return names;
}

QByteArray randomDocument(Dice& dice)
{
    static const QList<int> sizes = {1, 3, 8, 20, 60, 200, 500};
    QByteArray xml = dice.oneIn(2) ? "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n" : "";
    xml += "<!DOCTYPE r [<!ENTITY e 'one'><!ENTITY deep '<k>two<b/></k>'>]>\n";
    xml += "<r xmlns:x=\"urn:x\" xmlns:y=\"urn:y\">";
    int budget = dice.oneOf(sizes);
    addChildren(dice, xml, budget, 0);
    return xml + "</r>";
}
