#ifndef KQSUPPORT_INISTORE_LINE_P_H
#define KQSUPPORT_INISTORE_LINE_P_H

#include <QByteArray>
#include <QString>

#include <string_view>

namespace inistore {

/// What one line says. Only a header has a name, and only a line with a `=` a key and a value; the others are null.
struct ParsedLine
{
    QString name;
    QString key;
    QString value;
};

inline std::string_view viewOf(const QByteArray& bytes)
{
    return {bytes.constData(), static_cast<std::size_t>(bytes.size())};
}

/// The bytes of a line that count as text: a NUL ends them.
inline std::string_view upToNul(std::string_view raw)
{
    return raw.substr(0, raw.find('\0'));
}

bool isAscii(std::string_view bytes);

ParsedLine parseLine(std::string_view raw);

} // namespace inistore

#endif
