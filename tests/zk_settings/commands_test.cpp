#include "zk_settings/settings.h"

#include "support/files.h"
#include "support/rows.h"

#include <algorithm>
#include <iterator>
#include <string_view>

using namespace std::string_view_literals;

namespace {

#define AMBIGUOUS "ambiguous: a ';' without white space before it may start a comment or belong to the value"
#define FORCED AMBIGUOUS "; --force treats it as a comment"

// A command on the file "f", which it prints or edits, and its messages.
struct Row
{
    const char* name;
    std::string_view file;
    const char* arguments[8];
    std::string_view out; // what it prints, or the file that an edit leaves
    std::string_view error = {};
    int status = error.empty() ? 0 : 2;
};

std::vector<std::string> argumentsOf(const Row& row)
{
    return {std::begin(row.arguments), std::find(std::begin(row.arguments), std::end(row.arguments), nullptr)};
}

std::string message(std::string_view text)
{
    return text.empty() ? std::string() : "zk_settings: " + std::string(text) + '\n';
}

class Prints : public testing::TestWithParam<Row>
{
};

TEST_P(Prints, and_keeps_the_file)
{
    const Row& row = GetParam();
    const TempDir dir;
    writeFile(dir / "f", std::string(row.file));
    const Finished finished = settings(dir.path(), argumentsOf(row));
    EXPECT_EQ(finished.status, row.status);
    EXPECT_EQ(finished.out, row.out);
    EXPECT_EQ(finished.err, message(row.error));
    EXPECT_EQ(readFile(dir / "f"), row.file);
}

class Edits : public testing::TestWithParam<Row>
{
};

TEST_P(Edits, silently)
{
    const Row& row = GetParam();
    const TempDir dir;
    writeFile(dir / "f", std::string(row.file));
    const Finished finished = settings(dir.path(), argumentsOf(row));
    EXPECT_EQ(finished.status, 0);
    EXPECT_EQ(finished.out, "");
    EXPECT_EQ(finished.err, "");
    EXPECT_EQ(readFile(dir / "f"), row.out);

    std::vector<std::string> arguments = argumentsOf(row);
    *std::find(arguments.begin(), arguments.end(), "f") = "-";
    const Finished filtered = settings(dir.path(), arguments, std::string(row.file));
    EXPECT_EQ(filtered.status, 0);
    EXPECT_EQ(filtered.out, row.out) << "standard input";
}

class Refuses : public testing::TestWithParam<Row>
{
};

TEST_P(Refuses, and_keeps_the_file)
{
    const Row& row = GetParam();
    const TempDir dir;
    writeFile(dir / "f", std::string(row.file));
    const Finished finished = settings(dir.path(), argumentsOf(row));
    EXPECT_EQ(finished.status, row.status);
    EXPECT_EQ(finished.out, "");
    EXPECT_EQ(finished.err, message(row.error));
    EXPECT_EQ(readFile(dir / "f"), row.file);

    EXPECT_EQ(settings(dir.path(), argumentsOf(row), std::string(row.file)).status, row.status);
}

using Rows = std::vector<Row>;

constexpr char net[] = "top = 1\n[Net]\n; where it listens\nport = 80 ; web\nPORT = 81\n[net]\nport = 82\n[Empty]\n";

INSTANTIATE_TEST_SUITE_P(Get, Prints,
    testing::ValuesIn(Rows{
        {"every_value_of_the_first_section", net, {"get", "f", "NET", "port"}, "80\n81\n"},
        {"leading_section", net, {"get", "f", "", "top"}, "1\n"},
        {"values_end_in_nul", net, {"get", "--null", "f", "net", "port"}, "80\00081\000"sv},
        {"options_may_come_first", net, {"--null", "get", "f", "", "top"}, "1\0"sv},
        {"options_may_come_last", net, {"get", "f", "", "top", "--null"}, "1\0"sv},
        {"option_after_the_operands_of_list", net, {"list", "f", "--null"}, "\0Net\0Empty\0"sv},
        {"section_like_an_option", "[--null]\nk=1\n", {"list", "f", "--", "--null"}, "k\n"},
        {"empty_value", "k=\n", {"get", "f", "", "k"}, "\n"},
        {"bytes_in_any_locale", "k=gr\u00fc\u00df\n", {"get", "f", "", "k"}, "gr\u00fc\u00df\n"},
        {"byte_order_mark", "\xef\xbb\xbfk=1\n", {"get", "f", "", "k"}, "1\n"},
        {"missing_key", net, {"get", "f", "net", "host"}, "", "f: [net] has no key host", 1},
        {"missing_section", net, {"get", "f", "lan", "port"}, "", "f: there is no section [lan]", 1},
        {"cut_value_with_a_warning", "a=1\n[s]\nk=Qt;KDE;\n", {"get", "f", "s", "k"}, "Q\n", "f:3: " AMBIGUOUS, 0},
        {"key_hidden_by_a_comment", "k=;note\n", {"get", "f", "", "k"}, "",
            "f:1: " AMBIGUOUS "\nzk_settings: f: [] has no key k", 1},
        {"section_hidden_by_a_comment", "[s];note\nk=1\n", {"get", "f", "s", "k"}, "",
            "f:1: " AMBIGUOUS "\nzk_settings: f: there is no section [s]", 1},
        {"other_lines_need_not_be_utf8", "k=1\nx=\xff\n", {"get", "f", "", "k"}, "1\n"},
        {"value_that_is_not_utf8", "k=1\nx=\xff\n", {"get", "f", "", "x"}, "", "f:2: not valid UTF-8", 2},
        {"nul", "k=1\nx=\0\n"sv, {"get", "f", "", "k"}, "", "f:2: a NUL byte: not a settings file", 2},
        {"missing_file", net, {"get", "g", "", "k"}, "", "g: cannot open: No such file or directory", 2},
        {"directory", net, {"get", ".", "", "k"}, "", ".: cannot read: Is a directory", 2},
    }),
    rowName);

INSTANTIATE_TEST_SUITE_P(List, Prints,
    testing::ValuesIn(Rows{
        {"sections_once_each", net, {"list", "f"}, "\nNet\nEmpty\n"},
        {"no_leading_section_without_keys", "; note\n[a]\n", {"list", "f"}, "a\n"},
        {"keys_once_each", net, {"list", "f", "net"}, "port\n"},
        {"keys_end_in_nul", "a=1\nb=2\n", {"list", "--null", "f", ""}, "a\0b\0"sv},
        {"no_keys", net, {"list", "f", "empty"}, ""},
        {"no_section", net, {"list", "f", "lan"}, "", "f: there is no section [lan]", 1},
        {"key_that_is_not_utf8", "\xff=1\n", {"list", "f", ""}, "", "f:1: not valid UTF-8", 2},
        {"section_that_is_not_utf8", "[\xff]\n", {"list", "f"}, "", "f:1: not valid UTF-8", 2},
    }),
    rowName);

INSTANTIATE_TEST_SUITE_P(Set, Edits,
    testing::ValuesIn(Rows{
        {"first_value", net, {"set", "f", "net", "port", "8080"},
            "top = 1\n[Net]\n; where it listens\nport = 8080 ; web\nPORT = 81\n[net]\nport = 82\n[Empty]\n"},
        {"empty_value", "session.cookie_domain =\nx=1\n", {"set", "f", "", "session.cookie_domain", "example.com"},
            "session.cookie_domain =example.com\nx=1\n"},
        {"empty_value_with_blanks", "k = \t\r\n", {"set", "f", "", "k", "v"}, "k = \tv\r\n"},
        {"empty_value_before_a_comment", "k = ;c\n", {"set", "f", "", "k", "v"}, "k =v ;c\n"},
        {"empty_value_far_before_a_comment", "k =    ;c\n", {"set", "f", "", "k", "v"}, "k = v   ;c\n"},
        {"value_that_is_in_the_key", "IgnoreSIGPIPE=no\n", {"set", "f", "", "IgnoreSIGPIPE", "yes"},
            "IgnoreSIGPIPE=yes\n"},
        {"value_that_is_in_the_comment", "a = a ; a;a\n", {"set", "f", "", "a", "b"}, "a = b ; a;a\n"},
        {"to_an_empty_value", "k = v ; c\n", {"set", "f", "", "k", ""}, "k =  ; c\n"},
        {"keeps_spacing_case_and_line_end", " \tKey\t =  v\tw  \r\n", {"set", "f", "", "key", "x"},
            " \tKey\t =  x  \r\n"},
        {"value_with_equals_and_brackets", "k=[a=b]\n", {"set", "f", "", "k", "[c]=d"}, "k=[c]=d\n"},
        {"value_that_looks_like_an_option", "k=1\n", {"set", "f", "", "k", "--force"}, "k=--force\n"},
        {"operands_after_two_dashes", "k=1\n", {"set", "--", "f", "", "k", "2"}, "k=2\n"},
        {"value_with_markers", "k=1\n", {"set", "f", "", "k", "%1%2%3"}, "k=%1%2%3\n"},
        {"same_value", "k=1 ", {"set", "f", "", "k", "1"}, "k=1 "},
        {"last_line_without_an_end", "[a]\nk=1", {"set", "f", "a", "k", "2"}, "[a]\nk=2"},
        {"after_a_byte_order_mark", "\xef\xbb\xbfk=1\n", {"set", "f", "", "k", "2"}, "\xef\xbb\xbfk=2\n"},
        {"byte_order_mark_in_mid_file", "a=1\n\xef\xbb\xbfk=1\n", {"set", "f", "", "k", "2"}, "a=1\n\xef\xbb\xbfk=2\n"},
        {"invalid_bytes_elsewhere", "[\xff]\nx=\xfe ;\xfd\n[s]\nk=1 ;\xfc\n", {"set", "f", "s", "k", "2"},
            "[\xff]\nx=\xfe ;\xfd\n[s]\nk=2 ;\xfc\n"},
        {"not_ascii", "sch\u00f6n = \u4e2d\u3000; \u00fc\n", {"set", "f", "", "SCH\u00d6N", "\U0001f600"},
            "sch\u00f6n = \U0001f600\u3000; \u00fc\n"},
        {"carriage_return_inside", "k=1\rm=2\n", {"set", "f", "", "k", "a\rb"}, "k=a\rb\n"},
        {"forced_cut_value", "k=Qt;KDE;\n", {"set", "--force", "f", "", "k", "v"}, "k=v ;KDE;\n"},
        {"forced_key_hidden_by_a_comment", "k = \nm=;c\n", {"set", "--force", "f", "", "m", "v"}, "k = \nm=v ;c\n"},
        {"ambiguous_second_value", "k=1\nk=a;b\n", {"set", "f", "", "k", "2"}, "k=2\nk=a;b\n"},
        {"ambiguous_other_key", "x=a;b\nk=1\n", {"set", "f", "", "k", "2"}, "x=a;b\nk=2\n"},
    }),
    rowName);

INSTANTIATE_TEST_SUITE_P(Add, Edits,
    testing::ValuesIn(Rows{
        {"before_the_comment_of_the_next_header", "[a]\nx=1\n\n; about b\n[b]\n", {"set", "f", "a", "k", "v"},
            "[a]\nx=1\nk=v\n\n; about b\n[b]\n"},
        {"after_the_comment_of_the_header", "[a]\n; about a\n\n; about b\n[b]\n", {"set", "f", "a", "k", "v"},
            "[a]\n; about a\nk = v\n\n; about b\n[b]\n"},
        {"in_an_empty_section_before_the_next_comment", "[a]\n; about b\n[b]\n", {"set", "f", "a", "k", "v"},
            "[a]\nk = v\n; about b\n[b]\n"},
        {"after_the_last_comment_of_the_file", "[a]\n; about a\n", {"set", "f", "a", "k", "v"},
            "[a]\n; about a\nk = v\n"},
        {"before_the_first_header", "; licence\n\n[a]\nx=1\n", {"set", "f", "", "k", "v"},
            "; licence\nk=v\n\n[a]\nx=1\n"},
        {"with_the_spacing_of_the_section", "a : b\n x=1\n[s]\n\ty  =\t1\n", {"set", "f", "s", "k", "v"},
            "a : b\n x=1\n[s]\n\ty  =\t1\n\tk  =\tv\n"},
        {"with_the_spacing_of_an_empty_value", "x =\n", {"set", "f", "", "k", "v"}, "x =\nk = v\n"},
        {"with_the_spacing_of_the_first_key", "x =\n  y==1\n", {"set", "f", "", "k", "v"}, "x =\n  y==1\nk = v\n"},
        {"with_the_spacing_of_another_section", "x=1\n[s]\n", {"set", "f", "s", "k", "v"}, "x=1\n[s]\nk=v\n"},
        {"empty_value", "x = 1\n", {"set", "f", "", "k", ""}, "x = 1\nk =\n"},
        {"after_a_continued_value", "[a]\nx=1 \\\n  2\n\n# b\n[b]\n", {"set", "f", "a", "k", "v"},
            "[a]\nx=1 \\\n  2\nk=v\n\n# b\n[b]\n"},
        {"append_after_a_continued_value", "k=1 \\\n  2\nx=0\n", {"append", "f", "", "k", "v"},
            "k=1 \\\n  2\nk=v\nx=0\n"},
        {"with_the_first_line_end", "a=1\n[s]\r\nx=1\r\n", {"set", "f", "s", "k", "v"}, "a=1\n[s]\r\nx=1\r\nk=v\n"},
        {"with_the_line_end_of_the_file", "[a]\r\n[s]", {"append", "f", "s", "k", "v"}, "[a]\r\n[s]\r\nk = v\r\n"},
        {"after_a_last_line_without_an_end", "[a]\nk=1", {"append", "f", "a", "k", "2"}, "[a]\nk=1\nk=2\n"},
        {"section_at_the_end", "[a]\nx=1", {"set", "f", "b", "k", "v"}, "[a]\nx=1\n[b]\nk=v\n"},
        {"section_in_a_cr_lf_file", "[a]\r\nx=1\r\n", {"set", "f", " b ", "k", "v"}, "[a]\r\nx=1\r\n[ b ]\r\nk=v\r\n"},
        {"section_not_ascii", "x=1\n", {"append", "f", "gr\u00fc\u00df", "\u4e2d", "\u00e9"},
            "x=1\n[gr\u00fc\u00df]\n\u4e2d=\u00e9\n"},
        {"to_an_empty_file", "", {"set", "f", "a", "k", "v"}, "[a]\nk = v\n"},
        {"after_the_byte_order_mark", "\xef\xbb\xbf[a]\n", {"set", "f", "", "k", "v"}, "\xef\xbb\xbfk = v\n[a]\n"},
        {"append_after_the_first_group", "k=1\nK=2\nx=0\nk=3\n", {"append", "f", "", "k", "v"},
            "k=1\nK=2\nk=v\nx=0\nk=3\n"},
        {"append_with_markers", "f=a\nx=1\n", {"append", "f", "", "f", "%02d %3"}, "f=a\nf=%02d %3\nx=1\n"},
        {"prepend_before_the_first", "x=0\nk=1\nk=2\n", {"prepend", "f", "", "k", "v"}, "x=0\nk=v\nk=1\nk=2\n"},
        {"prepend_after_the_byte_order_mark", "\xef\xbb\xbfk=1\n", {"prepend", "f", "", "k", "v"},
            "\xef\xbb\xbfk=v\nk=1\n"},
        {"prepend_a_key_that_is_missing", "[a]\nx=0\n\n", {"prepend", "f", "a", "k", "v"}, "[a]\nx=0\nk=v\n\n"},
        {"prepend_to_a_section_that_is_missing", "", {"prepend", "f", "a", "k", "v"}, "[a]\nk = v\n"},
    }),
    rowName);

INSTANTIATE_TEST_SUITE_P(Remove, Edits,
    testing::ValuesIn(Rows{
        {"from_every_section_of_the_name", net, {"remove", "f", "net", "port"},
            "top = 1\n[Net]\n; where it listens\n[net]\n[Empty]\n"},
        {"one_value_everywhere", "k=a\nk=b\nk=A\nk=a\n", {"remove", "f", "", "k", "a"}, "k=b\nk=A\n"},
        {"empty_value", "k=\nk=b\n", {"remove", "f", "", "k", ""}, "k=b\n"},
        {"last_line_without_an_end", "[a]\nk=1\nx=0", {"remove", "f", "a", "x"}, "[a]\nk=1\n"},
        {"line_that_is_not_the_last", "[a]\nk=1\nx=0", {"remove", "f", "a", "k"}, "[a]\nx=0"},
        {"line_with_the_byte_order_mark", "\xef\xbb\xbfk=1\nx=0\n", {"remove", "f", "", "k"}, "\xef\xbb\xbfx=0\n"},
        {"option_last", "k=Qt;KDE\nx=0\n", {"remove", "f", "", "k", "--force"}, "x=0\n"},
        {"value_like_an_option", "k=--force\nk=1\n", {"remove", "f", "", "k", "--", "--force"}, "k=1\n"},
        {"longest_wait", "k=1\n", {"remove", "--wait", "4294967295", "f", "", "k"}, ""},
        {"forced_ambiguous_line", "k=Qt;KDE\nx=0\n", {"remove", "--force", "f", "", "k"}, "x=0\n"},
    }),
    rowName);

INSTANTIATE_TEST_SUITE_P(Value, Refuses,
    testing::ValuesIn(Rows{
        {"line_break", "a=1\nk=1\n", {"set", "f", "", "k", "a\nb"}, "", "f:2: the value contains a line break"},
        {"line_break_with_a_key", "k=1\n", {"append", "f", "", "x", "a\nk=2"}, "",
            "f:2: the value contains a line break"},
        {"semicolon", "k=1\n", {"set", "f", "", "k", "a;b"}, "",
            "f:1: the value contains a ';', which starts a comment"},
        {"semicolon_after_a_blank", "k=1\n", {"set", "f", "", "k", "a ;b"}, "",
            "f:1: the value contains a ';', which starts a comment"},
        {"blank_before", "k=1\n", {"set", "f", "", "k", " a"}, "",
            "f:1: the value starts or ends with a blank, which is lost"},
        {"blank_after", "k=1\n", {"set", "f", "", "k", "a\r"}, "",
            "f:1: the value starts or ends with a blank, which is lost"},
        {"only_blanks", "k=1\n", {"set", "f", "", "k", " "}, "",
            "f:1: the value starts or ends with a blank, which is lost"},
        {"not_utf8", "k=1\n", {"set", "f", "", "k", "a\xff"}, "",
            "f: the argument 'a\xff' contains a character that cannot be represented"},
        {"replacement_character", "[\xff]\nk=1\n", {"remove", "f", "\xef\xbf\xbd", "k"}, "",
            "f: the argument '\xef\xbf\xbd' contains a character that cannot be represented"},
        {"surrogate", "k=1\n", {"set", "f", "", "k", "\xed\xa0\x80"}, "",
            "f: the argument '\xed\xa0\x80' contains a character that cannot be represented"},
    }),
    rowName);

INSTANTIATE_TEST_SUITE_P(Name, Refuses,
    testing::ValuesIn(Rows{
        {"key_with_equals", "", {"set", "f", "", "a=b", "v"}, "", "f:1: the key contains a '=', which ends the key"},
        {"key_with_semicolon", "", {"set", "f", "", "a;b", "v"}, "",
            "f:1: the key contains a ';', which starts a comment"},
        {"key_with_line_break", "", {"set", "f", "", "a\nb", "v"}, "", "f:1: the key contains a line break"},
        {"key_with_blank", "", {"set", "f", "", "a ", "v"}, "",
            "f:1: the key starts or ends with a blank, which is lost"},
        {"key_like_a_header", "", {"set", "f", "", "[a]", "v"}, "",
            "f:1: the key starts with a '[', which starts a header"},
        {"header_from_key_and_value", "", {"set", "f", "", "[a", "v]"}, "",
            "f:1: the key starts with a '[', which starts a header"},
        {"empty_key", "\n", {"set", "f", "", "", "v"}, "", "f: the key is empty"},
        {"section_with_bracket", "x=1\n", {"set", "f", "a]b", "k", "v"}, "",
            "f:2: the section contains a ']', which ends the brackets"},
        {"section_with_semicolon", "", {"set", "f", "a;b", "k", "v"}, "",
            "f:1: the section contains a ';', which starts a comment"},
        {"section_with_line_break", "", {"set", "f", "a\nb", "k", "v"}, "", "f:1: the section contains a line break"},
        {"byte_order_mark_in_a_key", "x=1\n", {"set", "f", "", "\u00a0\xef\xbb\xbfk", "v"}, "",
            "f:2: the key starts or ends with a blank, which is lost"},
    }),
    rowName);

INSTANTIATE_TEST_SUITE_P(File, Refuses,
    testing::ValuesIn(Rows{
        {"ambiguous_value", "a=1\nk=Qt;KDE;\n", {"set", "f", "", "k", "v"}, "", "f:2: " FORCED},
        {"ambiguous_removal", "a=1\nk=Qt;KDE;\n", {"remove", "f", "", "k"}, "", "f:2: " FORCED},
        {"ambiguous_key", "k=;note\nk=1\n", {"set", "f", "", "k", "v"}, "", "f:1: " FORCED},
        {"ambiguous_section", "[s];note\nk=1\n", {"set", "f", "s", "k", "v"}, "", "f:1: " FORCED},
        {"key_after_an_ambiguous_header", "[a]\nx=1\n[s];note\nk=1\n", {"set", "f", "a", "k", "v"}, "", "f:3: " FORCED},
        {"nul_elsewhere", "k=1\nx=\0\n"sv, {"set", "f", "", "k", "v"}, "", "f:2: a NUL byte: not a settings file"},
        {"utf16", "k\0=\0001\0\n\0"sv, {"set", "f", "", "k", "v"}, "", "f:1: a NUL byte: not a settings file"},
        {"value_that_is_not_utf8", "k=1\nx=\xff\n", {"set", "f", "", "x", "v"}, "", "f:2: not valid UTF-8"},
        {"nothing_to_remove", net, {"remove", "f", "net", "host"}, "", "f: [net] has no key host", 1},
        {"no_value_to_remove", net, {"remove", "f", "net", "port", "8"}, "",
            "f: [net] has no key port with the value 8", 1},
    }),
    rowName);

#define SEE "; see zk_settings --help"

INSTANTIATE_TEST_SUITE_P(Usage, Refuses,
    testing::ValuesIn(Rows{
        {"nothing", "", {}, "", "a command is needed" SEE},
        {"no_such_command", "", {"update", "f"}, "", "there is no command 'update'" SEE},
        {"too_few_operands", "", {"set", "f", "s", "k"}, "", "set takes FILE SECTION KEY VALUE" SEE},
        {"too_many_operands", "", {"get", "f", "s", "k", "v"}, "", "get takes FILE SECTION KEY" SEE},
        {"no_such_option", "", {"set", "--set", "f", "s", "k", "v"}, "", "unknown or incomplete option '--set'" SEE},
        {"no_such_letters", "", {"get", "-xy", "f", "s", "k"}, "", "unknown or incomplete option '-xy'" SEE},
        {"option_without_argument", "", {"list", "f", "", "--wait"}, "", "unknown or incomplete option '--wait'" SEE},
        {"option_of_another_command", "", {"get", "--force", "f", "s", "k"}, "", "get does not take --force" SEE},
        {"empty_output", "k=1\n", {"set", "--output", "", "f", "", "k", "v"}, "",
            "--output takes the name of a file" SEE},
        {"no_number", "", {"set", "--wait", "1s", "f", "s", "k", "v"}, "",
            "--wait takes a number of seconds, not '1s'" SEE},
        {"negative_number", "", {"set", "--wait=-1", "f", "s", "k", "v"}, "",
            "--wait takes a number of seconds, not '-1'" SEE},
    }),
    rowName);

TEST(Help, names_every_command_and_status)
{
    const TempDir dir;
    const Finished help = settings(dir.path(), {"set", "--help"});
    EXPECT_EQ(help.status, 0);
    for (const char* const text : {"get FILE SECTION KEY ", "set FILE SECTION KEY VALUE ",
             "append FILE SECTION KEY VALUE ", "prepend FILE SECTION KEY VALUE ", "remove FILE SECTION KEY [VALUE] ",
             "list FILE [SECTION] ", "--output FILE ", "--wait SECONDS ", "--force ", "--create ", "--null ",
             "--version ", "hard links", "Exit status: 0 done"})
        EXPECT_NE(help.out.find(text), std::string::npos) << text;
}

TEST(Version, is_that_of_the_library)
{
    const TempDir dir;
    EXPECT_EQ(settings(dir.path(), {"--version"}).out, "zk_settings " KQSUPPORT_VERSION "\n");
}

} // namespace
