// Prints a part of an XML file, or the whole document in UTF-8 after an edit.
#include "osrelease/osrelease.h"
#include "xml/kqxml.h"

#include <QFile>
#include <QMap>
#include <QRegularExpression>
#include <QTextStream>
#include <QXmlStreamReader>

#include <algorithm>
#include <cstdio>

bool g_kq_verbose = false; // every program that links the library defines it

namespace {

constexpr char usage[] = "give one of\n"
                         "    FILE texts TAG              prints the text of every element TAG, one per line\n"
                         "    FILE attribute TAG NAME     an attribute of the first one\n"
                         "    FILE set TAG TEXT           the document with this text in the first one\n"
                         "    FILE insert TAG NAME TEXT   the document with a new element after the first one\n"
                         "    FILE extract TAG            the bytes of the first one that ends";

using Error = QString; // a message for the user

// ExtractElement takes characters for bytes, and a start tag for its bare name. Its warning describes this check.
QByteArray extract(const QByteArray& xml, const QString& tag)
{
    const auto isAscii = [](unsigned char c) { return c > 0 && c < 0x80; };
    const QByteArray ascii = xml.left(std::find_if_not(xml.begin(), xml.end(), isAscii) - xml.begin());
    QXmlStreamReader reader(ascii);
    reader.readNext();
    const QRegularExpression keepsAscii(QStringLiteral("^(?i:|UTF-8|US-ASCII|ISO-8859-[0-9]+)$"));
    const QByteArray element = KQXml::ExtractElement(ascii, tag, false);
    if (!reader.documentEncoding().toString().contains(keepsAscii) || !element.startsWith('<' + tag.toUtf8() + '>'))
        throw Error(QStringLiteral("no <%1> without attributes in well-formed ASCII").arg(tag));
    return element;
}

// The helpers report no failure, so this checks that the edit was made and that the document can be read again.
QByteArray edited(const QDomDocument& document, const QDomElement& element, const QString& tag, const QString& text)
{
    QString xml;
    QTextStream stream(&xml);
    document.save(stream, 2, QDomNode::EncodingFromTextStream); // UTF-8, whatever it was before
    if (element.tagName() != tag || element.text() != text || !QDomDocument().setContent(xml))
        throw Error(QStringLiteral("cannot store an element %2 with the text '%1'").arg(text, tag));
    return xml.trimmed().toUtf8();
}

QByteArray result(const QByteArray& xml, const QByteArray& action, const QString& tag, const QStringList& values)
{
    if (action == "extract")
        return extract(xml, tag);

    QDomDocument document;
    QString error;
    int line = 0;
    if (!document.setContent(xml, false, &error, &line))
        throw Error(QStringLiteral("line %1: %2").arg(QString::number(line), error));
    QDomElement element = KQXml::GetChildElement(document.documentElement(), tag);
    if (element.isNull())
        throw Error(QStringLiteral("no element %1 below the root").arg(tag));

    if (action == "texts")
        return KQXml::GetChildElementsTextList(document.documentElement(), tag).join(u'\n').toUtf8();
    if (action == "attribute") {
        const QString value = KQXml::GetChildElementAttribute(document.documentElement(), tag, values[0]);
        return value.isNull() ? throw Error(QStringLiteral("no attribute %1").arg(values[0])) : value.toUtf8();
    }
    if (action == "set") {
        KQXml::UpdateElementText(&document, &element, values[0]);
        return edited(document, element, tag, values[0]);
    }
    QDomElement parent = element.parentNode().toElement();
    KQXml::InsertAfterElement(&document, parent, element, values[0], values[1]);
    return edited(document, element.nextSibling().toElement(), values[0], values[1]);
}

} // namespace

int main(int argc, char** argv)
try {
    const QMap<QByteArray, int> sizes = {{"texts", 4}, {"attribute", 5}, {"set", 5}, {"insert", 6}, {"extract", 4}};
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments.append(QString::fromUtf8(argv[i]));
    if (sizes.value(arguments.value(2).toUtf8()) != argc)
        throw Error(QLatin1String(usage));
    QFile file(arguments[1]);
    if (!file.open(QFile::ReadOnly))
        throw Error(QStringLiteral("%1: %2").arg(file.fileName(), file.errorString()));
    const QByteArray out = result(file.readAll(), arguments[2].toUtf8(), arguments[3], arguments.mid(4));
    if (std::puts(out.constData()) < 0 || std::fflush(stdout) != 0)
        throw Error(QStringLiteral("cannot write to standard output"));
} catch (const Error& message) {
    std::fprintf(stderr, "zk_xml: %s\n", qUtf8Printable(message));
    return 1;
}
