#include "osrelease/osrelease.h"

#include "commandline.h"
#include "support/rows.h"

#include <type_traits>

namespace {

static_assert(std::is_same_v<decltype(&COSRelease::RpmBased), bool (COSRelease::*)()>);
static_assert(std::is_same_v<decltype(&COSRelease::SuseBased), bool (COSRelease::*)()>);
static_assert(std::is_same_v<decltype(&COSRelease::DebBased), bool (COSRelease::*)()>);
static_assert(std::is_same_v<decltype(&COSRelease::PacmanBased), bool (COSRelease::*)()>);

struct Row
{
    const char* name;
    const char* id;
    const char* idLike;
    std::string families; // those that apply, in the order "rpm suse deb pacman"
};

class Families : public testing::TestWithParam<Row>
{
protected:
    static COSRelease release(const Row& row)
    {
        CommandLine line({"zk_install", "--distrib", "arch"});
        COSRelease os(line.argc(), line.argv());
        os.m_id = row.id;
        os.m_idLike = row.idLike;
        return os;
    }

    static std::string familiesOf(COSRelease& os)
    {
        std::string families;
        families += os.RpmBased() ? "rpm " : "";
        families += os.SuseBased() ? "suse " : "";
        families += os.DebBased() ? "deb " : "";
        families += os.PacmanBased() ? "pacman " : "";
        if (!families.empty())
            families.pop_back();
        return families;
    }
};

TEST_P(Families, apply)
{
    COSRelease os = release(GetParam());
    EXPECT_EQ(familiesOf(os), GetParam().families);
}

TEST_P(Families, change_nothing)
{
    COSRelease os = release(GetParam());
    familiesOf(os);
    EXPECT_EQ(os.m_id, GetParam().id);
    EXPECT_EQ(os.m_idLike, GetParam().idLike);
    EXPECT_EQ(os.m_error, "");
}

INSTANTIATE_TEST_SUITE_P(ById, Families,
    testing::Values(Row{"rhel", "rhel", "", "rpm"}, Row{"centos", "centos", "", "rpm"},
        Row{"rocky", "rocky", "", "rpm"}, Row{"alma", "alma", "", "rpm"}, Row{"almalinux", "almalinux", "", "rpm"},
        Row{"fedora", "fedora", "", "rpm"}, Row{"sles", "sles", "", "rpm suse"}, Row{"sled", "sled", "", "rpm suse"},
        Row{"opensuse", "opensuse", "", "rpm suse"}, Row{"ubuntu", "ubuntu", "", "deb"},
        Row{"debian", "debian", "", "deb"}, Row{"linuxmint", "linuxmint", "", "deb"}, Row{"arch", "arch", "", "pacman"},
        Row{"suse_alone_is_none", "suse", "", ""}, Row{"mint_alone_is_none", "mint", "", ""},
        Row{"none", "gentoo", "", ""}, Row{"unknown", "", "", ""}, Row{"case_counts", "Fedora", "", ""},
        Row{"opensuse_leap_by_substring", "opensuse-leap", "", "rpm suse"},
        Row{"sles_sap_by_substring", "sles_sap", "", "rpm suse"}, Row{"archarm_by_substring", "archarm", "", "pacman"},
        Row{"substring_at_the_end", "x-fedora", "", "rpm"}, Row{"quotes_do_not_matter", "\"debian\"\r", "", "deb"},
        Row{"two_families_in_one_identifier", "debian-arch", "", "deb pacman"}),
    rowName);

INSTANTIATE_TEST_SUITE_P(ByIdLike, Families,
    testing::Values(Row{"rhel", "x", "rhel", "rpm"}, Row{"centos", "x", "centos", "rpm"},
        Row{"fedora", "x", "fedora", "rpm"}, Row{"opensuse", "x", "opensuse", "rpm suse"},
        Row{"suse", "x", "suse", "rpm suse"}, Row{"ubuntu", "x", "ubuntu", "deb"}, Row{"debian", "x", "debian", "deb"},
        Row{"rocky_counts_in_the_identifier_only", "x", "rocky", ""},
        Row{"alma_counts_in_the_identifier_only", "x", "almalinux", ""},
        Row{"sles_counts_in_the_identifier_only", "x", "sles", ""},
        Row{"sled_counts_in_the_identifier_only", "x", "sled", ""},
        Row{"linuxmint_counts_in_the_identifier_only", "x", "linuxmint", ""},
        Row{"arch_counts_in_the_identifier_only", "manjaro", "arch", ""},
        Row{"manjaro_arm", "manjaro-arm", "manjaro arch", ""}, Row{"list_of_words", "x", "rhel centos fedora", "rpm"},
        Row{"suse_opensuse", "x", "suse opensuse", "rpm suse"}, Row{"pop", "pop", "ubuntu debian", "deb"},
        Row{"last_word_of_the_list", "x", "linux debian", "deb"}, Row{"case_counts", "x", "Debian", ""},
        Row{"rpm_and_deb", "x", "fedora debian", "rpm deb"}, Row{"without_an_identifier", "", "debian", "deb"}),
    rowName);

} // namespace
