#include "support/random.h"

#include <gtest/gtest.h>

#include <cstdlib>

int forEachRandomCase(int count, const std::function<std::string(Random&)>& run)
{
    if (const char* const wanted = std::getenv("KQSUPPORT_TEST_CASES"))
        count = std::atoi(wanted);
    for (int i = 0; i < count; ++i) {
        const int seed = testing::GTEST_FLAG(random_seed) + i;
        Random random{unsigned(seed)};
        const std::string story = run(random);
        if (testing::Test::HasFailure()) {
            ADD_FAILURE() << "with GTEST_RANDOM_SEED=" << seed << " KQSUPPORT_TEST_CASES=1: " << story;
            return i + 1;
        }
    }
    return count;
}
