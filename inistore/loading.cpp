#include "inistore/inistore.h"

#include "inistore/line_p.h"

#include <QFile>

#include <algorithm>
#include <utility>

namespace {

// Until a read brings nothing, whatever size the file claims to have: those in /proc claim none.
QByteArray readToEnd(QFile& file)
{
    QByteArray bytes;
    for (QByteArray more = file.readAll(); !more.isEmpty(); more = file.readAll())
        bytes += more;
    return bytes;
}

// Takes the first line off `rest`, line end included; the last one may have none.
std::string_view takeLine(std::string_view& rest)
{
    const std::string_view line = rest.substr(0, std::min(rest.find('\n'), rest.size() - 1) + 1);
    rest.remove_prefix(line.size());
    return line;
}

// The constructors copy; fields that are moved in need no counting of references.
void addSection(INIStore& store, QString&& name, QByteArray&& raw)
{
    INISection section{QString(), QByteArray()};
    section.m_name = std::move(name);
    section.m_raw = std::move(raw);
    store.m_sections.append(std::move(section));
    store.m_currentSection = static_cast<qint32>(store.m_sections.size() - 1);
}

void addLine(INIStore& store, QString&& key, QString&& value, QByteArray&& raw)
{
    INILine line{QString(), QString(), QByteArray()};
    line.m_key = std::move(key);
    line.m_value = std::move(value);
    line.m_raw = std::move(raw);
    store.m_sections[store.m_currentSection].m_lines.append(std::move(line));
}

void load(INIStore& store, std::string_view rest)
{
    while (!rest.empty()) {
        const std::string_view line = takeLine(rest);
        inistore::ParsedLine parsed = inistore::parseLine(line);
        QByteArray raw(line.data(), static_cast<qsizetype>(line.size()));
        if (parsed.name.isNull())
            addLine(store, std::move(parsed.key), std::move(parsed.value), std::move(raw));
        else
            addSection(store, std::move(parsed.name), std::move(raw));
    }
}

} // namespace

bool INIStore::Open(QString const& path)
{
    m_lastError.clear();
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        if (file.exists())
            m_lastError = QStringLiteral("Unable to open %1, with read permission").arg(path);
        return false;
    }

    const QByteArray bytes = readToEnd(file);
    load(*this, {bytes.constData(), static_cast<std::size_t>(bytes.size())});
    return true;
}
