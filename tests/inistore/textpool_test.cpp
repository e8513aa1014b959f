#include "inistore/storetest.h"

#include "inistore/textpool_p.h"
#include "support/random.h"

#include <algorithm>
#include <limits>
#include <new>
#include <optional>

namespace {

using Texts = inistore::TextPool<QString, QStringView, 32>;
using Bytes = inistore::TextPool<QByteArray, std::string_view, 32>;

bool isFollowedByNul(const QString& text)
{
    return text.constData()[text.size()].isNull();
}

TEST(TextPool, copies_lie_side_by_side_each_with_a_nul)
{
    Texts pool;
    const QString first = pool.copy(u"key");
    const QString second = pool.copy(u"ü=");
    EXPECT_EQ(first, Text("key"));
    EXPECT_EQ(second, Text("ü="));
    EXPECT_TRUE(isFollowedByNul(first) && isFollowedByNul(second));
    EXPECT_EQ(second.constData() - first.constData(), 4);
}

TEST(TextPool, copies_any_bytes)
{
    Bytes pool;
    const QByteArray first = pool.copy(std::string_view("k=\0\xff\n", 5));
    const QByteArray second = pool.copy("end");
    EXPECT_EQ(first, QByteArray("k=\0\xff\n", 5));
    EXPECT_EQ(first.constData()[5], '\0');
    EXPECT_STREQ(second.constData(), "end");
}

TEST(TextPool, empty_text_is_not_null)
{
    Texts pool;
    const QString empty = pool.copy(u"");
    EXPECT_TRUE(!empty.isNull() && empty.isEmpty() && isFollowedByNul(empty));
}

TEST(TextPool, long_text_is_allocated_alone_and_the_block_stays_in_use)
{
    Texts pool;
    const QString before = pool.copy(u"a");
    const QString text(17, u'x');
    const QString alone = pool.copy(text);
    const QString after = pool.copy(u"b");
    EXPECT_EQ(alone, text);
    EXPECT_LT(alone.capacity(), 32);
    EXPECT_EQ(after.constData() - before.constData(), 2);
}

TEST(TextPool, first_blocks_are_small)
{
    Texts pool;
    EXPECT_EQ(pool.copy(u"abc").capacity(), 8);
    EXPECT_EQ(pool.copy(u"defgh").capacity(), 28);
    const QString third = pool.copy(QString(16, u'x')); // just short enough for a block
    EXPECT_EQ(pool.copy(QString(16, u'y')).capacity(), 32);
}

TEST(TextPool, stays_usable_when_an_allocation_fails)
{
    inistore::TextPool<QString, QStringView, std::numeric_limits<qsizetype>::max()> pool;
    const QString before = pool.copy(u"before");
    const QStringView larger_than_memory(before.constData(), qsizetype(1) << 61);
    EXPECT_THROW(pool.copy(larger_than_memory), std::bad_alloc);
    const QString after = pool.copy(u"after");
    EXPECT_EQ(before, Text("before"));
    EXPECT_EQ(after, Text("after"));
    EXPECT_EQ(after.constData() - before.constData(), 7);
    // By now the block is full, so a new one starts.
    EXPECT_EQ(pool.copy(u"next").capacity(), 2 * (14 + 4 + 1));
}

TEST(TextPool, copies_outlive_the_pool)
{
    std::optional<Texts> pool(std::in_place);
    const QString first = pool->copy(u"first");
    QString second = pool->copy(u"second");
    pool.reset();
    EXPECT_EQ(first, Text("first"));
    second.clear();
    EXPECT_EQ(first, Text("first"));
}

// What a client may do to a text. `copy` is an independent text with the value that the operation uses.
template <typename TextType>
void change(Random& random, TextType& text, const TextType& copy)
{
    const qsizetype position = random.below(text.size() + 1);
    const qsizetype length = random.below(text.size() - position + 1);
    switch (random.below(14)) {
    case 0:
        text.append(copy);
        break;
    case 1:
        text.prepend(copy);
        break;
    case 2:
        text.insert(position, copy);
        break;
    case 3:
        text.remove(position, length);
        break;
    case 4:
        text.replace(position, length, copy);
        break;
    case 5:
        text.truncate(position);
        break;
    case 6:
        text.reserve(text.size() + position);
        break;
    case 7:
        text.squeeze();
        break;
    case 8:
        text.detach();
        break;
    case 9:
        text = text + copy;
        break;
    case 10:
        text = copy + text;
        break;
    case 11:
        text.clear();
        break;
    case 12:
        text.resize(text.size() + position);
        std::fill(text.end() - position, text.end(), typename TextType::value_type(u'x'));
        break;
    default:
        text.chop(position);
        break;
    }
}

// Changes or destroys the pool's texts in random order, so that any of them may be the last owner of its block. Each
// must always equal an ordinary text that was changed in the same way.
template <typename TextType, typename Pool, typename View>
void expectChangesAsOfOrdinaryTexts(Random& random, const std::vector<TextType>& samples)
{
    Pool pool;
    std::vector<TextType> texts;
    std::vector<TextType> ordinary;
    const auto step = [&] {
        const std::size_t i = random.below(texts.size());
        if (random.oneIn(4)) {
            texts.erase(texts.begin() + std::ptrdiff_t(i));
            ordinary.erase(ordinary.begin() + std::ptrdiff_t(i));
            return;
        }
        const TextType sample = random.of(samples);
        Random repeated = random;
        change(random, texts[i], sample);
        change(repeated, ordinary[i], sample);
    };
    for (int i = 0; i < 12; ++i) {
        const TextType sample = random.of(samples);
        texts.push_back(pool.copy(View(sample.data(), std::size_t(sample.size()))));
        ordinary.push_back(TextType(sample.constData(), sample.size()));
        if (random.oneIn(3))
            step();
        ASSERT_EQ(texts, ordinary);
    }
    pool = Pool();
    while (!texts.empty()) {
        step();
        ASSERT_EQ(texts, ordinary);
        for (const TextType& text : texts)
            ASSERT_EQ(text.constData()[text.size()], typename TextType::value_type());
    }
}

struct StringViewOf : QStringView
{
    StringViewOf(const QChar* data, std::size_t size)
        : QStringView(data, qsizetype(size))
    {
    }
};

TEST(TextPool, changed_strings_equal_ordinary_strings)
{
    const std::vector<QString> samples = {Text(""), Text("k"), Text("key"), Text("wörter"), Text("sixteen letters!"),
        Text("more than half of a block, so alone")};
    forEachRandomCase(2000, [&](Random& random) {
        expectChangesAsOfOrdinaryTexts<QString, Texts, StringViewOf>(random, samples);
        return std::string("strings");
    });
}

TEST(TextPool, changed_bytes_equal_ordinary_bytes)
{
    const std::vector<QByteArray> samples = {
        "", "k", "key", "\xff\xfe", "sixteen letters!", "more than half of a block, so alone"};
    forEachRandomCase(2000, [&](Random& random) {
        expectChangesAsOfOrdinaryTexts<QByteArray, Bytes, std::string_view>(random, samples);
        return std::string("bytes");
    });
}

// A text keeps its whole block allocated. Its capacity is the size of the block in characters.
TEST_F(StoreTest, a_kept_value_keeps_only_a_small_block)
{
    std::string document = "[section]\n";
    for (int i = 1000; i < 2000; ++i)
        document += "option" + std::to_string(i) + " = value of section " + std::to_string(i) + '\n';
    given(document);
    qsizetype largest = 0;
    qsizetype largestRaw = 0;
    for (const INILine& line : store.m_sections.at(1).m_lines) {
        largest = std::max(largest, line.m_value.capacity());
        largestRaw = std::max(largestRaw, line.m_raw.capacity());
        EXPECT_LE((line.m_value + QStringLiteral("/x")).capacity(), 2 * 112);
    }
    EXPECT_EQ(largest, 112);
    EXPECT_EQ(largestRaw, 512);
}

} // namespace
