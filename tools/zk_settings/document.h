#ifndef ZK_SETTINGS_DOCUMENT_H
#define ZK_SETTINGS_DOCUMENT_H

#include "dialect.h"

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

/// A settings file as a dialect reads it.
///
/// An edit returns the new document. It has been read again: the edited key has exactly the requested value, and
/// everything else is read as before. Otherwise the edit throws.
///
/// Every call may throw Failure, with the number of the line if there is one.
struct Document
{
    /// Both arguments must outlive the document. Throws on a NUL byte.
    Document(std::string_view source, const Dialect& dialect);

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

    const std::string_view source;
    const std::string_view bytes; ///< without a byte-order mark
    const std::string_view lineEnding;
    const Dialect& dialect;
};

#endif
