#include "osrelease/osrelease.h"

#include "commandline.h"
#include "fakes.h"
#include "support/capture.h"
#include "support/rows.h"
#include "texts.h"

#include <cstring>
#include <stdexcept>
#include <type_traits>
#include <unistd.h>

namespace {

static_assert(std::is_same_v<decltype(&COSRelease::ForceOS), bool (COSRelease::*)(int, char**)>);
static_assert(std::is_same_v<decltype(&COSRelease::RemoveQuotes), void (*)(std::string&)>);
static_assert(std::is_same_v<decltype(&COSRelease::SplitLine), void (*)(const char*, std::vector<std::string>&, char)>);
static_assert(std::is_same_v<decltype(&COSRelease::ParseVersion), void (COSRelease::*)()>);

static_assert(sizeof(g_kq_verbose) == 1);
static_assert(std::is_same_v<decltype(g_kq_verbose), bool>);

class Detection : public testing::Test
{
protected:
    void TearDown() override
    {
        fakes::reset();
        g_kq_verbose = false;
    }

    static COSRelease detected(const std::string& osRelease)
    {
        fakes::osRelease(osRelease);
        return detected();
    }
    static COSRelease detected()
    {
        CommandLine line;
        return {line.argc(), line.argv()};
    }
};

std::string numbers(const COSRelease& os)
{
    return std::to_string(os.m_major) + ' ' + std::to_string(os.m_minor) + ' ' + std::to_string(os.m_patch);
}

TEST_F(Detection, fixed_text_has_544_characters)
{
    EXPECT_EQ(verifiedReleases.size(), 544U);
    EXPECT_EQ(detected("ID=fedora\n").m_verifiedReleases, verifiedReleases);
}

TEST_F(Detection, quoted_identifier_and_version)
{
    const COSRelease os = detected("ID=\"rhel\"\nVERSION_ID=\"8.10\"\n");
    EXPECT_EQ(os.m_id, "rhel");
    EXPECT_EQ(os.m_versionId, "8.10");
    EXPECT_EQ(numbers(os), "8 10 0");
    EXPECT_EQ(os.m_error, "");
    EXPECT_EQ(os.m_verifiedReleases, verifiedReleases);
}

TEST_F(Detection, opens_the_file_once_for_reading_and_closes_it)
{
    detected("ID=fedora\n");
    EXPECT_EQ(fakes::osReleaseFile().modes, std::vector<std::string>{"r"});
    EXPECT_EQ(fakes::osReleaseFile().closed, 1);
}

TEST_F(Detection, closes_the_file_also_when_the_version_throws)
{
    EXPECT_THROW(detected("VERSION_ID=rolling\n"), std::invalid_argument);
    EXPECT_EQ(fakes::osReleaseFile().closed, 1);
}

TEST_F(Detection, absent_file)
{
    fakes::noOsRelease();
    const COSRelease os = detected();
    EXPECT_EQ(os.m_error, detectionFailed);
    EXPECT_EQ(os.m_id, "");
    EXPECT_EQ(os.m_idLike, "");
    EXPECT_EQ(os.m_versionId, "");
    EXPECT_EQ(os.m_prettyName, "");
    EXPECT_EQ(numbers(os), "0 0 0");
    EXPECT_EQ(os.m_verifiedReleases, verifiedReleases);
    EXPECT_EQ(fakes::osReleaseFile().modes.size(), 1U);
}

TEST_F(Detection, no_identifier_but_a_version)
{
    const COSRelease os = detected("VERSION_ID=9.4\nPRETTY_NAME=Nine\nID_LIKE=\"rhel fedora\"\n");
    EXPECT_EQ(os.m_id, "");
    EXPECT_EQ(numbers(os), "9 4 0");
    EXPECT_EQ(os.m_error, detectionFailed);
    EXPECT_EQ(os.m_prettyName, "Nine");
    EXPECT_EQ(os.m_idLike, "rhel fedora");
}

TEST_F(Detection, read_error_keeps_the_lines_before_it)
{
    fakes::osRelease("ID=fedora\nVERSION_ID=43\n", true);
    const COSRelease os = detected();
    EXPECT_EQ(os.m_id, "fedora");
    EXPECT_EQ(numbers(os), "43 0 0");
    EXPECT_EQ(os.m_error, "");
    EXPECT_EQ(fakes::osReleaseFile().closed, 1);
}

TEST_F(Detection, line_of_254_characters_is_read_whole)
{
    // With its newline it is exactly 255 characters, the most that one read takes.
    const std::string name(254 - std::strlen("PRETTY_NAME="), 'n');
    const COSRelease os = detected("PRETTY_NAME=" + name + "\nID=fedora\n");
    EXPECT_EQ(os.m_prettyName, name);
    EXPECT_EQ(os.m_id, "fedora");
}

TEST_F(Detection, line_of_255_characters_leaves_an_empty_line_behind)
{
    const std::string name(255 - std::strlen("PRETTY_NAME="), 'n');
    const COSRelease os = detected("PRETTY_NAME=" + name + "\nID=fedora\n");
    EXPECT_EQ(os.m_prettyName, name);
    EXPECT_EQ(os.m_id, "fedora");
}

TEST_F(Detection, longer_line_is_split_after_255_characters)
{
    const std::string fits(255 - std::strlen("PRETTY_NAME="), 'n');
    const COSRelease os = detected("ID=fedora\nPRETTY_NAME=" + fits + "rest\n");
    EXPECT_EQ(os.m_prettyName, fits);
}

TEST_F(Detection, rest_of_a_long_line_counts_as_a_line)
{
    const std::string comment(255, '#');
    const COSRelease os = detected(comment + "ID=fedora\n");
    EXPECT_EQ(os.m_id, "fedora");
}

TEST_F(Detection, third_piece_of_a_long_line_counts_as_a_line)
{
    const std::string comment(510, '#');
    EXPECT_EQ(detected(comment + "ID=fedora\n").m_id, "fedora");
}

TEST_F(Detection, nul_byte_hides_the_rest_of_its_line)
{
    const COSRelease os = detected(std::string("ID=fed\0ora\nPRETTY_NAME=P\n", 25));
    EXPECT_EQ(os.m_id, "fed");
    EXPECT_EQ(os.m_prettyName, "P");
}

TEST_F(Detection, nothing_is_traced_by_default)
{
    EXPECT_EQ(captured(STDERR_FILENO, [] { detected("ID=fedora\n"); }), "");
}

TEST_F(Detection, trace_of_a_detected_release)
{
    g_kq_verbose = true;
    const std::string text = "ID=\"rhel\"\nVERSION_ID=\"8.10.2\"\nPRETTY_NAME=\"Red Hat 8\"\n";
    EXPECT_EQ(captured(STDERR_FILENO, [&] { detected(text); }), "rhel|8.10.2(8.10.2)\nRed Hat 8\n");
}

TEST_F(Detection, trace_of_a_failed_detection)
{
    g_kq_verbose = true;
    fakes::noOsRelease();
    EXPECT_EQ(captured(STDERR_FILENO, [] { detected(); }), "|(0.0.0)\n\n");
}

TEST_F(Detection, trace_goes_to_standard_error_only)
{
    g_kq_verbose = true;
    std::string errors;
    EXPECT_EQ(captured(STDOUT_FILENO,
                  [&] { errors = captured(STDERR_FILENO, [] { detected("ID=fedora\nVERSION_ID=43\n"); }); }),
        "");
    EXPECT_EQ(errors, "fedora|43(43.0.0)\n\n");
}

TEST_F(Detection, any_non_zero_byte_switches_the_trace_on)
{
    const unsigned char two = 2;
    std::memcpy(&g_kq_verbose, &two, 1);
    EXPECT_EQ(captured(STDERR_FILENO, [] { detected("ID=arch\n"); }), "arch|(0.0.0)\n\n");
}

// A file and the fields after reading it.
struct Release
{
    const char* name;
    std::string text;
    std::string id;
    std::string idLike;
    std::string versionId;
    std::string prettyName;
    std::int32_t major = 0;
    std::int32_t minor = 0;
    std::int32_t patch = 0;
};

class DetectedFrom : public testing::TestWithParam<Release>
{
protected:
    void TearDown() override { fakes::reset(); }
};

TEST_P(DetectedFrom, file)
{
    const Release& expected = GetParam();
    fakes::osRelease(expected.text);
    CommandLine line;
    const COSRelease os(line.argc(), line.argv());

    EXPECT_EQ(os.m_id, expected.id);
    EXPECT_EQ(os.m_idLike, expected.idLike);
    EXPECT_EQ(os.m_versionId, expected.versionId);
    EXPECT_EQ(os.m_prettyName, expected.prettyName);
    EXPECT_EQ(os.m_major, expected.major);
    EXPECT_EQ(os.m_minor, expected.minor);
    EXPECT_EQ(os.m_patch, expected.patch);
    EXPECT_EQ(os.m_error, expected.id.empty() ? detectionFailed : "");
    EXPECT_EQ(os.m_verifiedReleases, verifiedReleases);
}

INSTANTIATE_TEST_SUITE_P(Line, DetectedFrom,
    testing::Values(Release{"empty_file", "", "", "", "", ""},
        Release{"last_line_without_an_end", "ID=fedora", "fedora", "", "", ""},
        Release{"blank_lines_and_comments", "\n# ID=x is a comment\n\nID=fedora\n#ID_LIKE=y\n", "fedora", "", "", ""},
        Release{"later_identifier_wins", "ID=first\nID=second\n", "second", "", "", ""},
        Release{"later_empty_identifier_is_ignored", "ID=first\nID=\n", "first", "", "", ""},
        Release{"later_quoted_empty_identifier_wins", "ID=first\nID=\"\"\n", "", "", "", ""},
        Release{"later_values_win_for_every_key",
            "ID=a\nID_LIKE=b\nVERSION_ID=1.2.3\nPRETTY_NAME=c\nID_LIKE=d\nVERSION_ID=4.5.6\nPRETTY_NAME=e\n", "a", "d",
            "4.5.6", "e", 4, 5, 6},
        Release{"later_shorter_version_keeps_the_other_numbers", "ID=a\nVERSION_ID=1.2.3\nVERSION_ID=4\n", "a", "", "4",
            "", 4, 2, 3},
        Release{"equals_sign_in_the_pretty_name", "ID=a\nPRETTY_NAME=\"a=b\"\n", "a", "", "", ""},
        Release{"equals_sign_at_the_end_is_no_third_piece", "ID=a\nPRETTY_NAME=b=\n", "a", "", "", "b"},
        Release{"empty_value_is_ignored", "ID=a\nID_LIKE=\nVERSION_ID=\nPRETTY_NAME=\n", "a", "", "", ""},
        Release{"quoted_empty_value_is_taken", "ID=a\nVERSION_ID=\"\"\n", "a", "", "", ""},
        Release{"line_without_an_equals_sign", "ID\nID=a\n", "a", "", "", ""},
        Release{"leading_blank_in_the_key", " ID=a\n", "", "", "", ""},
        Release{"blank_before_the_equals_sign", "ID =a\n", "", "", "", ""},
        Release{"blank_after_the_equals_sign_is_kept", "ID= a\n", " a", "", "", ""},
        Release{"trailing_blank_is_kept_and_keeps_the_quotes", "ID=\"a\" \n", "\"a\" ", "", "", ""},
        Release{"key_in_lower_case", "id=a\n", "", "", "", ""},
        Release{"key_that_starts_with_a_known_key", "IDX=a\nVERSION=1\nNAME=n\n", "", "", "", ""},
        Release{"every_other_character_is_text", "ID=a\nPRETTY_NAME=!$%&()*+,-./:;<>?@[]^_`{|}~\t\x7f\n", "a", "", "",
            "!$%&()*+,-./:;<>?@[]^_`{|}~\t\x7f"},
        Release{"single_quotes_stay", "ID='gentoo'\nID_LIKE='a b'\n", "'gentoo'", "'a b'", "", ""},
        Release{"only_one_pair_of_quotes_goes", "ID=\"\"a\"\"\n", "\"a\"", "", "", ""},
        Release{"cr_lf_keeps_the_cr", "ID=fedora\r\nVERSION_ID=43\r\n", "fedora\r", "", "43\r", "", 43},
        Release{"cr_lf_keeps_the_quotes", "ID=\"fedora\"\r\n", "\"fedora\"\r", "", "", ""},
        Release{"version_of_two_numbers", "ID=ubuntu\nVERSION_ID=\"22.04\"\n", "ubuntu", "", "22.04", "", 22, 4},
        Release{"version_of_one_number", "ID=fedora\nVERSION_ID=43\n", "fedora", "", "43", "", 43},
        Release{"version_of_four_numbers", "ID=a\nVERSION_ID=1.2.3.4\n", "a", "", "1.2.3.4", "", 1, 2, 3},
        Release{"fourth_piece_need_not_be_a_number", "ID=a\nVERSION_ID=1.2.3.x\n", "a", "", "1.2.3.x", "", 1, 2, 3}),
    rowName);

// Files of real releases.
INSTANTIATE_TEST_SUITE_P(RealRelease, DetectedFrom,
    testing::Values(Release{"rhel_10",
                        "ID=\"rhel\"\nID_LIKE=\"centos fedora\"\nVERSION_ID=\"10.0\"\n"
                        "PRETTY_NAME=\"Red Hat Enterprise Linux 10.0 (Coughlan)\"\n",
                        "rhel", "centos fedora", "10.0", "Red Hat Enterprise Linux 10.0 (Coughlan)", 10},
        Release{"fedora_unquoted", "ID=fedora\nVERSION_ID=43\nPRETTY_NAME=\"Fedora Linux 43 (Container Image)\"",
            "fedora", "", "43", "Fedora Linux 43 (Container Image)", 43},
        Release{"debian_keys_in_another_order",
            "PRETTY_NAME=\"Debian GNU/Linux 12 (bookworm)\"\nVERSION_ID=\"12\"\nID=debian\n", "debian", "", "12",
            "Debian GNU/Linux 12 (bookworm)", 12},
        Release{"debian_testing_has_no_version", "PRETTY_NAME=\"Debian GNU/Linux bookworm/sid\"\nID=debian\n", "debian",
            "", "", "Debian GNU/Linux bookworm/sid"},
        Release{"only_id_like", "ID_LIKE=debian\n", "", "debian", "", ""},
        Release{"version_and_id_like_without_an_identifier", "VERSION_ID=\"8\"\nID_LIKE=debian\n", "", "debian", "8",
            "", 8},
        Release{"arch_is_rolling", "PRETTY_NAME=\"Arch Linux\"\nID=arch\nID_LIKE=archlinux\n", "arch", "archlinux", "",
            "Arch Linux"},
        Release{"pretty_name_without_quotes", "PRETTY_NAME=EndeavourOS\nID=endeavouros\nID_LIKE=arch", "endeavouros",
            "arch", "", "EndeavourOS"},
        Release{"id_like_unquoted_with_a_blank",
            "ID=pop-os\nID_LIKE=debian ubuntu\nPRETTY_NAME=\"Pop_OS 17.04\"\nVERSION_ID=\"17.04\"\n", "pop-os",
            "debian ubuntu", "17.04", "Pop_OS 17.04", 17, 4},
        Release{"identifier_with_a_blank_and_capitals",
            "ID=\"elementary OS\"\nID_LIKE=ubuntu\nPRETTY_NAME=\"elementary OS Loki\"\nVERSION_ID=\"0.4\"\n",
            "elementary OS", "ubuntu", "0.4", "elementary OS Loki", 0, 4},
        Release{"identifier_in_capitals",
            "ID=\"openEuler\"\nVERSION_ID=\"20.03\"\nPRETTY_NAME=\"openEuler 20.03 (LTS)\"\n", "openEuler", "", "20.03",
            "openEuler 20.03 (LTS)", 20, 3},
        Release{"tumbleweed_version_is_a_date",
            "ID=\"opensuse-tumbleweed\"\nID_LIKE=\"opensuse suse\"\nVERSION_ID=\"20240823\"\n"
            "PRETTY_NAME=\"openSUSE Tumbleweed\"\n",
            "opensuse-tumbleweed", "opensuse suse", "20240823", "openSUSE Tumbleweed", 20240823},
        Release{"alpine_three_numbers", "ID=alpine\nVERSION_ID=3.13.12\nPRETTY_NAME=\"Alpine Linux v3.13\"\n", "alpine",
            "", "3.13.12", "Alpine Linux v3.13", 3, 13, 12},
        Release{"words_after_the_third_number",
            "PRETTY_NAME=\"Nitrux 3.2.0 build.301123.fx\"\nVERSION_ID=\"3.2.0 build.301123.fx\"\nID=nitrux\n"
            "ID_LIKE=linux\n",
            "nitrux", "linux", "3.2.0 build.301123.fx", "Nitrux 3.2.0 build.301123.fx", 3, 2},
        Release{"no_pretty_name", "ID=coreos\nVERSION_ID=3.15.4", "coreos", "", "3.15.4", "", 3, 15, 4}),
    rowName);

// A version that is not a number makes the constructor throw the exception of the conversion.
struct BadVersion
{
    const char* name;
    const char* text;
    bool outOfRange;
};

class VersionThrows : public testing::TestWithParam<BadVersion>
{
protected:
    void TearDown() override { fakes::reset(); }
};

TEST_P(VersionThrows, from_the_constructor)
{
    fakes::osRelease(GetParam().text);
    CommandLine line;
    if (GetParam().outOfRange)
        EXPECT_THROW(COSRelease(line.argc(), line.argv()), std::out_of_range);
    else
        EXPECT_THROW(COSRelease(line.argc(), line.argv()), std::invalid_argument);
}

INSTANTIATE_TEST_SUITE_P(Detection, VersionThrows,
    testing::Values(BadVersion{"rolling", "ID=x\nVERSION_ID=rolling\n", false},
        BadVersion{"codename", "VERSION_ID=master\nID=org.wpewebkit.Platform\n", false},
        BadVersion{"letter_before_the_number",
            "PRETTY_NAME=\"postmarketOS v24.12\"\nVERSION_ID=\"v24.12\"\nID=\"postmarketos\"\nID_LIKE=\"alpine\"\n",
            false},
        BadVersion{"open_quote", "ID=steamrt\nPRETTY_NAME=\"The first name\"\nVERSION_ID=\"foo\n", false},
        BadVersion{"quoted_number_with_cr", "VERSION_ID=\"8.10\"\r\n", false},
        BadVersion{"second_piece", "VERSION_ID=1.x\n", false}, BadVersion{"third_piece", "VERSION_ID=1.2.x\n", false},
        BadVersion{"empty_first_piece", "VERSION_ID=.5\n", false},
        BadVersion{"empty_second_piece", "VERSION_ID=5..1\n", false}, BadVersion{"sign_alone", "VERSION_ID=-\n", false},
        BadVersion{"blank", "VERSION_ID=\" \"\n", false}, BadVersion{"above_32_bits", "VERSION_ID=2147483648\n", true},
        BadVersion{"below_32_bits", "VERSION_ID=-2147483649\n", true},
        BadVersion{"third_piece_above_32_bits", "VERSION_ID=1.2.99999999999999999999\n", true}),
    rowName);

struct Quoted
{
    const char* name;
    const char* before;
    const char* after;
};

class RemoveQuotes : public testing::TestWithParam<Quoted>
{
};

TEST_P(RemoveQuotes, in_place)
{
    std::string text = GetParam().before;
    COSRelease::RemoveQuotes(text);
    EXPECT_EQ(text, GetParam().after);
}

INSTANTIATE_TEST_SUITE_P(Detection, RemoveQuotes,
    testing::Values(Quoted{"one_pair", R"("a")", "a"}, Quoted{"empty", "", ""},
        Quoted{"one_quote_stays", R"(")", R"(")"}, Quoted{"two_quotes_become_empty", R"("")", ""},
        Quoted{"three_quotes_become_one", R"(""")", R"(")"}, Quoted{"only_the_outer_pair", R"(""a"")", R"("a")"},
        Quoted{"quote_only_in_front", R"("a)", R"("a)"}, Quoted{"quote_only_at_the_end", R"(a")", R"(a")"},
        Quoted{"quotes_inside_stay", R"(a"b"c)", R"(a"b"c)"}, Quoted{"quotes_inside_a_pair_stay", R"("a"b")", R"(a"b)"},
        Quoted{"single_quotes_stay", "'a'", "'a'"}, Quoted{"mixed_quotes_stay", R"("a')", R"("a')"},
        Quoted{"no_quotes", "a", "a"}),
    rowName);

struct Split
{
    const char* name;
    const char* line;
    char delimiter;
    std::vector<std::string> pieces;
};

class SplitLine : public testing::TestWithParam<Split>
{
};

TEST_P(SplitLine, into_pieces)
{
    std::vector<std::string> parts = {"left", "over"};
    COSRelease::SplitLine(GetParam().line, parts, GetParam().delimiter);
    EXPECT_EQ(parts, GetParam().pieces);
}

INSTANTIATE_TEST_SUITE_P(Detection, SplitLine,
    testing::Values(Split{"key_and_value", "ID=fedora", '=', {"ID", "fedora"}}, Split{"no_value", "ID=", '=', {"ID"}},
        Split{"no_key", "=x", '=', {"", "x"}}, Split{"two_in_a_row", "a==b", '=', {"a", "", "b"}},
        Split{"three_pieces", "A=b=c", '=', {"A", "b", "c"}}, Split{"dots", "22.04", '.', {"22", "04"}},
        Split{"empty_line", "", '=', {}}, Split{"delimiter_alone", "=", '=', {""}},
        Split{"two_delimiters_alone", "==", '=', {"", ""}}, Split{"two_at_the_end", "a==", '=', {"a", ""}},
        Split{"no_delimiter", "abc", '=', {"abc"}}, Split{"nothing_is_trimmed", " a = b ", '=', {" a ", " b "}},
        Split{"quotes_do_not_protect", "\"a=b\"", '=', {"\"a", "b\""}},
        Split{"backslash_does_not_escape", "a\\=b", '=', {"a\\", "b"}},
        Split{"newline_is_an_ordinary_character", "a\n=b", '=', {"a\n", "b"}}),
    rowName);

TEST(SplitLineOf, null_throws_after_emptying)
{
    std::vector<std::string> parts = {"left", "over"};
    EXPECT_THROW(COSRelease::SplitLine(nullptr, parts, '='), std::logic_error);
    EXPECT_TRUE(parts.empty());
}

class ParseVersion : public testing::Test
{
protected:
    ParseVersion()
        : os(line.argc(), line.argv())
    {
        os.m_major = 7;
        os.m_minor = 8;
        os.m_patch = 9;
    }

    std::string parsed(const std::string& version)
    {
        os.m_versionId = version;
        os.ParseVersion();
        return numbers(os);
    }

    CommandLine line{{"zk_install", "--distrib", "arch"}};
    COSRelease os;
};

TEST_F(ParseVersion, empty_version_keeps_every_number)
{
    EXPECT_EQ(parsed(""), "7 8 9");
}

TEST_F(ParseVersion, number_without_a_piece_is_kept)
{
    EXPECT_EQ(parsed("1"), "1 8 9");
    EXPECT_EQ(parsed("2.3"), "2 3 9");
    EXPECT_EQ(parsed("4.5.6"), "4 5 6");
}

TEST_F(ParseVersion, trailing_dot_adds_no_piece)
{
    EXPECT_EQ(parsed("1."), "1 8 9");
}

TEST_F(ParseVersion, leading_zero_is_decimal)
{
    EXPECT_EQ(parsed("022.08.010"), "22 8 10");
}

TEST_F(ParseVersion, digits_end_at_the_first_other_character)
{
    EXPECT_EQ(parsed("16x.0-beta.3 a"), "16 0 3");
}

TEST_F(ParseVersion, white_space_and_sign_come_before_the_digits)
{
    EXPECT_EQ(parsed(" \t5.+6.-7"), "5 6 -7");
}

TEST_F(ParseVersion, whole_range_of_32_bits)
{
    EXPECT_EQ(parsed("2147483647.-2147483648.0"), "2147483647 -2147483648 0");
}

TEST_F(ParseVersion, numbers_before_a_bad_piece_are_set)
{
    EXPECT_THROW(parsed("1.2.x"), std::invalid_argument);
    EXPECT_EQ(numbers(os), "1 2 9");
}

} // namespace
