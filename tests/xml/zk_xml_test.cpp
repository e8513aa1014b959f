// Runs the example program.
#include "support/files.h"
#include "support/process.h"
#include "support/rows.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

const std::string settings = "<settings>\n"
                             "  <name lang=\"de\">Anna &amp; Bo</name>\n"
                             "  <empty v=\"\"/>\n"
                             "  <list><item>1</item><item>2</item></list>\n"
                             "</settings>\n";

/// `settings` as Qt writes a document, with this line for <empty> and these items in the list.
std::string edited(const std::string& empty, const std::string& items)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
           "<settings>\n"
           "  <name lang=\"de\">Anna &amp; Bo</name>\n" +
           empty + "  <list>\n" + items + "  </list>\n</settings>\n";
}

class ZkXml : public testing::Test
{
protected:
    ZkXml() { writeFile(file, settings); }

    Finished start(std::vector<std::string> arguments) const
    {
        arguments.insert(arguments.begin(), {ZK_XML, file});
        return run(arguments);
    }

    const TempDir dir;
    const std::string file = dir / "settings.xml";
};

struct PrintedRow
{
    const char* name;
    std::vector<std::string> arguments;
    std::string out;
};

class Printed : public ZkXml, public testing::WithParamInterface<PrintedRow>
{
};

TEST_P(Printed, part_or_edited_document)
{
    const Finished finished = start(GetParam().arguments);
    EXPECT_EQ(finished.out, GetParam().out);
    EXPECT_EQ(finished.err, "");
    EXPECT_EQ(finished.status, 0);
    EXPECT_EQ(readFile(file), settings);
}

const std::string emptyItself = "  <empty v=\"\"/>\n";
const std::string bothItems = "    <item>1</item>\n    <item>2</item>\n";

INSTANTIATE_TEST_SUITE_P(Program, Printed,
    testing::Values(                                        //
        PrintedRow{"texts", {"texts", "item"}, "1\n2\n"},   //
        PrintedRow{"empty_text", {"texts", "empty"}, "\n"}, //
        PrintedRow{"attribute", {"attribute", "name", "lang"}, "de\n"},
        PrintedRow{"empty_attribute", {"attribute", "empty", "v"}, "\n"},
        PrintedRow{"extract", {"extract", "list"}, "<list><item>1</item><item>2</item></list>\n"},
        PrintedRow{"set", {"set", "empty", "<new"}, edited("  <empty v=\"\">&lt;new</empty>\n", bothItems)},
        PrintedRow{
            "set_to_nothing", {"set", "item", ""}, edited(emptyItself, "    <item></item>\n    <item>2</item>\n")},
        PrintedRow{"set_in_other_scripts", {"set", "item", "gr\xc3\xbcn \xe2\x82\xac"},
            edited(emptyItself, "    <item>gr\xc3\xbcn \xe2\x82\xac</item>\n    <item>2</item>\n")},
        PrintedRow{"insert", {"insert", "item", "item", "a=b"},
            edited(emptyItself, "    <item>1</item>\n    <item>a=b</item>\n    <item>2</item>\n")},
        PrintedRow{"insert_without_text", {"insert", "item", "new", ""},
            edited(emptyItself, "    <item>1</item>\n    <new></new>\n    <item>2</item>\n")}),
    rowName);

struct RefusedRow
{
    const char* name;
    std::vector<std::string> arguments;
    std::string message;
};

class Refused : public ZkXml, public testing::WithParamInterface<RefusedRow>
{
};

TEST_P(Refused, with_a_message_and_no_output)
{
    const Finished finished = start(GetParam().arguments);
    EXPECT_EQ(finished.out, "");
    EXPECT_NE(finished.err.find("zk_xml: " + GetParam().message + '\n'), std::string::npos) << finished.err;
    EXPECT_EQ(finished.status, 1);
}

// Qt warns of a name that XML forbids, before or after the message.
INSTANTIATE_TEST_SUITE_P(Program, Refused,
    testing::Values( //
        RefusedRow{"absent_texts", {"texts", "no"}, "no element no below the root"},
        RefusedRow{"root_is_not_below_itself", {"texts", "settings"}, "no element settings below the root"},
        RefusedRow{"absent_element_for_an_attribute", {"attribute", "no", "v"}, "no element no below the root"},
        RefusedRow{"absent_attribute", {"attribute", "name", "w"}, "no attribute w"},
        RefusedRow{"absent_element_for_an_edit", {"set", "no", "t"}, "no element no below the root"},
        RefusedRow{"set_beside_other_elements", {"set", "list", "t"}, "cannot store an element list with the text 't'"},
        RefusedRow{
            "set_to_a_control_character", {"set", "item", "\x01"}, "cannot store an element item with the text '\x01'"},
        RefusedRow{"insert_of_markup_as_a_name", {"insert", "item", "a<b", "1"},
            "cannot store an element a<b with the text '1'"},
        RefusedRow{"insert_of_a_control_character", {"insert", "item", "t", "a\x01z"},
            "cannot store an element t with the text 'a\x01z'"},
        RefusedRow{"no_arguments", {}, "give one of"}, //
        RefusedRow{"no_tag", {"texts"}, "give one of"},
        RefusedRow{"one_argument_too_many", {"set", "name", "two", "words"}, "give one of"},
        RefusedRow{"unknown_action", {"show", "item"}, "give one of"}),
    rowName);

TEST_F(ZkXml, names_the_line_that_is_not_xml)
{
    writeFile(file, "<r>\n<k>\n</r>\n");
    const Finished finished = start({"texts", "k"});
    EXPECT_EQ(finished.status, 1);
    EXPECT_EQ(finished.out, "");
    EXPECT_EQ(finished.err.rfind("zk_xml: line 3: ", 0), 0U) << finished.err;
}

TEST_F(ZkXml, converts_a_document_in_another_encoding)
{
    writeFile(file, "<?xml version='1.0' encoding='ISO-8859-1'?>\n<r><k/>\xe9</r>");
    const Finished finished = start({"set", "k", "x"});
    EXPECT_EQ(finished.out, "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<r>\n  <k>x</k>\xc3\xa9</r>\n");
    EXPECT_EQ(finished.status, 0);
}

TEST_F(ZkXml, reports_an_absent_file)
{
    const Finished finished = run({ZK_XML, dir / "no.xml", "texts", "k"});
    EXPECT_EQ(finished.err, "zk_xml: " + dir / "no.xml" + ": No such file or directory\n");
    EXPECT_EQ(finished.status, 1);
}

TEST_F(ZkXml, reports_a_full_standard_output)
{
    const Finished finished = run({"sh", "-c", "\"$0\" \"$1\" texts item >/dev/full", ZK_XML, file});
    EXPECT_EQ(finished.err, "zk_xml: cannot write to standard output\n");
    EXPECT_EQ(finished.status, 1);
}

/// A document and the bytes of its element k; null if the program refuses to extract it.
struct ExtractedRow
{
    const char* name;
    std::string xml;
    const char* element;
};

class Extracted : public ZkXml, public testing::WithParamInterface<ExtractedRow>
{
};

TEST_P(Extracted, exact_bytes_or_nothing)
{
    writeFile(file, GetParam().xml);
    const char* const element = GetParam().element;
    const Finished finished = start({"extract", "k"});
    EXPECT_EQ(finished.out, element ? std::string(element) + "\n" : "");
    EXPECT_EQ(finished.err, element ? "" : "zk_xml: no <k> without attributes in well-formed ASCII\n");
    EXPECT_EQ(finished.status, element ? 0 : 1);
}

// In UTF-7, +AOkA6QDpAOkA6QDpAOkA6QDp- is nine characters. The position is then 18 bytes too early: in the comment.
std::string decoy(const std::string& encoding)
{
    return "<?xml version=\"1.0\" encoding=\"" + encoding +
           "\"?><r>+AOkA6QDpAOkA6QDpAOkA6QDp-<!--<k>evil</k>   --><k>good</k></r>";
}

INSTANTIATE_TEST_SUITE_P(Program, Extracted,
    testing::Values( //
        ExtractedRow{"root", "<k>1</k>", "<k>1</k>"}, ExtractedRow{"attribute", "<r><k a=\"1\">v</k></r>", nullptr},
        ExtractedRow{"prefix", "<r xmlns:x='u'><x:k>v</x:k></r>", nullptr},
        ExtractedRow{"self_closing", "<r><k/></r>", nullptr}, ExtractedRow{"absent", "<r/>", nullptr},
        ExtractedRow{"not_xml", "k", nullptr}, ExtractedRow{"not_ascii_before", "<r>\xc3\xa9<k>1</k></r>", nullptr},
        ExtractedRow{"not_ascii_inside", "<r><k>\xc3\xa9</k></r>", nullptr},
        ExtractedRow{"not_ascii_after", "<r><k>1</k>\xc3\xa9</r>", "<k>1</k>"},
        ExtractedRow{"byte_order_mark", "\xef\xbb\xbf<r><k>1</k></r>", nullptr},
        ExtractedRow{"utf16", std::string("<\0k\0>\0<\0/\0k\0>\0", 14), nullptr},
        ExtractedRow{"malformed_after_it", "<r><k>1</k><junk", "<k>1</k>"},
        // The counted position is nine bytes too early: in the comment.
        ExtractedRow{"shift_onto_a_comment", "<r><!--<k>1</k>-->\xe2\x82\xac\xe2\x82\xac\xc3\xa9<k>2</k></r>", nullptr},
        ExtractedRow{"utf7_shift_onto_a_comment", decoy("UTF-7"), nullptr},
        ExtractedRow{"other_encoding", decoy("ISO-2022-JP"), nullptr},
        ExtractedRow{"utf8", decoy("utf-8"), "<k>good</k>"},
        ExtractedRow{"latin1", decoy("ISO-8859-1"), "<k>good</k>"}),
    rowName);

} // namespace
