#include "document.h"

#include "descriptor.h"
#include "failure.h"
#include "reader.h"

#include "inistore/inistore.h"

#include <map>
#include <set>
#include <sys/mman.h>

namespace {

constexpr std::string_view byteOrderMark = "\xef\xbb\xbf";

/// The white space around the keys of a section or a file.
class Style
{
public:
    bool isEmpty() const { return m_counts.empty(); }

    void add(const Entry& entry)
    {
        if (entry.separator.empty() || entry.doubt.level == Doubt::Lines)
            return;
        const std::string_view before = entry.separator.substr(0, entry.separator.find_first_not_of(whiteSpace));
        const bool isCut = entry.value.front().empty() && !contains(whiteSpace, entry.separator.back());
        m_last = {std::string(entry.indent()), std::string(entry.separator).append(isCut ? before : "")};
        ++m_counts[m_last];
        const std::size_t size = entry.indent().size() + entry.name.size();
        m_columns.insert(contains(before, '\t') ? 0 : size + before.size()); // a tab makes no column
    }

    /// Takes what is most frequent for new lines.
    void takeUsual()
    {
        const auto isLess = [](const auto& a, const auto& b) { return a.second < b.second; };
        m_last = std::max_element(m_counts.begin(), m_counts.end(), isLess)->first;
    }

    const std::string& indent() const { return m_last.first; }

    /// Returns what stands between the name of a key and its new value. A value may start on the next line.
    std::string separator(std::string_view name, const std::string& value) const
    {
        std::string text = m_last.second;
        const std::size_t size = indent().size() + name.size();
        if (m_columns.size() == 1 && m_counts.size() > 1 && size < *m_columns.begin())
            text.replace(0, text.find_first_not_of(blanks), *m_columns.begin() - size, ' ');
        if (value.empty() || contains(whiteSpace, value.front()))
            text.resize(text.find_last_not_of(blanks) + 1);
        return text;
    }

private:
    using Spacing = std::pair<std::string, std::string>; // before the key, and from there to the value

    Spacing m_last;
    std::map<Spacing, int> m_counts;
    std::set<std::size_t> m_columns; // of the separators
};

/// Replaces a part of the document.
struct Splice
{
    std::string_view old;
    std::string text;
    std::size_t hash = 0; ///< of the entries that are replaced
};

/// Where an edit writes a value: at the first or last line of the key, or nowhere.
enum class Place
{
    First,
    Last,
    Nowhere
};

std::string_view endOf(std::string_view text)
{
    return text.substr(text.size());
}

std::string_view withoutLineEnding(std::string_view line)
{
    return line.substr(0, line.find_last_not_of("\r\n") + 1);
}

bool isAtLineStart(std::string_view text, const Document& document)
{
    return text.data() == document.bytes.data() || *(text.data() - 1) == '\n';
}

/// Which lines of the key a survey keeps.
enum class Scope
{
    Ends,        ///< the first and the last one in the sections that count
    EveryLine,   ///< every one there
    EverySection ///< every one in all sections with the name
};

/// What a document has of a section and a key.
class Survey
{
public:
    Survey(const Document& theDocument, const Request& theRequest, Scope scope = Scope::Ends)
        : document(theDocument)
        , dialect(document.dialect)
        , request(theRequest)
        , m_sectionId(dialect.sectionId(request.section))
        , m_keyId(dialect.keyId(request.key.value_or("")))
        , m_scope(scope)
    {
        Entry start;
        start.lines = document.bytes.substr(0, 0);
        if (m_sectionId.empty())
            enter(start);
        forEachEntry(document.bytes, dialect, [this](Entry& entry) {
            hash += entry.hash;
            countBlankLine(entry);
            entry.kind == Entry::Header ? takeHeader(entry) : takeLine(entry);
        });
        if (m_isInside)
            sections.back().lines = span(sections.back().lines, document.bytes);
        if (sections.empty() || (m_isInside && m_isFree))
            position = endOf(document.bytes);
    }

    const Document& document;
    const Dialect& dialect;
    const Request& request;
    std::vector<Entry> sections; ///< with all their lines, but for a comment that belongs to the next header
    Entry header;                ///< of the last section
    std::vector<Entry> matches;  ///< lines of the key, or of all keys
    std::string_view position;   ///< of a new key
    std::size_t hash = 0;        ///< the sum over all entries of the document
    Style style;                 ///< of the section

    const Entry& match(Place place) const { return place == Place::First ? matches.front() : matches.back(); }
    /// Whether most headers but the first have a blank line before them or before their comment, and the end has none.
    bool needsBlankLine() const { return m_balance > 0 && m_before != Entry::Blank; }

private:
    void countBlankLine(const Entry& entry)
    {
        if (entry.kind == Entry::Header && m_headers++ > 0)
            m_balance += m_before == Entry::Blank ? 1 : -1;
        if (entry.kind != Entry::Comment)
            m_before = entry.kind;
    }

    void enter(const Entry& entry)
    {
        m_isInside = m_isFree = true;
        header = entry;
        sections.push_back(entry);
        position = endOf(entry.lines);
    }

    // A header in doubt may be a part of a value, which does not end the section above.
    void takeHeader(Entry& entry)
    {
        const bool mayBeInside = m_isInside || m_doubt.level == Doubt::Lines;
        const bool wasInside = m_isInside;
        m_isInside = hasName(entry, m_sectionId, request.section) &&
                     (m_scope == Scope::EverySection || !dialect.has(FirstCounts) || sections.empty());
        m_doubt = m_isInside || mayBeInside ? entry.doubt : Doubt();
        if (wasInside && m_doubt.level == Doubt::Lines)
            sections.back().doubt = m_doubt;
        if (!m_isInside)
            return;
        if (m_scope != Scope::EverySection && dialect.has(LastSectionCounts)) {
            matches.clear();
            style = {};
        }
        enter(entry);
    }

    void takeLine(Entry& entry)
    {
        if (m_isInside && entry.kind != Entry::Comment)
            grow(entry);
        const bool mayBeInside = m_isInside || (m_doubt.level == Doubt::Lines && request.key);
        if (entry.kind != Entry::Key || !mayBeInside)
            return;
        if (request.key && !hasName(entry, m_keyId, *request.key))
            return;
        if (m_doubt.level == Doubt::Lines)
            entry.doubt = m_doubt;
        if (m_scope == Scope::Ends && matches.size() > 1)
            matches.pop_back();
        matches.push_back(entry);
    }

    // New keys go after the last key, and after text that may belong to it. In a section without keys they go after the
    // first comment; but a comment with no blank line before the next header belongs to that header.
    void grow(const Entry& entry)
    {
        sections.back().lines = span(sections.back().lines, entry.lines);
        sections.back().hash += entry.hash;
        style.add(entry);
        const bool isBehindKey = entry.kind == Entry::Text && !m_isFree && entry.lines.data() == position.data();
        if (entry.kind == Entry::Key || isBehindKey)
            position = endOf(entry.lines);
        else if (entry.kind == Entry::Blank && m_isFree)
            position = entry.lines.substr(0, 0);
        else
            return;
        m_isFree = false;
    }

    // A cautious dialect is in doubt about a name in another case. In doubt about a ':', the key may also end at the
    // '='.
    bool hasName(Entry& entry, const std::string& id, std::string_view name) const
    {
        const bool isHeader = entry.kind == Entry::Header;
        const bool isSame = (isHeader ? dialect.sectionId(entry.name) : dialect.keyId(entry.name)) == id;
        if (isSame && dialect.has(Cautious) && trimmed(entry.name) != trimmed(name))
            entry.doubt = {Doubt::Lines, caseDoubt, entry.lines.data()};
        return isSame ||
               (entry.doubt.text == colonDoubt && trimmed(entry.lines.substr(0, entry.lines.find('='))) == name);
    }

    const std::string m_sectionId;
    const std::string m_keyId;
    const Scope m_scope;
    bool m_isInside = false;
    bool m_isFree = true; // the section has neither a key nor a blank line yet
    Doubt m_doubt;        // of the header above
    int m_headers = 0;
    int m_balance = 0;                   // how many more headers have a blank line than have none
    Entry::Kind m_before = Entry::Blank; // what stands before the comments
};

[[noreturn]] void fail(const Document& document, const char* at, const std::string& text)
{
    throw Failure{Trouble, text, static_cast<int>(std::count(document.bytes.data(), at, '\n')) + 1};
}

// Throws at a carriage return without a line feed.
void requireLineFeeds(const Document& document, std::string_view lines)
{
    for (std::size_t at = lines.find('\r'); at != none; at = lines.find('\r', at + 1)) {
        if (lines.substr(at + 1, 1) != "\n")
            fail(document, lines.data() + at, "a carriage return inside the line");
    }
}

void require(const Document& document, const Doubt& doubt, Doubt::Level level)
{
    if (doubt.level >= level)
        fail(document, doubt.at, std::string("ambiguous: ").append(doubt.text));
}

// Throws if programs do not agree on the entry.
void require(const Document& document, const Entry& entry, Doubt::Level level)
{
    requireLineFeeds(document, entry.lines);
    require(document, entry.doubt, level);
}

// A header in doubt may have the key on its line.
[[noreturn]] void failAbsent(const Survey& found)
{
    const Request& request = found.request;
    require(found.document, found.header.doubt, Doubt::Lines);
    const std::string section = '[' + request.section + ']';
    if (found.sections.empty())
        throw Failure{Absent, "there is no section " + section};
    const std::string key =
        "no key" + (request.key ? ' ' + *request.key : "") + (request.value ? " with the value " + *request.value : "");
    throw Failure{Absent, request.section.empty() ? key + " before the first header" : section + " has " + key};
}

// Values that a dialect cannot hold, or that programs would read differently.
struct Refusal
{
    std::string_view dialects; // empty: all
    Pattern values;
    const char* reason;
};

void requireHolds(const Dialect& dialect, const std::string& value)
{
    static const Refusal refusals[] = {
        {"", R"(\r)", "the value contains a carriage return, which may end a line"},
        {"common, python", R"((*UCP)^(?!\n)[\s\x1c-\x1f]|[\s\x1c-\x1f]\z)",
            "the value starts or ends with white space, which is lost"},
        {"desktop", R"(^([^\\]|\\[sntr;\\])*+\\)", "the value contains a '\\' that starts no escape; write '\\\\'"},
        {"systemd", R"(\x{fffd})", "the value is not UTF-8"},
        {"php", R"(\$\{)", "the value contains a '${', which is replaced"},
        {"common", R"(\\\z)", backslashDoubt},
        {"common", R"(^[#;]|(?s)\s.*[#;]|[#;].*\s)", noteDoubt},
    };
    const QString text = QString::fromStdString(value);
    for (const Refusal& refusal : refusals) {
        const bool isOurs = refusal.dialects.empty() || refusal.dialects.find(dialect.name) != none;
        if (isOurs && refusal.values.match(text).hasMatch())
            throw Failure{Trouble, refusal.reason};
    }
}

// What the library's store reads. It reads only files, so it gets one in memory.
std::vector<std::string> storeValues(std::string_view bytes, const Request& request)
{
    const Descriptor memory(memfd_create("zk_settings", MFD_CLOEXEC));
    writeAll(memory.number(), bytes);
    INIStore store;
    if (!store.Open(QStringLiteral("/proc/self/fd/%1").arg(memory.number())))
        throw Failure{Trouble, "cannot read without /proc"};
    std::vector<std::string> values;
    const QString section = QString::fromStdString(request.section);
    for (const QString& value : store.GetValues(section, QString::fromStdString(*request.key)))
        values.push_back(value.toStdString());
    return values;
}

std::vector<std::string> valuesOf(const Document& document, const std::vector<Entry>& entries)
{
    std::vector<std::string> values;
    for (const Entry& entry : entries) {
        require(document, entry, Doubt::Reading);
        values.push_back(entry.read(document.dialect));
    }
    return values;
}

// Returns the entry that should hold the request. Throws if it does not.
const Entry& writtenEntry(const Survey& found, Place place)
{
    const Request& request = found.request;
    if (found.matches.empty()) {
        const std::string name = found.sections.empty() ? "section " + request.section : "key " + *request.key;
        throw Failure{Trouble, "the " + name + " cannot be read back"};
    }
    const Entry& entry = found.match(place);
    require(found.document, entry, Doubt::Value);
    const std::string value = entry.read(found.dialect);
    if (value != *request.value)
        throw Failure{Trouble, "the value would be read as '" + value + '\''};
    return entry;
}

// Makes the new document, and reads it to see that only the request has changed.
std::string finished(const Survey& found, const std::vector<Splice>& splices, Place place)
{
    std::string bytes;
    std::size_t hash = found.hash; // of everything else
    const char* taken = found.document.source.data();
    for (const Splice& splice : splices) {
        bytes.append(taken, splice.old.data()).append(splice.text);
        taken = endOf(splice.old).data();
        hash -= splice.hash;
    }
    bytes.append(taken, endOf(found.document.source).data());
    const Document result(bytes, found.dialect);
    const bool isStore = found.dialect.has(NotesTakeOneMore) && found.request.key;
    const Survey after(result, found.request, isStore ? Scope::EveryLine : Scope::Ends);
    if (place != Place::Nowhere)
        hash += writtenEntry(after, place).hash;
    if (place != Place::Nowhere && found.sections.empty())
        hash += after.header.hash;
    if (after.hash != hash || (isStore && valuesOf(result, after.matches) != storeValues(bytes, found.request)))
        throw Failure{Trouble, "the rest of the file would be read differently"};
    return bytes;
}

// Returns the style of the section, or else of the file.
Style styleOf(const Survey& found)
{
    if (!found.style.isEmpty())
        return found.style;
    Style style;
    const auto add = [&style](const Entry& entry) { style.add(entry); };
    forEachEntry(found.document.bytes, found.dialect, add);
    if (style.isEmpty())
        forEachEntry(found.dialect.sample, found.dialect, add);
    style.takeUsual();
    return style;
}

// Throws if the dialect cannot hold the value.
std::string encoded(const Survey& found, std::string_view indent)
{
    requireHolds(found.dialect, *found.request.value);
    const bool continues = found.dialect.has(JoinsByIndentation) && !found.dialect.has(Cautious);
    const std::string lineBreak = std::string(found.document.lineEnding).append(indent).append("    ");
    return found.dialect.encoded(*found.request.value, continues ? lineBreak : "\n");
}

// Throws if the owner does not allow a new line with the key.
void requireAllowed(const Survey& found)
{
    const Dialect& dialect = found.dialect;
    const Request& request = found.request;
    if (dialect.has(NeedsHeader) && request.section.empty())
        throw Failure{Trouble, "this kind of file has no keys before the first header"};
    if (found.sections.empty() && !dialect.sections.match(QString::fromStdString(request.section)).hasMatch())
        throw Failure{Trouble, "the section " + request.section + " is not valid in this kind of file"};
    if (found.matches.empty() && !dialect.keys.match(QString::fromStdString(*request.key)).hasMatch())
        throw Failure{Trouble, "the key " + *request.key + " is not valid in this kind of file"};
    if (!found.sections.empty())
        require(found.document, found.sections.back().doubt, Doubt::Lines);
    for (const Entry& entry : found.matches) {
        require(found.document, entry, Doubt::Lines);
        if (dialect.has(NoRepeats))
            fail(found.document, entry.lines.data(), "the key exists and may not be repeated");
    }
}

std::string added(const Survey& found, Place place)
{
    requireAllowed(found);
    Style style = styleOf(found);
    std::string_view at = found.position;
    if (!found.matches.empty()) {
        const std::string_view neighbour = found.match(place).lines;
        at = place == Place::First ? neighbour.substr(0, 0) : endOf(neighbour);
        style.add(found.match(place));
    }
    const std::string lineEnding(found.document.lineEnding);
    const std::string& key = *found.request.key;
    const std::string value = encoded(found, style.indent());
    std::string text = style.indent() + key + style.separator(key, value) + value + lineEnding;
    if (found.sections.empty())
        text.insert(0, '[' + found.request.section + ']' + lineEnding);
    if (found.sections.empty() && found.needsBlankLine())
        text.insert(0, lineEnding);
    if (!isAtLineStart(at, found.document))
        text.insert(0, lineEnding);
    return finished(found, {{at, text}}, place);
}

// Keeps the comments between the lines of the old value.
Splice replacement(const Survey& found, const Entry& entry)
{
    std::string text = encoded(found, entry.indent());
    if (entry.separator.empty())
        return {endOf(entry.name), styleOf(found).separator(entry.name, text) + text, entry.hash};
    Style style;
    style.add(entry);
    const bool isEmpty = entry.value.front().empty();
    text.insert(0, isEmpty ? style.separator(entry.name, text) : std::string(entry.separator));
    std::string_view old = span(endOf(entry.name), entry.value.back());
    if (found.dialect.has(Cautious)) // for GKeyFile the white space at the end belongs to the value
        old = span(old, withoutLineEnding(entry.lines));
    const bool isBesideNote =
        !entry.note.empty() && entry.note.data() >= endOf(old).data() && !contains(whiteSpace, *endOf(old).data());
    if (isBesideNote && (isEmpty || found.dialect.has(NotesTakeOneMore))) {
        old = span(old, entry.note.substr(0, 0));
        text += ' ';
    }
    for (std::size_t i = 1; i < entry.value.size(); ++i) {
        const std::string_view gap = span(endOf(entry.value[i - 1]), entry.value[i].substr(0, 0));
        const std::size_t comment = gap.find_first_of(found.dialect.comments);
        if (comment != none)
            text.append(found.document.lineEnding).append(trimmed(gap.substr(comment)));
    }
    return {old, text, entry.hash};
}

} // namespace

Document::Document(std::string_view all, const Dialect& kind)
    : source(all)
    , bytes(all.substr(all.substr(0, byteOrderMark.size()) == byteOrderMark ? byteOrderMark.size() : 0))
    , lineEnding(bytes.find("\r\n") < bytes.find('\n') ? "\r\n" : "\n")
    , dialect(kind)
{
    const std::size_t nul = bytes.find('\0');
    if (nul != none)
        fail(*this, bytes.data() + nul, "a NUL byte: not a settings file");
    if (dialect.has(CarriageReturnEndsLine))
        requireLineFeeds(*this, bytes);
}

std::vector<std::string> Document::sections() const
{
    std::vector<std::string> names;
    std::set<std::string> seen;
    forEachEntry(bytes, dialect, [&](const Entry& entry) {
        const bool isLeading = entry.kind == Entry::Key && names.empty();
        const std::string_view name = isLeading ? "" : entry.name;
        if ((isLeading || entry.kind == Entry::Header) && seen.insert(dialect.sectionId(name)).second)
            names.emplace_back(name);
    });
    return names;
}

std::vector<std::string> Document::keys(const std::string& section) const
{
    const Request request = {section};
    const Survey found(*this, request, Scope::EveryLine);
    if (found.sections.empty())
        failAbsent(found);
    std::vector<std::string> names;
    std::set<std::string> seen;
    for (const Entry& entry : found.matches) {
        if (seen.insert(dialect.keyId(entry.name)).second)
            names.emplace_back(entry.name);
    }
    return names;
}

std::vector<std::string> Document::values(const Request& request, bool all) const
{
    Survey found(*this, request, all ? Scope::EveryLine : Scope::Ends);
    if (!all && !found.matches.empty())
        found.matches.erase(found.matches.begin(), found.matches.end() - 1);
    const bool isStore = dialect.has(NotesTakeOneMore);
    const std::vector<std::string> values = isStore ? storeValues(bytes, request) : valuesOf(*this, found.matches);
    if (values.empty())
        failAbsent(found);
    return values;
}

std::string Document::set(const Request& request) const
{
    const Survey found(*this, request);
    if (found.matches.empty())
        return added(found, Place::Last);
    const Place place = dialect.has(FirstCounts) ? Place::First : Place::Last; // what counts
    const Entry& entry = found.match(place);
    require(*this, entry, Doubt::Value);
    const bool isSame = !entry.separator.empty() && entry.read(dialect) == *request.value &&
                        (!dialect.has(JoinsByQuote) || // PHP reads a constant otherwise between quotes
                            span(entry.value.front(), entry.value.back()) == dialect.encoded(*request.value, "\n"));
    const Splice nothing = {endOf(entry.lines), "", entry.hash};
    return finished(found, {isSame ? nothing : replacement(found, entry)}, place);
}

std::string Document::append(const Request& request) const
{
    return added(Survey(*this, request), Place::Last);
}

std::string Document::prepend(const Request& request) const
{
    return added(Survey(*this, request), Place::First);
}

std::string Document::remove(const Request& request) const
{
    const Survey found(*this, request, Scope::EverySection);
    const bool isSection = !request.key && !request.section.empty();
    std::vector<Splice> splices;
    for (const Entry& entry : isSection ? found.sections : found.matches) {
        require(*this, entry, request.value ? Doubt::Reading : Doubt::Lines);
        if (request.value && entry.read(dialect) != *request.value)
            continue;
        const bool isWhole = isAtLineStart(entry.lines, *this); // otherwise, it follows a header on its line
        splices.push_back({isWhole ? entry.lines : withoutLineEnding(entry.lines), "", entry.hash});
    }
    if (splices.empty())
        failAbsent(found);
    return finished(found, splices, Place::Nowhere);
}
