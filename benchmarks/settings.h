#ifndef KQSUPPORT_BENCHMARKS_SETTINGS_H
#define KQSUPPORT_BENCHMARKS_SETTINGS_H

#include "benchmarks/documents.h"

#include <functional>
#include <memory>
#include <vector>

namespace settings {

using documents::Text;

/// A library that reads settings files. A step that it lacks is null. A step throws std::runtime_error if the library
/// reports a failure.
struct Candidate
{
    using Loaded = std::shared_ptr<void>;

    std::string name;
    std::function<Loaded(const Text& path)> load = {};
    std::function<void(void* loaded, const Text& section, const Text& key)> lookup = {};
    std::function<void(void* loaded, const Text& section, const Text& key, const Text& value)> edit = {};
    std::function<void(void* loaded, const Text& path)> write = {};
    std::size_t mostBytes = ~std::size_t(); // it takes minutes for a larger file
    bool hashComments = false;              // it refuses a file with `;` comments
};

/// The store, then the other libraries.
std::vector<Candidate> candidates();

} // namespace settings

#endif
