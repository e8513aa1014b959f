#ifndef ZK_SETTINGS_DIALECT_H
#define ZK_SETTINGS_DIALECT_H

#include <QRegularExpression>

#include <algorithm>
#include <string>
#include <string_view>

inline constexpr std::size_t none = std::string_view::npos;
inline constexpr std::string_view blanks = " \t";
inline constexpr std::string_view whiteSpace = " \t\r\n\v\f";

inline bool contains(std::string_view characters, char character)
{
    return characters.find(character) != none;
}

/// Views the text without white space around it. What is left of nothing but white space is its end.
inline std::string_view trimmed(std::string_view text)
{
    text.remove_prefix(std::min(text.find_first_not_of(whiteSpace), text.size()));
    return text.substr(0, text.find_last_not_of(whiteSpace) + 1);
}

/// What a dialect does that others do not. Otherwise the last of equal keys counts, and sections with the same name are
/// one.
enum Trait : unsigned
{
    NotesAnywhere = 1U << 0,      ///< a note needs no white space before it
    NotesTakeOneMore = 1U << 1,   ///< ... and the character before it belongs to it
    QuotesAnywhere = 1U << 2,     ///< a part of a value may be quoted, not only the whole
    EscapesAnywhere = 1U << 3,    ///< not only between double quotes
    JoinsByBackslash = 1U << 4,   ///< a backslash at the end of a line joins the next one
    SkipsComments = 1U << 5,      ///< between the lines of a value
    JoinsByIndentation = 1U << 6, ///< a line that is indented more deeply than the key continues the value
    JoinsByQuote = 1U << 7,       ///< a value continues until its quote is closed
    KeepsTrailingSpace = 1U << 8, ///< of a value
    BareKeys = 1U << 9,           ///< a line without a separator is a key without a value
    NeedsHeader = 1U << 10,       ///< no key before the first header
    NoRepeats = 1U << 11,         ///< a section has one line for each key
    FirstCounts = 1U << 12,       ///< of equal keys, and of sections with the same name
    LastSectionCounts = 1U << 13, ///< of sections with the same name
    KeysIgnoreCase = 1U << 14,
    SectionsIgnoreCase = 1U << 15,
    DashIsUnderscore = 1U << 16,       ///< in keys
    KeysAfterHeader = 1U << 17,        ///< on its line
    Subsections = 1U << 18,            ///< [name "part"]: the part may contain any character and has its own case
    TrimsSectionStart = 1U << 19,      ///< white space behind the '[' is no part of the name
    TrimsSectionEnd = 1U << 20,        ///< nor is that before the ']'
    CarriageReturnEndsLine = 1U << 21, ///< also without a line feed
    DropsSpaceByQuotes = 1U << 22,     ///< beside a part in double quotes
    Cautious = 1U << 23,               ///< refuses what programs read differently; names in another case are in doubt
};

/// A regular expression that a table holds as text.
struct Pattern : QRegularExpression
{
    Pattern(const char* text)
        : QRegularExpression(QLatin1String(text))
    {
    }
};

/// How the programs that own a kind of file read it.
struct Dialect
{
    std::string_view name;
    Pattern files;               ///< for their names
    Pattern header;              ///< for its start; captures the name
    std::string_view comments;   ///< start a comment at the start of a line
    std::string_view notes;      ///< start a comment after a value
    std::string_view separators; ///< the first one ends the key
    std::string_view quotes;
    std::string_view quoted;   ///< bytes that need quotes
    std::string_view escapes;  ///< letters after a backslash
    std::string_view meanings; ///< ... and what they stand for
    std::string_view joint;    ///< stands between the lines of a value
    std::string_view sample;   ///< has the spacing of a line in a file without keys
    unsigned traits;
    Pattern keys = R"(^.*\z)";     ///< the owner refuses a file with other keys
    Pattern sections = R"(^.*\z)"; ///< ... and sections

    /// Returns the dialect of the file; with a name, the dialect of this name for the file. Null if there is none.
    static const Dialect* find(std::string_view name, const std::string& path);

    bool has(unsigned trait) const { return (traits & trait) != 0; }

    /// Two names are the same for the owner if these are equal. A cautious dialect ignores the case here.
    std::string sectionId(std::string_view section) const;
    std::string keyId(std::string_view key) const;

    /// Whether a backslash does not escape the quote behind it: for PHP, at the end of a line.
    bool endsQuote(std::string_view text, std::size_t backslash) const;
    /// Returns what the owner reads: the text without quotes and escapes.
    std::string decoded(std::string_view text) const;
    /// Returns the text that the owner reads as `value`, if there is one. Each line break becomes `lineBreak`.
    std::string encoded(std::string_view value, const std::string& lineBreak) const;
};

/// The names of all dialects, for people.
std::string dialectNames();

#endif
