#include "support/qtprinting.h"

namespace {

void printQuoted(const QByteArray& utf8, std::ostream& out)
{
    static constexpr char digits[] = "0123456789abcdef";
    out << '"';
    for (const char c : utf8) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '\n')
            out << "\\n";
        else if (c == '\r')
            out << "\\r";
        else if (c == '\t')
            out << "\\t";
        else if (c == '"' || c == '\\')
            out << '\\' << c;
        else if (byte < 0x20 || byte == 0x7f)
            out << "\\x" << digits[byte >> 4] << digits[byte & 15];
        else
            out << c;
    }
    out << '"';
}

} // namespace

void PrintTo(const QString& text, std::ostream* out)
{
    if (text.isNull())
        *out << "null QString";
    else
        printQuoted(text.toUtf8(), *out);
}

void PrintTo(const QByteArray& bytes, std::ostream* out)
{
    if (bytes.isNull())
        *out << "null QByteArray";
    else
        printQuoted(bytes, *out);
}

void PrintTo(const QStringList& texts, std::ostream* out)
{
    *out << '(';
    for (qsizetype i = 0; i < texts.size(); ++i) {
        if (i > 0)
            *out << ", ";
        PrintTo(texts.at(i), out);
    }
    *out << ')';
}
