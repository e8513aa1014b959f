#include "xml/kqxml.h"

#include "reference/dom.h"
#include "reference/extraction.h"
#include "support/files.h"
#include "support/qtprinting.h"
#include "support/rows.h"

#include <QXmlStreamReader>

#include <set>

namespace {

// A file in tests/files/xml in the form of one kind of program. It is named after what it adds to the others.
struct XmlFile
{
    const char* name;
    const char* file;
    const char* element;
    std::vector<const char*> texts;     // of all such elements
    const char* firstInBytes = nullptr; // what ExtractElement cuts out, in a file that is ASCII up to there
};

class RealFile : public testing::TestWithParam<XmlFile>
{
protected:
    void SetUp() override
    {
        xml = QByteArray::fromStdString(readFile(std::string(TEST_FILES "/xml/") + GetParam().file));
        ASSERT_TRUE(document.setContent(xml, true));
    }

    std::set<QString> elementNames() const
    {
        std::set<QString> names = {QStringLiteral("no-such-element")};
        for (QXmlStreamReader reader(xml); !reader.atEnd(); reader.readNext()) {
            if (reader.isStartElement())
                names.insert(reader.name().toString());
        }
        return names;
    }

    QByteArray xml;
    QDomDocument document;
};

TEST_P(RealFile, is_understood)
{
    const QString element = QLatin1String(GetParam().element);
    QStringList expected;
    for (const char* const text : GetParam().texts)
        expected.append(QString::fromUtf8(text));
    EXPECT_EQ(KQXml::GetChildElementsTextList(document.documentElement(), element), expected);
    if (GetParam().firstInBytes) {
        EXPECT_EQ(KQXml::ExtractElement(xml, element, true), GetParam().firstInBytes);
    }
}

TEST_P(RealFile, matches_the_reference_for_every_element)
{
    const QDomElement root = document.documentElement();
    for (const QString& name : elementNames()) {
        SCOPED_TRACE(name.toStdString());
        EXPECT_EQ(KQXml::GetChildElement(root, name), reference::first(root, name));
        EXPECT_EQ(KQXml::GetChildElements(root, name), reference::all(root, name));
        for (const bool contentOnly : {true, false}) {
            const QByteArray expected = reference::extractElement(xml, name, contentOnly);
            const QByteArray result = KQXml::ExtractElement(xml, name, contentOnly);
            EXPECT_EQ(result, expected);
            EXPECT_EQ(result.isNull(), expected.isNull());
        }
    }
}

INSTANTIATE_TEST_SUITE_P(With, RealFile,
    testing::Values(XmlFile{"external_document_type", "60-sans.conf", "family",
                        {"sans-serif", "Drawing Sans", "Noto Sans"}, "sans-serif"},
        XmlFile{"one_name_at_many_depths", "keyboard.xml", "name", {"de", "nodeadkeys", "neo", "jp"}, "de"},
        XmlFile{"namespaces_and_a_cdata_section", "lamp.svg", "style", {" .on > path { fill: #fc0 } "},
            "<![CDATA[ .on > path { fill: #fc0 } ]]>"},
        XmlFile{"escaped_markup", "dialog.ui", "string", {"Save & close", "<b>Bold</b> \"text\""}, "Save &amp; close"},
        // An end tag is taken to be as long as one without a prefix.
        XmlFile{"prefixes", "drawing.xsd", "sequence", {""}, "<xs:element name=\"line\" minOccurs=\"0\"/>\n      </x"},
        XmlFile{"markup_in_attributes", "table.xsl", "td", {""}, "<xsl:value-of select=\".\"/>"},
        XmlFile{"internal_entities_comments_and_instructions", "notes.xml", "note", {"Erste", "Drawing Viewer © 2026"},
            "Erste"},
        XmlFile{"languages_and_mixed_content", "viewer.metainfo.xml", "em", {"large", "große"}, "large"},
        XmlFile{"public_document_type_and_empty_elements", "introspection.xml", "method", {""},
            "<arg name=\"path\" type=\"s\" direction=\"in\" />"},
        XmlFile{"latin1", "latin1.xml", "ort", {"Köln"}, "K\xf6ln"},
        XmlFile{"utf16", "utf16.xml", "title", {"Übersicht"}},
        XmlFile{"byte_order_mark_and_cr_lf", "crlf.xml", "text", {"one\ntwo"}}),
    rowName);

} // namespace
