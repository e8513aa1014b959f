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

/// `settings` as Qt writes a document, with one line of the list and one for <empty> to differ.
std::string edited(const std::string& items, const std::string& empty = "<empty v=\"\"/>")
{
    return "<settings>\n"
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

void PrintTo(const Shown& row, std::ostream* out)
{
    *out << row.name;
}

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
    const char* complaint; ///< in which {} stands for the settings file
};

void PrintTo(const Refused& row, std::ostream* out)
{
    *out << row.name;
}

class Refuse : public Program, public testing::WithParamInterface<Refused>
{
protected:
    std::string withFile(std::string text) const
    {
        const std::size_t at = text.find("{}");
        return at == std::string::npos ? text : text.replace(at, 2, file);
    }
};

TEST_P(Refuse, with_a_complaint_and_nothing_shown)
{
    std::vector<std::string> arguments;
    for (const std::string& argument : GetParam().arguments)
        arguments.push_back(withFile(argument));
    const Finished finished = start(arguments, "no xml");
    EXPECT_EQ(finished.status, GetParam().status);
    EXPECT_EQ(finished.out, "");
    EXPECT_EQ(finished.err, "zk_xml: " + withFile(GetParam().complaint) + "\n");
    EXPECT_EQ(readFile(file), settings);
}

INSTANTIATE_TEST_SUITE_P(ZkXml, Refuse,
    testing::Values( //
        Refused{"absent_element", {"{}", "no"}, 1, "{} has no element no"},
        Refused{"absent_content", {"{}", "no", "--content"}, 1, "{} has no element no"},
        Refused{"absent_text", {"{}", "no", "--text"}, 1, "{} has no element no"},
        Refused{"absent_texts", {"{}", "no", "--texts"}, 1, "{} has no element no"},
        Refused{"absent_for_an_attribute", {"{}", "no", "--attribute", "v"}, 1, "{} has no element no"},
        Refused{"absent_for_an_edit", {"{}", "no", "--set-text", "t"}, 1, "{} has no element no"},
        Refused{"root_is_not_below_itself", {"{}", "settings", "--text"}, 1, "{} has no element settings"},
        Refused{"absent_attribute", {"{}", "name", "--attribute", "w"}, 1, "element name has no attribute w"},
        Refused{"no_text_to_replace", {"{}", "list", "--set-text", "t"}, 1, "element list holds no text to replace"},
        Refused{"no_xml", {"-", "item"}, 1, "-:1:1: Start tag expected."},
        Refused{"no_xml_for_the_tree", {"-", "item", "--text"}, 1, "-:1:1: Start tag expected."},
        Refused{"absent_file", {"{}.absent", "item"}, 1, "cannot read {}.absent: No such file or directory"},
        Refused{"output_in_no_directory", {"{}", "item", "--set-text", "t", "--output", "{}/x"}, 1,
            "cannot write {}/x: Not a directory"},
        Refused{"no_arguments", {}, 2, "give a FILE and a TAG"}, //
        Refused{"no_tag", {"{}"}, 2, "give a FILE and a TAG"},
        Refused{"three_arguments", {"{}", "item", "item"}, 2, "give a FILE and a TAG"},
        Refused{"empty_tag", {"{}", ""}, 2, "give a FILE and a TAG"},
        Refused{"two_actions", {"{}", "item", "--text", "--texts"}, 2, "give one thing to show or one edit"},
        Refused{"insertion_without_text", {"{}", "item", "--insert-after", "t"}, 2,
            "the new element is given as name=text"},
        Refused{"insertion_without_name", {"{}", "item", "--insert-before", "=t"}, 2,
            "the new element is given as name=text"},
        Refused{"output_of_no_edit", {"{}", "item", "--output", "x"}, 2,
            "--output takes the file name for an edited document"},
        Refused{"unknown_option", {"{}", "item", "--nope"}, 2, "Unknown option 'nope'."}),
    rowName);

TEST_F(Program, writes_the_edited_document_over_its_own_file)
{
    const Finished finished = start({file, "item", "--set-text", "new", "--output", file});
    EXPECT_EQ(finished.status, 0);
    EXPECT_EQ(finished.out + finished.err, "");
    EXPECT_EQ(readFile(file), edited("    <item>new</item>\n    <item>2</item>\n"));
}

TEST_F(Program, writes_through_a_link)
{
    const Finished finished = run({"sh", "-c",
        "ln -s \"$1\" \"$1.link\" && \"$0\" \"$1\" item --set-text new --output \"$1.link\" && test -L \"$1.link\"",
        ZK_XML, file});
    EXPECT_EQ(finished.status, 0) << finished.err;
    EXPECT_EQ(readFile(file), edited("    <item>new</item>\n    <item>2</item>\n"));
}

TEST_F(Program, writes_into_a_pipe_that_stays_one)
{
    const Finished finished = run({"sh", "-c",
        "mkfifo \"$1.pipe\" && { cat \"$1.pipe\" & } && "
        "\"$0\" \"$1\" item --set-text new --output \"$1.pipe\" && wait && test -p \"$1.pipe\"",
        ZK_XML, file});
    EXPECT_EQ(finished.status, 0) << finished.err;
    EXPECT_EQ(finished.out, edited("    <item>new</item>\n    <item>2</item>\n"));
}

TEST_F(Program, refuses_a_name_that_would_break_the_document)
{
    const Finished finished = start({file, "item", "--insert-after", "a<b=1", "--output", file});
    EXPECT_EQ(finished.status, 1);
    EXPECT_EQ(finished.err.rfind("zk_xml: the edited document:", 0), 0U) << finished.err;
    EXPECT_EQ(readFile(file), settings);
}

TEST_F(Program, names_the_prefix_at_which_the_extraction_stops)
{
    const Finished finished = start({"-", "k"}, "<r><x:a/><k>1</k></r>");
    EXPECT_EQ(finished.status, 1);
    EXPECT_EQ(finished.out, "");
    EXPECT_NE(finished.err.find("Namespace prefix 'x' not declared"), std::string::npos) << finished.err;
}

TEST_F(Program, reports_a_full_standard_output)
{
    const Finished finished = run({"sh", "-c", "\"$0\" \"$1\" item >/dev/full", ZK_XML, file});
    EXPECT_EQ(finished.status, 1);
    EXPECT_EQ(finished.err, "zk_xml: cannot write standard output: No space left on device\n");
}

TEST_F(Program, shows_its_help)
{
    for (const char* const option : {"--help", "-h"}) {
        const Finished finished = start({option});
        EXPECT_EQ(finished.status, 0);
        EXPECT_EQ(finished.err, "");
        for (const char* const part : {"FILE", "TAG", "--element", "--content", "--text", "--texts", "--attribute",
                 "--set-text", "--insert-before", "--insert-after", "--output"})
            EXPECT_NE(finished.out.find(part), std::string::npos) << part;
    }
}

} // namespace
