#ifndef ZK_SETTINGS_READER_H
#define ZK_SETTINGS_READER_H

#include "dialect.h"

#include <functional>
#include <vector>

/// The bytes from `begin` up to, not including, `end`.
struct Range
{
    std::size_t begin = 0;
    std::size_t end = 0;

    bool isEmpty() const { return begin == end; }
    std::string_view of(std::string_view bytes) const { return bytes.substr(begin, end - begin); }
};

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
    std::size_t at = 0; ///< where the entry starts
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

/// One line, or a key with all lines of its value. Text is a line that is nothing else.
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
    Range lines;                  ///< with the last line ending
    Range name;                   ///< of a header or a key; the whole of a text
    std::size_t separator = none; ///< none: a key without a value
    std::vector<Range> value;     ///< the part of each line; empty for a key without a separator
    std::vector<Range> comments;  ///< lines between those of the value
    std::size_t note = none;      ///< where the comment after the value starts
    Doubt doubt;
    std::size_t hash = 0; ///< of what it is, as written, and of the doubt; 0 for blank lines and comments

    bool hasValue() const { return separator != none; }
    /// From the first byte of the value to the last.
    Range valueRange() const { return {value.front().begin, value.back().end}; }
};

/// Calls `visit` with each entry of a document, from the first to the last. The entry may be changed.
void forEachEntry(std::string_view bytes, const Dialect& dialect, const std::function<void(Entry&)>& visit);

/// Returns the value as its owner reads it: the lines joined, without quotes and escapes.
std::string valueOf(const Entry& entry, std::string_view bytes, const Dialect& dialect);

#endif
