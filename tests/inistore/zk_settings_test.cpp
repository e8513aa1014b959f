#include "support/files.h"
#include "support/process.h"
#include "support/rows.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

namespace {

constexpr char original[] = "top = 1\n"
                            "[Net]\r\n"
                            "; where it listens\r\n"
                            "port = 80 ; web\r\n"
                            "port = 81\r\n"
                            "[Empty]\n";

// Every row runs on a file "f" of those bytes, in a directory of its own; "f" and "o" are compared when it is done.
struct Row
{
    const char* name;
    std::vector<std::string> arguments;
    int status;
    std::string out;
    std::string err;
    std::string file = original;
    std::string output = {};
};

void PrintTo(const Row& row, std::ostream* out)
{
    *out << row.name;
}

class Settings : public testing::TestWithParam<Row>
{
};

TEST_P(Settings, does_and_says)
{
    const TempDir dir;
    writeFile(dir / "f", original);
    writeFile(dir / "o", "");

    std::vector<std::string> command = {ZK_SETTINGS};
    command.insert(command.end(), GetParam().arguments.begin(), GetParam().arguments.end());
    Start start;
    start.directory = dir.path();
    start.environment = {"LC_ALL=C.UTF-8"};
    const Finished finished = run(command, start);

    EXPECT_EQ(finished.status, GetParam().status);
    EXPECT_EQ(finished.out, GetParam().out);
    EXPECT_EQ(finished.err, GetParam().err);
    EXPECT_EQ(readFile(dir / "f"), GetParam().file);
    EXPECT_EQ(readFile(dir / "o"), GetParam().output);
}

INSTANTIATE_TEST_SUITE_P(Get, Settings,
    testing::Values(Row{"prints_every_value", {"get", "f", "net", "PORT"}, 0, "80\n81\n", ""},
        Row{"empty_section_is_above_the_first_header", {"get", "f", "", "top"}, 0, "1\n", ""},
        Row{"missing_key", {"get", "f", "net", "host"}, 1, "", "zk_settings: [net] has no host\n"},
        Row{"missing_section", {"get", "f", "lan", "port"}, 1, "", "zk_settings: [lan] has no port\n"},
        Row{"missing_file", {"get", "g", "net", "port"}, 2, "", "zk_settings: There is no file g\n"},
        Row{"unreadable_file", {"get", ".", "net", "port"}, 2, "",
            "zk_settings: Unable to open ., with read permission\n"}),
    rowName);

INSTANTIATE_TEST_SUITE_P(Edit, Settings,
    testing::Values(Row{"update_keeps_comment_and_line_end", {"update", "f", "net", "port", "8080"}, 0, "", "",
                        "top = 1\n[Net]\r\n; where it listens\r\nport = 8080 ; web\r\nport = 81\r\n[Empty]\n"},
        Row{"append_ends_in_lf", {"append", "f", "net", "port", "82"}, 0, "", "",
            "top = 1\n[Net]\r\n; where it listens\r\nport = 80 ; web\r\nport = 81\r\nport = 82\n[Empty]\n"},
        Row{"append_ends_in_cr_lf_when_told", {"--crlf", "append", "f", "net", "host", "h"}, 0, "", "",
            "top = 1\n[Net]\r\n; where it listens\r\nport = 80 ; web\r\nport = 81\r\nhost = h\r\n[Empty]\n"},
        Row{"prepend_goes_above", {"prepend", "f", "net", "port", "79"}, 0, "", "",
            "top = 1\n[Net]\r\n; where it listens\r\nport = 79\nport = 80 ; web\r\nport = 81\r\n[Empty]\n"},
        Row{"new_section_comes_last", {"append", "f", "gr\u00fc\u00df", "k", "\u4e2d"}, 0, "", "",
            std::string(original) + "[gr\u00fc\u00df]\nk = \u4e2d\n"},
        Row{"value_may_look_like_an_option", {"update", "f", "", "top", "-1"}, 0, "", "",
            "top = -1\n[Net]\r\n; where it listens\r\nport = 80 ; web\r\nport = 81\r\n[Empty]\n"},
        Row{"remove_takes_one_value", {"remove", "f", "net", "port", "81"}, 0, "", "",
            "top = 1\n[Net]\r\n; where it listens\r\nport = 80 ; web\r\n[Empty]\n"},
        Row{"remove_takes_all_values", {"remove", "f", "net", "port"}, 0, "", "",
            "top = 1\n[Net]\r\n; where it listens\r\n[Empty]\n"},
        Row{"remove_misses_the_value", {"remove", "f", "net", "port", "82"}, 1, "",
            "zk_settings: [net] has no port = 82\n"},
        Row{"remove_misses_the_key", {"remove", "f", "net", "host"}, 1, "", "zk_settings: [net] has no host\n"},
        Row{"output_leaves_the_file", {"--output", "o", "update", "f", "", "top", "2"}, 0, "", "", original,
            "top = 2\n[Net]\r\n; where it listens\r\nport = 80 ; web\r\nport = 81\r\n[Empty]\n"},
        Row{"append_to_a_missing_file", {"append", "g", "s", "k", "v"}, 2, "", "zk_settings: There is no file g\n"},
        Row{"unwritable_output", {"--output", "d/o", "update", "f", "", "top", "2"}, 2, "",
            "zk_settings: Unable to open d/o, with write permission\n"},
        Row{"full_disk", {"--output", "/dev/full", "update", "f", "", "top", "2"}, 2, "",
            "zk_settings: Error writing to /dev/full, file only partially written\n"}),
    rowName);

INSTANTIATE_TEST_SUITE_P(Usage, Settings,
    testing::Values(Row{"nothing", {}, 2, "", "zk_settings: A command is needed. See zk_settings --help.\n"},
        Row{"no_such_command", {"set", "f"}, 2, "", "zk_settings: There is no command set. See zk_settings --help.\n"},
        Row{"too_few_arguments", {"update", "f", "net", "port"}, 2, "",
            "zk_settings: Wrong number of arguments for update. See zk_settings --help.\n"},
        Row{"too_many_arguments", {"get", "f", "net", "port", "80"}, 2, "",
            "zk_settings: Wrong number of arguments for get. See zk_settings --help.\n"}),
    rowName);

TEST(SettingsWithoutALastLineEnd, get_a_line_of_its_own_for_what_is_added)
{
    const TempDir dir;
    writeFile(dir / "f", "[a]\nk=1");
    EXPECT_EQ(run({ZK_SETTINGS, "append", dir / "f", "a", "k", "2"}).status, 0);
    EXPECT_EQ(readFile(dir / "f"), "[a]\nk=1\nk = 2\n");

    writeFile(dir / "f", "[a]");
    EXPECT_EQ(run({ZK_SETTINGS, "--crlf", "update", dir / "f", "b", "k", "v"}).status, 0);
    EXPECT_EQ(readFile(dir / "f"), "[a]\r\n[b]\r\nk = v\r\n");
}

TEST(SettingsWithoutALastLineEnd, keep_it_so_when_a_key_goes)
{
    const TempDir dir;
    writeFile(dir / "f", "[a]\nk=1\nx=0");
    EXPECT_EQ(run({ZK_SETTINGS, "remove", dir / "f", "a", "k"}).status, 0);
    EXPECT_EQ(readFile(dir / "f"), "[a]\nx=0");
}

TEST(SettingsHelp, names_every_command_and_status)
{
    const Finished finished = run({ZK_SETTINGS, "--help"});
    EXPECT_EQ(finished.status, 0);
    for (const char* const text : {"get FILE", "append FILE", "prepend FILE", "update FILE", "remove FILE", "--output",
             "--crlf", "Exit status: 0 done, 1 no such key or value"})
        EXPECT_NE(finished.out.find(text), std::string::npos) << text;
}

TEST(SettingsHelp, unknown_option_is_a_usage_error)
{
    const Finished finished = run({ZK_SETTINGS, "--set"});
    EXPECT_EQ(finished.status, 2);
    EXPECT_NE(finished.err.find("See zk_settings --help."), std::string::npos) << finished.err;
}

} // namespace
