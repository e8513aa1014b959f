#ifndef KQSUPPORT_BENCHMARKS_DOCUMENTS_H
#define KQSUPPORT_BENCHMARKS_DOCUMENTS_H

#include <QByteArray>

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace documents {

enum class Shape
{
    Wide, // records side by side, as in a data file
    Deep, // elements nested in one another
};

/// An XML document of at least so many bytes, with one element `first` before and one element `last` behind all others.
/// The others are `item`, each with a `name` where they stand side by side.
QByteArray documentOf(Shape shape, std::size_t size);

/// Something that finds elements: the helpers, or what a user would otherwise write. What it cannot do is null.
struct Candidate
{
    using Loaded = std::shared_ptr<void>;

    std::string name;
    std::function<Loaded(const QByteArray& xml)> load;
    std::function<void(void*, const char* tag)> first;
    std::function<std::size_t(void*, const char* tag)> all;
    std::function<std::size_t(void*, const char* tag)> texts;
    /// Gives the root's last child a text, and new elements before and after it.
    std::function<void(void*)> edit;
    /// The bytes of the first element of the name; how many there are.
    std::function<std::size_t(const QByteArray& xml, const char* tag)> extract;
};

/// The helpers first, then the others that this build has found.
std::vector<Candidate> candidates();

/// The extraction written plainly: what it is measured against where the counts of two machines differ.
Candidate plainModel();

} // namespace documents

#endif
