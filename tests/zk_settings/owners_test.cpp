// Files of each dialect are edited and read by the program that owns them.
#include "zk_settings/shortdocuments.h"

#include "support/files.h"
#include "support/process.h"
#include "support/rows.h"

#include <algorithm>
#include <cctype>
#include <map>
#include <sstream>

namespace {

// These read documents from standard input, each with a NUL at its end. Of each they print the sections, keys and
// values as SECTION.KEY \1 VALUE \2, or "refused", and a NUL.

// Its arguments start comments after values.
constexpr char configParser[] = R"(import configparser, sys
for document in sys.stdin.read().split("\0")[:-1]:
    parser = configparser.RawConfigParser(strict=False, allow_no_value=True, inline_comment_prefixes=sys.argv[1:])
    try:
        parser.read_string(document)
        for section in parser.sections():
            for key, value in parser.items(section):
                print(f"{section}.{key}\1{value or ''}\2", end="")
    except (configparser.Error, AttributeError):  # the latter on a continued key without a value
        print("refused\1\2", end="")
    print("\0", end="")
)";

constexpr char keyFile[] = R"(import ctypes, itertools, sys
glib = ctypes.CDLL("libglib-2.0.so.0")
for name in ("new", "get_groups", "get_keys", "get_value"):
    getattr(glib, "g_key_file_" + name).restype = ctypes.c_void_p

def strings(vector):
    texts = ctypes.cast(vector, ctypes.POINTER(ctypes.c_char_p))
    return itertools.takewhile(lambda text: text is not None, (texts[i] for i in itertools.count()))

for document in sys.stdin.buffer.read().split(b"\0")[:-1]:
    file = ctypes.c_void_p(glib.g_key_file_new())
    if glib.g_key_file_load_from_data(file, document, ctypes.c_size_t(len(document)), 2, None):
        for section in strings(glib.g_key_file_get_groups(file, None)):
            for key in strings(glib.g_key_file_get_keys(file, section, None, None)):
                value = ctypes.string_at(glib.g_key_file_get_value(file, section, key, None))
                sys.stdout.buffer.write(section + b"." + key + b"\1" + value + b"\2")
    else:
        sys.stdout.buffer.write(b"refused\1\2")
    sys.stdout.buffer.write(b"\0")
)";

constexpr char php[] = R"(foreach (explode("\0", stream_get_contents(STDIN), -1) as $document) {
    $sections = @parse_ini_string($document, true);
    if ($sections === false)
        echo "refused\1\2";
    foreach ($sections ?: [] as $section => $keys)
        foreach (is_array($keys) ? $keys : [] as $key => $value)
            echo "$section.$key\1", is_array($value) ? "array" : $value, "\2";
    echo "\0";
})";

struct Library
{
    std::vector<std::string> command;
    bool lowersKeys;
};

const std::map<std::string, Library> libraries = {
    {"desktop", {{"python3", "-c", keyFile}, false}},
    {"python", {{"python3", "-c", configParser}, true}},
    {"fail2ban", {{"python3", "-c", configParser, ";"}, true}},
    {"php", {{"php", "-n", "-r", php}, false}},
};

// These print the values of FILE SECTION KEY, one a line, and fail if they refuse the file.

// It prints the values of this key that it does not know.
constexpr char systemd[] =
    R"([ "$2.$3" = Service.Restart ] && SYSTEMD_LOG_COLOR=0 systemd-analyze verify --man=no "$1" \
    2>&1 | sed -n 's/.*: Failed to parse service restart specifier, ignoring: //p')";

constexpr char git[] = R"(name=$(printf %s "$2" | sed 's/ *"/./; s/"//')
git config --file "$1" --list >/dev/null && { git config --file "$1" --get-all "$name.$3" || [ $? = 1 ]; })";

constexpr char mysql[] = R"(my_print_defaults --defaults-file="$1" "$2" | sed "s/^--$3\(=\|$\)//; t; /^--/d")";

const std::map<std::string, const char*> programs = {{"systemd", systemd}, {"git", git}, {"mysql", mysql}};

// By SECTION.KEY. "refused" if the owner refuses the document.
using Reading = std::map<std::string, std::string>;

std::vector<Reading> readingsOf(const std::string& owner, const std::string& documents)
{
    std::vector<Reading> readings;
    std::istringstream out(run(libraries.at(owner).command, {documents, {}, {}}).out);
    for (std::string text; std::getline(out, text, '\0');) {
        Reading reading;
        std::istringstream entries(text);
        for (std::string entry; std::getline(entries, entry, '\2');)
            reading[entry.substr(0, entry.find('\1'))] = entry.substr(entry.find('\1') + 1);
        readings.push_back(reading);
    }
    return readings;
}

// The values of a key, one a line. A library prints only the one that counts.
std::string readBy(
    const std::string& owner, const std::string& path, const std::string& section, const std::string& key)
{
    if (const auto program = programs.find(owner); program != programs.end()) {
        const Finished finished = run({"sh", "-c", program->second, "sh", path, section, key});
        return finished.status == 0 ? finished.out : "refused: " + finished.err;
    }
    const std::vector<Reading> readings = readingsOf(owner, readFile(path) + '\0');
    if (readings.size() != 1 || readings[0].count("refused") != 0)
        return "refused";
    std::string name = key;
    if (libraries.at(owner).lowersKeys)
        std::transform(name.begin(), name.end(), name.begin(), [](unsigned char c) { return std::tolower(c); });
    const auto value = readings[0].find(section + '.' + name);
    return value == readings[0].end() ? "" : value->second + '\n';
}

// Whether the machine has the owner, and it prints what it reads.
bool isUsable(const std::string& owner)
{
    static std::map<std::string, bool> known;
    if (known.count(owner) == 0) {
        const TempDir dir;
        writeFile(dir / "f.service", "[Service]\nRestart=probe\n");
        known[owner] = readBy(owner, dir / "f.service", "Service", "Restart") == "probe\n";
    }
    return known[owner];
}

// A command on a file, and what its owner reads afterwards of the section and the key.
struct Row
{
    const char* name;
    const char* owner;
    const char* file;
    const char* bytes;
    Words words;
    std::string values;
    const char* key = nullptr;      // another key to read
    const char* constant = nullptr; // what the tool prints, if the owner replaces a constant
};

class Owners : public testing::TestWithParam<Row>
{
};

TEST_P(Owners, read_the_edit)
{
    const Row& row = GetParam();
    if (!isUsable(row.owner))
        SKIP_OR_FAIL(std::string("cannot read files with the owner of ") + row.owner + " files");
    const TempDir dir;
    const std::string path = dir / row.file;
    const Dialect& dialect = *Dialect::find({}, path);
    const std::string bytes = row.words[0] == "get" ? row.bytes : edited(dialect, row.bytes, row.words);
    writeFile(path, bytes);
    const std::string key = row.key != nullptr ? row.key : row.words[2];
    EXPECT_EQ(readBy(row.owner, path, row.words[1], key), row.values) << bytes;
    if (!row.values.empty()) {
        const char* const command = programs.count(row.owner) != 0 ? "all" : "get";
        EXPECT_EQ(
            edited(dialect, bytes, {command, row.words[1], key}), row.constant != nullptr ? row.constant : row.values);
    }
}

using Rows = std::vector<Row>;

// Files that a tool without dialects reads wrongly.
INSTANTIATE_TEST_SUITE_P(Awkward, Owners,
    testing::ValuesIn(Rows{
        {"set_lines_after_a_backslash", "git", ".gitconfig", "[a]\nlong=one \\\n  two\n", {"set", "a", "long", "x"},
            "x\n"},
        {"set_lines_after_a_backslash_in_a_unit", "systemd", "f.service",
            "[Service]\nRestart=one \\\n# c\n  two\nNice=1\n", {"set", "Service", "Restart", "x"}, "x\n"},
        {"set_lines_after_a_backslash_in_any_file", "git", "f.conf", "[a]\nlong=one \\\n  two\n",
            {"set", "a", "long", "x"}, "x\n"},
        {"remove_lines_after_a_backslash", "git", ".gitconfig", "[a]\nlong=one \\\n  two\n", {"remove", "a", "long"},
            ""},
        {"set_indented_lines", "python", "setup.cfg", "[a]\nlong=one\n  two\n", {"set", "a", "long", "x"}, "x\n"},
        {"append_after_a_joined_value", "systemd", "f.service",
            "[Service]\nRestart=/bin/echo \\\n--mode=fast\nNice=1\n", {"append", "Service", "Restart", "x"},
            "/bin/echo  --mode=fast\nx\n"},
        {"get_before_a_note", "mysql", "my.cnf", "[a]\nport = 3306   # default\n", {"get", "a", "port"}, "3306\n"},
        {"set_before_a_note", "mysql", "my.cnf", "[a]\nport = 3306   # default\n", {"set", "a", "port", "1"}, "1\n"},
        {"get_a_list", "desktop", "f.desktop", "[a]\nCategories=Qt;KDE;\n", {"get", "a", "Categories"}, "Qt;KDE;\n"},
        {"set_a_list", "desktop", "f.desktop", "[a]\nCategories=Qt;KDE;\n", {"set", "a", "Categories", "Qt;Game;"},
            "Qt;Game;\n"},
        {"set_a_list_in_any_file", "python", "f.conf", "[a]\nCategories=Qt;KDE;\n",
            {"set", "a", "Categories", "Qt;Game;"}, "Qt;Game;\n"},
        {"set_a_repeated_key", "desktop", "f.desktop", "[a]\nk=1\nk=2\n", {"set", "a", "k", "3"}, "3\n"},
        {"set_a_repeated_key_of_git", "git", ".gitconfig", "[a]\nk=1\nk=2\n", {"set", "a", "k", "3"}, "1\n3\n"},
        {"set_a_repeated_key_of_a_unit", "systemd", "f.service", "[Service]\nRestart=1\nRestart=2\n",
            {"set", "Service", "Restart", "3"}, "1\n3\n"},
        {"set_a_repeated_key_of_mysql", "mysql", "my.cnf", "[a]\nk=1\n[b]\n[a]\nk=2\n", {"set", "a", "k", "3"},
            "1\n3\n"},
        {"set_a_repeated_key_of_php", "php", "php.ini", "[a]\nk=1\nk=2\n", {"set", "a", "k", "3"}, "3\n"},
        {"set_a_repeated_key_in_any_file", "python", "f.conf", "[a]\nk=1\nk=2\n", {"set", "a", "k", "3"}, "3\n"},
        {"set_a_key_without_a_value", "mysql", "my.cnf", "[a]\nquick\n", {"set", "a", "quick", "1"}, "1\n"},
        {"set_a_key_without_a_value_of_git", "git", ".gitconfig", "[a]\nquick\n", {"set", "a", "quick", "1"}, "1\n"},
        {"set_a_key_without_a_value_of_python", "python", "tox.ini", "[a]\nquick\n", {"set", "a", "quick", "1"}, "1\n"},
        {"remove_one_case", "desktop", "f.desktop", "[a]\nName=1\nname=2\n", {"remove", "a", "name"}, "1\n", "Name"},
        {"keep_the_other_case", "desktop", "f.desktop", "[a]\nName=1\nname=2\n", {"set", "a", "Name", "3"}, "3\n"},
        {"remove_one_case_of_a_unit", "systemd", "f.service", "[Service]\nRestart=1\nrestart=2\n",
            {"remove", "Service", "restart"}, "1\n", "Restart"},
        {"set_one_case_of_a_unit", "systemd", "f.service", "[Service]\nrestart=1\nRestart=2\n",
            {"set", "Service", "Restart", "3"}, "3\n"},
        {"set_a_key_that_is_in_a_comment", "mysql", "my.cnf", "[a]\n# bind = 1\n;bind = 2\n", {"set", "a", "bind", "3"},
            "3\n"},
        {"set_in_a_header_with_blanks", "mysql", "my.cnf", "[a ]\nk=1\n", {"set", "a", "k", "2"}, "2\n"},
        {"set_after_a_colon", "python", "setup.cfg", "[a]\nk: v\n", {"set", "a", "k", "w"}, "w\n"},
        {"set_after_a_colon_in_any_file", "python", "f.conf", "[a]\nk: v\n", {"set", "a", "k", "w"}, "w\n"},
    }),
    rowName);

// What the dialects know of their owners.
INSTANTIATE_TEST_SUITE_P(Rule, Owners,
    testing::ValuesIn(Rows{
        {"desktop_note_is_text", "desktop", "f.desktop", "[a]\nk=v # c\n", {"get", "a", "k"}, "v # c\n"},
        {"desktop_blank_at_the_end", "desktop", "f.desktop", "[a]\nk= v \n", {"get", "a", "k"}, "v \n"},
        {"desktop_repeated_section", "desktop", "f.desktop", "[a]\nk=1\n[b]\n[a]\nm=1\n", {"set", "a", "k", "2"},
            "2\n"},
        {"desktop_semicolon_starts_a_key", "desktop", "f.desktop", "[a]\n;k=v\n", {"get", "a", ";k"}, "v\n"},
        {"desktop_section_with_blanks", "desktop", "f.desktop", "[ a ]\nk=1\n", {"set", "a", "k", "2"}, "2\n"},
        {"desktop_translation", "desktop", "f.desktop", "[a]\nk=1\n", {"set", "a", "k[sr@latin]", "2"}, "2\n"},
        {"desktop_cr_lf", "desktop", "f.desktop", "[a]\r\nk=1\r\n", {"set", "a", "m", "2"}, "2\n"},
        {"systemd_joined_lines", "systemd", "f.service", "[Service]\nRestart=one \\\n; c\\\n  two\\\nthree\n",
            {"get", "Service", "Restart"}, "one    two three\n"},
        {"systemd_double_backslash", "systemd", "f.service", "[Service]\nRestart=one\\\\\nNice=1\n",
            {"get", "Service", "Restart"}, "one\\\\\n"},
        {"systemd_note_is_text", "systemd", "f.service", "[Service]\nRestart=v # c ; d\n",
            {"get", "Service", "Restart"}, "v # c ; d\n"},
        {"systemd_indented_key", "systemd", "f.service", "[Service]\nNice=1\n  Restart=2\n",
            {"set", "Service", "Restart", "x"}, "x\n"},
        {"python_comment_between_lines", "python", "setup.cfg", "[a]\nk = one\n# c\n\n  two\n\nm = 1\n",
            {"get", "a", "k"}, "one\n\ntwo\n"},
        {"python_indented_line_like_a_key", "python", "setup.cfg", "[a]\nk = one\n  m = 1\n  [b]\n", {"get", "a", "k"},
            "one\nm = 1\n[b]\n"},
        {"python_keys_of_equal_indentation", "python", "setup.cfg", "[a]\n  k = 1\n  m = 2\n", {"set", "a", "m", "3"},
            "3\n"},
        {"python_key_in_another_case", "python", "setup.cfg", "[a]\nName = 1\n", {"set", "a", "name", "2"}, "2\n"},
        {"python_several_lines", "python", "setup.cfg", "[a]\n  k = 1\n  m = 2\n", {"set", "a", "k", "\none\ntwo"},
            "\none\ntwo\n"},
        {"python_note_is_text", "python", "setup.cfg", "[a]\nk = v ; c\n", {"get", "a", "k"}, "v ; c\n"},
        {"fail2ban_note", "fail2ban", "ansible.cfg", "[a]\nk = v;w ; c\n", {"get", "a", "k"}, "v;w\n"},
        {"fail2ban_note_stays", "fail2ban", "ansible.cfg", "[a]\nk = one ; c\n  two\n", {"set", "a", "k", "x"}, "x\n"},
        {"git_quotes_and_note", "git", ".gitconfig", "[a]\nk = \" a;\"b\\tc ; d\n", {"get", "a", "k"}, " a;b\tc\n"},
        {"git_joined_lines", "git", ".gitconfig", "[a]\nk = one\\\n  two # c\\\n", {"get", "a", "k"}, "one  two\n"},
        {"git_subsection", "git", ".gitconfig", "[a \"b\"]\n\tk = 1\n[a \"B\"]\n\tk = 2\n",
            {"set", "a \"b\"", "k", "3"}, "3\n"},
        {"git_new_subsection", "git", ".gitconfig", "[a]\n\tk = 1\n", {"set", "a \"B]\"", "k", "2"}, "2\n"},
        {"git_key_with_a_dash", "git", ".gitconfig", "", {"set", "a.b-c", "d-1", "v"}, "v\n"},
        {"git_key_after_a_header", "git", ".gitconfig", "[a] k = 1\n", {"append", "a", "K", "2"}, "1\n2\n"},
        {"git_remove_a_key_after_a_header", "git", ".gitconfig", "[a] k = 1\n\tm = 2\n", {"remove", "a", "k"}, "2\n",
            "m"},
        {"git_key_without_a_value_with_a_note", "git", ".gitconfig", "[a]\n\tk # c\n", {"set", "a", "k", "v"}, "v\n"},
        {"git_remove_a_section", "git", ".gitconfig", "[a] k = 1\n[b]\n\tk = 2\n[A]\n\tk = 3\n", {"remove", "a"}, "",
            "k"},
        {"mysql_quotes_and_note", "mysql", "my.cnf", "[a]\nk = ' a # b' # c\n", {"get", "a", "k"}, " a # b\n"},
        {"mysql_escapes", "mysql", "my.cnf", "[a]\nk = a\\tb\\sc\\\\d\\qe\n", {"get", "a", "k"}, "a\tb c\\d\\qe\n"},
        {"mysql_quotes_inside", "mysql", "my.cnf", "[a]\nk = a 'b # c'\n", {"get", "a", "k"}, "a 'b # c'\n"},
        {"mysql_semicolon_is_text", "mysql", "my.cnf", "[a]\nk = v ; c\n", {"get", "a", "k"}, "v ; c\n"},
        {"mysql_backslash_does_not_join", "mysql", "my.cnf", "[a]\nk = v\\\nm = 1\n", {"get", "a", "m"}, "1\n"},
        {"php_quotes_and_note", "php", "php.ini", "[a]\nk = \"a;b\" ; c\n", {"get", "a", "k"}, "a;b\n"},
        {"php_single_quotes", "php", "php.ini", "[a]\nk = 'a\\\\\"b'\n", {"get", "a", "k"}, "a\\\\\"b\n"},
        {"php_key_with_a_subscript", "php", "php.ini", "[a]\nk = 1\n", {"set", "a", "m[]", "2"}, "1\n", "k"},
        {"php_escapes", "php", "php.ini", "[a]\nk = \"a\\\"b\\\\c\\'d\\n\"\n", {"get", "a", "k"}, "a\"b\\c\\'d\\n\n"},
        {"php_line_break_in_quotes", "php", "php.ini", "[a]\nk = \"one\ntwo\"\n", {"get", "a", "k"}, "one\ntwo\n"},
        {"php_constant", "php", "php.ini", "[a]\nk = Off\n", {"set", "a", "k", "On"}, "1\n", nullptr, "On\n"},
        {"php_expression", "php", "php.ini", "[a]\nk = 1\n", {"set", "a", "k", "6 & ~2"}, "4\n", nullptr, "6 & ~2\n"},
        {"php_words_with_a_constant", "php", "php.ini", "[a]\nk = 1\n", {"set", "a", "k", "No Reply"}, "No Reply\n"},
        {"php_words_with_an_operator", "php", "php.ini", "[a]\nk = 1\n", {"set", "a", "k", "R&D"}, "R&D\n"},
        {"php_dollar_at_the_end", "php", "php.ini", "[a]\nk = 1 ; c\n", {"set", "a", "k", "pa$"}, "pa$\n"},
        {"php_apostrophe_in_another_line", "php", "php.ini", "[a]\n# Don't\nm = 'x'\n", {"get", "a", "m"}, "x\n"},
        {"php_backslash_at_the_end_of_quotes", "php", "php.ini", "[a]\nk = \"C:\\d\\\"\nm = 1\n; \"\n",
            {"set", "a", "k", "v"}, "1\n", "m"},
        {"mysql_byte_that_is_white_space_in_latin1", "mysql", "my.cnf", "[a]\nk = 1\n", {"set", "a", "k", "voil\u00e0"},
            "voil\u00e0\n"},
        {"php_repeated_section", "php", "php.ini", "[a]\nk=1\n[a]\nm=2\n", {"set", "a", "k", "3"}, "3\n"},
        {"php_key_after_a_header", "php", "php.ini", "[a] k = 1\n", {"set", "a", "k", "2"}, "2\n"},
    }),
    rowName);

// Values that some owners must have in quotes, and the owners that cannot have them.
struct Value
{
    const char* name;
    const char* text;
    std::string_view refusing = "";
};

class Values : public testing::TestWithParam<Value>
{
};

TEST_P(Values, are_read_by_every_owner)
{
    constexpr std::pair<const char*, const char*> files[] = {{"desktop", "f.desktop"}, {"systemd", "f.service"},
        {"python", "setup.cfg"}, {"fail2ban", "ansible.cfg"}, {"git", ".gitconfig"}, {"mysql", "my.cnf"},
        {"php", "php.ini"}};
    const std::string value = GetParam().text;
    const TempDir dir;
    for (const auto& [owner, file] : files) {
        if (!isUsable(owner))
            SKIP_OR_FAIL(std::string("cannot read files with the owner of ") + owner + " files");
        const bool isRefused = GetParam().refusing.find(owner) != std::string_view::npos;
        try {
            const std::string bytes = edited(*Dialect::find({}, file), "[Service]\nNice=1\nRestart=2\nType=simple\n",
                {"set", "Service", "Restart", value});
            writeFile(dir / file, bytes);
            EXPECT_FALSE(isRefused) << bytes;
            EXPECT_EQ(readBy(owner, dir / file, "Service", "Restart"), value + '\n') << owner << '\n' << bytes;
        } catch (const Failure& failure) {
            EXPECT_TRUE(isRefused) << owner << ": " << message(failure);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Of, Values,
    testing::Values(Value{"words", "a b  c"}, Value{"semicolon", "a;b"}, Value{"hash", "a#b"},
        Value{"semicolon_after_a_blank", "a ; b", "fail2ban"}, Value{"hash_after_a_blank", "a # b"},
        Value{"hash_at_the_start", "#a"}, Value{"blank_at_the_start", " a", "desktop systemd python fail2ban"},
        Value{"blank_at_the_end", "a ", "systemd python fail2ban"}, Value{"quotes", "\"a\" 'b'"},
        Value{"whole_quotes", "\"a\""}, Value{"single_quotes", "'a'"}, Value{"one_quote", "it's"},
        Value{"open_quote", "\"a"}, Value{"backslash", "a\\b", "desktop"}, Value{"two_backslashes", "a\\\\b"},
        Value{"backslash_at_the_end", "a\\", "desktop systemd"}, Value{"line_break", "a\nb", "desktop systemd"},
        Value{"equals", "a=b"}, Value{"colon", "a: b"}, Value{"brackets", "[a]"}, Value{"parentheses", "(a) {b} !c"},
        Value{"dollar", "$a $(b) %c"}, Value{"not_ascii", "gr\u00fc\u00df"}, Value{"ampersand", "a & b | c ^ ~d"}),
    rowName);

// The value of the key k of the section a as the tool reads it, or whether it is absent.
std::string valueBy(const Dialect& dialect, const std::string& bytes)
{
    try {
        return edited(dialect, bytes, {"get", "a", "k"});
    } catch (const Failure& failure) {
        return failure.status == Absent ? "" : "in doubt";
    }
}

class OwnersOfShortDocuments : public testing::TestWithParam<Alphabet>
{
};

// Edits every short document that the owner accepts.
TEST_P(OwnersOfShortDocuments, read_the_same_and_only_the_edit)
{
    const std::string owner = GetParam().name;
    if (!isUsable(owner))
        SKIP_OR_FAIL("cannot read files with the owner of " + owner + " files");
    const Dialect& dialect = *Dialect::find(owner, {});
    std::vector<std::string> before;
    std::string documents;
    forEachDocument(GetParam(), 4, [&](const std::string& bytes) {
        try {
            const std::string after = edited(dialect, bytes, {"set", "a", "k", GetParam().awkward});
            before.push_back(bytes);
            documents += bytes + '\0' + after + '\0';
        } catch (const Failure&) {
        }
    });
    const std::vector<Reading> readings = readingsOf(owner, documents);
    ASSERT_EQ(readings.size(), 2 * before.size());
    int accepted = 0;
    for (std::size_t i = 0; i < before.size(); ++i) {
        Reading expected = readings[2 * i];
        if (expected.count("refused") != 0)
            continue;
        SCOPED_TRACE(testing::PrintToString(before[i]));
        ++accepted;
        const auto value = expected.find("a.k");
        const std::string values = value == expected.end() ? "" : value->second + '\n';
        EXPECT_EQ(valueBy(dialect, before[i]), values);
        expected["a.k"] = GetParam().awkward;
        EXPECT_EQ(readings[2 * i + 1], expected);
    }
    EXPECT_GT(accepted, 1000);
}

std::vector<Alphabet> alphabetsOfLibraries()
{
    std::vector<Alphabet> found;
    std::copy_if(std::begin(alphabets), std::end(alphabets), std::back_inserter(found),
        [](const Alphabet& alphabet) { return libraries.count(alphabet.name) != 0; });
    return found;
}

INSTANTIATE_TEST_SUITE_P(, OwnersOfShortDocuments, testing::ValuesIn(alphabetsOfLibraries()), rowName);

} // namespace
