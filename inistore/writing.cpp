#include "inistore/inistore.h"

#include <QFile>

namespace {

// A NUL ends what is written, and the count then tells that the rest is missing.
bool writeRaw(QFile& file, const QByteArray& raw)
{
    const std::size_t length = qstrnlen(raw.constData(), static_cast<std::size_t>(raw.size()));
    return raw.isEmpty() || file.write(raw.constData(), static_cast<qint64>(length)) == raw.size();
}

bool writeSection(QFile& file, const INISection& section)
{
    if (!writeRaw(file, section.m_raw))
        return false;
    for (const INILine& line : section.m_lines) {
        if (!writeRaw(file, line.m_raw))
            return false;
    }
    return true;
}

} // namespace

bool INIStore::Write(QString const& path)
{
    m_lastError.clear();
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        m_lastError = QStringLiteral("Unable to open %1, with write permission").arg(path);
        return false;
    }
    return WriteSections(file, path);
}

bool INIStore::Write(int descriptor, QString const& name)
{
    m_lastError.clear();
    QFile file;
    if (!file.open(descriptor, QIODevice::WriteOnly, QFileDevice::DontCloseHandle)) {
        m_lastError = QStringLiteral("Unable to open %1, with write permission").arg(name);
        return false;
    }
    return WriteSections(file, name);
}

bool INIStore::WriteSections(QFile& file, QString const& name)
{
    const QList<INISection>& sections = m_sections;
    for (const INISection& section : sections) {
        if (!writeSection(file, section)) {
            m_lastError = QStringLiteral("Error writing to %1, file only partially written").arg(name);
            return false;
        }
    }
    return true;
}
