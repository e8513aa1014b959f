#include "support/mounts.h"

#include "support/files.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <sys/mount.h>
#include <unistd.h>

namespace {

TEST(PrivateMounts, end_with_the_action)
{
    const TempDir dir;
    withPrivateMounts([&] {
        ASSERT_EQ(mount("tmpfs", dir.path().c_str(), "tmpfs", 0, nullptr), 0);
        writeFile(dir / "file", "");
    });
    EXPECT_TRUE(std::filesystem::is_empty(dir.path()));
}

TEST(PrivateMounts, action_that_fails_fails_the_test)
{
    EXPECT_NONFATAL_FAILURE(withPrivateMounts([] { _exit(1); }), "the failures are above");
}

} // namespace
