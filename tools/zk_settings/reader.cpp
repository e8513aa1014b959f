#include "reader.h"

#include <algorithm>

namespace {

class Reader
{
public:
    Reader(std::string_view bytes, const Dialect& dialect)
        : m_bytes(bytes)
        , m_dialect(dialect)
    {
    }

    bool isAtEnd() const { return m_at == m_bytes.size(); }

    Entry next()
    {
        Line line = lineAt(m_at);
        Entry entry;
        entry.lines = {line.begin, line.next};
        m_quote = '\0';
        m_closing = none;
        if (m_dialect.has(NotesTakeOneMore))
            cutNote(line, entry);
        if (startsWith(line, m_dialect.comments))
            entry.kind = Entry::Comment;
        else if (!line.isBlank() && !takeHeader(line, entry))
            takeKey(line, entry);
        if (m_backslash != none && entry.doubt.level != Doubt::Lines) {
            raise(entry, Doubt::Lines, backslashDoubt);
            entry.doubt.at = m_backslash;
        }
        const auto end = [&] { return m_bytes.substr(0, entry.lines.end).find_last_not_of("\r\n") + 1; };
        if (entry.kind != Entry::Comment) // systemd skips comments after a backslash
            m_backslash = entry.kind != Entry::Blank && endsWithBackslash(end()) ? line.begin : none;
        entry.hash = hashOf(entry);
        m_at = entry.lines.end;
        return entry;
    }

private:
    struct Line
    {
        std::size_t begin;
        std::size_t text; // behind the indentation
        std::size_t end;  // before the line ending
        std::size_t next;

        bool isBlank() const { return text == end; }
        std::size_t indent() const { return text - begin; }
    };

    Line lineAt(std::size_t begin) const
    {
        const std::size_t feed = m_bytes.find('\n', begin);
        Line line = {begin, begin, std::min(feed, m_bytes.size()), feed == none ? m_bytes.size() : feed + 1};
        if (feed != none && feed > begin && m_bytes[feed - 1] == '\r')
            --line.end;
        line.text = std::min(m_bytes.substr(0, line.end).find_first_not_of(whiteSpace, begin), line.end);
        return line;
    }

    Range trimmed(std::size_t begin, std::size_t end) const
    {
        begin = std::min(m_bytes.substr(0, end).find_first_not_of(whiteSpace, begin), end);
        while (end > begin && contains(whiteSpace, m_bytes[end - 1]))
            --end;
        return {begin, end};
    }

    bool startsWith(const Line& line, std::string_view characters) const
    {
        return !line.isBlank() && contains(characters, m_bytes[line.text]);
    }

    // Two backslashes mean one.
    bool endsWithBackslash(std::size_t end) const
    {
        const std::size_t begin = m_bytes.substr(0, end).find_last_not_of('\\') + 1;
        return (end - begin) % 2 == 1;
    }

    // An operator such as ">=" is no separator.
    bool looksLikeKey(const Line& line) const
    {
        const std::string_view text = Range{line.text, line.end}.of(m_bytes);
        const std::size_t equals = text.find('=');
        const bool isOperator =
            equals == 0 || equals == none || contains("<>!~", text[equals - 1]) || text.substr(equals, 2) == "==";
        return startsWith(line, "[") || !isOperator;
    }

    // Only a cautious dialect is in doubt. Keeps the graver doubt.
    void raise(Entry& entry, Doubt::Level level, const char* text) const
    {
        if (m_dialect.has(Cautious) && level > entry.doubt.level)
            entry.doubt = {level, text, entry.lines.begin};
    }

    std::size_t hashOf(const Entry& entry) const
    {
        if (entry.kind == Entry::Blank || entry.kind == Entry::Comment)
            return 0;
        const std::size_t end = entry.hasValue() ? entry.valueRange().end : entry.name.end;
        const std::size_t hash = std::hash<std::string_view>()(Range{entry.name.begin, end}.of(m_bytes));
        return hash * (8U * entry.doubt.level + entry.kind);
    }

    // A character may have several bytes.
    void cutNote(Line& line, Entry& entry) const
    {
        const std::size_t note = Range{line.begin, line.end}.of(m_bytes).find_first_of(m_dialect.notes);
        if (note == none)
            return;
        entry.note = line.end = line.begin + note;
        while (line.end > line.begin && (static_cast<unsigned char>(m_bytes[--line.end]) & 0xc0U) == 0x80)
            ;
        line.text = std::min(line.text, line.end);
    }

    std::size_t closingBracket(const Line& line) const
    {
        const std::string_view text = m_bytes.substr(0, line.end);
        if (m_dialect.has(LastBracket))
            return text.rfind(']');
        bool isQuoted = false;
        for (std::size_t at = line.text; at < line.end; ++at) {
            if (text[at] == ']' && !isQuoted)
                return at;
            isQuoted ^= m_dialect.has(Subsections) && text[at] == '"';
            at += isQuoted && text[at] == '\\' ? 1 : 0;
        }
        return none;
    }

    bool takeHeader(const Line& line, Entry& entry)
    {
        const std::size_t close = startsWith(line, "[") ? closingBracket(line) : none;
        if (close == none || close <= line.text + 1)
            return false;
        const Range rest = trimmed(close + 1, line.end);
        if (m_dialect.has(NothingAfterHeader) && !rest.isEmpty())
            return false;
        entry.kind = Entry::Header;
        entry.name = {line.text + 1, close};
        if (m_dialect.has(KeysAfterHeader) && !rest.isEmpty() && !contains(m_dialect.notes, m_bytes[rest.begin]))
            entry.lines.end = rest.begin;
        if (!rest.isEmpty() && !contains("#;", m_bytes[rest.begin]) && contains(rest.of(m_bytes), '='))
            raise(entry, Doubt::Lines, headerDoubt);
        if (m_bytes.substr(0, line.end).rfind(']') != close)
            raise(entry, Doubt::Lines, bracketDoubt);
        if (m_dialect.has(Cautious) && line.indent() > m_indent) // keys below it may continue the value, too
            raise(entry, Doubt::Lines, indentDoubt);
        else
            m_indent = none;
        return true;
    }

    // Returns the end of what counts: a note, or the end of the line. A quote may stay open.
    std::size_t takeContent(std::size_t begin, const Line& line, Entry& entry)
    {
        const bool isPlain = m_dialect.notes.empty() && m_dialect.quotes.empty();
        for (std::size_t at = isPlain ? line.end : begin; at < line.end; ++at) {
            const char character = m_bytes[at];
            if (character == '\\' && m_dialect.hasEscapes(m_quote))
                ++at;
            else if (m_quote != '\0' ? character == m_quote : contains(m_dialect.quotes, character))
                m_quote = m_quote != '\0' ? '\0' : character;
            else if (m_quote == '\0' && contains(m_dialect.notes, character) &&
                     (m_dialect.has(NotesAnywhere) || contains(whiteSpace, m_bytes[at - 1]))) // a line starts otherwise
                return entry.note = at;
        }
        return line.end;
    }

    void takeKey(const Line& line, Entry& entry)
    {
        const std::size_t end = takeContent(line.text, line, entry);
        const Range content = trimmed(line.text, end);
        const std::size_t separator = content.of(m_bytes).find_first_of(m_dialect.separators);
        const bool isText = separator == 0 || (separator == none && !m_dialect.has(BareKeys));
        entry.kind = isText ? Entry::Text : Entry::Key;
        entry.name = content;
        if (isText) {
            entry.value.push_back(content);
            return takeContinuation(line, entry);
        }
        if (line.indent() > m_indent)
            raise(entry, Doubt::Lines, indentDoubt);
        if (entry.doubt.level == Doubt::None)
            m_indent = line.indent();
        if (separator != none) {
            entry.separator = content.begin + separator;
            entry.name = trimmed(content.begin, entry.separator);
            entry.value.push_back(trimmed(entry.separator + 1, end));
            if (m_dialect.has(KeepsTrailingSpace))
                entry.value.back().end = end;
            takeContinuation(line, entry);
            if (m_quote != '\0' && m_dialect.has(JoinsByQuote))
                entry.doubt = {Doubt::Lines, openDoubt, line.begin};
        }
        checkKey(entry);
    }

    // Takes lines until one does not continue the value.
    void takeContinuation(Line line, Entry& entry)
    {
        for (std::size_t end = none; end != entry.lines.end;) {
            end = entry.lines.end;
            if (m_dialect.has(JoinsByBackslash) && entry.note == none && endsWithBackslash(line.end))
                takeJoined(line, entry);
            else if (m_dialect.has(JoinsByQuote) && m_quote != '\0')
                takeQuoted(line, entry);
            else if (m_dialect.has(JoinsByIndentation))
                takeIndented(line, entry);
        }
    }

    void takeJoined(Line& line, Entry& entry)
    {
        Line next = lineAt(line.next);
        const bool isOther = next.isBlank() || startsWith(next, m_dialect.comments) || looksLikeKey(next);
        raise(entry, isOther ? Doubt::Lines : Doubt::Reading, backslashDoubt);
        if (entry.doubt.level == Doubt::Lines)
            return;
        entry.value.back().end = line.end - 1;
        std::vector<Range> comments;
        for (; m_dialect.has(SkipsComments) && startsWith(next, m_dialect.comments); next = lineAt(next.next))
            comments.push_back({next.begin, next.next});
        if (next.begin == m_bytes.size())
            return;
        entry.comments.insert(entry.comments.end(), comments.begin(), comments.end());
        const std::size_t end = takeContent(next.begin, next, entry);
        entry.value.push_back({next.begin, std::max(next.begin, trimmed(next.begin, end).end)});
        entry.lines.end = next.next;
        line = next;
    }

    void takeQuoted(Line& line, Entry& entry)
    {
        if (m_closing == none || m_closing < line.next) // found once, not for each line
            m_closing = m_bytes.find(m_quote, line.next);
        if (m_closing == none)
            return;
        entry.value.back().end = line.end;
        line = lineAt(line.next);
        entry.value.push_back(
            {line.begin, std::max(line.begin, trimmed(line.begin, takeContent(line.begin, line, entry)).end)});
        entry.lines.end = line.next;
    }

    // Comments and blank lines may stand between the lines of a value.
    void takeIndented(Line& line, Entry& entry)
    {
        Line next = lineAt(line.next);
        while (next.next < m_bytes.size() && (next.isBlank() || startsWith(next, m_dialect.comments)))
            next = lineAt(next.next);
        if (next.isBlank() || startsWith(next, m_dialect.comments) || next.indent() <= m_indent)
            return;
        if (looksLikeKey(next))
            raise(entry, Doubt::Lines, indentDoubt);
        if (entry.doubt.level == Doubt::Lines)
            return;
        if (entry.note != none) // becomes a line of its own if the value is replaced
            entry.comments.push_back({entry.note, line.end});
        entry.note = none;
        for (line = lineAt(line.next); line.begin < next.begin; line = lineAt(line.next)) {
            if (line.isBlank())
                entry.value.push_back({line.begin, line.begin});
            else
                entry.comments.push_back({line.begin, line.next});
        }
        entry.value.push_back(trimmed(next.text, takeContent(next.text, next, entry)));
        entry.lines.end = next.next;
    }

    // Finds a '#' or ';' at the start or after white space.
    std::size_t noteIn(Range range) const
    {
        const std::string_view text = range.of(m_bytes);
        std::size_t at = text.find_first_of("#;");
        while (at != none && at > 0 && !contains(whiteSpace, text[at - 1]))
            at = text.find_first_of("#;", at + 1);
        return at;
    }

    void checkKey(Entry& entry) const
    {
        if (!m_dialect.has(Cautious))
            return;
        if (!entry.hasValue()) {
            const std::size_t note = noteIn(entry.name);
            if (note != none)
                raise(entry, Doubt::Lines, noteDoubt);
            entry.name = trimmed(entry.name.begin, note == none ? entry.name.end : entry.name.begin + note);
            return;
        }
        if (std::any_of(entry.value.begin(), entry.value.end(), [&](Range line) { return noteIn(line) != none; }))
            raise(entry, Doubt::Value, noteDoubt);
        const std::string_view value = entry.valueRange().of(m_bytes);
        if (!value.empty() && contains("\"'", value.front()) && value.find(value.front(), 1) == none)
            raise(entry, Doubt::Value, quoteDoubt);
        const std::size_t word = value.find_first_of(" \t=");
        if (m_bytes[entry.separator] == ':' && (word == 0 || entry.value.front().begin == entry.separator + 1) &&
            word != none && contains(value.substr(word, 3), '='))
            raise(entry, Doubt::Lines, colonDoubt);
    }

    std::string_view m_bytes;
    const Dialect& m_dialect;
    std::size_t m_at = 0;
    std::size_t m_backslash = none; // where the line before starts, if it ends with a backslash
    std::size_t m_indent = none;    // of the last key; none after a header
    char m_quote = '\0';            // that is open
    std::size_t m_closing = none;   // a later quote of this kind
};

} // namespace

void forEachEntry(std::string_view bytes, const Dialect& dialect, const std::function<void(Entry&)>& visit)
{
    Reader reader(bytes, dialect);
    while (!reader.isAtEnd()) {
        Entry entry = reader.next();
        visit(entry);
    }
}

std::string valueOf(const Entry& entry, std::string_view bytes, const Dialect& dialect)
{
    std::string text;
    for (std::size_t i = 0; i < entry.value.size(); ++i) {
        text += entry.value[i].of(bytes);
        if (i + 1 < entry.value.size())
            text += dialect.has(JoinsByBackslash) ? dialect.joint : "\n";
    }
    if (entry.value.size() > 1) { // the first and the last line may be blank
        text.resize(text.find_last_not_of(whiteSpace) + 1);
        text.erase(0, text.find_first_not_of(blanks));
    }
    return dialect.decoded(text);
}
