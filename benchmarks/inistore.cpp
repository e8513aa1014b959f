// Load, lookup, edit and write by file size, for the store and other libraries:
//
//     benchmark_inistore --benchmark_filter='^load/.*/4000$'
#include "benchmarks/benchmarks.h"
#include "osrelease/osrelease.h"

#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <list>
#include <malloc.h>

bool g_kq_verbose = false;

namespace {

using namespace documents;
using namespace libraries;

double bytesAllocated()
{
    const auto heap = mallinfo2();
    return double(heap.uordblks + heap.hblkhd);
}

void load(benchmark::State& state, const Library& library, Text path, std::size_t size)
{
    for ([[maybe_unused]] auto _ : state)
        library.load(path);
    const double before = bytesAllocated();
    const auto loaded = library.load(path);
    state.counters["held"] = (bytesAllocated() - before) / double(size);
}

void add(const Library& library, const SettingsFile& file)
{
    Text path = library.hashComments ? file.hashPath : file.path;
    const std::string name = '/' + library.name + '/' + std::to_string(file.size);
    benchmark::RegisterBenchmark(("load" + name).c_str(), load, library, path, file.bytes.size());
    const std::pair<std::string, std::function<void(LoadedFile & loaded)>> steps[] = {
        {"lookup", [&](LoadedFile& l) { l.lookup(file.section, file.key); }},
        {"edit", [&, odd = false](LoadedFile& l) mutable { l.edit(file.section, file.key, file.values[odd = !odd]); }},
        {"write", [written = DualString(file.path.bytes + ".written")](LoadedFile& l) { l.write(written); }},
    };
    for (const auto& [question, step] : steps) {
        const auto run = [&library, &path, step = step](benchmark::State& state) {
            const auto loaded = library.load(path);
            for ([[maybe_unused]] auto _ : state)
                step(*loaded);
        };
        if (library.timed.find(question) != std::string::npos)
            benchmark::RegisterBenchmark((question + name).c_str(), run);
    }
}

} // namespace

int main(int argc, char** argv)
{
    const QTemporaryDir folder;
    std::list<SettingsFile> files;
    for (const std::size_t size : {4'000, 60'000, 835'000, 10'000'000}) {
        files.emplace_back(folder.path().toStdString(), size);
        for (const Library& library : libraries::all)
            add(library, files.back());
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
