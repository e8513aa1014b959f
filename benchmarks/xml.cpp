// Finds the first element with a name and extracts an element, by document size, for the helpers and other libraries:
//
//     benchmark_xml --benchmark_filter=^extraction
#include "benchmarks/documents.h"
#include "osrelease/osrelease.h"
#include "xml/kqxml.h"

#include <QXmlStreamReader>

#include <benchmark/benchmark.h>
#include <libxml/xmlreader.h>

#include <cstring>
#include <memory>
#include <vector>

bool g_kq_verbose = false;

namespace {

struct Sample
{
    explicit Sample(std::size_t wanted)
        : size(wanted)
        , bytes(documents::xml(size))
    {
        dom.setContent(bytes);
    }

    std::size_t size;
    QByteArray bytes;
    QDomDocument dom;
};

// Each returns whether it found the element.

bool firstByHelpers(const Sample& s, const QString& tag)
{
    return !KQXml::GetChildElement(s.dom.documentElement(), tag).isNull();
}

bool firstByQt(const Sample& s, const QString& tag)
{
    return !s.dom.documentElement().elementsByTagName(tag).item(0).isNull();
}

bool extractByHelpers(const Sample& s, const QString& tag)
{
    return !KQXml::ExtractElement(s.bytes, tag, false).isEmpty();
}

// Reads up to the end of the element and cuts nothing.
bool readByQt(const Sample& s, const QString& tag)
{
    QXmlStreamReader reader(s.bytes);
    while (!reader.atEnd()) {
        if (reader.readNext() == QXmlStreamReader::EndElement && reader.name() == tag)
            return true;
    }
    return false;
}

bool extractByLibxml2(const Sample& s, const QString& tag)
{
    const std::unique_ptr<xmlTextReader, decltype(&xmlFreeTextReader)> reader(
        xmlReaderForMemory(s.bytes.constData(), int(s.bytes.size()), nullptr, nullptr, XML_PARSE_HUGE),
        xmlFreeTextReader);
    const QByteArray name = tag.toUtf8();
    while (xmlTextReaderRead(reader.get()) == 1) {
        if (xmlStrEqual(xmlTextReaderConstLocalName(reader.get()), BAD_CAST name.constData())) {
            return std::unique_ptr<xmlChar, decltype(xmlFree)>(xmlTextReaderReadOuterXml(reader.get()), xmlFree) !=
                   nullptr;
        }
    }
    return false;
}

struct Row
{
    const char* question;
    const char* tag;
    std::vector<std::pair<const char*, bool (*)(const Sample& sample, const QString& tag)>> steps;
};

const Row rows[] = {
    {"first element", "first", {{"KQXml", firstByHelpers}, {"Qt", firstByQt}}},
    {"first element", "last", {{"KQXml", firstByHelpers}, {"Qt", firstByQt}}},
    {"first element", "absent", {{"KQXml", firstByHelpers}, {"Qt", firstByQt}}},
    {"extraction", "first", {{"KQXml", extractByHelpers}, {"Qt", readByQt}, {"libxml2", extractByLibxml2}}},
    {"extraction", "last", {{"KQXml", extractByHelpers}, {"Qt", readByQt}, {"libxml2", extractByLibxml2}}},
};

} // namespace

int main(int argc, char** argv)
{
    std::vector<std::unique_ptr<Sample>> samples;
    for (const std::size_t size : {1'000, 10'000, 100'000, 2'000'000, 10'000'000}) {
        samples.push_back(std::make_unique<Sample>(size));
        for (const Row& row : rows) {
            for (const auto& [who, step] : row.steps) {
                const std::string name =
                    std::string(row.question) + ", " + row.tag + '/' + who + '/' + std::to_string(size);
                benchmark::RegisterBenchmark(name.c_str(),
                    [step = step, &s = *samples.back(), tag = QString::fromLatin1(row.tag)](benchmark::State& state) {
                        for ([[maybe_unused]] auto _ : state)
                            benchmark::DoNotOptimize(step(s, tag));
                    });
            }
        }
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
