// Runs the package queries with the real tools on package databases that the tests create.
#include "osrelease/osrelease.h"

#include "commandline.h"
#include "support/files.h"
#include "support/process.h"
#include "support/rows.h"

#include <cstdlib>
#include <filesystem>

namespace {

COSRelease anyRelease()
{
    CommandLine line({"zk_install", "--distrib", "arch"});
    return {line.argc(), line.argv()};
}

class RealTool : public testing::Test
{
protected:
    void TearDown() override { setenv("PATH", savedPath.c_str(), 1); }

    static bool isThere(const std::string& tool) { return run({"sh", "-c", "command -v " + tool}).status == 0; }
    void hideEveryTool() { setenv("PATH", (dir / "nothing").c_str(), 1); }

    std::string savedPath = std::getenv("PATH");
    TempDir dir;
    COSRelease os = anyRelease();
};

class Dpkg : public RealTool
{
protected:
    void SetUp() override
    {
        if (!isThere("dpkg-query"))
            SKIP_OR_FAIL("dpkg-query is not installed");
        std::filesystem::create_directories(dir / "info");
        writeFile(dir / "info/format", "1\n");
        setenv("DPKG_ADMINDIR", dir.path().c_str(), 1);
        databaseIs("installed-package", "install ok installed");
    }
    void TearDown() override
    {
        unsetenv("DPKG_ADMINDIR");
        RealTool::TearDown();
    }

    void databaseIs(const std::string& package, const std::string& statusWords)
    {
        writeFile(dir / "status",
            "Package: " + package + "\nStatus: " + statusWords +
                "\nMaintainer: Nobody <nobody@example.org>\nArchitecture: all\nVersion: 1.0\nDescription: test\n");
    }
};

TEST_F(Dpkg, installed)
{
    EXPECT_TRUE(os.DebInstalled("installed-package"));
}

TEST_F(Dpkg, installed_and_held)
{
    databaseIs("held-package", "hold ok installed");
    EXPECT_TRUE(os.DebInstalled("held-package"));
}

TEST_F(Dpkg, unknown)
{
    EXPECT_FALSE(os.DebInstalled("unknown-package"));
}

TEST_F(Dpkg, removed_with_its_configuration_left)
{
    databaseIs("removed-package", "deinstall ok config-files");
    EXPECT_FALSE(os.DebInstalled("removed-package"));
}

TEST_F(Dpkg, half_installed)
{
    databaseIs("broken-package", "install reinstreq half-installed");
    EXPECT_FALSE(os.DebInstalled("broken-package"));
}

TEST_F(Dpkg, unpacked_but_not_configured)
{
    databaseIs("unpacked-package", "install ok unpacked");
    EXPECT_FALSE(os.DebInstalled("unpacked-package"));
}

TEST_F(Dpkg, tool_missing)
{
    hideEveryTool();
    EXPECT_FALSE(os.DebInstalled("installed-package"));
}

class Rpm : public RealTool
{
protected:
    void SetUp() override
    {
        if (!isThere("rpm") || !isThere("rpmbuild"))
            SKIP_OR_FAIL("rpm or rpmbuild is not installed");
        savedHome = std::getenv("HOME") ? std::getenv("HOME") : "/";
        setenv("HOME", dir.path().c_str(), 1);
        writeFile(dir / ".rpmmacros", "%_dbpath " + dir.path() + "/db\n%_topdir " + dir.path() + "/build\n");
        thenSucceeds({"rpm", "--initdb"});
    }
    void TearDown() override
    {
        if (!savedHome.empty())
            setenv("HOME", savedHome.c_str(), 1);
        RealTool::TearDown();
    }

    void install(const std::string& package)
    {
        writeFile(dir / "package.spec", "Name: " + package +
                                            "\nVersion: 1\nRelease: 1\nSummary: test\nLicense: none\nBuildArch: "
                                            "noarch\n%description\ntest\n%files\n");
        thenSucceeds({"rpmbuild", "-bb", "--quiet", dir / "package.spec"});
        thenSucceeds({"rpm", "-i", "--justdb", "--nodeps", "--force-debian", file(package)},
            {"rpm", "-i", "--justdb", "--nodeps", file(package)});
    }
    void remove(const std::string& package)
    {
        thenSucceeds({"rpm", "-e", "--justdb", "--nodeps", "--force-debian", package},
            {"rpm", "-e", "--justdb", "--nodeps", package});
    }

private:
    std::string file(const std::string& package) const
    {
        return dir / ("build/RPMS/noarch/" + package + "-1-1.noarch.rpm");
    }

    // Debian's rpm refuses to install without --force-debian; other builds do not have that option.
    static void thenSucceeds(const std::vector<std::string>& command, const std::vector<std::string>& otherwise = {})
    {
        Finished finished = run(command);
        if (finished.status != 0 && !otherwise.empty())
            finished = run(otherwise);
        ASSERT_EQ(finished.status, 0) << finished.err;
    }

    std::string savedHome;
};

TEST_F(Rpm, installed)
{
    install("zentrak-test");
    EXPECT_TRUE(os.RpmInstalled("zentrak-test"));
}

TEST_F(Rpm, unknown)
{
    install("zentrak-test");
    EXPECT_FALSE(os.RpmInstalled("unknown-package"));
}

TEST_F(Rpm, removed)
{
    install("zentrak-test");
    remove("zentrak-test");
    EXPECT_FALSE(os.RpmInstalled("zentrak-test"));
}

TEST_F(Rpm, tool_missing)
{
    install("zentrak-test");
    hideEveryTool();
    EXPECT_FALSE(os.RpmInstalled("zentrak-test"));
}

class Pacman : public RealTool
{
protected:
    // The path of the database is fixed when pacman is built, so a script adds the option for it.
    void SetUp() override
    {
        if (!isThere("pacman"))
            SKIP_OR_FAIL("pacman is not installed");
        std::filesystem::create_directories(dir / "db/local");
        writeFile(dir / "db/local/ALPM_DB_VERSION", "9\n");
        install("zentrak-test");

        std::filesystem::create_directory(dir / "bin");
        const std::string options = "--dbpath '" + (dir / "db") + "' \"$@\"";
        writeFile(dir / "bin/pacman", "#!/bin/sh\nPATH=${PATH#*:}\nexec pacman " + options + '\n');
        std::filesystem::permissions(dir / "bin/pacman", std::filesystem::perms::owner_all);
        setenv("PATH", ((dir / "bin:") + savedPath).c_str(), 1);
    }

    std::string entry(const std::string& package) const { return dir / ("db/local/" + package + "-1.0-1"); }
    void install(const std::string& package)
    {
        std::filesystem::create_directories(entry(package));
        writeFile(entry(package) + "/desc", "%NAME%\n" + package + "\n\n%VERSION%\n1.0-1\n\n%DESC%\ntest\n\n");
        writeFile(entry(package) + "/files", "%FILES%\n\n");
    }
};

TEST_F(Pacman, installed)
{
    EXPECT_TRUE(os.PacmanInstalled("zentrak-test"));
}

TEST_F(Pacman, unknown)
{
    EXPECT_FALSE(os.PacmanInstalled("unknown-package"));
}

TEST_F(Pacman, removed)
{
    std::filesystem::remove_all(entry("zentrak-test"));
    EXPECT_FALSE(os.PacmanInstalled("zentrak-test"));
}

TEST_F(Pacman, tool_missing)
{
    hideEveryTool();
    EXPECT_FALSE(os.PacmanInstalled("zentrak-test"));
}

} // namespace
