#include "osrelease/osrelease.h"
#include "xml/kqxml.h"

#include <QXmlStreamReader>

#include <benchmark/benchmark.h>

#ifdef PEER_LIBXML2
#include <libxml/xmlreader.h>
#endif
#ifdef PEER_PUGIXML
#include <pugixml.hpp>
#endif

#include <cstring>

bool g_kq_verbose = false;

namespace {

enum Shape
{
    Wide,
    Deep
};
enum Match
{
    First,
    Last,
    Absent
};

constexpr const char* matchNames[] = {"first", "last", "absent"};

QString tagOf(Match match)
{
    static const QString tags[] = {QStringLiteral("first"), QStringLiteral("last"), QStringLiteral("absent")};
    return tags[match];
}

/// `records` elements of the name item, with <first/> before and <last/> behind them: side by side, as in a data file;
/// or the same number nested, as far as Qt's recursion at the end allows.
QByteArray documentOf(Shape shape, int records)
{
    QByteArray xml = "<r><first>1</first>";
    if (shape == Deep)
        return xml + QByteArray("<n a=\"1\">").repeated(records) + "<last/>" + QByteArray("</n>").repeated(records) +
               "</r>";
    for (int i = 0; i < records; ++i) {
        const QByteArray number = QByteArray::number(i);
        xml += "<item id=\"" + number + "\"><name>record " + number + "</name><value>1.5</value></item>\n";
    }
    return xml + "<last/></r>";
}

QDomDocument treeOf(const QByteArray& xml)
{
    QDomDocument document;
    document.setContent(xml);
    return document;
}

constexpr int twoMegabytes = 31'000; // records

// Is the first element found without a look at the rest, and is nothing lost when it stands last or is absent?
// The argument is the match: first, last or absent.

void first_ours(benchmark::State& state, Shape shape, int records)
{
    const QDomDocument document = treeOf(documentOf(shape, records));
    const QDomElement root = document.documentElement();
    const QString tag = tagOf(Match(state.range(0)));
    state.SetLabel(matchNames[state.range(0)]);
    for (auto _ : state)
        benchmark::DoNotOptimize(KQXml::GetChildElement(root, tag));
}

void first_qt(benchmark::State& state, Shape shape, int records)
{
    const QDomDocument document = treeOf(documentOf(shape, records));
    const QDomElement root = document.documentElement();
    const QString tag = tagOf(Match(state.range(0)));
    state.SetLabel(matchNames[state.range(0)]);
    for (auto _ : state)
        benchmark::DoNotOptimize(root.elementsByTagName(tag).item(0).toElement());
}

#ifdef PEER_PUGIXML
void first_pugixml(benchmark::State& state, Shape shape, int records)
{
    const QByteArray xml = documentOf(shape, records);
    pugi::xml_document document;
    document.load_buffer(xml.constData(), std::size_t(xml.size()));
    const QByteArray tag = tagOf(Match(state.range(0))).toUtf8();
    state.SetLabel(matchNames[state.range(0)]);
    for (auto _ : state)
        benchmark::DoNotOptimize(
            document.find_node([&](pugi::xml_node node) { return std::strcmp(node.name(), tag.constData()) == 0; }));
}
#endif

#define FIRST(who)                                                                                                     \
    BENCHMARK_CAPTURE(first_##who, wide_2MB, Wide, twoMegabytes)->DenseRange(First, Absent);                           \
    BENCHMARK_CAPTURE(first_##who, wide_200_nodes, Wide, 40)->DenseRange(First, Absent);                               \
    BENCHMARK_CAPTURE(first_##who, wide_5000_nodes, Wide, 1000)->DenseRange(First, Absent);                            \
    BENCHMARK_CAPTURE(first_##who, deep_5000_nodes, Deep, 5000)->DenseRange(First, Absent);

FIRST(ours)
FIRST(qt)
#ifdef PEER_PUGIXML
FIRST(pugixml)
#endif

// What does a list of many matches cost beside the loop that a caller would write? The argument is their number.

void elements_ours(benchmark::State& state)
{
    const QDomDocument document = treeOf(documentOf(Wide, int(state.range(0))));
    const QDomElement root = document.documentElement();
    const QString tag = QStringLiteral("item");
    for (auto _ : state)
        benchmark::DoNotOptimize(KQXml::GetChildElements(root, tag));
}

void elements_qt(benchmark::State& state)
{
    const QDomDocument document = treeOf(documentOf(Wide, int(state.range(0))));
    const QDomElement root = document.documentElement();
    const QString tag = QStringLiteral("item");
    for (auto _ : state) {
        QList<QDomElement> elements;
        const QDomNodeList matches = root.elementsByTagName(tag);
        for (int i = 0; i < matches.length(); ++i)
            elements.append(matches.item(i).toElement());
        benchmark::DoNotOptimize(elements);
    }
}

void texts_ours(benchmark::State& state)
{
    const QDomDocument document = treeOf(documentOf(Wide, int(state.range(0))));
    const QDomElement root = document.documentElement();
    const QString tag = QStringLiteral("name");
    for (auto _ : state)
        benchmark::DoNotOptimize(KQXml::GetChildElementsTextList(root, tag));
}

void texts_qt(benchmark::State& state)
{
    const QDomDocument document = treeOf(documentOf(Wide, int(state.range(0))));
    const QDomElement root = document.documentElement();
    const QString tag = QStringLiteral("name");
    for (auto _ : state) {
        QStringList texts;
        const QDomNodeList matches = root.elementsByTagName(tag);
        for (int i = 0; i < matches.length(); ++i)
            texts.append(matches.item(i).toElement().text());
        benchmark::DoNotOptimize(texts);
    }
}

#define LIST(what) BENCHMARK(what)->Arg(20)->Arg(20'000);
LIST(elements_ours)
LIST(elements_qt)
LIST(texts_ours)
LIST(texts_qt)

// Does cutting an element out cost more than the bare reader that finds its end? The element is the last of the input,
// of as many records as the argument says.

qint64 endOf(const QByteArray& xml, const QString& tag)
{
    for (QXmlStreamReader reader(xml); !reader.atEnd(); reader.readNext()) {
        if (reader.tokenType() == QXmlStreamReader::EndElement && reader.name() == tag)
            return reader.characterOffset();
    }
    return -1;
}

void extract_ours(benchmark::State& state, Match match)
{
    const QByteArray xml = documentOf(Wide, int(state.range(0)));
    const QString tag = tagOf(match);
    for (auto _ : state)
        benchmark::DoNotOptimize(KQXml::ExtractElement(xml, tag, false));
    state.SetBytesProcessed(state.iterations() * xml.size());
}

void extract_reader(benchmark::State& state, Match match)
{
    const QByteArray xml = documentOf(Wide, int(state.range(0)));
    const QString tag = tagOf(match);
    for (auto _ : state)
        benchmark::DoNotOptimize(endOf(xml, tag));
    state.SetBytesProcessed(state.iterations() * xml.size());
}

#ifdef PEER_LIBXML2
void extract_libxml2(benchmark::State& state, Match match)
{
    const QByteArray xml = documentOf(Wide, int(state.range(0)));
    const QByteArray tag = tagOf(match).toUtf8();
    for (auto _ : state) {
        xmlTextReader* const reader =
            xmlReaderForMemory(xml.constData(), int(xml.size()), nullptr, nullptr, XML_PARSE_HUGE);
        while (xmlTextReaderRead(reader) == 1 &&
               std::strcmp(reinterpret_cast<const char*>(xmlTextReaderConstLocalName(reader)), tag.constData()) != 0) {
        }
        xmlChar* const found = xmlTextReaderReadOuterXml(reader);
        benchmark::DoNotOptimize(found);
        xmlFree(found);
        xmlFreeTextReader(reader);
    }
    state.SetBytesProcessed(state.iterations() * xml.size());
}
#endif

#ifdef PEER_PUGIXML
void extract_pugixml(benchmark::State& state, Match match)
{
    const QByteArray xml = documentOf(Wide, int(state.range(0)));
    const QByteArray tag = tagOf(match).toUtf8();
    for (auto _ : state) {
        pugi::xml_document document;
        document.load_buffer(xml.constData(), std::size_t(xml.size()));
        benchmark::DoNotOptimize(
            document.find_node([&](pugi::xml_node node) { return std::strcmp(node.name(), tag.constData()) == 0; }));
    }
    state.SetBytesProcessed(state.iterations() * xml.size());
}
#endif

// And how much of the input does an element at its front make the reader touch? 15,500 records are a megabyte.

#define EXTRACT(who)                                                                                                   \
    BENCHMARK_CAPTURE(extract_##who, last, Last)->Arg(1)->Arg(100)->Arg(15'500);                                       \
    BENCHMARK_CAPTURE(extract_##who, first, First)->Arg(1)->Arg(15'500)->Arg(1'550'000);

EXTRACT(ours)
EXTRACT(reader)
#ifdef PEER_LIBXML2
EXTRACT(libxml2)
#endif
#ifdef PEER_PUGIXML
EXTRACT(pugixml)
#endif

} // namespace

BENCHMARK_MAIN();
