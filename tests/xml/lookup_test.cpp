#include "xml/kqxml.h"

#include "support/rows.h"
#include "xml/documents.h"

#include <algorithm>
#include <chrono>
#include <initializer_list>

namespace {

QString u(const char* text)
{
    return text ? QString::fromUtf8(text) : QString();
}

class Lookup : public testing::Test
{
protected:
    void given(const QByteArray& xml, Names names = Names::Plain)
    {
        document = parsed(xml, names);
        root = document.documentElement();
    }

    QString text(const char* tag) const { return KQXml::GetChildElementText(root, u(tag)); }
    QDomElement element(const char* tag) const { return KQXml::GetChildElement(root, u(tag)); }
    QStringList texts(const char* tag) const { return KQXml::GetChildElementsTextList(root, u(tag)); }
    QList<QDomElement> elements(const char* tag) const { return KQXml::GetChildElements(root, u(tag)); }
    QString attribute(const char* tag, const char* name) const
    {
        return KQXml::GetChildElementAttribute(root, u(tag), u(name));
    }

    void thenNothingIsFound(const char* tag) const
    {
        EXPECT_TRUE(text(tag).isNull());
        EXPECT_TRUE(element(tag).isNull());
        EXPECT_TRUE(attribute(tag, "v").isNull());
        EXPECT_EQ(texts(tag), QStringList());
        EXPECT_TRUE(elements(tag).isEmpty());
    }

    void thenFound(const char* tag, std::initializer_list<const char*> expected) const
    {
        QStringList wanted;
        for (const char* entry : expected)
            wanted.append(u(entry));
        EXPECT_EQ(texts(tag), wanted);
        EXPECT_EQ(text(tag), wanted.first());
        EXPECT_EQ(element(tag).text(), wanted.first());
        ASSERT_EQ(elements(tag).size(), wanted.size());
        EXPECT_EQ(elements(tag).first(), element(tag));
        EXPECT_EQ(elements(tag).last().text(), wanted.last());
    }

    QDomDocument document;
    QDomElement root;
};

TEST_F(Lookup, nested_element_comes_before_a_later_child)
{
    given("<a><b><c>1</c></b><c>2</c></a>");
    EXPECT_EQ(text("c"), u("1"));
    EXPECT_EQ(texts("c"), QStringList({u("1"), u("2")}));
    EXPECT_EQ(element("c").parentNode().nodeName(), u("b"));
}

TEST_F(Lookup, element_is_never_its_own_match)
{
    given("<a><a>x</a></a>");
    thenFound("a", {"x"});
    EXPECT_NE(element("a"), root);
    EXPECT_EQ(element("a").parentNode(), root);
}

TEST_F(Lookup, empty_root_has_no_match)
{
    given("<a/>");
    thenNothingIsFound("a");
}

TEST_F(Lookup, siblings_and_ancestors_of_the_element_are_outside)
{
    given("<k><a><b/></a><k>later</k></k>");
    root = element("a");
    thenNothingIsFound("k");
    thenNothingIsFound("a");
}

TEST_F(Lookup, tag_name_is_case_sensitive)
{
    given("<r><name>x</name></r>");
    thenNothingIsFound("Name");
    thenFound("name", {"x"});
}

TEST_F(Lookup, null_element_has_nothing)
{
    for (const char* const tag : {"k", "", static_cast<const char*>(nullptr)})
        thenNothingIsFound(tag);
}

TEST_F(Lookup, attribute_is_empty_when_its_value_is_and_null_when_absent)
{
    given("<r><k v=\"\"/></r>");
    EXPECT_FALSE(attribute("k", "v").isNull());
    EXPECT_EQ(attribute("k", "v"), u(""));
    EXPECT_TRUE(attribute("k", "w").isNull());
    EXPECT_TRUE(attribute("x", "v").isNull());
}

TEST_F(Lookup, attribute_gives_its_value_unescaped)
{
    given("<r><k v=\"&lt;1 &#xe9;\"/></r>");
    EXPECT_EQ(attribute("k", "v"), u("<1 \xc3\xa9"));
}

TEST_F(Lookup, attribute_of_a_later_match_is_ignored)
{
    given("<r><k/><k v=\"1\"/></r>");
    EXPECT_TRUE(attribute("k", "v").isNull());
}

TEST_F(Lookup, empty_elements_count_in_the_text_list)
{
    given("<r><k/><k>2</k></r>");
    EXPECT_EQ(texts("k"), QStringList({u(""), u("2")}));
    EXPECT_EQ(text("k"), u(""));
    EXPECT_FALSE(text("k").isNull());
    EXPECT_FALSE(texts("k").first().isNull());
}

TEST_F(Lookup, equal_texts_are_all_listed_untrimmed)
{
    given("<r><k> 1 </k><k> 1 </k><k>\n</k></r>");
    EXPECT_EQ(texts("k").size(), 3);
    EXPECT_EQ(texts("k").first(), u(" 1 "));
}

TEST_F(Lookup, text_includes_nested_text_cdata_and_entities)
{
    given("<r><k>a<b>b<!--no--></b><![CDATA[<c>]]>&amp;d</k></r>");
    EXPECT_EQ(text("k"), u("ab<c>&d"));
}

TEST_F(Lookup, names_in_comments_cdata_attributes_and_instructions_do_not_match)
{
    given("<r a=\"k\" k=\"1\"><!--<k>1</k>--><![CDATA[<k>2</k>]]><?k 3?>k</r>");
    thenNothingIsFound("k");
}

TEST_F(Lookup, match_inside_a_match_is_listed_too)
{
    given("<r><k>1<k>2</k></k></r>");
    EXPECT_EQ(texts("k"), QStringList({u("12"), u("2")}));
}

TEST_F(Lookup, result_is_the_node_in_the_tree)
{
    given("<r><k/></r>");
    element("k").setAttribute(u("v"), u("1"));
    elements("k").first().appendChild(document.createTextNode(u("t")));
    EXPECT_EQ(written(document), u("<r><k v=\"1\">t</k></r>"));
}

TEST_F(Lookup, without_namespaces_the_prefix_is_part_of_the_name)
{
    given("<r xmlns:x=\"u\"><x:k>1</x:k><k>2</k></r>");
    thenFound("x:k", {"1"});
    thenFound("k", {"2"});
}

TEST_F(Lookup, with_namespaces_only_the_local_name_counts)
{
    given("<r xmlns:x=\"u\"><x:k>1</x:k><k>2</k></r>", Names::Namespaces);
    thenNothingIsFound("x:k");
    thenFound("k", {"1", "2"});
}

TEST_F(Lookup, with_namespaces_only_the_local_name_of_an_attribute_counts)
{
    given("<r xmlns:x=\"u\"><k x:v=\"1\"/></r>", Names::Namespaces);
    EXPECT_EQ(attribute("k", "v"), u("1"));
    EXPECT_TRUE(attribute("k", "x:v").isNull());
}

TEST_F(Lookup, name_outside_ascii)
{
    given("<r><gr\xc3\xb6\xc3\x9f"
          "e>1</gr\xc3\xb6\xc3\x9f"
          "e></r>");
    thenFound("gr\xc3\xb6\xc3\x9f"
              "e",
        {"1"});
}

TEST_F(Lookup, empty_name_matches_nothing_that_was_parsed)
{
    given("<r><k/>t</r>");
    thenNothingIsFound("");
}

TEST_F(Lookup, empty_name_matches_an_element_renamed_to_nothing)
{
    given("<r><k>1</k></r>");
    element("k").setTagName(u(""));
    thenFound("", {"1"});
}

TEST_F(Lookup, null_name_selects_the_child_elements)
{
    given("<r><k>1<j>2</j></k>t<j>3</j><!--c--></r>");
    EXPECT_EQ(text(nullptr), u("12"));
    EXPECT_EQ(element(nullptr).tagName(), u("k"));
    EXPECT_EQ(texts(nullptr), QStringList({u("12"), u("3")}));
    EXPECT_EQ(elements(nullptr).size(), 2);
}

TEST_F(Lookup, null_name_has_no_first_match_if_the_first_child_is_text)
{
    given("<r>t<k v=\"x\">1</k></r>");
    EXPECT_TRUE(text(nullptr).isNull());
    EXPECT_TRUE(element(nullptr).isNull());
    EXPECT_TRUE(attribute(nullptr, "v").isNull());
    EXPECT_EQ(texts(nullptr), QStringList({u("1")}));
}

TEST_F(Lookup, null_name_without_children)
{
    given("<r/>");
    thenNothingIsFound(nullptr);
}

TEST_F(Lookup, elements_inside_an_entity_reference_are_found)
{
    given("<r><k>2</k></r>");
    QDomEntityReference reference = document.createEntityReference(u("e"));
    QDomElement inside = document.createElement(u("k"));
    inside.appendChild(document.createTextNode(u("1")));
    reference.appendChild(inside);
    root.insertBefore(reference, QDomNode());
    thenFound("k", {"1", "2"});
}

TEST_F(Lookup, other_nodes_with_the_name_do_not_match)
{
    given("<r/>");
    root.appendChild(document.createEntityReference(u("k")));
    root.appendChild(document.createProcessingInstruction(u("k"), u("v")));
    thenNothingIsFound("k");
    thenNothingIsFound("#text");
}

TEST_F(Lookup, tree_outside_the_document)
{
    given("<r/>");
    root = document.createElement(u("free"));
    QDomElement child = document.createElement(u("k"));
    child.appendChild(document.createTextNode(u("1")));
    root.appendChild(child);
    thenFound("k", {"1"});
}

TEST_F(Lookup, tree_of_a_document_object_that_is_destroyed)
{
    given("<r><k>1</k><k>2</k></r>");
    document = QDomDocument();
    thenFound("k", {"1", "2"});
    thenNothingIsFound("j");
}

/// The position of the match among the nodes below the root.
struct Position
{
    const char* name;
    int before;
    int after;
};

class MatchPosition : public testing::TestWithParam<Position>
{
protected:
    static QByteArray wide(const QByteArray& middle)
    {
        return "<r>" + QByteArray("<f/>\n").repeated(GetParam().before) + middle +
               QByteArray("<f/>\n").repeated(GetParam().after) + "</r>";
    }
    static QByteArray deep(const QByteArray& middle)
    {
        return "<r>" + QByteArray("<f>").repeated(GetParam().before) + middle +
               QByteArray("</f>").repeated(GetParam().before) + QByteArray("<f/>\n").repeated(GetParam().after) +
               "</r>";
    }
};

TEST_P(MatchPosition, is_found)
{
    const QByteArray match = "<k v=\"a\">1</k><k>2</k>";
    for (const QByteArray& xml : {wide(match), deep(match)}) {
        const QDomDocument document = parsed(xml);
        const QDomElement root = document.documentElement();
        EXPECT_EQ(KQXml::GetChildElementText(root, u("k")), u("1"));
        EXPECT_EQ(KQXml::GetChildElement(root, u("k")), root.elementsByTagName(u("k")).item(0));
        EXPECT_EQ(KQXml::GetChildElementAttribute(root, u("k"), u("v")), u("a"));
        EXPECT_EQ(KQXml::GetChildElementsTextList(root, u("k")), QStringList({u("1"), u("2")}));
    }
}

TEST_P(MatchPosition, absent_is_null)
{
    for (const QByteArray& xml : {wide("text"), deep("text")}) {
        const QDomDocument document = parsed(xml);
        const QDomElement root = document.documentElement();
        EXPECT_TRUE(KQXml::GetChildElementText(root, u("k")).isNull());
        EXPECT_TRUE(KQXml::GetChildElement(root, u("k")).isNull());
        EXPECT_TRUE(KQXml::GetChildElementAttribute(root, u("k"), u("v")).isNull());
        EXPECT_EQ(KQXml::GetChildElementsTextList(root, u("k")), QStringList());
    }
}

INSTANTIATE_TEST_SUITE_P(Position, MatchPosition,
    testing::Values(Position{"only", 0, 0}, Position{"first", 0, 1000}, Position{"last", 200, 0},
        Position{"after_1", 1, 10}, Position{"after_2", 2, 10}, Position{"after_3", 3, 10},
        Position{"after_1_and_last", 1, 0}, Position{"after_2_and_last", 2, 0}, Position{"after_15", 15, 10},
        Position{"after_16", 16, 10}, Position{"after_17", 17, 10}, Position{"after_15_and_last", 15, 0},
        Position{"after_16_and_last", 16, 0}, Position{"after_17_and_last", 17, 0}),
    rowName);

TEST_F(Lookup, search_stays_below_the_element)
{
    const QByteArray filler = QByteArray("<f/>").repeated(200);
    given("<r><a>" + filler + "</a><k>outside</k></r>");
    root = element("a");
    thenNothingIsFound("k");
}

TEST_F(Lookup, document_built_by_calls)
{
    given("<r/>");
    for (int i = 0; i < 300; ++i)
        root.appendChild(document.createElement(i == 250 ? u("k") : u("f")))
            .appendChild(document.createTextNode(u("1")));
    thenFound("k", {"1"});
    thenNothingIsFound("j");
}

template <typename Action>
std::chrono::nanoseconds fastestOf(int runs, Action action)
{
    auto fastest = std::chrono::nanoseconds::max();
    for (int run = 0; run < runs; ++run) {
        const auto start = std::chrono::steady_clock::now();
        action();
        fastest = std::min<std::chrono::nanoseconds>(fastest, std::chrono::steady_clock::now() - start);
    }
    return fastest;
}

TEST_F(Lookup, early_match_does_not_visit_the_whole_document)
{
    given("<r><f/><k/>" + QByteArray("<f>text</f>").repeated(100'000) + "</r>");
    const auto everything = fastestOf(3, [&] { root.elementsByTagName(u("k")).item(0); });
    const auto firstMatch = fastestOf(20, [&] { element("k"); });
    EXPECT_LT(firstMatch * 100, everything);
}

} // namespace
