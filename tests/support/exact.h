#ifndef KQSUPPORT_TESTS_EXACT_H
#define KQSUPPORT_TESTS_EXACT_H

#include "support/qtprinting.h"

/// A text that equals another only when both are null or neither is: `EXPECT_EQ(exactly(a), exactly(b))`. QString's own
/// comparison takes null for empty.
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
