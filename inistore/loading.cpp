#include "inistore/inistore.h"

#include "inistore/line_p.h"

#include <QFile>

#include <algorithm>
#include <utility>

namespace {

// Takes the first line off `rest`, line end included; the last one may have none.
std::string_view takeLine(std::string_view& rest)
{
    const std::string_view line = rest.substr(0, std::min(rest.find('\n'), rest.size() - 1) + 1);
    rest.remove_prefix(line.size());
    return line;
}

class Loader
{
public:
    explicit Loader(INIStore& store)
        : m_store(store)
    {
    }

    void takeLines(const QByteArray& bytes);
    void finishSection();

private:
    void beginSection(QString&& name, QByteArray&& raw);
    void addLine(QString&& key, QString&& value, QByteArray&& raw);

    INIStore& m_store;
    // Lines gather here until their section is complete, so that its list is allocated once and in its size.
    QList<INILine> m_lines;
};

void Loader::takeLines(const QByteArray& bytes)
{
    std::string_view rest = inistore::viewOf(bytes);
    while (!rest.empty()) {
        const std::string_view line = takeLine(rest);
        inistore::ParsedLine parsed = inistore::parseLine(line);
        QByteArray raw(line.data(), static_cast<qsizetype>(line.size()));
        if (parsed.name.isNull())
            addLine(std::move(parsed.key), std::move(parsed.value), std::move(raw));
        else
            beginSection(std::move(parsed.name), std::move(raw));
    }
}

void Loader::finishSection()
{
    if (m_lines.isEmpty()) // then the section need not be there: a client may have taken it out
        return;
    QList<INILine>& lines = m_store.m_sections[m_store.m_currentSection].m_lines;
    lines.reserve(lines.size() + m_lines.size());
    lines.append(std::move(m_lines));
    m_lines.clear();
}

// The constructors of the records copy; fields that are moved in need no counting of references.
void Loader::beginSection(QString&& name, QByteArray&& raw)
{
    finishSection();
    INISection section{QString(), QByteArray()};
    section.m_name = std::move(name);
    section.m_raw = std::move(raw);
    m_store.m_sections.append(std::move(section));
    m_store.m_currentSection = static_cast<qint32>(m_store.m_sections.size() - 1);
}

void Loader::addLine(QString&& key, QString&& value, QByteArray&& raw)
{
    INILine& line = m_lines.emplaceBack(QString(), QString(), QByteArray());
    line.m_key = std::move(key);
    line.m_value = std::move(value);
    line.m_raw = std::move(raw);
}

// In large pieces, until a read brings nothing, whatever size the file claims to have: those in /proc claim none.
void load(QFile& file, INIStore& store)
{
    constexpr qint64 pieceSize = 32 * 1024;
    Loader loader(store);
    QByteArray unfinished;
    for (QByteArray piece = file.read(pieceSize); !piece.isEmpty(); piece = file.read(pieceSize)) {
        const qsizetype end = piece.lastIndexOf('\n') + 1;
        if (end > 0) {
            loader.takeLines(unfinished + piece.left(end));
            unfinished.clear();
        }
        unfinished += piece.mid(end);
    }
    loader.takeLines(unfinished);
    loader.finishSection();
}

} // namespace

bool INIStore::Open(QString const& path)
{
    m_lastError.clear();
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        if (QFile::exists(path)) // unlike the file object, false for a link that leads nowhere
            m_lastError = QStringLiteral("Unable to open %1, with read permission").arg(path);
        return false;
    }

    load(file, *this);
    return true;
}
