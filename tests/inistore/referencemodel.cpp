#include "inistore/referencemodel.h"

#include <QFile>

namespace reference {

namespace {

bool matches(const QString& a, const QString& b)
{
    return QString::compare(a, b, Qt::CaseInsensitive) == 0;
}

QString decodedUpToNul(const QByteArray& raw)
{
    const qsizetype nul = raw.indexOf('\0');
    return QString::fromUtf8(nul < 0 ? raw : raw.left(nul));
}

// The character before the ";" goes with the comment.
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

Line parsedLine(const QString& text, const QByteArray& raw)
{
    const qsizetype equals = text.indexOf(u'=');
    if (equals < 0)
        return {QString(), QString(), raw};
    // Where there is a "=" both texts are there, if empty: never null.
    return {orEmpty(text.left(equals).trimmed()), orEmpty(text.mid(equals + 1).trimmed()), raw};
}

bool writeUpToNul(QIODevice& file, const QByteArray& raw)
{
    return file.write(raw.constData()) == raw.size();
}

} // namespace

Model::Model()
    : sections{Section{QString(), QByteArray(), {}}}
    , newline(QStringLiteral("\n"))
{
}

bool Model::open(const QString& path)
{
    lastError = QString();
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        if (QFile::exists(path))
            lastError = QStringLiteral("Unable to open %1, with read permission").arg(path);
        return false;
    }
    read(file);
    return true;
}

void Model::read(QIODevice& file)
{
    while (true) {
        const QByteArray raw = file.readLine();
        if (raw.isEmpty())
            return;

        QString text = decodedUpToNul(raw);
        text = withoutComment(text);
        text = text.trimmed();

        const qsizetype bracket = text.indexOf(u']');
        if (text.startsWith(u'[') && bracket >= 2) {
            sections.append(Section{text.mid(1, bracket - 1), raw, {}});
            currentSection = int(sections.size()) - 1;
        } else {
            sections[currentSection].lines.append(parsedLine(text, raw));
        }
    }
}

int Model::getSection(const QString& section) const
{
    for (int i = 0; i < sections.size(); ++i) {
        if (matches(sections[i].name, section))
            return i;
    }
    return -1;
}

QStringList Model::getValues(const QString& section, const QString& key) const
{
    const int index = getSection(section);
    if (index < 0)
        return {};
    QStringList values;
    for (const Line& line : sections[index].lines) {
        if (matches(line.key, key))
            values.append(line.value);
    }
    return values;
}

Line Model::composedLine(const QString& key, const QString& value) const
{
    QString text = QStringLiteral("%1 = %2%3");
    text = text.arg(key);
    text = text.arg(value);
    text = text.arg(newline);
    return {key, value, text.toUtf8()};
}

void Model::addSection(const QString& section, const QString& key, const QString& value)
{
    QString header = QStringLiteral("[%1]%2");
    header = header.arg(section);
    header = header.arg(newline);
    sections.append(Section{section, header.toUtf8(), {composedLine(key, value)}});
}

void Model::appendKey(const QString& section, const QString& key, const QString& value)
{
    const int index = getSection(section);
    if (index < 0) {
        addSection(section, key, value);
        return;
    }

    QList<Line>& lines = sections[index].lines;
    int position = 0;
    while (position < lines.size() && !matches(lines[position].key, key))
        ++position;
    while (position < lines.size() && matches(lines[position].key, key))
        ++position;
    lines.insert(position, composedLine(key, value));
}

void Model::prependKey(const QString& section, const QString& key, const QString& value)
{
    const int index = getSection(section);
    if (index < 0) {
        addSection(section, key, value);
        return;
    }

    QList<Line>& lines = sections[index].lines;
    int position = 0;
    while (position < lines.size() && !matches(lines[position].key, key))
        ++position;
    lines.insert(position, composedLine(key, value));
}

void Model::updateKey(const QString& section, const QString& key, const QString& value)
{
    const int index = getSection(section);
    if (index < 0) {
        appendKey(section, key, value);
        return;
    }

    for (Line& line : sections[index].lines) {
        if (!matches(line.key, key))
            continue;
        QString text = decodedUpToNul(line.raw);
        if (!text.contains(u'='))
            continue;
        const qsizetype found = text.indexOf(line.value, 0, Qt::CaseSensitive);
        if (found < 0)
            continue;
        text.remove(found, line.value.size());
        text.insert(found, value);
        line.raw = text.toUtf8();
        line.value = value;
        return;
    }
    appendKey(section, key, value);
}

bool Model::removeKeyValue(const QString& section, const QString& key, const QString& value)
{
    for (Section& candidate : sections) {
        if (!matches(candidate.name, section))
            continue;
        for (int i = 0; i < candidate.lines.size(); ++i) {
            if (matches(candidate.lines[i].key, key) && matches(candidate.lines[i].value, value)) {
                candidate.lines.removeAt(i);
                return true;
            }
        }
    }
    return false;
}

bool Model::write(const QString& path)
{
    lastError = QString();
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        lastError = QStringLiteral("Unable to open %1, with write permission").arg(path);
        return false;
    }
    return writeSections(file, path);
}

bool Model::writeSections(QIODevice& file, const QString& name)
{
    for (const Section& section : sections) {
        bool written = section.raw.isEmpty() || writeUpToNul(file, section.raw);
        for (int i = 0; written && i < section.lines.size(); ++i)
            written = writeUpToNul(file, section.lines[i].raw);
        if (!written) {
            lastError = QStringLiteral("Error writing to %1, file only partially written").arg(name);
            return false;
        }
    }
    return true;
}

} // namespace reference
