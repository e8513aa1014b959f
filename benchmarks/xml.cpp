// Finds the first element with a name and extracts an element, by document size, for the helpers and other libraries:
//
//     benchmark_xml --benchmark_filter=^extraction
#include "benchmarks/benchmarks.h"
#include "osrelease/osrelease.h"
#include "xml/kqxml.h"

#include <benchmark/benchmark.h>
#include <libxml/xmlreader.h>

#include <memory>

bool g_kq_verbose = false;

namespace {

xmlChar* extractByLibxml2(const QByteArray& xml, const QByteArray& tag)
{
    const std::unique_ptr<xmlTextReader, decltype(&xmlFreeTextReader)> reader(
        xmlReaderForMemory(xml.constData(), int(xml.size()), nullptr, nullptr, XML_PARSE_HUGE), xmlFreeTextReader);
    while (xmlTextReaderRead(reader.get()) == 1) {
        if (tag == reinterpret_cast<const char*>(xmlTextReaderConstLocalName(reader.get())))
            return xmlTextReaderReadOuterXml(reader.get());
    }
    return nullptr;
}

template <typename Step>
void add(const char* question, const QString& tag, const char* who, std::size_t size, Step step)
{
    const std::string name = std::string(question) + ", " + tag.toStdString() + '/' + who + '/' + std::to_string(size);
    benchmark::RegisterBenchmark(name.c_str(), [step](benchmark::State& state) {
        for ([[maybe_unused]] auto _ : state)
            benchmark::DoNotOptimize(step());
    });
}

} // namespace

int main(int argc, char** argv)
{
    for (const std::size_t size : {1'000, 10'000, 100'000, 2'000'000, 10'000'000}) {
        const QByteArray xml = documents::xml(size);
        QDomDocument document;
        document.setContent(xml);
        const QDomElement root = document.documentElement();
        for (const QString& tag : {QStringLiteral("first"), QStringLiteral("last"), QStringLiteral("absent")}) {
            add("first element", tag, "KQXml", size, [=] { return KQXml::GetChildElement(root, tag).isNull(); });
            add("first element", tag, "Qt", size, [=] { return root.elementsByTagName(tag).item(0).isNull(); });
        }
        for (const QString& tag : {QStringLiteral("first"), QStringLiteral("last")}) {
            add("extraction", tag, "KQXml", size, [=] { return KQXml::ExtractElement(xml, tag, false).size(); });
            add("extraction", tag, "Qt", size, [=] { return documents::bareReader(xml, tag); });
            add("extraction", tag, "libxml2", size, [=, name = tag.toUtf8()] {
                xmlChar* const found = extractByLibxml2(xml, name);
                xmlFree(found);
                return found != nullptr;
            });
        }
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
