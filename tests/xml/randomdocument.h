#ifndef KQSUPPORT_TESTS_RANDOMDOCUMENT_H
#define KQSUPPORT_TESTS_RANDOMDOCUMENT_H

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <chrono>
#include <random>

/// The dice of one random test. It prints its seed, and takes one from --gtest_random_seed to repeat a run.
class Dice
{
public:
    Dice();

    int below(int bound) { return std::uniform_int_distribution<int>(0, bound - 1)(m_engine); }
    bool oneIn(int chances) { return below(chances) == 0; }
    template <typename List>
    auto oneOf(const List& list)
    {
        return list[below(int(list.size()))];
    }

private:
    std::mt19937 m_engine;
};

/// Ends a loop over random cases after some seconds, but not before `least` of them have run.
class Cases
{
public:
    Cases(int least, int most, std::chrono::seconds limit);

    /// Whether one more case is to run.
    bool next();

private:
    int m_least;
    int m_most;
    int m_done = 0;
    std::chrono::steady_clock::time_point m_end;
};

/// The names that random documents are made of, some of them alike but for case or prefix.
const QStringList& elementNames();

/// A document of elements with and without prefix and content, attributes, text outside ASCII, CDATA, comments,
/// instructions and entities. Most are well-formed; a prefix is now and then not declared.
QByteArray randomDocument(Dice& dice);

#endif
