#include "reader.h"

namespace {

struct Line
{
    std::string_view bytes; // without the line ending
    std::string_view text;  // ... and the indentation
    std::string_view rest;  // what follows in the document

    explicit Line(std::string_view document)
        : bytes(document.substr(0, document.find('\n')))
        , rest(document.substr(std::min(bytes.size() + 1, document.size())))
    {
        const bool hasReturn = bytes.size() < document.size() && !bytes.empty() && bytes.back() == '\r';
        cut(bytes.size() - (hasReturn ? 1 : 0));
    }
    void cut(std::size_t size)
    {
        bytes = bytes.substr(0, size);
        text = bytes.substr(std::min(bytes.find_first_not_of(whiteSpace), size));
    }
    std::size_t indent() const { return bytes.size() - text.size(); }
    bool isBlank() const { return text.empty(); }
    bool startsWith(std::string_view characters) const { return !isBlank() && contains(characters, text.front()); }
};

// Two backslashes mean one.
bool endsWithBackslash(std::string_view text)
{
    return (text.size() - (text.find_last_not_of('\\') + 1)) % 2 == 1;
}

// An operator such as ">=" is no separator.
bool looksLikeKey(const Line& line)
{
    const std::string_view text = line.text;
    const std::size_t equals = text.find('=');
    const bool isOperator =
        equals == 0 || equals == none || contains("<>!~", text[equals - 1]) || text.substr(equals, 2) == "==";
    return line.startsWith("[") || !isOperator;
}

// Finds a '#' or ';' at the start or after white space.
std::size_t noteIn(std::string_view text)
{
    std::size_t at = text.find_first_of("#;");
    while (at != none && at > 0 && !contains(whiteSpace, text[at - 1]))
        at = text.find_first_of("#;", at + 1);
    return at;
}

class Reader
{
public:
    Reader(std::string_view bytes, const Dialect& dialect)
        : m_rest(bytes)
        , m_dialect(dialect)
    {
    }

    void forEach(const std::function<void(Entry&)>& visit)
    {
        for (; !m_rest.empty(); m_rest = m_next) {
            Entry entry = next();
            visit(entry);
        }
    }

private:
    Entry next()
    {
        Line line(m_rest);
        Entry entry;
        m_next = line.rest;
        m_quote = '\0';
        m_closing = none;
        if (m_dialect.has(NotesTakeOneMore))
            cutNote(line, entry);
        if (line.startsWith(m_dialect.comments))
            entry.kind = Entry::Comment;
        else if (!line.isBlank() && !takeHeader(line, entry))
            takeKey(line, entry);
        entry.lines = m_rest.substr(0, m_rest.size() - m_next.size());
        checkLineBefore(entry);
        if (entry.kind != Entry::Blank && entry.kind != Entry::Comment)
            entry.hash = std::hash<std::string_view>()(trimmed(entry.lines)) * (8U * entry.doubt.level + entry.kind);
        return entry;
    }

    // Only a cautious dialect is in doubt. Keeps the graver doubt.
    void raise(Entry& entry, Doubt::Level level, const char* text, const char* at = nullptr) const
    {
        if (m_dialect.has(Cautious) && level > entry.doubt.level)
            entry.doubt = {level, text, at != nullptr ? at : m_rest.data()};
    }

    // systemd skips comments after a backslash.
    void checkLineBefore(Entry& entry)
    {
        if (m_backslash != nullptr)
            raise(entry, Doubt::Lines, backslashDoubt, m_backslash);
        const std::string_view text = entry.lines.substr(0, entry.lines.find_last_not_of("\r\n") + 1);
        if (entry.kind != Entry::Comment)
            m_backslash = endsWithBackslash(text) ? m_rest.data() : nullptr;
    }

    // A character may have several bytes.
    void cutNote(Line& line, Entry& entry) const
    {
        std::size_t size = line.bytes.find_first_of(m_dialect.notes);
        if (size == none)
            return;
        entry.note = line.bytes.substr(size);
        while (size > 0 && (static_cast<unsigned char>(line.bytes[--size]) & 0xc0U) == 0x80)
            ;
        line.cut(size);
    }

    bool takeHeader(const Line& line, Entry& entry)
    {
        if (!line.startsWith("["))
            return false;
        const QString text = QString::fromLatin1(line.text.data(), static_cast<qsizetype>(line.text.size()));
        const auto size = static_cast<std::size_t>(m_dialect.header.match(text).capturedLength(1));
        if (size == 0)
            return false;
        entry.kind = Entry::Header;
        entry.name = line.text.substr(1, size);
        const std::string_view rest = trimmed(line.text.substr(size + 2));
        if (m_dialect.has(KeysAfterHeader) && !rest.empty() && !contains(m_dialect.notes, rest.front()))
            m_next = span(rest, m_next);
        checkIndent(line, entry, none);
        if (!rest.empty() && !contains("#;", rest.front()) && contains(rest, '='))
            raise(entry, Doubt::Lines, headerDoubt);
        if (line.text.rfind(']') != size + 1)
            raise(entry, Doubt::Lines, bracketDoubt);
        return true;
    }

    // A line that is indented more deeply may continue the value above; then the next lines may do so, too.
    void checkIndent(const Line& line, Entry& entry, std::size_t indent)
    {
        if (line.indent() > m_indent)
            raise(entry, Doubt::Lines, indentDoubt);
        if (entry.doubt.level == Doubt::None)
            m_indent = indent;
    }

    void takeKey(const Line& line, Entry& entry)
    {
        // For PHP, a quote in a key or in other text is none.
        const std::size_t start = m_dialect.has(JoinsByQuote) ? line.text.find_first_of("=;") : 0;
        const std::string_view text = content(line.text, entry, start);
        const std::size_t separator = text.find_first_of(m_dialect.separators);
        const bool isText = separator == 0 || (separator == none && !m_dialect.has(BareKeys));
        if (isText) {
            entry.kind = Entry::Text;
            entry.value.push_back(trimmed(text));
            return takeContinuation(line, entry);
        }
        entry.kind = Entry::Key;
        entry.name = trimmed(text.substr(0, separator));
        checkIndent(line, entry, line.indent());
        if (separator != none) {
            std::string_view value = trimmed(text.substr(separator + 1));
            if (m_dialect.has(KeepsTrailingSpace))
                value = span(value, text);
            entry.value.push_back(value);
            entry.separator = span(text.substr(entry.name.size()), value.substr(0, 0));
            takeContinuation(line, entry);
            if (m_quote != '\0' && m_dialect.has(JoinsByQuote))
                entry.doubt = {Doubt::Lines, openDoubt, m_rest.data()};
        }
        checkKey(entry);
    }

    // Returns what counts of the text: all before a note. A quote may stay open.
    std::string_view content(std::string_view text, Entry& entry, std::size_t start = 0)
    {
        const bool isPlain = m_dialect.notes.empty() && m_dialect.quotes.empty();
        for (std::size_t at = isPlain ? text.size() : start; at < text.size(); ++at) {
            if (isNote(text, at)) {
                entry.note = text.substr(at);
                return text.substr(0, at);
            }
            const bool hasEscapes =
                m_dialect.has(EscapesAnywhere) && (m_quote != '\0' || m_dialect.has(QuotesAnywhere));
            if (text[at] == '\\' && (hasEscapes || m_quote == '"') && !m_dialect.endsQuote(text, at))
                ++at;
            else if (m_quote != '\0' ? text[at] == m_quote : contains(m_dialect.quotes, text[at]))
                m_quote = m_quote != '\0' ? '\0' : text[at];
        }
        return text;
    }

    // What needs white space before it does not start the text: that would be a comment line.
    bool isNote(std::string_view text, std::size_t at) const
    {
        return m_quote == '\0' && contains(m_dialect.notes, text[at]) &&
               (m_dialect.has(NotesAnywhere) || contains(whiteSpace, text[at - 1]));
    }

    // Takes the lines that continue the value.
    void takeContinuation(Line line, Entry& entry)
    {
        for (;;) {
            const bool isOpen = staysOpen(line, entry);
            Line next(line.rest);
            while (isSkipped(next, isOpen) && !next.rest.empty())
                next = Line(next.rest);
            const bool isEnd = line.rest.empty() || isSkipped(next, isOpen) || entry.doubt.level == Doubt::Lines;
            if (isEnd || !(isOpen || isIndented(next, entry)))
                return;
            for (Line skipped(line.rest); skipped.rest.size() > next.rest.size(); skipped = Line(skipped.rest)) {
                if (skipped.isBlank())
                    entry.value.push_back(skipped.text);
            }
            const std::string_view text = content(isOpen ? next.bytes : next.text, entry);
            entry.value.push_back(text.substr(0, text.find_last_not_of(whiteSpace) + 1));
            m_next = next.rest;
            line = next;
        }
    }

    // Whether a backslash or an open quote makes the next line a part of the value.
    bool staysOpen(const Line& line, Entry& entry)
    {
        if (m_dialect.has(JoinsByBackslash) && entry.note.empty() && endsWithBackslash(line.bytes)) {
            const Line next(line.rest);
            const bool isOther = next.isBlank() || next.startsWith(m_dialect.comments) || looksLikeKey(next);
            raise(entry, isOther ? Doubt::Lines : Doubt::Reading, backslashDoubt);
            entry.value.back().remove_suffix(1);
            return true;
        }
        if (m_quote == '\0' || !m_dialect.has(JoinsByQuote))
            return false;
        if (m_closing > line.rest.size()) // found once, not for each line
            m_closing = line.rest.size() - std::min(line.rest.find(m_quote), line.rest.size());
        entry.value.back() = span(entry.value.back(), line.bytes);
        return m_closing > 0;
    }

    // Whether the line may stand between those of a value.
    bool isSkipped(const Line& line, bool isOpen) const
    {
        const bool isComment = m_dialect.has(SkipsComments) && line.startsWith(m_dialect.comments);
        return isComment || (!isOpen && line.isBlank());
    }

    bool isIndented(const Line& line, Entry& entry) const
    {
        const bool isDeeper = m_dialect.has(JoinsByIndentation) && line.indent() > m_indent;
        if (isDeeper && looksLikeKey(line))
            raise(entry, Doubt::Lines, indentDoubt);
        return isDeeper && entry.doubt.level != Doubt::Lines;
    }

    void checkKey(Entry& entry) const
    {
        if (!m_dialect.has(Cautious))
            return;
        if (entry.separator.empty()) {
            const std::size_t note = noteIn(entry.name);
            if (note != none)
                raise(entry, Doubt::Lines, noteDoubt);
            entry.name = trimmed(entry.name.substr(0, note));
            return;
        }
        for (const std::string_view part : entry.value) {
            if (noteIn(part) != none)
                raise(entry, Doubt::Value, noteDoubt);
        }
        const std::string_view value = span(entry.value.front(), entry.value.back());
        if (!value.empty() && contains("\"'", value.front()) && value.find(value.front(), 1) == none)
            raise(entry, Doubt::Value, quoteDoubt);
        const bool isColonInKey = entry.separator.back() == ':' || value.substr(0, 1) == "=";
        if (trimmed(entry.separator) == ":" && isColonInKey && contains(entry.value.front(), '='))
            raise(entry, Doubt::Lines, colonDoubt);
    }

    std::string_view m_rest; // from this entry
    std::string_view m_next; // from the next entry
    const Dialect& m_dialect;
    const char* m_backslash = nullptr; // in the line before, if it ends with a backslash
    std::size_t m_indent = none;       // of the last key; none after a header
    char m_quote = '\0';               // that is open
    std::size_t m_closing = none;      // the size of the document from a later quote of this kind
};

} // namespace

std::string Entry::read(const Dialect& dialect) const
{
    std::string text;
    for (const std::string_view& part : value)
        text.append(&part != &value.front() ? dialect.joint : "").append(part);
    if (value.size() > 1) { // the first and the last line may be blank
        text.resize(text.find_last_not_of(whiteSpace) + 1);
        text.erase(0, text.find_first_not_of(blanks));
    }
    return dialect.decoded(text);
}

void forEachEntry(std::string_view bytes, const Dialect& dialect, const std::function<void(Entry&)>& visit)
{
    Reader(bytes, dialect).forEach(visit);
}
