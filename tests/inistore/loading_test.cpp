#include "inistore/storetest.h"

#include "support/rows.h"

#include <QMetaType>

#include <memory>
#include <type_traits>

using namespace std::string_literals;

namespace {

// A file of one line, with its key and value. nullptr is a null text.
struct LineRow
{
    const char* name;
    std::string raw;
    const char* key;
    const char* value;
};

class OrdinaryLine : public StoreTest, public testing::WithParamInterface<LineRow>
{
};

TEST_P(OrdinaryLine, has_key_and_value_and_keeps_its_bytes)
{
    const LineRow& row = GetParam();
    given(row.raw);
    ASSERT_EQ(store.m_sections.size(), 1);
    thenSectionIs(0, null, "", 1);
    thenLineIs(0, 0, QString::fromUtf8(row.key), QString::fromUtf8(row.value), row.raw);
    EXPECT_EQ(store.m_currentSection, 0);
}

INSTANTIATE_TEST_SUITE_P(KeyAndValue, OrdinaryLine,
    testing::ValuesIn(std::vector<LineRow>{
        {"plain", "k=v\n", "k", "v"},
        {"spaces_around_both_are_trimmed", "  key \t =\t two words  \n", "key", "two words"},
        {"inner_spaces_stay", "my key=my  value\n", "my key", "my  value"},
        {"first_equals_sign_splits", "a = b = c\n", "a", "b = c"},
        {"empty_value_is_not_null", "k=\n", "k", ""},
        {"blank_value_is_empty_and_not_null", "k=  \n", "k", ""},
        {"empty_key_is_not_null", "=v\n", "", "v"},
        {"blank_key_is_empty_and_not_null", "  =v\n", "", "v"},
        {"lone_equals_sign", "=\n", "", ""},
        {"only_equals_signs", "===\n", "", "=="},
        {"hash_is_ordinary_text", "#k=v\n", "#k", "v"},
        {"hash_after_the_value_is_part_of_it", "k=v # c\n", "k", "v # c"},
        {"tildes_are_ordinary_text", "k~1=a~b\n", "k~1", "a~b"},
        {"quotes_are_ordinary_text", "\"k\"=\"v w\"\n", "\"k\"", "\"v w\""},
        {"backslash_is_ordinary_text", "k=a\\nb\\\n", "k", "a\\nb\\"},
        {"case_is_kept", "KeY=VaLuE\n", "KeY", "VaLuE"},
        {"colon_does_not_split", "k:v\n", nullptr, nullptr},
        {"no_break_space_is_white_space", "\u00a0k\u00a0=\u00a0v\u00a0\n", "k", "v"},
        {"ideographic_space_is_white_space", "\u3000k\u3000=\u3000v\u3000\n", "k", "v"},
        {"zero_width_space_is_text", "\u200bk=v\u200b\n", "\u200bk", "v\u200b"},
        {"vertical_tab_and_form_feed_are_white_space", "\v\fk=v\f\v\n", "k", "v"},
        {"other_scripts", "größe=日本\n", "größe", "日本"},
        {"surrogate_pairs", "😀=𐐀\n", "😀", "𐐀"},
    }),
    rowName);

INSTANTIATE_TEST_SUITE_P(Nothing, OrdinaryLine,
    testing::ValuesIn(std::vector<LineRow>{
        {"blank", "\n", nullptr, nullptr},
        {"white_space", " \t \n", nullptr, nullptr},
        {"stray_text", "stray\n", nullptr, nullptr},
        {"comment", "; k=v\n", nullptr, nullptr},
        {"comment_after_white_space", "  ; k=v\n", nullptr, nullptr},
        {"comment_after_one_character", "k;=v\n", nullptr, nullptr},
        {"empty_brackets_are_no_header", "[]\n", nullptr, nullptr},
        {"empty_brackets_and_more", "[] [a]\n", nullptr, nullptr},
        {"first_closing_bracket_decides", "[]a]\n", nullptr, nullptr},
        {"unclosed_bracket", "[a\n", nullptr, nullptr},
        {"opening_bracket_alone", "[\n", nullptr, nullptr},
        {"closing_bracket_alone", "]\n", nullptr, nullptr},
        {"bracket_not_at_the_start", "x [a]\n", nullptr, nullptr},
        {"comment_cuts_the_closing_bracket_off", "[a;b]\n", nullptr, nullptr},
        {"comment_right_after_it_cuts_the_closing_bracket", "[a];c\n", nullptr, nullptr},
        {"comment_cuts_the_equals_sign", "k=;c\n", nullptr, nullptr},
    }),
    rowName);

INSTANTIATE_TEST_SUITE_P(BracketsInKeys, OrdinaryLine,
    testing::ValuesIn(std::vector<LineRow>{
        {"empty_brackets_then_a_value", "[]=v\n", "[]", "v"},
        {"unclosed_bracket_then_a_value", "[a=v\n", "[a", "v"},
        {"bracket_in_the_value", "k=[a]\n", "k", "[a]"},
        {"closing_bracket_first", "]k=v\n", "]k", "v"},
    }),
    rowName);

// The character before the ";" belongs to the comment.
INSTANTIATE_TEST_SUITE_P(CommentCut, OrdinaryLine,
    testing::ValuesIn(std::vector<LineRow>{
        {"right_after_the_value_cuts_its_last_character", "key=value;note\n", "key", "valu"},
        {"after_a_space_cuts_the_space", "key=value ;note\n", "key", "value"},
        {"right_after_one_character_leaves_an_empty_value", "k=v;c\n", "k", ""},
        {"first_semicolon_cuts", "k=ab ; c ; d\n", "k", "ab"},
        {"two_semicolons_together", "k=ab;;c\n", "k", "a"},
        {"at_the_end", "k=ab;\n", "k", "a"},
        {"in_quotes_cuts_too", "k=\"a;b\"\n", "k", "\""},
        {"equals_sign_in_the_comment_does_not_split", "k ; a=b\n", nullptr, nullptr},
        {"counted_before_white_space_is_trimmed", "  k=v ;c\n", "k", "v"},
        {"cuts_one_accented_letter", "k=aü;c\n", "k", "a"},
        {"counted_in_utf16_units_after_a_pair", "😀=ab;c\n", "😀", "a"},
        {"cuts_an_accent_from_its_letter", "k=e\u0301;c\n", "k", "e"},
        {"arabic_semicolon_is_text", "k=a؛b\n", "k", "a؛b"},
        {"full_width_semicolon_is_text", "k=a；b\n", "k", "a；b"},
    }),
    rowName);

INSTANTIATE_TEST_SUITE_P(LineEnd, OrdinaryLine,
    testing::ValuesIn(std::vector<LineRow>{
        {"cr_lf_is_no_part_of_the_value", "k=v\r\n", "k", "v"},
        {"cr_lf_after_no_value", "k=\r\n", "k", ""},
        {"cr_lf_alone", "\r\n", nullptr, nullptr},
        {"missing_at_the_end_of_the_file", "k=v", "k", "v"},
        {"missing_after_a_cr", "k=v\r", "k", "v"},
        {"bare_cr_ends_no_line", "a=1\rb=2\r[c]\rd=3\r", "a", "1\rb=2\r[c]\rd=3"},
        {"line_separator_ends_no_line", "a=1\u2028b=2\n", "a", "1\u2028b=2"},
        {"next_line_character_ends_no_line", "a=1\u0085b=2\n", "a", "1\u0085b=2"},
        {"double_cr", "k=v\r\r\n", "k", "v"},
    }),
    rowName);

INSTANTIATE_TEST_SUITE_P(NulByte, OrdinaryLine,
    testing::ValuesIn(std::vector<LineRow>{
        {"ends_the_value", "k=v\0x;y\n"s, "k", "v"},
        {"before_the_equals_sign_ends_the_key", "k\0=v\n"s, nullptr, nullptr},
        {"at_the_start_leaves_nothing", "\0k=v\n"s, nullptr, nullptr},
        {"white_space_before_it_is_trimmed", "k = v \0x\n"s, "k", "v"},
        {"before_the_semicolon_hides_it", "k=v\0;\n"s, "k", "v"},
        {"before_the_closing_bracket_leaves_no_header", "[a\0]\n"s, nullptr, nullptr},
        {"alone_without_a_line_end", "\0"s, nullptr, nullptr},
    }),
    rowName);

// Invalid bytes become U+FFFD in the texts. The line keeps its bytes.
INSTANTIATE_TEST_SUITE_P(InvalidUtf8, OrdinaryLine,
    testing::ValuesIn(std::vector<LineRow>{
        {"latin1_byte",
            "gr\xf6\xdf"
            "e=1\n",
            "gr\ufffd\ufffde", "1"},
        {"stray_continuation_byte", "k=a\x80z\n", "k", "a\ufffdz"},
        {"byte_that_utf8_never_has", "k=\xff\n", "k", "\ufffd"},
        {"cut_off_by_the_end_of_the_file", "k=a\xc3", "k", "a\ufffd"},
        {"cut_by_the_comment_as_one_character", "k=a\xff;c\n", "k", "a"},
    }),
    rowName);

INSTANTIATE_TEST_SUITE_P(ByteOrderMark, OrdinaryLine,
    testing::ValuesIn(std::vector<LineRow>{
        {"is_no_part_of_the_first_key", "\xef\xbb\xbfk=v\n", "k", "v"},
        {"alone", "\xef\xbb\xbf", nullptr, nullptr},
        {"before_a_comment", "\xef\xbb\xbf;c=d\n", nullptr, nullptr},
        {"is_not_counted_before_a_comment", "\xef\xbb\xbfk=ab;c\n", "k", "a"},
    }),
    rowName);

struct HeaderRow
{
    const char* name;
    std::string raw;
    const char* section;
};

class Header : public StoreTest, public testing::WithParamInterface<HeaderRow>
{
};

TEST_P(Header, opens_a_section_and_keeps_its_bytes)
{
    const HeaderRow& row = GetParam();
    given("before=1\n" + row.raw);
    ASSERT_EQ(store.m_sections.size(), 2);
    thenSectionIs(0, null, "", 1);
    thenSectionIs(1, QString::fromUtf8(row.section), row.raw, 0);
    EXPECT_EQ(store.m_currentSection, 1);
}

INSTANTIATE_TEST_SUITE_P(Name, Header,
    testing::ValuesIn(std::vector<HeaderRow>{
        {"plain", "[section]\n", "section"},
        {"one_character", "[x]\n", "x"},
        {"text_after_the_bracket_is_ignored", "[a] rest\n", "a"},
        {"second_header_on_the_line_is_ignored", "[a][b]\n", "a"},
        {"key_after_the_bracket_is_ignored", "[a] k=v\n", "a"},
        {"white_space_inside_stays", "[ a ]\n", " a "},
        {"one_space", "[ ]\n", " "},
        {"white_space_outside_is_trimmed", " \t[a] \n", "a"},
        {"equals_sign_inside", "[a=b]\n", "a=b"},
        {"opening_bracket_inside", "[[a]]\n", "[a"},
        {"hash_inside", "[#a]\n", "#a"},
        {"comment_after_a_space", "[a] ;c\n", "a"},
        {"comment_right_after_more_text", "[a]x;c\n", "a"},
        {"comment_with_a_bracket", "[a] ;]\n", "a"},
        {"case_is_kept", "[SeCtion]\n", "SeCtion"},
        {"cr_lf", "[a]\r\n", "a"},
        {"bare_cr_after_it_is_ignored", "[a]\rk=v\r", "a"},
        {"no_line_end", "[a]", "a"},
        {"nul_after_the_bracket", "[a]\0[b]\n"s, "a"},
        {"byte_order_mark_before_it", "\xef\xbb\xbf[a]\n", "a"},
        {"invalid_utf8_is_replaced", "[a\xff]\n", "a\ufffd"},
        {"other_script", "[größe 日本 😀]\n", "größe 日本 😀"},
    }),
    rowName);

class Loading : public StoreTest
{
};

TEST_F(Loading, constructed_store_holds_the_empty_leading_section)
{
    ASSERT_EQ(store.m_sections.size(), 1);
    thenSectionIs(0, null, "", 0);
    EXPECT_EQ(store.m_currentSection, 0);
    EXPECT_EQ(exactly(store.m_lastError), exactly(null));
    EXPECT_EQ(exactly(store.GetLastError()), exactly(null));
    EXPECT_EQ(store.parent(), nullptr);
}

TEST_F(Loading, empty_file_leaves_the_empty_leading_section)
{
    given("");
    ASSERT_EQ(store.m_sections.size(), 1);
    thenSectionIs(0, null, "", 0);
    thenFileIs("");
}

TEST_F(Loading, file_without_a_header_is_all_in_the_leading_section)
{
    given("a=1\n\n; c\nb=2\n");
    ASSERT_EQ(store.m_sections.size(), 1);
    EXPECT_EQ(store.m_sections[0].m_lines.size(), 4);
    thenValuesAre("", "a", {"1"});
    thenValuesAre("", "b", {"2"});
}

TEST_F(Loading, each_header_takes_the_lines_up_to_the_next)
{
    given("lead=0\n[a]\nk=1\n\n[b]\n[c]\nk=3\n; end\n");
    ASSERT_EQ(store.m_sections.size(), 4);
    thenSectionIs(0, null, "", 1);
    thenSectionIs(1, Text("a"), "[a]\n", 2);
    thenSectionIs(2, Text("b"), "[b]\n", 0);
    thenSectionIs(3, Text("c"), "[c]\n", 2);
    thenLineIs(1, 0, Text("k"), Text("1"), "k=1\n");
    thenLineIs(1, 1, null, null, "\n");
    thenLineIs(3, 0, Text("k"), Text("3"), "k=3\n");
    thenLineIs(3, 1, null, null, "; end\n");
    EXPECT_EQ(store.m_currentSection, 3);
}

TEST_F(Loading, sections_and_keys_may_repeat)
{
    given("[a]\nk=1\nk=1\n[b]\n[A]\nk=2\n[a]\n");
    ASSERT_EQ(store.m_sections.size(), 5);
    thenSectionIs(1, Text("a"), "[a]\n", 2);
    thenSectionIs(3, Text("A"), "[A]\n", 1);
    thenSectionIs(4, Text("a"), "[a]\n", 0);
}

TEST_F(Loading, cr_lf_stays_in_the_bytes_and_out_of_the_texts)
{
    given("a=1\r\n[s]\r\nb=2\r\n");
    thenLineIs(0, 0, Text("a"), Text("1"), "a=1\r\n");
    thenSectionIs(1, Text("s"), "[s]\r\n", 1);
    thenLineIs(1, 0, Text("b"), Text("2"), "b=2\r\n");
}

TEST_F(Loading, byte_order_mark_on_a_later_line_is_dropped_there_too)
{
    // Lines are decoded one by one.
    given("a=1\n\xef\xbb\xbf[s]\n\xef\xbb\xbf"
          "b=2\n");
    thenSectionIs(1, Text("s"), "\xef\xbb\xbf[s]\n", 1);
    thenLineIs(1, 0, Text("b"), Text("2"),
        "\xef\xbb\xbf"
        "b=2\n");
}

TEST_F(Loading, byte_order_mark_is_text_anywhere_but_at_the_start_of_a_line)
{
    const QString mark = QChar(QChar::ByteOrderMark);
    given("\xef\xbb\xbf\xef\xbb\xbfk=v\n"
          "k=\xef\xbb\xbfv\n"
          " \xef\xbb\xbfk=v\n");
    thenLineIs(0, 0, mark + QLatin1Char('k'), Text("v"), "\xef\xbb\xbf\xef\xbb\xbfk=v\n");
    thenLineIs(0, 1, Text("k"), mark + QLatin1Char('v'), "k=\xef\xbb\xbfv\n");
    thenLineIs(0, 2, mark + QLatin1Char('k'), Text("v"), " \xef\xbb\xbfk=v\n");
}

TEST_F(Loading, comment_right_after_a_surrogate_pair_cuts_it_in_half)
{
    given("k=😀;c\n");
    thenLineIs(0, 0, Text("k"), QString(QChar(0xd83d)), "k=😀;c\n");
}

TEST_F(Loading, nul_byte_hides_the_rest_of_its_line_alone)
{
    given("a=1\0=2\nb=3\n[s]\0\nc=4\n"s);
    thenLineIs(0, 0, Text("a"), Text("1"), "a=1\0=2\n"s);
    thenLineIs(0, 1, Text("b"), Text("3"), "b=3\n");
    thenSectionIs(1, Text("s"), "[s]\0\n"s, 1);
    thenLineIs(1, 0, Text("c"), Text("4"), "c=4\n");
}

TEST_F(Loading, long_lines_stay_whole)
{
    // Longer than any buffer, with the line feed at a power of two, before it and after it.
    for (const std::size_t length : {4095U, 4096U, 16383U, 16384U, 16385U, 65536U, 1U << 20}) {
        INIStore fresh;
        const std::string value(length - 3, 'x');
        writeFile(dir / "long.ini", "k=" + value + "\nl=" + value);
        ASSERT_TRUE(fresh.Open(toPath(dir / "long.ini")));
        ASSERT_EQ(fresh.m_sections[0].m_lines.size(), 2) << length;
        EXPECT_EQ(bytesOf(fresh.m_sections[0].m_lines[0].m_raw), "k=" + value + '\n');
        EXPECT_EQ(bytesOf(fresh.m_sections[0].m_lines[1].m_raw), "l=" + value);
        EXPECT_EQ(fresh.m_sections[0].m_lines[1].m_value.toStdString(), value);
    }
}

TEST_F(Loading, every_prefix_of_a_document_keeps_every_byte)
{
    const std::string whole = "\xef\xbb\xbf; c\r\nk = v ;n\n[ü]x\n\xf0\x90\x90\x80=\xff\n\0n=1\n[]\n=\n[a;b]\nlast=1"s;
    for (std::size_t length = 0; length <= whole.size(); ++length) {
        INIStore fresh;
        writeFile(dir / "prefix.ini", whole.substr(0, length));
        ASSERT_TRUE(fresh.Open(toPath(dir / "prefix.ini")));
        EXPECT_EQ(toBytes(documentOf(fresh)), toBytes(whole.substr(0, length)));
    }
}

TEST_F(Loading, missing_file_returns_false_without_a_message)
{
    EXPECT_FALSE(store.Open(toPath(dir / "none.ini")));
    EXPECT_EQ(exactly(store.m_lastError), exactly(null));
    thenSectionIs(0, null, "", 0);
}

TEST_F(Loading, missing_file_clears_an_earlier_message_and_leaves_the_document)
{
    given("[a]\nk=1\n");
    store.m_lastError = Text("earlier");
    EXPECT_FALSE(store.Open(toPath(dir / "none.ini")));
    EXPECT_EQ(exactly(store.m_lastError), exactly(null));
    EXPECT_EQ(store.m_currentSection, 1);
    thenFileIs("[a]\nk=1\n");
}

TEST_F(Loading, success_clears_an_earlier_message)
{
    store.m_lastError = Text("earlier");
    given("k=1\n");
    EXPECT_EQ(exactly(store.GetLastError()), exactly(null));
}

TEST_F(Loading, accepts_its_own_message_as_a_path)
{
    writeFile(dir / "in.ini", "k=1\n");
    store.m_lastError = toPath(dir / "in.ini");
    EXPECT_TRUE(store.Open(store.m_lastError));
    thenLineIs(0, 0, Text("k"), Text("1"), "k=1\n");

    store.m_lastError = toPath(dir.path());
    EXPECT_FALSE(store.Open(store.m_lastError));
    EXPECT_EQ(store.m_lastError, toPath("Unable to open " + dir.path() + ", with read permission"));
}

TEST_F(Loading, last_error_is_read_through_its_accessor)
{
    store.m_lastError = Text("text");
    EXPECT_EQ(exactly(store.GetLastError()), exactly(Text("text")));
    store.m_lastError = Text("");
    EXPECT_EQ(exactly(store.GetLastError()), exactly(Text("")));
}

TEST_F(Loading, empty_path_names_no_file)
{
    EXPECT_FALSE(store.Open(null));
    EXPECT_EQ(exactly(store.m_lastError), exactly(null));
}

class Merging : public StoreTest
{
};

constexpr qint32 nowhere = 2'000'000'000; // far outside the document's memory

TEST_F(Merging, file_that_begins_with_a_header_needs_no_current_section)
{
    store.m_currentSection = nowhere;
    given("[a]\nk=1\n");
    ASSERT_EQ(store.m_sections.size(), 2);
    thenSectionIs(1, Text("a"), "[a]\n", 1);
    EXPECT_EQ(store.m_currentSection, 1);
}

TEST_F(Merging, empty_file_needs_no_current_section)
{
    store.m_currentSection = nowhere;
    given("");
    EXPECT_EQ(store.m_sections.size(), 1);
    EXPECT_EQ(store.m_currentSection, nowhere);
}

TEST_F(Merging, second_file_continues_the_last_section)
{
    given("[a]\nk=1\n");
    given("k=2\n[b]\nk=3\n");
    ASSERT_EQ(store.m_sections.size(), 3);
    thenSectionIs(0, null, "", 0);
    thenSectionIs(1, Text("a"), "[a]\n", 2);
    thenSectionIs(2, Text("b"), "[b]\n", 1);
    EXPECT_EQ(store.m_currentSection, 2);
    thenValuesAre("a", "k", {"1", "2"});
    thenFileIs("[a]\nk=1\nk=2\n[b]\nk=3\n");
}

TEST_F(Merging, second_file_continues_the_leading_section_if_the_first_has_no_header)
{
    given("a=1\n");
    given("b=2\n[s]\n");
    thenSectionIs(0, null, "", 2);
    thenSectionIs(1, Text("s"), "[s]\n", 0);
}

TEST_F(Merging, sections_with_the_same_name_are_not_merged)
{
    given("[a]\nk=1\n");
    given("[a]\nk=2\n");
    thenSectionIs(1, Text("a"), "[a]\n", 1);
    thenSectionIs(2, Text("a"), "[a]\n", 1);
    thenValuesAre("a", "k", {"1"});
}

TEST_F(Merging, lines_join_the_last_section_read_and_not_one_added_by_an_edit)
{
    given("[a]\nk=1\n");
    perform(append("new", "n", "1"));
    given("k=2\n");
    thenFileIs("[a]\nk=1\nk=2\n[new]\nn = 1\n");
}

TEST_F(Merging, first_line_joins_a_last_line_without_an_end_on_writing)
{
    given("a=1");
    given("b=2\n");
    thenSectionIs(0, null, "", 2);
    thenFileIs("a=1b=2\n");
}

TEST_F(Merging, empty_file_adds_nothing)
{
    given("[a]\nk=1\n");
    given("");
    EXPECT_EQ(store.m_currentSection, 1);
    thenFileIs("[a]\nk=1\n");
}

TEST(Records, are_plain_values)
{
    static_assert(std::is_copy_constructible_v<INILine> && std::is_copy_assignable_v<INILine>);
    static_assert(std::is_copy_constructible_v<INISection> && std::is_copy_assignable_v<INISection>);

    const INISection original(Text("a"), "[a]\n");
    INISection copy = original;
    copy.m_lines.append(INILine(Text("k"), Text("v"), "k=v\n"));
    EXPECT_EQ(original.m_lines.size(), 0);
    EXPECT_EQ(copy.m_lines.size(), 1);
}

TEST(Records, line_keeps_key_value_and_bytes_as_passed)
{
    const INILine line(Text(" k "), null, "raw");
    EXPECT_EQ(exactly(line.m_key), exactly(Text(" k ")));
    EXPECT_EQ(exactly(line.m_value), exactly(null));
    EXPECT_EQ(line.m_raw, QByteArray("raw"));
}

TEST(Records, section_keeps_name_and_bytes_as_passed_and_has_no_lines)
{
    const INISection section(Text(""), "raw");
    EXPECT_EQ(exactly(section.m_name), exactly(Text("")));
    EXPECT_EQ(section.m_raw, QByteArray("raw"));
    EXPECT_TRUE(section.m_lines.isEmpty());
}

TEST(Newline, is_one_line_feed_when_the_library_is_loaded)
{
    EXPECT_EQ(exactly(INIStore::s_newline), exactly(Text("\n")));
}

// Read while this program's globals are initialised.
const QString newlineBeforeMain = INIStore::s_newline;

TEST(Newline, is_set_before_main_runs)
{
    EXPECT_EQ(exactly(newlineBeforeMain), exactly(Text("\n")));
}

TEST_F(Loading, never_derives_the_newline_from_a_file)
{
    given("a=1\r\n[s]\r\nb=2\r\n");
    EXPECT_EQ(exactly(INIStore::s_newline), exactly(Text("\n")));
}

TEST(MetaObject, names_the_class_and_its_base)
{
    EXPECT_STREQ(INIStore::staticMetaObject.className(), "INIStore");
    EXPECT_EQ(INIStore::staticMetaObject.superClass(), &QObject::staticMetaObject);
}

TEST(MetaObject, declares_nothing_of_its_own)
{
    const QMetaObject& meta = INIStore::staticMetaObject;
    EXPECT_EQ(meta.methodCount(), meta.methodOffset());
    EXPECT_EQ(meta.propertyCount(), meta.propertyOffset());
    EXPECT_EQ(meta.enumeratorCount(), meta.enumeratorOffset());
    EXPECT_EQ(meta.classInfoCount(), meta.classInfoOffset());
    EXPECT_EQ(meta.constructorCount(), 0);
}

TEST(MetaObject, of_an_object_is_that_of_its_class)
{
    const INIStore store;
    EXPECT_EQ(store.metaObject(), &INIStore::staticMetaObject);
}

TEST(MetaObject, casts_to_the_class_and_its_base_by_name)
{
    INIStore store;
    EXPECT_EQ(store.qt_metacast("INIStore"), &store);
    EXPECT_EQ(store.qt_metacast("QObject"), static_cast<QObject*>(&store));
    EXPECT_EQ(store.qt_metacast("INISection"), nullptr);
    EXPECT_EQ(store.qt_metacast("inistore"), nullptr);
    EXPECT_EQ(store.qt_metacast(""), nullptr);
    EXPECT_EQ(store.qt_metacast(nullptr), nullptr);
    EXPECT_EQ(qobject_cast<INIStore*>(static_cast<QObject*>(&store)), &store);
}

TEST(MetaObject, calls_are_those_of_the_base_unchanged)
{
    INIStore store;
    QObject plain;
    for (const int id : {-1, 0, 1, 5, 100}) {
        QString written = Text("name");
        int status = -1;
        int flags = 0;
        void* arguments[] = {&written, nullptr, &status, &flags};
        EXPECT_EQ(store.qt_metacall(QMetaObject::WriteProperty, id, arguments),
            plain.qt_metacall(QMetaObject::WriteProperty, id, arguments));
    }
    EXPECT_EQ(store.objectName(), Text("name"));

    const int past = QObject::staticMetaObject.methodCount() + 7;
    EXPECT_EQ(store.qt_metacall(QMetaObject::InvokeMetaMethod, past, nullptr), 7);
}

TEST(MetaType, makes_a_store_with_a_null_parent)
{
    const QMetaType type = QMetaType::fromType<INIStore>();
    EXPECT_STREQ(type.name(), "INIStore");
#if QT_VERSION >= QT_VERSION_CHECK(6, 4, 0)
    EXPECT_EQ(INIStore::staticMetaObject.metaType(), type);
#endif

    auto* const store = static_cast<INIStore*>(type.create());
    ASSERT_NE(store, nullptr);
    EXPECT_EQ(store->parent(), nullptr);
    EXPECT_EQ(store->m_sections.size(), 1);
    type.destroy(store);
}

class WatchedStore : public INIStore
{
public:
    explicit WatchedStore(bool& gone)
        : m_gone(gone)
    {
    }
    ~WatchedStore() override { m_gone = true; }

private:
    bool& m_gone;
};

TEST(MetaType, destroys_through_the_virtual_destructor)
{
    bool gone = false;
    alignas(WatchedStore) unsigned char storage[sizeof(WatchedStore)];
    INIStore* const store = new (storage) WatchedStore(gone);
    QMetaType::fromType<INIStore>().destruct(store);
    EXPECT_TRUE(gone);
}

TEST(Ownership, parent_destroys_the_store)
{
    auto parent = std::make_unique<QObject>();
    auto* const store = new INIStore(parent.get());
    ASSERT_EQ(store->parent(), parent.get());
    bool destroyed = false;
    QObject::connect(store, &QObject::destroyed, [&] { destroyed = true; });
    parent.reset();
    EXPECT_TRUE(destroyed);
}

TEST(Ownership, destroyed_store_writes_nothing)
{
    const TempDir dir;
    writeFile(dir / "a.ini", "k=1\n");
    {
        INIStore store;
        ASSERT_TRUE(store.Open(toPath(dir / "a.ini")));
        store.UpdateKey(null, Text("k"), Text("2"));
    }
    EXPECT_EQ(readFile(dir / "a.ini"), "k=1\n");
}

} // namespace
