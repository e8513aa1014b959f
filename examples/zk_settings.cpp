// zk_settings: settings files from the shell and from install scripts.
#include "inistore/inistore.h"
#include "osrelease/osrelease.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFile>

#include <cstdio>

bool g_kq_verbose = false;

namespace {

enum Status
{
    Done = 0,
    NoSuchKey = 1,
    Trouble = 2
};

constexpr char description[] =
    "Reads and edits a settings (INI) file; every line that is not edited stays as it is, byte for byte.\n"
    "\n"
    "Commands:\n"
    "  get FILE SECTION KEY              print the values of KEY, one a line\n"
    "  append FILE SECTION KEY VALUE     add a line below the first lines of KEY\n"
    "  prepend FILE SECTION KEY VALUE    add a line above the lines of KEY\n"
    "  update FILE SECTION KEY VALUE     change the first value of KEY, or add KEY\n"
    "  remove FILE SECTION KEY [VALUE]   remove the first line of KEY with VALUE, or all lines of KEY\n"
    "\n"
    "SECTION and KEY match without regard to case; the SECTION '' is what stands above the first header.\n"
    "A last line without a line end gets one when a key is added or changed.\n"
    "A missing section is added, a missing FILE is an error: a mistyped name must not start a new file.\n"
    "Options stand before the command, so a VALUE may begin with '-'.\n"
    "\n"
    "Exit status: 0 done, 1 no such key or value (the file is not written), 2 usage, or trouble with a file.";

struct Command
{
    const char* name;
    int fewestArguments;
    int mostArguments;
    int (*run)(INIStore& store, const QStringList& arguments);
};

int complain(int status, const QString& message)
{
    std::fprintf(stderr, "zk_settings: %s\n", qUtf8Printable(message));
    return status;
}

int noSuchKey(const QStringList& arguments)
{
    return complain(
        NoSuchKey, arguments.size() < 4
                       ? QStringLiteral("[%1] has no %2").arg(arguments.at(1), arguments.at(2))
                       : QStringLiteral("[%1] has no %2 = %3").arg(arguments.at(1), arguments.at(2), arguments.at(3)));
}

int get(INIStore& store, const QStringList& arguments)
{
    const QStringList values = store.GetValues(arguments.at(1), arguments.at(2));
    if (values.isEmpty())
        return noSuchKey(arguments);
    for (const QString& value : values)
        std::puts(qUtf8Printable(value));
    return std::fflush(stdout) == 0 ? Done : complain(Trouble, QStringLiteral("Error writing to standard output"));
}

// The store joins what it adds to a last line that has no line end. A person at a shell wants a line of its own.
void endLastLine(INIStore& store)
{
    INISection& last = store.m_sections.last();
    QByteArray& raw = last.m_lines.isEmpty() ? last.m_raw : last.m_lines.last().m_raw;
    if (!raw.isEmpty() && !raw.endsWith('\n'))
        raw += INIStore::s_newline.toUtf8();
}

int append(INIStore& store, const QStringList& arguments)
{
    endLastLine(store);
    store.AppendKey(arguments.at(1), arguments.at(2), arguments.at(3));
    return Done;
}

int prepend(INIStore& store, const QStringList& arguments)
{
    endLastLine(store);
    store.PrependKey(arguments.at(1), arguments.at(2), arguments.at(3));
    return Done;
}

int update(INIStore& store, const QStringList& arguments)
{
    endLastLine(store);
    store.UpdateKey(arguments.at(1), arguments.at(2), arguments.at(3));
    return Done;
}

int remove(INIStore& store, const QStringList& arguments)
{
    const QStringList values =
        arguments.size() == 4 ? arguments.mid(3) : store.GetValues(arguments.at(1), arguments.at(2));
    int removed = 0;
    for (const QString& value : values)
        removed += store.RemoveKeyValue(arguments.at(1), arguments.at(2), value) ? 1 : 0;
    return removed > 0 ? Done : noSuchKey(arguments);
}

constexpr Command commands[] = {
    {"get", 3, 3, get},
    {"append", 4, 4, append},
    {"prepend", 4, 4, prepend},
    {"update", 4, 4, update},
    {"remove", 3, 4, remove},
};

const Command* findCommand(const QString& name)
{
    for (const Command& command : commands) {
        if (name == QLatin1String(command.name))
            return &command;
    }
    return nullptr;
}

int usage(const QString& problem)
{
    return complain(Trouble, problem + QStringLiteral(" See zk_settings --help."));
}

// The store's own text for a file that cannot be read; it has none for one that is not there.
QString whyNotOpened(const INIStore& store, const QString& path)
{
    return store.m_lastError.isEmpty() ? QStringLiteral("There is no file %1").arg(path) : store.m_lastError;
}

// Write() keeps quiet about what only shows when the last bytes leave the buffer, as on a full disk; a script must
// know.
bool write(INIStore& store, const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return store.Write(path); // fails too, and says why
    if (!store.WriteSections(file, path))
        return false;
    if (!file.flush())
        store.m_lastError = QStringLiteral("Error writing to %1, file only partially written").arg(path);
    return store.m_lastError.isEmpty();
}

int runCommand(const Command& command, const QStringList& arguments, const QString& output)
{
    INIStore store;
    if (!store.Open(arguments.at(0)))
        return complain(Trouble, whyNotOpened(store, arguments.at(0)));
    const int status = command.run(store, arguments);
    if (status != Done || command.run == get)
        return status;
    return write(store, output) ? Done : complain(Trouble, store.m_lastError);
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication app(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription(QLatin1String(description));
    parser.setOptionsAfterPositionalArgumentsMode(QCommandLineParser::ParseAsPositionalArguments);
    const QCommandLineOption help({QStringLiteral("h"), QStringLiteral("help")}, QStringLiteral("Show this help."));
    const QCommandLineOption output(QStringLiteral("output"),
        QStringLiteral("Write the edited document to <path> and leave FILE as it is."), QStringLiteral("path"));
    const QCommandLineOption crlf(QStringLiteral("crlf"), QStringLiteral("End added lines with CR LF; LF otherwise."));
    parser.addOptions({help, output, crlf});
    parser.addPositionalArgument(QStringLiteral("command"), QStringLiteral("One of the commands above."));
    parser.addPositionalArgument(
        QStringLiteral("arguments"), QStringLiteral("What it works on."), QStringLiteral("FILE SECTION KEY [VALUE]"));

    if (!parser.parse(QCoreApplication::arguments()))
        return usage(parser.errorText());
    if (parser.isSet(help))
        parser.showHelp(Done);

    QStringList arguments = parser.positionalArguments();
    if (arguments.isEmpty())
        return usage(QStringLiteral("A command is needed."));
    const QString name = arguments.takeFirst();
    const Command* const command = findCommand(name);
    if (!command)
        return usage(QStringLiteral("There is no command %1.").arg(name));
    if (arguments.size() < command->fewestArguments || arguments.size() > command->mostArguments)
        return usage(QStringLiteral("Wrong number of arguments for %1.").arg(name));

    if (parser.isSet(crlf))
        INIStore::s_newline = QStringLiteral("\r\n");
    return runCommand(*command, arguments, parser.isSet(output) ? parser.value(output) : arguments.at(0));
}
