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
#include <map>
#include <memory>

bool g_kq_verbose = false;

namespace {

constexpr std::size_t sizes[] = {1'000, 10'000, 100'000, 2'000'000, 10'000'000};

struct Document
{
    QByteArray bytes;
    QDomDocument qt;
};

// Created on first use, for all candidates.
Document& documentOf(std::size_t size)
{
    static std::map<std::size_t, Document> documents;
    Document& d = documents[size];
    if (d.bytes.isNull()) {
        d.bytes = documents::xml(size);
        d.qt.setContent(d.bytes);
    }
    return d;
}

std::size_t firstByHelpers(const Document& d, const char* tag)
{
    return KQXml::GetChildElement(d.qt.documentElement(), QString::fromLatin1(tag)).isNull() ? 0 : 1;
}

std::size_t firstByQt(const Document& d, const char* tag)
{
    return d.qt.documentElement().elementsByTagName(QString::fromLatin1(tag)).item(0).toElement().isNull() ? 0 : 1;
}

std::size_t extractByHelpers(const Document& d, const char* tag)
{
    return std::size_t(KQXml::ExtractElement(d.bytes, QString::fromLatin1(tag), false).size());
}

// Reads up to the end of the element and cuts nothing.
std::size_t extractByQt(const Document& d, const char* tag)
{
    const QString name = QString::fromLatin1(tag);
    for (QXmlStreamReader reader(d.bytes); !reader.atEnd(); reader.readNext()) {
        if (reader.tokenType() == QXmlStreamReader::EndElement && reader.name() == name)
            return std::size_t(reader.characterOffset());
    }
    return 0;
}

std::size_t extractByLibxml2(const Document& d, const char* tag)
{
    const std::unique_ptr<xmlTextReader, decltype(&xmlFreeTextReader)> reader(
        xmlReaderForMemory(d.bytes.constData(), int(d.bytes.size()), nullptr, nullptr, XML_PARSE_HUGE),
        xmlFreeTextReader);
    const auto isFound = [&] {
        return std::strcmp(reinterpret_cast<const char*>(xmlTextReaderConstLocalName(reader.get())), tag) == 0;
    };
    while (xmlTextReaderRead(reader.get()) == 1 && !isFound()) {
    }
    const std::unique_ptr<xmlChar, decltype(xmlFree)> found(xmlTextReaderReadOuterXml(reader.get()), xmlFree);
    return std::strlen(reinterpret_cast<const char*>(found.get()));
}

struct Row
{
    const char* question;
    std::vector<const char*> tags;
    const char* who;
    std::size_t (*step)(const Document& document, const char* tag);
};

const Row rows[] = {
    {"first element", {"first", "last", "absent"}, "helpers", firstByHelpers},
    {"first element", {"first", "last", "absent"}, "Qt", firstByQt},
    {"extraction", {"first", "last"}, "helpers", extractByHelpers},
    {"extraction", {"first", "last"}, "Qt", extractByQt},
    {"extraction", {"first", "last"}, "libxml2", extractByLibxml2},
};

void add(const Row& row, const char* tag, std::size_t size)
{
    const std::string name = std::string(row.question) + ", " + tag + '/' + row.who + '/' + std::to_string(size);
    benchmark::RegisterBenchmark(name.c_str(), [&row, tag, size](benchmark::State& state) {
        const Document& document = documentOf(size);
        for ([[maybe_unused]] auto _ : state)
            benchmark::DoNotOptimize(row.step(document, tag));
    });
}

} // namespace

int main(int argc, char** argv)
{
    for (const std::size_t size : sizes) {
        for (const Row& row : rows) {
            for (const char* const tag : row.tags)
                add(row, tag, size);
        }
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
}
