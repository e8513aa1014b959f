#include "inistore/inistore.h"

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
