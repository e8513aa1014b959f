#include "inistore/inistore.h"

#include "inistore/lookup_p.h"

#include <algorithm>
#include <utility>

namespace {

using inistore::equalsIgnoreCase;

using Lines = QList<INILine>;

// One arg() call for each argument: the next call replaces a marker inside an argument, and clients rely on that.
INILine composedLine(const QString& key, const QString& value)
{
    const QString text = QStringLiteral("%1 = %2%3").arg(key).arg(value).arg(INIStore::s_newline);
    return {key, value, text.toUtf8()};
}

// The arguments may be texts of the document, so the section is complete before the list is changed.
void addSection(INIStore& store, const QString& name, const QString& key, const QString& value)
{
    INISection section(name, QStringLiteral("[%1]%2").arg(name).arg(INIStore::s_newline).toUtf8());
    section.m_lines.append(composedLine(key, value));
    store.m_sections.append(std::move(section));
}

// Returns null if there is no such section.
Lines* linesOf(INIStore& store, const QString& section)
{
    const int index = store.GetSection(section);
    return index < 0 ? nullptr : &store.m_sections[index].m_lines;
}

auto hasKey(QStringView key)
{
    return [key](const INILine& line) { return equalsIgnoreCase(line.m_key, key); };
}

// Returns the number of lines if none has the key.
qsizetype firstWith(QStringView key, const Lines& lines, qsizetype from = 0)
{
    return std::find_if(lines.begin() + from, lines.end(), hasKey(key)) - lines.begin();
}

// Adds a line after the run of lines with the key that begins at `first`.
void addAfterRun(Lines& lines, qsizetype first, const QString& key, const QString& value)
{
    const auto end = std::find_if_not(lines.cbegin() + first, lines.cend(), hasKey(key));
    lines.insert(end - lines.cbegin(), composedLine(key, value));
}

// Replaces the value in the line's bytes. Returns false if it is not found. The search starts at the start of the line
// and may match inside the key; clients rely on that.
bool updateLine(INILine& line, const QString& value)
{
    const std::size_t size = qstrnlen(line.m_raw.constData(), static_cast<std::size_t>(line.m_raw.size()));
    QString text = QString::fromUtf8(line.m_raw.constData(), static_cast<qsizetype>(size));
    const qsizetype position = text.contains(u'=') ? text.indexOf(line.m_value) : -1;
    if (position < 0)
        return false;
    line.m_raw = text.replace(position, line.m_value.size(), value).toUtf8();
    line.m_value = value;
    return true;
}

} // namespace

void INIStore::AppendKey(QString const& section, QString const& key, QString const& value)
{
    Lines* const lines = linesOf(*this, section);
    if (!lines)
        return addSection(*this, section, key, value);
    addAfterRun(*lines, firstWith(key, *lines), key, value);
}

void INIStore::PrependKey(QString const& section, QString const& key, QString const& value)
{
    Lines* const lines = linesOf(*this, section);
    if (!lines)
        return addSection(*this, section, key, value);
    lines->insert(firstWith(key, *lines), composedLine(key, value));
}

void INIStore::UpdateKey(QString const& section, QString const& key, QString const& value)
{
    Lines* const lines = linesOf(*this, section);
    if (!lines)
        return addSection(*this, section, key, value);
    const qsizetype first = firstWith(key, *lines);
    for (qsizetype i = first; i < lines->size(); i = firstWith(key, *lines, i + 1)) {
        if (updateLine((*lines)[i], value))
            return;
    }
    addAfterRun(*lines, first, key, value);
}

bool INIStore::RemoveKeyValue(QString const& section, QString const& key, QString const& value)
{
    for (qsizetype i = 0; i < m_sections.size(); ++i) {
        if (!equalsIgnoreCase(m_sections.at(i).m_name, section))
            continue;
        const Lines& lines = m_sections.at(i).m_lines;
        const auto found = std::find_if(lines.begin(), lines.end(), [&](const INILine& line) {
            return equalsIgnoreCase(line.m_key, key) && equalsIgnoreCase(line.m_value, value);
        });
        if (found == lines.end())
            continue;
        m_sections[i].m_lines.removeAt(found - lines.begin());
        return true;
    }
    return false;
}
