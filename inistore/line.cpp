#include "inistore/line_p.h"

#include <algorithm>

namespace {

using inistore::ParsedLine;

// Null if the text is not a header. "[]" is not one, because it has no name.
QStringView headerName(QStringView text)
{
    if (!text.startsWith(u'['))
        return {};
    const qsizetype bracket = text.indexOf(u']');
    return bracket < 2 ? QStringView() : text.sliced(1, bracket - 1);
}

ParsedLine parseKeyValue(QStringView text)
{
    const auto equals = std::find(text.begin(), text.end(), u'=');
    if (equals == text.end())
        return {};
    const qsizetype position = equals - text.begin();
    return {{}, text.first(position).trimmed(), text.sliced(position + 1).trimmed()};
}

} // namespace

ParsedLine inistore::LineParser::parse(std::string_view raw)
{
    const std::string_view line = raw.substr(0, raw.find('\0'));
    const std::size_t semicolon = line.find(';');
    QStringView text = decode(line.substr(0, semicolon));
    // The character before the semicolon belongs to the comment: one UTF-16 unit, so an emoji is cut in half.
    if (semicolon != line.npos && !text.isEmpty())
        text.chop(1);
    const auto isSpace = [](QChar c) { return c.isSpace(); };
    const QStringView name = headerName({std::find_if_not(text.begin(), text.end(), isSpace), text.end()});
    return name.isNull() ? parseKeyValue(text) : ParsedLine{name, {}, {}};
}

// Decodes UTF-8, without an allocation for ASCII, because nearly all lines are ASCII.
QStringView inistore::LineParser::decode(std::string_view bytes)
{
    const auto size = static_cast<qsizetype>(bytes.size());
    m_ascii.resize(size);
    char16_t* end = m_ascii.data();
    char16_t seen = 0;
    for (const char byte : bytes) {
        *end = static_cast<unsigned char>(byte);
        seen |= *end++;
    }
    if (seen < 0x80)
        return m_ascii;
    return m_decoded = QString::fromUtf8(bytes.data(), size);
}
