// zk_settings: settings files from the shell and from scripts.
#include "descriptor.h"
#include "document.h"
#include "editfile.h"
#include "failure.h"

#include "osrelease/osrelease.h"

#include <charconv>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <getopt.h>

bool g_kq_verbose = false;

namespace {

// The command line.
struct Call
{
    std::vector<std::string> operands;
    std::string letters; // of the options
    std::string dialect; // of --dialect; empty: that of the file
    std::chrono::seconds wait{10};

    std::string file() const { return operand(0).value_or(""); }
    std::optional<std::string> operand(std::size_t index) const
    {
        return index < operands.size() ? std::optional(operands[index]) : std::nullopt;
    }
    bool has(char letter) const { return letters.find(letter) != letters.npos; }
};

using Edit = std::string (Document::*)(const Request& request) const;
using Print = std::vector<std::string> (*)(const Call& call, const Document& document);

std::vector<std::string> get(const Call& call, const Document& document)
{
    return document.values({call.operands[1], call.operands[2]}, call.has('a'));
}

std::vector<std::string> list(const Call& call, const Document& document)
{
    return call.operands.size() > 1 ? document.keys(call.operands[1]) : document.sections();
}

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

constexpr std::size_t any = 0; // number of KEY VALUE pairs

constexpr Command commands[] = {
    {"get", "FILE SECTION KEY", 3, 3, "adn", get, nullptr, "print the value"},
    {"set", "FILE SECTION KEY VALUE [KEY VALUE]...", 4, any, "cdlw", nullptr, &Document::set,
        "replace the value, or add the key"},
    {"append", "FILE SECTION KEY VALUE", 4, 4, "cdlw", nullptr, &Document::append, "add a line after those of the key"},
    {"prepend", "FILE SECTION KEY VALUE", 4, 4, "cdlw", nullptr, &Document::prepend,
        "add a line before those of the key"},
    {"remove", "FILE SECTION [KEY [VALUE]]", 2, 4, "cdlw", nullptr, &Document::remove,
        "remove a section, or lines of a key"},
    {"list", "FILE [SECTION]", 1, 2, "dn", list, nullptr, "print the sections, or their keys"},
};

struct Option
{
    option name; // its last field is the letter
    const char* argument;
    const char* help;
};

constexpr Option options[] = {
    {{"all", no_argument, nullptr, 'a'}, "", "print every value of a repeated key (get)"},
    {{"create", no_argument, nullptr, 'c'}, "", "treat a missing FILE as empty"},
    {{"dialect", required_argument, nullptr, 'd'}, " NAME", "read FILE in this dialect, whatever its name"},
    {{"no-lock", no_argument, nullptr, 'l'}, "", "edit without a lock, on a file system that has none"},
    {{"null", no_argument, nullptr, 'n'}, "", "end each printed line with NUL instead of a line feed"},
    {{"wait", required_argument, nullptr, 'w'}, " SECONDS", "how long to wait for another edit of FILE (default 10)"},
    {{"help", no_argument, nullptr, 'h'}, "", "print this help; also -h"},
    {{"version", no_argument, nullptr, 'v'}, "", "print the version"},
};

constexpr char introduction[] = "usage: zk_settings COMMAND [OPTION]... FILE [OPERAND]...\n"
                                "Reads and edits settings (INI) files. An edit keeps every other byte.\n";

constexpr char notes[] = "SECTION '' is the part before the first header. FILE '-' is standard input;\n"
                         "the edited file then goes to standard output.\n"
                         "Exit status: 0 done, 1 no such section, key or value, 2 everything else.\n"
                         "See man zk_settings.\n";

Status report(const Failure& failure, const Call& call)
{
    std::string where = failure.file.empty() ? call.file() : failure.file;
    if (failure.line > 0)
        where += ':' + std::to_string(failure.line);
    if (!where.empty())
        where += ": ";
    std::fprintf(stderr, "zk_settings: %s%s\n", where.c_str(), failure.text.c_str());
    return failure.status;
}

[[noreturn]] void failUsage(const std::string& problem)
{
    throw Failure{Trouble, problem + "; see zk_settings --help"};
}

std::string readSource(const Call& call)
{
    if (const auto descriptor = namedDescriptor(call.file()))
        return readAll(*descriptor);
    const Descriptor file(open(call.file().c_str(), O_RDONLY | O_CLOEXEC));
    check(file.isOpen(), "open");
    return readAll(file.number());
}

const Dialect& dialectOf(const Call& call)
{
    std::error_code ignored; // the path is then taken as it is
    return *Dialect::find(call.dialect, std::filesystem::absolute(call.file(), ignored).string());
}

void print(const Command& command, const Call& call)
{
    const std::string source = readSource(call);
    std::string text;
    for (const std::string& line : command.print(call, Document(source, dialectOf(call))))
        text += line + (call.has('n') ? '\0' : '\n');
    writeAll(STDOUT_FILENO, text, "standard output");
}

// Makes one edit, or one for each KEY and VALUE.
std::string edited(const Command& command, const Call& call, std::string bytes)
{
    std::size_t index = 2;
    do {
        const Request request = {call.operands[1], call.operand(index), call.operand(index + 1)};
        if (request.key && request.key->empty())
            throw Failure{Trouble, "the key is empty"};
        bytes = (Document(bytes, dialectOf(call)).*command.edit)(request);
        index += 2;
    } while (index < call.operands.size());
    return bytes;
}

void edit(const Command& command, const Call& call)
{
    if (namedDescriptor(call.file()))
        return writeAll(STDOUT_FILENO, edited(command, call, readSource(call)), "standard output");
    editFile(call.file(), {call.wait, call.has('c'), !call.has('l')},
        [&](const std::string& bytes) { return edited(command, call, bytes); });
}

std::string help()
{
    std::string text = std::string(introduction) + "\nCommands:\n";
    const auto add = [&text](std::string left, std::size_t width, const char* right) {
        left.resize(width, ' ');
        text += "  " + left + right + '\n';
    };
    for (const Command& command : commands)
        add(command.name + (std::string(" ") + command.operands), 43, command.help);
    text += "\nOptions:\n";
    for (const Option& entry : options)
        add(std::string("--") + entry.name.name + entry.argument, 16, entry.help);
    return text + "\nDialects: " + dialectNames() + ".\n" + notes;
}

std::chrono::seconds seconds(const std::string& text)
{
    unsigned number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size())
        failUsage("--wait takes a number of seconds, not '" + text + '\'');
    return std::chrono::seconds(number);
}

std::string dialectName(const std::string& name)
{
    if (name.empty() || Dialect::find(name, {}) == nullptr)
        failUsage("there is no dialect '" + name + "'; the dialects are " + dialectNames());
    return name;
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
        const int letter = getopt_long(argc, argv, "+h", names.data(), nullptr);
        if (letter == -1)
            return;
        if (letter == '?')
            failUsage(std::string("unknown or incomplete option '") + word + '\'');
        call.letters += static_cast<char>(letter);
        if (letter == 'd')
            call.dialect = dialectName(optarg);
        if (letter == 'w')
            call.wait = seconds(optarg);
    }
}

const Command& takeCommand(int argc, char** argv)
{
    const std::string name = optind < argc ? argv[optind++] : "";
    std::string names;
    for (const Command& command : commands) {
        if (name == command.name)
            return command;
        names += (names.empty() ? "" : ", ") + std::string(command.name);
    }
    failUsage(
        (name.empty() ? "a command is needed" : "there is no command '" + name + '\'') + "; the commands are " + names);
}

bool printText(const Call& call)
{
    if (!call.has('h') && !call.has('v'))
        return false;
    const std::string text = call.has('h') ? help() : std::string("zk_settings ") + ZK_SETTINGS_VERSION + '\n';
    writeAll(STDOUT_FILENO, text, "standard output");
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

// `set` takes pairs after its fewest operands.
void checkOperands(const Command& command, std::size_t count)
{
    const bool isTooMany = command.most == any ? count % 2 != 0 : count > command.most;
    if (count < command.fewest || isTooMany)
        failUsage(std::string(command.name) + " takes " + command.operands);
}

void run(int argc, char** argv, Call& call)
{
    takeOptions(argc, argv, call);
    if (optind < argc && argv[optind] == std::string("help"))
        call.letters += 'h';
    if (printText(call))
        return;
    const Command& command = takeCommand(argc, argv);
    takeOptions(argc, argv, call);
    if (printText(call))
        return;
    const std::vector<std::string> operands(argv + optind, argv + argc);
    checkOperands(command, operands.size());
    checkOptions(command, call);
    call.operands = operands;
    command.edit != nullptr ? edit(command, call) : print(command, call);
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
        return report(failure, call);
    } catch (const std::bad_alloc&) {
        return report({Trouble, "out of memory"}, call);
    }
}
