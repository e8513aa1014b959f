// The figures that repeat exactly, for one candidate and one document:
//
//     benchmark_costs settings CANDIDATE SHAPE SIZE
//     benchmark_costs xml CANDIDATE SHAPE SIZE
//
// Below callgrind with --instr-atstart=no each step is a dump of its name. The build with COUNT_ALLOCATIONS prints for
// each step the allocations that it made and the bytes that it left allocated.
#include "benchmarks/documents.h"
#include "benchmarks/settings.h"
#include "inistore/inistore.h"
#include "osrelease/osrelease.h"

#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <valgrind/callgrind.h>

bool g_kq_verbose = false;

#ifdef COUNT_ALLOCATIONS
#include <malloc.h>

namespace {
long long allocations = 0;
long long bytesHeld = 0;

void* counted(void* memory)
{
    ++allocations;
    bytesHeld += static_cast<long long>(malloc_usable_size(memory));
    return memory;
}
} // namespace

// The program's own definitions come before those of the C library, which keeps them under these names as well.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
void __libc_free(void* memory);

void* malloc(std::size_t size)
{
    return counted(__libc_malloc(size));
}
void* calloc(std::size_t count, std::size_t size)
{
    return counted(__libc_calloc(count, size));
}
void* realloc(void* memory, std::size_t size)
{
    bytesHeld -= static_cast<long long>(malloc_usable_size(memory));
    return counted(__libc_realloc(memory, size));
}
void free(void* memory)
{
    bytesHeld -= static_cast<long long>(malloc_usable_size(memory));
    __libc_free(memory);
}
}
#endif

namespace {

template <typename Step>
void measure(const char* name, Step step)
{
#ifdef COUNT_ALLOCATIONS
    const long long allocationsBefore = allocations;
    const long long bytesBefore = bytesHeld;
    step();
    std::printf("%s %lld %lld\n", name, allocations - allocationsBefore, bytesHeld - bytesBefore);
#else
    CALLGRIND_START_INSTRUMENTATION;
    step();
    CALLGRIND_STOP_INSTRUMENTATION;
    CALLGRIND_DUMP_STATS_AT(name);
#endif
}

// What only the first call costs is none of the step's.
template <typename Step>
void measureSecond(const char* name, Step step)
{
    step();
    measure(name, step);
}

template <typename Candidate>
const Candidate* named(const std::vector<Candidate>& candidates, const char* name)
{
    const auto found =
        std::find_if(candidates.begin(), candidates.end(), [&](const Candidate& c) { return c.name == name; });
    return found == candidates.end() ? nullptr : &*found;
}

void measureSettings(const settings::Candidate& c, const settings::Document& d)
{
    c.load(d);
    settings::Candidate::Loaded loaded;
    measure("load", [&] { loaded = c.load(d); });
    if (c.lookUp)
        measureSecond("look-up", [&] { c.lookUp(loaded.get(), d); });
    if (c.write)
        measureSecond("write", [&] { c.write(loaded.get(), d); });
    if (c.edit)
        measureSecond("edit", [&, odd = false]() mutable { c.edit(loaded.get(), d, odd = !odd); });
    if (c.name == "store") {
        auto& store = *static_cast<INIStore*>(loaded.get());
        const QString value = QStringLiteral("value");
        measure("append", [&] { store.AppendKey(d.qtSection, d.qtKey, value); });
        measure("prepend", [&] { store.PrependKey(d.qtSection, d.qtKey, value); });
        measure("add", [&] { store.AppendKey(d.qtSection, QStringLiteral("absent"), value); });
        measure("remove", [&] { store.RemoveKeyValue(d.qtSection, QStringLiteral("absent"), value); });
    }
    loaded = c.load(d); // one that was edited might write its file when it is released
    measure("release", [&] { loaded.reset(); });
}

void measureXml(const documents::Candidate& c, const QByteArray& xml)
{
    measureSecond("extraction", [&] { c.extract(xml, "last"); });
    if (!c.load)
        return;
    const documents::Candidate::Loaded loaded = c.load(xml);
    for (const char* const tag : {"first", "last", "absent"})
        measureSecond(tag, [&] { c.first(loaded.get(), tag); });
    measureSecond("all elements", [&] { c.all(loaded.get(), "item"); });
    measureSecond("all texts", [&] { c.texts(loaded.get(), "name"); });
    if (c.edit)
        measureSecond("edits", [&] { c.edit(loaded.get()); });
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 5) {
        std::fprintf(stderr, "benchmark_costs settings|xml CANDIDATE SHAPE SIZE\n");
        return 2;
    }
    const char* const name = argv[2];
    const int shape = std::atoi(argv[3]);
    const auto size = static_cast<std::size_t>(std::atoll(argv[4]));
    const QTemporaryDir folder;
    if (std::strcmp(argv[1], "settings") == 0) {
        auto candidates = settings::candidates();
        candidates.push_back(settings::plainModel());
        const settings::Document document(folder.path().toStdString(), settings::Shape(shape), size);
        if (const auto* const candidate = named(candidates, name))
            return measureSettings(*candidate, document), 0;
    } else {
        auto candidates = documents::candidates();
        candidates.push_back(documents::plainModel());
        const QByteArray xml = documents::documentOf(documents::Shape(shape), size);
        if (const auto* const candidate = named(candidates, name))
            return measureXml(*candidate, xml), 0;
    }
    std::fprintf(stderr, "benchmark_costs: no candidate %s\n", name);
    return 2;
}
