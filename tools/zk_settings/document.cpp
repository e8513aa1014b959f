#include "document.h"

#include "descriptor.h"
#include "failure.h"

#include "inistore/inistore.h"

#include <algorithm>
#include <map>
#include <set>
#include <sys/mman.h>

/// The white space around the keys of a section or a file.
class Style
{
public:
    bool isEmpty() const { return m_counts.empty(); }

    void add(const Entry& entry, std::string_view bytes)
    {
        if (!entry.hasValue() || entry.doubt.level == Doubt::Lines)
            return;
        const std::size_t begin = std::max(entry.lines.begin, bytes.rfind('\n', entry.name.begin) + 1);
        const std::string_view before = Range{entry.name.end, entry.separator}.of(bytes);
        const std::string_view after = Range{entry.separator + 1, entry.value.front().begin}.of(bytes);
        m_last.first = Range{begin, entry.name.begin}.of(bytes);
        m_last.second = Range{entry.name.end, entry.separator + 1}.of(bytes);
        m_last.second += entry.value.front().isEmpty() ? before : after; // an empty value may have no white space
        ++m_counts[m_last];
        m_columns.insert(contains(before, '\t') ? 0 : entry.separator - begin); // a tab makes no column
        m_sizes.insert(entry.name.end - begin);
    }

    /// Takes what is most frequent for new lines.
    void takeUsual()
    {
        const auto isLess = [](const auto& a, const auto& b) { return a.second < b.second; };
        m_last = std::max_element(m_counts.begin(), m_counts.end(), isLess)->first;
    }

    const std::string& indent() const { return m_last.first; }

    /// Returns what stands between the name of a new key and its value.
    std::string separator(std::string_view name, bool hasValue) const
    {
        std::string text = m_last.second;
        const std::size_t size = indent().size() + name.size();
        if (m_columns.size() == 1 && m_sizes.size() > 1 && size < *m_columns.begin())
            text.replace(0, text.find_first_not_of(blanks), *m_columns.begin() - size, ' ');
        return hasValue ? text : text.substr(0, text.find_last_not_of(blanks) + 1);
    }

private:
    using Spacing = std::pair<std::string, std::string>; // before the key, and from there to the value

    Spacing m_last;
    std::map<Spacing, int> m_counts;
    std::set<std::size_t> m_columns; // of the separators
    std::set<std::size_t> m_sizes;   // of the names
};

/// Replaces bytes of the document.
struct Splice
{
    Range old;
    std::string text;
};

/// Where an edit writes a value: at the first or last line of the key, in a new section, or nowhere.
enum class Place
{
    First,
    Last,
    NewSection,
    Nowhere
};

/// What a document has of a section and a key.
struct Survey
{
    bool hasSection = false;
    Entry header;               ///< of the last section that counts
    std::vector<Entry> matches; ///< the lines of the key, or of all keys
    std::size_t position = 0;   ///< of a new key
    bool isFree = true;         ///< whether the section has neither a key nor a blank line yet
    std::size_t hash = 0;       ///< the sum over all entries of the document
    Style style;                ///< of the section

    void enter(const Entry& entry)
    {
        hasSection = isFree = true;
        header = entry;
        position = entry.lines.end;
    }

    // New keys go after the last key, and after text that may belong to it. In a section without keys they go after the
    // first comment; but a comment with no blank line before the next header belongs to that header.
    void add(const Entry& entry, std::string_view bytes)
    {
        if (entry.kind == Entry::Key)
            style.add(entry, bytes);
        const bool isBehindKey = entry.kind == Entry::Text && !isFree && entry.lines.begin == position;
        if (entry.kind == Entry::Key || isBehindKey)
            position = entry.lines.end;
        else if (entry.kind == Entry::Blank && isFree)
            position = entry.lines.begin;
        else
            return;
        isFree = false;
    }

    /// Keeps the first and the last match, or all.
    void addMatch(const Entry& entry, bool all)
    {
        if (!all && matches.size() > 1)
            matches.pop_back();
        matches.push_back(entry);
    }

    const Entry& match(Place place) const { return place == Place::First ? matches.front() : matches.back(); }
};

namespace {

constexpr std::string_view byteOrderMark = "\xef\xbb\xbf";

std::string_view trimmed(std::string_view text)
{
    text = text.substr(0, text.find_last_not_of(whiteSpace) + 1);
    return text.substr(std::min(text.find_first_not_of(whiteSpace), text.size()));
}

std::string_view withoutLineEnding(std::string_view line)
{
    return line.substr(0, line.find_last_not_of("\r\n") + 1);
}

// Whether a value starts on the line of its key.
bool isOnLine(const std::string& value)
{
    return !value.empty() && !contains(whiteSpace, value.front());
}

// Adds the first name with each ID.
void addOnce(std::vector<std::string>& names, std::set<std::string>& seen, std::string_view name, std::string id)
{
    if (seen.insert(std::move(id)).second)
        names.emplace_back(name);
}

Failure absent(const Request& request, bool hasSection)
{
    const std::string section = '[' + request.section + ']';
    if (!hasSection)
        return {Absent, "there is no section " + section};
    const std::string key =
        "no key" + (request.key ? ' ' + *request.key : "") + (request.value ? " with the value " + *request.value : "");
    return {Absent, request.section.empty() ? key + " before the first header" : section + " has " + key};
}

bool hasInvalidEscape(const std::string& value, std::string_view letters)
{
    std::size_t at = value.find('\\');
    while (at != none && at + 1 < value.size() && letters.find(value[at + 1]) % 2 == 0)
        at = value.find('\\', at + 2);
    return at != none;
}

// Returns why a dialect cannot hold a value, or why programs would not agree on it; or null.
const char* refusal(const std::string& value, const Dialect& dialect)
{
    if (value.find('\r') != none)
        return "the value contains a carriage return, which may end a line";
    const QString text = QString::fromStdString(value);
    const auto isLost = [](QChar c) { return c.unicode() > 0x7f && c.isSpace(); }; // Python drops all white space
    if (dialect.has(JoinsByIndentation) && !text.isEmpty() && (isLost(text.front()) || isLost(text.back())))
        return "the value starts or ends with white space, which is lost";
    if (!dialect.forbidden.empty() && value.find(dialect.forbidden) != none)
        return "the value contains a '${', which is replaced";
    if (!dialect.escapes.empty() && dialect.quotes.empty() && hasInvalidEscape(value, dialect.escapes))
        return "the value contains a '\\' that starts no escape; write '\\\\'";
    if (!dialect.has(Cautious) || value.empty())
        return nullptr;
    if (value.back() == '\\')
        return backslashDoubt;
    const bool hasNote = value.find_first_of("#;") != none && value.find_first_of(" \t") != none;
    return hasNote || value[0] == '#' || value[0] == ';' ? noteDoubt : nullptr;
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

} // namespace

Document::Document(std::string_view bytes, const Dialect& dialect)
    : m_mark(bytes.substr(0, byteOrderMark.size()) == byteOrderMark ? byteOrderMark : "")
    , m_bytes(bytes.substr(m_mark.size()))
    , m_lineEnding("\n")
    , m_dialect(dialect)
{
    const std::size_t nul = m_bytes.find('\0');
    if (nul != none)
        fail(nul, "a NUL byte: not a settings file");
    const std::size_t feed = m_bytes.find('\n');
    if (feed != none && feed > 0 && m_bytes[feed - 1] == '\r')
        m_lineEnding = "\r\n";
    if (m_dialect.has(CarriageReturnEndsLine))
        requireLineFeeds({0, m_bytes.size()});
}

void Document::fail(std::size_t at, const std::string& text) const
{
    const std::string_view before = m_bytes.substr(0, at);
    throw Failure{Trouble, text, static_cast<int>(std::count(before.begin(), before.end(), '\n')) + 1};
}

// Throws at a carriage return without a line feed.
void Document::requireLineFeeds(Range range) const
{
    const std::string_view bytes = m_bytes.substr(0, range.end);
    for (std::size_t at = bytes.find('\r', range.begin); at != none; at = bytes.find('\r', at + 1)) {
        if (bytes.substr(at + 1, 1) != "\n")
            fail(at, "a carriage return inside the line");
    }
}

// Throws if programs do not agree on the entry.
void Document::require(const Entry& entry, Doubt::Level level) const
{
    requireLineFeeds(entry.lines);
    if (entry.doubt.level >= level)
        fail(entry.doubt.at, std::string("ambiguous: ").append(entry.doubt.text));
}

std::vector<std::string> Document::sections() const
{
    std::vector<std::string> names;
    std::set<std::string> seen;
    forEachEntry(m_bytes, m_dialect, [&](const Entry& entry) {
        const std::string_view name = entry.kind == Entry::Header ? entry.name.of(m_bytes) : "";
        if (entry.kind == Entry::Header || (entry.kind == Entry::Key && names.empty()))
            addOnce(names, seen, name, m_dialect.sectionId(name));
    });
    return names;
}

std::vector<std::string> Document::keys(const std::string& section) const
{
    const Survey found = survey({section}, true);
    if (!found.hasSection)
        throw absent({section}, false);
    std::vector<std::string> names;
    std::set<std::string> seen;
    for (const Entry& entry : found.matches)
        addOnce(names, seen, entry.name.of(m_bytes), m_dialect.keyId(entry.name.of(m_bytes)));
    return names;
}

// A cautious dialect is in doubt about a name in another case.
bool Document::hasName(Entry& entry, const std::string& id, std::string_view name) const
{
    const std::string_view written = entry.name.of(m_bytes);
    if ((entry.kind == Entry::Header ? m_dialect.sectionId(written) : m_dialect.keyId(written)) != id)
        return false;
    if (m_dialect.has(Cautious) && trimmed(written) != trimmed(name))
        entry.doubt = {Doubt::Lines, caseDoubt, entry.lines.begin};
    return true;
}

// In doubt about a ':', the key may also end at the '='.
bool Document::mayHaveName(const Entry& entry, std::string_view name) const
{
    const std::size_t equals = m_bytes.find('=', entry.separator);
    return entry.doubt.text == colonDoubt && trimmed(Range{entry.name.begin, equals}.of(m_bytes)) == name;
}

Survey Document::survey(const Request& request, bool everyLine, bool everySection) const
{
    const std::string section = m_dialect.sectionId(request.section);
    const std::string key = m_dialect.keyId(request.key.value_or(""));
    Survey found;
    found.hasSection = section.empty();
    bool isInside = found.hasSection;
    Doubt doubt; // of the header above; a header in doubt may be a part of a value, which does not end the section
    std::size_t hash = 0;
    forEachEntry(m_bytes, m_dialect, [&](Entry& entry) {
        hash += entry.hash;
        const bool mayBeInside = isInside || doubt.level == Doubt::Lines;
        if (entry.kind == Entry::Header) {
            isInside = hasName(entry, section, request.section) &&
                       (everySection || !m_dialect.has(FirstCounts) || !found.hasSection);
            if (isInside && !everySection && m_dialect.has(LastSectionCounts))
                found = {};
            doubt = isInside || mayBeInside ? entry.doubt : Doubt();
            if (isInside)
                found.enter(entry);
            return;
        }
        if (isInside)
            found.add(entry, m_bytes);
        const bool isKey = entry.kind == Entry::Key && (isInside || (mayBeInside && request.key));
        if (!isKey || (request.key && !hasName(entry, key, *request.key) && !mayHaveName(entry, *request.key)))
            return;
        if (doubt.level == Doubt::Lines)
            entry.doubt = doubt;
        found.addMatch(entry, everyLine);
    });
    if (!found.hasSection || (isInside && found.isFree))
        found.position = m_bytes.size();
    found.hash = hash;
    return found;
}

std::vector<std::string> Document::values(const Request& request, bool all) const
{
    const bool isStore = m_dialect.has(NotesTakeOneMore);
    std::vector<std::string> values = isStore ? storeValues(m_bytes, request) : std::vector<std::string>();
    if (!values.empty())
        return values;
    const Survey found = survey(request, all);
    if (found.matches.empty())
        failAbsent(request, found);
    for (auto entry = all ? found.matches.begin() : found.matches.end() - 1; entry != found.matches.end(); ++entry) {
        require(*entry, Doubt::Reading);
        values.push_back(valueOf(*entry, m_bytes, m_dialect));
    }
    return values;
}

// A header in doubt may have the key on its line.
void Document::failAbsent(const Request& request, const Survey& found) const
{
    require(found.header, Doubt::Lines);
    throw absent(request, found.hasSection);
}

std::string Document::set(const Request& request) const
{
    const Survey found = survey(request);
    if (found.matches.empty())
        return added(request, found, Place::Last);
    const Place place = m_dialect.has(FirstCounts) ? Place::First : Place::Last; // what counts
    const Entry& entry = found.match(place);
    require(entry, Doubt::Value);
    if (entry.hasValue() && valueOf(entry, m_bytes, m_dialect) == *request.value)
        return std::string(m_mark).append(m_bytes);
    return finished({replacement(entry, request, found)}, request, found.hash - entry.hash, place);
}

std::string Document::append(const Request& request) const
{
    return added(request, survey(request), Place::Last);
}

std::string Document::prepend(const Request& request) const
{
    return added(request, survey(request), Place::First);
}

// Returns the style of the section, or else of the file.
Style Document::styleOf(const Survey& found) const
{
    if (!found.style.isEmpty())
        return found.style;
    Style style;
    forEachEntry(m_bytes, m_dialect, [&](const Entry& entry) { style.add(entry, m_bytes); });
    if (style.isEmpty())
        return Document(m_dialect.sample, m_dialect).survey({}).style;
    style.takeUsual();
    return style;
}

// Whether most headers but the first have a blank line before them or before their comment.
bool Document::hasBlankLineBeforeHeaders() const
{
    int balance = 0;
    int headers = 0;
    Entry::Kind before = Entry::Blank;
    forEachEntry(m_bytes, m_dialect, [&](const Entry& entry) {
        if (entry.kind == Entry::Header && headers++ > 0)
            balance += before == Entry::Blank ? 1 : -1;
        if (entry.kind != Entry::Comment)
            before = entry.kind;
    });
    return balance > 0 && before != Entry::Blank;
}

std::string Document::added(const Request& request, const Survey& found, Place place) const
{
    if (m_dialect.has(NeedsHeader) && request.section.empty())
        throw Failure{Trouble, "this kind of file has no keys before the first header"};
    require(found.header, Doubt::Lines);
    for (const Entry& entry : found.matches) {
        require(entry, Doubt::Lines);
        if (m_dialect.has(NoRepeats))
            fail(entry.lines.begin, "the key exists and may not be repeated");
    }
    const std::string lineEnding(m_lineEnding);
    std::string text;
    if (!found.hasSection)
        text = (hasBlankLineBeforeHeaders() ? lineEnding : "") + '[' + request.section + ']' + lineEnding;
    Style style = styleOf(found);
    std::size_t at = found.position;
    if (!found.matches.empty()) {
        const Entry& neighbour = found.match(place);
        at = place == Place::First ? neighbour.lines.begin : neighbour.lines.end;
        style.add(neighbour, m_bytes);
    }
    const std::string value = encoded(request, style.indent());
    text += style.indent() + *request.key + style.separator(*request.key, isOnLine(value)) + value + lineEnding;
    if (at > 0 && m_bytes[at - 1] != '\n')
        text.insert(0, lineEnding);
    const std::string bytes =
        finished({{{at, at}, text}}, request, found.hash, found.hasSection ? place : Place::NewSection);
    if (!found.hasSection && !Dialect::accepts(m_dialect.sections, request.section))
        throw Failure{Trouble, "the section " + request.section + " is not valid in this kind of file"};
    if (found.matches.empty() && !Dialect::accepts(m_dialect.keys, *request.key))
        throw Failure{Trouble, "the key " + *request.key + " is not valid in this kind of file"};
    return bytes;
}

// Throws if the dialect cannot hold the value.
std::string Document::encoded(const Request& request, const std::string& indent) const
{
    if (const char* const reason = refusal(*request.value, m_dialect))
        throw Failure{Trouble, reason};
    const bool continues = m_dialect.has(JoinsByIndentation) && !m_dialect.has(Cautious);
    return m_dialect.encoded(*request.value, continues ? std::string(m_lineEnding) + indent + "    " : "\n");
}

// Keeps the comments between the lines of the old value.
Splice Document::replacement(const Entry& entry, const Request& request, const Survey& found) const
{
    Style style;
    style.add(entry, m_bytes);
    const std::string value = encoded(request, style.indent());
    if (!entry.hasValue()) {
        const std::string separator = styleOf(found).separator(entry.name.of(m_bytes), isOnLine(value));
        return {{entry.name.end, entry.name.end}, separator + value};
    }
    Splice splice = {entry.valueRange(), value};
    if (m_dialect.has(Cautious)) // for GKeyFile the white space at the end belongs to the value
        splice.old.end = entry.lines.begin + withoutLineEnding(entry.lines.of(m_bytes)).size();
    const bool fillsGap = entry.value.front().isEmpty() && isOnLine(value);
    const bool isAtSeparator = splice.old.begin == entry.separator + 1;
    if (fillsGap && isAtSeparator && contains(whiteSpace, m_bytes[entry.separator - 1]))
        splice.text.insert(0, 1, ' ');
    if (fillsGap && entry.note == splice.old.begin)
        splice.text += ' ';
    if (m_dialect.has(NotesTakeOneMore) && entry.note != none && !contains(whiteSpace, m_bytes[splice.old.end])) {
        splice.old.end = entry.note;
        splice.text += ' ';
    }
    for (const Range& comment : entry.comments)
        splice.text.append(m_lineEnding).append(withoutLineEnding(comment.of(m_bytes)));
    return splice;
}

std::string Document::remove(const Request& request) const
{
    if (!request.key && !request.section.empty())
        return withoutSection(request);
    const Survey found = survey(request, true, true);
    std::size_t rest = found.hash;
    std::vector<Splice> splices;
    for (const Entry& entry : found.matches) {
        require(entry, request.value ? Doubt::Reading : Doubt::Lines);
        if (request.value && valueOf(entry, m_bytes, m_dialect) != *request.value)
            continue;
        Range old = entry.lines;
        if (old.begin > 0 && m_bytes[old.begin - 1] != '\n') // it follows a header on its line
            old.end = old.begin + withoutLineEnding(old.of(m_bytes)).size();
        splices.push_back({old, ""});
        rest -= entry.hash;
    }
    if (splices.empty())
        failAbsent(request, found);
    return finished(splices, request, rest, Place::Nowhere);
}

// A comment with no blank line before the next header belongs to that header.
std::string Document::withoutSection(const Request& request) const
{
    const std::string id = m_dialect.sectionId(request.section);
    std::vector<Splice> splices;
    std::size_t rest = 0;
    std::size_t comment = none;
    bool isInside = false;
    const auto endAt = [&](std::size_t end) {
        if (isInside)
            splices.back().old.end = end;
    };
    forEachEntry(m_bytes, m_dialect, [&](Entry& entry) {
        if (entry.kind == Entry::Header) {
            endAt(std::min(comment, entry.lines.begin));
            const bool isEnd = isInside;
            isInside = hasName(entry, id, request.section);
            if (isInside || isEnd)
                require(entry, Doubt::Lines);
            if (isInside)
                splices.push_back({entry.lines, ""});
        }
        rest += isInside ? 0 : entry.hash;
        comment = entry.kind == Entry::Comment ? std::min(comment, entry.lines.begin) : none;
    });
    endAt(m_bytes.size());
    if (splices.empty())
        throw absent(request, false);
    return finished(splices, request, rest, Place::Nowhere);
}

// Makes the new document, and reads it to see that only the request has changed. `rest` is the hash of everything else.
std::string Document::finished(
    const std::vector<Splice>& splices, const Request& request, std::size_t rest, Place place) const
{
    std::string bytes(m_mark);
    std::size_t taken = 0;
    for (const Splice& splice : splices) {
        bytes.append(m_bytes, taken, splice.old.begin - taken).append(splice.text);
        taken = splice.old.end;
    }
    bytes.append(m_bytes, taken);
    const Document result(bytes, m_dialect);
    const Survey found = result.survey(request);
    if (place != Place::Nowhere)
        rest += result.writtenEntry(request, found, place).hash;
    if (place == Place::NewSection)
        rest += found.header.hash;
    if (found.hash != rest || !result.agreesWithStore(request))
        throw Failure{Trouble, "the rest of the file would be read differently"};
    return bytes;
}

// Returns the entry that should hold the request. Throws if it does not.
const Entry& Document::writtenEntry(const Request& request, const Survey& found, Place place) const
{
    if (found.matches.empty())
        throw Failure{Trouble, "cannot be read back: " + absent({request.section, request.key}, found.hasSection).text};
    const Entry& entry = found.match(place);
    require(entry, Doubt::Value);
    if (valueOf(entry, m_bytes, m_dialect) != *request.value)
        throw Failure{Trouble, "the value would be read as '" + valueOf(entry, m_bytes, m_dialect) + '\''};
    return entry;
}

// Whether the store itself reads what we read.
bool Document::agreesWithStore(const Request& request) const
{
    if (!m_dialect.has(NotesTakeOneMore) || !request.key)
        return true;
    std::vector<std::string> values;
    for (const Entry& entry : survey(request, true).matches)
        values.push_back(valueOf(entry, m_bytes, m_dialect));
    return values == storeValues(m_bytes, request);
}
