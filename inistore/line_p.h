#ifndef KQSUPPORT_INISTORE_LINE_P_H
#define KQSUPPORT_INISTORE_LINE_P_H

#include <QByteArray>
#include <QString>
#include <QVarLengthArray>

#include <string_view>

namespace inistore {

/// A parsed line. A header has a name, and a line with `=` has a key and a value. The other views are null.
struct ParsedLine
{
    QStringView name;
    QStringView key;
    QStringView value;
};

inline std::string_view viewOf(const QByteArray& bytes)
{
    return {bytes.constData(), static_cast<std::size_t>(bytes.size())};
}

/// The text of a line: its bytes before the first NUL.
inline std::string_view upToNul(std::string_view raw)
{
    return raw.substr(0, raw.find('\0'));
}

/// Parses one line at a time. The views of a line are valid until the next one is parsed.
class LineParser
{
public:
    ParsedLine parse(std::string_view raw);

private:
    QStringView decode(std::string_view bytes);

    QVarLengthArray<char16_t, 256> m_ascii;
    QString m_decoded;
};

} // namespace inistore

#endif
