#include "osrelease/osrelease.h"

#include "commandline.h"
#include "fakes.h"
#include "fields.h"
#include "support/rows.h"
#include "texts.h"

#include <limits>
#include <type_traits>

namespace {

static_assert(std::is_same_v<decltype(&COSRelease::OSSupported), bool (COSRelease::*)(std::string&)>);

constexpr std::int32_t lowest = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t highest = std::numeric_limits<std::int32_t>::max();

COSRelease detected(const std::string& id, std::int32_t major)
{
    fakes::osRelease("ID=placeholder\n");
    CommandLine line;
    COSRelease os(line.argc(), line.argv());
    fakes::reset();
    os.m_id = id;
    os.m_major = major;
    return os;
}

struct Supported
{
    const char* name;
    const char* id;
    std::int32_t major;
};

class SupportedRelease : public testing::TestWithParam<Supported>
{
};

TEST_P(SupportedRelease, keeps_the_message)
{
    COSRelease os = detected(GetParam().id, GetParam().major);
    const auto before = fieldsOf(os);
    std::string message = "untouched";
    EXPECT_TRUE(os.OSSupported(message));
    EXPECT_EQ(message, "untouched");
    EXPECT_EQ(fieldsOf(os), before);
}

INSTANTIATE_TEST_SUITE_P(Policy, SupportedRelease,
    testing::Values(Supported{"rhel_8", "rhel", 8}, Supported{"rhel_10", "rhel", 10},
        Supported{"centos_8", "centos", 8}, Supported{"centos_9", "centos", 9},
        Supported{"rocky_8_although_the_text_says_9", "rocky", 8}, Supported{"rocky_9", "rocky", 9},
        Supported{"almalinux_8_although_the_text_says_9", "almalinux", 8}, Supported{"fedora_43", "fedora", 43},
        Supported{"ubuntu_22", "ubuntu", 22}, Supported{"linuxmint_22", "linuxmint", 22},
        Supported{"sled_16", "sled", 16}, Supported{"sles_16", "sles", 16}, Supported{"opensuse_16", "opensuse", 16},
        Supported{"tumbleweed_version_is_a_date", "opensuse-tumbleweed", 20240101}, Supported{"arch_0", "arch", 0},
        Supported{"arch_of_any_version", "arch", lowest}, Supported{"archarm_by_substring", "archarm", 0},
        Supported{"largest_version", "fedora", highest}, Supported{"rhel_row_comes_before_fedora", "fedora-rhel", 8},
        Supported{"centos_row_comes_before_rocky", "rocky-centos", 8},
        Supported{"fedora_row_comes_before_arch", "arch-fedora", 43}),
    rowName);

struct Refused
{
    const char* name;
    const char* id;
    std::int32_t major;
    const char* text;
};

class RefusedRelease : public testing::TestWithParam<Refused>
{
};

TEST_P(RefusedRelease, replaces_the_message)
{
    COSRelease os = detected(GetParam().id, GetParam().major);
    const auto before = fieldsOf(os);
    std::string message = "previous";
    EXPECT_FALSE(os.OSSupported(message));
    EXPECT_EQ(message, GetParam().text + verifiedReleases);
    EXPECT_EQ(fieldsOf(os), before);
}

INSTANTIATE_TEST_SUITE_P(Policy, RefusedRelease,
    testing::Values(Refused{"rhel_7", "rhel", 7, "Zentrak'26 requires RHEL 8 or later\n\n"},
        Refused{"centos_7", "centos", 7, "Zentrak'26 requires CentOS Linux 8 or later\n\n"},
        Refused{"rocky_7", "rocky", 7, "Zentrak'26 requires Rocky Linux 9 or later\n\n"},
        Refused{"almalinux_7", "almalinux", 7, "Zentrak'26 requires AlmaLinux 9 or later\n\n"},
        Refused{"fedora_42", "fedora", 42, "Zentrak'26 requires Fedora 43 or later\n\n"},
        Refused{"ubuntu_21", "ubuntu", 21, "Zentrak'26 requires Ubuntu 22 or later\n\n"},
        Refused{"linuxmint_21", "linuxmint", 21, "Zentrak'26 requires Linux Mint 22 or later\n\n"},
        Refused{"sled_15", "sled", 15, "Zentrak'26 requires SUSE Linux Enterprise 16 or later\n\n"},
        Refused{"sles_15", "sles", 15, "Zentrak'26 requires SUSE Linux Enterprise 16 or later\n\n"},
        Refused{"opensuse_leap_15", "opensuse-leap", 15, "Zentrak'26 requires openSUSE 16 or later\n\n"},
        Refused{"version_unknown", "centos", 0, "Zentrak'26 requires CentOS Linux 8 or later\n\n"},
        Refused{"comparison_is_signed", "ubuntu", -1, "Zentrak'26 requires Ubuntu 22 or later\n\n"},
        Refused{"smallest_version", "rhel", lowest, "Zentrak'26 requires RHEL 8 or later\n\n"},
        Refused{"rhel_row_comes_before_fedora", "fedora-rhel", 7, "Zentrak'26 requires RHEL 8 or later\n\n"},
        Refused{"centos_row_comes_before_rocky", "rocky-centos", 7, "Zentrak'26 requires CentOS Linux 8 or later\n\n"},
        Refused{"centos_row_comes_before_almalinux", "almalinux-centos", 7,
            "Zentrak'26 requires CentOS Linux 8 or later\n\n"},
        Refused{
            "rocky_row_comes_before_almalinux", "almalinux-rocky", 7, "Zentrak'26 requires Rocky Linux 9 or later\n\n"},
        Refused{
            "almalinux_row_comes_before_fedora", "fedora-almalinux", 7, "Zentrak'26 requires AlmaLinux 9 or later\n\n"},
        Refused{"fedora_row_comes_before_ubuntu", "ubuntu-fedora", 22, "Zentrak'26 requires Fedora 43 or later\n\n"},
        Refused{
            "ubuntu_row_comes_before_linuxmint", "linuxmint-ubuntu", 21, "Zentrak'26 requires Ubuntu 22 or later\n\n"},
        Refused{
            "linuxmint_row_comes_before_sled", "sled-linuxmint", 16, "Zentrak'26 requires Linux Mint 22 or later\n\n"},
        Refused{"sles_row_comes_before_opensuse", "opensuse-sles", 15,
            "Zentrak'26 requires SUSE Linux Enterprise 16 or later\n\n"},
        Refused{"opensuse_row_comes_before_arch", "arch-opensuse", 15, "Zentrak'26 requires openSUSE 16 or later\n\n"}),
    rowName);

TEST(PolicyOf, minor_and_patch_do_not_count)
{
    COSRelease os = detected("rhel", 7);
    os.m_minor = os.m_patch = 99;
    std::string message;
    EXPECT_FALSE(os.OSSupported(message));
}

struct NotVerified
{
    const char* name;
    const char* id;
    const char* idLike;
    const char* prettyName;
    const char* versionId;
    const char* text;
};

class NotVerifiedRelease : public testing::TestWithParam<NotVerified>
{
};

TEST_P(NotVerifiedRelease, is_named_in_the_message)
{
    COSRelease os = detected(GetParam().id, 99);
    os.m_idLike = GetParam().idLike;
    os.m_prettyName = GetParam().prettyName;
    os.m_versionId = GetParam().versionId;
    const auto before = fieldsOf(os);
    std::string message = "previous";
    EXPECT_FALSE(os.OSSupported(message));
    EXPECT_EQ(message, GetParam().text + verifiedReleases);
    EXPECT_EQ(fieldsOf(os), before);
}

INSTANTIATE_TEST_SUITE_P(Policy, NotVerifiedRelease,
    testing::Values(NotVerified{"debian_by_its_pretty_name", "debian", "", "P", "12",
                        "Zentrak'26 was not verified to run under \"P\" debian\n\n"},
        NotVerified{"no_pretty_name", "slackware", "", "", "5.1",
            "Zentrak'26 was not verified to run under \"slackware\" 5.1\n\n"},
        NotVerified{"neither_pretty_name_nor_version", "void", "", "", "",
            "Zentrak'26 was not verified to run under \"void\" \n\n"},
        NotVerified{"nothing_known", "", "", "", "", "Zentrak'26 was not verified to run under \"\" \n\n"},
        NotVerified{
            "no_identifier_but_a_version", "", "", "", "8", "Zentrak'26 was not verified to run under \"\" 8\n\n"},
        NotVerified{"pop_is_like_ubuntu_only", "pop", "ubuntu debian", "Pop!_OS 22.04 LTS", "22.04",
            "Zentrak'26 was not verified to run under \"Pop!_OS 22.04 LTS\" pop\n\n"},
        NotVerified{"manjaro_is_like_arch_only", "manjaro", "arch", "Manjaro Linux", "",
            "Zentrak'26 was not verified to run under \"Manjaro Linux\" manjaro\n\n"},
        NotVerified{"case_counts", "RHEL", "", "", "9", "Zentrak'26 was not verified to run under \"RHEL\" 9\n\n"},
        NotVerified{
            "alma_alone_has_no_row", "alma", "", "", "9", "Zentrak'26 was not verified to run under \"alma\" 9\n\n"}),
    rowName);

TEST(PolicyOf, overridden_release_has_no_list_of_verified_releases)
{
    CommandLine line({"zk_install", "--distrib", "rhel"});
    COSRelease os(line.argc(), line.argv());
    os.m_major = 7;
    std::string message;
    EXPECT_FALSE(os.OSSupported(message));
    EXPECT_EQ(message, "Zentrak'26 requires RHEL 8 or later\n\n");
}

} // namespace
