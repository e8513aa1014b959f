#include "support/process.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <csignal>
#include <poll.h>
#include <unistd.h>

namespace {

Start within(unsigned seconds)
{
    Start start;
    start.seconds = seconds;
    return start;
}

TEST(Process, that_hangs_is_ended_with_its_children_and_fails_the_test)
{
    int ends[2]; // the children inherit both, and the last to end closes the pipe
    ASSERT_EQ(pipe(ends), 0);
    EXPECT_NONFATAL_FAILURE(
        EXPECT_EQ(run({"sh", "-c", "sleep 1000 & wait"}, within(1)).status, 128 + SIGALRM), "did not end within 1 s");
    close(ends[1]);
    pollfd closed = {ends[0], POLLIN, 0};
    EXPECT_EQ(poll(&closed, 1, 10'000), 1) << "a child still runs";
    close(ends[0]);
}

TEST(Process, that_ends_in_time_does_not_fail_the_test)
{
    EXPECT_EQ(run({"sh", "-c", "exit 3"}, within(10)).status, 3);
}

} // namespace
