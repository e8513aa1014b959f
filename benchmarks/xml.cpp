// What do the first element, all elements and the bytes of one cost, beside the calls that a user would otherwise
// write? By size of the document: benchmark_xml --benchmark_filter=^first
#include "benchmarks/documents.h"
#include "osrelease/osrelease.h"

#include <benchmark/benchmark.h>

bool g_kq_verbose = false;

namespace {

using documents::Candidate;

constexpr std::size_t sizes[] = {1'000, 10'000, 100'000, 2'000'000, 10'000'000};

// A document and what a candidate makes of it, loaded once for all its benchmarks, before the clock starts.
class Subject
{
public:
    Subject(const Candidate& candidate, std::size_t size)
        : m_candidate(candidate)
        , m_size(size)
        , m_document(std::make_shared<Document>())
    {
    }

    void add(const std::string& question, std::function<void(void*, const QByteArray& xml)> step) const
    {
        const std::string name = question + '/' + m_candidate.name + '/' + std::to_string(m_size);
        benchmark::RegisterBenchmark(name.c_str(), [subject = *this, step](benchmark::State& state) {
            Document& document = *subject.m_document;
            if (document.xml.isNull()) {
                document.xml = documents::documentOf(documents::Shape::Wide, subject.m_size);
                document.loaded = subject.m_candidate.load ? subject.m_candidate.load(document.xml) : nullptr;
            }
            for ([[maybe_unused]] auto _ : state)
                step(document.loaded.get(), document.xml);
        });
    }

private:
    struct Document
    {
        QByteArray xml;
        Candidate::Loaded loaded;
    };

    const Candidate& m_candidate;
    std::size_t m_size;
    std::shared_ptr<Document> m_document;
};

void addCandidate(const Candidate& c, std::size_t size)
{
    const Subject subject(c, size);
    for (const char* const tag : {"first", "last", "absent"}) {
        if (c.first)
            subject.add(std::string("first element, ") + tag, [&c, tag](void* d, auto&) { c.first(d, tag); });
    }
    for (const char* const tag : {"first", "last"})
        subject.add(std::string("extraction, ") + tag, [&c, tag](void*, auto& xml) { c.extract(xml, tag); });
    if (c.all)
        subject.add("all elements", [&c](void* d, auto&) { c.all(d, "item"); });
    if (c.texts)
        subject.add("all texts", [&c](void* d, auto&) { c.texts(d, "name"); });
}

} // namespace

int main(int argc, char** argv)
{
    const std::vector<Candidate> candidates = documents::candidates();
    for (const std::size_t size : sizes) {
        for (const Candidate& candidate : candidates)
            addCandidate(candidate, size);
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
}
