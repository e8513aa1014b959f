// zk_settings: settings files from the shell and from scripts.
#include "descriptor.h"
#include "document.h"
#include "failure.h"
#include "lockedfile.h"

#include "osrelease/osrelease.h"

#include <charconv>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <getopt.h>

bool g_kq_verbose = false;

namespace {

// The command line. Text stays as bytes until the document needs it.
struct Call
{
    std::vector<std::string> operands;
    std::string letters; // of the options
    std::chrono::seconds wait{10};

    const std::string& file() const { return operands[0]; }
    bool has(char letter) const { return letters.find(letter) != letters.npos; }
};

using Edit = void (Document::*)(const Request& request);
using Print = QStringList (*)(const Call& call, Document& document);

QStringList get(const Call& call, Document& document);
QStringList list(const Call& call, Document& document);

// A command either prints or edits.
struct Command
{
    const char* name;
    const char* operands;
    std::size_t fewest;
    std::size_t most;
    const char* options; // letters
    Print print;
    Edit edit;
    const char* help;
};

constexpr Command commands[] = {
    {"get", "FILE SECTION KEY", 3, 3, "n", get, nullptr, "print the values of KEY"},
    {"set", "FILE SECTION KEY VALUE", 4, 4, "cflw", nullptr, &Document::set, "replace the first value, or add KEY"},
    {"append", "FILE SECTION KEY VALUE", 4, 4, "cflw", nullptr, &Document::append,
        "add a line after the first lines of KEY"},
    {"prepend", "FILE SECTION KEY VALUE", 4, 4, "cflw", nullptr, &Document::prepend,
        "add a line before the first line of KEY"},
    {"remove", "FILE SECTION KEY [VALUE]", 3, 4, "cflw", nullptr, &Document::remove,
        "remove all lines of KEY, or those with VALUE"},
    {"list", "FILE [SECTION]", 1, 2, "n", list, nullptr, "print the sections, or the keys of SECTION"},
};

struct Option
{
    option name; // its last field is the letter
    const char* argument;
    const char* help;
};

constexpr Option options[] = {
    {{"create", no_argument, nullptr, 'c'}, "", "treat a missing FILE as empty"},
    {{"force", no_argument, nullptr, 'f'}, "", "treat an ambiguous ';' as the start of a comment"},
    {{"no-lock", no_argument, nullptr, 'l'}, "", "edit without a lock, on a file system that has none"},
    {{"null", no_argument, nullptr, 'n'}, "", "end each line with NUL instead of a line feed"},
    {{"wait", required_argument, nullptr, 'w'}, " SECONDS", "how long to wait for another edit (default 10)"},
    {{"help", no_argument, nullptr, 'h'}, "", "print this help"},
    {{"version", no_argument, nullptr, 'v'}, "", "print the version"},
};

constexpr char introduction[] = "usage: zk_settings COMMAND [OPTION]... FILE [SECTION [KEY [VALUE]]]\n"
                                "Reads and edits a settings (INI) file. Every byte outside the edit stays as it is.\n";

constexpr char notes[] =
    "SECTION and KEY ignore case. SECTION '' is the part before the first header.\n"
    "FILE '-' is standard input; the edited document then goes to standard output.\n"
    "Options come before FILE or last, so a VALUE may start with '-'. The optional VALUE of remove and SECTION of "
    "list\n"
    "may too, after '--'.\n"
    "An edit writes a new file and renames it over the old one. A file with several hard links, or in a folder "
    "without\n"
    "write permission, is written in place: a crash may leave, and a reader may see, a partial file.\n"
    "Exit status: 0 done, 1 no such section, key or value, 2 everything else.\n";

void report(const std::string& file, int line, const std::string& text)
{
    std::string where = file;
    if (line > 0)
        where += ':' + std::to_string(line);
    if (!where.empty())
        where += ": ";
    std::fprintf(stderr, "zk_settings: %s%s\n", where.c_str(), text.c_str());
}

[[noreturn]] void failUsage(const std::string& problem)
{
    throw Failure{Trouble, problem + "; see zk_settings --help"};
}

// Invalid bytes decode to the replacement character, so it would match lines that do not contain it.
QString decoded(const std::string& operand)
{
    const QString text = QString::fromStdString(operand);
    if (text.toStdString() != operand || text.contains(QChar::ReplacementCharacter))
        throw Failure{Trouble, "the argument '" + operand + "' contains a character that cannot be represented"};
    return text;
}

QByteArray readSource(const Call& call)
{
    if (const auto descriptor = namedDescriptor(call.file()))
        return readAll(*descriptor, call.file());
    const Descriptor file(open(call.file().c_str(), O_RDONLY | O_CLOEXEC));
    if (!file.isOpen() && errno == ENOENT && call.has('c'))
        return {};
    if (!file.isOpen())
        throw systemFailure(call.file(), "open");
    return readAll(file.number(), call.file());
}

QStringList get(const Call& call, Document& document)
{
    const QString section = decoded(call.operands[1]);
    const QString key = decoded(call.operands[2]);
    for (const int line : document.ambiguousLines(section, key))
        report(call.file(), line, Document::ambiguity);
    return document.values(section, key);
}

QStringList list(const Call& call, Document& document)
{
    return call.operands.size() > 1 ? document.keys(decoded(call.operands[1])) : document.sections();
}

void print(const Command& command, const Call& call)
{
    Document document(readSource(call));
    QByteArray bytes;
    for (const QString& text : command.print(call, document))
        bytes += text.toUtf8() + (call.has('n') ? '\0' : '\n');
    writeAll(STDOUT_FILENO, bytes, "standard output");
}

QByteArray edited(const Command& command, const Call& call, const QByteArray& source)
{
    Request request{decoded(call.operands[1]), decoded(call.operands[2]), {}, call.operands.size() > 3, call.has('f')};
    if (request.hasValue)
        request.value = decoded(call.operands[3]);
    if (request.key.isEmpty())
        throw Failure{Trouble, "the key is empty"};
    Document document(source);
    (document.*command.edit)(request);
    document.verify(request);
    return document.bytes();
}

void editToStandardOutput(const Command& command, const Call& call)
{
    writeAll(STDOUT_FILENO, edited(command, call, readSource(call)), "standard output");
}

void edit(const Command& command, const Call& call)
{
    if (namedDescriptor(call.file()))
        return editToStandardOutput(command, call);
    LockedFile file(call.file(), {call.wait, call.has('c'), !call.has('l')});
    file.replace(edited(command, call, file.bytes()));
}

std::string help()
{
    std::string text = std::string(introduction) + "\nCommands:\n";
    const auto add = [&text](std::string left, const char* right) {
        left.resize(34, ' ');
        text += "  " + left + ' ' + right + '\n';
    };
    for (const Command& command : commands)
        add(command.name + (std::string(" ") + command.operands), command.help);
    text += "\nOptions:\n";
    for (const Option& entry : options)
        add(std::string("--") + entry.name.name + entry.argument, entry.help);
    return text + '\n' + notes;
}

std::chrono::seconds seconds(const std::string& text)
{
    unsigned number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size())
        failUsage("--wait takes a number of seconds, not '" + text + '\'');
    return std::chrono::seconds(number);
}

// Takes the options up to the next operand.
void takeOptions(int argc, char** argv, Call& call)
{
    std::vector<option> names;
    for (const Option& entry : options)
        names.push_back(entry.name);
    names.push_back({});

    while (optind < argc) { // at the end, getopt_long would return to the words after a "--"
        const char* const word = argv[optind];
        const int letter = getopt_long(argc, argv, "+", names.data(), nullptr);
        if (letter == -1)
            return;
        if (letter == '?')
            failUsage(std::string("unknown or incomplete option '") + word + '\'');
        call.letters += static_cast<char>(letter);
        if (letter == 'w')
            call.wait = seconds(optarg);
    }
}

const Command& takeCommand(int argc, char** argv)
{
    const std::string name = optind < argc ? argv[optind++] : "";
    for (const Command& command : commands) {
        if (name == command.name)
            return command;
    }
    failUsage(name.empty() ? "a command is needed" : "there is no command '" + name + '\'');
}

// Takes words as they are until there are `count` operands.
void takeOperands(int argc, char** argv, std::size_t count, std::vector<std::string>& operands)
{
    while (optind < argc && operands.size() < count)
        operands.push_back(argv[optind++]);
}

bool printText(const Call& call)
{
    if (!call.has('h') && !call.has('v'))
        return false;
    const std::string text = call.has('h') ? help() : std::string("zk_settings ") + ZK_SETTINGS_VERSION + '\n';
    writeAll(STDOUT_FILENO, QByteArray::fromStdString(text), "standard output");
    return true;
}

void checkOptions(const Command& command, const Call& call)
{
    for (const Option& entry : options) {
        const auto letter = static_cast<char>(entry.name.val);
        if (call.has(letter) && std::strchr(command.options, letter) == nullptr)
            failUsage(std::string(command.name) + " does not take --" + entry.name.name);
    }
}

void run(int argc, char** argv, Call& call)
{
    takeOptions(argc, argv, call);
    if (printText(call))
        return;
    const Command& command = takeCommand(argc, argv);
    takeOptions(argc, argv, call);
    if (printText(call))
        return;
    std::vector<std::string> operands;
    takeOperands(argc, argv, command.fewest, operands);
    takeOptions(argc, argv, call); // an optional operand that starts with '-' comes after "--"
    takeOperands(argc, argv, command.most, operands);
    takeOptions(argc, argv, call);
    if (operands.size() < command.fewest || optind < argc)
        failUsage(std::string(command.name) + " takes " + command.operands);
    checkOptions(command, call);

    call.operands = operands;
    command.edit ? edit(command, call) : print(command, call);
}

} // namespace

int main(int argc, char** argv)
{
    occupyStandardDescriptors();
    std::signal(SIGXFSZ, SIG_IGN); // a write beyond the size limit then fails with a message
    opterr = 0;
    Call call;
    try {
        run(argc, argv, call);
        return Done;
    } catch (const Failure& failure) {
        const std::string& file = failure.file.empty() && !call.operands.empty() ? call.file() : failure.file;
        report(file, failure.line, failure.text);
        return failure.status;
    } catch (const std::bad_alloc&) {
        report(call.operands.empty() ? std::string() : call.file(), 0, "out of memory");
        return Trouble;
    } catch (const std::exception& error) {
        report({}, 0, error.what());
        return Trouble;
    }
}
