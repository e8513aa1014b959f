#ifndef KQSUPPORT_TESTS_RANDOM_H
#define KQSUPPORT_TESTS_RANDOM_H

#include <cstdint>
#include <functional>
#include <random>
#include <string>

/// The random numbers of one case. The same on every standard library, unlike the standard distributions.
class Random
{
public:
    explicit Random(unsigned seed)
        : m_engine(seed)
    {
    }

    /// A number from 0 to `bound` - 1.
    template <typename Integer>
    Integer below(Integer bound)
    {
        return Integer(m_engine() % std::uint64_t(bound));
    }
    bool oneIn(int chances) { return below(chances) == 0; }
    template <typename List>
    typename List::value_type of(const List& list)
    {
        return list[below(list.size())];
    }

private:
    std::mt19937_64 m_engine;
};

/// Runs `run` on `count` random cases, or on KQSUPPORT_TEST_CASES=N, until one fails. `run` describes its case, and the
/// failure shows the description and how to run that case alone. Returns how many cases ran.
///
/// The seed is GoogleTest's own, fixed by default: --gtest_random_seed=N or GTEST_RANDOM_SEED=N gives other cases.
int forEachRandomCase(int count, const std::function<std::string(Random&)>& run);

#endif
