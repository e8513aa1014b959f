#ifndef KQSUPPORT_TESTS_RANDOM_H
#define KQSUPPORT_TESTS_RANDOM_H

#include <cstdint>
#include <functional>
#include <random>
#include <string>

/// The random numbers of one case. Unlike the standard distributions, they are the same with every standard library.
class Random
{
public:
    explicit Random(unsigned seed)
    {
        std::seed_seq words = {seed}; // unlike numbers for neighbouring seeds
        m_engine.seed(words);
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
    std::minstd_rand m_engine; // a Mersenne Twister takes longer to seed than most cases to run
};

/// Calls `run` for `count` random cases, until one fails. `run` returns a description of its case, and a failure shows
/// it and how to run that case alone. Returns how many cases ran. KQSUPPORT_TEST_CASES=N in the environment replaces
/// `count`.
///
/// The seed is GoogleTest's and is fixed by default. --gtest_random_seed=N or GTEST_RANDOM_SEED=N gives other cases.
int forEachRandomCase(int count, const std::function<std::string(Random&)>& run);

#endif
