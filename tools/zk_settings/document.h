#ifndef ZK_SETTINGS_DOCUMENT_H
#define ZK_SETTINGS_DOCUMENT_H

#include "reader.h"

#include <optional>
#include <string>
#include <vector>

/// The names and the value of a command.
struct Request
{
    std::string section = {};
    std::optional<std::string> key = {};
    std::optional<std::string> value = {};
};

enum class Place;
struct Splice;
struct Survey;
class Style;

/// A settings file as a dialect reads it.
///
/// An edit returns the new document. It has been read again: the edited key has exactly the requested value, and
/// everything else is read as before. Otherwise the edit throws.
///
/// Every call may throw Failure, with the number of the line if there is one.
class Document
{
public:
    /// Both arguments must outlive the document. Throws on a NUL byte.
    Document(std::string_view bytes, const Dialect& dialect);

    /// Returns each name once, in file order and as first written. The lines before the first header are the section
    /// "". It is left out if it has no keys.
    std::vector<std::string> sections() const;
    std::vector<std::string> keys(const std::string& section) const;
    /// Returns the value that counts, or all of them.
    std::vector<std::string> values(const Request& request, bool all) const;

    /// Replaces the value that counts, or adds the key.
    std::string set(const Request& request) const;
    /// Adds a line after the last one with the key, or adds the key.
    std::string append(const Request& request) const;
    /// Adds a line before the first one with the key, or adds the key.
    std::string prepend(const Request& request) const;
    /// Removes the section, or the lines with the key, or only those with the value.
    std::string remove(const Request& request) const;

private:
    bool hasName(Entry& entry, const std::string& id, std::string_view name) const;
    bool mayHaveName(const Entry& entry, std::string_view name) const;
    Survey survey(const Request& request, bool everyLine = false, bool everySection = false) const;
    bool agreesWithStore(const Request& request) const;
    [[noreturn]] void fail(std::size_t at, const std::string& text) const;
    [[noreturn]] void failAbsent(const Request& request, const Survey& found) const;
    void requireLineFeeds(Range range) const;
    void require(const Entry& entry, Doubt::Level level) const;

    Style styleOf(const Survey& found) const;
    bool hasBlankLineBeforeHeaders() const;
    std::string encoded(const Request& request, const std::string& indent) const;
    std::string added(const Request& request, const Survey& found, Place place) const;
    Splice replacement(const Entry& entry, const Request& request, const Survey& found) const;
    std::string withoutSection(const Request& request) const;
    std::string finished(
        const std::vector<Splice>& splices, const Request& request, std::size_t rest, Place place) const;
    const Entry& writtenEntry(const Request& request, const Survey& found, Place place) const;

    std::string_view m_mark; // a byte-order mark
    std::string_view m_bytes;
    std::string_view m_lineEnding;
    const Dialect& m_dialect;
};

#endif
