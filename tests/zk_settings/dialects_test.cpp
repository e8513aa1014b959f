// What each dialect reads, and the bytes that an edit leaves.
#include "zk_settings/edit.h"

#include "support/rows.h"

#include <sstream>

using namespace std::string_view_literals;

namespace {

struct Row
{
    const char* name;
    std::string_view file;
    Words words;
    std::string_view expected; // what is printed, the edited file, or the message
    const char* dialect = "";

    std::string run(std::string_view bytes) const { return edited(*Dialect::find(dialect, {}), bytes, words); }
};

auto rowsOf(const char* dialect, std::vector<Row> rows)
{
    for (Row& row : rows)
        row.dialect = dialect;
    return testing::ValuesIn(rows);
}

std::string withCrLf(std::string_view bytes)
{
    std::string text;
    for (const char character : bytes)
        text += character == '\n' ? "\r\n" : std::string(1, character);
    return text;
}

class Reads : public testing::TestWithParam<Row>
{
};

TEST_P(Reads, as_the_owner_reads_it)
{
    const Row& row = GetParam();
    EXPECT_EQ(row.run(row.file), row.expected);
    EXPECT_EQ(row.run("\xef\xbb\xbf" + std::string(row.file)), row.expected) << "after a byte order mark";
    EXPECT_EQ(row.run(withCrLf(row.file)), row.expected) << "with CR LF";
}

class Changes : public testing::TestWithParam<Row>
{
};

TEST_P(Changes, only_these_bytes)
{
    const Row& row = GetParam();
    EXPECT_EQ(row.run(row.file), row.expected);
    EXPECT_EQ(row.run("\xef\xbb\xbf" + std::string(row.file)), "\xef\xbb\xbf" + std::string(row.expected));
    if (row.file.find('\n') != row.file.npos) {
        EXPECT_EQ(row.run(withCrLf(row.file)), withCrLf(row.expected));
    }
    if (row.words[0] == "set") {
        const Words get = {"get", row.words[1], row.words[2]};
        EXPECT_EQ(row.run(row.expected), row.expected) << "the second time";
        const std::string values = edited(*Dialect::find(row.dialect, {}), row.expected, get);
        EXPECT_EQ(values.substr(0, row.words[3].size() + 1), row.words[3] + '\n'); // a store has several
    }
}

// Expects a failure with the status.
void expectFailure(const Row& row, Status status)
{
    try {
        ADD_FAILURE() << row.run(row.file);
    } catch (const Failure& failure) {
        EXPECT_EQ(message(failure), row.expected);
        EXPECT_EQ(failure.status, status);
    }
}

class Refuses : public testing::TestWithParam<Row>
{
};

TEST_P(Refuses, with_the_line_and_the_reason)
{
    expectFailure(GetParam(), Trouble);
}

class Misses : public testing::TestWithParam<Row>
{
};

TEST_P(Misses, with_the_name)
{
    expectFailure(GetParam(), Absent);
}

#define AMBIGUOUS_NOTE                                                                                                 \
    "ambiguous: white space and '#' or ';' may start a comment (--dialect git, mysql, php) or belong to the value "    \
    "(--dialect desktop, python, systemd)"
#define AMBIGUOUS_QUOTE "ambiguous: an open quote may continue on the next line (--dialect php) or not (any other)"
#define AMBIGUOUS_BACKSLASH                                                                                            \
    "ambiguous: a backslash may join the next line (--dialect git, systemd) or not (--dialect desktop, mysql, php, "   \
    "python)"
#define AMBIGUOUS_INDENT                                                                                               \
    "ambiguous: an indented line may continue the value above (--dialect python) or be a key (any other --dialect)"
#define AMBIGUOUS_COLON "ambiguous: a ':' may end the key (--dialect python) or belong to it (any other --dialect)"
#define AMBIGUOUS_HEADER                                                                                               \
    "ambiguous: text after a header may be a key (--dialect git, php) or nothing (--dialect mysql, python)"
#define AMBIGUOUS_CASE                                                                                                 \
    "ambiguous: a name in another case may be the same (--dialect git, python) or another (any other)"
#define WRITES_NOTE                                                                                                    \
    "white space and '#' or ';' may start a comment (--dialect git, mysql, php) or belong to the value "               \
    "(--dialect desktop, python, systemd)"
#define WRITES_BACKSLASH                                                                                               \
    "a backslash may join the next line (--dialect git, systemd) or not (--dialect desktop, mysql, php, python)"
#define NO_LEADING_KEYS "this kind of file has no keys before the first header"
#define MAY_NOT_REPEAT "the key exists and may not be repeated"
#define LOSES_SPACE "the value starts or ends with white space, which is lost"
#define CHANGES_THE_REST "the rest of the file would be read differently"

INSTANTIATE_TEST_SUITE_P(Common, Reads,
    rowsOf("common",
        {
            {"value", "[a]\nk = v w\n", {"get", "a", "k"}, "v w\n"},
            {"key_before_the_first_header", "k=1\n[a]\nk=2\n", {"get", "", "k"}, "1\n"},
            {"colon", "[a]\nk : v\nx: y\n", {"get", "a", "x"}, "y\n"},
            {"colon_in_the_value", "k=a:b\n", {"get", "", "k"}, "a:b\n"},
            {"equals_in_the_value", "k = a=b\n", {"get", "", "k"}, "a=b\n"},
            {"key_without_a_value", "[a]\nquick\n", {"get", "a", "quick"}, "\n"},
            {"empty_value", "k =\n", {"get", "", "k"}, "\n"},
            {"semicolons_in_the_value", "Categories=Qt;KDE;\n", {"get", "", "Categories"}, "Qt;KDE;\n"},
            {"hash_in_the_value", "url=x#y\n", {"get", "", "url"}, "x#y\n"},
            {"quotes_are_text", "k=\"a b\"\n", {"get", "", "k"}, "\"a b\"\n"},
            {"white_space_after_a_backslash", "x=a\\ \nk=1\n", {"get", "", "k"}, "1\n"},
            {"blank_line_after_a_backslash", "x=a\\\n\nk=1\n", {"get", "", "k"}, "1\n"},
            {"double_backslash_at_the_end", "k=a\\\\\nm=1\n", {"get", "", "k"}, "a\\\\\n"},
            {"indented_lines", "k=a\n  b\n\n  c\nm=1\n", {"get", "", "k"}, "a\nb\n\nc\n"},
            {"indented_operator_is_no_key", "k=\n  a>=1\n  b==2\n", {"get", "", "k"}, "\na>=1\nb==2\n"},
            {"comment_between_indented_lines", "k=a\n# c\n  b\n", {"get", "", "k"}, "a\nb\n"},
            {"last_of_equal_keys", "k=1\nk=2\n", {"get", "", "k"}, "2\n"},
            {"all_of_equal_keys", "k=1\nm=0\nk=2\n", {"all", "", "k"}, "1\n2\n"},
            {"repeated_section", "[a]\nk=1\n[b]\n[a]\nm=2\n", {"get", "a", "k"}, "1\n"},
            {"last_of_equal_keys_of_a_repeated_section", "[a]\nk=1\n[b]\n[a]\nk=2\n", {"get", "a", "k"}, "2\n"},
            {"blanks_in_a_header", "[ a ]\nk=1\n", {"get", "a", "k"}, "1\n"},
            {"blanks_in_the_given_section", "[a]\nk=1\n", {"get", " a ", "k"}, "1\n"},
            {"comment_after_a_header", "[a] # c\nk=1\n", {"get", "a", "k"}, "1\n"},
            {"indented_keys", "[a]\n  k=1\n  m=2\n", {"get", "a", "m"}, "2\n"},
            {"exact_name_after_another_case", "Name=1\nname=2\n", {"get", "", "name"}, "2\n"},
            {"bytes_that_are_not_utf8", "[a]\nk=\xff\n", {"get", "a", "k"}, "\xff\n"},
            {"names_that_are_not_utf8", "[\xfe]\n\xff=1\n", {"get", "\xfe", "\xff"}, "1\n"},
            {"name_in_another_encoding", "\xfe=1\n\u00fe=2\n", {"all", "", "\u00fe"}, "2\n"},
            {"key_that_a_doubtful_header_does_not_hide", "[a]\nm=1\nk=1\n  [b]\nn=2\n", {"get", "a", "m"}, "1\n"},
            {"comments_are_no_keys", "# bind-address = 1\n; x = 2\n  # y = 3\nk = 4\n", {"list", ""}, "k\n"},
            {"sections_once_each", "x=1\n[a]\n[b]\n[ a ]\n", {"list"}, "\na\nb\n"},
            {"no_leading_section_without_keys", "# c\n\n[a]\n", {"list"}, "a\n"},
            {"keys_once_each", "[a]\nk=1\nm=2\nk\n", {"list", "a"}, "k\nm\n"},
            {"keys_of_an_empty_section", "[a]\n[b]\nk=1\n", {"list", "a"}, ""},
        }),
    rowName);

INSTANTIATE_TEST_SUITE_P(Common, Misses,
    rowsOf("common",
        {
            {"key", "[a]\nk=1\n", {"get", "a", "m"}, "[a] has no key m"},
            {"key_before_the_first_header", "[a]\nk=1\n", {"get", "", "k"}, "no key k before the first header"},
            {"section", "[a]\nk=1\n", {"get", "b", "k"}, "there is no section [b]"},
            {"section_to_list", "[a]\n", {"list", "b"}, "there is no section [b]"},
            {"key_to_remove", "[a]\nk=1\n", {"remove", "a", "m"}, "[a] has no key m"},
            {"value_to_remove", "[a]\nk=1\n", {"remove", "a", "k", "2"}, "[a] has no key k with the value 2"},
            {"value_to_remove_before_the_first_header", "k=1\n", {"remove", "", "k", "2"},
                "no key k with the value 2 before the first header"},
            {"leading_part_to_remove", "[a]\nk=1\n", {"remove", ""}, "no key before the first header"},
            {"section_to_remove", "[a]\n", {"remove", "b"}, "there is no section [b]"},
            {"section_in_a_comment", "# [b]\n", {"remove", "b"}, "there is no section [b]"},
        }),
    rowName);

INSTANTIATE_TEST_SUITE_P(Common, Changes,
    rowsOf("common",
        {
            {"value", "[a]\nk = v\nm = w\n", {"set", "a", "k", "x y"}, "[a]\nk = x y\nm = w\n"},
            {"spacing_stays", " \tKey\t =  v\tw\n", {"set", "", "Key", "x"}, " \tKey\t =  x\n"},
            {"white_space_at_the_end_goes", "k=v \t\n", {"set", "", "k", "x"}, "k=x\n"},
            {"white_space_at_the_end_goes_from_an_empty_value", "k= \n", {"set", "", "k", "x"}, "k= x\n"},
            {"colon_stays", "k: v\n", {"set", "", "k", "x"}, "k: x\n"},
            {"empty_value_gets_one", "k =\nx=1\n", {"set", "", "k", "v"}, "k = v\nx=1\n"},
            {"empty_value_without_blanks_gets_one", "k=\n", {"set", "", "k", "v"}, "k=v\n"},
            {"empty_value_after_blanks_gets_one", "k = \t\n", {"set", "", "k", "v"}, "k = \tv\n"},
            {"value_becomes_empty", "k = v\n", {"set", "", "k", ""}, "k = \n"},
            {"value_that_is_in_the_key", "IgnoreSIGPIPE=no\n", {"set", "", "IgnoreSIGPIPE", "IPE"},
                "IgnoreSIGPIPE=IPE\n"},
            {"key_without_a_value_gets_one", "[a]\nquick\nm = 1\n", {"set", "a", "quick", "v"},
                "[a]\nquick = v\nm = 1\n"},
            {"last_line_without_an_end", "[a]\nk=1", {"set", "a", "k", "2"}, "[a]\nk=2"},
            {"last_of_equal_keys", "k=1\nk=2\nm=0\n", {"set", "", "k", "3"}, "k=1\nk=3\nm=0\n"},
            {"repeated_section", "[a]\nk=1\n[b]\n[a]\nk=2\n", {"set", "a", "k", "3"}, "[a]\nk=1\n[b]\n[a]\nk=3\n"},
            {"blanks_in_a_header", "[ a ]\nk=1\n", {"set", "a", "k", "2"}, "[ a ]\nk=2\n"},
            {"lines_after_a_backslash", "long=one \\\n  two\nm=1\n", {"set", "", "long", "x"}, "long=x\nm=1\n"},
            {"indented_lines", "k=a\n  b\n\n  c\nm=1\n", {"set", "", "k", "x"}, "k=x\nm=1\n"},
            {"comment_between_indented_lines_stays", "k=a\n# c\n  b\nm=1\n", {"set", "", "k", "x"}, "k=x\n# c\nm=1\n"},
            {"value_with_semicolons", "k=a\n", {"set", "", "k", "b;c;"}, "k=b;c;\n"},
            {"value_with_equals_and_brackets", "k=[a=b]\n", {"set", "", "k", "[c]=d"}, "k=[c]=d\n"},
            {"value_like_an_option", "k=1\n", {"set", "", "k", "--null"}, "k=--null\n"},
            {"value_with_markers", "k=1\n", {"set", "", "k", "%1%2$&\\0x"}, "k=%1%2$&\\0x\n"},
            {"value_with_quotes", "k=1\n", {"set", "", "k", "\"a\""}, "k=\"a\"\n"},
            {"bytes_that_are_not_utf8_elsewhere", "[\xff]\nx=\xfe\n[s]\nk=1\n", {"set", "s", "k", "2"},
                "[\xff]\nx=\xfe\n[s]\nk=2\n"},
            {"bytes_that_are_not_utf8", "[\xfe]\n\xff=\xfd\n", {"set", "\xfe", "\xff", "\xfc"}, "[\xfe]\n\xff=\xfc\n"},
            {"not_ascii", "sch\u00f6n = \u4e2d\n", {"set", "", "sch\u00f6n", "\U0001f600"},
                "sch\u00f6n = \U0001f600\n"},
            {"byte_order_mark_in_mid_file", "a=1\n\xef\xbb\xbfk=1\n", {"set", "", "a", "2"}, "a=2\n\xef\xbb\xbfk=1\n"},
            {"doubt_elsewhere", "x = a # c\nk=1\ny = a \\\nz=1\n", {"set", "", "k", "2"},
                "x = a # c\nk=2\ny = a \\\nz=1\n"},
            {"doubt_in_the_value_that_does_not_count", "k = a # c\nk = b\n", {"set", "", "k", "2"},
                "k = a # c\nk = 2\n"},

            {"new_key_after_the_last_key", "[a]\nx=1\n\n# b\n[b]\n", {"set", "a", "k", "v"},
                "[a]\nx=1\nk=v\n\n# b\n[b]\n"},
            {"new_key_in_an_empty_section", "[a]\n# b\n[b]\n", {"set", "a", "k", "v"}, "[a]\nk = v\n# b\n[b]\n"},
            {"new_key_after_the_comment_of_the_header", "[a]\n# a\n\n# b\n[b]\n", {"set", "a", "k", "v"},
                "[a]\n# a\nk = v\n\n# b\n[b]\n"},
            {"new_key_after_the_last_comment_of_the_file", "[a]\n# a\n", {"set", "a", "k", "v"}, "[a]\n# a\nk = v\n"},
            {"new_key_before_the_first_header", "# licence\n\n[a]\nx=1\n", {"set", "", "k", "v"},
                "# licence\nk=v\n\n[a]\nx=1\n"},
            {"new_key_after_a_continued_value", "[a]\nx=1\n  2\n\n# b\n[b]\n", {"set", "a", "k", "v"},
                "[a]\nx=1\n  2\nk=v\n\n# b\n[b]\n"},
            {"new_key_in_the_last_of_equal_sections", "[a]\nx=1\n[b]\n[a]\ny=1\n", {"set", "a", "k", "v"},
                "[a]\nx=1\n[b]\n[a]\ny=1\nk=v\n"},
            {"new_key_after_a_last_line_without_an_end", "[a]\nx=1", {"set", "a", "k", "v"}, "[a]\nx=1\nk=v\n"},
            {"new_key_in_an_empty_file", "", {"set", "", "k", "v"}, "k = v\n"},
            {"spacing_of_the_last_key_of_the_section", "x=1\n[a]\nm = 1\nn  =\t2\n[b]\ny=1\n", {"set", "a", "k", "v"},
                "x=1\n[a]\nm = 1\nn  =\t2\nk  =\tv\n[b]\ny=1\n"},
            {"indentation_of_the_section", "x=1\n[a]\n\tm = 1\n[b]\ny=1\n", {"set", "a", "k", "v"},
                "x=1\n[a]\n\tm = 1\n\tk = v\n[b]\ny=1\n"},
            {"spacing_of_a_colon", "[a]\nx: 1\n", {"set", "a", "k", "v"}, "[a]\nx: 1\nk: v\n"},
            {"spacing_of_a_doubtful_colon_is_not_taken", "[a]\nx=1\nlog:level = 2\n", {"set", "a", "k", "v"},
                "[a]\nx=1\nlog:level = 2\nk=v\n"},
            {"spacing_of_an_empty_value", "x =\n", {"set", "", "k", "v"}, "x =\nk = v\n"},
            {"spacing_of_an_empty_value_before_a_blank", "x= \n", {"set", "", "k", "v"}, "x= \nk= v\n"},
            {"spacing_of_the_file_in_an_empty_section", "x=1\ny = 2\nz = 3\n[a]\n", {"set", "a", "k", "v"},
                "x=1\ny = 2\nz = 3\n[a]\nk = v\n"},
            {"column_of_separators", "[a]\nlonger = 1\nm      = 2\n", {"set", "a", "key", "v"},
                "[a]\nlonger = 1\nm      = 2\nkey    = v\n"},
            {"column_that_is_too_narrow", "[a]\nab = 1\nm  = 2\n", {"set", "a", "longkey", "v"},
                "[a]\nab = 1\nm  = 2\nlongkey  = v\n"},
            {"tabs_are_no_column", "[a]\nlonger\t= 1\nm\t= 2\n", {"set", "a", "key", "v"},
                "[a]\nlonger\t= 1\nm\t= 2\nkey\t= v\n"},
            {"equal_keys_are_no_column", "[a]\nkey   = 1\nkey   = 2\n", {"set", "a", "x", "v"},
                "[a]\nkey   = 1\nkey   = 2\nx   = v\n"},
            {"new_empty_value", "x = 1\n", {"set", "", "k", ""}, "x = 1\nk =\n"},
            {"new_section", "[a]\nx=1\n", {"set", "b", "k", "v"}, "[a]\nx=1\n[b]\nk=v\n"},
            {"new_section_after_a_last_line_without_an_end", "[a]\nx=1", {"set", "b", "k", "v"},
                "[a]\nx=1\n[b]\nk=v\n"},
            {"new_section_with_a_blank_line", "[a]\nx=1\n\n[b]\ny = 1\nz=1\n", {"set", "c", "k", "v"},
                "[a]\nx=1\n\n[b]\ny = 1\nz=1\n\n[c]\nk=v\n"},
            {"new_section_with_a_blank_line_before_comments", "[a]\nx=1\n\n# b\n[b]\ny=1\n", {"set", "c", "k", "v"},
                "[a]\nx=1\n\n# b\n[b]\ny=1\n\n[c]\nk=v\n"},
            {"new_section_after_a_blank_line", "[a]\nx=1\n\n[b]\ny=1\n\n", {"set", "c", "k", "v"},
                "[a]\nx=1\n\n[b]\ny=1\n\n[c]\nk=v\n"},
            {"new_section_in_an_empty_file", "", {"set", "a", "k", "v"}, "[a]\nk = v\n"},
            {"new_section_not_ascii", "x=1\n", {"set", "gr\u00fc\u00df", "\u4e2d", "\u00e9"},
                "x=1\n[gr\u00fc\u00df]\n\u4e2d=\u00e9\n"},

            {"append_after_the_last", "k=1\nk=2\nx=0\n", {"append", "", "k", "v"}, "k=1\nk=2\nk=v\nx=0\n"},
            {"append_after_a_continued_value", "k=1\n  2\nx=0\n", {"append", "", "k", "v"}, "k=1\n  2\nk=v\nx=0\n"},
            {"append_after_a_backslash", "k=1 \\\n  2\nx=0\n", {"append", "", "k", "v"}, "k=1 \\\n  2\nk=v\nx=0\n"},
            {"append_with_the_spacing_of_the_neighbour", "[a]\nk = 1\nx=0\n", {"append", "a", "k", "v"},
                "[a]\nk = 1\nk = v\nx=0\n"},
            {"append_to_a_missing_key", "[a]\nx=0\n", {"append", "a", "k", "v"}, "[a]\nx=0\nk=v\n"},
            {"append_to_a_missing_section", "[a]\nx=0\n", {"append", "b", "k", "v"}, "[a]\nx=0\n[b]\nk=v\n"},
            {"prepend_before_the_first", "x=0\nk=1\nk=2\n", {"prepend", "", "k", "v"}, "x=0\nk=v\nk=1\nk=2\n"},
            {"prepend_with_the_spacing_of_the_neighbour", "[a]\nk = 1\nx=0\n", {"prepend", "a", "k", "v"},
                "[a]\nk = v\nk = 1\nx=0\n"},
            {"prepend_to_a_missing_key", "[a]\nx=0\n\n", {"prepend", "a", "k", "v"}, "[a]\nx=0\nk=v\n\n"},

            {"remove_every_line_of_the_key", "k=1\nx=0\nk=2\n", {"remove", "", "k"}, "x=0\n"},
            {"remove_from_every_section_of_the_name", "[a]\nk=1\n[b]\nk=2\n[a]\nk=3\n", {"remove", "a", "k"},
                "[a]\n[b]\nk=2\n[a]\n"},
            {"remove_a_continued_value", "k=a\n  b\n\n  c\nx=0\n", {"remove", "", "k"}, "x=0\n"},
            {"remove_a_value_after_a_backslash", "k=a \\\n  b\nx=0\n", {"remove", "", "k"}, "x=0\n"},
            {"remove_a_value_with_its_note", "k=a # c\nx=0\n", {"remove", "", "k"}, "x=0\n"},
            {"remove_lines_with_the_value", "k=a\nk=b\nk=A\nk=a\n", {"remove", "", "k", "a"}, "k=b\nk=A\n"},
            {"remove_lines_with_an_empty_value", "k=\nk=b\nk\n", {"remove", "", "k", ""}, "k=b\n"},
            {"remove_lines_with_a_continued_value", "k=a\n  b\nk=a\n", {"remove", "", "k", "a\nb"}, "k=a\n"},
            {"remove_the_last_line_without_an_end", "[a]\nk=1\nx=0", {"remove", "a", "x"}, "[a]\nk=1\n"},
            {"remove_before_a_last_line_without_an_end", "[a]\nk=1\nx=0", {"remove", "a", "k"}, "[a]\nx=0"},
            {"remove_the_keys_before_the_first_header", "# c\nk=1\n\nm=2\n[a]\nk=3\n", {"remove", ""},
                "# c\n\n[a]\nk=3\n"},
            {"remove_a_section", "x=1\n[a]\n# c\nk=1\n\n[b]\nk=2\n", {"remove", "a"}, "x=1\n[b]\nk=2\n"},
            {"remove_a_section_but_not_the_next_comment", "[a]\nk=1\n\n# about b\n# and more\n[b]\nk=2\n",
                {"remove", "a"}, "# about b\n# and more\n[b]\nk=2\n"},
            {"remove_the_last_section", "[a]\nk=1\n[b]\nk=2\n# end\n", {"remove", "b"}, "[a]\nk=1\n"},
            {"remove_every_section_of_the_name", "[a]\nk=1\n[b]\nk=2\n[ a ]\nk=3\n", {"remove", "a"}, "[b]\nk=2\n"},
            {"remove_a_section_with_doubts_inside", "[a]\nk=a # c\nm=a \\\nn=1\n[b]\nk=2\n", {"remove", "a"},
                "[b]\nk=2\n"},
        }),
    rowName);

INSTANTIATE_TEST_SUITE_P(Common, Refuses,
    rowsOf("common",
        {
            {"get_with_a_note", "[a]\nport = 3306   # default\n", {"get", "a", "port"}, "2: " AMBIGUOUS_NOTE},
            {"get_with_a_semicolon_note", "port = 3306 ; default\n", {"get", "", "port"}, "1: " AMBIGUOUS_NOTE},
            {"get_with_a_note_instead_of_a_value", "port =# none\n", {"get", "", "port"}, "1: " AMBIGUOUS_NOTE},
            {"get_with_a_note_in_an_indented_line", "k=\n  a # c\n", {"get", "", "k"}, "1: " AMBIGUOUS_NOTE},
            {"get_a_key_without_a_value_with_a_note", "quick # c\n", {"get", "", "quick"}, "1: " AMBIGUOUS_NOTE},
            {"get_with_an_open_quote", "k=\"a\nm=\"\n", {"get", "", "k"}, "1: " AMBIGUOUS_QUOTE},
            {"get_with_a_backslash", "k=a \\\n  b\n", {"get", "", "k"}, "1: " AMBIGUOUS_BACKSLASH},
            {"get_with_a_backslash_before_a_key", "k=a \\\nm=1\n", {"get", "", "k"}, "1: " AMBIGUOUS_BACKSLASH},
            {"get_with_a_key_that_is_indented", "k=1\n  m=2\n", {"get", "", "k"}, "1: " AMBIGUOUS_INDENT},
            {"get_a_key_that_is_indented", "k=1\n  m=2\n", {"get", "", "m"}, "2: " AMBIGUOUS_INDENT},
            {"get_with_a_note_below_a_blank_line", "\nk=v # c\n", {"get", "", "k"}, "2: " AMBIGUOUS_NOTE},
            {"get_after_a_backslash", "x=a\\\nk=1\n", {"get", "", "k"}, "1: " AMBIGUOUS_BACKSLASH},
            {"get_after_a_backslash_and_a_comment", "x=a\\\n# c\nk=1\n", {"get", "", "k"}, "1: " AMBIGUOUS_BACKSLASH},
            {"get_after_a_bare_key_with_a_backslash", "x \\\nk=1\n", {"get", "", "k"}, "1: " AMBIGUOUS_BACKSLASH},
            {"get_below_a_header_after_a_backslash", "x=a\\\n[a]\nk=1\n", {"get", "a", "k"}, "1: " AMBIGUOUS_BACKSLASH},
            {"get_the_second_key_that_is_indented", "k=1\n  m=2\n  n=3\n", {"get", "", "n"}, "3: " AMBIGUOUS_INDENT},
            {"get_with_a_colon_in_the_key", "a:b = 1\n", {"get", "", "a"}, "1: " AMBIGUOUS_COLON},
            {"get_after_a_header_with_a_key", "[a] k=1\nm=2\n", {"get", "a", "m"}, "1: " AMBIGUOUS_HEADER},
            {"get_after_a_header_that_is_indented", "[a]\nk=1\n  [b]\nm=2\n", {"get", "b", "m"},
                "3: " AMBIGUOUS_INDENT},
            {"key_that_may_contain_a_colon", "[a]\nk:b=c\n", {"get", "a", "k:b"}, "2: " AMBIGUOUS_COLON},
            {"section_with_a_bracket_that_may_end_it", "[a]b]\nk=1\n", {"get", "a", "k"},
                "1: ambiguous: a second ']' may belong to the section (--dialect desktop, python, systemd) or not "
                "(--dialect git, mysql, php)"},
            {"key_that_may_be_behind_the_header", "[a] k=1\nm=2\n", {"get", "a", "k"}, "1: " AMBIGUOUS_HEADER},
            {"get_in_another_case", "Name=1\n", {"get", "", "name"}, "1: " AMBIGUOUS_CASE},
            {"get_in_another_case_of_the_section", "[A]\nname=1\n", {"get", "a", "name"}, "1: " AMBIGUOUS_CASE},
            {"get_all_in_another_case", "Name=1\nname=2\n", {"all", "", "name"}, "1: " AMBIGUOUS_CASE},
            {"get_below_an_indented_header", "[a]\nk=1\n  [b]\n  m=2\n  [c]\n  n=3\n", {"get", "c", "n"},
                "5: " AMBIGUOUS_INDENT},
            {"get_of_the_section_before_an_indented_header", "[a]\nk=\n  one\n\t[b]\nm=2\n", {"get", "a", "m"},
                "4: " AMBIGUOUS_INDENT},
            {"remove_of_the_section_before_a_header_after_a_backslash", "[a]\nm=2\nk=1\\\n[b]\nm=2\n",
                {"remove", "a", "m"}, "3: " AMBIGUOUS_BACKSLASH},
            {"get_in_another_case_not_utf8", "SCH\xd6N=1\n", {"get", "", "sch\xf6n"}, "1: " AMBIGUOUS_CASE},
            {"get_in_another_case_not_ascii", "SCH\u00d6N=1\n", {"get", "", "sch\u00f6n"}, "1: " AMBIGUOUS_CASE},

            {"set_with_a_note", "port = 3306   # default\n", {"set", "", "port", "1"}, "1: " AMBIGUOUS_NOTE},
            {"set_with_a_backslash_before_a_key", "x=1\nk=a \\\nm=1\n", {"set", "", "k", "v"},
                "2: " AMBIGUOUS_BACKSLASH},
            {"set_with_a_backslash_before_a_header", "k=a \\\n[a]\n", {"set", "", "k", "v"}, "1: " AMBIGUOUS_BACKSLASH},
            {"set_with_a_backslash_before_a_comment", "k=a \\\n# c\n", {"set", "", "k", "v"},
                "1: " AMBIGUOUS_BACKSLASH},
            {"set_with_a_key_that_is_indented", "k=1\n  m=2\n", {"set", "", "k", "v"}, "1: " AMBIGUOUS_INDENT},
            {"set_a_key_that_is_indented", "k=1\n  m=2\n", {"set", "", "m", "v"}, "2: " AMBIGUOUS_INDENT},
            {"set_in_another_case", "Name=1\n", {"set", "", "name", "v"}, "1: " AMBIGUOUS_CASE},
            {"set_in_another_case_of_the_section", "[A]\n", {"set", "a", "k", "v"}, "1: " AMBIGUOUS_CASE},
            {"append_in_another_case", "Name=1\n", {"append", "", "name", "v"}, "1: " AMBIGUOUS_CASE},
            {"append_after_a_backslash_before_a_key", "k=a \\\nm=1\n", {"append", "", "k", "v"},
                "1: " AMBIGUOUS_BACKSLASH},
            {"remove_in_another_case", "Name=1\nname=2\n", {"remove", "", "name"}, "1: " AMBIGUOUS_CASE},
            {"remove_a_value_with_a_note", "k=a # c\n", {"remove", "", "k", "a"}, "1: " AMBIGUOUS_NOTE},
            {"remove_what_stands_before_an_indented_header", "[z]\nk=1\n[a]\n  [b]\nm=1\n", {"remove", "a"},
                CHANGES_THE_REST},
            {"remove_a_section_that_may_end_later", "[z]\nk=1\n[a]\nm=2\n  [b]\nn=1\n", {"remove", "a"},
                "5: " AMBIGUOUS_INDENT},
            {"remove_a_section_in_another_case", "[A]\nk=1\n[a]\n", {"remove", "a"}, "1: " AMBIGUOUS_CASE},
            {"set_after_a_backslash", "x=a\\\nk=1\n", {"set", "", "k", "v"}, "1: " AMBIGUOUS_BACKSLASH},
            {"add_above_an_indented_header", "[a]\nk=1\n  [b]\nm=2\n", {"set", "a", "x", "v"}, "3: " AMBIGUOUS_INDENT},
            {"add_after_a_backslash", "x=a\\\n", {"set", "", "k", "v"}, "1: " AMBIGUOUS_BACKSLASH},
            {"add_after_a_backslash_at_the_end", "x=a\\", {"set", "", "k", "v"}, "1: " AMBIGUOUS_BACKSLASH},
            {"add_a_section_after_a_backslash", "x=a\\\n", {"set", "a", "k", "v"}, "1: " AMBIGUOUS_BACKSLASH},
            {"add_a_section_after_a_header_with_a_backslash", "[b]\\\n", {"set", "a", "k", "v"},
                "1: " AMBIGUOUS_BACKSLASH},
            {"set_with_an_equals_after_a_colon", "k: =x\n", {"set", "", "k", "v"}, "1: " AMBIGUOUS_COLON},
            {"remove_with_a_backslash_before_a_key", "k=a \\\nm=1\n", {"remove", "", "k"}, "1: " AMBIGUOUS_BACKSLASH},

            {"value_with_a_note", "k=1\n", {"set", "", "k", "a # b"}, WRITES_NOTE},
            {"value_with_white_space_and_a_semicolon", "k=1\n", {"set", "", "k", "a; b"}, WRITES_NOTE},
            {"value_that_starts_with_a_hash", "k=1\n", {"set", "", "k", "#fff"}, WRITES_NOTE},
            {"value_that_starts_with_a_semicolon", "k=1\n", {"set", "", "k", ";fff"}, WRITES_NOTE},
            {"value_that_ends_with_a_backslash", "k=1\n", {"set", "", "k", "a\\"}, WRITES_BACKSLASH},
            {"new_value_with_a_note", "", {"append", "", "k", "a # b"}, WRITES_NOTE},
            {"value_with_a_line_break", "a=1\nk=1\n", {"set", "", "k", "a\nb"}, "the value would be read as 'a'"},
            {"value_with_a_key_in_it", "k=1\n", {"append", "", "x", "a\nk=2"}, "the value would be read as 'a'"},
            {"value_that_starts_with_a_blank", "k=1\n", {"set", "", "k", " a"}, LOSES_SPACE},
            {"value_that_ends_with_a_tab", "k=1\n", {"set", "", "k", "a\t"}, LOSES_SPACE},
            {"value_of_blanks", "k=1\n", {"set", "", "k", " "}, LOSES_SPACE},
            {"value_with_a_carriage_return", "k=1\n", {"set", "", "k", "a\rb"},
                "the value contains a carriage return, which may end a line"},
            {"value_with_an_open_quote", "k=1\nm=\"\n", {"set", "", "k", "\"a"}, "1: " AMBIGUOUS_QUOTE},

            {"key_with_an_equals_sign", "", {"set", "", "a=b", "v"}, "the key a=b cannot be read back"},
            {"key_with_a_colon", "", {"set", "", "a:b", "v"}, "1: " AMBIGUOUS_COLON},
            {"key_with_a_line_break", "", {"set", "", "a\nb", "v"}, "the key a\nb is not valid in this kind of file"},
            {"key_with_a_blank_at_the_end", "", {"set", "", "a ", "v"}, "the key a  cannot be read back"},
            {"key_that_starts_a_comment", "", {"set", "", "#a", "v"}, "the key #a cannot be read back"},
            {"key_like_a_header", "", {"set", "", "[a]", "v"}, "the key [a] cannot be read back"},
            {"header_made_of_key_and_value", "", {"set", "", "[a", "v]"}, "the key [a cannot be read back"},
            {"section_with_a_bracket", "x=1\n", {"set", "a]b", "k", "v"}, "the section a]b cannot be read back"},
            {"section_with_a_line_break", "", {"set", "a\nb", "k", "v"},
                "the section a\nb is not valid in this kind of file"},

            {"nul", "k=1\nx=\0\n"sv, {"set", "", "k", "v"}, "2: a NUL byte: not a settings file"},
            {"nul_while_reading", "k=1\nx=\0\n"sv, {"get", "", "k"}, "2: a NUL byte: not a settings file"},
            {"utf16", "k\0=\0001\0\n\0"sv, {"list"}, "1: a NUL byte: not a settings file"},
            {"get_with_a_carriage_return", "k=1\rm=2\n", {"get", "", "k"}, "1: a carriage return inside the line"},
            {"set_with_a_carriage_return", "x=1\nk=1\rm=2\n", {"set", "", "k", "v"},
                "2: a carriage return inside the line"},
            {"remove_with_a_carriage_return", "k=1\rm=2\n", {"remove", "", "k"},
                "1: a carriage return inside the line"},
        }),
    rowName);

INSTANTIATE_TEST_SUITE_P(Store, Reads,
    rowsOf("store",
        {
            {"cut_value", "Categories=Qt;KDE;\n", {"get", "", "Categories"}, "Q\n"},
            {"value_before_a_note", "k = v ; c\n", {"get", "", "k"}, "v\n"},
            {"hash_is_text", "k = v # c\n", {"get", "", "k"}, "v # c\n"},
            {"hash_starts_a_key", "# bind = 1\n", {"get", "", "# bind"}, "1\n"},
            {"every_value", "k=1\nx=0\nK=2\n", {"get", "", "k"}, "1\n2\n"},
            {"first_of_equal_sections", "[A]\nk=1\n[b]\n[a]\nk=2\n", {"get", "a", "k"}, "1\n"},
            {"names_in_any_case", "[Net]\nPort=1\n", {"get", "nET", "pORT"}, "1\n"},
            {"colon_is_text", "a:b=1\n", {"get", "", "a:b"}, "1\n"},
            {"indented_line_is_no_value", "k=1\n  m=2\n", {"get", "", "k"}, "1\n"},
            {"backslash_is_text", "k=1 \\\n", {"get", "", "k"}, "1 \\\n"},
            {"quotes_are_text", "k=\"1\"\n", {"get", "", "k"}, "\"1\"\n"},
        }),
    rowName);

INSTANTIATE_TEST_SUITE_P(Store, Changes,
    rowsOf("store",
        {
            {"first_of_equal_keys", "[a]\nk=1\nK=2\n[a]\nk=3\n", {"set", "a", "k", "v"}, "[a]\nk=v\nK=2\n[a]\nk=3\n"},
            {"value_before_a_note", "k = v ; c\n", {"set", "", "k", "x"}, "k = x ; c\n"},
            {"value_that_is_in_the_note", "a = a ; a;a\n", {"set", "", "a", "b"}, "a = b ; a;a\n"},
            {"cut_value", "k=Qt;KDE;\n", {"set", "", "k", "x"}, "k=x ;KDE;\n"},
            {"empty_value_before_a_note", "k = ;c\n", {"set", "", "k", "v"}, "k = v ;c\n"},
            {"key_hidden_by_a_note", "k=;c\n", {"set", "", "k", "v"}, "k=;c\nk = v\n"},
            {"value_becomes_empty_before_a_note", "k = v ; c\n", {"set", "", "k", ""}, "k =  ; c\n"},
            {"character_of_several_bytes_before_a_note", "k = v\u00f6; c\n", {"set", "", "k", "x"}, "k = x ; c\n"},
            {"new_key_in_the_first_of_equal_sections", "[a]\nx=1\n[b]\n[a]\n", {"set", "a", "k", "v"},
                "[a]\nx=1\nk=v\n[b]\n[a]\n"},
            {"remove_from_every_section_of_the_name", "[a]\nk=1\n[b]\nk=2\n[A]\nK=3\n", {"remove", "a", "k"},
                "[a]\n[b]\nk=2\n[A]\n"},
            {"remove_every_section_of_the_name", "[a]\nk=1\n[b]\n[A]\nk=3\n", {"remove", "a"}, "[b]\n"},
        }),
    rowName);

INSTANTIATE_TEST_SUITE_P(Store, Refuses,
    rowsOf("store",
        {
            {"bytes_that_are_not_utf8", "k=\xfe\n", {"set", "", "k", "\xfe"}, CHANGES_THE_REST},
            {"semicolon", "k=1\n", {"set", "", "k", "a;b"}, "the value would be read as ''"},
            {"semicolon_after_a_blank", "k=1\n", {"set", "", "k", "a ;b"}, "the value would be read as 'a'"},
            {"white_space_around", "k=1\n", {"set", "", "k", "a\t"}, "the value would be read as 'a'"},
            {"white_space_not_ascii_around", "k=1\n", {"set", "", "k", "\u3000a"}, CHANGES_THE_REST},
            {"line_break", "k=1\n", {"set", "", "k", "a\nb"}, "the value would be read as 'a'"},
        }),
    rowName);

INSTANTIATE_TEST_SUITE_P(Desktop, Reads,
    rowsOf("desktop",
        {
            {"list_of_values", "[a]\nCategories=Qt;KDE;\n", {"get", "a", "Categories"}, "Qt;KDE;\n"},
            {"note_is_text", "[a]\nk=v # c ; d\n", {"get", "a", "k"}, "v # c ; d\n"},
            {"escapes_as_they_stand", "[a]\nk=\\sa\\\\b\\;c\n", {"get", "a", "k"}, "\\sa\\\\b\\;c\n"},
            {"blank_at_the_end", "[a]\nk= v \n", {"get", "a", "k"}, "v \n"},
            {"semicolon_starts_a_key", "[a]\n;k=v\n", {"get", "a", ";k"}, "v\n"},
            {"hash_starts_a_comment", "[a]\n # k=v\nm=1\n", {"list", "a"}, "m\n"},
            {"backslash_does_not_join", "[a]\nk=v\\\\\nm=1\n", {"get", "a", "m"}, "1\n"},
            {"names_in_different_cases", "[a]\nName=1\nname=2\n[A]\nName=3\n", {"get", "a", "Name"}, "1\n"},
            {"last_of_equal_keys", "[a]\nk=1\n[b]\n[a]\nk=2\n", {"get", "a", "k"}, "2\n"},
            {"translated_key", "[a]\nName[de]=x\nName=y\n", {"get", "a", "Name[de]"}, "x\n"},
            {"colon_is_text", "[a]\na:b=1\n", {"get", "a", "a:b"}, "1\n"},
            {"blanks_in_a_header", "[ a ]\nk=1\n", {"list"}, " a \n"},
        }),
    rowName);

INSTANTIATE_TEST_SUITE_P(Desktop, Changes,
    rowsOf("desktop",
        {
            {"list_of_values", "[a]\nCategories=Qt;KDE;\n", {"set", "a", "Categories", "Qt;Game;"},
                "[a]\nCategories=Qt;Game;\n"},
            {"value_that_starts_with_a_hash", "[a]\nk=v\n", {"set", "a", "k", "#fff # x"}, "[a]\nk=#fff # x\n"},
            {"blank_at_the_end", "[a]\nk=v\n", {"set", "a", "k", "v "}, "[a]\nk=v \n"},
            {"escaped_value", "[a]\nk=v\n", {"set", "a", "k", "\\sa\\\\"}, "[a]\nk=\\sa\\\\\n"},
            {"other_case_is_another_key", "[a]\nName=1\n", {"set", "a", "name", "2"}, "[a]\nName=1\nname=2\n"},
            {"other_case_is_another_section", "[a]\nk=1\n", {"set", "A", "k", "2"}, "[a]\nk=1\n[A]\nk=2\n"},
            {"blanks_make_another_section", "[ a ]\nk=1\n", {"set", "a", "k", "2"}, "[ a ]\nk=1\n[a]\nk=2\n"},
            {"remove_one_case_only", "[a]\nName=1\nname=2\n", {"remove", "a", "name"}, "[a]\nName=1\n"},
            {"remove_a_key_but_not_its_translations", "[a]\nName=1\nName[de]=2\n", {"remove", "a", "Name"},
                "[a]\nName[de]=2\n"},
            {"new_file", "", {"set", "Desktop Entry", "Name", "x"}, "[Desktop Entry]\nName=x\n"},
        }),
    rowName);

INSTANTIATE_TEST_SUITE_P(Desktop, Refuses,
    rowsOf("desktop",
        {
            {"invalid_key", "[a]\n", {"set", "a", "b[c", "v"}, "the key b[c is not valid in this kind of file"},
            {"blank_in_front_of_a_locale", "[a]\n", {"set", "a", "k [de]", "v"},
                "the key k [de] is not valid in this kind of file"},
            {"invalid_section", "[a]\n", {"set", "b]c", "k", "v"}, "the section b]c is not valid in this kind of file"},
            {"key_before_the_first_header", "[a]\n", {"set", "", "k", "v"}, NO_LEADING_KEYS},
            {"append_to_a_key", "[a]\nk=1\n", {"append", "a", "k", "v"}, "2: " MAY_NOT_REPEAT},
            {"prepend_to_a_key", "[a]\nk=1\n", {"prepend", "a", "k", "v"}, "2: " MAY_NOT_REPEAT},
            {"invalid_escape", "[a]\nk=1\n", {"set", "a", "k", "a\\b"},
                "the value contains a '\\' that starts no escape; write '\\\\'"},
            {"backslash_at_the_end", "[a]\nk=1\n", {"set", "a", "k", "a\\"},
                "the value contains a '\\' that starts no escape; write '\\\\'"},
            {"blank_at_the_start", "[a]\nk=1\n", {"set", "a", "k", " a"}, "the value would be read as 'a'"},
            {"line_break", "[a]\nk=1\n", {"set", "a", "k", "a\nb"}, "the value would be read as 'a'"},
        }),
    rowName);

INSTANTIATE_TEST_SUITE_P(Systemd, Reads,
    rowsOf("systemd",
        {
            {"note_is_text", "[a]\nk=v # c\n", {"get", "a", "k"}, "v # c\n"},
            {"hash_and_semicolon_start_comments", "[a]\n# k=1\n; k=2\n  # k=3\nm=4\n", {"list", "a"}, "m\n"},
            {"joined_lines", "[a]\nk=one \\\n  two\nm=1\n", {"get", "a", "k"}, "one    two\n"},
            {"joined_lines_that_look_like_keys", "[a]\nk=one\\\n--b=c\n", {"get", "a", "k"}, "one --b=c\n"},
            {"first_line_of_a_backslash", "\\\nk=1\n[a]\nk=2\n", {"list"}, "a\n"},
            {"comments_between_joined_lines", "[a]\nk=one\\\n# c\\\n; d\ntwo\n", {"get", "a", "k"}, "one two\n"},
            {"joined_lines_after_an_empty_value", "[a]\nk=\\\n  one \\\n\tm=1\nn=2\n", {"get", "a", "k"},
                "one  \tm=1\n"},
            {"blank_line_ends_joined_lines", "[a]\nk=one\\\n\nm=1\n", {"get", "a", "m"}, "1\n"},
            {"double_backslash_joins_nothing", "[a]\nk=one\\\\\nm=1\n", {"get", "a", "k"}, "one\\\\\n"},
            {"indented_line_is_a_key", "[a]\nk=1\n  m=2\n", {"get", "a", "m"}, "2\n"},
            {"quotes_are_text", "[a]\nk=\"a b\"\n", {"get", "a", "k"}, "\"a b\"\n"},
            {"all_of_equal_keys", "[a]\nk=1\nk=\nk=2\n", {"all", "a", "k"}, "1\n\n2\n"},
            {"names_in_different_cases", "[a]\nName=1\nname=2\n[A]\nName=3\n", {"get", "a", "Name"}, "1\n"},
            {"blanks_in_a_header", "[ a ]\nk=1\n", {"list"}, " a \n"},
            {"line_without_a_separator_is_no_key", "[a]\nquick\nk: v\nm=1\n", {"list", "a"}, "m\n"},
        }),
    rowName);

INSTANTIATE_TEST_SUITE_P(Systemd, Changes,
    rowsOf("systemd",
        {
            {"joined_lines", "[a]\nk=one \\\n  two\nm=1\n", {"set", "a", "k", "x"}, "[a]\nk=x\nm=1\n"},
            {"comment_after_a_backslash_at_the_end_stays", "[a]\nk=one\\\n# c\n", {"set", "a", "k", "x"},
                "[a]\nk=x\\\n# c\n"},
            {"comment_between_joined_lines_stays", "[a]\nk=one\\\n# c\ntwo\nm=1\n", {"set", "a", "k", "x"},
                "[a]\nk=x\n# c\nm=1\n"},
            {"after_joined_lines_that_are_no_key", "[a]\nx=1\ny \\\n z\n[b]\n", {"set", "a", "k", "v"},
                "[a]\nx=1\ny \\\n z\nk=v\n[b]\n"},
            {"append_after_joined_lines", "[a]\nExecStart=/bin/echo \\\n--mode=fast\nx=1\n",
                {"append", "a", "ExecStart", "/bin/true"},
                "[a]\nExecStart=/bin/echo \\\n--mode=fast\nExecStart=/bin/true\nx=1\n"},
            {"prepend_before_joined_lines", "[a]\nk=1 \\\n2\n", {"prepend", "a", "k", "v"}, "[a]\nk=v\nk=1 \\\n2\n"},
            {"remove_joined_lines", "[a]\nk=1 \\\n# c\n2\nm=1\n", {"remove", "a", "k"}, "[a]\nm=1\n"},
            {"note_is_text", "[a]\nk=v # c\n", {"set", "a", "k", "w ; d"}, "[a]\nk=w ; d\n"},
            {"last_of_equal_keys", "[a]\nk=1\nk=2\n", {"set", "a", "k", "3"}, "[a]\nk=1\nk=3\n"},
            {"empty_value_before_the_others", "[a]\nk=1\n", {"prepend", "a", "k", ""}, "[a]\nk=\nk=1\n"},
            {"other_case_is_another_key", "[a]\nName=1\n", {"set", "a", "name", "2"}, "[a]\nName=1\nname=2\n"},
            {"remove_one_case_only", "[a]\nName=1\nname=2\n", {"remove", "a", "name"}, "[a]\nName=1\n"},
            {"blanks_make_another_section", "[ a ]\nk=1\n", {"set", "a", "k", "2"}, "[ a ]\nk=1\n[a]\nk=2\n"},
            {"remove_the_value_of_joined_lines", "[a]\nk=1 \\\n 2\nk=3\n", {"remove", "a", "k", "1   2"}, "[a]\nk=3\n"},
        }),
    rowName);

INSTANTIATE_TEST_SUITE_P(Systemd, Refuses,
    rowsOf("systemd",
        {
            {"invalid_key", "[a]\n", {"set", "a", "[b]", "v"}, "the key [b] is not valid in this kind of file"},
            {"value_that_is_not_utf8", "[a]\nk=1\n", {"set", "a", "k", "\xe9"}, "the value is not UTF-8"},
            {"key_that_is_not_utf8", "[a]\nk=1\n", {"set", "a", "\xe9", "1"},
                "the key \xe9 is not valid in this kind of file"},
            {"key_before_the_first_header", "", {"set", "", "k", "v"}, NO_LEADING_KEYS},
            {"key_after_a_line_that_is_not_complete", "[a]\nx \\\n", {"set", "a", "k", "v"},
                "the key k cannot be read back"},
            {"backslash_at_the_end", "[a]\nk=1\nm=1\n", {"set", "a", "k", "a\\"}, "the value would be read as 'a m=1'"},
            {"blank_at_the_start", "[a]\nk=1\n", {"set", "a", "k", " a"}, "the value would be read as 'a'"},
            {"line_break", "[a]\nk=1\n", {"set", "a", "k", "a\nb"}, "the value would be read as 'a'"},
        }),
    rowName);

INSTANTIATE_TEST_SUITE_P(Python, Reads,
    rowsOf("python",
        {
            {"note_is_text", "[a]\nk = v # c ; d\n", {"get", "a", "k"}, "v # c ; d\n"},
            {"colon", "[a]\nk: v=w\n", {"get", "a", "k"}, "v=w\n"},
            {"indented_lines", "[a]\nk = one\n  two\n    three\nm = 1\n", {"get", "a", "k"}, "one\ntwo\nthree\n"},
            {"indented_lines_after_an_empty_value", "[a]\nk =\n  one\n  two\n", {"get", "a", "k"}, "\none\ntwo\n"},
            {"indented_line_like_a_key", "[a]\nk = one\n  m = 2\n", {"get", "a", "k"}, "one\nm = 2\n"},
            {"indented_line_like_a_header", "[a]\nk = one\n  [b]\n", {"get", "a", "k"}, "one\n[b]\n"},
            {"comment_and_blank_line_between_indented_lines", "[a]\nk = one\n# c\n  # d\n\n  two\n", {"get", "a", "k"},
                "one\n\ntwo\n"},
            {"blank_line_after_indented_lines", "[a]\nk = one\n  two\n\nm = 1\n", {"get", "a", "k"}, "one\ntwo\n"},
            {"indented_keys", "[a]\n  k = 1\n  m = 2\n", {"get", "a", "k"}, "1\n"},
            {"line_indented_more_deeply_than_the_key", "[a]\n  k = 1\n   m = 2\n", {"get", "a", "k"}, "1\nm = 2\n"},
            {"key_without_a_value", "[a]\nk\nm = 1\n", {"get", "a", "k"}, "\n"},
            {"keys_in_any_case", "[a]\nName = 1\n", {"get", "a", "nAME"}, "1\n"},
            {"sections_in_different_cases", "[a]\nk = 1\n[A]\nk = 2\n", {"get", "a", "k"}, "1\n"},
            {"blanks_in_a_header", "[ a ]\nk = 1\n", {"list"}, " a \n"},
            {"bracket_in_a_header", "[a[b]c] x\nk = 1\n", {"list"}, "a[b]c\n"},
            {"quotes_are_text", "[a]\nk = \"a\"\n", {"get", "a", "k"}, "\"a\"\n"},
            {"backslash_does_not_join", "[a]\nk = one \\\nm = 1\n", {"get", "a", "k"}, "one \\\n"},
        }),
    rowName);

INSTANTIATE_TEST_SUITE_P(Python, Changes,
    rowsOf("python",
        {
            {"indented_lines", "[a]\nk = one\n  two\n\nm = 1\n", {"set", "a", "k", "x"}, "[a]\nk = x\n\nm = 1\n"},
            {"indented_lines_after_an_empty_value", "[a]\nk =\n  one\n  two\nm = 1\n", {"set", "a", "k", "x"},
                "[a]\nk = x\nm = 1\n"},
            {"comment_between_indented_lines_stays", "[a]\nk = one\n# c\n  two\nm = 1\n", {"set", "a", "k", "x"},
                "[a]\nk = x\n# c\nm = 1\n"},
            {"several_lines", "[a]\n  k = 1\nm = 1\n", {"set", "a", "k", "one\ntwo"},
                "[a]\n  k = one\n      two\nm = 1\n"},
            {"lines_after_an_empty_one", "[a]\nk = 1\n", {"set", "a", "k", "\none\ntwo"},
                "[a]\nk = \n    one\n    two\n"},
            {"colon_stays", "[a]\nk: v\n", {"set", "a", "k", "x"}, "[a]\nk: x\n"},
            {"key_without_a_value_gets_one", "[a]\nk\nm: 1\n", {"set", "a", "k", "v"}, "[a]\nk: v\nm: 1\n"},
            {"note_is_text", "[a]\nk = v # c\n", {"set", "a", "k", "w ; d"}, "[a]\nk = w ; d\n"},
            {"key_in_another_case", "[a]\nName = 1\n", {"set", "a", "name", "2"}, "[a]\nName = 2\n"},
            {"remove_in_any_case", "[a]\nName = 1\nx = 1\n", {"remove", "a", "name"}, "[a]\nx = 1\n"},
            {"remove_indented_lines", "[a]\nk = one\n  two\nm = 1\n", {"remove", "a", "k"}, "[a]\nm = 1\n"},
            {"append_to_a_missing_key", "[a]\nx = 1\n", {"append", "a", "k", "v"}, "[a]\nx = 1\nk = v\n"},
            {"backslash_at_the_end", "[a]\nk = 1\nm = 1\n", {"set", "a", "k", "a\\"}, "[a]\nk = a\\\nm = 1\n"},
        }),
    rowName);

INSTANTIATE_TEST_SUITE_P(Python, Refuses,
    rowsOf("python",
        {
            {"key_before_the_first_header", "", {"set", "", "k", "v"}, NO_LEADING_KEYS},
            {"append_to_a_key", "[a]\nk = 1\n", {"append", "a", "K", "v"}, "2: " MAY_NOT_REPEAT},
            {"remove_what_stands_before_an_indented_header", "[z]\nk = 1\n[a]\n  [b]\nm = 1\n", {"remove", "a"},
                CHANGES_THE_REST},
            {"carriage_return_in_another_line", "[a]\n# x\rk=1\n", {"set", "a", "k", "2"},
                "2: a carriage return inside the line"},
            {"no_break_space_at_the_end", "[a]\nk = 1\n", {"set", "a", "k", "v\u00a0"}, LOSES_SPACE},
            {"file_separator_at_the_end", "[a]\nk = 1\n", {"set", "a", "k", "v\x1c"}, LOSES_SPACE},
            {"key_with_a_no_break_space_in_front", "[a]\n", {"set", "a", "\u00a0m", "v"},
                "the key \u00a0m is not valid in this kind of file"},
            {"comment_in_several_lines", "[a]\nk = 1\n", {"set", "a", "k", "one\n# two"},
                "the value would be read as 'one'"},
            {"line_break_at_the_end", "[a]\nk = 1\n", {"set", "a", "k", "one\n"}, LOSES_SPACE},
            {"key_with_a_colon", "[a]\n", {"set", "a", "b:c", "v"}, "the key b:c cannot be read back"},
        }),
    rowName);

INSTANTIATE_TEST_SUITE_P(Git, Reads,
    rowsOf("git",
        {
            {"note", "[a]\nk = v # c\n", {"get", "a", "k"}, "v\n"},
            {"note_without_white_space", "[a]\nk = v;c\n", {"get", "a", "k"}, "v\n"},
            {"quoted_value", "[a]\nk = \" a;b # c\" ; d\n", {"get", "a", "k"}, " a;b # c\n"},
            {"quoted_part", "[a]\nk = a\"; b\"c\n", {"get", "a", "k"}, "a; bc\n"},
            {"escapes", "[a]\nk = a\\tb\\\"c\\\\d\\ne\n", {"get", "a", "k"}, "a\tb\"c\\d\ne\n"},
            {"joined_lines", "[a]\nk = one\\\n  two\n", {"get", "a", "k"}, "one  two\n"},
            {"joined_lines_after_an_empty_value", "[a]\nk =\\\n  two\n", {"get", "a", "k"}, "two\n"},
            {"joined_lines_in_quotes", "[a]\nk = \"one\\\n two\"\n", {"get", "a", "k"}, "one two\n"},
            {"double_backslash_joins_nothing", "[a]\nk = one\\\\\n\tm = 1\n", {"get", "a", "k"}, "one\\\n"},
            {"backslash_in_a_note_joins_nothing", "[a]\nk = one # c\\\nm = 1\n", {"get", "a", "m"}, "1\n"},
            {"key_without_a_value", "[a]\n\tk\n", {"get", "a", "k"}, "\n"},
            {"key_without_a_value_with_a_note", "[a]\n\tk # c\n", {"get", "a", "k"}, "\n"},
            {"key_after_a_header", "[a] k = v\n\tm = w\n", {"get", "a", "k"}, "v\n"},
            {"comment_after_a_header", "[a] # k = v\n\tm = w\n", {"list", "a"}, "m\n"},
            {"subsection", "[a \"b\"]\n\tk = v\n", {"get", "a \"b\"", "k"}, "v\n"},
            {"subsection_in_another_spelling", "[A   \"b\"]\n\tk = v\n", {"get", "a \"b\"", "k"}, "v\n"},
            {"subsections_in_different_cases", "[a \"B\"]\n\tk = 1\n[a \"b\"]\n\tk = 2\n", {"get", "a \"B\"", "k"},
                "1\n"},
            {"bracket_and_quote_in_a_subsection", "[a \"b]\\\"c\"]\n\tk = v\n", {"get", "a \"b]\\\"c\"", "k"}, "v\n"},
            {"quote_at_the_end_of_a_subsection", "[a \"b\\\"\"]\n\tk = v\n", {"get", "a \"b\\\"\"", "k"}, "v\n"},
            {"subsection_with_a_dot", "[a.b]\n\tk = v\n", {"get", "a \"b\"", "k"}, "v\n"},
            {"names_in_any_case", "[Core]\n\tEditor = v\n", {"get", "core", "eDITOR"}, "v\n"},
            {"last_of_equal_keys", "[a]\n\tk = 1\n\tK = 2\n[b]\n[A]\n\tk = 3\n", {"get", "a", "k"}, "3\n"},
            {"all_of_equal_keys", "[a]\n\tk = 1\n\tK = 2\n[b]\n[A]\n\tk = 3\n", {"all", "a", "k"}, "1\n2\n3\n"},
        }),
    rowName);

INSTANTIATE_TEST_SUITE_P(Git, Changes,
    rowsOf("git",
        {
            {"note_stays", "[a]\n\tk = v # c\n", {"set", "a", "k", "w"}, "[a]\n\tk = w # c\n"},
            {"empty_value_before_a_note", "[a]\n\tk = # c\n", {"set", "a", "k", "w"}, "[a]\n\tk = w # c\n"},
            {"empty_value_after_blanks_before_a_note", "[a]\n\tk =  \t;c\n", {"set", "a", "k", "w"},
                "[a]\n\tk =  \tw ;c\n"},
            {"empty_value_without_blanks_before_a_note", "[a]\n\tk =# c\n", {"set", "a", "k", "w"},
                "[a]\n\tk = w # c\n"},
            {"empty_value_between_a_separator_and_a_note", "[a]\n\tk=# c\n", {"set", "a", "k", "w"},
                "[a]\n\tk=w # c\n"},
            {"note_without_white_space_stays", "[a]\n\tk = v;c\n", {"set", "a", "k", "w"}, "[a]\n\tk = w;c\n"},
            {"value_with_a_semicolon", "[a]\n\tk = v ; c\n", {"set", "a", "k", "w;x"}, "[a]\n\tk = \"w;x\" ; c\n"},
            {"value_with_outer_blanks", "[a]\n\tk = v\n", {"set", "a", "k", " w "}, "[a]\n\tk = \" w \"\n"},
            {"value_with_escapes", "[a]\n\tk = v\n", {"set", "a", "k", "a\"b\\c\nd\te"},
                "[a]\n\tk = a\\\"b\\\\c\\nd\\te\n"},
            {"quoted_value", "[a]\n\tk = \"a;b\" # c\n", {"set", "a", "k", "w"}, "[a]\n\tk = w # c\n"},
            {"joined_lines", "[a]\n\tk = one\\\n two # c\n\tm = 1\n", {"set", "a", "k", "w"},
                "[a]\n\tk = w # c\n\tm = 1\n"},
            {"key_without_a_value_gets_one", "[a]\n\tk\n\tm=1\n", {"set", "a", "k", "v"}, "[a]\n\tk=v\n\tm=1\n"},
            {"key_without_a_value_gets_one_before_a_note", "[a]\n\tk ; c\n", {"set", "a", "k", "v"},
                "[a]\n\tk = v ; c\n"},
            {"key_after_a_header", "[a] k = v\n", {"set", "a", "k", "w"}, "[a] k = w\n"},
            {"remove_a_key_after_a_header", "[a] k = v\n\tm = w\n", {"remove", "a", "k"}, "[a] \n\tm = w\n"},
            {"append_after_a_key_after_a_header", "[a] k = v\n[b]\n", {"append", "a", "k", "w"},
                "[a] k = v\nk = w\n[b]\n"},
            {"new_key_in_an_empty_section", "[a]\n", {"set", "a", "k", "v"}, "[a]\n\tk = v\n"},
            {"new_subsection", "[a]\n\tk = v\n", {"set", "a \"B\"", "k", "w"}, "[a]\n\tk = v\n[a \"B\"]\n\tk = w\n"},
            {"last_of_equal_keys", "[a]\n\tk = 1\n\tK = 2\n", {"set", "a", "k", "3"}, "[a]\n\tk = 1\n\tK = 3\n"},
            {"remove_lines_with_the_value", "[a]\n\tk = \"x;\"\n\tk = y\n", {"remove", "a", "k", "x;"},
                "[a]\n\tk = y\n"},
            {"remove_a_subsection", "[a \"b\"]\n\tk = 1\n[a \"B\"]\n\tk = 2\n", {"remove", "a \"b\""},
                "[a \"B\"]\n\tk = 2\n"},
            {"remove_a_section_with_a_key_after_the_header", "[a] k = 1\n\tm = 2\n[b]\n", {"remove", "a"}, "[b]\n"},
        }),
    rowName);

INSTANTIATE_TEST_SUITE_P(Git, Refuses,
    rowsOf("git",
        {
            {"invalid_key", "[a]\n", {"set", "a", "b_c", "v"}, "the key b_c is not valid in this kind of file"},
            {"invalid_section", "[a]\n", {"set", "b c", "k", "v"}, "the section b c is not valid in this kind of file"},
            {"invalid_key_to_append", "[a]\n", {"append", "a", "1", "v"},
                "the key 1 is not valid in this kind of file"},
            {"key_before_the_first_header", "", {"set", "", "k", "v"}, NO_LEADING_KEYS},
            {"carriage_return", "[a]\n", {"set", "a", "k", "v\rw"},
                "the value contains a carriage return, which may end a line"},
        }),
    rowName);

INSTANTIATE_TEST_SUITE_P(MySql, Reads,
    rowsOf("mysql",
        {
            {"note", "[a]\nport = 3306   # default\n", {"get", "a", "port"}, "3306\n"},
            {"note_without_white_space", "[a]\nk = v#c\n", {"get", "a", "k"}, "v\n"},
            {"semicolon_is_text", "[a]\nk = v ; c\n", {"get", "a", "k"}, "v ; c\n"},
            {"quoted_value", "[a]\nk = \"a # b\" # c\nm = 'c'\n", {"get", "a", "k"}, "a # b\n"},
            {"single_quotes", "[a]\nk = ' a '\n", {"get", "a", "k"}, " a \n"},
            {"quotes_inside_are_text", "[a]\nk = a 'b # c'\n", {"get", "a", "k"}, "a 'b # c'\n"},
            {"escapes", "[a]\nk = a\\tb\\\\c\\sd\\qe\n", {"get", "a", "k"}, "a\tb\\c d\\qe\n"},
            {"key_without_a_value", "[a]\nquick\n", {"get", "a", "quick"}, "\n"},
            {"key_without_a_value_with_a_note", "[a]\nquick # c\n", {"get", "a", "quick"}, "\n"},
            {"dash_is_underscore", "[a]\nmax_allowed-packet = 1\n", {"get", "a", "max-allowed_packet"}, "1\n"},
            {"sections_in_any_case", "[A]\nk = 1\n", {"get", "a", "k"}, "1\n"},
            {"keys_in_different_cases", "[a]\nk = 1\nK = 2\n", {"get", "a", "k"}, "1\n"},
            {"blank_at_the_end_of_a_header", "[a ]\nk = 1\n", {"get", "a", "k"}, "1\n"},
            {"blank_at_the_start_of_a_header", "[ a]\nk = 1\n", {"list"}, " a\n"},
            {"comments_and_includes_are_no_keys", "[a]\n# k=1\n;m=2\n!includedir /x\nn=1\n", {"list", "a"}, "n\n"},
            {"backslash_does_not_join", "[a]\nk = one \\\nm = 1\n", {"get", "a", "m"}, "1\n"},
            {"indented_line_is_a_key", "[a]\nk = 1\n  m = 2\n", {"get", "a", "m"}, "2\n"},
        }),
    rowName);

INSTANTIATE_TEST_SUITE_P(MySql, Changes,
    rowsOf("mysql",
        {
            {"note_stays", "[a]\nport = 3306   # default\n", {"set", "a", "port", "1"}, "[a]\nport = 1   # default\n"},
            {"note_without_white_space_stays", "[a]\nk = v#c\n", {"set", "a", "k", "w"}, "[a]\nk = w#c\n"},
            {"value_with_a_hash", "[a]\nk = v # c\n", {"set", "a", "k", "a#b"}, "[a]\nk = \"a#b\" # c\n"},
            {"value_with_a_semicolon", "[a]\nk = v\n", {"set", "a", "k", "a ; b"}, "[a]\nk = a ; b\n"},
            {"value_with_outer_blanks", "[a]\nk = v\n", {"set", "a", "k", " w "}, "[a]\nk = \" w \"\n"},
            {"value_with_escapes", "[a]\nk = v\n", {"set", "a", "k", "a\\b\nc"}, "[a]\nk = a\\\\b\\nc\n"},
            {"value_with_a_byte_that_is_white_space_in_latin1", "[a]\nk = v\n", {"set", "a", "k", "voil\u00e0"},
                "[a]\nk = \"voil\u00e0\"\n"},
            {"value_with_quotes", "[a]\nk = v\n", {"set", "a", "k", "it's \"a\""}, "[a]\nk = \"it's \\\"a\\\"\"\n"},
            {"key_without_a_value_gets_one", "[a]\nquick\nm = 1\n", {"set", "a", "quick", "1"},
                "[a]\nquick = 1\nm = 1\n"},
            {"key_in_another_spelling", "[a]\nmax_packet = 1\n", {"set", "a", "max-packet", "2"},
                "[a]\nmax_packet = 2\n"},
            {"remove_every_spelling", "[a]\na-b = 1\na_b = 2\nx = 1\n", {"remove", "a", "a-b"}, "[a]\nx = 1\n"},
            {"new_key_after_an_include", "[a]\nx = 1\n\n!includedir /x\n", {"set", "a", "k", "v"},
                "[a]\nx = 1\nk = v\n\n!includedir /x\n"},
        }),
    rowName);

INSTANTIATE_TEST_SUITE_P(MySql, Refuses,
    rowsOf("mysql",
        {
            {"key_before_the_first_header", "", {"set", "", "k", "v"}, NO_LEADING_KEYS},
            {"key_that_is_an_include", "[a]\n", {"set", "a", "!k", "v"}, "the key !k cannot be read back"},
            {"key_with_a_bracket_in_front", "[a]\n", {"set", "a", "[k", "v"},
                "the key [k is not valid in this kind of file"},
        }),
    rowName);

INSTANTIATE_TEST_SUITE_P(Php, Reads,
    rowsOf("php",
        {
            {"note", "k = v ; c\n", {"get", "", "k"}, "v\n"},
            {"note_without_white_space", "k = v;c\n", {"get", "", "k"}, "v\n"},
            {"hash_is_text", "k = v # c\n", {"get", "", "k"}, "v # c\n"},
            {"no_space_beside_double_quotes", "k = x  \"a \" \"b\" 'c' 'd'\n", {"get", "", "k"}, "xa bc d\n"},
            {"quoted_value", "k = \"a;b\" ; c\n", {"get", "", "k"}, "a;b\n"},
            {"single_quotes", "k = 'a\\\\\"b'\n", {"get", "", "k"}, "a\\\\\"b\n"},
            {"escapes", "k = \"a\\\"b\\\\c\\'d\\n\"\n", {"get", "", "k"}, "a\"b\\c\\'d\\n\n"},
            {"expression_as_it_stands", "k = E_ALL & ~E_NOTICE\n", {"get", "", "k"}, "E_ALL & ~E_NOTICE\n"},
            {"constant_as_it_stands", "k = On\n", {"get", "", "k"}, "On\n"},
            {"line_break_in_quotes", "k = \"one\ntwo\"\nm = 1\n", {"get", "", "k"}, "one\ntwo\n"},
            {"key_after_a_header", "[a] k = v\n", {"get", "a", "k"}, "v\n"},
            {"line_without_a_separator_is_no_key", "k = 1\nk\nm = 2\n", {"get", "", "k"}, "1\n"},
            {"array", "k[] = 1\nk[] = 2\n", {"all", "", "k[]"}, "1\n2\n"},
            {"last_of_equal_sections_alone", "[a]\nk = 1\nm = 1\n[b]\n[a]\nk = 2\n", {"list", "a"}, "k\n"},
            {"names_in_different_cases", "k = 1\nK = 2\n", {"get", "", "k"}, "1\n"},
            {"apostrophe_in_a_key", "it's = 1\nk = 2\n", {"get", "", "it's"}, "1\n"},
            {"backslash_at_the_end_of_quotes", "k = \"C:\\d\\\"\nm = 1\n", {"get", "", "k"}, "C:\\d\\\n"},
            {"indented_line_is_a_key", "k = 1\n  m = 2\n", {"get", "", "m"}, "2\n"},
        }),
    rowName);

INSTANTIATE_TEST_SUITE_P(Php, Changes,
    rowsOf("php",
        {
            {"note_stays", "k = v ; c\n", {"set", "", "k", "w"}, "k = w ; c\n"},
            {"value_with_a_semicolon", "k = v ; c\n", {"set", "", "k", "a;b"}, "k = \"a;b\" ; c\n"},
            {"value_with_an_equals_sign", "k = v\n", {"set", "", "k", "a=b"}, "k = \"a=b\"\n"},
            {"value_with_quotes", "k = v\n", {"set", "", "k", "say \"a\\b\""}, "k = \"say \\\"a\\\\b\\\"\"\n"},
            {"value_with_a_line_break", "k = v", {"set", "", "k", "one\ntwo"}, "k = \"one\ntwo\""},
            {"value_with_outer_blanks", "k = v\n", {"set", "", "k", " w"}, "k = \" w\"\n"},
            {"expression_as_it_stands", "k = E_ALL\n", {"set", "", "k", "E_ALL & ~E_NOTICE"},
                "k = E_ALL & ~E_NOTICE\n"},
            {"constant_as_it_stands", "k = \"Off\"\n", {"set", "", "k", "On"}, "k = On\n"},
            {"constant_in_quotes_becomes_one", "k = \"On\"\n", {"set", "", "k", "On"}, "k = On\n"},
            {"expression_with_parentheses", "k = 1\n", {"set", "", "k", "E_ALL & ~(E_NOTICE|2)"},
                "k = E_ALL & ~(E_NOTICE|2)\n"},
            {"words_with_an_operator", "k = 1\n", {"set", "", "k", "R&D"}, "k = \"R&D\"\n"},
            {"number_in_parentheses", "k = 1\n", {"set", "", "k", "(555)"}, "k = \"(555)\"\n"},
            {"constant_among_words", "k = 1\n", {"set", "", "k", "No Reply"}, "k = \"No Reply\"\n"},
            {"dollar_at_the_end", "k = 1 ; c\n", {"set", "", "k", "pa$"}, "k = \"pa$\" ; c\n"},
            {"backslash_at_the_end_before_a_note", "k = v ; c\nm = 1\n", {"set", "", "k", "a b\\"},
                "k = \"a b\\\\\" ; c\nm = 1\n"},
            {"apostrophes_in_lines_without_a_separator", "# Don't\nk = 1\n# It isn't\nm = 'x'\n", {"set", "", "k", "2"},
                "# Don't\nk = 2\n# It isn't\nm = 'x'\n"},
            {"backslash_at_the_end_of_quotes", "k = \"C:\\d\\\"\nm = 1\n; a \"\n", {"set", "", "k", "v"},
                "k = v\nm = 1\n; a \"\n"},
            {"value_over_two_lines", "k = \"one\ntwo\" ; c\nm = 1\n", {"set", "", "k", "w"}, "k = w ; c\nm = 1\n"},
            {"append_to_an_array", "k[] = 1\nm = 1\n", {"append", "", "k[]", "2"}, "k[] = 1\nk[] = 2\nm = 1\n"},
            {"key_after_a_header", "[a] k = v\n", {"set", "a", "k", "w"}, "[a] k = w\n"},
            {"last_of_equal_sections", "[a]\nk = 1\n[a]\nm = 1\n", {"set", "a", "k", "2"},
                "[a]\nk = 1\n[a]\nm = 1\nk = 2\n"},
            {"remove_from_every_section_of_the_name", "[a]\nk = 1\n[a]\nm = 1\n", {"remove", "a", "k"},
                "[a]\n[a]\nm = 1\n"},
        }),
    rowName);

INSTANTIATE_TEST_SUITE_P(Php, Refuses,
    rowsOf("php",
        {
            {"invalid_key", "", {"set", "", "Yes", "v"}, "the key Yes is not valid in this kind of file"},
            {"invalid_section", "", {"set", "b;c", "k", "v"}, "the section b;c is not valid in this kind of file"},
            {"get_with_an_open_quote", "k = it's\nm = 1\n", {"get", "", "k"},
                "1: ambiguous: an open quote hides the rest of the file, but not in PHP's raw mode"},
            {"set_with_an_open_quote", "x = 1\nk = it's\nm = 1\n", {"set", "", "k", "v"},
                "2: ambiguous: an open quote hides the rest of the file, but not in PHP's raw mode"},
            {"variable", "k = v\n", {"set", "", "k", "${HOME}"}, "the value contains a '${', which is replaced"},
            {"quote_before_a_line_break", "k = v\n", {"set", "", "k", "a\"\nb"}, "the value would be read as 'a\\'"},
            {"bracket_in_a_subscript", "", {"set", "", "k[]]", "v"}, "the key k[]] is not valid in this kind of file"},
        }),
    rowName);

// By dialect: its name with the characters that start a note, and names of files.
TEST(Dialects, are_selected_by_the_name_of_the_file)
{
    const std::pair<std::string, std::string> rows[] = {
        {"desktop", "/x/a.desktop /x/.directory /x/index.theme /x/wlan.nmconnection /x/a.flatpakref "
                    "/x/a.flatpakrepo /x/a.keyfile /x/mimeapps.list /x/defaults.list "
                    "/usr/share/dbus-1/services/org.a.service /etc/NetworkManager/NetworkManager.conf "
                    "/etc/lightdm/lightdm.conf /etc/gdm3/daemon.conf /etc/gdm/a.conf"},
        {"systemd", "/x/a.service /x/a.socket /x/a.device /x/a.mount /x/a.automount /x/a.swap /x/a.target "
                    "/x/a.path /x/a.timer /x/a.slice /x/a.scope /x/a.network /x/a.netdev /x/a.link /x/a.nspawn "
                    "/x/a.dnssd /x/a@.service.d/override.conf /x/coredump.conf /x/homed.conf /x/iocost.conf "
                    "/x/journal-remote.conf /x/journal-upload.conf /x/journald.conf /x/logind.conf "
                    "/x/networkd.conf /x/oomd.conf /x/pstore.conf /x/resolved.conf /x/sleep.conf "
                    "/x/timesyncd.conf /x/journald.conf.d/a.conf /etc/systemd/system.conf "
                    "/etc/systemd/user.conf.d/a.conf"},
        {"python", "/x/setup.cfg /x/tox.ini /x/pytest.ini /x/mypy.ini /x/alembic.ini /x/pip.conf /x/pylintrc "
                   "/x/.pylintrc /x/.flake8 /x/.coveragerc /x/.pypirc /x/.bumpversion.cfg /x/.isort.cfg "
                   "/x/.pydistutils.cfg"},
        {"python;", "/x/ansible.cfg /etc/fail2ban/jail.conf /etc/fail2ban/jail.d/sshd.local"},
        {"python#;", "/x/supervisord.conf /etc/supervisor/conf.d/a.conf"},
        {"git#;", "/root/.gitconfig /etc/gitconfig /x/.gitmodules /x/.lfsconfig /x/.git/config "
                  "/x/.git/config.worktree /x/.git/modules/a/b/config /x/.git/worktrees/a/config.worktree "
                  "/srv/a.git/config /root/.config/git/config"},
        {"mysql#", "/etc/mysql/my.cnf /root/.my.cnf /x/50-server.cnf /x/my.ini"},
        {"php;", "/etc/php/8.2/cli/php.ini /x/php.ini /x/php.ini-development /x/php-cli.ini /x/.user.ini "
                 "/x/php-fpm.conf /etc/php/8.2/fpm/pool.d/www.conf /etc/php.d/20-x.ini"},
        {"common", "/x/a.desktop.bak /x/adesktop /x/sources.list /x/old-mimeapps.list /etc/lightdm.conf "
                   "/x/a.services /x/a.service~ /x/myjournald.conf /x/a.service.d/notes.txt /x/user.conf "
                   "/x/mysetup.cfg /x/setup.cfg.in /x/flake8 /x/jail.conf /etc/supervisor.conf /x/config "
                   "/x/legit/config /root/git/project/config /x/.git/description /etc/ssl/openssl.cnf "
                   "/x/openssl-easyrsa.cnf /x/texmf.cnf /x/dummy.ini /x/my.cnf.d /x/myphp.ini /x/user.ini "
                   "/x/php.ini.bak /etc/crudely.conf /x/a.ini -"},
    };
    for (const auto& [dialect, paths] : rows) {
        std::istringstream words(paths);
        for (std::string path; words >> path;) {
            const Dialect& found = *Dialect::find({}, path);
            EXPECT_EQ(std::string(found.name).append(found.notes), dialect) << path;
        }
    }
}

TEST(Dialects, have_names)
{
    EXPECT_EQ(dialectNames(), "common, store, desktop, systemd, python, git, mysql, php");
    EXPECT_EQ(Dialect::find("ini", {}), nullptr);
}

// Those that take comments after values.
TEST(Dialects, of_python_with_notes)
{
    const Dialect& fail2ban = *Dialect::find({}, "/etc/fail2ban/jail.conf");
    EXPECT_EQ(edited(fail2ban, "[a]\nk = v;w ; c\n", {"get", "a", "k"}), "v;w\n");
    EXPECT_EQ(edited(fail2ban, "[a]\nk = v # w ; c\n", {"set", "a", "k", "x"}), "[a]\nk = x ; c\n");
    const Dialect& supervisor = *Dialect::find({}, "/etc/supervisord.conf");
    EXPECT_EQ(edited(supervisor, "[a]\nk = v # c\n", {"get", "a", "k"}), "v\n");
    EXPECT_EQ(edited(supervisor, "[a]\nk = one ; c\n  two ; d\nm = 1\n", {"get", "a", "k"}), "one\ntwo\n");
    EXPECT_EQ(edited(supervisor, "[a]\nk = one ; c\n  two ; d\nm = 1\n", {"set", "a", "k", "v"}),
        "[a]\nk = v\n; c ; d\nm = 1\n");
}

TEST(Dialects, keep_a_comment_between_the_lines_of_a_value_at_the_end_of_a_file)
{
    const Dialect& supervisor = *Dialect::find({}, "/etc/supervisord.conf");
    EXPECT_EQ(edited(supervisor, "[a]\nk = ; c\n  b", {"set", "a", "k", "v"}), "[a]\nk = v\n; c");
}

// Quadratic time would take minutes.
TEST(Dialects, read_long_values_and_many_blank_lines_in_linear_time)
{
    const std::string lines(1000000, '\n');
    for (const char* const dialect : {"common", "python"})
        EXPECT_EQ(edited(*Dialect::find(dialect, {}), "[a]\nk=1\n" + lines, {"get", "a", "k"}), "1\n");
    std::string value = "\"";
    for (int i = 0; i < 500000; ++i)
        value += "x\n";
    EXPECT_EQ(edited(*Dialect::find("php", {}), "k=" + value + "\"\nm=1\n", {"get", "", "m"}), "1\n");
    const std::string wide = 'a' + std::string(1000000, ' ') + "b\n";
    EXPECT_EQ(edited(*Dialect::find("php", {}), "k=" + wide, {"get", "", "k"}), wide);
}

} // namespace
