// Shows an element of an XML file, or edits the document at it: what KQXml does, from the command line.
#include "osrelease/osrelease.h"
#include "xml/kqxml.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QHashSeed>
#include <QSaveFile>

#include <cstdio>
#include <optional>

bool g_kq_verbose = false;

namespace {

constexpr int success = 0;
constexpr int failure = 1;
constexpr int usageError = 2;

struct Option
{
    const char* name;
    const char* description;
    const char* value; // empty for an option without one
    bool edits;
};

// Exactly one of these says what to do; the first does when none is given.
constexpr Option actions[] = {
    {"element", "Show the bytes of the element (the default).", "", false},
    {"content", "Show the bytes between its tags.", "", false},
    {"text", "Show the text of the first one.", "", false},
    {"texts", "Show the text of each one, on a line of its own.", "", false},
    {"attribute", "Show this attribute of the first one.", "name", false},
    {"set-text", "Set the text of the first one.", "text", true},
    {"insert-before", "Insert a new element before the first one.", "name=text", true},
    {"insert-after", "Insert a new element after the first one.", "name=text", true},
};

struct Request
{
    QString file;
    QString tag;
    const Option* action = nullptr;
    QString value;
    QString output; // empty for standard output
};

void complain(const QString& message)
{
    std::fprintf(stderr, "zk_xml: %s\n", message.toLocal8Bit().constData());
}

int failed(const QString& message)
{
    complain(message);
    return failure;
}

std::optional<QByteArray> bytesOf(const QString& name)
{
    QFile file(name);
    const bool opened =
        name == QLatin1String("-") ? file.open(stdin, QIODevice::ReadOnly) : file.open(QIODevice::ReadOnly);
    const QByteArray bytes = opened ? file.readAll() : QByteArray();
    if (file.error() == QFileDevice::NoError)
        return bytes;
    complain(QStringLiteral("cannot read %1: %2").arg(name, file.errorString()));
    return {};
}

int show(const QByteArray& bytes)
{
    QFile out;
    const QByteArray line = bytes + '\n';
    if (out.open(stdout, QIODevice::WriteOnly) && out.write(line) == line.size() && out.flush())
        return success;
    return failed(QStringLiteral("cannot write standard output: %1").arg(out.errorString()));
}

int cannotWrite(const QFileDevice& file)
{
    return failed(QStringLiteral("cannot write %1: %2").arg(file.fileName(), file.errorString()));
}

// Replaces the file only once everything is written, so that a full disk loses nothing.
int replace(const QByteArray& bytes, const QString& name)
{
    QSaveFile file(name);
    const bool isWritten = file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.commit();
    return isWritten ? success : cannotWrite(file);
}

// A device or a pipe takes the bytes and stays what it is.
int writeInto(const QByteArray& bytes, const QString& name)
{
    QFile file(name);
    const bool isWritten = file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.flush();
    return isWritten ? success : cannotWrite(file);
}

int save(const QByteArray& bytes, const QString& name)
{
    if (name.isEmpty())
        return show(bytes.trimmed());
    const QFileInfo target(name);
    const bool isSpecial = target.exists() && !target.isFile();
    return isSpecial ? writeInto(bytes, name) : replace(bytes, name);
}

bool parse(const QByteArray& xml, const QString& name, QDomDocument& document, bool withNamespaces = false)
{
    QString error;
    int line = 0;
    int column = 0;
    if (document.setContent(xml, withNamespaces, &error, &line, &column))
        return true;
    complain(QStringLiteral("%1:%2:%3: %4").arg(name).arg(line).arg(column).arg(error));
    return false;
}

int noElement(const Request& request)
{
    return failed(QStringLiteral("%1 has no element %2").arg(request.file, request.tag));
}

int extract(const Request& request, const QByteArray& xml, bool contentOnly)
{
    const QByteArray found = KQXml::ExtractElement(xml, request.tag, contentOnly);
    if (!found.isNull())
        return show(found);
    QDomDocument document; // only to say what is wrong, an undeclared prefix too, since the extraction stops at one
    return parse(xml, request.file, document, true) ? noElement(request) : failure;
}

int showTexts(const Request& request, const QDomElement& root)
{
    const QStringList texts = KQXml::GetChildElementsTextList(root, request.tag);
    return texts.isEmpty() ? noElement(request) : show(texts.join(QLatin1Char('\n')).toUtf8());
}

int showText(const Request& request, const QDomElement& root)
{
    const QString text = KQXml::GetChildElementText(root, request.tag);
    return text.isNull() ? noElement(request) : show(text.toUtf8());
}

int showAttribute(const Request& request, const QDomElement& root)
{
    const QString value = KQXml::GetChildElementAttribute(root, request.tag, request.value);
    if (!value.isNull())
        return show(value.toUtf8());
    if (KQXml::GetChildElement(root, request.tag).isNull())
        return noElement(request);
    return failed(QStringLiteral("element %1 has no attribute %2").arg(request.tag, request.value));
}

// False when the element holds other elements but no text of its own: the library leaves such a one alone.
bool hasDirectText(const QDomElement& element)
{
    QDomNode child = element.firstChild();
    while (!child.isNull() && !child.isText())
        child = child.nextSibling();
    return child.isText();
}

bool applyEdit(const Request& request, QDomDocument& document, QDomElement element)
{
    const QLatin1String action(request.action->name);
    if (action == QLatin1String("set-text")) {
        KQXml::UpdateElementText(&document, &element, request.value);
        return hasDirectText(element);
    }
    const QString name = request.value.section(QLatin1Char('='), 0, 0);
    const QString text = request.value.section(QLatin1Char('='), 1);
    QDomElement parent = element.parentNode().toElement();
    if (action == QLatin1String("insert-before"))
        KQXml::InsertBeforeElement(&document, parent, element, name, text);
    else
        KQXml::InsertAfterElement(&document, parent, element, name, text);
    return true;
}

int edit(const Request& request, QDomDocument& document)
{
    const QDomElement element = KQXml::GetChildElement(document.documentElement(), request.tag);
    if (element.isNull())
        return noElement(request);
    if (!applyEdit(request, document, element))
        return failed(QStringLiteral("element %1 holds no text to replace").arg(request.tag));

    // A name or text from the command line may be nothing that XML allows.
    const QByteArray edited = document.toByteArray(2);
    QDomDocument check;
    return parse(edited, QStringLiteral("the edited document"), check) ? save(edited, request.output) : failure;
}

int perform(const Request& request)
{
    const std::optional<QByteArray> xml = bytesOf(request.file);
    if (!xml)
        return failure;
    const QLatin1String action(request.action->name);
    if (action == QLatin1String("element") || action == QLatin1String("content"))
        return extract(request, *xml, action == QLatin1String("content"));

    QDomDocument document;
    if (!parse(*xml, request.file, document))
        return failure;
    if (request.action->edits)
        return edit(request, document);
    const QDomElement root = document.documentElement();
    if (action == QLatin1String("text"))
        return showText(request, root);
    return action == QLatin1String("texts") ? showTexts(request, root) : showAttribute(request, root);
}

void describe(QCommandLineParser& parser)
{
    parser.setApplicationDescription(
        QStringLiteral("Shows the first element TAG of an XML file, or edits the document there.\n\n"
                       "--element and --content cut bytes of the file by counting characters: they fit when all up\n"
                       "to the end of the element is ASCII and its tags are plain. They go by the name without its\n"
                       "prefix, and take the element that ends first. All else looks below the root, and goes by the\n"
                       "name as it is written.\n\n"
                       "Exits with 1 when the file is no XML or has no such element, with 2 on a usage error."));
    parser.addOption({{QStringLiteral("h"), QStringLiteral("help")}, QStringLiteral("Show this help.")});
    parser.addPositionalArgument(QStringLiteral("FILE"), QStringLiteral("The XML file, or - for standard input."));
    parser.addPositionalArgument(QStringLiteral("TAG"), QStringLiteral("The name of the element."));
    for (const Option& action : actions)
        parser.addOption({QString::fromLatin1(action.name), QString::fromLatin1(action.description),
            QString::fromLatin1(action.value)});
    parser.addOption({QStringLiteral("output"),
        QStringLiteral("Write the edited document to this file instead of standard output."), QStringLiteral("file")});
}

const char* wrongUse(const QCommandLineParser& parser, const Request& request, int actionCount)
{
    if (parser.positionalArguments().size() != 2 || request.file.isEmpty() || request.tag.isEmpty())
        return "give a FILE and a TAG";
    if (actionCount > 1)
        return "give one thing to show or one edit";
    if (QLatin1String(request.action->value) == QLatin1String("name=text") &&
        request.value.indexOf(QLatin1Char('=')) < 1)
        return "the new element is given as name=text";
    if (parser.isSet(QStringLiteral("output")) && (!request.action->edits || request.output.isEmpty()))
        return "--output takes the file name for an edited document";
    return nullptr;
}

std::optional<Request> requested(const QCommandLineParser& parser)
{
    Request request{parser.positionalArguments().value(0), parser.positionalArguments().value(1), &actions[0],
        QString(), parser.value(QStringLiteral("output"))};
    int actionCount = 0;
    for (const Option& action : actions) {
        const QString name = QString::fromLatin1(action.name);
        if (!parser.isSet(name))
            continue;
        ++actionCount;
        request.action = &action;
        request.value = *action.value ? parser.value(name) : QString();
    }
    const char* const wrong = wrongUse(parser, request, actionCount);
    if (!wrong)
        return request;
    complain(QString::fromLatin1(wrong));
    return {};
}

} // namespace

int main(int argc, char** argv)
{
    QHashSeed::setDeterministicGlobalSeed(); // attributes are written in hash order: the same order on every run
    const QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    describe(parser);
    if (!parser.parse(QCoreApplication::arguments())) {
        complain(parser.errorText());
        return usageError;
    }
    if (parser.isSet(QStringLiteral("help")))
        parser.showHelp(success);
    const std::optional<Request> request = requested(parser);
    return request ? perform(*request) : usageError;
}
