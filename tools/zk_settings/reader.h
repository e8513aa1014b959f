#ifndef ZK_SETTINGS_READER_H
#define ZK_SETTINGS_READER_H

#include "dialect.h"

#include <functional>
#include <vector>

/// Views from the first byte of one view to the last byte of another.
inline std::string_view span(std::string_view first, std::string_view last)
{
    return {first.data(), static_cast<std::size_t>(last.data() + last.size() - first.data())};
}

/// Why programs read an entry differently, and how far.
struct Doubt
{
    enum Level
    {
        None,
        Reading,
        Value,
        Lines
    };

    Level level = None; ///< Reading: what the value means. Value: also where it ends. Lines: which lines the entry has
    std::string_view text = {};
    const char* at = nullptr; ///< in the line to name
};

/// What a cautious dialect is in doubt about.
inline constexpr char noteDoubt[] =
    "white space and '#' or ';' may start a comment (--dialect git, mysql, php) or belong to "
    "the value (--dialect desktop, python, systemd)";
inline constexpr char quoteDoubt[] = "an open quote may continue on the next line (--dialect php) or not (any other)";
inline constexpr char openDoubt[] = "an open quote hides the rest of the file, but not in PHP's raw mode";
inline constexpr char backslashDoubt[] =
    "a backslash may join the next line (--dialect git, systemd) or not (--dialect desktop, mysql, php, python)";
inline constexpr char indentDoubt[] =
    "an indented line may continue the value above (--dialect python) or be a key (any other --dialect)";
inline constexpr char colonDoubt[] = "a ':' may end the key (--dialect python) or belong to it (any other --dialect)";
inline constexpr char headerDoubt[] =
    "text after a header may be a key (--dialect git, php) or nothing (--dialect mysql, python)";
inline constexpr char bracketDoubt[] =
    "a second ']' may belong to the section (--dialect desktop, python, systemd) or not (--dialect git, mysql, php)";
inline constexpr char caseDoubt[] =
    "a name in another case may be the same (--dialect git, python) or another (any other)";

/// One line, or a key with all lines of its value. Text is a line that is nothing else. The views are parts of the
/// document.
struct Entry
{
    enum Kind
    {
        Blank,
        Comment,
        Text,
        Header,
        Key
    };

    Kind kind = Blank;
    std::string_view lines;              ///< with the last line ending
    std::string_view name;               ///< of a header or a key
    std::string_view separator;          ///< with the white space around it; empty: a key without a value
    std::vector<std::string_view> value; ///< the part of each line; empty for a key without a separator
    std::string_view note;               ///< the comment after the value
    Doubt doubt;
    std::size_t hash = 0; ///< of its text and the doubt; 0 for blank lines and comments

    std::string_view indent() const { return lines.substr(0, static_cast<std::size_t>(name.data() - lines.data())); }
    /// Returns the value as its owner reads it: the lines joined, without quotes and escapes.
    std::string read(const Dialect& dialect) const;
};

/// Calls `visit` with each entry of a document, from the first to the last. The entry may be changed.
void forEachEntry(std::string_view bytes, const Dialect& dialect, const std::function<void(Entry&)>& visit);

#endif
