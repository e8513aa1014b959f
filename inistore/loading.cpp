#include "inistore/inistore.h"

#include "inistore/line_p.h"
#include "inistore/textpool_p.h"

#include <QFile>

#include <algorithm>
#include <utility>

namespace {

class Loader
{
public:
    explicit Loader(INIStore& store)
        : m_store(store)
    {
    }

    void addLines(const QByteArray& bytes);
    void finishSection();

private:
    void beginSection(QStringView name, std::string_view raw);
    void addLine(const inistore::ParsedLine& parsed, std::string_view raw);

    INIStore& m_store;
    inistore::LineParser m_parser;
    // A client that keeps a text keeps its whole block. Clients keep keys and values, so those blocks are smaller.
    inistore::TextPool<QString, QStringView, 112> m_texts;
    inistore::TextPool<QByteArray, std::string_view, 512> m_bytes;
    // The lines of the current section, collected here so that its list is allocated once, in its final size.
    QList<INILine> m_lines;
};

void Loader::addLines(const QByteArray& bytes)
{
    std::string_view rest(bytes.constData(), static_cast<std::size_t>(bytes.size()));
    while (!rest.empty()) {
        const std::string_view raw = rest.substr(0, std::min(rest.find('\n'), rest.size() - 1) + 1);
        const inistore::ParsedLine parsed = m_parser.parse(raw);
        if (parsed.name.isNull())
            addLine(parsed, raw);
        else
            beginSection(parsed.name, raw);
        rest.remove_prefix(raw.size());
    }
}

void Loader::finishSection()
{
    if (m_lines.isEmpty()) // the section may not exist: a client may have removed it
        return;
    QList<INILine>& lines = m_store.m_sections[m_store.m_currentSection].m_lines;
    lines.reserve(lines.size() + m_lines.size());
    lines.append(std::move(m_lines));
    m_lines.clear();
}

void Loader::beginSection(QStringView name, std::string_view raw)
{
    finishSection();
    m_store.m_sections.append(INISection(m_texts.copy(name), m_bytes.copy(raw)));
    m_store.m_currentSection = static_cast<qint32>(m_store.m_sections.size() - 1);
}

// Moves into the fields: the record's constructor copies, which counts references.
void Loader::addLine(const inistore::ParsedLine& parsed, std::string_view raw)
{
    INILine& line = m_lines.emplaceBack(QString(), QString(), QByteArray());
    line.m_raw = m_bytes.copy(raw);
    if (parsed.key.isNull())
        return;
    line.m_key = m_texts.copy(parsed.key);
    line.m_value = m_texts.copy(parsed.value);
}

// Adds the lines up to the next end of the input. Returns false if that is at the start of a line. QFile::read returns
// a whole piece unless it meets an end. The size of the file does not matter: files in /proc have none.
bool addInput(QFile& file, Loader& loader)
{
    constexpr qint64 pieceSize = 32 * 1024;
    QByteArray piece;
    QByteArray unfinished;
    do {
        piece = file.read(pieceSize);
        const qsizetype end = piece.lastIndexOf('\n') + 1;
        if (end > 0) {
            loader.addLines(unfinished + piece.left(end));
            unfinished.clear();
        }
        unfinished += piece.mid(end);
    } while (piece.size() == pieceSize);
    loader.addLines(unfinished);
    return !unfinished.isEmpty();
}

} // namespace

bool INIStore::Open(QString const& path)
{
    const QString name = path; // a copy, because the argument may be m_lastError
    m_lastError.clear();
    QFile file(name);
    if (!file.open(QIODevice::ReadOnly)) {
        if (QFile::exists(name)) // unlike file.exists(), false for a dangling link
            m_lastError = QStringLiteral("Unable to open %1, with read permission").arg(name);
        return false;
    }

    Loader loader(*this);
    while (addInput(file, loader))
        continue; // at a terminal, an end of the input inside a line ends only the line
    loader.finishSection();
    return true;
}
