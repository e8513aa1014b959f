// How long does it take to load a settings file, to look a key up, to change it and to write the file, beside what a
// user would otherwise pick? By size: benchmark_inistore --benchmark_filter=^load/.*/4000$
#include "benchmarks/settings.h"
#include "osrelease/osrelease.h"

#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <fcntl.h>
#include <functional>
#include <memory>
#include <unistd.h>

bool g_kq_verbose = false;

namespace {

using settings::Candidate;
using settings::Document;

constexpr std::size_t sizes[] = {1'000, 4'000, 30'000, 200'000, 835'000, 10'000'000};

// What a candidate makes of a document, loaded once for all its benchmarks, before the clock starts.
class Subject
{
public:
    Subject(const Candidate& candidate, const Document& document)
        : m_candidate(candidate)
        , m_document(document)
        , m_loaded(std::make_shared<Candidate::Loaded>())
    {
    }

    void add(const std::string& question, const std::string& who, std::function<void(void*)> step) const
    {
        const std::string name = question + '/' + who + '/' + std::to_string(m_document.size);
        benchmark::RegisterBenchmark(name.c_str(), [subject = *this, step](benchmark::State& state) {
            if (!*subject.m_loaded)
                *subject.m_loaded = subject.m_candidate.load(subject.m_document);
            for ([[maybe_unused]] auto _ : state)
                step(subject.m_loaded->get());
        });
    }

private:
    const Candidate& m_candidate;
    const Document& m_document;
    std::shared_ptr<Candidate::Loaded> m_loaded;
};

void addCandidate(const Candidate& c, const Document& d)
{
    const Subject subject(c, d);
    subject.add("load", c.name, [&](void*) { c.load(d); });
    if (c.lookUp)
        subject.add("look-up", c.name, [&](void* loaded) { c.lookUp(loaded, d); });
    if (c.edit)
        subject.add("edit", c.name, [&, odd = false](void* loaded) mutable { c.edit(loaded, d, odd = !odd); });
    if (c.write)
        subject.add("write", c.name, [&](void* loaded) { c.write(loaded, d); });
}

void oneWrite(const Document& document)
{
    const int file = open((document.path + ".written").c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (write(file, document.bytes.data(), document.bytes.size()) < 0)
        qFatal("one write");
    close(file);
}

} // namespace

int main(int argc, char** argv)
{
    const QTemporaryDir folder;
    const std::vector<Candidate> candidates = settings::candidates();
    std::vector<std::unique_ptr<Document>> documents;
    for (const std::size_t size : sizes) {
        documents.push_back(std::make_unique<Document>(folder.path().toStdString(), settings::Shape::Ordinary, size));
        const Document& document = *documents.back();
        for (const Candidate& candidate : candidates) {
            if (size <= candidate.mostBytes)
                addCandidate(candidate, document);
        }
        const Subject store(candidates.front(), document);
        store.add("look-up", "plain scan", [&](void* loaded) { settings::plainLookUp(loaded, document); });
        store.add("write", "one write", [&](void*) { oneWrite(document); });
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
}
