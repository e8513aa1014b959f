#include "osrelease/osrelease.h"

#include "commandline.h"
#include "fakes.h"
#include "fields.h"
#include "support/capture.h"
#include "support/files.h"
#include "support/rows.h"

#include <cstdlib>
#include <sys/stat.h>
#include <type_traits>
#include <unistd.h>

namespace {

using Query = bool (COSRelease::*)(std::string const&);
static_assert(std::is_same_v<decltype(&COSRelease::RpmInstalled), Query>);
static_assert(std::is_same_v<decltype(&COSRelease::DebInstalled), Query>);
static_assert(std::is_same_v<decltype(&COSRelease::PacmanInstalled), Query>);

COSRelease anyRelease()
{
    CommandLine line({"zk_install", "--distrib", "arch"});
    return {line.argc(), line.argv()};
}

struct Tool
{
    const char* name;
    Query installed;
    std::string commandForBinutils;
};

const Tool tools[] = {
    {"rpm", &COSRelease::RpmInstalled, "rpm -q --quiet binutils >/dev/null 2>&1"},
    {"dpkg", &COSRelease::DebInstalled, "dpkg-query -W -f='${Status}' binutils 2>/dev/null | grep -q 'ok installed'"},
    {"pacman", &COSRelease::PacmanInstalled, "pacman -Qiq binutils >/dev/null 2>&1"},
};

class PackageQuery : public testing::TestWithParam<Tool>
{
protected:
    void TearDown() override { fakes::reset(); }

    bool answerTo(int waitStatus)
    {
        fakes::shell([=](const std::string&) { return waitStatus; });
        return (os.*GetParam().installed)("binutils");
    }

    COSRelease os = anyRelease();
};

TEST_P(PackageQuery, runs_one_command_line)
{
    EXPECT_TRUE(answerTo(0));
    EXPECT_EQ(fakes::commands(), std::vector<std::string>{GetParam().commandForBinutils});
}

TEST_P(PackageQuery, runs_the_tool_on_every_call)
{
    fakes::shell([](const std::string&) { return 0; });
    (os.*GetParam().installed)("binutils");
    (os.*GetParam().installed)("binutils");
    EXPECT_EQ(fakes::commands().size(), 2U);
}

TEST_P(PackageQuery, does_not_quote_the_name)
{
    fakes::shell([](const std::string&) { return 0; });
    (os.*GetParam().installed)("two words; $x");
    std::string expected = GetParam().commandForBinutils;
    expected.replace(expected.find("binutils"), 8, "two words; $x");
    EXPECT_EQ(fakes::commands(), std::vector<std::string>{expected});
}

TEST_P(PackageQuery, reads_and_changes_no_field)
{
    os.m_verifiedReleases = "releases";
    os.m_error = "error";
    os.m_id = "suse";
    os.m_idLike = "debian";
    os.m_versionId = "1.2.3";
    os.m_prettyName = "name";
    os.m_major = 4;
    os.m_minor = 5;
    os.m_patch = 6;
    const auto before = fieldsOf(os);
    EXPECT_TRUE(answerTo(0));
    EXPECT_EQ(fakes::commands(), std::vector<std::string>{GetParam().commandForBinutils});
    EXPECT_FALSE(answerTo(256));
    EXPECT_EQ(fieldsOf(os), before);
}

TEST_P(PackageQuery, every_exit_status_but_zero_means_absent)
{
    EXPECT_TRUE(answerTo(0));
    for (int status = 1; status < 256; ++status)
        EXPECT_FALSE(answerTo(status << 8)) << "exit status " << status;
}

TEST_P(PackageQuery, signal_means_installed)
{
    for (int signal = 1; signal < 128; ++signal) {
        EXPECT_TRUE(answerTo(signal)) << "signal " << signal;
        EXPECT_TRUE(answerTo(signal | 0x80)) << "signal " << signal << " with a core";
    }
}

TEST_P(PackageQuery, missing_shell_means_absent)
{
    EXPECT_FALSE(answerTo(-1));
}

TEST_P(PackageQuery, bits_above_the_status_do_not_count)
{
    EXPECT_TRUE(answerTo(0x10000));
}

INSTANTIATE_TEST_SUITE_P(Tools, PackageQuery, testing::ValuesIn(tools), rowName);

// Runs the real shell, with fake tools on the path that record how they were called.
class QueryThroughTheShell : public testing::Test
{
protected:
    void SetUp() override
    {
        setenv("PATH", (dir.path() + ":/usr/bin:/bin").c_str(), 1);
        setenv("CALLS", (dir / "calls").c_str(), 1);
    }
    void TearDown() override { setenv("PATH", savedPath.c_str(), 1); }

    void toolIs(const char* tool, const std::string& script)
    {
        const std::string path = dir / tool;
        writeFile(
            path, "#!/bin/sh\n{ printf '%s' \"${0##*/}\"; printf ' [%s]' \"$@\"; echo; } >>\"$CALLS\"\n" + script);
        chmod(path.c_str(), 0700);
    }
    std::string calls() const { return readFile(dir / "calls"); }

    std::string savedPath = std::getenv("PATH");
    TempDir dir;
    COSRelease os = anyRelease();
};

TEST_F(QueryThroughTheShell, rpm_is_called_once_with_these_arguments)
{
    toolIs("rpm", "exit 0\n");
    EXPECT_TRUE(os.RpmInstalled("binutils"));
    EXPECT_EQ(calls(), "rpm [-q] [--quiet] [binutils]\n");
}

TEST_F(QueryThroughTheShell, dpkg_query_is_called_once_with_these_arguments)
{
    toolIs("dpkg-query", "printf 'install ok installed'\n");
    EXPECT_TRUE(os.DebInstalled("binutils"));
    EXPECT_EQ(calls(), "dpkg-query [-W] [-f=${Status}] [binutils]\n");
}

TEST_F(QueryThroughTheShell, pacman_is_called_once_with_these_arguments)
{
    toolIs("pacman", "exit 0\n");
    EXPECT_TRUE(os.PacmanInstalled("binutils"));
    EXPECT_EQ(calls(), "pacman [-Qiq] [binutils]\n");
}

TEST_F(QueryThroughTheShell, dpkg_status_words_decide_whatever_the_exit_status)
{
    toolIs("dpkg-query", "printf 'install ok installed'; exit 1\n");
    EXPECT_TRUE(os.DebInstalled("binutils"));
    toolIs("dpkg-query", "printf 'deinstall ok config-files'; exit 0\n");
    EXPECT_FALSE(os.DebInstalled("binutils"));
    toolIs("dpkg-query", "printf 'install ok half-installed'; exit 0\n");
    EXPECT_FALSE(os.DebInstalled("binutils"));
}

TEST_F(QueryThroughTheShell, shell_ended_by_a_signal_means_installed)
{
    // The shell expands the name, so a name can make the shell kill itself.
    const std::string name = "x; kill -KILL $$ #";
    EXPECT_TRUE(os.RpmInstalled(name));
    EXPECT_TRUE(os.DebInstalled(name));
    EXPECT_TRUE(os.PacmanInstalled(name));
}

TEST_F(QueryThroughTheShell, dpkg_query_ended_by_a_signal_means_absent)
{
    toolIs("dpkg-query", "kill -KILL $$\n");
    EXPECT_FALSE(os.DebInstalled("binutils"));
}

TEST_F(QueryThroughTheShell, missing_tool_means_absent)
{
    setenv("PATH", dir.path().c_str(), 1);
    EXPECT_FALSE(os.RpmInstalled("binutils"));
    EXPECT_FALSE(os.DebInstalled("binutils"));
    EXPECT_FALSE(os.PacmanInstalled("binutils"));
}

TEST_F(QueryThroughTheShell, output_of_the_tools_is_discarded)
{
    const std::string noise = "echo loud; echo loud >&2; exit 1\n";
    for (const char* const tool : {"rpm", "dpkg-query", "pacman"})
        toolIs(tool, noise);
    std::string errors;
    const std::string output = captured(STDOUT_FILENO, [&] {
        errors = captured(STDERR_FILENO, [&] {
            os.RpmInstalled("binutils");
            os.DebInstalled("binutils");
            os.PacmanInstalled("binutils");
        });
    });
    EXPECT_EQ(output, "");
    EXPECT_EQ(errors, "");
}

} // namespace
