#include "reference/extraction.h"

#include <QXmlStreamReader>

#include <cstdint>

namespace reference {

QByteArray extractElement(const QByteArray& xml, const QString& tagName, bool contentOnly)
{
    QXmlStreamReader reader(xml);
    const std::int32_t startTagLength = std::int32_t(QString(QLatin1String("<%1>")).arg(tagName).toUtf8().length());
    const std::int32_t endTagLength = std::int32_t(QString(QLatin1String("</%1>")).arg(tagName).toUtf8().length());
    std::int64_t startOffset = 0;
    std::int64_t endOffset = 0;

    while (true) {
        if (reader.atEnd())
            return QByteArray();
        if (reader.tokenType() == QXmlStreamReader::StartElement) {
            if (reader.name().toString() == tagName)
                startOffset = reader.characterOffset();
        }
        if (reader.tokenType() == QXmlStreamReader::EndElement) {
            if (reader.name().toString() == tagName) {
                endOffset = reader.characterOffset();
                break;
            }
        }
        reader.readNext();
    }

    const std::int64_t span = endOffset - startOffset;
    QByteArray result;
    if (contentOnly)
        result = xml.mid(startOffset, span - endTagLength);
    else
        result = xml.mid(startOffset - startTagLength, span + startTagLength);
    return result.trimmed();
}

} // namespace reference
