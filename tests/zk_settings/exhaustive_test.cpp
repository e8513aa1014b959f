#include "document.h"
#include "failure.h"

#include "support/qtprinting.h"

#include <gtest/gtest.h>

namespace {

const QString key = QStringLiteral("k");
const Request toNew = {QString(), key, QStringLiteral("v"), true, false};

QByteArray edited(const QByteArray& bytes, void (Document::*edit)(const Request&), const Request& request)
{
    Document document(bytes);
    (document.*edit)(request);
    document.verify(request);
    return document.bytes();
}

QStringList valuesIn(const QByteArray& bytes)
{
    try {
        return Document(bytes).values(QString(), key);
    } catch (const Failure&) {
        return {};
    }
}

bool isAmbiguous(const QByteArray& bytes)
{
    return !Document(bytes).ambiguousLines(QString(), key).empty();
}

// Sets the key and undoes that. Only a last line without an end gets one, if the key is added after it.
void trySet(const QByteArray& bytes)
{
    SCOPED_TRACE(testing::PrintToString(bytes));
    QStringList values = valuesIn(bytes);
    const QByteArray after = edited(bytes, &Document::set, toNew);
    if (values.isEmpty()) {
        const QByteArray without = edited(after, &Document::remove, {QString(), key});
        const bool isEnded = !bytes.endsWith('\n') && (without == bytes + '\n' || without == bytes + "\r\n");
        EXPECT_TRUE(without == bytes || isEnded) << testing::PrintToString(without);
        EXPECT_EQ(valuesIn(after), QStringList(toNew.value));
        return;
    }
    const Request toOld = {QString(), key, values.first(), true, false};
    EXPECT_EQ(edited(after, &Document::set, toOld), bytes);
    values.first() = toNew.value;
    EXPECT_EQ(valuesIn(after), values);
}

TEST(EveryShortDocument, changes_only_in_the_value_or_is_refused)
{
    const QByteArray symbols = "k=; []\n\r";
    constexpr int longest = 4;
    int edits = 0;
    int refusals = 0;
    QList<QByteArray> documents = {""};
    for (int length = 0; length <= longest; ++length) {
        QList<QByteArray> longer;
        for (const QByteArray& bytes : documents) {
            if (isAmbiguous(bytes)) {
                EXPECT_TRUE(bytes.contains(';'));
                ++refusals;
            } else {
                trySet(bytes);
                ++edits;
            }
            for (const char symbol : symbols)
                longer.append(bytes + symbol);
        }
        documents = longer;
    }
    EXPECT_GT(edits, 3000);
    EXPECT_GT(refusals, 20);
}

} // namespace
