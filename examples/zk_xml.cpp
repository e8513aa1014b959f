// Shows an element of an XML file, or prints the document after an edit of that element.
#include "osrelease/osrelease.h"
#include "xml/kqxml.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFile>
#include <QHashSeed>
#include <QTextStream>

#include <algorithm>
#include <cstdio>

bool g_kq_verbose = false;

namespace {

enum Status
{
    Done = 0,
    Absent = 1, // no such element, attribute or text
    Trouble = 2 // everything else
};

struct Failure
{
    Status status;
    QString message;
};

struct Request
{
    QString file;
    QString tag;
    QString value; // of the option that selects the action
    QByteArray xml;
};

QDomDocument parse(const Request& r, bool withNamespaces = false)
{
    QDomDocument document;
    QString error;
    int line = 0;
    int column = 0;
    if (!document.setContent(r.xml, withNamespaces, &error, &line, &column))
        throw Failure{
            Trouble, QStringLiteral("%1:%2:%3: %4").arg(r.file, QString::number(line), QString::number(column), error)};
    return document;
}

Failure noElement(const Request& r)
{
    return {Absent, QStringLiteral("%1: no element %2").arg(r.file, r.tag)};
}

QDomElement find(const Request& r, const QDomDocument& document)
{
    const QDomElement element = KQXml::GetChildElement(document.documentElement(), r.tag);
    return element.isNull() ? throw noElement(r) : element;
}

// ExtractElement assumes one byte per character and tags that contain only the name. So this passes only the bytes
// before the first one that is not ASCII, and checks the tags of the extracted element.
QByteArray extract(const Request& r, bool contentOnly)
{
    const auto isAscii = [](unsigned char c) { return c > 0 && c < 0x80; };
    const QByteArray ascii = r.xml.left(std::find_if_not(r.xml.begin(), r.xml.end(), isAscii) - r.xml.begin());
    const QByteArray element = KQXml::ExtractElement(ascii, r.tag, false);
    const QByteArray tag = r.tag.toUtf8() + '>';
    if (contentOnly ? element.endsWith("</" + tag) : element.startsWith('<' + tag))
        return contentOnly ? KQXml::ExtractElement(ascii, r.tag, true) : element;
    if (!KQXml::ExtractElement(r.xml, r.tag, contentOnly).isNull())
        throw Failure{Trouble, QStringLiteral("%1: cannot extract element %2: its %3 tag has more than the name, or a "
                                              "character before its end is not ASCII")
                                   .arg(r.file, r.tag, QLatin1String(contentOnly ? "end" : "start"))};
    parse(r, true); // throws if the file is not well-formed
    throw noElement(r);
}

QByteArray texts(const Request& r)
{
    const QStringList texts = KQXml::GetChildElementsTextList(parse(r).documentElement(), r.tag);
    return texts.isEmpty() ? throw noElement(r) : texts.join(QLatin1Char('\n')).toUtf8();
}

QByteArray attribute(const Request& r)
{
    const QDomDocument document = parse(r);
    const QString value = KQXml::GetChildElementAttribute(document.documentElement(), r.tag, r.value);
    if (value.isNull() && !find(r, document).isNull())
        throw Failure{Absent, QStringLiteral("%1: element %2 has no attribute %3").arg(r.file, r.tag, r.value)};
    return value.toUtf8();
}

QByteArray written(const QDomDocument& document)
{
    QByteArray xml;
    QTextStream stream(&xml, QIODevice::WriteOnly); // in UTF-8
    document.save(stream, 2, QDomNode::EncodingFromTextStream);
    stream.flush();
    return xml.trimmed();
}

// Returns the text of the document without white space, because the parser drops text that is only white space.
QString text(const QDomDocument& document)
{
    return document.documentElement().text().simplified().remove(QLatin1Char(' '));
}

// Qt accepts names and texts that XML forbids, or drops parts of them. So this checks that the edit is in the document
// and that the document reads back unchanged.
QByteArray edited(const Request& r, const QDomDocument& document, const QString& tag, bool isStored)
{
    const QByteArray xml = written(document);
    QDomDocument readBack;
    const bool isDecoded = !r.value.contains(QChar::ReplacementCharacter); // else the argument was not UTF-8
    const bool isSame = readBack.setContent(xml) && text(readBack) == text(document) &&
                        readBack.elementsByTagName(tag).size() == document.elementsByTagName(tag).size();
    if (!isStored || !isDecoded || !isSame)
        throw Failure{Trouble, QStringLiteral("%1: the document cannot be written with '%2'").arg(r.file, r.value)};
    return xml;
}

QByteArray setText(const Request& r)
{
    QDomDocument document = parse(r);
    QDomElement element = find(r, document);
    KQXml::UpdateElementText(&document, &element, r.value);

    QDomNode child = element.firstChild();
    while (!child.isNull() && !child.isText())
        child = child.nextSibling();
    if (child.isNull() && element.hasChildNodes())
        throw Failure{Absent, QStringLiteral("%1: element %2 has no text to replace").arg(r.file, r.tag)};
    return edited(r, document, r.tag, child.nodeValue() == r.value);
}

QByteArray insert(
    const Request& r, decltype(KQXml::InsertAfterElement) insertion, QDomNode (QDomNode::*neighbour)() const)
{
    const QString name = r.value.section(QLatin1Char('='), 0, 0);
    const QString text = r.value.mid(name.size() + 1);
    if (name.isEmpty() || name == r.value)
        throw Failure{Trouble, QStringLiteral("give the new element as name=text; see zk_xml --help")};

    QDomDocument document = parse(r);
    const QDomElement element = find(r, document);
    QDomElement parent = element.parentNode().toElement();
    insertion(&document, parent, element, name, text);
    const QDomElement inserted = (element.*neighbour)().toElement();
    return edited(r, document, name, inserted.tagName() == name && inserted.text() == text);
}

struct Action
{
    const char* name;
    const char* value; // empty for an option without one
    const char* description;
    QByteArray (*run)(const Request& r);
};

constexpr Action actions[] = {
    {"element", "", "Show the bytes of the element (the default).", [](auto& r) { return extract(r, false); }},
    {"content", "", "Show the bytes between its tags.", [](auto& r) { return extract(r, true); }},
    {"text", "", "Show the text of the first element.", [](auto& r) { return find(r, parse(r)).text().toUtf8(); }},
    {"texts", "", "Show the text of every element, one per line.", texts},
    {"attribute", "name", "Show this attribute of the first element.", attribute},
    {"set-text", "text", "Set the text of the first element.", setText},
    {"insert-before", "name=text", "Insert a new element before the first element.",
        [](auto& r) { return insert(r, KQXml::InsertBeforeElement, &QDomNode::previousSibling); }},
    {"insert-after", "name=text", "Insert a new element after the first element.",
        [](auto& r) { return insert(r, KQXml::InsertAfterElement, &QDomNode::nextSibling); }},
};

constexpr char description[] =
    "Shows the first element TAG of an XML file, or prints the document after an edit of that element.\n\n"
    "--element and --content print the bytes of the first such element that ends, and compare the name without its\n"
    "prefix. They fail if a character before the end of the element is not ASCII. --element also fails if the element\n"
    "has attributes. The other options search below the root and compare the name as written. An edited document is\n"
    "printed in UTF-8.\n\n"
    "Exit status: 0 done, 1 no such element, attribute or text, 2 everything else.";

QByteArray contents(const QString& name)
{
    QFile file(name);
    const bool isOpen = name == QLatin1String("-") ? file.open(stdin, QFile::ReadOnly) : file.open(QFile::ReadOnly);
    const QByteArray bytes = isOpen ? file.readAll() : QByteArray();
    if (file.error() != QFile::NoError)
        throw Failure{Trouble, QStringLiteral("%1: cannot read: %2").arg(name, file.errorString())};
    return bytes;
}

void print(const QByteArray& line)
{
    QFile out;
    if (!out.open(stdout, QFile::WriteOnly) || out.write(line) != line.size() || !out.flush())
        throw Failure{Trouble, QStringLiteral("standard output: cannot write: %1").arg(out.errorString())};
}

void run(QCommandLineParser& parser)
{
    parser.setApplicationDescription(QLatin1String(description));
    parser.addPositionalArgument(QStringLiteral("FILE"), QStringLiteral("The XML file, or - for standard input."));
    parser.addPositionalArgument(QStringLiteral("TAG"), QStringLiteral("The name of the element."));
    parser.addOption({{QStringLiteral("h"), QStringLiteral("help")}, QStringLiteral("Show this help.")});
    for (const Action& a : actions)
        parser.addOption({QLatin1String(a.name), QLatin1String(a.description), QLatin1String(a.value)});

    if (!parser.parse(QCoreApplication::arguments()))
        throw Failure{Trouble, parser.errorText() + QStringLiteral(" See zk_xml --help.")};
    if (parser.isSet(QStringLiteral("help")))
        parser.showHelp();
    const QStringList arguments = parser.positionalArguments();
    if (arguments.size() != 2 || arguments.contains(QString()) || parser.optionNames().size() > 1)
        throw Failure{Trouble, QStringLiteral("give a FILE, a TAG and at most one option; see zk_xml --help")};

    const QString name = parser.optionNames().value(0, QStringLiteral("element"));
    const auto isNamed = [&](const Action& a) { return name == QLatin1String(a.name); };
    const Action& action = *std::find_if(std::begin(actions), std::end(actions), isNamed);
    const QString value = *action.value ? parser.value(name) : QString();
    print(action.run({arguments.at(0), arguments.at(1), value, contents(arguments.at(0))}) + '\n');
}

} // namespace

int main(int argc, char** argv)
{
    QHashSeed::setDeterministicGlobalSeed(); // attributes are written in hash order
    const QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    try {
        run(parser);
        return Done;
    } catch (const Failure& failure) {
        std::fprintf(stderr, "zk_xml: %s\n", failure.message.toLocal8Bit().constData());
        return failure.status;
    }
}
