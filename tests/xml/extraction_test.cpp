#include "xml/kqxml.h"

#include "reference/extraction.h"
#include "support/qtprinting.h"
#include "support/rows.h"

#include <gtest/gtest.h>

#include <string>

namespace {

/// The expected results. A null pointer means a null result.
struct Row
{
    const char* name;
    std::string xml;
    const char* tag;
    const char* content;
    const char* whole;
};

QByteArray bytes(const std::string& text)
{
    return QByteArray(text.data(), qsizetype(text.size()));
}

void expectBytes(const QByteArray& result, const char* expected)
{
    EXPECT_EQ(result, QByteArray(expected));
    EXPECT_EQ(result.isNull(), expected == nullptr);
}

std::string utf16(const std::string& ascii, bool bigEndian, bool mark)
{
    std::string out = mark ? (bigEndian ? "\xfe\xff" : "\xff\xfe") : "";
    for (const char c : ascii) {
        out += bigEndian ? '\0' : c;
        out += bigEndian ? c : '\0';
    }
    return out;
}

class Extraction : public testing::TestWithParam<Row>
{
};

TEST_P(Extraction, content_only)
{
    expectBytes(
        KQXml::ExtractElement(bytes(GetParam().xml), QString::fromUtf8(GetParam().tag), true), GetParam().content);
}

TEST_P(Extraction, whole_element)
{
    expectBytes(
        KQXml::ExtractElement(bytes(GetParam().xml), QString::fromUtf8(GetParam().tag), false), GetParam().whole);
}

// The reference implementation must pass the same rows before random cases are compared with it.
TEST_P(Extraction, reference_implementation)
{
    const QString tag = QString::fromUtf8(GetParam().tag);
    expectBytes(reference::extractElement(bytes(GetParam().xml), tag, true), GetParam().content);
    expectBytes(reference::extractElement(bytes(GetParam().xml), tag, false), GetParam().whole);
}

INSTANTIATE_TEST_SUITE_P(Found, Extraction,
    testing::Values( //
        Row{"white_space_is_trimmed_from_the_content", "<r><k>  abc  </k></r>", "k", "abc", "<k>  abc  </k>"},
        Row{"first_of_two_siblings", "<r><k>1</k><k>2</k></r>", "k", "1", "<k>1</k>"},
        Row{"innermost_of_nested_closes_first", "<r><k>a<k>b</k>c</k></r>", "k", "b", "<k>b</k>"},
        Row{"entity_and_cdata_are_kept_as_written", "<r><k>&lt;x&gt;<![CDATA[y]]></k></r>", "k",
            "&lt;x&gt;<![CDATA[y]]>", "<k>&lt;x&gt;<![CDATA[y]]></k>"},
        Row{"commented_out_tag_is_skipped", "<r><!-- <k>no</k> --><k>yes</k></r>", "k", "yes", "<k>yes</k>"},
        Row{"tag_in_cdata_is_skipped", "<r><![CDATA[<k>no</k>]]><k>yes</k></r>", "k", "yes", "<k>yes</k>"},
        Row{"tag_in_an_attribute_is_skipped", "<r a=\"&lt;k>no&lt;/k>\"><k>yes</k></r>", "k", "yes", "<k>yes</k>"},
        Row{"root_itself", "<k><a/></k>", "k", "<a/>", "<k><a/></k>"},
        Row{"nested_markup_and_comments_are_kept", "<r><k><a b='1'/><!--c--><?p i?></k></r>", "k",
            "<a b='1'/><!--c--><?p i?>", "<k><a b='1'/><!--c--><?p i?></k>"},
        Row{"without_content_is_empty_and_not_null", "<r><k></k></r>", "k", "", "<k></k>"},
        Row{"blank_content_is_empty_and_not_null", "<r><k> \n\t </k></r>", "k", "", "<k> \n\t </k>"},
        Row{"malformed_tail_is_never_read", "<r><k>1</k></r><junk", "k", "1", "<k>1</k>"},
        Row{"input_cut_after_the_end_tag", "<r><k>1</k>", "k", "1", "<k>1</k>"},
        Row{"line_ends_are_kept", "<r>\r\n<k>a\r\nb</k></r>", "k", "a\r\nb", "<k>a\r\nb</k>"}),
    rowName);

INSTANTIATE_TEST_SUITE_P(CutBesideTheTags, Extraction,
    testing::Values( //
        Row{"attribute", "<r><k a=\"1\">v</k></r>", "k", "v", "1\">v</k>"},
        Row{"white_space_in_the_start_tag", "<r><k >v</k></r>", "k", "v", "k >v</k>"},
        Row{"white_space_in_the_end_tag", "<r><k>v</k ></r>", "k", "v<", "<k>v</k >"},
        Row{"prefix", "<r xmlns:x='u'><x:k>v</x:k></r>", "k", "v</", ":k>v</x:k>"},
        Row{"self_closing", "<r><k/></r>", "k", "</r>", "k/>"},
        Row{"self_closing_with_a_blank", "<r><k /></r>", "k", "</r>", "/>"},
        Row{"self_closing_root_at_the_end", "<k/>", "k", "", "k/>"},
        Row{"nested_self_closing", "<r><k>a<k/>b</k></r>", "k", "b</k></r>", "k/>"},
        Row{"two_byte_characters_before", "<r>\xc3\xa9\xc3\xa9<k>1</k></r>", "k", "k", "\xc3\xa9<k>1</"},
        Row{"two_byte_character_inside", "<r><k>\xc3\xa9</k></r>", "k", "\xc3", "<k>\xc3\xa9</k"},
        Row{"two_byte_name", "<r><\xc3\xa9>1</\xc3\xa9></r>", "\xc3\xa9", "", "><\xc3\xa9>1</\xc3"},
        // Position -1 and length 9: the first eight bytes.
        Row{"two_byte_name_at_the_start", "<\xc3\xa9>1</\xc3\xa9>", "\xc3\xa9", "", "<\xc3\xa9>1</\xc3"},
        // Length -2, which is all that follows; position -3 and length 15: the first twelve bytes.
        Row{"six_byte_name_at_the_start", "<\xc3\xa9\xc3\xa9\xc3\xa9>1</\xc3\xa9\xc3\xa9\xc3\xa9>",
            "\xc3\xa9\xc3\xa9\xc3\xa9", "\xc3\xa9>1</\xc3\xa9\xc3\xa9\xc3\xa9>", "<\xc3\xa9\xc3\xa9\xc3\xa9>1</\xc3"}),
    rowName);

INSTANTIATE_TEST_SUITE_P(NotFound, Extraction,
    testing::Values(                                   //
        Row{"empty_input", "", "k", nullptr, nullptr}, //
        Row{"empty_name", "<r><k>1</k></r>", "", nullptr, nullptr},
        Row{"name_that_never_occurs", "<r><k>1</k></r>", "j", nullptr, nullptr},
        Row{"never_closed", "<r><k>1</r>", "k", nullptr, nullptr},
        Row{"other_case", "<r><k>1</k></r>", "K", nullptr, nullptr},
        Row{"name_with_its_prefix", "<r xmlns:x='u'><x:k>v</x:k></r>", "x:k", nullptr, nullptr},
        Row{"undeclared_prefix", "<r><x:k>v</x:k></r>", "k", nullptr, nullptr},
        Row{"only_in_a_comment", "<r><!--<k>1</k>--></r>", "k", nullptr, nullptr},
        Row{"only_in_cdata", "<r><![CDATA[<k>1</k>]]></r>", "k", nullptr, nullptr},
        Row{"only_as_an_attribute", "<r k='&lt;k>'/>", "k", nullptr, nullptr},
        Row{"only_as_an_instruction", "<r><?k <k>1</k>?></r>", "k", nullptr, nullptr},
        Row{"malformed_before_it", "<r><a></b><k>1</k></r>", "k", nullptr, nullptr},
        Row{"undefined_entity_before_it", "<r>&e;<k>1</k></r>", "k", nullptr, nullptr},
        Row{"second_root", "<r/><k>1</k>", "k", nullptr, nullptr},
        Row{"input_cut_in_the_end_tag", "<r><k>1</k", "k", nullptr, nullptr},
        Row{"text_only", "no markup at all", "k", nullptr, nullptr}),
    rowName);

const std::string declared = "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>";

INSTANTIATE_TEST_SUITE_P(Encoding, Extraction,
    testing::Values( //
        Row{"latin1_declared_counts_bytes", declared + "<r>\xe9<k>\xe9</k></r>", "k", "\xe9", "<k>\xe9</k>"},
        Row{"unsupported_encoding", "<?xml version='1.0' encoding='nonsense'?><r><k>1</k></r>", "k", nullptr, nullptr},
        Row{"broken_declaration", "<?xml version='1.0' encoding=?><r><k>1</k></r>", "k", nullptr, nullptr},
        Row{"declaration_not_at_the_start", " <?xml version='1.0'?><r><k>1</k></r>", "k", nullptr, nullptr},
        Row{"wrong_byte_before_the_element", "<r>\xff<k>1</k></r>", "k", nullptr, nullptr},
        Row{"wrong_byte_right_after_the_element", "<r><k>1</k>\xff</r>", "k", nullptr, nullptr},
        Row{"wrong_byte_far_after_the_element", "<r><k>1</k>" + std::string(1'000'000, ' ') + "\xff</r>", "k", nullptr,
            nullptr},
        Row{"byte_order_mark_counts_as_nothing", "\xef\xbb\xbf<r><k>12345</k></r>", "k", "<k>12", "<r><k>12345<"},
        Row{"internal_entity_is_not_expanded_in_the_bytes", "<!DOCTYPE r [<!ENTITY e 'x'>]><r><k>1&e;2</k></r>", "k",
            "1&e;2", "<k>1&e;2</k>"}),
    rowName);

/// UTF-16 takes two bytes per character, but the cut counts one.
struct Utf16Row
{
    const char* name;
    bool bigEndian;
    bool mark;
    std::string content;
    std::string whole;
};

class Utf16 : public testing::TestWithParam<Utf16Row>
{
};

TEST_P(Utf16, is_counted_in_characters)
{
    const QByteArray xml = bytes(utf16("<r><k>1</k></r>", GetParam().bigEndian, GetParam().mark));
    EXPECT_EQ(KQXml::ExtractElement(xml, QStringLiteral("k"), true), bytes(GetParam().content));
    EXPECT_EQ(KQXml::ExtractElement(xml, QStringLiteral("k"), false), bytes(GetParam().whole));
}

INSTANTIATE_TEST_SUITE_P(Encoding, Utf16,
    testing::Values( //
        Utf16Row{"little_endian_with_mark", false, true, ">", std::string("\0r\0>\0<\0k", 8)},
        Utf16Row{"big_endian_with_mark", true, true, std::string(1, '\0'), std::string("<\0r\0>\0<\0", 8)},
        Utf16Row{"little_endian_without_mark", false, false, "<", std::string("\0>\0<\0k\0>", 8)},
        Utf16Row{"big_endian_without_mark", true, false, std::string(1, '\0'), std::string("r\0>\0<\0k\0", 8)}),
    rowName);

TEST(ExtractElement, null_input_and_null_name_give_null)
{
    EXPECT_TRUE(KQXml::ExtractElement(QByteArray(), QStringLiteral("k"), true).isNull());
    EXPECT_TRUE(KQXml::ExtractElement(QByteArray("<k>1</k>"), QString(), true).isNull());
}

TEST(ExtractElement, does_not_change_its_input)
{
    const QByteArray xml("<k> 1 </k>");
    QByteArray found = KQXml::ExtractElement(xml, QStringLiteral("k"), false);
    EXPECT_EQ(found, xml);
    found[0] = '#';
    EXPECT_EQ(xml, QByteArray("<k> 1 </k>"));
}

} // namespace
