// The command line: options, operands, messages and exit statuses.
#include "zk_settings/settings.h"

#include "support/files.h"
#include "support/rows.h"

#include <algorithm>

using namespace std::string_view_literals;

namespace {

// A command on the file "f".
struct Row
{
    const char* name;
    std::string_view file;
    std::vector<std::string> words;
    std::string_view expected; // what is printed, or the file that an edit leaves, or the message
    int status = 2;            // of a message
};

class Prints : public testing::TestWithParam<Row>
{
};

TEST_P(Prints, and_keeps_the_file)
{
    const Row& row = GetParam();
    const TempDir dir;
    writeFile(dir / "f", std::string(row.file));
    const Finished finished = settings(dir.path(), row.words);
    EXPECT_EQ(finished.status, 0);
    EXPECT_EQ(finished.out, row.expected);
    EXPECT_EQ(finished.err, "");
    EXPECT_EQ(readFile(dir / "f"), row.file);
}

class Edits : public testing::TestWithParam<Row>
{
};

TEST_P(Edits, silently)
{
    const Row& row = GetParam();
    const TempDir dir;
    writeFile(dir / "f", std::string(row.file));
    const Finished finished = settings(dir.path(), row.words);
    EXPECT_EQ(finished.status, 0);
    EXPECT_EQ(finished.out, "");
    EXPECT_EQ(finished.err, "");
    EXPECT_EQ(readFile(dir / "f"), row.expected);

    std::vector<std::string> words = row.words;
    *std::find(words.begin(), words.end(), "f") = "-";
    const Finished filtered = settings(dir.path(), words, std::string(row.file));
    EXPECT_EQ(filtered.status, 0);
    EXPECT_EQ(filtered.out, row.expected) << "standard input";
    EXPECT_EQ(filtered.err, "");
}

class Fails : public testing::TestWithParam<Row>
{
};

TEST_P(Fails, and_keeps_the_file)
{
    const Row& row = GetParam();
    const TempDir dir;
    writeFile(dir / "f", std::string(row.file));
    const Finished finished = settings(dir.path(), row.words);
    EXPECT_EQ(finished.status, row.status);
    EXPECT_EQ(finished.out, "");
    EXPECT_EQ(finished.err, "zk_settings: " + std::string(row.expected) + '\n');
    EXPECT_EQ(readFile(dir / "f"), row.file);
}

using Rows = std::vector<Row>;

constexpr char net[] = "top = 1\n[Net]\n# where it listens\nport = 80\nport = 81\n";

INSTANTIATE_TEST_SUITE_P(Command, Prints,
    testing::ValuesIn(Rows{
        {"value_that_counts", net, {"get", "f", "Net", "port"}, "81\n"},
        {"every_value", net, {"get", "--all", "f", "Net", "port"}, "80\n81\n"},
        {"values_end_in_nul", net, {"get", "--all", "--null", "f", "Net", "port"}, "80\00081\0"sv},
        {"options_before_the_command", net, {"--null", "get", "f", "", "top"}, "1\0"sv},
        {"operands_after_two_dashes", net, {"get", "--", "f", "", "top"}, "1\n"},
        {"operands_like_options", "[--null]\n--all=1\n", {"get", "f", "--null", "--all"}, "1\n"},
        {"sections", net, {"list", "f"}, "\nNet\n"},
        {"sections_end_in_nul", net, {"list", "--null", "f"}, "\0Net\0"sv},
        {"keys", net, {"list", "f", "Net"}, "port\n"},
        {"keys_of_a_section_like_an_option", "[--null]\nk=1\n", {"list", "f", "--null"}, "k\n"},
        {"no_keys", "[Empty]\n", {"list", "f", "Empty"}, ""},
        {"value_in_a_dialect", "[a]\nk = v # c\n", {"get", "--dialect", "git", "f", "a", "k"}, "v\n"},
        {"value_in_the_last_dialect", "[a]\nk = v # c\n", {"--dialect=git", "get", "--dialect=php", "f", "a", "k"},
            "v # c\n"},
        {"what_the_store_returns", "[a]\nk = Qt;KDE\nK = 2\n", {"get", "--dialect=store", "f", "A", "k"}, "Q\n2\n"},
        {"bytes_in_any_locale", "k=gr\u00fc\xff\n", {"get", "f", "", "k"}, "gr\u00fc\xff\n"},
    }),
    rowName);

INSTANTIATE_TEST_SUITE_P(Command, Edits,
    testing::ValuesIn(Rows{
        {"set", net, {"set", "f", "Net", "port", "82"}, "top = 1\n[Net]\n# where it listens\nport = 80\nport = 82\n"},
        {"set_several", "[a]\nk=1\n", {"set", "f", "a", "k", "2", "m", "3", "k", "4"}, "[a]\nk=4\nm=3\n"},
        {"set_several_in_a_new_section", "", {"set", "f", "a", "k", "1", "m", "2"}, "[a]\nk = 1\nm = 2\n"},
        {"set_to_an_option", "k=1\n", {"set", "f", "", "k", "--create"}, "k=--create\n"},
        {"set_to_nothing", "k=1\n", {"set", "f", "", "k", ""}, "k=\n"},
        {"append", "k=1\nx=0\n", {"append", "f", "", "k", "%1"}, "k=1\nk=%1\nx=0\n"},
        {"prepend", "x=0\nk=1\n", {"prepend", "f", "", "k", "-"}, "x=0\nk=-\nk=1\n"},
        {"remove", net, {"remove", "f", "Net", "port"}, "top = 1\n[Net]\n# where it listens\n"},
        {"remove_a_value", net, {"remove", "f", "Net", "port", "80"},
            "top = 1\n[Net]\n# where it listens\nport = 81\n"},
        {"remove_a_value_like_an_option", "k=--all\nk=1\n", {"remove", "f", "", "k", "--all"}, "k=1\n"},
        {"remove_a_section", net, {"remove", "f", "Net"}, "top = 1\n"},
        {"in_a_dialect", "[a]\nk = v # c\n", {"set", "--dialect", "mysql", "f", "a", "k", "w#x"},
            "[a]\nk = \"w#x\" # c\n"},
        {"longest_wait", "k=1\n", {"remove", "--wait", "4294967295", "f", "", "k"}, ""},
    }),
    rowName);

#define SEE "; see zk_settings --help"
#define COMMANDS "; the commands are get, set, append, prepend, remove, list" SEE

INSTANTIATE_TEST_SUITE_P(Usage, Fails,
    testing::ValuesIn(Rows{
        {"nothing", "", {}, "a command is needed" COMMANDS},
        {"unknown_command", "", {"update", "f"}, "there is no command 'update'" COMMANDS},
        {"too_few_operands", "", {"set", "f", "s", "k"}, "set takes FILE SECTION KEY VALUE [KEY VALUE]..." SEE},
        {"key_without_a_value", "", {"set", "f", "s", "k", "v", "l"},
            "set takes FILE SECTION KEY VALUE [KEY VALUE]..." SEE},
        {"too_many_operands", "", {"get", "f", "s", "k", "v"}, "get takes FILE SECTION KEY" SEE},
        {"option_after_the_operands", "k=1\n", {"get", "f", "", "k", "--null"}, "get takes FILE SECTION KEY" SEE},
        {"unknown_option", "", {"set", "--force", "f", "s", "k", "v"}, "unknown or incomplete option '--force'" SEE},
        {"unknown_letters", "", {"get", "-xy", "f", "s", "k"}, "unknown or incomplete option '-xy'" SEE},
        {"option_without_its_argument", "", {"list", "--wait"}, "unknown or incomplete option '--wait'" SEE},
        {"option_of_another_command", "", {"set", "--all", "f", "s", "k", "v"}, "set does not take --all" SEE},
        {"unknown_dialect", "", {"get", "--dialect", "ini", "f", "s", "k"},
            "there is no dialect 'ini'; the dialects are common, store, desktop, systemd, python, git, mysql, php" SEE},
        {"no_number", "", {"set", "--wait", "1s", "f", "s", "k", "v"},
            "--wait takes a number of seconds, not '1s'" SEE},
        {"negative_number", "", {"set", "--wait=-1", "f", "s", "k", "v"},
            "--wait takes a number of seconds, not '-1'" SEE},
        {"empty_key", "", {"set", "f", "", "", "v"}, "f: the key is empty"},
    }),
    rowName);

INSTANTIATE_TEST_SUITE_P(File, Fails,
    testing::ValuesIn(Rows{
        {"without_the_key", net, {"get", "f", "Net", "host"}, "f: [Net] has no key host", 1},
        {"without_the_section", net, {"get", "f", "lan", "port"}, "f: there is no section [lan]", 1},
        {"without_leading_keys", "[a]\n", {"get", "f", "", "k"}, "f: no key k before the first header", 1},
        {"without_the_value", net, {"remove", "f", "Net", "port", "8"}, "f: [Net] has no key port with the value 8", 1},
        {"that_is_missing", "", {"get", "g", "", "k"}, "g: cannot open: No such file or directory"},
        {"that_is_a_folder", "", {"get", ".", "", "k"}, ".: cannot read: Is a directory"},
        {"with_a_doubt", "a=1\nk=v # c\n", {"get", "f", "", "k"},
            "f:2: ambiguous: white space and '#' or ';' may start a comment (--dialect git, mysql, php) or belong to "
            "the value (--dialect desktop, python, systemd)"},
        {"with_a_nul", "k=1\nx=\0\n"sv, {"set", "f", "", "k", "v"}, "f:2: a NUL byte: not a settings file"},
        {"that_stays_if_one_of_several_edits_fails", "k=1\nm=1\n", {"set", "f", "", "k", "2", "m", "a\nb"},
            "f: the value would be read as 'a'"},
        {"that_stays_if_the_last_of_several_keys_is_empty", "k=1\n", {"set", "f", "", "k", "2", "", "3"},
            "f: the key is empty"},
    }),
    rowName);

// The directory counts too.
TEST(Dialect, is_selected_by_the_name_of_the_file)
{
    const TempDir dir;
    const Finished done = shell(dir.path(), R"(mkdir php && cd php &&
        for file in a.ini my.cnf a.service a.txt; do printf '[s]\nk = a#b;c\n' >$file; zk get $file s k; done
        zk get --dialect=common my.cnf s k)");
    EXPECT_EQ(done.status, 0) << done.err;
    EXPECT_EQ(done.out, "a#b\na\na#b;c\na#b;c\na#b;c\n");
}

class Help : public testing::TestWithParam<const char*>
{
};

TEST_P(Help, is_printed)
{
    const TempDir dir;
    const Finished help = settings(dir.path(), {"--help"});
    EXPECT_EQ(help.status, 0);
    const Finished same = shell(dir.path(), GetParam());
    EXPECT_EQ(same.status, 0);
    EXPECT_EQ(same.out, help.out);
    EXPECT_EQ(same.err, "");
}

INSTANTIATE_TEST_SUITE_P(On, Help, testing::Values("zk -h", "zk help", "zk help set", "zk set --help", "zk set -h f"));

TEST(HelpText, fits_the_terminal)
{
    const TempDir dir;
    EXPECT_EQ(settings(dir.path(), {"--help"}).out,
        R"(usage: zk_settings COMMAND [OPTION]... FILE [OPERAND]...
Reads and edits settings (INI) files. An edit keeps every other byte.

Commands:
  get FILE SECTION KEY                       print the value
  set FILE SECTION KEY VALUE [KEY VALUE]...  replace the value, or add the key
  append FILE SECTION KEY VALUE              add a line after those of the key
  prepend FILE SECTION KEY VALUE             add a line before those of the key
  remove FILE SECTION [KEY [VALUE]]          remove a section, or lines of a key
  list FILE [SECTION]                        print the sections, or their keys

Options:
  --all           print every value of a repeated key (get)
  --create        treat a missing FILE as empty
  --dialect NAME  read FILE in this dialect, whatever its name
  --no-lock       edit without a lock, on a file system that has none
  --null          end each printed line with NUL instead of a line feed
  --wait SECONDS  how long to wait for another edit of FILE (default 10)
  --help          print this help; also -h
  --version       print the version

Dialects: common, store, desktop, systemd, python, git, mysql, php.
SECTION '' is the part before the first header. FILE '-' is standard input;
the edited file then goes to standard output.
Exit status: 0 done, 1 no such section, key or value, 2 everything else.
See man zk_settings.
)");
}

TEST(Version, is_that_of_the_library)
{
    const TempDir dir;
    EXPECT_EQ(settings(dir.path(), {"--version"}).out, "zk_settings " KQSUPPORT_VERSION "\n");
}

} // namespace
