#include "inistore/line_p.h"

namespace {

using inistore::ParsedLine;

// Settings are nearly always ASCII, and then bytes and UTF-16 units count alike. So the rules of the dialect are
// written once for both, and only other lines are decoded before they apply.
template <typename Char>
using Text = std::basic_string_view<Char>;

QString owned(std::string_view ascii)
{
    return QString::fromLatin1(ascii.data(), static_cast<qsizetype>(ascii.size()));
}

QString owned(std::u16string_view text)
{
    return QStringView(text.data(), static_cast<qsizetype>(text.size())).toString();
}

template <typename Char>
Text<Char> trimmed(Text<Char> text)
{
    while (!text.empty() && QChar::isSpace(static_cast<char32_t>(text.back())))
        text.remove_suffix(1);
    while (!text.empty() && QChar::isSpace(static_cast<char32_t>(text.front())))
        text.remove_prefix(1);
    return text;
}

// Empty when the text is no header; a header names something, so "[]" is none.
template <typename Char>
Text<Char> headerName(Text<Char> text)
{
    if (text.empty() || text.front() != '[')
        return {};
    const std::size_t bracket = text.find(']');
    return bracket == text.npos ? Text<Char>() : text.substr(1, bracket - 1);
}

template <typename Char>
ParsedLine parseKeyValue(Text<Char> text)
{
    const std::size_t equals = text.find('=');
    if (equals == text.npos)
        return {};
    return {QString(), owned(trimmed(text.substr(0, equals))), owned(trimmed(text.substr(equals + 1)))};
}

template <typename Char>
ParsedLine parseText(Text<Char> text, bool hasComment)
{
    // The character before the semicolon goes with the comment. One UTF-16 unit, so an emoji there is cut in half.
    if (hasComment && !text.empty())
        text.remove_suffix(1);
    text = trimmed(text);
    const Text<Char> name = headerName(text);
    return name.empty() ? parseKeyValue(text) : ParsedLine{owned(name), QString(), QString()};
}

} // namespace

bool inistore::isAscii(std::string_view bytes)
{
    unsigned seen = 0;
    for (const char byte : bytes)
        seen |= static_cast<unsigned char>(byte);
    return seen < 0x80;
}

ParsedLine inistore::parseLine(std::string_view raw)
{
    const std::string_view line = upToNul(raw);
    const std::string_view text = line.substr(0, line.find(';'));
    const bool hasComment = text.size() < line.size();
    if (isAscii(text))
        return parseText(text, hasComment);

    const QString decoded = QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
    const QStringView units(decoded);
    return parseText(std::u16string_view(units.utf16(), static_cast<std::size_t>(units.size())), hasComment);
}
