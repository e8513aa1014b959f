#include "document.h"

#include "descriptor.h"
#include "failure.h"

#include <QRegularExpression>

#include <algorithm>
#include <limits>
#include <set>
#include <sys/mman.h>

namespace {

constexpr char byteOrderMark[] = "\xef\xbb\xbf";
constexpr qsizetype header = -1; // the place of a section's header among its lines
constexpr int everyLine = std::numeric_limits<int>::max();

bool isSame(const QString& a, const QString& b)
{
    return a.compare(b, Qt::CaseInsensitive) == 0;
}

// The store reads files by path alone. This one has none but its descriptor's, so it is never on a disk.
void load(INIStore& store, const QByteArray& bytes)
{
    const Descriptor memory(memfd_create("zk_settings", MFD_CLOEXEC));
    if (!memory.isOpen())
        throw systemFailure({}, "load");
    writeAll(memory.number(), bytes, {});
    if (!store.Open(QStringLiteral("/proc/self/fd/%1").arg(memory.number())))
        throw Failure{Trouble, "cannot load: is /proc mounted?"};
}

// A line in the three parts that an edit tells apart.
struct Parts
{
    QByteArray mark;    // a byte-order mark in mid-file, which the store passes over
    QString text;       // up to the comment, or to the end
    QByteArray comment; // from its ';'
};

Parts partsOf(const QByteArray& raw)
{
    const qsizetype start = raw.startsWith(byteOrderMark) ? 3 : 0;
    const qsizetype semicolon = raw.indexOf(';');
    const qsizetype end = semicolon < 0 ? raw.size() : semicolon;
    return {raw.left(start), QString::fromUtf8(raw.mid(start, end - start)), raw.mid(end)};
}

bool isDoubtful(const Parts& parts)
{
    return !parts.comment.isEmpty() && !parts.text.isEmpty() && !parts.text.back().isSpace();
}

bool isDoubtful(const QByteArray& raw)
{
    return raw.contains(';') && isDoubtful(partsOf(raw));
}

// The names that a doubtful line has for a reader who takes no character along with the ';', or who takes it as text.
QString doubtfulKey(const QByteArray& raw)
{
    const QString text = partsOf(raw).text;
    return text.contains(u'=') ? text.section(u'=', 0, 0).trimmed() : QString();
}

QString doubtfulHeader(const QByteArray& raw)
{
    static const QRegularExpression brackets(QStringLiteral(R"(^\s*\[([^\]]+)\])"));
    return brackets.match(QString::fromUtf8(raw)).captured(1);
}

// Whether a reader may find the key on the line.
auto mayHave(const QString& key)
{
    return [key](const INILine& line) {
        return isSame(line.m_key, key) || (isDoubtful(line.m_raw) && isSame(doubtfulKey(line.m_raw), key));
    };
}

// Decoding replaces what is not UTF-8, so it does not come back.
bool isUtf8(const QByteArray& raw)
{
    const Parts parts = partsOf(raw);
    return parts.mark + parts.text.toUtf8() + parts.comment == raw;
}

qsizetype skipSpace(QStringView text, qsizetype position)
{
    while (position < text.size() && text.at(position).isSpace())
        ++position;
    return position;
}

// How many of the blanks after the `=` of an empty value come before a new value: all, unless the last has to part it
// from a comment.
qsizetype blanksBefore(QStringView text, bool hasComment)
{
    const auto isLineEnd = [](QChar c) { return c == u'\r' || c == u'\n'; };
    const auto end = std::find_if(text.begin(), text.end(), isLineEnd) - text.begin();
    return hasComment ? std::clamp<qsizetype>(end - 1, 0, 1) : end;
}

// Replaces the text between the `=` with its blanks, and the comment with the white space before it. In doubt the
// comment begins at the `;`, and gets a blank before it.
QByteArray withValue(const QByteArray& raw, const QString& value)
{
    const Parts parts = partsOf(raw);
    const QString& text = parts.text;
    const bool hasComment = !parts.comment.isEmpty();
    const bool isFlush = isDoubtful(parts);

    qsizetype begin = text.indexOf(u'=') + 1;
    qsizetype end = text.size();
    while (!isFlush && end > begin && text.at(end - 1).isSpace())
        --end;
    if (end == begin && !isFlush)
        begin = end = begin + blanksBefore(QStringView(text).mid(begin), hasComment);
    else
        begin = std::min(skipSpace(text, begin), end);

    const QString blank = isFlush ? QStringLiteral(" ") : QString();
    return parts.mark + (text.left(begin) + value + blank + text.mid(end)).toUtf8() + parts.comment;
}

bool isKeyLine(const INILine& line)
{
    return !line.m_key.isEmpty();
}

const INILine* firstKeyLine(const INISection& section)
{
    const auto found = std::find_if(section.m_lines.begin(), section.m_lines.end(), isKeyLine);
    return found == section.m_lines.end() ? nullptr : &*found;
}

QByteArray lineEndOf(const QByteArray& raw)
{
    return raw.endsWith("\r\n") ? "\r\n" : raw.endsWith('\n') ? "\n" : "";
}

QByteArray lineEndOf(const INISection& section)
{
    if (!section.m_raw.isEmpty())
        return lineEndOf(section.m_raw);
    return section.m_lines.isEmpty() ? QByteArray() : lineEndOf(section.m_lines.first().m_raw);
}

void endLine(QByteArray& raw, const QByteArray& end)
{
    if (!raw.isEmpty() && !raw.endsWith('\n'))
        raw += end;
}

// Where a key that the section lacks goes: below its last key. Without one below the comments that follow the header,
// but those with no blank line before the next header belong to that.
qsizetype endOfKeys(const INISection& section, bool isLast)
{
    const QList<INILine>& lines = section.m_lines;
    const auto last = std::find_if(lines.rbegin(), lines.rend(), isKeyLine);
    if (last != lines.rend())
        return last.base() - lines.begin();
    const auto isBlank = [](const INILine& line) { return line.m_raw.trimmed().isEmpty(); };
    const auto blank = std::find_if(lines.begin(), lines.end(), isBlank);
    return blank == lines.end() && !isLast ? 0 : blank - lines.begin();
}

bool isSameLine(const INILine& a, const INILine& b)
{
    return a.m_raw == b.m_raw && a.m_key == b.m_key && a.m_value == b.m_value;
}

bool hasOuterSpace(const QString& text)
{
    return text.trimmed() != text;
}

Failure absent(const Request& request)
{
    const std::string section = '[' + request.section.toStdString() + ']';
    if (request.key.isNull())
        return {Absent, "there is no section " + section};
    const std::string value = request.hasValue ? " with the value " + request.value.toStdString() : "";
    return {Absent, section + " has no key " + request.key.toStdString() + value};
}

struct Reason
{
    bool (*holds)(const Request& request);
    const char* text;
};

// Why a document may read back as another, what explains most first.
constexpr Reason reasons[] = {
    {[](const Request& r) { return r.value.contains(u'\n'); }, "the value holds a line break"},
    {[](const Request& r) { return r.value.contains(u';'); }, "the value holds a ';', which begins a comment"},
    {[](const Request& r) { return hasOuterSpace(r.value); }, "the value begins or ends with a blank, which is lost"},
    {[](const Request& r) { return r.key.contains(u'\n'); }, "the key holds a line break"},
    {[](const Request& r) { return r.key.contains(u';'); }, "the key holds a ';', which begins a comment"},
    {[](const Request& r) { return r.key.contains(u'='); }, "the key holds a '=', which ends it"},
    {[](const Request& r) { return hasOuterSpace(r.key); }, "the key begins or ends with a blank, which is lost"},
    {[](const Request& r) { return r.key.startsWith(u'['); }, "the key begins with a '[', which begins a section"},
    {[](const Request& r) { return r.section.contains(u'\n'); }, "the section holds a line break"},
    {[](const Request& r) { return r.section.contains(u';'); }, "the section holds a ';', which begins a comment"},
    {[](const Request& r) { return r.section.contains(u']'); }, "the section holds a ']' bracket, which ends it"},
    {[](const Request&) { return true; }, "a character cannot be represented"},
};

struct Before
{
    bool operator()(const QString& a, const QString& b) const { return a.compare(b, Qt::CaseInsensitive) < 0; }
};

// A list that takes each name once.
class Names
{
public:
    void add(const QString& name)
    {
        if (m_seen.insert(name).second)
            m_names.append(name);
    }
    const QStringList& list() const { return m_names; }

private:
    std::set<QString, Before> m_seen;
    QStringList m_names;
};

} // namespace

Document::Document(const QByteArray& bytes)
    : m_mark(bytes.startsWith(byteOrderMark) ? byteOrderMark : "")
{
    const qsizetype nul = bytes.indexOf('\0');
    if (nul >= 0)
        throw Failure{Trouble, "a NUL: this is no settings file", static_cast<int>(bytes.left(nul).count('\n')) + 1};
    load(m_store, bytes.mid(m_mark.size()));
}

QByteArray Document::bytes() const
{
    QByteArray bytes = m_mark;
    for (const INISection& section : m_store.m_sections) {
        bytes += section.m_raw;
        for (const INILine& line : section.m_lines)
            bytes += line.m_raw;
    }
    return bytes;
}

int Document::lineNumber(qsizetype section, qsizetype line) const
{
    qsizetype number = line + 1;
    for (qsizetype i = 0; i < section; ++i)
        number += m_store.m_sections.at(i).m_lines.size();
    return static_cast<int>(number + section); // every section but the first has a header
}

void Document::requireUtf8(qsizetype section, qsizetype line) const
{
    const INISection& where = m_store.m_sections.at(section);
    if (!isUtf8(line < 0 ? where.m_raw : where.m_lines.at(line).m_raw))
        throw Failure{Trouble, "the line is not UTF-8", lineNumber(section, line)};
}

QStringList Document::sections() const
{
    const QList<INISection>& sections = m_store.m_sections;
    Names names;
    for (qsizetype i = 0; i < sections.size(); ++i) {
        requireUtf8(i, header);
        if (i > 0 || firstKeyLine(sections.at(i)))
            names.add(sections.at(i).m_name);
    }
    return names.list();
}

QStringList Document::keys(const QString& section)
{
    const int index = m_store.GetSection(section);
    if (index < 0)
        throw absent({section});
    const QList<INILine>& lines = m_store.m_sections.at(index).m_lines;
    Names names;
    for (qsizetype i = 0; i < lines.size(); ++i) {
        if (!isKeyLine(lines.at(i)))
            continue;
        requireUtf8(index, i);
        names.add(lines.at(i).m_key);
    }
    return names.list();
}

QStringList Document::values(const QString& section, const QString& key)
{
    const QStringList values = m_store.GetValues(section, key);
    if (values.isEmpty())
        throw absent({section, key});
    const int index = m_store.GetSection(section);
    const QList<INILine>& lines = m_store.m_sections.at(index).m_lines;
    for (qsizetype i = 0; i < lines.size(); ++i) {
        if (isSame(lines.at(i).m_key, key))
            requireUtf8(index, i);
    }
    return values;
}

std::vector<int> Document::doubtfulLines(const QString& section, const QString& key) const
{
    std::vector<int> numbers;
    int number = 0;
    for (const INISection& candidate : m_store.m_sections) {
        const bool isWanted = isSame(candidate.m_name, section);
        number += candidate.m_raw.isEmpty() ? 0 : 1;
        for (const INILine& line : candidate.m_lines) {
            ++number;
            if (!isDoubtful(line.m_raw))
                continue;
            const QString name = doubtfulHeader(line.m_raw);
            if (name.isEmpty() ? isWanted && mayHave(key)(line) : isWanted || isSame(name, section))
                numbers.push_back(number);
        }
    }
    return numbers;
}

void Document::refuseDoubt(const Request& request, int upToLine) const
{
    if (request.force)
        return;
    const std::vector<int> lines = doubtfulLines(request.section, request.key);
    if (!lines.empty() && lines.front() <= upToLine)
        throw Failure{Trouble, std::string(doubt) + "; --force takes it for a comment", lines.front()};
}

// Of the section, or else of the file.
QByteArray Document::lineEnd(qsizetype section) const
{
    QByteArray end = lineEndOf(m_store.m_sections.at(section));
    for (qsizetype i = 0; end.isEmpty() && i < m_store.m_sections.size(); ++i)
        end = lineEndOf(m_store.m_sections.at(i));
    return end.isEmpty() ? "\n" : end;
}

// With the indentation and the blanks around the `=` of the first key: later lines may be continued values.
QByteArray Document::composed(const Request& request, qsizetype section) const
{
    const INILine* model = firstKeyLine(m_store.m_sections.at(section));
    for (qsizetype i = 0; !model && i < m_store.m_sections.size(); ++i)
        model = firstKeyLine(m_store.m_sections.at(i));

    static const QRegularExpression spacing(QStringLiteral("^([ \\t]*)[^=]*?([ \\t]*)=([ \\t]*)"));
    const auto match = spacing.match(model ? partsOf(model->m_raw).text : QStringLiteral("k = "));
    QString after = match.captured(3);
    if (request.value.isEmpty())
        after.clear();
    else if (after.isEmpty() && model && model->m_value.isEmpty())
        after = match.captured(2);
    const QString text = match.captured(1) + request.key + match.captured(2) + u'=' + after + request.value;
    return text.toUtf8() + lineEnd(section);
}

void Document::insert(qsizetype section, qsizetype line, const Request& request)
{
    refuseDoubt(request, lineNumber(section, line) - 1);
    const QByteArray raw = composed(request, section);
    INISection& target = m_store.m_sections[section];
    endLine(line > 0 ? target.m_lines[line - 1].m_raw : target.m_raw, lineEnd(section));
    target.m_lines.insert(line, INILine(request.key, request.value, raw));
}

qsizetype Document::addSection(const QString& name)
{
    const qsizetype index = m_store.m_sections.size();
    const QByteArray end = lineEnd(index - 1);
    INISection& last = m_store.m_sections.last();
    endLine(last.m_lines.isEmpty() ? last.m_raw : last.m_lines.last().m_raw, end);
    m_store.m_sections.append(INISection(name, '[' + name.toUtf8() + ']' + end));
    return index;
}

void Document::add(const Request& request)
{
    qsizetype section = m_store.GetSection(request.section);
    if (section < 0) {
        refuseDoubt(request, everyLine);
        section = addSection(request.section);
    }
    const bool isLast = section + 1 == m_store.m_sections.size();
    insert(section, endOfKeys(m_store.m_sections.at(section), isLast), request);
}

// The first line that may have the key, in the first section of the name. Negative if there is none.
qsizetype Document::find(const Request& request)
{
    const int section = m_store.GetSection(request.section);
    if (section < 0)
        return -1;
    const QList<INILine>& lines = m_store.m_sections.at(section).m_lines;
    const auto found = std::find_if(lines.begin(), lines.end(), mayHave(request.key));
    return found == lines.end() ? -1 : found - lines.begin();
}

void Document::set(const Request& request)
{
    const qsizetype index = find(request);
    if (index < 0)
        return add(request);
    const int section = m_store.GetSection(request.section);
    refuseDoubt(request, lineNumber(section, index));
    requireUtf8(section, index);

    INILine& line = m_store.m_sections[section].m_lines[index];
    if (line.m_key.isNull())
        line.m_key = doubtfulKey(line.m_raw);
    line.m_raw = withValue(line.m_raw, request.value);
    line.m_value = request.value;
}

void Document::append(const Request& request)
{
    const qsizetype first = find(request);
    if (first < 0)
        return add(request);
    const int section = m_store.GetSection(request.section);
    const QList<INILine>& lines = m_store.m_sections.at(section).m_lines;
    const auto end = std::find_if_not(lines.begin() + first, lines.end(), mayHave(request.key));
    insert(section, end - lines.begin(), request);
}

void Document::prepend(const Request& request)
{
    const qsizetype first = find(request);
    first < 0 ? add(request) : insert(m_store.GetSection(request.section), first, request);
}

void Document::remove(const Request& request)
{
    refuseDoubt(request, everyLine);
    const auto isWanted = [&](const INILine& line) {
        return mayHave(request.key)(line) && (!request.hasValue || line.m_value == request.value);
    };
    qsizetype removed = 0;
    for (INISection& section : m_store.m_sections) {
        if (isSame(section.m_name, request.section))
            removed += section.m_lines.removeIf(isWanted);
    }
    if (removed == 0)
        throw absent(request);
}

int Document::firstDifference(const QList<INISection>& read) const
{
    const QList<INISection>& sections = m_store.m_sections;
    for (qsizetype i = 0; i < sections.size(); ++i) {
        const INISection& section = sections.at(i);
        if (i == read.size() || read.at(i).m_name != section.m_name || read.at(i).m_raw != section.m_raw)
            return lineNumber(i, header);
        const QList<INILine>& lines = read.at(i).m_lines;
        const auto ends =
            std::mismatch(section.m_lines.begin(), section.m_lines.end(), lines.begin(), lines.end(), isSameLine);
        if (ends.first != section.m_lines.end() || ends.second != lines.end())
            return lineNumber(i, ends.first - section.m_lines.begin());
    }
    return read.size() == sections.size() ? 0 : lineNumber(sections.size(), header);
}

void Document::verify(const Request& request)
{
    const Document read(bytes());
    const int line = firstDifference(read.m_store.m_sections);
    if (line == 0)
        return;
    const auto holds = [&](const Reason& reason) { return reason.holds(request); };
    throw Failure{Trouble, std::find_if(std::begin(reasons), std::end(reasons), holds)->text, line};
}
