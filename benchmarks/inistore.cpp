// Load, lookup, edit and write by file size, for the store and other libraries:
//
//     benchmark_inistore --benchmark_filter='^load/.*/4000$'
#include "benchmarks/libraries.h"
#include "osrelease/osrelease.h"

#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <functional>
#include <malloc.h>

bool g_kq_verbose = false;

namespace {

using documents::DualString;
using documents::SettingsFile;
using libraries::Library;
using libraries::LoadedFile;

double bytesAllocated()
{
    const auto heap = mallinfo2();
    return double(heap.uordblks + heap.hblkhd);
}

void load(benchmark::State& state, const Library& library, const DualString& path, std::size_t size)
{
    for ([[maybe_unused]] auto _ : state)
        library.load(path);
    const double before = bytesAllocated();
    const auto loaded = library.load(path);
    state.counters["held"] = (bytesAllocated() - before) / double(size);
}

void addLibrary(const Library& library, const SettingsFile& file)
{
    const DualString& path = library.hashComments ? file.hashPath : file.path;
    const auto loaded = std::make_shared<std::unique_ptr<LoadedFile>>(); // by the first benchmark that needs it
    const auto add = [&](const char* question, const std::function<void(benchmark::State&)>& run) {
        const std::string name = std::string(question) + '/' + library.name + '/' + std::to_string(file.size);
        benchmark::RegisterBenchmark(name.c_str(), run);
    };
    const auto addStep = [&](const char* question, const std::function<void(LoadedFile&)>& step) {
        add(question, [=, &library, &path](benchmark::State& state) {
            if (!*loaded)
                *loaded = library.load(path);
            for ([[maybe_unused]] auto _ : state)
                step(**loaded);
        });
    };
    add("load", [&](benchmark::State& state) { load(state, library, path, file.bytes.size()); });
    if (library.onlyReads)
        return;
    addStep("lookup", [&](LoadedFile& l) { l.lookup(file.section, file.key); });
    addStep(
        "edit", [&, odd = false](LoadedFile& l) mutable { l.edit(file.section, file.key, file.values[odd = !odd]); });
    if (!library.writesChanges)
        addStep("write", [written = DualString(file.path.bytes + ".written")](LoadedFile& l) { l.write(written); });
}

} // namespace

int main(int argc, char** argv)
{
    const QTemporaryDir folder;
    std::vector<std::unique_ptr<SettingsFile>> files;
    for (const std::size_t size : {4'000, 60'000, 835'000, 10'000'000}) {
        files.push_back(std::make_unique<SettingsFile>(folder.path().toStdString(), size));
        for (const Library& library : libraries::all)
            addLibrary(library, *files.back());
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
