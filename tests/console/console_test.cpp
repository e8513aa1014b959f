#include "console/console.h"

#include "support/capture.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <cwchar>
#include <fcntl.h>
#include <string>
#include <unistd.h>

namespace {

class Trace : public testing::Test
{
protected:
    void TearDown() override { g_kq_consoleSetupFlag = false; }

    int returned = -1;
};

TEST_F(Trace, is_off_when_the_library_is_loaded)
{
    EXPECT_FALSE(g_kq_consoleSetupFlag);
}

TEST_F(Trace, off_writes_nothing_and_returns_zero)
{
    EXPECT_EQ(captured(STDOUT_FILENO, [&] { returned = KQCONSOLETRACE("x=%d\n", 5); }), "");
    EXPECT_EQ(returned, 0);
}

TEST_F(Trace, off_reads_neither_format_nor_values)
{
    const char* const unreadable = nullptr;
    EXPECT_EQ(captured(STDOUT_FILENO, [&] { returned = KQCONSOLETRACE(unreadable, unreadable); }), "");
    EXPECT_EQ(returned, 0);
}

TEST_F(Trace, on_writes_the_formatted_text_and_returns_its_length)
{
    g_kq_consoleSetupFlag = true;
    EXPECT_EQ(captured(STDOUT_FILENO, [&] { returned = KQCONSOLETRACE("x=%d\n", 5); }), "x=5\n");
    EXPECT_EQ(returned, 4);
}

TEST_F(Trace, on_formats_every_value)
{
    g_kq_consoleSetupFlag = true;
    EXPECT_EQ(captured(STDOUT_FILENO,
                  [&] { returned = KQCONSOLETRACE("%s|%c|%5.2f|%ld|%%", "text", 'c', 3.14159, 5'000'000'000L); }),
        "text|c| 3.14|5000000000|%");
    EXPECT_EQ(returned, 25);
}

TEST_F(Trace, without_conversions_writes_the_format_as_it_is)
{
    g_kq_consoleSetupFlag = true;
    EXPECT_EQ(captured(STDOUT_FILENO, [&] { returned = KQCONSOLETRACE("no line end"); }), "no line end");
    EXPECT_EQ(returned, 11);
}

TEST_F(Trace, empty_format_writes_nothing)
{
    g_kq_consoleSetupFlag = true;
    const std::string empty; // a literal would cause a warning of -Wformat-zero-length
    EXPECT_EQ(captured(STDOUT_FILENO, [&] { returned = KQCONSOLETRACE(empty.c_str(), 0); }), "");
    EXPECT_EQ(returned, 0);
}

TEST_F(Trace, any_non_zero_byte_is_on)
{
    const unsigned char two = 2;
    std::memcpy(&g_kq_consoleSetupFlag, &two, 1);
    EXPECT_EQ(captured(STDOUT_FILENO, [&] { returned = KQCONSOLETRACE("on\n"); }), "on\n");
    EXPECT_EQ(returned, 3);
}

TEST_F(Trace, flag_is_read_on_every_call)
{
    EXPECT_EQ(captured(STDOUT_FILENO,
                  [] {
                      g_kq_consoleSetupFlag = true;
                      KQCONSOLETRACE("1");
                      g_kq_consoleSetupFlag = false;
                      KQCONSOLETRACE("2");
                      g_kq_consoleSetupFlag = true;
                      KQCONSOLETRACE("3");
                  }),
        "13");
}

TEST_F(Trace, is_flushed_before_the_call_returns)
{
    // Standard output is a file here, so it is fully buffered and only an explicit flush writes the text.
    g_kq_consoleSetupFlag = true;
    off_t arrived = -1;
    captured(STDOUT_FILENO, [&] {
        KQCONSOLETRACE("four");
        arrived = lseek(STDOUT_FILENO, 0, SEEK_CUR);
    });
    EXPECT_EQ(arrived, 4);
}

TEST_F(Trace, goes_to_standard_output_only)
{
    g_kq_consoleSetupFlag = true;
    const std::string errors = captured(
        STDERR_FILENO, [] { withDescriptor(STDOUT_FILENO, "/dev/null", O_WRONLY, [] { KQCONSOLETRACE("text\n"); }); });
    EXPECT_EQ(errors, "");
}

TEST_F(Trace, output_error_gives_the_negative_result_of_vfprintf)
{
    // Longer than the stream's buffer, so vfprintf itself fails.
    g_kq_consoleSetupFlag = true;
    const std::string text(1 << 20, 'x');
    const std::string errors = captured(STDERR_FILENO, [&] {
        withDescriptor(STDOUT_FILENO, "/dev/full", O_WRONLY, [&] { returned = KQCONSOLETRACE("%s", text.c_str()); });
    });
    EXPECT_LT(returned, 0);
    EXPECT_EQ(errors, "");
}

TEST_F(Trace, result_of_the_flush_is_ignored)
{
    // Fits in the stream's buffer, so only the flush fails.
    g_kq_consoleSetupFlag = true;
    withDescriptor(STDOUT_FILENO, "/dev/full", O_WRONLY, [&] { returned = KQCONSOLETRACE("short"); });
    EXPECT_EQ(returned, 5);
}

TEST(Pause, reads_and_writes_nothing)
{
    // Standard input contains a line that must still be there afterwards.
    int pipeEnds[2];
    ASSERT_EQ(pipe(pipeEnds), 0);
    ASSERT_EQ(write(pipeEnds[1], "line\n", 5), 5);
    const int savedInput = dup(STDIN_FILENO);
    dup2(pipeEnds[0], STDIN_FILENO);

    const std::string errors =
        captured(STDERR_FILENO, [] { EXPECT_EQ(captured(STDOUT_FILENO, [] { KQCONSOLEPAUSE(); }), ""); });

    char left[8] = {};
    EXPECT_EQ(read(STDIN_FILENO, left, sizeof left), 5);
    EXPECT_STREQ(left, "line\n");
    EXPECT_EQ(errors, "");
    dup2(savedInput, STDIN_FILENO);
    for (const int descriptor : {savedInput, pipeEnds[0], pipeEnds[1]})
        close(descriptor);
}

TEST(Pause, returns_without_a_console)
{
    const int savedInput = dup(STDIN_FILENO);
    close(STDIN_FILENO);
    errno = 0;
    KQCONSOLEPAUSE();
    EXPECT_EQ(errno, 0); // a read from there would have set it
    dup2(savedInput, STDIN_FILENO);
    close(savedInput);
}

class ToWide : public testing::Test
{
protected:
    wchar_t buffer[10] = {L'#', L'#', L'#', L'#', L'#', L'#', L'#', L'#', L'#', L'#'};

    std::wstring content() const { return {buffer, 10}; }
};

const std::wstring untouchedWide = L"##########";
const std::wstring terminatedWide = std::wstring(1, L'\0') + L"#########";

TEST_F(ToWide, leaves_an_empty_string_and_the_rest_of_the_buffer)
{
    EXPECT_EQ(AnsiToUnicode16("abc", buffer, 10), 1);
    EXPECT_EQ(content(), terminatedWide);
}

TEST_F(ToWide, capacity_of_one_is_enough)
{
    EXPECT_EQ(AnsiToUnicode16("abc", buffer, 1), 1);
    EXPECT_EQ(content(), terminatedWide);
}

TEST_F(ToWide, capacity_zero_touches_nothing)
{
    EXPECT_EQ(AnsiToUnicode16("abc", buffer, 0), 0);
    EXPECT_EQ(content(), untouchedWide);
}

TEST_F(ToWide, negative_capacity_touches_nothing)
{
    EXPECT_EQ(AnsiToUnicode16("abc", buffer, -1), 0);
    EXPECT_EQ(content(), untouchedWide);
}

TEST_F(ToWide, never_reads_the_source)
{
    EXPECT_EQ(AnsiToUnicode16(nullptr, buffer, 10), 1);
    EXPECT_EQ(content(), terminatedWide);
}

class FromWide : public testing::Test
{
protected:
    char buffer[10] = {'#', '#', '#', '#', '#', '#', '#', '#', '#', '#'};
    wchar_t source[4] = {L'a', L'b', L'c', L'\0'};

    std::string content() const { return {buffer, 10}; }
};

const std::string untouched = "##########";
const std::string terminated = std::string(1, '\0') + "#########";

TEST_F(FromWide, leaves_an_empty_string_and_the_rest_of_the_buffer)
{
    EXPECT_EQ(Unicode16ToAnsi(source, buffer, 10), 0);
    EXPECT_EQ(content(), terminated);
    EXPECT_STREQ(source, L"abc");
}

TEST_F(FromWide, capacity_of_one_is_enough)
{
    EXPECT_EQ(Unicode16ToAnsi(source, buffer, 1), 0);
    EXPECT_EQ(content(), terminated);
}

TEST_F(FromWide, capacity_zero_touches_nothing)
{
    EXPECT_EQ(Unicode16ToAnsi(source, buffer, 0), 0);
    EXPECT_EQ(content(), untouched);
}

TEST_F(FromWide, negative_capacity_touches_nothing)
{
    EXPECT_EQ(Unicode16ToAnsi(source, buffer, -1), 0);
    EXPECT_EQ(content(), untouched);
}

TEST_F(FromWide, never_reads_the_source)
{
    EXPECT_EQ(Unicode16ToAnsi(nullptr, buffer, 10), 0);
    EXPECT_EQ(content(), terminated);
}

} // namespace
