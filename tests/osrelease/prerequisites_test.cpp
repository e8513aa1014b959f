#include "osrelease/osrelease.h"

#include "commandline.h"
#include "fakes.h"
#include "support/capture.h"
#include "support/files.h"
#include "support/rows.h"
#include "texts.h"

#include <algorithm>
#include <cstdio>
#include <dlfcn.h>
#include <fcntl.h>
#include <type_traits>
#include <unistd.h>

namespace {

COSRelease* newestRelease = nullptr;

} // namespace

// Replaces the constructor: the dynamic linker gives this definition to the library.
extern "C" void _ZN10COSReleaseC1EiPPc(COSRelease* object, int argc, char** argv)
{
    using Constructor = void(COSRelease*, int, char**);
    static auto* const real = reinterpret_cast<Constructor*>(dlsym(RTLD_NEXT, "_ZN10COSReleaseC1EiPPc"));
    newestRelease = object;
    real(object, argc, argv);
}

namespace {

static_assert(std::is_same_v<decltype(&COSRelease::CheckPrerequisites), void (*)(int, char**)>);

using Words = std::vector<std::string>;

// The commands, packages and texts of one family, written out by hand.
struct Family
{
    const char* override;
    std::string queryHead;
    std::string queryTail;
    Words base;
    Words display;
    Words glu;
    std::string heading;
    std::string install;
};

const Family rpm = {"rhel", "rpm -q --quiet ", " >/dev/null 2>&1", {"binutils"},
    {"libxcb", "libX11-xcb", "xcb-util", "xcb-util-image", "xcb-util-renderutil", "xcb-util-cursor", "xcb-util-wm",
        "xcb-util-keysyms"},
    {"mesa-libGLU"}, "Please install the missing prerequisite RPMs needed by Zentrak...\n", "    sudo dnf install "};

const Family suse = {"suse", "rpm -q --quiet ", " >/dev/null 2>&1", {"binutils", "libgthread-2_0-0"},
    {"libxcb1", "libX11-xcb1", "libxcb-util1", "libxcb-cursor0", "libxcb-icccm4", "libxcb-shape0", "libxcb-image0",
        "libxcb-keysyms1", "libxcb-render-util0", "libxcb-xinerama0", "libxcb-xkb1", "libxkbcommon-x11-0"},
    {"libGLU1"}, "Please install the missing prerequisite RPMs needed by Zentrak...\n", "    sudo zypper install "};

const Family debian = {"debian", "dpkg-query -W -f='${Status}' ", " 2>/dev/null | grep -q 'ok installed'", {"binutils"},
    {"libxcb1", "libx11-xcb1", "libxcb-util1", "libxcb-cursor0", "libxcb-icccm4", "libxcb-image0", "libxcb-keysyms1",
        "libxcb-render-util0", "libxcb-xinerama0", "libxcb-xkb1", "libxkbcommon-x11-0"},
    {"libglu1-mesa"}, "Please install the missing prerequisite DEBs needed by Zentrak...\n", "    sudo apt install "};

const Family pacman = {"arch", "pacman -Qiq ", " >/dev/null 2>&1", {"binutils"},
    {"libxcb", "xcb-util", "xcb-util-cursor", "xcb-util-image", "xcb-util-renderutil", "xcb-util-wm",
        "xcb-util-keysyms", "xcb-proto"},
    {"glu"}, "Please install the missing prerequisite Pacmans needed by Zentrak...\n", "    sudo pacman -S "};

Words operator+(Words list, const Words& more)
{
    list.insert(list.end(), more.begin(), more.end());
    return list;
}

class Prerequisites : public testing::Test
{
protected:
    void TearDown() override { fakes::reset(); }

    // Runs the check with these packages installed and the given text on standard input.
    void check(const Family& family, const Words& installed, const std::string& input = "\n")
    {
        fakes::shell([&](const std::string& command) {
            const std::string package = packageOf(family, command);
            return std::count(installed.begin(), installed.end(), package) ? 0 : 1 << 8;
        });
        CommandLine line({"zk_install", "--distrib", family.override});
        runCheck(line, input);
    }

    void checkDetected(const std::string& osRelease)
    {
        fakes::osRelease(osRelease);
        fakes::shell([](const std::string&) { return 1 << 8; });
        CommandLine line;
        runCheck(line, "\n");
    }

    void thenOutputIs(const std::string& expected) const { EXPECT_EQ(m_output, expected); }
    void thenQueried(const Family& family, const Words& packages) const
    {
        Words expected;
        for (const std::string& package : packages)
            expected.push_back(family.queryHead + package + family.queryTail);
        EXPECT_EQ(fakes::commands(), expected);
    }
    const std::string& inputLeft() const { return m_inputLeft; }
    const std::string& errors() const { return m_errors; }

    static std::string request(const Family& family, const std::string& missing)
    {
        return family.heading + "\n" + family.install + missing + "\n" + "\n" + prompt;
    }

private:
    static std::string packageOf(const Family& family, const std::string& command)
    {
        EXPECT_EQ(command.compare(0, family.queryHead.size(), family.queryHead), 0) << command;
        const std::size_t end = command.size() - family.queryTail.size();
        EXPECT_EQ(command.substr(end), family.queryTail) << command;
        return command.substr(family.queryHead.size(), end - family.queryHead.size());
    }

    void runCheck(CommandLine& line, const std::string& input)
    {
        const TempDir dir;
        writeFile(dir / "input", input);
        withDescriptor(STDIN_FILENO, (dir / "input").c_str(), O_RDONLY, [&] {
            m_errors = captured(STDERR_FILENO, [&] {
                m_output = captured(STDOUT_FILENO, [&] { COSRelease::CheckPrerequisites(line.argc(), line.argv()); });
            });
            m_inputLeft.clear();
            for (int c = std::fgetc(stdin); c != EOF; c = std::fgetc(stdin))
                m_inputLeft += static_cast<char>(c);
        });
    }

    std::string m_output;
    std::string m_errors;
    std::string m_inputLeft;
};

TEST_F(Prerequisites, unknown_family_queries_and_prints_nothing)
{
    checkDetected("ID=gentoo\nVERSION_ID=2\n");
    thenOutputIs("");
    EXPECT_TRUE(fakes::commands().empty());
    EXPECT_EQ(inputLeft(), "\n");
}

TEST_F(Prerequisites, unknown_release_prints_nothing)
{
    checkDetected("");
    thenOutputIs("");
    EXPECT_EQ(errors(), "");
    EXPECT_TRUE(fakes::commands().empty());
}

TEST_F(Prerequisites, rejected_override_prints_nothing)
{
    fakes::shell([](const std::string&) { return 1 << 8; });
    CommandLine line({"zk_install", "--distrib", "beos"});
    EXPECT_EQ(captured(STDOUT_FILENO, [&] { COSRelease::CheckPrerequisites(line.argc(), line.argv()); }), "");
    EXPECT_TRUE(fakes::commands().empty());
}

TEST_F(Prerequisites, unsupported_release_is_checked_too)
{
    checkDetected("ID=debian\nVERSION_ID=8\n");
    thenOutputIs(request(debian, "binutils"));
}

TEST_F(Prerequisites, release_like_rpm_and_debian_is_checked_as_rpm)
{
    checkDetected("ID=x\nID_LIKE=\"debian fedora\"\n");
    thenOutputIs(request(rpm, "binutils"));
    thenQueried(rpm, rpm.base + rpm.display);
}

TEST_F(Prerequisites, release_like_suse_is_checked_as_suse)
{
    checkDetected("ID=x\nID_LIKE=suse\n");
    thenOutputIs(request(suse, "binutils libgthread-2_0-0"));
}

TEST_F(Prerequisites, release_like_debian_and_arch_is_checked_as_debian)
{
    checkDetected("ID=archdebian\n");
    thenOutputIs(request(debian, "binutils"));
}

TEST_F(Prerequisites, version_does_not_matter)
{
    checkDetected("ID=fedora\nVERSION_ID=1\n");
    thenOutputIs(request(rpm, "binutils"));
    checkDetected("ID=fedora\nVERSION_ID=99\n");
    thenOutputIs(request(rpm, "binutils"));
}

TEST_F(Prerequisites, version_that_is_not_a_number_throws_before_any_query)
{
    EXPECT_THROW(checkDetected("ID=fedora\nVERSION_ID=rolling\n"), std::invalid_argument);
    EXPECT_TRUE(fakes::commands().empty());
}

TEST_F(Prerequisites, second_check_repeats_everything)
{
    check(debian, {});
    const std::vector<std::string> first = fakes::commands();
    check(debian, {});
    EXPECT_EQ(fakes::commands(), first);
    thenOutputIs(request(debian, "binutils"));
}

TEST_F(Prerequisites, second_check_detects_again)
{
    checkDetected("ID=fedora\nVERSION_ID=43\n");
    thenOutputIs(request(rpm, "binutils"));
    checkDetected("ID=ubuntu\nVERSION_ID=24.04\n");
    thenOutputIs(request(debian, "binutils"));
}

TEST_F(Prerequisites, release_stays_on_the_heap)
{
    checkDetected("ID=fedora\nVERSION_ID=43\n");
    // The first and the last member that is set. A freed block would have other bytes there.
    EXPECT_EQ(newestRelease->m_verifiedReleases.size(), 544U);
    EXPECT_EQ(newestRelease->m_major, 43);
}

TEST_F(Prerequisites, nothing_is_queried_after_the_wait)
{
    check(debian, {});
    thenQueried(debian, debian.base + debian.display);
}

TEST_F(Prerequisites, end_of_input_ends_the_wait)
{
    check(debian, {}, "");
    thenOutputIs(request(debian, "binutils"));
}

TEST_F(Prerequisites, wait_takes_one_line)
{
    check(debian, {}, "first\nsecond\n");
    EXPECT_EQ(inputLeft(), "second\n");
}

TEST_F(Prerequisites, wait_takes_at_most_255_characters)
{
    check(debian, {}, std::string(300, 'x') + "\n");
    EXPECT_EQ(inputLeft(), std::string(45, 'x') + "\n");
}

TEST_F(Prerequisites, line_of_255_characters_leaves_its_end)
{
    check(debian, {}, std::string(255, 'x') + "\n");
    EXPECT_EQ(inputLeft(), "\n");
}

TEST_F(Prerequisites, nothing_missing_reads_nothing)
{
    check(debian, debian.base + debian.display + debian.glu, "line\n");
    thenOutputIs("");
    EXPECT_EQ(inputLeft(), "line\n");
}

// The installed packages and what is printed then.
struct Situation
{
    const char* name;
    const Family* family;
    Words installed;
    std::string missing; // if empty, nothing is printed
    bool gluIsQueried;
};

class PrerequisitesOf : public Prerequisites, public testing::WithParamInterface<Situation>
{
};

TEST_P(PrerequisitesOf, installed_packages)
{
    const Family& family = *GetParam().family;
    check(family, GetParam().installed);

    const std::string& missing = GetParam().missing;
    thenOutputIs(missing.empty() ? "" : request(family, missing));
    thenQueried(family, family.base + family.display + (GetParam().gluIsQueried ? family.glu : Words{}));
    EXPECT_EQ(errors(), "");
    EXPECT_EQ(inputLeft(), missing.empty() ? "\n" : "");
}

INSTANTIATE_TEST_SUITE_P(Rpm, PrerequisitesOf,
    testing::Values(Situation{"nothing_installed", &rpm, {}, "binutils", false},
        Situation{"everything_installed", &rpm, rpm.base + rpm.display + rpm.glu, "", true},
        Situation{"base_alone_installed", &rpm, rpm.base, "", false},
        Situation{"display_alone_installed", &rpm, rpm.display, "binutils mesa-libGLU", true},
        Situation{"glu_alone_installed", &rpm, rpm.glu, "binutils", false},
        Situation{"base_missing", &rpm, rpm.display + rpm.glu, "binutils", true},
        Situation{"display_missing", &rpm, rpm.base + rpm.glu, "", false},
        Situation{"glu_missing", &rpm, rpm.base + rpm.display, "mesa-libGLU", true},
        Situation{"one_of_each_list_missing", &rpm,
            {"libxcb", "libX11-xcb", "xcb-util", "xcb-util-image", "xcb-util-renderutil", "xcb-util-cursor",
                "xcb-util-keysyms"},
            "binutils xcb-util-wm mesa-libGLU", true},
        Situation{"first_display_package_alone", &rpm, {"libxcb"},
            "binutils libX11-xcb xcb-util xcb-util-image xcb-util-renderutil xcb-util-cursor xcb-util-wm "
            "xcb-util-keysyms mesa-libGLU",
            true},
        Situation{"last_display_package_alone", &rpm, {"xcb-util-keysyms"},
            "binutils libxcb libX11-xcb xcb-util xcb-util-image xcb-util-renderutil xcb-util-cursor xcb-util-wm "
            "mesa-libGLU",
            true},
        Situation{"name_that_starts_with_a_listed_name", &rpm, {"libxcb-devel"}, "binutils", false}),
    rowName);

INSTANTIATE_TEST_SUITE_P(Suse, PrerequisitesOf,
    testing::Values(Situation{"nothing_installed", &suse, {}, "binutils libgthread-2_0-0", false},
        Situation{"everything_installed", &suse, suse.base + suse.display + suse.glu, "", true},
        Situation{"base_alone_installed", &suse, suse.base, "", false},
        Situation{"first_base_package_alone", &suse, {"binutils"}, "libgthread-2_0-0", false},
        Situation{"second_base_package_alone", &suse, {"libgthread-2_0-0"}, "binutils", false},
        Situation{"display_alone_installed", &suse, suse.display, "binutils libgthread-2_0-0 libGLU1", true},
        Situation{"glu_alone_installed", &suse, suse.glu, "binutils libgthread-2_0-0", false},
        Situation{"base_missing", &suse, suse.display + suse.glu, "binutils libgthread-2_0-0", true},
        Situation{"display_missing", &suse, suse.base + suse.glu, "", false},
        Situation{"glu_missing", &suse, suse.base + suse.display, "libGLU1", true},
        Situation{"first_display_package_alone", &suse, {"libxcb1"},
            "binutils libgthread-2_0-0 libX11-xcb1 libxcb-util1 libxcb-cursor0 libxcb-icccm4 libxcb-shape0 "
            "libxcb-image0 libxcb-keysyms1 libxcb-render-util0 libxcb-xinerama0 libxcb-xkb1 libxkbcommon-x11-0 libGLU1",
            true},
        Situation{"debian_spelling_does_not_count", &suse, {"libx11-xcb1"}, "binutils libgthread-2_0-0", false}),
    rowName);

INSTANTIATE_TEST_SUITE_P(Debian, PrerequisitesOf,
    testing::Values(Situation{"nothing_installed", &debian, {}, "binutils", false},
        Situation{"everything_installed", &debian, debian.base + debian.display + debian.glu, "", true},
        Situation{"base_alone_installed", &debian, debian.base, "", false},
        Situation{"display_alone_installed", &debian, debian.display, "binutils libglu1-mesa", true},
        Situation{"glu_alone_installed", &debian, debian.glu, "binutils", false},
        Situation{"base_missing", &debian, debian.display + debian.glu, "binutils", true},
        Situation{"display_missing", &debian, debian.base + debian.glu, "", false},
        Situation{"glu_missing", &debian, debian.base + debian.display, "libglu1-mesa", true},
        Situation{"one_display_package_and_the_base", &debian, {"binutils", "libxcb-icccm4"},
            "libxcb1 libx11-xcb1 libxcb-util1 libxcb-cursor0 libxcb-image0 libxcb-keysyms1 libxcb-render-util0 "
            "libxcb-xinerama0 libxcb-xkb1 libxkbcommon-x11-0 libglu1-mesa",
            true},
        Situation{"display_and_glu_but_one", &debian,
            {"binutils", "libxcb1", "libx11-xcb1", "libxcb-util1", "libxcb-cursor0", "libxcb-icccm4", "libxcb-image0",
                "libxcb-keysyms1", "libxcb-xinerama0", "libxcb-xkb1", "libxkbcommon-x11-0", "libglu1-mesa"},
            "libxcb-render-util0", true},
        Situation{"rpm_spelling_does_not_count", &debian, {"libX11-xcb1"}, "binutils", false}),
    rowName);

INSTANTIATE_TEST_SUITE_P(Pacman, PrerequisitesOf,
    testing::Values(Situation{"nothing_installed", &pacman, {}, "binutils", false},
        Situation{"everything_installed", &pacman, pacman.base + pacman.display + pacman.glu, "", true},
        Situation{"base_alone_installed", &pacman, pacman.base, "", false},
        Situation{"display_alone_installed", &pacman, pacman.display, "binutils glu", true},
        Situation{"glu_alone_installed", &pacman, pacman.glu, "binutils", false},
        Situation{"base_missing", &pacman, pacman.display + pacman.glu, "binutils", true},
        Situation{"display_missing", &pacman, pacman.base + pacman.glu, "", false},
        Situation{"glu_missing", &pacman, pacman.base + pacman.display, "glu", true},
        Situation{"libxcb_alone", &pacman, {"libxcb"},
            "binutils xcb-util xcb-util-cursor xcb-util-image xcb-util-renderutil xcb-util-wm xcb-util-keysyms "
            "xcb-proto glu",
            true}),
    rowName);

// Every package of a family, as the only one missing and as the only one installed.
class SinglePackage : public Prerequisites, public testing::WithParamInterface<const Family*>
{
};

TEST_P(SinglePackage, only_missing_package_is_printed_alone)
{
    const Family& family = *GetParam();
    const Words all = family.base + family.display + family.glu;
    for (const std::string& package : all) {
        Words installed = all;
        installed.erase(std::find(installed.begin(), installed.end(), package));
        check(family, installed);
        thenOutputIs(request(family, package));
        thenQueried(family, all);
    }
}

TEST_P(SinglePackage, one_installed_display_package_makes_the_others_count)
{
    const Family& family = *GetParam();
    const Words all = family.base + family.display + family.glu;
    for (const std::string& package : family.display) {
        std::string missing;
        for (const std::string& other : all)
            missing += other == package ? "" : (missing.empty() ? "" : " ") + other;
        check(family, {package});
        thenOutputIs(request(family, missing));
        thenQueried(family, all);
    }
}

INSTANTIATE_TEST_SUITE_P(Families, SinglePackage, testing::Values(&rpm, &suse, &debian, &pacman),
    [](const auto& row) { return std::string(row.param->override); });

} // namespace
