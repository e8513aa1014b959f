#include "inistore/line_p.h"
#include "inistore/lookup_p.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace {

using inistore::equalsIgnoreCase;
using inistore::hasKey;

// One arg() call for each argument: the next call replaces a marker inside an argument, and clients rely on that.
INILine composedLine(const QString& key, const QString& value)
{
    const QString text = QStringLiteral("%1 = %2%3").arg(key).arg(value).arg(INIStore::s_newline);
    return {key, value, text.toUtf8()};
}

INISection composedSection(const QString& name)
{
    return {name, QStringLiteral("[%1]%2").arg(name).arg(INIStore::s_newline).toUtf8()};
}

// The arguments may be texts of the document, so the section is complete before the list is changed.
void addSection(INIStore& store, const QString& name, const QString& key, const QString& value)
{
    INISection section = composedSection(name);
    section.m_lines.append(composedLine(key, value));
    store.m_sections.append(std::move(section));
}

// Returns the line's bytes with the old value replaced, or nothing if the old value is not found. The search starts at
// the start of the line and may match inside the key; clients rely on that.
std::optional<QByteArray> updatedRaw(const INILine& line, const QString& value)
{
    const std::string_view bytes = inistore::upToNul(inistore::viewOf(line.m_raw));
    QString text = QString::fromUtf8(bytes.data(), static_cast<qsizetype>(bytes.size()));
    const qsizetype position = text.contains(u'=') ? text.indexOf(line.m_value) : -1;
    if (position < 0)
        return std::nullopt;
    return text.replace(position, line.m_value.size(), value).toUtf8();
}

} // namespace

void INIStore::AppendKey(QString const& section, QString const& key, QString const& value)
{
    const int index = GetSection(section);
    if (index < 0)
        return addSection(*this, section, key, value);

    const QList<INILine>& lines = m_sections.at(index).m_lines;
    const auto first = std::find_if(lines.begin(), lines.end(), hasKey(key));
    const auto end = std::find_if_not(first, lines.end(), hasKey(key));
    const qsizetype position = end - lines.begin();
    m_sections[index].m_lines.insert(position, composedLine(key, value));
}

void INIStore::PrependKey(QString const& section, QString const& key, QString const& value)
{
    const int index = GetSection(section);
    if (index < 0)
        return addSection(*this, section, key, value);

    const QList<INILine>& lines = m_sections.at(index).m_lines;
    const auto first = std::find_if(lines.begin(), lines.end(), hasKey(key));
    const qsizetype position = first - lines.begin();
    m_sections[index].m_lines.insert(position, composedLine(key, value));
}

void INIStore::UpdateKey(QString const& section, QString const& key, QString const& value)
{
    const int index = GetSection(section);
    if (index < 0)
        return AppendKey(section, key, value);

    const QList<INILine>& lines = m_sections.at(index).m_lines;
    auto found = std::find_if(lines.begin(), lines.end(), hasKey(key));
    for (; found != lines.end(); found = std::find_if(found + 1, lines.end(), hasKey(key))) {
        std::optional<QByteArray> raw = updatedRaw(*found, value);
        if (!raw)
            continue;
        const qsizetype position = found - lines.begin();
        INILine& line = m_sections[index].m_lines[position];
        line.m_raw = std::move(*raw);
        line.m_value = value;
        return;
    }
    AppendKey(section, key, value);
}

bool INIStore::RemoveKeyValue(QString const& section, QString const& key, QString const& value)
{
    for (qsizetype i = 0; i < m_sections.size(); ++i) {
        if (!equalsIgnoreCase(m_sections.at(i).m_name, section))
            continue;
        const QList<INILine>& lines = m_sections.at(i).m_lines;
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
