#include "xml/kqxml.h"

#include <QXmlStreamReader>

namespace {

bool isAt(const QXmlStreamReader& reader, QXmlStreamReader::TokenType token, const QString& tagName)
{
    return reader.tokenType() == token && reader.name() == tagName;
}

// The byte length of a tag written without attributes, blanks or prefix, which the cut takes for granted.
qint32 tagLength(const QString& tag, const QString& tagName)
{
    return static_cast<qint32>(tag.arg(tagName).toUtf8().size());
}

// Characters are taken for bytes and mid() gets whatever comes out, also below zero; callers rely on the very cut.
QByteArray cut(const QByteArray& xml, const QString& tagName, bool contentOnly, qint64 start, qint64 end)
{
    if (contentOnly)
        return xml.mid(start, end - start - tagLength(QStringLiteral("</%1>"), tagName)).trimmed();

    const qint32 startTag = tagLength(QStringLiteral("<%1>"), tagName);
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
