#include "xml/kqxml.h"

#include "support/qtprinting.h"

#include <gtest/gtest.h>

#include <pthread.h>

namespace {

constexpr int levels = 100'000;

/// <n><n>...<k v="1">text</k>...</n></n>, built from the innermost outward: appending to a deep element makes Qt climb
/// to the root each time. Taken apart from the top, one level at a time, because Qt destroys a subtree by recursion.
class DeepDocument : public testing::Test
{
protected:
    DeepDocument()
    {
        top = document.createElement(QStringLiteral("k"));
        top.setAttribute(QStringLiteral("v"), QStringLiteral("1"));
        top.appendChild(document.createTextNode(QStringLiteral("text")));
        for (int level = 0; level < levels; ++level) {
            QDomElement outer = document.createElement(QStringLiteral("n"));
            outer.appendChild(top);
            top = outer;
        }
    }
    ~DeepDocument() override
    {
        while (!top.isNull()) {
            const QDomElement inner = top.firstChild().toElement();
            top.removeChild(inner);
            top = inner;
        }
    }

    QDomDocument document;
    QDomElement top;
};

/// Runs an action on a stack far too small for one frame a level.
template <typename Action>
void onSmallStack(Action action)
{
    pthread_attr_t attributes;
    ASSERT_EQ(pthread_attr_init(&attributes), 0);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, 256 * 1024), 0);
    pthread_t thread{};
    const auto start = [](void* argument) -> void* {
        (*static_cast<Action*>(argument))();
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attributes, start, &action), 0);
    EXPECT_EQ(pthread_join(thread, nullptr), 0);
    pthread_attr_destroy(&attributes);
}

TEST_F(DeepDocument, lookups_use_no_stack_for_depth)
{
    onSmallStack([&] {
        const QString k = QStringLiteral("k");
        EXPECT_EQ(KQXml::GetChildElementText(top, k), QStringLiteral("text"));
        EXPECT_EQ(KQXml::GetChildElement(top, k).tagName(), k);
        EXPECT_EQ(KQXml::GetChildElementAttribute(top, k, QStringLiteral("v")), QStringLiteral("1"));
        EXPECT_EQ(KQXml::GetChildElementsTextList(top, k), QStringList(QStringLiteral("text")));
        EXPECT_EQ(KQXml::GetChildElements(top, QStringLiteral("n")).size(), levels - 1);
        EXPECT_TRUE(KQXml::GetChildElement(top, QStringLiteral("absent")).isNull());
    });
}

TEST_F(DeepDocument, edits_use_no_stack_for_depth)
{
    onSmallStack([&] {
        QDomElement innermost = KQXml::GetChildElement(top, QStringLiteral("k"));
        QDomElement parent = innermost.parentNode().toElement();
        KQXml::UpdateElementText(&document, &innermost, QStringLiteral("new"));
        KQXml::InsertAfterElement(&document, parent, innermost, QStringLiteral("t"), QStringLiteral("x"));
        EXPECT_EQ(innermost.text(), QStringLiteral("new"));
        EXPECT_EQ(parent.lastChild().toElement().text(), QStringLiteral("x"));
    });
}

TEST(DeepBytes, extraction_uses_no_stack_for_depth)
{
    onSmallStack([] {
        const QByteArray xml = QByteArray("<n>").repeated(levels) + "<k>1</k>" + QByteArray("</n>").repeated(levels);
        EXPECT_EQ(KQXml::ExtractElement(xml, QStringLiteral("k"), false), QByteArray("<k>1</k>"));
    });
}

} // namespace
