// Runs the example program.
#include "support/files.h"
#include "support/process.h"
#include "support/rows.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <iterator>
#include <string>
#include <unistd.h>

namespace {

using namespace std::string_literals;

constexpr std::size_t mebibyte = 1024 * 1024;

class ZkZoom : public testing::Test
{
protected:
    Finished start(const std::string& argument = {}) const
    {
        return argument.empty() ? run({ZK_ZOOM, file}) : run({ZK_ZOOM, file, argument});
    }

    /// Starts the program with a limit of 1 MiB for each file that it writes.
    Finished startOnAFullDisk(const std::string& prepare, const std::string& argument) const
    {
        return run({"sh", "-c", prepare + " ulimit -f 2048; exec \"$0\" \"$1\" \"$2\"", ZK_ZOOM, file, argument});
    }

    std::ptrdiff_t filesInTheDirectory() const
    {
        return std::distance(std::filesystem::directory_iterator(dir.path()), {});
    }

    const TempDir dir;
    const std::string file = dir / "settings.ini";
};

struct ZoomRow
{
    const char* name;
    std::string before;
    const char* zoom;
    std::string after; ///< with a zoom of 125
};

class Zoom : public ZkZoom, public testing::WithParamInterface<ZoomRow>
{
};

TEST_P(Zoom, is_printed_and_changed)
{
    writeFile(file, GetParam().before);
    const Finished printed = start();
    EXPECT_EQ(printed.out, GetParam().zoom + "\n"s);
    EXPECT_EQ(printed.status, 0) << printed.err;
    EXPECT_EQ(readFile(file), GetParam().before);

    const Finished changed = start("125");
    EXPECT_EQ(changed.out + changed.err, "");
    EXPECT_EQ(changed.status, 0);
    EXPECT_EQ(readFile(file), GetParam().after);
    EXPECT_EQ(start().out, "125\n");
    EXPECT_EQ(filesInTheDirectory(), 1);
}

INSTANTIATE_TEST_SUITE_P(Program, Zoom,
    testing::Values( //
        ZoomRow{"updated", "; mine\n[View]\n  Zoom=80 ; percent\n[net]\na=1\n", "80",
            "; mine\n[View]\n  Zoom=125 ; percent\n[net]\na=1\n"},
        ZoomRow{"updated_without_a_line_end", "[view]\r\nzoom = 80", "80", "[view]\r\nzoom = 125"},
        ZoomRow{"added", "[view]\nname=x\n[net]\na=1", "100", "[view]\nname=x\nzoom = 125\n[net]\na=1"},
        ZoomRow{"added_to_cr_lf", "[view]\r\nname=x\r\n[net]\r\na=1\r\n", "100",
            "[view]\r\nname=x\r\nzoom = 125\r\n[net]\r\na=1\r\n"},
        ZoomRow{
            "added_to_cr_lf_without_a_last_line_end", "[view]\r\nname=x", "100", "[view]\r\nname=x\r\nzoom = 125\r\n"},
        ZoomRow{
            "added_after_a_header_without_a_line_end", "name=x\r\n[view]", "100", "name=x\r\n[view]\r\nzoom = 125\r\n"},
        ZoomRow{"added_with_its_section", "a=1\r\n", "100", "a=1\r\n[view]\r\nzoom = 125\r\n"},
        ZoomRow{"added_to_an_empty_file", "", "100", "[view]\nzoom = 125\n"}),
    rowName);

TEST_F(ZkZoom, creates_an_absent_file)
{
    EXPECT_EQ(start().out, "100\n");
    EXPECT_EQ(filesInTheDirectory(), 0);
    EXPECT_EQ(start("90").status, 0);
    EXPECT_EQ(readFile(file), "[view]\nzoom = 90\n");
}

TEST_F(ZkZoom, keeps_a_link_and_the_permissions)
{
    using std::filesystem::perms;
    writeFile(dir / "real.ini", "");
    std::filesystem::permissions(dir / "real.ini", perms(0640));
    std::filesystem::create_symlink("real.ini", file);
    EXPECT_EQ(start("90").status, 0);
    EXPECT_TRUE(std::filesystem::is_symlink(file));
    EXPECT_EQ(readFile(dir / "real.ini"), "[view]\nzoom = 90\n");
    EXPECT_EQ(std::filesystem::status(file).permissions(), perms(0640));
}

// A document of this size, with a zoom of 80.
std::string document(std::size_t size)
{
    std::string bytes = "[view]\nzoom = 80\n";
    while (bytes.size() < size)
        bytes += std::string(std::min<std::size_t>(size - bytes.size(), 64) - 1, ';') + '\n';
    return bytes;
}

// The smaller document fails when the file is flushed, the larger one while it is written.
TEST_F(ZkZoom, leaves_the_old_file_on_a_full_disk)
{
    for (const std::size_t size : {mebibyte, 2 * mebibyte}) {
        const std::string before = document(size);
        writeFile(file, before);
        const Finished finished = startOnAFullDisk("trap '' XFSZ;", "125"); // one byte more
        EXPECT_EQ(finished.err.rfind("zk_zoom: " + file + ": not saved: ", 0), 0U) << finished.err;
        EXPECT_EQ(finished.status, 1);
        EXPECT_TRUE(readFile(file) == before);
        EXPECT_EQ(filesInTheDirectory(), 1);
    }
}

// Without a handler, the signal of the limit ends the program while it writes.
TEST_F(ZkZoom, leaves_the_old_file_when_it_crashes)
{
    const std::string before = document(mebibyte);
    writeFile(file, before);
    EXPECT_EQ(startOnAFullDisk("", "125").status, 128 + SIGXFSZ);
    EXPECT_TRUE(readFile(file) == before);
}

struct RefusedRow
{
    const char* name;
    std::string before;
    std::string argument;
    std::string message; ///< or its start
};

class Refused : public ZkZoom, public testing::WithParamInterface<RefusedRow>
{
};

TEST_P(Refused, with_a_message_and_the_old_file)
{
    writeFile(file, GetParam().before);
    const Finished finished = start(GetParam().argument);
    EXPECT_EQ(finished.out, "");
    EXPECT_EQ(finished.err.rfind("zk_zoom: " + file + ": " + GetParam().message, 0), 0U) << finished.err;
    EXPECT_EQ(finished.status, 1);
    EXPECT_EQ(readFile(file), GetParam().before);
    EXPECT_EQ(filesInTheDirectory(), 1);
}

INSTANTIATE_TEST_SUITE_P(Program, Refused,
    testing::Values( //
        RefusedRow{"value_that_is_no_number", "[view]\nzoom=o\n", "125", "the zoom is not a number\n"},
        RefusedRow{"empty_value", "[view]\nzoom=\n", "125", "the zoom is not a number\n"},
        RefusedRow{"line_that_cannot_be_written", "[view]\nzoom=1\na=\0\n"s, "125", "not saved: Error writing to "}),
    rowName);

TEST_F(ZkZoom, accepts_only_a_number)
{
    const Finished finished = start("12;5");
    EXPECT_EQ(finished.err, "usage: zk_zoom FILE [PERCENT]\n");
    EXPECT_EQ(finished.status, 2);
    EXPECT_EQ(filesInTheDirectory(), 0);
}

TEST_F(ZkZoom, reports_a_directory)
{
    std::filesystem::create_directory(file);
    const Finished finished = start();
    EXPECT_EQ(finished.err, "zk_zoom: " + file + ": Unable to open " + file + ", with read permission\n");
    EXPECT_EQ(finished.status, 1);
}

} // namespace
