#include "xml/kqxml.h"

#include <gtest/gtest.h>

#include <type_traits>

namespace {

using OneText = QString (*)(const QDomElement&, const QString&);
using OneElement = QDomElement (*)(const QDomElement&, const QString&);
using OneAttribute = QString (*)(const QDomElement&, const QString&, const QString&);
using AllTexts = QStringList (*)(const QDomElement&, const QString&);
using AllElements = QList<QDomElement> (*)(const QDomElement&, const QString&);
using Update = void (*)(QDomDocument*, QDomElement*, const QString&);
using Insert = void (*)(QDomDocument*, QDomElement&, const QDomElement&, const QString&, const QString&);
using Extract = QByteArray (*)(const QByteArray&, const QString&, bool);

static_assert(std::is_same_v<decltype(&KQXml::GetChildElementText), OneText>);
static_assert(std::is_same_v<decltype(&KQXml::GetChildElement), OneElement>);
static_assert(std::is_same_v<decltype(&KQXml::GetChildElementAttribute), OneAttribute>);
static_assert(std::is_same_v<decltype(&KQXml::GetChildElementsTextList), AllTexts>);
static_assert(std::is_same_v<decltype(&KQXml::GetChildElements), AllElements>);
static_assert(std::is_same_v<decltype(&KQXml::UpdateElementText), Update>);
static_assert(std::is_same_v<decltype(&KQXml::InsertBeforeElement), Insert>);
static_assert(std::is_same_v<decltype(&KQXml::InsertAfterElement), Insert>);
static_assert(std::is_same_v<decltype(&KQXml::ExtractElement), Extract>);

static_assert(std::is_empty_v<KQXml> && !std::is_polymorphic_v<KQXml>);
static_assert(std::is_default_constructible_v<KQXml> && !std::is_trivially_default_constructible_v<KQXml>);
static_assert(std::is_destructible_v<KQXml> && !std::is_trivially_destructible_v<KQXml>);

TEST(Interface, constructor_and_destructor_are_exported)
{
    const KQXml unneeded;
    EXPECT_EQ(sizeof unneeded, 1U);
}

} // namespace
