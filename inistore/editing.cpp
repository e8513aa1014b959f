#include "inistore/line_p.h"
#include "inistore/lookup_p.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace {

using inistore::hasKey;
using inistore::matches;

// Both texts are filled by one arg() after another: a marker inside an argument is filled by the next, and stays so.
INILine composedLine(const QString& key, const QString& value)
{
    const QString text = QStringLiteral("%1 = %2%3").arg(key).arg(value).arg(INIStore::s_newline);
    return {key, value, text.toUtf8()};
}

INISection composedSection(const QString& name)
{
    return {name, QStringLiteral("[%1]%2").arg(name).arg(INIStore::s_newline).toUtf8()};
}

// The arguments may lie in the document itself, so what is added is complete before the document moves.
void addSection(INIStore& store, const QString& name, const QString& key, const QString& value)
{
    INISection section = composedSection(name);
    section.m_lines.append(composedLine(key, value));
    store.m_sections.append(std::move(section));
}

QString decodedText(const QByteArray& raw)
{
    const std::string_view text = inistore::textOf({raw.constData(), static_cast<std::size_t>(raw.size())});
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

// The line's text with `value` in place of the old value, if it has such a place. The old value is looked for from the
// start of the line and may be found inside the key; callers count on the first occurrence.
std::optional<QString> updatedText(const INILine& line, const QString& value)
{
    QString text = decodedText(line.m_raw);
    const qsizetype position = text.contains(u'=') ? text.indexOf(line.m_value) : -1;
    if (position < 0)
        return std::nullopt;
    text.replace(position, line.m_value.size(), value);
    return text;
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
    for (qsizetype i = 0; i < lines.size(); ++i) {
        if (!matches(lines.at(i).m_key, key))
            continue;
        const std::optional<QString> text = updatedText(lines.at(i), value);
        if (!text)
            continue;
        INILine& line = m_sections[index].m_lines[i];
        line.m_raw = text->toUtf8();
        line.m_value = value;
        return;
    }
    AppendKey(section, key, value);
}

bool INIStore::RemoveKeyValue(QString const& section, QString const& key, QString const& value)
{
    for (qsizetype i = 0; i < m_sections.size(); ++i) {
        if (!matches(m_sections.at(i).m_name, section))
            continue;
        const QList<INILine>& lines = m_sections.at(i).m_lines;
        const auto found = std::find_if(lines.begin(), lines.end(),
            [&](const INILine& line) { return matches(line.m_key, key) && matches(line.m_value, value); });
        if (found == lines.end())
            continue;
        m_sections[i].m_lines.removeAt(found - lines.begin());
        return true;
    }
    return false;
}
