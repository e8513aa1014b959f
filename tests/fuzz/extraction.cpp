// Reads any bytes as XML, after a line with the tag name. Both results must match those of the reference
// implementation.
#include "xml/kqxml.h"

#include "input.h"
#include "reference/extraction.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Input input(data, size);
    const std::string_view name = input.line();
    const QString tagName = QString::fromUtf8(name.data(), static_cast<qsizetype>(name.size()));
    const std::string_view rest = input.rest();
    const QByteArray xml(rest.data(), static_cast<qsizetype>(rest.size()));

    for (const bool contentOnly : {false, true}) {
        const QByteArray cut = KQXml::ExtractElement(xml, tagName, contentOnly);
        const QByteArray expected = reference::extractElement(xml, tagName, contentOnly);
        require(cut == expected && cut.isNull() == expected.isNull(), "the extracted bytes");
    }
    return 0;
}
