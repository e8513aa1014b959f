#include "document.h"

#include "descriptor.h"
#include "failure.h"

#include <QRegularExpression>
#include <QSet>

#include <algorithm>
#include <limits>
#include <sys/mman.h>

namespace {

constexpr char byteOrderMark[] = "\xef\xbb\xbf";
constexpr qsizetype header = -1; // the index of a section's header, before that of its first line
constexpr int everyLine = std::numeric_limits<int>::max();

bool isSame(const QString& a, const QString& b)
{
    return a.compare(b, Qt::CaseInsensitive) == 0;
}

// The store only reads files that have a path. A file in memory has one.
void load(INIStore& store, const QByteArray& bytes)
{
    const Descriptor memory(memfd_create("zk_settings", MFD_CLOEXEC));
    if (!memory.isOpen())
        throw systemFailure({}, "load");
    writeAll(memory.number(), bytes, {});
    if (!store.Open(QStringLiteral("/proc/self/fd/%1").arg(memory.number())))
        throw Failure{Trouble, "cannot load: is /proc mounted?"};
}

QByteArray firstLineEnd(const QByteArray& bytes)
{
    const qsizetype end = bytes.indexOf('\n');
    return end > 0 && bytes.at(end - 1) == '\r' ? "\r\n" : "\n";
}

struct Parts
{
    QByteArray mark;    // the store ignores a byte-order mark in any line
    QString text;       // up to the comment, or to the end of the line
    QByteArray comment; // from its ';'
};

Parts partsOf(const QByteArray& raw)
{
    const qsizetype start = raw.startsWith(byteOrderMark) ? 3 : 0;
    const qsizetype semicolon = raw.indexOf(';');
    const qsizetype end = semicolon < 0 ? raw.size() : semicolon;
    return {raw.left(start), QString::fromUtf8(raw.mid(start, end - start)), raw.mid(end)};
}

bool isAmbiguous(const Parts& parts)
{
    return !parts.comment.isEmpty() && !parts.text.isEmpty() && !parts.text.back().isSpace();
}

bool isAmbiguous(const QByteArray& raw)
{
    return raw.contains(';') && isAmbiguous(partsOf(raw));
}

// The key of an ambiguous line, if the comment starts at the ';'.
QString possibleKey(const QByteArray& raw)
{
    const QString text = partsOf(raw).text;
    return text.contains(u'=') ? text.section(u'=', 0, 0).trimmed() : QString();
}

// The section that an ambiguous line may start, whatever its ';' means.
QString possibleSection(const QByteArray& raw)
{
    static const QRegularExpression brackets(QStringLiteral(R"(^\s*\[([^\]]+)\])"));
    return brackets.match(QString::fromUtf8(raw)).captured(1);
}

auto mayHave(const QString& key)
{
    return [key](const INILine& line) {
        return isSame(line.m_key, key) || (isAmbiguous(line.m_raw) && isSame(possibleKey(line.m_raw), key));
    };
}

// Decoding replaces invalid bytes, so encoding does not restore them.
bool isUtf8(const QByteArray& raw)
{
    const Parts parts = partsOf(raw);
    return parts.mark + parts.text.toUtf8() + parts.comment == raw;
}

// Returns how many of the blanks after the '=' stay before a value that replaces an empty one: all of them, or at most
// one if a comment follows, so that a blank is left before the comment.
qsizetype blanksBefore(QStringView blanks, bool hasComment)
{
    if (hasComment)
        return std::clamp<qsizetype>(blanks.size() - 1, 0, 1);
    return blanks.size() - blanks.count(u'\r') - blanks.count(u'\n');
}

// Adds a blank before an ambiguous comment, which would otherwise hide the last character of the value.
QByteArray withValue(const QByteArray& raw, const QString& value)
{
    Parts parts = partsOf(raw);
    const qsizetype start = parts.text.indexOf(u'=') + 1;
    const QStringView rest = QStringView(parts.text).sliced(start);
    const QStringView old = rest.trimmed();
    const qsizetype blanks = old.isEmpty() ? blanksBefore(rest, !parts.comment.isEmpty()) : rest.indexOf(old.front());
    const qsizetype oldSize = old.size();
    const QString blank = isAmbiguous(parts) ? QStringLiteral(" ") : QString();
    parts.text.replace(start + blanks, oldSize, value + blank);
    return parts.mark + parts.text.toUtf8() + parts.comment;
}

bool hasKey(const INILine& line)
{
    return !line.m_key.isEmpty();
}

const INILine* firstKeyLine(const INISection& section)
{
    const auto found = std::find_if(section.m_lines.begin(), section.m_lines.end(), hasKey);
    return found == section.m_lines.end() ? nullptr : &*found;
}

bool isBlank(const INILine& line)
{
    return line.m_raw.trimmed().isEmpty();
}

// Some programs read text that is neither a key nor a comment as part of the value above.
qsizetype afterContinuation(const QList<INILine>& lines, qsizetype index)
{
    const auto isContinuation = [](const INILine& line) {
        return line.m_key.isNull() && !isBlank(line) && !QByteArray(";#").contains(line.m_raw.trimmed().front());
    };
    return std::find_if_not(lines.begin() + index, lines.end(), isContinuation) - lines.begin();
}

// Where a new key goes: after the last key. In a section without keys it goes after the first comment; but a comment
// with no blank line before the next header belongs to that header.
qsizetype endOfKeys(const INISection& section, bool isLast)
{
    const QList<INILine>& lines = section.m_lines;
    const auto last = std::find_if(lines.rbegin(), lines.rend(), hasKey);
    if (last != lines.rend())
        return afterContinuation(lines, last.base() - lines.begin());
    const auto blank = std::find_if(lines.begin(), lines.end(), isBlank);
    return blank == lines.end() && !isLast ? 0 : blank - lines.begin();
}

// Points into a document, because copies of all lines of a large file would take too much memory.
struct LineView
{
    const QString* key;
    const QString* value;
    const QByteArray* raw;
};

bool isSameLine(const LineView& a, const LineView& b)
{
    return *a.raw == *b.raw && *a.key == *b.key && *a.value == *b.value;
}

// All lines in file order. A header has the section's name as its key and value.
std::vector<LineView> linesOf(const QList<INISection>& sections)
{
    std::vector<LineView> lines;
    for (const INISection& section : sections) {
        if (!section.m_raw.isEmpty())
            lines.push_back({&section.m_name, &section.m_name, &section.m_raw});
        for (const INILine& line : section.m_lines)
            lines.push_back({&line.m_key, &line.m_value, &line.m_raw});
    }
    return lines;
}

// Each name once, as first written.
QStringList unique(const QStringList& names)
{
    QSet<QString> seen;
    QStringList result;
    for (const QString& name : names) {
        const QString folded = name.toCaseFolded();
        if (!seen.contains(folded))
            result.append(name);
        seen.insert(folded);
    }
    return result;
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
    bool (*applies)(const Request& request);
    const char* text;
};

// Why a document can differ when it is read again. The first reason that applies is reported.
constexpr Reason reasons[] = {
    {[](const Request& r) { return r.value.contains(u'\n'); }, "the value contains a line break"},
    {[](const Request& r) { return r.value.contains(u';'); }, "the value contains a ';', which starts a comment"},
    {[](const Request& r) { return hasOuterSpace(r.value); }, "the value starts or ends with a blank, which is lost"},
    {[](const Request& r) { return r.key.contains(u'\n'); }, "the key contains a line break"},
    {[](const Request& r) { return r.key.contains(u';'); }, "the key contains a ';', which starts a comment"},
    {[](const Request& r) { return r.key.contains(u'='); }, "the key contains a '=', which ends the key"},
    {[](const Request& r) { return hasOuterSpace(r.key); }, "the key starts or ends with a blank, which is lost"},
    {[](const Request& r) { return r.key.startsWith(u'['); }, "the key starts with a '[', which starts a header"},
    {[](const Request& r) { return r.section.contains(u'\n'); }, "the section contains a line break"},
    {[](const Request& r) { return r.section.contains(u';'); }, "the section contains a ';', which starts a comment"},
    {[](const Request& r) { return r.section.contains(u']'); }, "the section contains a ']', which ends the brackets"},
    {[](const Request&) { return true; }, "a character cannot be represented"},
};

} // namespace

Document::Document(const QByteArray& bytes)
    : m_mark(bytes.startsWith(byteOrderMark) ? byteOrderMark : "")
    , m_lineEnd(firstLineEnd(bytes))
{
    const qsizetype nul = bytes.indexOf('\0');
    if (nul >= 0)
        throw Failure{Trouble, "a NUL byte: not a settings file", static_cast<int>(bytes.left(nul).count('\n')) + 1};
    load(m_store, bytes.mid(m_mark.size()));
}

QByteArray Document::bytes() const
{
    QByteArray bytes = m_mark;
    for (const LineView& line : linesOf(m_store.m_sections))
        bytes += *line.raw;
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
    if (!isUtf8(line == header ? where.m_raw : where.m_lines.at(line).m_raw))
        throw Failure{Trouble, "not valid UTF-8", lineNumber(section, line)};
}

QStringList Document::sections() const
{
    const QList<INISection>& sections = m_store.m_sections;
    QStringList names;
    for (qsizetype i = 0; i < sections.size(); ++i) {
        requireUtf8(i, header);
        if (i > 0 || firstKeyLine(sections.at(i)))
            names.append(sections.at(i).m_name);
    }
    return unique(names);
}

template <typename Predicate>
QList<INILine> Document::matching(const QString& section, Predicate isWanted)
{
    const int index = m_store.GetSection(section);
    if (index < 0)
        throw absent({section});
    const QList<INILine>& lines = m_store.m_sections.at(index).m_lines;
    QList<INILine> found;
    for (qsizetype i = 0; i < lines.size(); ++i) {
        if (!isWanted(lines.at(i)))
            continue;
        requireUtf8(index, i);
        found.append(lines.at(i));
    }
    return found;
}

QStringList Document::keys(const QString& section)
{
    QStringList keys;
    for (const INILine& line : matching(section, hasKey))
        keys.append(line.m_key);
    return unique(keys);
}

QStringList Document::values(const QString& section, const QString& key)
{
    QStringList values;
    for (const INILine& line : matching(section, [&](const INILine& l) { return isSame(l.m_key, key); }))
        values.append(line.m_value);
    if (values.isEmpty())
        throw absent({section, key});
    return values;
}

std::vector<int> Document::ambiguousLines(const QString& section, const QString& key) const
{
    std::vector<int> numbers;
    int number = 0;
    for (const INISection& candidate : m_store.m_sections) {
        const bool isWanted = isSame(candidate.m_name, section);
        number += candidate.m_raw.isEmpty() ? 0 : 1;
        for (const INILine& line : candidate.m_lines) {
            ++number;
            if (!isAmbiguous(line.m_raw))
                continue;
            const QString name = possibleSection(line.m_raw);
            if (name.isEmpty() ? isWanted && mayHave(key)(line) : isWanted || isSame(name, section))
                numbers.push_back(number);
        }
    }
    return numbers;
}

void Document::requireUnambiguous(const Request& request, int upToLine) const
{
    if (request.force)
        return;
    const std::vector<int> lines = ambiguousLines(request.section, request.key);
    if (!lines.empty() && lines.front() <= upToLine)
        throw Failure{Trouble, std::string(ambiguity) + "; --force treats it as a comment", lines.front()};
}

// The line whose spacing a new line gets. Later lines may continue a value.
INILine Document::modelLine(qsizetype section) const
{
    if (const INILine* const line = firstKeyLine(m_store.m_sections.at(section)))
        return *line;
    for (const INISection& other : m_store.m_sections) {
        if (const INILine* const line = firstKeyLine(other))
            return *line;
    }
    return {QStringLiteral("k"), QStringLiteral("v"), "k = v"};
}

QByteArray Document::composed(const Request& request, qsizetype section) const
{
    static const QRegularExpression spacing(QStringLiteral("^([ \\t]*)[^=]*?([ \\t]*)=([ \\t]*)"));
    const INILine model = modelLine(section);
    const auto match = spacing.match(partsOf(model.m_raw).text);
    QString line = match.captured(1) + request.key + match.captured(2) + u'=';
    if (!request.value.isEmpty()) // an empty value in the model may have no blank before it
        line += match.captured(model.m_value.isEmpty() ? 2 : 3) + request.value;
    return line.toUtf8() + m_lineEnd;
}

// For a last line that has no line end.
void Document::endLine(QByteArray& raw) const
{
    if (!raw.isEmpty() && !raw.endsWith('\n'))
        raw += m_lineEnd;
}

void Document::insert(qsizetype section, qsizetype line, const Request& request)
{
    requireUnambiguous(request, lineNumber(section, line) - 1);
    const QByteArray raw = composed(request, section);
    INISection& target = m_store.m_sections[section];
    endLine(line > 0 ? target.m_lines[line - 1].m_raw : target.m_raw);
    target.m_lines.insert(line, INILine(request.key, request.value, raw));
}

qsizetype Document::addSection(const QString& name)
{
    INISection& last = m_store.m_sections.last();
    endLine(last.m_lines.isEmpty() ? last.m_raw : last.m_lines.last().m_raw);
    m_store.m_sections.append(INISection(name, '[' + name.toUtf8() + ']' + m_lineEnd));
    return m_store.m_sections.size() - 1;
}

void Document::add(const Request& request)
{
    qsizetype section = m_store.GetSection(request.section);
    if (section < 0) {
        requireUnambiguous(request, everyLine);
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
    requireUnambiguous(request, lineNumber(section, index));
    requireUtf8(section, index);

    INILine& line = m_store.m_sections[section].m_lines[index];
    if (line.m_key.isNull())
        line.m_key = possibleKey(line.m_raw);
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
    insert(section, afterContinuation(lines, end - lines.begin()), request);
}

void Document::prepend(const Request& request)
{
    const qsizetype first = find(request);
    first < 0 ? add(request) : insert(m_store.GetSection(request.section), first, request);
}

void Document::remove(const Request& request)
{
    requireUnambiguous(request, everyLine);
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

void Document::verify(const Request& request) const
{
    const Document read(bytes());
    const std::vector<LineView> expected = linesOf(m_store.m_sections);
    const std::vector<LineView> found = linesOf(read.m_store.m_sections);
    const auto ends = std::mismatch(expected.begin(), expected.end(), found.begin(), found.end(), isSameLine);
    if (ends.first == expected.end() && ends.second == found.end())
        return;
    const auto applies = [&](const Reason& reason) { return reason.applies(request); };
    const int line = static_cast<int>(ends.first - expected.begin()) + 1;
    throw Failure{Trouble, std::find_if(std::begin(reasons), std::end(reasons), applies)->text, line};
}
