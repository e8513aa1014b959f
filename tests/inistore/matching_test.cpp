#include "inistore/storetest.h"

#include "support/random.h"

#include <QChar>

#include <array>
#include <map>

// Names match as by QString::compare with Qt::CaseInsensitive, whatever shortcut a lookup takes. The tests try every
// code point, in the file and in the argument.

namespace {

constexpr char32_t codePoints = 0x110000;
const QString letters = QStringLiteral("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz");

bool qtMatches(const QString& a, const QString& b)
{
    return QString::compare(a, b, Qt::CaseInsensitive) == 0;
}

// Half a surrogate pair is one unit.
QString textOf(char32_t codePoint)
{
    if (QChar::requiresSurrogates(codePoint))
        return QString::fromUcs4(&codePoint, 1);
    return QString(QChar(char16_t(codePoint)));
}

// A line for each key. The values are numbers.
void setKeys(INIStore& store, const QStringList& keys)
{
    QList<INILine>& lines = store.m_sections[0].m_lines;
    lines.clear();
    for (qsizetype i = 0; i < keys.size(); ++i)
        lines.append(INILine(keys[i], QString::number(i), "raw\n"));
}

// The characters that match an ASCII letter, in the order of their code points.
QList<char32_t> matchesOf(QChar letter)
{
    QList<char32_t> matches = {letter.toUpper().unicode(), letter.toLower().unicode()};
    if (letter.toLower() == u'k')
        matches.append(0x212a); // the Kelvin sign
    if (letter.toLower() == u's')
        matches.append(0x17f); // the long s
    return matches;
}

TEST(Matching, every_code_point_in_the_file_against_every_ascii_letter)
{
    constexpr char32_t block = 0x1000;
    for (char32_t first = 0; first < codePoints; first += block) {
        QStringList keys;
        for (char32_t c = first; c < first + block; ++c)
            keys.append(textOf(c));
        INIStore store;
        setKeys(store, keys);
        for (const QChar letter : letters) {
            QStringList expected;
            for (const char32_t match : matchesOf(letter)) {
                if (match >= first && match < first + block)
                    expected.append(QString::number(match - first));
            }
            ASSERT_EQ(store.GetValues(null, letter), expected)
                << "letter " << letter.toLatin1() << " from " << unsigned{first};
        }
    }
}

TEST(Matching, every_ascii_letter_in_the_file_against_every_code_point)
{
    QStringList keys;
    std::map<char32_t, QStringList> expected;
    for (const QChar letter : letters) {
        for (const char32_t match : matchesOf(letter))
            expected[match].append(QString::number(keys.size()));
        keys.append(letter);
    }
    INIStore store;
    setKeys(store, keys);
    for (char32_t c = 0; c < codePoints; ++c)
        ASSERT_EQ(store.GetValues(null, textOf(c)), expected.count(c) ? expected[c] : QStringList())
            << "code point " << unsigned{c};
}

// Tells whether a store with the section and key `stored` finds them by `asked`. One store serves millions of names.
class OneName
{
public:
    OneName() { setKeys(m_store, {null}); }

    bool finds(const QString& stored, const QString& asked)
    {
        INISection& section = m_store.m_sections[0];
        section.m_name = stored;
        section.m_lines[0].m_key = stored;
        const bool found = m_store.GetSection(asked) == 0;
        EXPECT_EQ(m_store.GetValues(stored, asked).size(), found ? 1 : 0);
        return found;
    }

private:
    INIStore m_store;
};

TEST(Matching, every_code_point_against_its_own_case_variants)
{
    OneName one;
    for (char32_t c = 0; c < codePoints; ++c) {
        const QString text = textOf(c);
        const std::array<char32_t, 6> variants = {QChar::toLower(c), QChar::toUpper(c), QChar::toTitleCase(c),
            QChar::toCaseFolded(c), c ^ 0x20U, (c + 1) % codePoints};
        ASSERT_TRUE(one.finds(text, text)) << "code point " << unsigned{c};
        for (const char32_t variant : variants) {
            if (variant == c || variant >= codePoints)
                continue;
            const QString other = textOf(variant);
            ASSERT_EQ(one.finds(text, other), qtMatches(text, other))
                << "code points " << unsigned{c} << " and " << unsigned{variant};
            ASSERT_EQ(one.finds(other, text), qtMatches(other, text))
                << "code points " << unsigned{variant} << " and " << unsigned{c};
        }
    }
}

TEST(Matching, every_code_point_inside_a_word)
{
    // Between ASCII letters, which a shortcut may compare, and after a lone high half, which makes a pair with some.
    const QString half = QChar(0xd801);
    OneName one;
    for (char32_t c = 0; c < codePoints; ++c) {
        const QString lower = textOf(QChar::toLower(c));
        const QString upper = textOf(QChar::toUpper(c));
        const QString word = QLatin1Char('a') + lower + QLatin1Char('b');
        const QString same = QLatin1Char('A') + upper + QLatin1Char('B');
        const QString other = QLatin1Char('A') + upper + QLatin1Char('C');
        ASSERT_EQ(one.finds(word, same), qtMatches(word, same)) << "code point " << unsigned{c};
        ASSERT_FALSE(one.finds(word, other)) << "code point " << unsigned{c};
        ASSERT_EQ(one.finds(half + lower, half + upper), qtMatches(half + lower, half + upper))
            << "code point " << unsigned{c};
    }
}

TEST(Matching, random_words_of_awkward_letters_as_section_key_and_value)
{
    const QStringList pieces = {Text("a"), Text("A"), Text("k"), Text("K"), Text("\u212a"), Text("s"), Text("S"),
        Text("\u017f"), Text("ß"), Text("ẞ"), Text("i"), Text("I"), Text("ı"), Text("İ"), Text("σ"), Text("ς"),
        Text("Σ"), Text("ü"), Text("Ü"), Text("u\u0308"), Text("𐐀"), Text("𐐨"), Text("𐐩"), QString(QChar(0xd801)),
        QString(QChar(0xdc00)), QString(QChar(0xdc28)), Text("1"), Text("@"), Text("`"), Text("["), Text("{"),
        Text(" "), QString(QChar(0))};
    int matched = 0;
    const int cases = forEachRandomCase(200'000, [&](Random& random) {
        const auto word = [&] {
            QString text;
            for (int i = random.below(4); i > 0; --i)
                text += random.of(pieces);
            return text;
        };
        const QString stored = word();
        const QString asked = random.oneIn(2) ? word() : (random.oneIn(2) ? stored.toUpper() : stored.toLower());
        INIStore store;
        store.m_sections[0].m_name = stored;
        store.m_sections[0].m_lines.append(INILine(stored, stored, "raw\n"));
        const bool expected = qtMatches(stored, asked);
        EXPECT_EQ(store.GetSection(asked), expected ? 0 : -1);
        EXPECT_EQ(store.GetValues(stored, asked).size(), expected ? 1 : 0);
        EXPECT_EQ(store.RemoveKeyValue(stored, stored, asked), expected);
        matched += expected;
        return testing::PrintToString(stored) + " and " + testing::PrintToString(asked);
    });
    EXPECT_GE(matched, cases / 4);
    EXPECT_LE(matched, cases - cases / 4);
}

} // namespace
