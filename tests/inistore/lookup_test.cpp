#include "inistore/storetest.h"

#include "support/rows.h"

namespace {

class Lookup : public StoreTest
{
};

TEST_F(Lookup, finds_the_first_section_of_a_name)
{
    given("[a]\n[b]\n[A]\n[b]\n");
    EXPECT_EQ(store.GetSection(Text("a")), 1);
    EXPECT_EQ(store.GetSection(Text("B")), 2);
    EXPECT_EQ(store.GetSection(Text("c")), -1);
}

TEST_F(Lookup, empty_and_null_names_are_the_leading_section)
{
    given("k=1\n[a]\n");
    EXPECT_EQ(store.GetSection(null), 0);
    EXPECT_EQ(store.GetSection(Text("")), 0);
}

TEST_F(Lookup, leading_section_is_found_in_a_new_store)
{
    EXPECT_EQ(store.GetSection(null), 0);
    EXPECT_EQ(store.GetSection(Text("a")), -1);
    thenValuesAre("", "", {});
}

TEST_F(Lookup, white_space_in_a_name_counts)
{
    given("[ a ]\n[ ]\n");
    EXPECT_EQ(store.GetSection(Text("a")), -1);
    EXPECT_EQ(store.GetSection(Text(" A ")), 1);
    EXPECT_EQ(store.GetSection(Text(" ")), 2);
}

TEST_F(Lookup, part_of_a_name_is_no_match)
{
    given("[section]\nkey=1\n");
    EXPECT_EQ(store.GetSection(Text("sect")), -1);
    EXPECT_EQ(store.GetSection(Text("sections")), -1);
    thenValuesAre("section", "ke", {});
    thenValuesAre("section", "keys", {});
}

TEST_F(Lookup, ignores_case)
{
    given("[section]\nkey=1\n");
    thenValuesAre("SECTION", "KEY", {"1"});
}

TEST_F(Lookup, gives_repeated_keys_in_file_order)
{
    given("[s]\nk=3\nx=0\nK=1\n\nk=2\n[s]\nk=4\n");
    thenValuesAre("s", "k", {"3", "1", "2"});
}

TEST_F(Lookup, gives_nothing_for_an_absent_section_or_key)
{
    given("[s]\nk=1\n");
    thenValuesAre("t", "k", {});
    thenValuesAre("s", "l", {});
    thenValuesAre("", "k", {});
}

TEST_F(Lookup, empty_key_finds_every_line_without_an_equals_sign_and_those_that_start_with_it)
{
    given("[s]\n\nk=1\n; a=b\nstray\n=2\n[]\n = 3\n");
    thenValuesAre("s", "", {"", "", "", "2", "", "3"});
    thenValuesAre("s", null, {"", "", "", "2", "", "3"});
}

TEST_F(Lookup, tells_null_values_from_empty_ones)
{
    given("; c\n=\n");
    const QStringList values = store.GetValues(null, null);
    ASSERT_EQ(values.size(), 2);
    EXPECT_EQ(exactly(values[0]), exactly(null));
    EXPECT_EQ(exactly(values[1]), exactly(Text("")));
}

TEST_F(Lookup, changes_nothing)
{
    given("k=1\n[s]\nk=2\n");
    store.m_lastError = Text("earlier");
    store.GetSection(Text("t"));
    store.GetValues(Text("t"), Text("k"));
    store.GetValues(Text("s"), Text("l"));
    EXPECT_EQ(exactly(store.m_lastError), exactly(Text("earlier")));
    EXPECT_EQ(store.m_currentSection, 1);
    EXPECT_EQ(documentOf(store), "k=1\n[s]\nk=2\n");
}

// Whether two names match, whichever of them is in the file.
struct PairRow
{
    const char* name;
    QString a;
    QString b;
    bool equal;
};

class NamePair : public StoreTest, public testing::WithParamInterface<PairRow>
{
protected:
    static void thenMatches(const QString& stored, const QString& asked, bool expected)
    {
        INIStore one;
        one.m_sections.append(INISection(stored, "[raw]\n"));
        one.m_sections[1].m_lines.append(INILine(stored, stored, "raw\n"));
        EXPECT_EQ(one.GetSection(asked), expected ? 1 : -1);
        EXPECT_EQ(one.GetValues(stored, asked).size(), expected ? 1 : 0);
        EXPECT_EQ(one.RemoveKeyValue(stored, stored, asked), expected);
    }
};

TEST_P(NamePair, matches_in_both_directions)
{
    thenMatches(GetParam().a, GetParam().b, GetParam().equal);
    thenMatches(GetParam().b, GetParam().a, GetParam().equal);
}

const QChar highHalf(0xd801);
const QChar lowHalf(0xdc00);

INSTANTIATE_TEST_SUITE_P(Fold, NamePair,
    testing::ValuesIn(std::vector<PairRow>{
        {"ascii_letters", Text("Key"), Text("kEY"), true},
        {"at_sign_and_backquote_are_no_letters", Text("@"), Text("`"), false},
        {"bracket_and_brace_are_no_letters", Text("["), Text("{"), false},
        {"digits", Text("k1"), Text("k2"), false},
        {"umlauts", Text("Ärger"), Text("äRGER"), true},
        {"umlaut_and_its_base_letter", Text("ä"), Text("a"), false},
        {"composed_and_decomposed", Text("ä"), Text("a\u0308"), false},
        {"sharp_s_and_its_capital", Text("Straße"), Text("STRAẞE"), true},
        {"sharp_s_and_two_letters", Text("Straße"), Text("STRASSE"), false},
        {"greek_final_sigma", Text("ΟΔΟΣ"), Text("οδος"), true},
        {"both_small_sigmas", Text("σ"), Text("ς"), true},
        {"cyrillic", Text("ЖУК"), Text("жук"), true},
        {"kelvin_sign_and_k", Text("\u212a"), Text("k"), true},
        {"kelvin_sign_and_capital_k", Text("\u212a"), Text("K"), true},
        {"long_s_and_s", Text("\u017f"), Text("S"), true},
        {"angstrom_sign", Text("\u212b"), Text("å"), true},
        {"micro_sign_and_mu", Text("\u00b5"), Text("Μ"), true},
        {"dotless_i", Text("ı"), Text("I"), false},
        {"dotted_capital_i", Text("İ"), Text("i"), false},
        {"ligature_and_letters", Text("ﬁ"), Text("fi"), false},
        {"full_width_letters", Text("Ａ"), Text("ａ"), true},
        {"full_width_and_ascii", Text("Ａ"), Text("A"), false},
        {"deseret_surrogate_pairs", Text("𐐀"), Text("𐐨"), true},
        {"deseret_in_a_word", Text("x𐐀y"), Text("X𐐨Y"), true},
        {"different_deseret_letters", Text("𐐀"), Text("𐐩"), false},
        {"same_lone_half", highHalf, highHalf, true},
        {"high_and_low_half", highHalf, lowHalf, false},
        {"letter_after_a_lone_half", QString(highHalf) + QLatin1Char('a'), QString(highHalf) + QLatin1Char('A'), true},
        {"trailing_nul_counts", Text(std::string("k\0", 2)), Text("k"), false},
        {"letters_after_a_nul_count", Text(std::string("k\0a", 3)), Text(std::string("k\0b", 3)), false},
        {"letters_after_a_nul_ignore_case", Text(std::string("k\0a", 3)), Text(std::string("K\0A", 3)), true},
    }),
    rowName);

} // namespace
