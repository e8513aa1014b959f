// Load, lookup, edit and write by file size, for the store and other libraries:
//
//     benchmark_inistore --benchmark_filter='^load/.*/4000$'
#include "benchmarks/settings.h"
#include "osrelease/osrelease.h"

#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <malloc.h>

bool g_kq_verbose = false;

namespace {

using documents::Settings;
using documents::Text;
using settings::Candidate;

constexpr std::size_t sizes[] = {4'000, 60'000, 835'000, 10'000'000};

std::size_t bytesAllocated()
{
    const auto heap = mallinfo2();
    return heap.uordblks + heap.hblkhd;
}

void load(benchmark::State& state, const Candidate& c, const Settings& d)
{
    for ([[maybe_unused]] auto _ : state)
        c.load(d.pathFor(c.hashComments));
    const std::size_t before = bytesAllocated();
    const Candidate::Loaded loaded = c.load(d.pathFor(c.hashComments));
    state.counters["held"] = double(bytesAllocated() - before) / double(d.bytes.size());
}

void addCandidate(const Candidate& c, const Settings& d)
{
    using Step = std::function<void(void* loaded)>;
    const auto loaded = std::make_shared<Candidate::Loaded>(); // by the first benchmark that needs it
    const auto nameOf = [&](const char* question) {
        return std::string(question) + '/' + c.name + '/' + std::to_string(d.size);
    };
    const auto add = [&](const char* question, const Step& step) {
        benchmark::RegisterBenchmark(nameOf(question).c_str(), [=, &c, &d](benchmark::State& state) {
            if (!*loaded)
                *loaded = c.load(d.pathFor(c.hashComments));
            for ([[maybe_unused]] auto _ : state)
                step(loaded->get());
        });
    };
    const Text written(d.path.bytes + ".written");
    benchmark::RegisterBenchmark(nameOf("load").c_str(), [&](benchmark::State& state) { load(state, c, d); });
    if (c.lookup)
        add("lookup", [&](void* l) { c.lookup(l, d.section, d.key); });
    if (c.edit)
        add("edit", [&, odd = false](void* l) mutable { c.edit(l, d.section, d.key, d.values[odd = !odd]); });
    if (c.write && c.name != "QSettings") // writes nothing if nothing has changed
        add("write", [=, &c](void* l) { c.write(l, written); });
}

} // namespace

int main(int argc, char** argv)
{
    const QTemporaryDir folder;
    const std::vector<Candidate> candidates = settings::candidates();
    std::vector<std::unique_ptr<Settings>> documents;
    for (const std::size_t size : sizes) {
        documents.push_back(std::make_unique<Settings>(folder.path().toStdString(), size));
        for (const Candidate& candidate : candidates) {
            if (size <= candidate.mostBytes)
                addCandidate(candidate, *documents.back());
        }
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
