#include "inistore/inistore.h"

#include "inistore/lookup_p.h"

#include <algorithm>

namespace {

constexpr bool isAsciiUnit(char16_t c)
{
    return c < 0x80;
}

constexpr char16_t asciiLower(char16_t c)
{
    return c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c + (u'a' - u'A')) : c;
}

} // namespace

// ASCII is compared without Qt's tables. Other characters need them: the Kelvin sign folds to "k". The comparison
// starts at the end, where similar names differ: key1, key2, key3.
bool inistore::sameLengthEqualsIgnoreCase(QStringView a, QStringView b)
{
    for (qsizetype i = a.size() - 1; i >= 0; --i) {
        const char16_t x = a.utf16()[i];
        const char16_t y = b.utf16()[i];
        if (!isAsciiUnit(x) || !isAsciiUnit(y))
            return a.compare(b, Qt::CaseInsensitive) == 0;
        if (asciiLower(x) != asciiLower(y))
            return false;
    }
    return true;
}

QString INIStore::s_newline = QStringLiteral("\n");

INILine::INILine(QString const& key, QString const& value, QByteArray const& raw)
    : m_key(key)
    , m_value(value)
    , m_raw(raw)
{
}

INISection::INISection(QString const& name, QByteArray const& raw)
    : m_name(name)
    , m_raw(raw)
{
}

INIStore::INIStore(QObject* parent)
    : QObject(parent)
    , m_sections{INISection(QString(), QByteArray())}
    , m_currentSection(0)
{
}

INIStore::~INIStore() = default;

int INIStore::GetSection(QString const& section)
{
    const QList<INISection>& sections = m_sections;
    const auto found = std::find_if(sections.begin(), sections.end(),
        [&section](const INISection& candidate) { return inistore::equalsIgnoreCase(candidate.m_name, section); });
    return found == sections.end() ? -1 : static_cast<int>(found - sections.begin());
}

QStringList INIStore::GetValues(QString const& section, QString const& key)
{
    const int index = GetSection(section);
    if (index < 0)
        return {};

    QStringList values;
    for (const INILine& line : m_sections.at(index).m_lines) {
        if (inistore::equalsIgnoreCase(line.m_key, key))
            values.append(line.m_value);
    }
    return values;
}
