#ifndef ZK_SETTINGS_READER_H
#define ZK_SETTINGS_READER_H

#include "dialect.h"

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

/// Reads the entries of a document one after the other.
class Reader
{
public:
    /// Both arguments must outlive the reader.
    Reader(std::string_view bytes, const Dialect& dialect)
        : m_bytes(bytes)
        , m_dialect(dialect)
    {
    }

    /// Returns false at the end.
    bool next(Entry& entry);

    /// Returns the value as its owner reads it: the lines joined, without quotes and escapes.
    std::string valueOf(const Entry& entry) const;

private:
    struct Line
    {
        std::size_t begin;
        std::size_t text; ///< behind the indentation
        std::size_t end;  ///< before the line ending
        std::size_t next;

        bool isBlank() const { return text == end; }
        std::size_t indent() const { return text - begin; }
    };

    Line lineAt(std::size_t begin) const;
    Range trimmed(std::size_t begin, std::size_t end) const;
    bool startsWith(const Line& line, std::string_view characters) const;
    bool endsWithBackslash(std::size_t end) const;
    bool looksLikeKey(const Line& line) const;
    std::size_t closingBracket(const Line& line) const;
    std::size_t noteIn(Range range) const;
    std::size_t hashOf(const Entry& entry) const;
    void raise(Entry& entry, Doubt::Level level, const char* text) const;

    void cutNote(Line& line, Entry& entry) const;
    bool takeHeader(const Line& line, Entry& entry);
    std::size_t takeContent(std::size_t begin, const Line& line, Entry& entry);
    void takeKey(const Line& line, Entry& entry);
    void takeContinuation(Line line, Entry& entry);
    void takeJoined(Line& line, Entry& entry);
    void takeQuoted(Line& line, Entry& entry);
    void takeIndented(Line& line, Entry& entry);
    void checkKey(Entry& entry) const;

    std::string_view m_bytes;
    const Dialect& m_dialect;
    std::size_t m_at = 0;
    std::size_t m_backslash = none; // where the line before starts, if it ends with a backslash
    std::size_t m_indent = none;    // of the last key; none after a header
    char m_quote = '\0';            // that is open
    std::size_t m_closing = none;   // a later quote of this kind
};

#endif
