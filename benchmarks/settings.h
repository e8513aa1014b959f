#ifndef KQSUPPORT_BENCHMARKS_SETTINGS_H
#define KQSUPPORT_BENCHMARKS_SETTINGS_H

#include <QString>

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace settings {

/// What a settings file looks like. All but the first are there to find out what costs more than it should.
enum class Shape
{
    Ordinary, // sections of 40 keys, a comment above every fifth
    OneSection,
    ManySections, // of one key each
    EqualKeys,    // in one section
    LongLine,     // one value
};

/// A settings file on disk, and the key in it that a scan reaches last.
struct Document
{
    /// Writes a file of at least so many bytes into the folder.
    Document(const std::string& folder, Shape shape, std::size_t size);

    std::size_t size; // as asked for
    std::string path;
    std::string hashPath; // the same file with `#` for its comments
    std::string section;
    std::string key;
    std::string bytes;
    std::string values[2]; // an edit's, which take turns; as long as the line's own where that is what the shape is for
    QString qtPath;
    QString qtSection;
    QString qtKey;
    QString qtValues[2];
};

/// Something that reads settings: the store, or what a user would otherwise pick. What it cannot do is null. Each step
/// ends the program when it does not succeed.
struct Candidate
{
    using Loaded = std::shared_ptr<void>;

    std::string name;
    std::size_t mostBytes; // of a larger file it would make minutes
    std::function<Loaded(const Document&)> load;
    std::function<void(void*, const Document&)> lookUp;
    std::function<void(void*, const Document&, bool odd)> edit;
    std::function<void(void*, const Document&)> write; // to a file beside the document's
};

/// The store first, then the others that this build has found.
std::vector<Candidate> candidates();

/// The store's rules written plainly, one step after another: what the store is measured against where the counts of
/// two machines differ.
Candidate plainModel();

/// The look-up as one would write it first, on a document that the store has loaded.
void plainLookUp(void* store, const Document& document);

} // namespace settings

#endif
