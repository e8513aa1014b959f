#ifndef KQSUPPORT_TESTS_ROWS_H
#define KQSUPPORT_TESTS_ROWS_H

#include <gtest/gtest.h>

#include <cstdlib>
#include <ostream>
#include <string>

/// Names the cases of a parameterised test after their rows. A row has a `name` of letters, digits and '_'.
inline constexpr auto rowName = [](const auto& info) { return std::string(info.param.name); };

namespace {

/// Prints a row as its name. In the unnamed namespace, where GoogleTest finds it for the row types of the tests.
template <typename Row>
auto operator<<(std::ostream& out, const Row& row) -> decltype(out << row.name)
{
    return out << row.name;
}

} // namespace

/// Skips a test that the machine cannot run (a namespace, a tool), with the reason. In CI it fails instead.
#define SKIP_OR_FAIL(reason)                                                                                           \
    do {                                                                                                               \
        if (std::getenv("CI"))                                                                                         \
            GTEST_FAIL() << (reason);                                                                                  \
        GTEST_SKIP() << (reason);                                                                                      \
    } while (false)

#endif
