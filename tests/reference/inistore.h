#ifndef KQSUPPORT_TESTS_REFERENCE_INISTORE_H
#define KQSUPPORT_TESTS_REFERENCE_INISTORE_H

#include <QByteArray>
#include <QIODevice>
#include <QList>
#include <QString>
#include <QStringList>

/// The reference implementation of the settings store: the simplest code, without regard to speed. The names are those
/// of the library, so that one template works with both.
namespace reference {

struct INILine
{
    QString m_key;
    QString m_value;
    QByteArray m_raw;
};

struct INISection
{
    QString m_name;
    QByteArray m_raw;
    QList<INILine> m_lines;
};

class INIStore
{
public:
    bool Open(const QString& path);
    /// What `Open` does once the file is open.
    void Read(QIODevice& file);

    int GetSection(const QString& section) const;
    QStringList GetValues(const QString& section, const QString& key) const;

    void AppendKey(const QString& section, const QString& key, const QString& value);
    void PrependKey(const QString& section, const QString& key, const QString& value);
    void UpdateKey(const QString& section, const QString& key, const QString& value);
    bool RemoveKeyValue(const QString& section, const QString& key, const QString& value);

    bool Write(const QString& path);
    bool WriteSections(QIODevice& file, const QString& name);

    QList<INISection> m_sections = {INISection()}; // the leading one
    int m_currentSection = 0;
    QString m_lastError;
    inline static QString s_newline = QStringLiteral("\n");

private:
    static INILine composedLine(const QString& key, const QString& value);
    void addSection(const QString& section, const QString& key, const QString& value);
};

} // namespace reference

#endif
