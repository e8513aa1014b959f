#include "inistore/inistore.h"

#include <QFile>

#include <algorithm>

namespace {

// Writes the bytes before the first NUL. Fails if that is not the whole line.
bool writeLine(QFile& file, const QByteArray& raw)
{
    const std::size_t size = qstrnlen(raw.constData(), static_cast<std::size_t>(raw.size()));
    return raw.isEmpty() || file.write(raw.constData(), static_cast<qint64>(size)) == raw.size();
}

bool writeSection(QFile& file, const INISection& section)
{
    return writeLine(file, section.m_raw) && std::all_of(section.m_lines.begin(), section.m_lines.end(),
                                                 [&](const INILine& line) { return writeLine(file, line.m_raw); });
}

} // namespace

// The names are copied, because an argument may be m_lastError.
bool INIStore::Write(QString const& path)
{
    const QString name = path;
    m_lastError.clear();
    QFile file(name);
    if (file.open(QIODevice::WriteOnly))
        return WriteSections(file, name);
    m_lastError = QStringLiteral("Unable to open %1, with write permission").arg(name);
    return false;
}

bool INIStore::Write(int descriptor, QString const& name)
{
    const QString messageName = name;
    m_lastError.clear();
    QFile file;
    if (file.open(descriptor, QIODevice::WriteOnly, QFileDevice::DontCloseHandle))
        return WriteSections(file, messageName);
    m_lastError = QStringLiteral("Unable to open %1, with write permission").arg(messageName);
    return false;
}

bool INIStore::WriteSections(QFile& file, QString const& name)
{
    const QList<INISection>& sections = m_sections;
    if (std::all_of(
            sections.begin(), sections.end(), [&](const INISection& section) { return writeSection(file, section); }))
        return true;
    m_lastError = QStringLiteral("Error writing to %1, file only partially written").arg(name);
    return false;
}
