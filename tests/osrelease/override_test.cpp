#include "osrelease/osrelease.h"

#include "commandline.h"
#include "fakes.h"
#include "support/capture.h"
#include "support/rows.h"
#include "texts.h"

#include <unistd.h>

namespace {

struct Forced
{
    const char* name;
    std::vector<const char*> words;
    std::string id;
    std::string versionId;
    std::int32_t major;
    std::int32_t minor;
    std::int32_t patch;
};

class ForcedIdentity : public testing::TestWithParam<Forced>
{
protected:
    // If the detection read this file, the fields would show it.
    void SetUp() override { fakes::osRelease("ID=file\nID_LIKE=like\nVERSION_ID=1.2.3\nPRETTY_NAME=Pretty\n"); }
    void TearDown() override
    {
        fakes::reset();
        g_kq_verbose = false;
    }
};

TEST_P(ForcedIdentity, is_taken)
{
    const Forced& expected = GetParam();
    CommandLine line(expected.words);
    const COSRelease os(line.argc(), line.argv());

    EXPECT_EQ(os.m_id, expected.id);
    EXPECT_EQ(os.m_versionId, expected.versionId);
    EXPECT_EQ(os.m_major, expected.major);
    EXPECT_EQ(os.m_minor, expected.minor);
    EXPECT_EQ(os.m_patch, expected.patch);
    EXPECT_EQ(os.m_error, "");
    EXPECT_EQ(os.m_idLike, "");
    EXPECT_EQ(os.m_prettyName, "");
    EXPECT_EQ(os.m_verifiedReleases, "");
    EXPECT_TRUE(fakes::osReleaseFile().modes.empty()) << "the file was read after an override";
}

TEST_P(ForcedIdentity, is_not_traced)
{
    g_kq_verbose = true;
    CommandLine line(GetParam().words);
    EXPECT_EQ(captured(STDERR_FILENO, [&] { COSRelease(line.argc(), line.argv()); }), "");
}

TEST_P(ForcedIdentity, passes_the_policy)
{
    CommandLine line(GetParam().words);
    COSRelease os(line.argc(), line.argv());
    std::string message = "untouched";
    EXPECT_TRUE(os.OSSupported(message));
    EXPECT_EQ(message, "untouched");
}

INSTANTIATE_TEST_SUITE_P(Override, ForcedIdentity,
    testing::Values(Forced{"rhel", {"zk_install", "--distrib", "rhel"}, "rhel", "8.10", 8, 10, 0},
        Forced{"fedora", {"zk_install", "--distrib", "fedora"}, "fedora", "43", 43, 0, 0},
        Forced{"rocky", {"zk_install", "--distrib", "rocky"}, "rocky", "9", 9, 0, 0},
        Forced{"alma_is_almalinux", {"zk_install", "--distrib", "alma"}, "almalinux", "9", 9, 0, 0},
        Forced{"debian_is_ubuntu_22", {"zk_install", "--distrib", "debian"}, "ubuntu", "22.04", 22, 4, 0},
        Forced{"ubuntu", {"zk_install", "--distrib", "ubuntu"}, "ubuntu", "22.04", 22, 4, 0},
        Forced{"mint_is_linuxmint", {"zk_install", "--distrib", "mint"}, "linuxmint", "22.3", 22, 3, 0},
        Forced{"suse_is_sles", {"zk_install", "--distrib", "suse"}, "sles", "16.0", 16, 0, 0},
        Forced{"arch_is_version_zero", {"zk_install", "--distrib", "arch"}, "arch", "0.0", 0, 0, 0},
        Forced{"first_option_wins", {"zk_install", "-x", "--distrib", "arch", "--distrib", "rhel"}, "arch", "0.0", 0, 0,
            0},
        Forced{
            "option_after_other_arguments", {"zk_install", "-x", "file", "--distrib", "rocky"}, "rocky", "9", 9, 0, 0},
        Forced{"arguments_after_the_name", {"zk_install", "--distrib", "rocky", "--verbose"}, "rocky", "9", 9, 0, 0}),
    rowName);

struct Rejected
{
    const char* name;
    std::vector<const char*> words;
    std::string error;
};

class RejectedName : public testing::TestWithParam<Rejected>
{
protected:
    void SetUp() override { fakes::osRelease("ID=file\nVERSION_ID=1.2.3\n"); }
    void TearDown() override
    {
        fakes::reset();
        g_kq_verbose = false;
    }
};

TEST_P(RejectedName, sets_the_error)
{
    CommandLine line(GetParam().words);
    const COSRelease os(line.argc(), line.argv());

    EXPECT_EQ(os.m_error, GetParam().error);
    EXPECT_EQ(os.m_id, "");
    EXPECT_EQ(os.m_versionId, "");
    EXPECT_EQ(os.m_major, 0);
    EXPECT_EQ(os.m_verifiedReleases, "");
    EXPECT_TRUE(fakes::osReleaseFile().modes.empty()) << "the file was read after an override";
}

TEST_P(RejectedName, is_not_traced)
{
    g_kq_verbose = true;
    CommandLine line(GetParam().words);
    EXPECT_EQ(captured(STDERR_FILENO, [&] { COSRelease(line.argc(), line.argv()); }), "");
}

INSTANTIATE_TEST_SUITE_P(Override, RejectedName,
    testing::Values(Rejected{"no_name", {"zk_install", "--distrib"}, "Missing distribution\n\n" + usage},
        Rejected{
            "no_name_after_other_arguments", {"zk_install", "arch", "--distrib"}, "Missing distribution\n\n" + usage},
        Rejected{"name_in_capitals", {"zk_install", "--distrib", "RHEL"}, "Unknown distribution \"RHEL\"\n\n" + usage},
        Rejected{"option_as_name", {"zk_install", "--distrib", "--verbose"},
            "Unknown distribution \"--verbose\"\n\n" + usage},
        Rejected{"the_option_itself_as_name", {"zk_install", "--distrib", "--distrib", "arch"},
            "Unknown distribution \"--distrib\"\n\n" + usage},
        Rejected{"empty_name", {"zk_install", "--distrib", ""}, "Unknown distribution \"\"\n\n" + usage},
        Rejected{"name_with_a_trailing_blank", {"zk_install", "--distrib", "arch "},
            "Unknown distribution \"arch \"\n\n" + usage},
        Rejected{"identifier_instead_of_the_name", {"zk_install", "--distrib", "almalinux"},
            "Unknown distribution \"almalinux\"\n\n" + usage},
        Rejected{"first_option_wins_although_the_second_is_good", {"zk_install", "--distrib", "x", "--distrib", "arch"},
            "Unknown distribution \"x\"\n\n" + usage}),
    rowName);

struct NoOverride
{
    const char* name;
    std::vector<const char*> words;
};

class WithoutOverride : public testing::TestWithParam<NoOverride>
{
protected:
    void TearDown() override { fakes::reset(); }
};

TEST_P(WithoutOverride, the_file_decides)
{
    fakes::osRelease("ID=file\n");
    CommandLine line(GetParam().words);
    const COSRelease os(line.argc(), line.argv());
    EXPECT_EQ(os.m_id, "file");
    EXPECT_EQ(os.m_verifiedReleases, verifiedReleases);
}

TEST_P(WithoutOverride, nothing_is_changed)
{
    CommandLine forced{{"zk_install", "--distrib", "rhel"}};
    COSRelease os(forced.argc(), forced.argv());
    os.m_error = "error";

    CommandLine line(GetParam().words);
    EXPECT_FALSE(os.ForceOS(line.argc(), line.argv()));
    EXPECT_EQ(os.m_id, "rhel");
    EXPECT_EQ(os.m_versionId, "8.10");
    EXPECT_EQ(os.m_major, 8);
    EXPECT_EQ(os.m_minor, 10);
    EXPECT_EQ(os.m_error, "error");
}

INSTANTIATE_TEST_SUITE_P(Override, WithoutOverride,
    testing::Values(NoOverride{"program_name_alone", {"zk_install"}}, NoOverride{"no_arguments_at_all", {}},
        NoOverride{"other_arguments", {"zk_install", "-x", "arch"}},
        NoOverride{"program_called_distrib", {"--distrib", "arch"}},
        NoOverride{"joined_by_an_equals_sign", {"zk_install", "--distrib=arch"}},
        NoOverride{"option_in_capitals", {"zk_install", "--DISTRIB", "arch"}},
        NoOverride{"one_dash", {"zk_install", "-distrib", "arch"}},
        NoOverride{"longer_option", {"zk_install", "--distribution", "arch"}},
        NoOverride{"shorter_option", {"zk_install", "--dist", "arch"}}),
    rowName);

class ForceOS : public testing::Test
{
protected:
    ForceOS()
        : os(forced.argc(), forced.argv())
    {
        os.m_error = "previous";
        os.m_idLike = "like";
        os.m_prettyName = "pretty";
        os.m_verifiedReleases = "verified";
    }

    void expectOthersKept() const
    {
        EXPECT_EQ(os.m_idLike, "like");
        EXPECT_EQ(os.m_prettyName, "pretty");
        EXPECT_EQ(os.m_verifiedReleases, "verified");
    }

    CommandLine forced{{"zk_install", "--distrib", "rhel"}};
    COSRelease os;
};

TEST_F(ForceOS, usage_text_is_84_characters)
{
    EXPECT_EQ(usage.size(), 84U);
}

TEST_F(ForceOS, replaces_the_identity_and_nothing_else)
{
    CommandLine line({"zk_install", "--distrib", "mint"});
    EXPECT_TRUE(os.ForceOS(line.argc(), line.argv()));
    EXPECT_EQ(os.m_id, "linuxmint");
    EXPECT_EQ(os.m_versionId, "22.3");
    EXPECT_EQ(os.m_error, "previous");
    expectOthersKept();
}

TEST_F(ForceOS, missing_name_replaces_the_error_and_nothing_else)
{
    CommandLine line({"zk_install", "--distrib"});
    EXPECT_TRUE(os.ForceOS(line.argc(), line.argv()));
    EXPECT_EQ(os.m_error, "Missing distribution\n\n" + usage);
    EXPECT_EQ(os.m_id, "rhel");
    EXPECT_EQ(os.m_versionId, "8.10");
    expectOthersKept();
}

TEST_F(ForceOS, unknown_name_replaces_the_error_and_nothing_else)
{
    CommandLine line({"zk_install", "--distrib", "beos"});
    EXPECT_TRUE(os.ForceOS(line.argc(), line.argv()));
    EXPECT_EQ(os.m_error, "Unknown distribution \"beos\"\n\n" + usage);
    EXPECT_EQ(os.m_id, "rhel");
    expectOthersKept();
}

TEST_F(ForceOS, never_changes_the_arguments)
{
    CommandLine line({"zk_install", "-x", "--distrib", "arch", "y"});
    const std::vector<std::string> words = line.words();
    const std::vector<char*> pointers = line.pointers();
    os.ForceOS(line.argc(), line.argv());
    EXPECT_EQ(line.words(), words);
    EXPECT_EQ(line.pointers(), pointers);
}

TEST_F(ForceOS, reads_only_argc_arguments)
{
    CommandLine line({"zk_install", "-x", "--distrib", "arch"});
    EXPECT_FALSE(os.ForceOS(2, line.argv()));
    EXPECT_TRUE(os.ForceOS(3, line.argv()));
    EXPECT_EQ(os.m_error, "Missing distribution\n\n" + usage);
}

TEST_F(ForceOS, negative_argc_is_no_override)
{
    CommandLine line({"zk_install", "--distrib", "arch"});
    EXPECT_FALSE(os.ForceOS(-1, line.argv()));
}

} // namespace
