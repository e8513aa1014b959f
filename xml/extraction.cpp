#include "xml/kqxml.h"

#include <QXmlStreamReader>

namespace {

bool isAt(const QXmlStreamReader& reader, QXmlStreamReader::TokenType token, const QString& tagName)
{
    return reader.tokenType() == token && reader.name() == tagName;
}

// Characters are taken for bytes and mid() gets whatever comes out, also below zero; callers rely on the very cut. Both
// tags count as long as they are without attributes, blanks or prefix.
QByteArray cut(const QByteArray& xml, const QString& tagName, bool contentOnly, qint64 start, qint64 end)
{
    const auto nameLength = static_cast<qint32>(tagName.toUtf8().size());
    const qint32 startTag = nameLength + 2;
    const qint32 endTag = nameLength + 3;
    if (contentOnly)
        return xml.mid(start, end - start - endTag).trimmed();
    return xml.mid(start - startTag, end - start + startTag).trimmed();
}

} // namespace

QByteArray KQXml::ExtractElement(const QByteArray& xml, const QString& tagName, bool contentOnly)
{
    // Over the whole input: fed in pieces, the reader would accept an element before a wrongly encoded byte.
    QXmlStreamReader reader(xml);
    qint64 start = 0;
    for (; !reader.atEnd(); reader.readNext()) {
        if (isAt(reader, QXmlStreamReader::StartElement, tagName))
            start = reader.characterOffset();
        else if (isAt(reader, QXmlStreamReader::EndElement, tagName))
            return cut(xml, tagName, contentOnly, start, reader.characterOffset());
    }
    return {};
}
