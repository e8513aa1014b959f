// Runs the example program with a chosen /etc, fake package tools and, for the prompt, a terminal.
#include "support/files.h"
#include "support/process.h"
#include "support/rows.h"
#include "texts.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <poll.h>
#include <pty.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

const std::string checking = "Checking the packages. If none is missing, nothing more is printed.\n\n";
const std::string program = ZK_INSTALL;

// Makes the program see a given /etc/os-release and given installed packages.
class Installer : public testing::Test
{
protected:
    void SetUp() override
    {
        std::filesystem::create_directories(dir / "etc");
        if (const Finished probe = run(isolated({"true"})); probe.status != 0)
            SKIP_OR_FAIL(probe.err);
        std::filesystem::create_directories(dir / "bin");
        // Each fake tool looks up the package in the list of installed ones and answers like the real tool.
        tool("rpm", "grep -qx -- \"$3\" \"$INSTALLED\"\n");
        tool("pacman", "grep -qx -- \"$2\" \"$INSTALLED\"\n");
        tool("dpkg-query", "grep -qx -- \"$3\" \"$INSTALLED\" && printf 'install ok installed'\n");
        givenInstalled("");
    }

    void givenOsRelease(const std::string& text) { writeFile(dir / "etc/os-release", text); }
    void givenInstalled(const std::string& packages) { writeFile(dir / "installed", packages); }

    // Returns the words that run a command with our /etc and tools, in a mount namespace of its own. An ordinary user
    // can mount only as root of a user namespace.
    std::vector<std::string> isolated(const std::vector<std::string>& command) const
    {
        std::vector<std::string> words = {"unshare", geteuid() == 0 ? "-m" : "-rm", "sh", "-c",
            "mount --bind \"$0\" /etc && exec env \"$@\"", dir / "etc", "PATH=" + dir.path() + "/bin:/usr/bin:/bin",
            "INSTALLED=" + dir.path() + "/installed"};
        words.insert(words.end(), command.begin(), command.end());
        return words;
    }

    void whenRun(std::vector<std::string> arguments = {}, const std::string& input = "\n")
    {
        arguments.insert(arguments.begin(), program);
        finished = run(isolated(arguments), {input, {}, {}});
    }

    void thenItPrints(int status, const std::string& out, const std::string& err = "")
    {
        EXPECT_EQ(finished.out, out);
        EXPECT_EQ(finished.err, err);
        EXPECT_EQ(finished.status, status);
    }

    TempDir dir;
    Finished finished;

private:
    void tool(const std::string& name, const std::string& script)
    {
        writeFile(dir / ("bin/" + name), "#!/bin/sh\n" + script);
        chmod((dir / ("bin/" + name)).c_str(), 0700);
    }
};

TEST_F(Installer, supported_release_with_packages_missing)
{
    givenOsRelease("ID=fedora\nVERSION_ID=43\nPRETTY_NAME=\"Fedora Linux 43\"\n");
    givenInstalled("libxcb\nxcb-util\n");
    whenRun();
    thenItPrints(0,
        "Linux release: Fedora Linux 43\nPackage family: RPM\n\n" + checking +
            "Please install the missing prerequisite RPMs needed by Zentrak...\n\n"
            "    sudo dnf install binutils libX11-xcb xcb-util-image xcb-util-renderutil xcb-util-cursor xcb-util-wm "
            "xcb-util-keysyms mesa-libGLU\n\n" +
            prompt);
}

TEST_F(Installer, supported_release_with_nothing_missing)
{
    givenOsRelease("ID=arch\nPRETTY_NAME=\"Arch Linux\"\n");
    givenInstalled("binutils\n");
    whenRun();
    thenItPrints(0, "Linux release: Arch Linux\nPackage family: Pacman\n\n" + checking);
}

TEST_F(Installer, refused_release_with_packages_missing)
{
    givenOsRelease("ID=debian\nVERSION_ID=12\nPRETTY_NAME=\"Debian GNU/Linux 12 (bookworm)\"\n");
    whenRun();
    thenItPrints(1, "Linux release: Debian GNU/Linux 12 (bookworm)\nPackage family: Debian\n\n"
                    "Zentrak'26 was not verified to run under \"Debian GNU/Linux 12 (bookworm)\" debian\n\n" +
                        verifiedReleases + "\n\n" + checking +
                        "Please install the missing prerequisite DEBs needed by Zentrak...\n\n"
                        "    sudo apt install binutils\n\n" +
                        prompt);
}

TEST_F(Installer, refused_release_with_nothing_missing)
{
    givenOsRelease("ID=fedora\nVERSION_ID=42\n");
    givenInstalled("binutils\n");
    whenRun();
    thenItPrints(1, "Linux release: fedora 42\nPackage family: RPM\n\nZentrak'26 requires Fedora 43 or later\n\n" +
                        verifiedReleases + "\n\n" + checking);
}

TEST_F(Installer, release_of_no_known_family)
{
    givenOsRelease("ID=gentoo\nVERSION_ID=2.15\n");
    whenRun();
    thenItPrints(1, "Linux release: gentoo 2.15\nPackage family: unknown\n\n"
                    "Zentrak'26 was not verified to run under \"gentoo\" 2.15\n\n" +
                        verifiedReleases +
                        "\n\nThe packages are not checked, because the package family is unknown.\n");
}

TEST_F(Installer, no_os_release_file)
{
    whenRun();
    thenItPrints(2, "", "zk_install: " + detectionFailed + "\n");
}

TEST_F(Installer, directory_instead_of_the_file)
{
    std::filesystem::create_directory(dir / "etc/os-release");
    whenRun();
    thenItPrints(2, "", "zk_install: " + detectionFailed + "\n");
}

const std::string badVersion = "zk_install: the VERSION_ID in /etc/os-release is not a version number; "
                               "name the distribution with --distrib\n";

TEST_F(Installer, version_that_is_not_a_number)
{
    givenOsRelease("ID=x\nVERSION_ID=rolling\n");
    whenRun();
    thenItPrints(2, "", badVersion);
}

TEST_F(Installer, version_above_32_bits)
{
    givenOsRelease("ID=x\nVERSION_ID=99999999999\n");
    whenRun();
    thenItPrints(2, "", badVersion);
}

TEST_F(Installer, overridden_release)
{
    givenOsRelease("ID=x\nVERSION_ID=rolling\n");
    whenRun({"--distrib", "suse"});
    thenItPrints(0, "Linux release: sles 16.0\nPackage family: SUSE\n\n" + checking +
                        "Please install the missing prerequisite RPMs needed by Zentrak...\n\n"
                        "    sudo zypper install binutils libgthread-2_0-0\n\n" +
                        prompt);
}

TEST_F(Installer, verbose_traces_the_detection_once)
{
    givenOsRelease("ID=arch\nPRETTY_NAME=\"Arch Linux\"\n");
    givenInstalled("binutils\n");
    whenRun({"--verbose"});
    thenItPrints(0, "Linux release: Arch Linux\nPackage family: Pacman\n\n" + checking, "arch|(0.0.0)\nArch Linux\n");
}

struct Misuse
{
    const char* name;
    std::vector<std::string> arguments;
    std::string message;
};

class Misused : public Installer, public testing::WithParamInterface<Misuse>
{
};

TEST_P(Misused, prints_a_message_and_checks_nothing)
{
    givenOsRelease("ID=arch\n");
    whenRun(GetParam().arguments);
    thenItPrints(2, "", "zk_install: " + GetParam().message + "\n");
}

INSTANTIATE_TEST_SUITE_P(ZkInstall, Misused,
    testing::Values(Misuse{"missing_name", {"--distrib"}, "Missing distribution\n\n" + usage},
        Misuse{"unknown_name", {"--distrib", "beos"}, "Unknown distribution \"beos\"\n\n" + usage},
        Misuse{"name_joined_by_an_equals_sign", {"--distrib=rhel"},
            "unexpected argument '--distrib=rhel'; see zk_install --help"},
        Misuse{"joined_name_after_a_good_one", {"--distrib", "arch", "--distrib=rhel"},
            "unexpected argument '--distrib=rhel'; see zk_install --help"},
        Misuse{"equals_sign_without_a_name", {"--distrib="}, "unexpected argument '--distrib='; see zk_install --help"},
        Misuse{"option_as_name", {"--distrib", "--help"}, "Unknown distribution \"--help\"\n\n" + usage},
        Misuse{"unknown_option", {"-x"}, "unexpected argument '-x'; see zk_install --help"},
        Misuse{"unexpected_argument", {"rhel"}, "unexpected argument 'rhel'; see zk_install --help"},
        Misuse{"name_after_the_end_of_options", {"--", "--distrib", "rhel"},
            "unexpected argument '--'; see zk_install --help"}),
    rowName);

TEST_F(Installer, help_names_every_option_and_exit_status)
{
    for (const char* const option : {"--help", "-h"}) {
        whenRun({option});
        EXPECT_EQ(finished.status, 0);
        for (const char* const part :
            {"--help", "--distrib NAME", "--verbose", "0 the release is supported", "1 it is not", "2 everything else"})
            EXPECT_NE(finished.out.find(part), std::string::npos) << part;
    }
}

TEST_F(Installer, full_standard_output)
{
    givenOsRelease("ID=arch\n");
    givenInstalled("binutils\n");
    finished = run(isolated({"sh", "-c", "\"$0\" >/dev/full", program}));
    thenItPrints(2, "", "zk_install: standard output: cannot write\n");
}

TEST_F(Installer, end_of_input_at_the_prompt)
{
    givenOsRelease("ID=ubuntu\nVERSION_ID=24.04\n");
    whenRun({}, "");
    EXPECT_EQ(finished.status, 0);
    EXPECT_EQ(finished.out.substr(finished.out.size() - prompt.size()), prompt);
}

// Reads from and writes to the program while it runs.
class Conversation : public Installer
{
protected:
    void TearDown() override
    {
        if (child > 0) {
            kill(child, SIGKILL);
            waitpid(child, nullptr, 0);
        }
        for (const int descriptor : {input, output})
            if (descriptor >= 0)
                close(descriptor);
        Installer::TearDown();
    }

    void startAtATerminal()
    {
        child = forkpty(&output, nullptr, nullptr, nullptr);
        if (child == 0)
            become();
        ASSERT_GT(child, 0) << "no pseudo-terminal: " << std::strerror(errno);
        input = dup(output);
    }

    void startBetweenPipes()
    {
        int toChild[2];
        int fromChild[2];
        ASSERT_EQ(pipe(toChild), 0);
        ASSERT_EQ(pipe(fromChild), 0);
        child = fork();
        if (child == 0) {
            dup2(toChild[0], STDIN_FILENO);
            dup2(fromChild[1], STDOUT_FILENO);
            close(toChild[1]);
            close(fromChild[0]);
            become();
        }
        close(toChild[0]);
        close(fromChild[1]);
        input = toChild[1];
        output = fromChild[0];
    }

    // Reads until the prompt has arrived or there was no output for ten seconds.
    void thenThePromptIsShownBeforeAnythingIsTyped()
    {
        std::string said;
        pollfd ready = {output, POLLIN, 0};
        while (said.find(prompt) == std::string::npos && poll(&ready, 1, 10'000) > 0) {
            char buffer[4096];
            const ssize_t count = read(output, buffer, sizeof buffer);
            if (count <= 0)
                break;
            said.append(buffer, static_cast<std::size_t>(count));
        }
        EXPECT_NE(said.find("sudo apt install binutils"), std::string::npos) << said;
        ASSERT_NE(said.find(prompt), std::string::npos) << said;
        EXPECT_EQ(waitpid(child, nullptr, WNOHANG), 0) << "it did not wait";
    }

    void thenItEndsAfter(const std::string& typed)
    {
        ASSERT_EQ(write(input, typed.data(), typed.size()), static_cast<ssize_t>(typed.size()));
        int status = -1;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        child = -1;
        EXPECT_TRUE(WIFEXITED(status));
        EXPECT_EQ(WEXITSTATUS(status), 0);
    }

private:
    [[noreturn]] void become() const { execute(isolated({program, "--distrib", "ubuntu"})); }

    pid_t child = -1;
    int input = -1;
    int output = -1;
};

TEST_F(Conversation, at_a_terminal)
{
    startAtATerminal();
    thenThePromptIsShownBeforeAnythingIsTyped();
    thenItEndsAfter("\n");
}

TEST_F(Conversation, at_a_terminal_with_a_long_line)
{
    startAtATerminal();
    thenThePromptIsShownBeforeAnythingIsTyped();
    thenItEndsAfter(std::string(300, 'x') + "\n");
}

TEST_F(Conversation, at_a_terminal_that_ends_the_input)
{
    startAtATerminal();
    thenThePromptIsShownBeforeAnythingIsTyped();
    thenItEndsAfter("\x04");
}

TEST_F(Conversation, between_pipes)
{
    startBetweenPipes();
    thenThePromptIsShownBeforeAnythingIsTyped();
    thenItEndsAfter("\n");
}

} // namespace
