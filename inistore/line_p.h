#ifndef KQSUPPORT_INISTORE_LINE_P_H
#define KQSUPPORT_INISTORE_LINE_P_H

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
