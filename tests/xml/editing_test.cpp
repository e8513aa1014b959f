#include "xml/kqxml.h"

#include "support/rows.h"
#include "xml/documents.h"

namespace {

QString u(const char* text)
{
    return QString::fromUtf8(text);
}

struct UpdateRow
{
    const char* name;
    const char* before;
    const char* after;
};

class UpdateText : public testing::TestWithParam<UpdateRow>
{
};

TEST_P(UpdateText, whole_document)
{
    for (const Names names : {Names::Plain, Names::Namespaces}) {
        QDomDocument document = parsed(GetParam().before, names);
        QDomElement root = document.documentElement();
        KQXml::UpdateElementText(&document, &root, u("new"));
        EXPECT_EQ(written(document), u(GetParam().after));
    }
}

class UpdateTextBesideChildren : public UpdateText
{
};

TEST_P(UpdateTextBesideChildren, needs_no_document)
{
    QDomDocument document = parsed(GetParam().before);
    QDomElement root = document.documentElement();
    KQXml::UpdateElementText(nullptr, &root, u("new"));
    EXPECT_EQ(written(document), u(GetParam().after));
}

INSTANTIATE_TEST_SUITE_P(
    Element, UpdateText, testing::Values(UpdateRow{"without_children_gets_a_text", "<a/>", "<a>new</a>"}), rowName);

const auto besideChildren = testing::Values( //
    UpdateRow{"keeps_the_texts_after_the_first", "<a>old<!--c-->more</a>", "<a>new<!--c-->more</a>"},
    UpdateRow{"text_after_an_element", "<a><b/>tail</a>", "<a><b/>new</a>"},
    UpdateRow{"only_an_element_stays", "<a><b/></a>", "<a><b/></a>"},
    UpdateRow{"only_a_nested_text_stays", "<a><b>old</b></a>", "<a><b>old</b></a>"},
    UpdateRow{"cdata_counts_as_text", "<a><![CDATA[<old>]]></a>", "<a><![CDATA[new]]></a>"},
    UpdateRow{"cdata_before_a_text", "<a><b/><![CDATA[1]]>2</a>", "<a><b/><![CDATA[new]]>2</a>"},
    UpdateRow{"text_before_cdata", "<a>1<![CDATA[2]]></a>", "<a>new<![CDATA[2]]></a>"});
INSTANTIATE_TEST_SUITE_P(ElementWithChildren, UpdateText, besideChildren, rowName);
INSTANTIATE_TEST_SUITE_P(ElementWithChildren, UpdateTextBesideChildren, besideChildren, rowName);

TEST(UpdateElementText, only_comments_and_instructions_stay)
{
    QDomDocument document = parsed("<a><!--c--><?p i?></a>");
    QDomElement root = document.documentElement();
    const QString before = written(document);
    KQXml::UpdateElementText(&document, &root, u("new"));
    EXPECT_EQ(written(document), before);
    EXPECT_EQ(root.childNodes().length(), 2);
}

TEST(UpdateElementText, null_pointer_and_null_element_do_nothing)
{
    QDomDocument document = parsed("<a>old</a>");
    QDomElement null;
    KQXml::UpdateElementText(&document, nullptr, u("new"));
    KQXml::UpdateElementText(&document, &null, u("new"));
    KQXml::UpdateElementText(nullptr, nullptr, u("new"));
    KQXml::UpdateElementText(nullptr, &null, u("new"));
    EXPECT_TRUE(null.isNull());
    EXPECT_EQ(written(document), u("<a>old</a>"));
}

TEST(UpdateElementText, replaces_the_data_of_the_same_node)
{
    QDomDocument document = parsed("<a>old</a>");
    QDomElement root = document.documentElement();
    const QDomText before = root.firstChild().toText();
    KQXml::UpdateElementText(&document, &root, u("new"));
    EXPECT_EQ(before.data(), u("new"));
}

TEST(UpdateElementText, empty_text_leaves_an_empty_node)
{
    QDomDocument document = parsed("<r><a/><b>old</b></r>");
    QDomElement a = KQXml::GetChildElement(document.documentElement(), u("a"));
    QDomElement b = KQXml::GetChildElement(document.documentElement(), u("b"));
    for (QDomElement* const element : {&a, &b}) {
        KQXml::UpdateElementText(&document, element, u(""));
        ASSERT_EQ(element->childNodes().length(), 1);
        EXPECT_TRUE(element->firstChild().isText());
        EXPECT_EQ(element->text(), u(""));
    }
}

TEST(UpdateElementText, empty_first_text_node_is_replaced)
{
    QDomDocument document = parsed("<a>tail</a>");
    QDomElement root = document.documentElement();
    root.insertBefore(document.createTextNode(u("")), QDomNode());
    KQXml::UpdateElementText(&document, &root, u("new"));
    EXPECT_EQ(written(document), u("<a>newtail</a>"));
}

TEST(UpdateElementText, markup_is_escaped_when_written)
{
    QDomDocument document = parsed("<a/>");
    QDomElement root = document.documentElement();
    KQXml::UpdateElementText(&document, &root, u("<b&\xc3\xa9"));
    EXPECT_EQ(written(document), u("<a>&lt;b&amp;\xc3\xa9</a>"));
}

class Insertion : public testing::Test
{
protected:
    void given(const char* xml)
    {
        document = parsed(xml);
        root = document.documentElement();
    }
    QDomElement child(const char* tag) const { return KQXml::GetChildElement(root, u(tag)); }
    void before(const QDomElement& reference, const char* text = "x")
    {
        KQXml::InsertBeforeElement(&document, root, reference, u("t"), u(text));
    }
    void after(const QDomElement& reference, const char* text = "x")
    {
        KQXml::InsertAfterElement(&document, root, reference, u("t"), u(text));
    }
    void thenDocumentIs(const char* xml) const { EXPECT_EQ(written(document), u(xml)); }

    QDomDocument document;
    QDomElement root;
};

TEST_F(Insertion, before_the_reference)
{
    given("<r><a/><b/></r>");
    before(child("b"));
    thenDocumentIs("<r><a/><t>x</t><b/></r>");
}

TEST_F(Insertion, after_the_reference)
{
    given("<r><a/><b/></r>");
    after(child("a"));
    thenDocumentIs("<r><a/><t>x</t><b/></r>");
}

TEST_F(Insertion, before_a_null_reference_comes_first)
{
    given("<r><a/><b/></r>");
    before(QDomElement());
    thenDocumentIs("<r><t>x</t><a/><b/></r>");
}

TEST_F(Insertion, after_a_null_reference_comes_last)
{
    given("<r><a/><b/></r>");
    after(QDomElement());
    thenDocumentIs("<r><a/><b/><t>x</t></r>");
}

TEST_F(Insertion, into_an_empty_parent)
{
    given("<r/>");
    before(QDomElement());
    thenDocumentIs("<r><t>x</t></r>");
    given("<r/>");
    after(QDomElement());
    thenDocumentIs("<r><t>x</t></r>");
}

TEST_F(Insertion, beside_the_first_and_the_last_among_other_nodes)
{
    given("<r>1<a/>2<b/>3</r>");
    before(child("a"));
    after(child("b"));
    thenDocumentIs("<r>1<t>x</t><a/>2<b/><t>x</t>3</r>");
}

TEST_F(Insertion, empty_text_still_makes_a_text_node)
{
    given("<r><a/></r>");
    before(child("a"), "");
    after(child("a"), "");
    ASSERT_EQ(KQXml::GetChildElements(root, u("t")).size(), 2);
    for (const QDomElement& made : KQXml::GetChildElements(root, u("t"))) {
        ASSERT_EQ(made.childNodes().length(), 1);
        EXPECT_TRUE(made.firstChild().isText());
        EXPECT_EQ(made.firstChild().toText().data(), u(""));
    }
}

TEST_F(Insertion, reference_deeper_than_a_child_inserts_nothing)
{
    given("<r><a><b/></a></r>");
    before(child("b"));
    after(child("b"));
    thenDocumentIs("<r><a><b/></a></r>");
}

TEST_F(Insertion, parent_itself_as_reference_inserts_nothing)
{
    given("<r><a/></r>");
    before(root);
    after(root);
    thenDocumentIs("<r><a/></r>");
}

TEST_F(Insertion, reference_of_another_document_inserts_nothing)
{
    given("<r><a/></r>");
    const QDomDocument other = parsed("<r><a/></r>");
    before(other.documentElement().firstChildElement());
    after(other.documentElement().firstChildElement());
    thenDocumentIs("<r><a/></r>");
}

TEST_F(Insertion, null_parent_inserts_nothing_and_needs_no_document)
{
    given("<r><a/></r>");
    const QDomElement reference = child("a");
    QDomElement null;
    for (QDomDocument* const any : {&document, static_cast<QDomDocument*>(nullptr)}) {
        KQXml::InsertBeforeElement(any, null, reference, u("t"), u("x"));
        KQXml::InsertAfterElement(any, null, reference, u("t"), u("x"));
    }
    thenDocumentIs("<r><a/></r>");
}

TEST_F(Insertion, tag_name_comes_before_the_text)
{
    given("<r/>");
    KQXml::InsertAfterElement(&document, root, QDomElement(), u("name"), u("text"));
    KQXml::InsertBeforeElement(&document, root, QDomElement(), u("name"), u("text"));
    thenDocumentIs("<r><name>text</name><name>text</name></r>");
}

TEST_F(Insertion, empty_tag_name_inserts_nothing)
{
    given("<r><a/></r>");
    KQXml::InsertBeforeElement(&document, root, child("a"), u(""), u("x"));
    KQXml::InsertAfterElement(&document, root, child("a"), u(""), u("x"));
    thenDocumentIs("<r><a/></r>");
}

/// What Qt makes of names and texts that XML forbids.
struct PolicyRow
{
    const char* name;
    QDomImplementation::InvalidDataPolicy policy;
    const char* updated;       ///< `<a/>` updated with the text "a\x01z"
    const char* replaced;      ///< `<a>old</a>` updated with the same text
    const char* insertedText;  ///< `<r/>` with an element `t` and that text inserted
    const char* insertedName;  ///< `<r/>` with an element `a<b` and the text "x" inserted
    const char* insertedNoise; ///< `<r/>` with an element `<<` and the text "x" inserted
};

class InvalidData : public testing::TestWithParam<PolicyRow>
{
protected:
    InvalidData() { QDomImplementation::setInvalidDataPolicy(GetParam().policy); }
    ~InvalidData() override { QDomImplementation::setInvalidDataPolicy(m_before); }

    static QString updated(const char* xml)
    {
        QDomDocument document = parsed(xml);
        QDomElement root = document.documentElement();
        KQXml::UpdateElementText(&document, &root, u("a\x01z"));
        return written(document);
    }
    static void expectInserted(const char* tagName, const char* text, const char* expected)
    {
        for (const auto insert : {KQXml::InsertBeforeElement, KQXml::InsertAfterElement}) {
            QDomDocument document = parsed("<r/>");
            QDomElement root = document.documentElement();
            insert(&document, root, QDomElement(), u(tagName), u(text));
            EXPECT_EQ(written(document), u(expected));
        }
    }

private:
    const QDomImplementation::InvalidDataPolicy m_before = QDomImplementation::invalidDataPolicy();
};

TEST_P(InvalidData, in_a_new_text)
{
    EXPECT_EQ(updated("<a/>"), u(GetParam().updated));
}

TEST_P(InvalidData, in_a_replaced_text)
{
    EXPECT_EQ(updated("<a>old</a>"), u(GetParam().replaced));
}

TEST_P(InvalidData, in_an_inserted_text)
{
    expectInserted("t", "a\x01z", GetParam().insertedText);
}

TEST_P(InvalidData, in_an_inserted_name)
{
    expectInserted("a<b", "x", GetParam().insertedName);
}

TEST_P(InvalidData, as_the_whole_inserted_name)
{
    expectInserted("<<", "x", GetParam().insertedNoise);
}

INSTANTIATE_TEST_SUITE_P(Policy, InvalidData,
    testing::Values( //
        PolicyRow{"accept", QDomImplementation::AcceptInvalidChars, "<a>a\x01z</a>", "<a>a\x01z</a>",
            "<r><t>a\x01z</t></r>", "<r><a<b>x</a<b></r>", "<r><<<>x</<<></r>"},
        PolicyRow{"drop", QDomImplementation::DropInvalidChars, "<a>az</a>", "<a>a\x01z</a>", "<r><t>az</t></r>",
            "<r><ab>x</ab></r>", "<r/>"},
        PolicyRow{
            "return_null", QDomImplementation::ReturnNullNode, "<a/>", "<a>a\x01z</a>", "<r><t/></r>", "<r/>", "<r/>"}),
    rowName);

} // namespace
