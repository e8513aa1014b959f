#include "support/files.h"
#include "support/process.h"
#include "support/rows.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

namespace {

const std::string settings = "<settings>\n"
                             "  <name lang=\"de\">Anna &amp; Bo</name>\n"
                             "  <empty v=\"\"/>\n"
                             "  <list><item>1</item><item>2</item></list>\n"
                             "</settings>\n";

const std::string declaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";

/// `settings` as Qt writes a document, with these items in the list and this line for <empty>.
std::string edited(const std::string& items, const std::string& empty = "<empty v=\"\"/>")
{
    return declaration +
           "<settings>\n"
           "  <name lang=\"de\">Anna &amp; Bo</name>\n"
           "  " +
           empty + "\n  <list>\n" + items + "  </list>\n</settings>\n";
}

class Program : public testing::Test
{
protected:
    Program() { writeFile(file, settings); }

    static Finished start(std::vector<std::string> arguments, const std::string& input = {})
    {
        arguments.insert(arguments.begin(), ZK_XML);
        Start how;
        how.input = input;
        return run(arguments, how);
    }

    const TempDir dir;
    const std::string file = dir / "settings.xml";
};

struct Shown
{
    const char* name;
    std::vector<std::string> arguments;
    std::string out;
};

class Show : public Program, public testing::WithParamInterface<Shown>
{
};

TEST_P(Show, from_a_file_and_from_standard_input)
{
    std::vector<std::string> arguments = GetParam().arguments;
    for (const std::string& from : {file, std::string("-")}) {
        arguments.insert(arguments.begin(), from);
        const Finished finished = start(arguments, from == "-" ? settings : "");
        EXPECT_EQ(finished.out, GetParam().out);
        EXPECT_EQ(finished.err, "");
        EXPECT_EQ(finished.status, 0);
        arguments.erase(arguments.begin());
    }
    EXPECT_EQ(readFile(file), settings);
}

INSTANTIATE_TEST_SUITE_P(ZkXml, Show,
    testing::Values( //
        Shown{"element_is_the_default", {"item"}, "<item>1</item>\n"},
        Shown{"element", {"item", "--element"}, "<item>1</item>\n"},
        Shown{"content", {"list", "--content"}, "<item>1</item><item>2</item>\n"},
        Shown{"content_as_written", {"name", "--content"}, "Anna &amp; Bo\n"},
        Shown{"text", {"name", "--text"}, "Anna & Bo\n"}, //
        Shown{"empty_text", {"empty", "--text"}, "\n"},   //
        Shown{"texts", {"item", "--texts"}, "1\n2\n"},    //
        Shown{"attribute", {"name", "--attribute", "lang"}, "de\n"},
        Shown{"empty_attribute", {"--attribute", "v", "empty"}, "\n"},
        Shown{"set_text", {"empty", "--set-text", "<new"},
            edited("    <item>1</item>\n    <item>2</item>\n", "<empty v=\"\">&lt;new</empty>")},
        Shown{"insert_before", {"item", "--insert-before", "item=0"},
            edited("    <item>0</item>\n    <item>1</item>\n    <item>2</item>\n")},
        Shown{"insert_after", {"item", "--insert-after", "item=a=b"},
            edited("    <item>1</item>\n    <item>a=b</item>\n    <item>2</item>\n")}),
    rowName);

struct Refused
{
    const char* name;
    std::vector<std::string> arguments;
    int status;
    const char* message; ///< with {} for the path of the settings file
};

class Refuse : public Program, public testing::WithParamInterface<Refused>
{
protected:
    std::string withPath(std::string text) const
    {
        const std::size_t at = text.find("{}");
        return at == std::string::npos ? text : text.replace(at, 2, file);
    }
};

TEST_P(Refuse, with_a_message_and_no_output)
{
    std::vector<std::string> arguments;
    for (const std::string& argument : GetParam().arguments)
        arguments.push_back(withPath(argument));
    const Finished finished = start(arguments, "no xml");
    EXPECT_EQ(finished.status, GetParam().status);
    EXPECT_EQ(finished.out, "");
    EXPECT_EQ(finished.err, "zk_xml: " + withPath(GetParam().message) + "\n");
    EXPECT_EQ(readFile(file), settings);
}

INSTANTIATE_TEST_SUITE_P(ZkXml, Refuse,
    testing::Values( //
        Refused{"absent_element", {"{}", "no"}, 1, "{}: no element no"},
        Refused{"absent_content", {"{}", "no", "--content"}, 1, "{}: no element no"},
        Refused{"absent_text", {"{}", "no", "--text"}, 1, "{}: no element no"},
        Refused{"absent_texts", {"{}", "no", "--texts"}, 1, "{}: no element no"},
        Refused{"absent_for_an_attribute", {"{}", "no", "--attribute", "v"}, 1, "{}: no element no"},
        Refused{"absent_for_an_edit", {"{}", "no", "--set-text", "t"}, 1, "{}: no element no"},
        Refused{"root_is_not_below_itself", {"{}", "settings", "--text"}, 1, "{}: no element settings"},
        Refused{"absent_attribute", {"{}", "name", "--attribute", "w"}, 1, "{}: element name has no attribute w"},
        Refused{"no_text_to_replace", {"{}", "list", "--set-text", "t"}, 1, "{}: element list has no text to replace"},
        Refused{"not_xml", {"-", "item"}, 2, "-:1:1: Start tag expected."},
        Refused{"not_xml_for_the_tree", {"-", "item", "--text"}, 2, "-:1:1: Start tag expected."},
        Refused{"absent_file", {"{}.absent", "item"}, 2, "{}.absent: cannot read: No such file or directory"},
        Refused{"no_arguments", {}, 2, "give a FILE, a TAG and at most one option; see zk_xml --help"},
        Refused{"no_tag", {"{}"}, 2, "give a FILE, a TAG and at most one option; see zk_xml --help"},
        Refused{"three_arguments", {"{}", "item", "item"}, 2,
            "give a FILE, a TAG and at most one option; see zk_xml --help"},
        Refused{"empty_tag", {"{}", ""}, 2, "give a FILE, a TAG and at most one option; see zk_xml --help"},
        Refused{"two_options", {"{}", "item", "--text", "--texts"}, 2,
            "give a FILE, a TAG and at most one option; see zk_xml --help"},
        Refused{"insertion_without_text", {"{}", "item", "--insert-after", "t"}, 2,
            "give the new element as name=text; see zk_xml --help"},
        Refused{"insertion_without_name", {"{}", "item", "--insert-before", "=t"}, 2,
            "give the new element as name=text; see zk_xml --help"},
        Refused{"unknown_option", {"{}", "item", "--nope"}, 2, "Unknown option 'nope'. See zk_xml --help."}),
    rowName);

/// What the two forms of extraction print; null where the program refuses.
struct Extracted
{
    const char* name;
    std::string xml;
    const char* element;
    const char* content;
};

class Extract : public Program, public testing::WithParamInterface<Extracted>
{
protected:
    static void expect(const char* option, const char* tag, const char* bytes)
    {
        const Finished finished = start({"-", "k", option}, GetParam().xml);
        EXPECT_EQ(finished.out, bytes ? std::string(bytes) + "\n" : "");
        EXPECT_EQ(finished.err, bytes
                                    ? ""
                                    : "zk_xml: -: cannot extract element k: its " + std::string(tag) +
                                          " tag has more than the name, or a character before its end is not ASCII\n");
        EXPECT_EQ(finished.status, bytes ? 0 : 2);
    }
};

TEST_P(Extract, exact_bytes_or_nothing)
{
    expect("--element", "start", GetParam().element);
    expect("--content", "end", GetParam().content);
}

INSTANTIATE_TEST_SUITE_P(ZkXml, Extract,
    testing::Values( //
        Extracted{"plain", "<r><k>1</k></r>", "<k>1</k>", "1"}, Extracted{"root", "<k>1</k>", "<k>1</k>", "1"},
        Extracted{"attribute", "<r><k a=\"1\">v</k></r>", nullptr, "v"},
        Extracted{"blank_in_the_start_tag", "<r><k >v</k></r>", nullptr, "v"},
        Extracted{"blank_in_the_end_tag", "<r><k>v</k ></r>", "<k>v</k >", nullptr},
        Extracted{"prefix", "<r xmlns:x='u'><x:k>v</x:k></r>", nullptr, nullptr},
        Extracted{"self_closing", "<r><k/></r>", nullptr, nullptr},
        Extracted{"self_closing_with_a_blank", "<r><k /></r>", nullptr, nullptr},
        Extracted{"self_closing_root", "<k/>", nullptr, nullptr},
        Extracted{"self_closing_before_the_end_of_the_ascii_bytes", "<r><k/>text\xc3\xa9</r>", nullptr, nullptr},
        Extracted{"not_ascii_before", "<r>\xc3\xa9<k>1</k></r>", nullptr, nullptr},
        Extracted{"not_ascii_inside", "<r><k>\xc3\xa9</k></r>", nullptr, nullptr},
        Extracted{"not_ascii_after", "<r><k>1</k>\xc3\xa9</r>", "<k>1</k>", "1"},
        Extracted{"byte_order_mark", "\xef\xbb\xbf<r><k>1</k></r>", nullptr, nullptr},
        // The counted position is nine bytes too early, where the comment has an element k, too.
        Extracted{
            "shift_onto_a_comment", "<r><!--<k>1</k>-->\xe2\x82\xac\xe2\x82\xac\xc3\xa9<k>2</k></r>", nullptr, nullptr},
        Extracted{"malformed_after_it", "<r><k>1</k><junk", "<k>1</k>", "1"}),
    rowName);

/// What an edit of this document prints after the XML declaration; null where the program refuses.
struct Edited
{
    const char* name;
    const char* xml;
    const char* option;
    const char* value;
    const char* out;
};

class Edit : public testing::TestWithParam<std::tuple<const char*, Edited>>
{
};

TEST_P(Edit, stores_all_of_the_value_or_refuses)
{
    const auto& [policy, row] = GetParam();
    Start how;
    how.input = row.xml;
    how.environment = {std::string("INVALID_DATA_POLICY=") + policy};
    const Finished finished = run({ZK_XML_WITH_POLICY, "-", "k", row.option, row.value}, how);
    EXPECT_EQ(finished.out, row.out ? declaration + row.out + "\n" : "");
    EXPECT_EQ(finished.status, row.out ? 0 : 2);
    if (!row.out) {
        const std::string message = "zk_xml: -: the document cannot be written with '";
        EXPECT_NE(finished.err.find(message), std::string::npos) << finished.err;
    }
}

INSTANTIATE_TEST_SUITE_P(ZkXml, Edit,
    testing::Combine(testing::Values("default", "accept", "drop", "return_null"),
        testing::Values( //
            Edited{"markup_in_a_name", "<r><k/></r>", "--insert-after", "a<b=1", nullptr},
            Edited{"markup_in_a_name_before", "<r><k/></r>", "--insert-before", "a<b=1", nullptr},
            Edited{"digit_before_a_name", "<r><k/></r>", "--insert-after", "1a=1", nullptr},
            Edited{"blank_after_a_name", "<r><k/></r>", "--insert-after", "a =1", nullptr},
            Edited{"name_of_invalid_characters", "<r><k/></r>", "--insert-after", "<<=1", nullptr},
            Edited{"control_character_in_a_new_element", "<r><k/></r>", "--insert-after", "t=a\x01z", nullptr},
            Edited{"control_character_alone", "<r><k/></r>", "--insert-after", "t=\x01", nullptr},
            Edited{"control_character_in_a_new_text", "<r><k/></r>", "--set-text", "a\x01z", nullptr},
            Edited{"control_character_in_a_replaced_text", "<r><k>old</k></r>", "--set-text", "a\x01z", nullptr},
            Edited{"end_of_cdata", "<r><k><![CDATA[old]]></k></r>", "--set-text", "]]><![CDATA[", nullptr},
            Edited{"value_that_is_not_utf8", "<r><k/></r>", "--set-text", "a\xff", nullptr},
            Edited{"end_of_cdata_as_text", "<r><k>old</k></r>", "--set-text", "]]>", "<r>\n  <k>]]&gt;</k>\n</r>"},
            Edited{"line_ends", "<r><k>old</k></r>", "--set-text", "a\r\nb", "<r>\n  <k>a&#xd;\nb</k>\n</r>"},
            Edited{"declared_encoding", "<?xml version='1.0' encoding='ISO-8859-1'?>\n<r><k/>\xe9</r>", "--set-text",
                "x", "<r>\n  <k>x</k>\xc3\xa9</r>"},
            Edited{"empty_text", "<r><k>old</k></r>", "--set-text", "", "<r>\n  <k></k>\n</r>"},
            Edited{"empty_new_element", "<r><k/></r>", "--insert-after", "t=", "<r>\n  <k/>\n  <t></t>\n</r>"},
            Edited{"not_ascii", "<r><k/></r>", "--insert-after",
                "gr\xc3\xb6\xc3\x9f"
                "e=\xe2\x82\xac",
                "<r>\n  <k/>\n  <gr\xc3\xb6\xc3\x9f"
                "e>\xe2\x82\xac</gr\xc3\xb6\xc3\x9f"
                "e>\n</r>"})),
    [](const auto& row) { return std::string(std::get<0>(row.param)) + '_' + std::get<1>(row.param).name; });

TEST_F(Program, names_an_undeclared_prefix_that_ends_the_extraction)
{
    const Finished finished = start({"-", "k"}, "<r><x:a/><k>1</k></r>");
    EXPECT_EQ(finished.status, 2);
    EXPECT_EQ(finished.out, "");
    EXPECT_NE(finished.err.find("Namespace prefix 'x' not declared"), std::string::npos) << finished.err;
}

TEST_F(Program, reports_a_full_standard_output)
{
    const Finished finished = run({"sh", "-c", "\"$0\" \"$1\" item >/dev/full", ZK_XML, file});
    EXPECT_EQ(finished.status, 2);
    EXPECT_EQ(finished.err, "zk_xml: standard output: cannot write: No space left on device\n");
}

TEST_F(Program, shows_its_help)
{
    for (const char* const option : {"--help", "-h"}) {
        const Finished finished = start({option});
        EXPECT_EQ(finished.status, 0);
        EXPECT_EQ(finished.err, "");
        for (const char* const part : {"FILE", "TAG", "--element", "--content", "--text", "--texts", "--attribute",
                 "--set-text", "--insert-before", "--insert-after", "Exit status"})
            EXPECT_NE(finished.out.find(part), std::string::npos) << part;
    }
}

} // namespace
