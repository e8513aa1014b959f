#include "inistore/storetest.h"

#include "support/rows.h"

using namespace std::string_literals;

namespace {

// The bytes before the edits and after them.
struct EditRow
{
    const char* name;
    std::string before;
    std::vector<Edit> edits;
    std::string after;
};

class Editing : public StoreTest
{
};

class EditOf : public Editing, public testing::WithParamInterface<EditRow>
{
};

TEST_P(EditOf, changes_these_bytes_alone)
{
    given(GetParam().before);
    for (const Edit& edit : GetParam().edits)
        perform(edit);
    thenFileIs(GetParam().after);
}

TEST_P(EditOf, touches_neither_the_message_nor_the_current_section)
{
    given(GetParam().before);
    const QString unlikely = Text("left by an earlier call");
    store.m_lastError = unlikely;
    store.m_currentSection = 4711;
    for (const Edit& edit : GetParam().edits)
        perform(edit);
    EXPECT_EQ(exactly(store.m_lastError), exactly(unlikely));
    EXPECT_EQ(store.m_currentSection, 4711);
}

INSTANTIATE_TEST_SUITE_P(Append, EditOf,
    testing::ValuesIn(std::vector<EditRow>{
        {"to_an_empty_document", "", {append("net", "Port", "8080")}, "[net]\nPort = 8080\n"},
        {"new_section_goes_to_the_end", "[a]\nk=1\n\n; end\n", {append("b", "k", "2")},
            "[a]\nk=1\n\n; end\n[b]\nk = 2\n"},
        {"new_key_goes_after_trailing_blanks_and_comments", "[a]\nk=1\n\n; about b\n[b]\n", {append("a", "n", "2")},
            "[a]\nk=1\n\n; about b\nn = 2\n[b]\n"},
        {"after_the_first_run_of_the_key", "[s]\nk=1\nk=2\nx=0\nk=3\n", {append("s", "k", "n")},
            "[s]\nk=1\nk=2\nk = n\nx=0\nk=3\n"},
        {"after_a_last_run", "[s]\nx=0\nk=1\nk=2\n[t]\n", {append("s", "k", "n")}, "[s]\nx=0\nk=1\nk=2\nk = n\n[t]\n"},
        {"comment_ends_the_run", "[s]\nk=1\n; c\nk=2\n", {append("s", "k", "n")}, "[s]\nk=1\nk = n\n; c\nk=2\n"},
        {"run_ignores_case", "[s]\nkey=1\nKEY=2\nx=0\n", {append("s", "Key", "n")},
            "[s]\nkey=1\nKEY=2\nKey = n\nx=0\n"},
        {"section_ignores_case_and_keeps_its_header", "[Section]\nk=1\n", {append("SECTION", "K", "2")},
            "[Section]\nk=1\nK = 2\n"},
        {"first_section_of_a_name", "[s]\nx=0\n[s]\nk=1\n", {append("s", "k", "2")}, "[s]\nx=0\nk = 2\n[s]\nk=1\n"},
        {"section_without_lines", "[s]\n[t]\n", {append("s", "k", "1")}, "[s]\nk = 1\n[t]\n"},
        {"empty_section_name_adds_before_the_first_header", "[s]\nk=1\n", {append("", "k", "2")}, "k = 2\n[s]\nk=1\n"},
        {"null_section_name_adds_before_the_first_header", "a=1\n[s]\nk=1\n", {append(null, "k", "2")},
            "a=1\nk = 2\n[s]\nk=1\n"},
        {"empty_key_joins_the_first_run_of_lines_without_one", "[s]\nx=0\n\n; c\ny=0\n\n", {append("s", "", "v")},
            "[s]\nx=0\n\n; c\n = v\ny=0\n\n"},
        {"null_key_is_an_empty_one", "[s]\nx=0\n=1\ny=0\n", {append("s", null, "v")}, "[s]\nx=0\n=1\n = v\ny=0\n"},
        {"null_value_is_an_empty_one", "[s]\n", {append("s", "k", null)}, "[s]\nk = \n"},
        {"twice_to_a_new_section_makes_it_once", "", {append("s", "k", "1"), append("S", "k", "2")},
            "[s]\nk = 1\nk = 2\n"},
        {"joins_a_last_line_without_an_end", "a=1", {append("s", "k", "v")}, "a=1[s]\nk = v\n"},
        {"key_joins_a_last_line_without_an_end", "a=1", {append("", "k", "v")}, "a=1k = v\n"},
        {"cr_lf_file_gains_an_lf_line", "[s]\r\nk=1\r\nx=0\r\n", {append("s", "k", "2")},
            "[s]\r\nk=1\r\nk = 2\nx=0\r\n"},
        {"other_scripts_are_utf8", "", {append("größe", "日本", "😀")}, "[größe]\n日本 = 😀\n"},
        {"spaces_are_kept_in_the_text", "[s]\n", {append("s", " k ", "  v ")}, "[s]\n k  =   v \n"},
        {"key_with_spaces_differs_from_the_trimmed_one", "[s]\nk=1\nx=0\n", {append("s", " k", "v")},
            "[s]\nk=1\nx=0\n k = v\n"},
        {"nothing_is_validated", "", {append("a]\nb", "k;=", "v\n[c]")}, "[a]\nb]\nk;= = v\n[c]\n"},
        {"name_without_the_spaces_of_a_header_is_a_new_section", "[ a ]\n", {append("a", "k", "v")},
            "[ a ]\n[a]\nk = v\n"},
    }),
    rowName);

INSTANTIATE_TEST_SUITE_P(Prepend, EditOf,
    testing::ValuesIn(std::vector<EditRow>{
        {"to_an_empty_document", "", {prepend("net", "Port", "8080")}, "[net]\nPort = 8080\n"},
        {"new_section_goes_to_the_end", "[a]\nk=1\n", {prepend("b", "k", "2")}, "[a]\nk=1\n[b]\nk = 2\n"},
        {"before_the_first_value", "[s]\nk=1\nk=2\nx=0\nk=3\n", {prepend("s", "k", "n")},
            "[s]\nk = n\nk=1\nk=2\nx=0\nk=3\n"},
        {"before_a_first_value_in_the_middle", "[s]\nx=0\n\nK=1\n", {prepend("S", "k", "n")},
            "[s]\nx=0\n\nk = n\nK=1\n"},
        {"new_key_goes_to_the_end_of_the_section", "[s]\nx=0\n\n[t]\n", {prepend("s", "k", "n")},
            "[s]\nx=0\n\nk = n\n[t]\n"},
        {"empty_section_name_adds_before_the_first_header", "[s]\n", {prepend("", "k", "n")}, "k = n\n[s]\n"},
        {"null_key_goes_before_the_first_line_without_one", "[s]\nx=0\n; c\n", {prepend("s", null, "n")},
            "[s]\nx=0\n = n\n; c\n"},
        {"first_section_of_a_name", "[s]\n[s]\nk=1\n", {prepend("s", "k", "n")}, "[s]\nk = n\n[s]\nk=1\n"},
        {"joins_a_last_line_without_an_end", "[s]\nx=0", {prepend("s", "k", "n")}, "[s]\nx=0k = n\n"},
        {"cr_lf_file_gains_an_lf_line", "[s]\r\nk=1\r\n", {prepend("s", "k", "2")}, "[s]\r\nk = 2\nk=1\r\n"},
    }),
    rowName);

INSTANTIATE_TEST_SUITE_P(Update, EditOf,
    testing::ValuesIn(std::vector<EditRow>{
        {"keeps_everything_else_on_the_line", "Name = Old ; note\r\n", {update("", "Name", "New")},
            "Name = New ; note\r\n"},
        {"keeps_spacing_and_tabs", "[s]\n\t k\t=  old  \n", {update("s", "k", "new")}, "[s]\n\t k\t=  new  \n"},
        {"keeps_the_key_in_the_case_of_the_file", "[Sec]\nKeY=1\n", {update("SEC", "kEy", "2")}, "[Sec]\nKeY=2\n"},
        {"keeps_a_missing_line_end", "[s]\nk=1", {update("s", "k", "22")}, "[s]\nk=22"},
        {"of_a_repeated_key_changes_the_first", "[s]\nk=1\nk=2\n", {update("s", "k", "3")}, "[s]\nk=3\nk=2\n"},
        {"of_a_repeated_section_changes_the_first", "[s]\nk=1\n[s]\nk=2\n", {update("s", "k", "3")},
            "[s]\nk=3\n[s]\nk=2\n"},
        {"twice_changes_the_same_value", "k=1\n", {update("", "k", "22"), update("", "k", "3")}, "k=3\n"},
        {"to_nothing_leaves_the_rest", "k = old ; c\n", {update("", "k", "")}, "k =  ; c\n"},
        {"to_null_leaves_the_rest_too", "k = old\n", {update("", "k", null)}, "k = \n"},
        {"of_a_missing_key_appends", "[s]\nx=0\n\n[t]\n", {update("s", "k", "1")}, "[s]\nx=0\n\nk = 1\n[t]\n"},
        {"of_a_missing_section_makes_it_at_the_end", "[s]\nx=0\n", {update("t", "k", "1")}, "[s]\nx=0\n[t]\nk = 1\n"},
        {"key_in_the_second_section_of_a_name_is_not_found", "[s]\nx=0\n[s]\nk=1\n", {update("s", "k", "2")},
            "[s]\nx=0\nk = 2\n[s]\nk=1\n"},
        {"first_occurrence_may_lie_in_the_key", "aa=a\n", {update("", "aa", "b")}, "ba=a\n"},
        {"second_update_looks_for_the_new_value", "aa=a\n", {update("", "aa", "b"), update("", "aa", "c")}, "ca=a\n"},
        {"whole_key_equal_to_the_value_is_replaced", "on=on\n", {update("", "on", "off")}, "off=on\n"},
        {"search_is_by_case", "A=a\n", {update("", "a", "b")}, "A=b\n"},
        {"value_with_an_equals_sign_is_replaced_whole", "k = a b = a b\n", {update("", "k", "x")}, "k = x\n"},
        {"empty_old_value_puts_the_new_one_first", "key=\n", {update("", "key", "x")}, "xkey=\n"},
        {"empty_old_value_puts_it_before_white_space", "  key = ; c\n", {update("", "key", "x")}, "x  key = ; c\n"},
        {"empty_old_value_then_again", "key=\n", {update("", "key", "x"), update("", "key", "y")}, "ykey=\n"},
        {"empty_to_empty_changes_nothing", "key=\n", {update("", "key", "")}, "key=\n"},
        {"value_cut_by_its_comment_keeps_the_cut_character", "key=value;note\n", {update("", "key", "new")},
            "key=newe;note\n"},
        {"value_of_one_character_before_a_comment_is_empty", "k=v;c\n", {update("", "k", "x")}, "xk=v;c\n"},
        {"empty_key_skips_lines_without_an_equals_sign", "[s]\n\nstray\n=1\n", {update("s", "", "2")},
            "[s]\n\nstray\n=2\n"},
        {"empty_key_with_only_blank_lines_appends", "[s]\n\n\n[t]\n", {update("s", "", "v")}, "[s]\n\n\n = v\n[t]\n"},
        {"empty_key_changes_a_comment_with_an_equals_sign", "[s]\n\n; a=b\n=1\n", {update("s", "", "v")},
            "[s]\n\nv; a=b\n=1\n"},
        {"null_key_is_an_empty_one", "=1\n", {update(null, null, "2")}, "=2\n"},
        {"other_script_ignores_case", "GRÖSSE=日\n", {update("", "grösse", "本")}, "GRÖSSE=本\n"},
        {"new_value_is_inserted_unchanged", "k=1\n", {update("", "k", "a;b\n[c]%1%2")}, "k=a;b\n[c]%1%2\n"},
        {"byte_order_mark_of_a_changed_line_is_lost", "\xef\xbb\xbfk=1\nl=2\n", {update("", "k", "3")}, "k=3\nl=2\n"},
        {"byte_order_mark_of_another_line_stays", "\xef\xbb\xbfk=1\nl=2\n", {update("", "l", "3")},
            "\xef\xbb\xbfk=1\nl=3\n"},
        {"only_the_text_before_a_nul_byte_is_kept", "a=1\nk=v\0rest\nb=2\n"s, {update("", "k", "w")}, "a=1\nk=wb=2\n"},
        {"invalid_utf8_of_a_changed_line_is_replaced", "k=1 ; gr\xf6\xdf\n", {update("", "k", "2")},
            "k=2 ; gr\xef\xbf\xbd\xef\xbf\xbd\n"},
        {"invalid_utf8_of_another_line_stays", "; gr\xf6\xdf\nk=1\n", {update("", "k", "2")}, "; gr\xf6\xdf\nk=2\n"},
        {"bare_cr_file_is_one_line", "a=1\rb=2\r", {update("", "a", "9")}, "a=9\r"},
        {"added_line_can_be_changed", "", {append("s", "k", "1"), update("s", "k", "2")}, "[s]\nk = 2\n"},
        {"value_as_passed_is_found_with_its_spaces", "", {append("s", "k", " v "), update("s", "k", "w")},
            "[s]\nk = w\n"},
        {"later_line_is_taken_when_the_first_lacks_its_value", "[s]\n",
            {append("s", "k", "%3"), append("s", "k", "1"), update("s", "k", "2")}, "[s]\nk = \n\nk = 2\n"},
        {"key_is_appended_when_no_line_has_its_value", "[s]\nx=0\n",
            {append("s", "k", "%3"), append("s", "y", "0"), update("s", "k", "2")}, "[s]\nx=0\nk = \n\nk = 2\ny = 0\n"},
    }),
    rowName);

INSTANTIATE_TEST_SUITE_P(RemoveValue, EditOf,
    testing::ValuesIn(std::vector<EditRow>{
        {"takes_the_line_with_its_comment", "[s]\na=1\nk = v ; note\r\nb=2\n", {remove("s", "k", "v")},
            "[s]\na=1\nb=2\n"},
        {"another_value_is_left", "[s]\nk=1\n", {miss("s", "k", "2")}, "[s]\nk=1\n"},
        {"another_key_is_left", "[s]\nk=1\n", {miss("s", "l", "1")}, "[s]\nk=1\n"},
        {"another_section_is_left", "[s]\nk=1\n", {miss("t", "k", "1")}, "[s]\nk=1\n"},
        {"part_of_a_value_is_no_match", "[s]\nk=12\n", {miss("s", "k", "1"), miss("s", "k", "123")}, "[s]\nk=12\n"},
        {"ignores_case_in_all_three", "[Sec]\nKey=Value\n", {remove("sEC", "kEY", "vALUE")}, "[Sec]\n"},
        {"ignores_case_of_other_scripts", "[ÜBER]\nСтрана=ΑΒΓ\n", {remove("über", "СТРАНА", "αβγ")}, "[ÜBER]\n"},
        {"one_line_for_each_call", "k=1\nk=1\n", {remove("", "k", "1")}, "k=1\n"},
        {"repeated_pair_needs_two_calls", "k=1\nk=1\n",
            {remove("", "k", "1"), remove("", "k", "1"), miss("", "k", "1")}, ""},
        {"picks_the_value_among_several", "k=1\nk=2\nk=3\n", {remove("", "k", "2")}, "k=1\nk=3\n"},
        {"looks_into_every_section_of_the_name", "[s]\nk=1\n[t]\nk=2\n[S]\nk=2\n", {remove("s", "k", "2")},
            "[s]\nk=1\n[t]\nk=2\n[S]\n"},
        {"first_section_of_the_name_comes_first", "[s]\nk=1\n[s]\nk=1\n", {remove("s", "k", "1")}, "[s]\n[s]\nk=1\n"},
        {"section_keeps_its_header_when_it_loses_its_last_line", "[s]\nk=1\n[t]\n", {remove("s", "k", "1")},
            "[s]\n[t]\n"},
        {"empty_section_name_is_the_leading_section", "k=1\n[s]\nk=1\n", {remove("", "k", "1")}, "[s]\nk=1\n"},
        {"null_matches_empty_in_all_three", "=\n", {remove(null, null, null)}, ""},
        {"empty_key_and_value_take_the_first_line_without_them", "a=1\n\n; c\n", {remove("", "", "")}, "a=1\n; c\n"},
        {"empty_value_is_not_any_value", "k=1\n", {miss("", "k", "")}, "k=1\n"},
        {"value_is_the_one_without_the_cut_character", "k=value;c\n", {miss("", "k", "value"), remove("", "k", "valu")},
            ""},
        {"value_given_by_an_update", "k=1 ; c\n", {update("", "k", "2"), miss("", "k", "1"), remove("", "k", "2")}, ""},
        {"last_line_without_an_end", "a=1\nk=1", {remove("", "k", "1")}, "a=1\n"},
    }),
    rowName);

// QString::arg() replaces every place marker with the lowest number, including those in earlier arguments.
INSTANTIATE_TEST_SUITE_P(Markers, EditOf,
    testing::ValuesIn(std::vector<EditRow>{
        {"first_in_the_key_becomes_the_value", "", {append("", "%1", "v")}, "v = \n%3"},
        {"second_in_the_key_becomes_the_value_too", "", {append("", "%2", "v")}, "v = v\n"},
        {"third_in_the_key_becomes_the_newline", "", {append("", "%3", "v")}, "\n = v\n"},
        {"ninth_in_the_key_stays", "", {append("", "%9", "v")}, "%9 = v\n"},
        {"all_three_in_the_key", "", {append("", "%1%2%3", "v")}, "v\n%3 = \n%3"},
        {"first_in_the_value_becomes_the_newline", "", {append("", "k", "%1")}, "k = \n%3"},
        {"second_in_the_value_becomes_the_newline", "", {append("", "k", "%2")}, "k = \n%3"},
        {"third_in_the_value_becomes_the_newline", "", {append("", "k", "%3")}, "k = \n\n"},
        {"higher_one_in_the_value_stays", "", {append("", "k", "%4")}, "k = %4\n"},
        {"percent_escapes_in_the_value_stay", "", {append("", "k", "a%20b%99")}, "k = a%20b%99\n"},
        {"zero_in_the_value_becomes_the_newline", "", {append("", "k", "%0")}, "k = \n%3"},
        {"format_in_the_value_becomes_the_newline", "", {append("", "k", "%02d")}, "k = \nd%3"},
        {"percent_signs_without_a_number_stay", "", {append("", "100%", "% %%x")}, "100% = % %%x\n"},
        {"first_in_the_section_becomes_the_newline", "", {append("%1", "k", "v")}, "[\n]%2k = v\n"},
        {"second_in_the_section_becomes_the_newline", "", {append("%2", "k", "v")}, "[\n]\nk = v\n"},
        {"third_in_the_section_stays", "", {append("%3", "k", "v")}, "[%3]\nk = v\n"},
        {"are_replaced_in_a_prepended_line_too", "", {prepend("%2", "%2", "v")}, "[\n]\nv = v\n"},
    }),
    rowName);

class Adding : public Editing
{
};

TEST_F(Adding, ends_every_added_line_with_s_newline)
{
    const WithNewline crlf(Text("\r\n"));
    given("[s]\nk=1\n");
    perform(append("s", "k", "2"));
    perform(prepend("s", "k", "0"));
    perform(update("s", "new", "3"));
    perform(append("t", "k", "4"));
    perform(prepend("u", "k", "5"));
    thenFileIs("[s]\nk = 0\r\nk=1\nk = 2\r\nnew = 3\r\n[t]\r\nk = 4\r\n[u]\r\nk = 5\r\n");
}

TEST_F(Adding, changed_line_keeps_its_line_end)
{
    const WithNewline crlf(Text("\r\n"));
    given("k=1\nl=2");
    perform(update("", "k", "3"));
    perform(update("", "l", "4"));
    thenFileIs("k=3\nl=4");
}

TEST_F(Adding, accepts_a_newline_that_is_empty_or_null)
{
    for (const QString& none : {null, QString(Text(""))}) {
        const WithNewline nothing(none);
        INIStore fresh;
        fresh.AppendKey(Text("s"), Text("k"), Text("v"));
        EXPECT_EQ(documentOf(fresh), "[s]k = v");
    }
}

TEST_F(Adding, replaces_no_marker_in_the_newline)
{
    // It is the last argument, so no marker is replaced after it.
    const WithNewline markers(Text("%1%2%3\n"));
    perform(append("s", "k", "v"));
    thenFileIs("[s]%1%2%3\nk = v%1%2%3\n");
}

TEST_F(Adding, never_changes_the_newline)
{
    perform(append("s", "k\r\n", "v\r\n"));
    EXPECT_EQ(exactly(INIStore::s_newline), exactly(Text("\n")));
}

TEST_F(Adding, keeps_key_and_value_exactly_as_passed)
{
    given("[s]\n");
    perform(append("s", " Key ", "\tvalue;x "));
    thenLineIs(1, 0, Text(" Key "), Text("\tvalue;x "), " Key  = \tvalue;x \n");
    thenValuesAre("s", " kEY ", {"\tvalue;x "});
    thenValuesAre("s", "Key", {});
}

TEST_F(Adding, keeps_null_and_empty_apart_as_passed)
{
    perform(append(null, null, null));
    perform(append("", "", ""));
    thenLineIs(0, 0, null, null, " = \n");
    thenLineIs(0, 1, Text(""), Text(""), " = \n");
}

TEST_F(Adding, keeps_markers_in_the_texts_as_passed)
{
    perform(append("%1", "%1", "%2"));
    thenSectionIs(1, Text("%1"), "[\n]%2", 1);
    // "%1 = %2%3" becomes "%1 = %2%3", then "%2 = %2%3", then "\n = \n%3".
    thenLineIs(1, 0, Text("%1"), Text("%2"), "\n = \n%3");
}

TEST_F(Adding, names_a_new_section_exactly_as_passed)
{
    perform(append(" New ", "k", "v"));
    perform(prepend("Other", "k", "v"));
    perform(update("Third", "k", "v"));
    thenSectionIs(1, Text(" New "), "[ New ]\n", 1);
    thenSectionIs(2, Text("Other"), "[Other]\n", 1);
    thenSectionIs(3, Text("Third"), "[Third]\n", 1);
    thenSectionIs(0, null, "", 0);
}

TEST_F(Adding, key_with_spaces_reads_back_trimmed)
{
    perform(append("s", " k ", " v "));
    thenFileIs("[s]\n k  =  v \n");
    INIStore reloaded;
    ASSERT_TRUE(reloaded.Open(toPath(dir / "written.ini")));
    EXPECT_EQ(exactly(reloaded.m_sections[1].m_lines[0].m_key), exactly(Text("k")));
    EXPECT_EQ(exactly(reloaded.m_sections[1].m_lines[0].m_value), exactly(Text("v")));
}

TEST_F(Adding, text_with_line_breaks_reads_back_by_the_rules_of_loading)
{
    perform(append("s", "k", "1\n[t]\nl=2"));
    thenFileIs("[s]\nk = 1\n[t]\nl=2\n");
    INIStore reloaded;
    ASSERT_TRUE(reloaded.Open(toPath(dir / "written.ini")));
    EXPECT_EQ(reloaded.GetValues(Text("t"), Text("l")), toList({"2"}));
}

TEST_F(Adding, nul_character_goes_into_the_bytes)
{
    perform(append("", "k", "a\0b"s));
    thenLineIs(0, 0, Text("k"), Text("a\0b"s), "k = a\0b\n"s);
}

class Values : public Editing
{
};

TEST_F(Values, are_in_call_order_after_appends)
{
    perform(append("s", "k", "1"));
    perform(append("s", "k", "2"));
    thenValuesAre("s", "k", {"1", "2"});
}

TEST_F(Values, are_in_reverse_call_order_after_prepends)
{
    perform(prepend("s", "k", "1"));
    perform(prepend("s", "k", "2"));
    thenValuesAre("s", "k", {"2", "1"});
}

TEST_F(Values, are_all_removed_by_one_call_for_each)
{
    given("[s]\nk=1\nx=0\nK=2\nk=1\n");
    for (const QString& value : store.GetValues(Text("s"), Text("k")))
        perform(remove("s", "k", value));
    thenValuesAre("s", "k", {});
    thenFileIs("[s]\nx=0\n");
}

class Updating : public Editing
{
};

TEST_F(Updating, sets_the_value_and_keeps_the_key)
{
    given("KeY = old ; c\n");
    perform(update("", "key", "new"));
    thenLineIs(0, 0, Text("KeY"), Text("new"), "KeY = new ; c\n");
}

TEST_F(Updating, sets_the_value_even_if_it_replaced_another_text)
{
    given("aa=a\nkey=\n");
    perform(update("", "aa", "b"));
    perform(update("", "key", "x"));
    thenLineIs(0, 0, Text("aa"), Text("b"), "ba=a\n");
    thenLineIs(0, 1, Text("key"), Text("x"), "xkey=\n");
}

TEST_F(Updating, sets_null_and_empty_as_passed)
{
    given("a=1\nb=1\n");
    perform(update("", "a", null));
    perform(update("", "b", ""));
    thenLineIs(0, 0, Text("a"), null, "a=\n");
    thenLineIs(0, 1, Text("b"), Text(""), "b=\n");
}

TEST_F(Updating, sets_the_value_of_a_comment_and_keeps_its_key_null)
{
    given("; a=b\n");
    perform(update("", "", "v"));
    thenLineIs(0, 0, null, Text("v"), "v; a=b\n");
}

TEST_F(Updating, keeps_a_value_with_spaces_as_passed)
{
    given("k=1\n");
    perform(update("", "k", " 2 ; x"));
    thenLineIs(0, 0, Text("k"), Text(" 2 ; x"), "k= 2 ; x\n");
    thenValuesAre("", "k", {" 2 ; x"});
}

TEST_F(Updating, replaces_half_a_surrogate_pair_that_the_comment_left)
{
    // The low half is left. UTF-8 cannot encode it: what is written is up to Qt.
    given("k=😀;c\n");
    perform(update("", "k", "x"));
    thenLineIs(0, 0, Text("k"), Text("x"), "k=x" + QString(QChar(0xde00)).toStdString() + ";c\n");
}

TEST_F(Updating, an_empty_value_is_set_through_the_record)
{
    given("[s]\nkey = ; note\r\n");
    INILine& line = store.m_sections[1].m_lines[0];
    line.m_raw.insert(line.m_raw.indexOf('=') + 1, "x");
    line.m_value = Text("x");
    thenFileIs("[s]\nkey =x ; note\r\n");
    INIStore fresh;
    ASSERT_TRUE(fresh.Open(toPath(dir / "written.ini")));
    EXPECT_EQ(fresh.GetValues(Text("s"), Text("key")), toList({"x"}));
}

TEST_F(Editing, text_with_markers_is_added_through_the_record)
{
    given("[s]\n");
    const QString key = Text("%L1");
    const QString value = Text("%02d %2");
    const QString text = key + QLatin1String(" = ") + value + INIStore::s_newline;
    store.m_sections[store.GetSection(Text("s"))].m_lines.append(INILine(key, value, text.toUtf8()));
    thenFileIs("[s]\n%L1 = %02d %2\n");
}

TEST_F(Updating, skips_a_line_with_the_value_after_a_nul)
{
    perform(append("", "k", "a\0b"s));
    perform(append("", "k", "1"));
    perform(update("", "k", "2"));
    thenLineIs(0, 0, Text("k"), Text("a\0b"s), "k = a\0b\n"s);
    thenLineIs(0, 1, Text("k"), Text("2"), "k = 2\n");
}

TEST_F(Updating, skips_a_line_with_the_equals_sign_after_a_nul)
{
    perform(append("", "k\0"s, "1"));
    perform(update("", "k\0"s, "2"));
    thenLineIs(0, 0, Text("k\0"s), Text("1"), "k\0 = 1\n"s);
    thenLineIs(0, 1, Text("k\0"s), Text("2"), "k\0 = 2\n"s);
}

TEST_F(Updating, drops_everything_from_the_nul_on)
{
    given("k=v\0rest\n"s);
    perform(update("", "k", "w"));
    thenLineIs(0, 0, Text("k"), Text("w"), "k=w");
}

TEST_F(Updating, replaces_a_second_equals_sign_with_the_value)
{
    given("k=a=b\n");
    perform(update("", "k", "c"));
    thenLineIs(0, 0, Text("k"), Text("c"), "k=c\n");
}

TEST_F(Updating, replaces_the_separator_if_the_value_is_an_equals_sign)
{
    given("==\n");
    perform(update("", "", "x"));
    thenLineIs(0, 0, Text(""), Text("x"), "x=\n");
}

TEST_F(Updating, skips_a_line_without_an_equals_sign_in_its_bytes)
{
    // Clients may set the fields themselves.
    store.m_sections[0].m_lines.append(INILine(Text("k"), Text("v"), "k:v\n"));
    perform(update("", "k", "w"));
    thenLineIs(0, 0, Text("k"), Text("v"), "k:v\n");
    thenLineIs(0, 1, Text("k"), Text("w"), "k = w\n");
}

TEST_F(Updating, arguments_may_be_references_into_the_store)
{
    given("[s]\nk=old\nl=new\n");
    const INILine& first = store.m_sections.at(1).m_lines.at(0);
    const INILine& second = store.m_sections.at(1).m_lines.at(1);
    store.UpdateKey(store.m_sections.at(1).m_name, first.m_key, second.m_value);
    thenFileIs("[s]\nk=new\nl=new\n");
}

TEST_F(Editing, removal_arguments_may_be_references_into_the_removed_line)
{
    given("[s]\nk=v\nl=w\n");
    const INILine& line = store.m_sections.at(1).m_lines.at(0);
    EXPECT_TRUE(store.RemoveKeyValue(store.m_sections.at(1).m_name, line.m_key, line.m_value));
    thenFileIs("[s]\nl=w\n");
}

TEST_F(Editing, append_arguments_may_be_references_into_the_growing_section)
{
    given("[s]\nk=v\n");
    // Each call may move the lines, so each passes the texts anew.
    const auto section = [&]() -> const INISection& { return store.m_sections.at(1); };
    for (int i = 0; i < 40; ++i) {
        store.AppendKey(section().m_name, section().m_lines.at(0).m_key, section().m_lines.at(0).m_value);
        store.PrependKey(section().m_name, section().m_lines.at(0).m_key, section().m_lines.at(0).m_value);
    }
    EXPECT_EQ(store.GetValues(Text("s"), Text("k")), QStringList(81, Text("v")));
}

TEST_F(Editing, append_arguments_may_be_references_into_the_growing_document)
{
    given("[0]\nk=v\n");
    // Each call adds a section, which may move those before it and their names.
    for (int i = 1; i < 40; ++i) {
        const INISection& last = store.m_sections.constLast();
        store.AppendKey(QString::number(i), last.m_name, last.m_lines.constFirst().m_value);
        const std::string key = std::to_string(i - 1);
        thenLineIs(i + 1, 0, Text(key), Text("v"), key + " = v\n");
    }
}

TEST_F(Editing, touches_no_file)
{
    given("[s]\nk=1\n");
    perform(update("s", "k", "2"));
    perform(append("t", "k", "3"));
    EXPECT_EQ(readFile(dir / "given.ini"), "[s]\nk=1\n");
}

TEST_F(Editing, copy_of_the_sections_is_not_changed_with_them)
{
    given("[s]\nk=1\n");
    const QList<INISection> before = store.m_sections;
    perform(update("s", "k", "2"));
    perform(append("s", "l", "3"));
    EXPECT_EQ(before.at(1).m_lines.size(), 1);
    EXPECT_EQ(before.at(1).m_lines.at(0).m_raw, QByteArray("k=1\n"));
    EXPECT_EQ(exactly(before.at(1).m_lines.at(0).m_value), exactly(Text("1")));
}

} // namespace
