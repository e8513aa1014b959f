#include "benchmarks/documents.h"

#include "tests/reference/extraction.h"
#include "xml/kqxml.h"

#include <QXmlStreamReader>

#ifdef PEER_LIBXML2
#include <libxml/xmlreader.h>
#endif
#ifdef PEER_PUGIXML
#include <pugixml.hpp>
#endif

#include <cstring>

namespace documents {

namespace {

// The element of a document that Qt has parsed.
struct Tree
{
    QDomDocument document;
    QDomElement root;
};

std::shared_ptr<void> treeOf(const QByteArray& xml)
{
    const auto tree = std::make_shared<Tree>();
    tree->document.setContent(xml);
    tree->root = tree->document.documentElement();
    return tree;
}

const QDomElement& rootOf(void* loaded)
{
    return static_cast<Tree*>(loaded)->root;
}

Candidate helpers()
{
    Candidate c{"helpers", treeOf, nullptr, nullptr, nullptr, nullptr, nullptr};
    c.first = [](void* d, const char* tag) { KQXml::GetChildElement(rootOf(d), QString::fromLatin1(tag)); };
    c.all = [](void* d, const char* tag) {
        return std::size_t(KQXml::GetChildElements(rootOf(d), QString::fromLatin1(tag)).size());
    };
    c.texts = [](void* d, const char* tag) {
        return std::size_t(KQXml::GetChildElementsTextList(rootOf(d), QString::fromLatin1(tag)).size());
    };
    c.edit = [](void* d) {
        Tree& tree = *static_cast<Tree*>(d);
        QDomElement last = tree.root.lastChildElement();
        KQXml::UpdateElementText(&tree.document, &last, QStringLiteral("new"));
        KQXml::InsertBeforeElement(&tree.document, tree.root, last, QStringLiteral("before"), QStringLiteral("new"));
        KQXml::InsertAfterElement(&tree.document, tree.root, last, QStringLiteral("after"), QStringLiteral("new"));
    };
    c.extract = [](const QByteArray& xml, const char* tag) {
        return std::size_t(KQXml::ExtractElement(xml, QString::fromLatin1(tag), false).size());
    };
    return c;
}

// The calls that the helpers stand for, as a caller would write them; and for the extraction, the bare loop to the end
// of the element.
Candidate qt()
{
    Candidate c{"Qt", treeOf, nullptr, nullptr, nullptr, nullptr, nullptr};
    c.first = [](void* d, const char* tag) {
        [[maybe_unused]] const QDomElement found =
            rootOf(d).elementsByTagName(QString::fromLatin1(tag)).item(0).toElement();
    };
    c.all = [](void* d, const char* tag) {
        QList<QDomElement> elements;
        const QDomNodeList matches = rootOf(d).elementsByTagName(QString::fromLatin1(tag));
        for (int i = 0; i < matches.length(); ++i)
            elements.append(matches.item(i).toElement());
        return std::size_t(elements.size());
    };
    c.texts = [](void* d, const char* tag) {
        QStringList texts;
        const QDomNodeList matches = rootOf(d).elementsByTagName(QString::fromLatin1(tag));
        for (int i = 0; i < matches.length(); ++i)
            texts.append(matches.item(i).toElement().text());
        return std::size_t(texts.size());
    };
    c.extract = [](const QByteArray& xml, const char* tag) {
        const QString name = QString::fromLatin1(tag);
        for (QXmlStreamReader reader(xml); !reader.atEnd(); reader.readNext()) {
            if (reader.tokenType() == QXmlStreamReader::EndElement && reader.name() == name)
                return std::size_t(reader.characterOffset());
        }
        return std::size_t(0);
    };
    return c;
}

#ifdef PEER_PUGIXML
pugi::xml_node findIn(const pugi::xml_document& document, const char* tag)
{
    return document.find_node([&](pugi::xml_node node) { return std::strcmp(node.name(), tag) == 0; });
}

template <typename Visitor>
struct Walker : pugi::xml_tree_walker
{
    Walker(const char* name, Visitor action)
        : tag(name)
        , visit(action)
    {
    }
    bool for_each(pugi::xml_node& node) override
    {
        if (std::strcmp(node.name(), tag) == 0)
            visit(node);
        return true;
    }
    const char* tag;
    Visitor visit;
};

Candidate pugixml()
{
    using pugi::xml_document;
    Candidate c{"pugixml", nullptr, nullptr, nullptr, nullptr, nullptr, nullptr};
    c.load = [](const QByteArray& xml) {
        const auto loaded = std::make_shared<xml_document>();
        loaded->load_buffer(xml.constData(), std::size_t(xml.size()));
        return loaded;
    };
    c.first = [](void* d, const char* tag) { findIn(*static_cast<xml_document*>(d), tag); };
    c.all = [](void* d, const char* tag) {
        std::vector<pugi::xml_node> nodes;
        Walker walker(tag, [&](pugi::xml_node node) { nodes.push_back(node); });
        static_cast<xml_document*>(d)->traverse(walker);
        return nodes.size();
    };
    c.texts = [](void* d, const char* tag) {
        std::vector<std::string> texts;
        Walker walker(tag, [&](pugi::xml_node node) { texts.emplace_back(node.child_value()); });
        static_cast<xml_document*>(d)->traverse(walker);
        return texts.size();
    };
    c.extract = [](const QByteArray& xml, const char* tag) {
        xml_document document;
        document.load_buffer(xml.constData(), std::size_t(xml.size()));
        return std::strlen(findIn(document, tag).child_value()) + std::strlen(tag);
    };
    return c;
}
#endif

#ifdef PEER_LIBXML2
Candidate libxml2()
{
    Candidate c{"libxml2", nullptr, nullptr, nullptr, nullptr, nullptr, nullptr};
    c.extract = [](const QByteArray& xml, const char* tag) {
        xmlTextReader* const reader =
            xmlReaderForMemory(xml.constData(), int(xml.size()), nullptr, nullptr, XML_PARSE_HUGE);
        while (xmlTextReaderRead(reader) == 1 &&
               std::strcmp(reinterpret_cast<const char*>(xmlTextReaderConstLocalName(reader)), tag) != 0) {
        }
        xmlChar* const found = xmlTextReaderReadOuterXml(reader);
        const std::size_t size = found ? std::strlen(reinterpret_cast<const char*>(found)) : 0;
        xmlFree(found);
        xmlFreeTextReader(reader);
        return size;
    };
    return c;
}
#endif

} // namespace

QByteArray documentOf(Shape shape, std::size_t size)
{
    QByteArray xml = "<r><first>1</first>";
    const auto wanted = qsizetype(size);
    const QByteArray begin = "<item a=\"1\">";
    const QByteArray end = "</item>";
    if (shape == Shape::Deep) {
        const qsizetype levels = wanted / (begin.size() + end.size());
        return xml + begin.repeated(levels) + "<last/>" + end.repeated(levels) + "</r>";
    }
    for (int i = 0; xml.size() < wanted; ++i) {
        const QByteArray number = QByteArray::number(i);
        xml += "<item id=\"" + number + "\"><name>record " + number + "</name><value>1.5</value></item>\n";
    }
    return xml + "<last/></r>";
}

std::vector<Candidate> candidates()
{
    return {
        helpers(),
        qt(),
#ifdef PEER_PUGIXML
        pugixml(),
#endif
#ifdef PEER_LIBXML2
        libxml2(),
#endif
    };
}

Candidate plainModel()
{
    Candidate c{"plain model", nullptr, nullptr, nullptr, nullptr, nullptr, nullptr};
    c.extract = [](const QByteArray& xml, const char* tag) {
        return std::size_t(reference::extractElement(xml, QString::fromLatin1(tag), false).size());
    };
    return c;
}

} // namespace documents
