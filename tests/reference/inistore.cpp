#include "reference/inistore.h"

#include <QFile>

namespace reference {

namespace {

bool equalsIgnoreCase(const QString& a, const QString& b)
{
    return QString::compare(a, b, Qt::CaseInsensitive) == 0;
}

QString textUpToNul(const QByteArray& raw)
{
    const qsizetype nul = raw.indexOf('\0');
    return QString::fromUtf8(nul < 0 ? raw : raw.left(nul));
}

// The character before the ";" belongs to the comment.
QString withoutComment(const QString& text)
{
    const qsizetype semicolon = text.indexOf(u';');
    if (semicolon < 0)
        return text;
    if (semicolon == 0)
        return QString();
    return text.left(semicolon - 1);
}

QString orEmpty(const QString& text)
{
    return text.isNull() ? QStringLiteral("") : text;
}

INILine parsedLine(const QString& text, const QByteArray& raw)
{
    const qsizetype equals = text.indexOf(u'=');
    if (equals < 0)
        return {QString(), QString(), raw};
    // A line with "=" has a key and a value, which may be empty but not null.
    return {orEmpty(text.left(equals).trimmed()), orEmpty(text.mid(equals + 1).trimmed()), raw};
}

bool writeUpToNul(QIODevice& file, const QByteArray& raw)
{
    return file.write(raw.constData()) == raw.size();
}

} // namespace

bool INIStore::Open(const QString& path)
{
    m_lastError = QString();
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        if (QFile::exists(path))
            m_lastError = QStringLiteral("Unable to open %1, with read permission").arg(path);
        return false;
    }
    Read(file);
    return true;
}

void INIStore::Read(QIODevice& file)
{
    while (true) {
        const QByteArray raw = file.readLine();
        if (raw.isEmpty())
            return;

        QString text = textUpToNul(raw);
        text = withoutComment(text);
        text = text.trimmed();

        const qsizetype bracket = text.indexOf(u']');
        if (text.startsWith(u'[') && bracket >= 2) {
            m_sections.append(INISection{text.mid(1, bracket - 1), raw, {}});
            m_currentSection = int(m_sections.size()) - 1;
        } else {
            m_sections[m_currentSection].m_lines.append(parsedLine(text, raw));
        }
    }
}

int INIStore::GetSection(const QString& section) const
{
    for (int i = 0; i < m_sections.size(); ++i) {
        if (equalsIgnoreCase(m_sections[i].m_name, section))
            return i;
    }
    return -1;
}

QStringList INIStore::GetValues(const QString& section, const QString& key) const
{
    const int index = GetSection(section);
    if (index < 0)
        return {};
    QStringList values;
    for (const INILine& line : m_sections[index].m_lines) {
        if (equalsIgnoreCase(line.m_key, key))
            values.append(line.m_value);
    }
    return values;
}

INILine INIStore::composedLine(const QString& key, const QString& value)
{
    QString text = QStringLiteral("%1 = %2%3");
    text = text.arg(key);
    text = text.arg(value);
    text = text.arg(s_newline);
    return {key, value, text.toUtf8()};
}

void INIStore::addSection(const QString& section, const QString& key, const QString& value)
{
    QString header = QStringLiteral("[%1]%2");
    header = header.arg(section);
    header = header.arg(s_newline);
    m_sections.append(INISection{section, header.toUtf8(), {composedLine(key, value)}});
}

void INIStore::AppendKey(const QString& section, const QString& key, const QString& value)
{
    const int index = GetSection(section);
    if (index < 0) {
        addSection(section, key, value);
        return;
    }

    QList<INILine>& lines = m_sections[index].m_lines;
    int position = 0;
    while (position < lines.size() && !equalsIgnoreCase(lines[position].m_key, key))
        ++position;
    while (position < lines.size() && equalsIgnoreCase(lines[position].m_key, key))
        ++position;
    lines.insert(position, composedLine(key, value));
}

void INIStore::PrependKey(const QString& section, const QString& key, const QString& value)
{
    const int index = GetSection(section);
    if (index < 0) {
        addSection(section, key, value);
        return;
    }

    QList<INILine>& lines = m_sections[index].m_lines;
    int position = 0;
    while (position < lines.size() && !equalsIgnoreCase(lines[position].m_key, key))
        ++position;
    lines.insert(position, composedLine(key, value));
}

void INIStore::UpdateKey(const QString& section, const QString& key, const QString& value)
{
    const int index = GetSection(section);
    if (index < 0) {
        AppendKey(section, key, value);
        return;
    }

    for (INILine& line : m_sections[index].m_lines) {
        if (!equalsIgnoreCase(line.m_key, key))
            continue;
        QString text = textUpToNul(line.m_raw);
        if (!text.contains(u'='))
            continue;
        const qsizetype found = text.indexOf(line.m_value, 0, Qt::CaseSensitive);
        if (found < 0)
            continue;
        text.remove(found, line.m_value.size());
        text.insert(found, value);
        line.m_raw = text.toUtf8();
        line.m_value = value;
        return;
    }
    AppendKey(section, key, value);
}

bool INIStore::RemoveKeyValue(const QString& section, const QString& key, const QString& value)
{
    for (INISection& candidate : m_sections) {
        if (!equalsIgnoreCase(candidate.m_name, section))
            continue;
        for (int i = 0; i < candidate.m_lines.size(); ++i) {
            if (equalsIgnoreCase(candidate.m_lines[i].m_key, key) &&
                equalsIgnoreCase(candidate.m_lines[i].m_value, value)) {
                candidate.m_lines.removeAt(i);
                return true;
            }
        }
    }
    return false;
}

bool INIStore::Write(const QString& path)
{
    m_lastError = QString();
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        m_lastError = QStringLiteral("Unable to open %1, with write permission").arg(path);
        return false;
    }
    return WriteSections(file, path);
}

bool INIStore::WriteSections(QIODevice& file, const QString& name)
{
    for (const INISection& section : m_sections) {
        bool written = section.m_raw.isEmpty() || writeUpToNul(file, section.m_raw);
        for (int i = 0; written && i < section.m_lines.size(); ++i)
            written = writeUpToNul(file, section.m_lines[i].m_raw);
        if (!written) {
            m_lastError = QStringLiteral("Error writing to %1, file only partially written").arg(name);
            return false;
        }
    }
    return true;
}

} // namespace reference
