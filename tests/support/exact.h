#ifndef KQSUPPORT_TESTS_EXACT_H
#define KQSUPPORT_TESTS_EXACT_H

#include "support/qtprinting.h"

/// Compares texts with null and empty as different, unlike QString: `EXPECT_EQ(exactly(a), exactly(b))`.
struct Exact
{
    QString text;
};

inline Exact exactly(const QString& text)
{
    return {text};
}

inline bool operator==(const Exact& a, const Exact& b)
{
    return a.text.isNull() == b.text.isNull() && a.text == b.text;
}

inline void PrintTo(const Exact& exact, std::ostream* out)
{
    PrintTo(exact.text, out);
}

#endif
