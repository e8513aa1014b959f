// The example as a user meets it: with a chosen /etc, with stand-ins for the package tools, at a terminal.
#include "support/files.h"
#include "support/mounts.h"
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

const std::string prompt = "After installing prerequisites [Press \"Enter\" key to continue]";
const std::string program = ZK_INSTALL;

// A machine with the given /etc/os-release and packages, as far as the installer can see.
class Installer : public testing::Test
{
protected:
    void SetUp() override
    {
        const std::string reason = makeMountsPrivate();
        if (!reason.empty())
            SKIP_OR_FAIL(reason);
        std::filesystem::create_directories(dir / "etc");
        std::filesystem::create_directories(dir / "bin");
        // Each tool in its family's way says whether the package is named in the list of installed ones.
        tool("rpm", "grep -qx -- \"$3\" \"$INSTALLED\"\n");
        tool("pacman", "grep -qx -- \"$2\" \"$INSTALLED\"\n");
        tool("dpkg-query", "grep -qx -- \"$3\" \"$INSTALLED\" && printf 'install ok installed'\n");
        givenInstalled("");
        setenv("PATH", (dir / "bin:/usr/bin:/bin").c_str(), 1);
        setenv("INSTALLED", (dir / "installed").c_str(), 1);
    }
    void TearDown() override { run({"umount", "-l", "/etc"}); }

    void givenOsRelease(const std::string& text)
    {
        writeFile(dir / "etc/os-release", text);
        givenNoOsRelease();
    }
    void givenNoOsRelease() { mountOver("/etc", dir / "etc"); }
    void givenInstalled(const std::string& packages) { writeFile(dir / "installed", packages); }

    void whenRun(std::vector<std::string> arguments = {}, const std::string& input = "\n")
    {
        arguments.insert(arguments.begin(), program);
        finished = run(arguments, {input, {}, {}});
    }

    void thenItSays(int status, const std::string& out, const std::string& err = "")
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
    thenItSays(
        0, "Linux release: Fedora Linux 43\nPackage family: RPM\n\n"
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
    thenItSays(0, "Linux release: Arch Linux\nPackage family: Pacman\n\n");
}

TEST_F(Installer, refused_release_is_checked_all_the_same)
{
    givenOsRelease("ID=debian\nVERSION_ID=12\nPRETTY_NAME=\"Debian GNU/Linux 12 (bookworm)\"\n");
    whenRun();
    thenItSays(2, "Linux release: Debian GNU/Linux 12 (bookworm)\nPackage family: Debian\n\n"
                  "Zentrak'26 was not verified to run under \"Debian GNU/Linux 12 (bookworm)\" debian\n\n" +
                      verifiedReleases +
                      "\n\n"
                      "Please install the missing prerequisite DEBs needed by Zentrak...\n\n"
                      "    sudo apt install binutils\n\n" +
                      prompt);
}

TEST_F(Installer, release_of_no_known_family)
{
    givenOsRelease("ID=gentoo\nVERSION_ID=2.15\n");
    whenRun();
    thenItSays(2, "Linux release: gentoo 2.15\nPackage family: unknown\n\n"
                  "Zentrak'26 was not verified to run under \"gentoo\" 2.15\n\n" +
                      verifiedReleases + "\n\n");
}

TEST_F(Installer, no_os_release_file)
{
    givenNoOsRelease();
    whenRun();
    thenItSays(1, "", detectionFailed + "\n");
}

TEST_F(Installer, directory_instead_of_the_file)
{
    std::filesystem::create_directory(dir / "etc/os-release");
    givenNoOsRelease();
    whenRun();
    thenItSays(1, "", detectionFailed + "\n");
}

TEST_F(Installer, version_that_is_no_number)
{
    givenOsRelease("ID=x\nVERSION_ID=rolling\n");
    whenRun();
    thenItSays(1, "",
        "The VERSION_ID in /etc/os-release is not a version number.\n"
        "Name the distribution with --distrib instead.\n");
}

TEST_F(Installer, version_outside_32_bits)
{
    givenOsRelease("ID=x\nVERSION_ID=99999999999\n");
    whenRun();
    EXPECT_EQ(finished.status, 1);
    EXPECT_EQ(finished.out, "");
}

TEST_F(Installer, overridden_release)
{
    givenOsRelease("ID=x\nVERSION_ID=rolling\n");
    whenRun({"--distrib", "suse"});
    thenItSays(0, "Linux release: sles 16.0\nPackage family: SUSE\n\n"
                  "Please install the missing prerequisite RPMs needed by Zentrak...\n\n"
                  "    sudo zypper install binutils libgthread-2_0-0\n\n" +
                      prompt);
}

TEST_F(Installer, missing_name)
{
    whenRun({"--distrib"});
    thenItSays(1, "", "Missing distribution\n\n" + usage + "\n");
}

TEST_F(Installer, unknown_name)
{
    whenRun({"--distrib", "beos"});
    thenItSays(1, "", "Unknown distribution \"beos\"\n\n" + usage + "\n");
}

TEST_F(Installer, name_joined_by_an_equals_sign_is_not_recognised)
{
    givenOsRelease("ID=arch\n");
    givenInstalled("binutils\n");
    whenRun({"--distrib=rhel"});
    thenItSays(0, "Linux release: arch \nPackage family: Pacman\n\n");
}

TEST_F(Installer, verbose_traces_each_detection)
{
    givenOsRelease("ID=arch\nPRETTY_NAME=\"Arch Linux\"\n");
    givenInstalled("binutils\n");
    whenRun({"--verbose"});
    thenItSays(0, "Linux release: Arch Linux\nPackage family: Pacman\n\n",
        "arch|(0.0.0)\nArch Linux\narch|(0.0.0)\nArch Linux\n");
}

TEST_F(Installer, unknown_option)
{
    whenRun({"-x"});
    thenItSays(1, "", "Unknown option 'x'.\n");
}

TEST_F(Installer, unexpected_argument)
{
    whenRun({"rhel"});
    thenItSays(1, "", "Unexpected argument 'rhel'.\n");
}

TEST_F(Installer, help_names_every_option)
{
    whenRun({"--help"});
    EXPECT_EQ(finished.status, 0);
    for (const char* const option : {"--help", "--distrib <name>", "--verbose"})
        EXPECT_NE(finished.out.find(option), std::string::npos) << option;
}

TEST_F(Installer, end_of_input_at_the_prompt)
{
    givenOsRelease("ID=ubuntu\nVERSION_ID=24.04\n");
    whenRun({}, "");
    EXPECT_EQ(finished.status, 0);
    EXPECT_EQ(finished.out.substr(finished.out.size() - prompt.size()), prompt);
}

// The program in a conversation: started, read and written to while it runs.
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

    // Reads until the prompt stands, or nothing has come for ten seconds.
    void thenThePromptStandsBeforeAnythingIsTyped()
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
    [[noreturn]] static void become()
    {
        execl(program.c_str(), program.c_str(), "--distrib", "ubuntu", nullptr);
        _exit(127);
    }

    pid_t child = -1;
    int input = -1;
    int output = -1;
};

TEST_F(Conversation, at_a_terminal)
{
    startAtATerminal();
    thenThePromptStandsBeforeAnythingIsTyped();
    thenItEndsAfter("\n");
}

TEST_F(Conversation, at_a_terminal_with_a_long_line)
{
    startAtATerminal();
    thenThePromptStandsBeforeAnythingIsTyped();
    thenItEndsAfter(std::string(300, 'x') + "\n");
}

TEST_F(Conversation, at_a_terminal_that_ends_the_input)
{
    startAtATerminal();
    thenThePromptStandsBeforeAnythingIsTyped();
    thenItEndsAfter("\x04");
}

TEST_F(Conversation, between_pipes)
{
    startBetweenPipes();
    thenThePromptStandsBeforeAnythingIsTyped();
    thenItEndsAfter("\n");
}

} // namespace
