#ifndef KQSUPPORT_TESTS_INISTORE_REFERENCEMODEL_H
#define KQSUPPORT_TESTS_INISTORE_REFERENCEMODEL_H

#include <QByteArray>
#include <QIODevice>
#include <QList>
#include <QString>
#include <QStringList>

/// The rules of the settings store written down as plainly as can be, each step in the order in which the rule has it
/// and nothing done for speed. Random tests and fuzz targets hold the store against it.
namespace reference {

struct Line
{
    QString key;
    QString value;
    QByteArray raw;
};

struct Section
{
    QString name;
    QByteArray raw;
    QList<Line> lines;
};

class Model
{
public:
    Model();

    bool open(const QString& path);
    /// What `open` does once the file is open; a fuzz target passes a QBuffer.
    void read(QIODevice& file);

    int getSection(const QString& section) const;
    QStringList getValues(const QString& section, const QString& key) const;

    void appendKey(const QString& section, const QString& key, const QString& value);
    void prependKey(const QString& section, const QString& key, const QString& value);
    void updateKey(const QString& section, const QString& key, const QString& value);
    bool removeKeyValue(const QString& section, const QString& key, const QString& value);

    bool write(const QString& path);
    bool writeSections(QIODevice& file, const QString& name);

    QList<Section> sections;
    int currentSection = 0;
    QString lastError;

    /// The terminator of composed lines; belongs to the model here, so that models do not disturb one another.
    QString newline;

private:
    Line composedLine(const QString& key, const QString& value) const;
    void addSection(const QString& section, const QString& key, const QString& value);
};

} // namespace reference

#endif
