// Besides the exported symbols, a client's binary depends on the layout of the public classes and of the virtual table.
#include "inistore/inistore.h"
#include "osrelease/osrelease.h"
#include "xml/kqxml.h"

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <link.h>

#include <type_traits>

namespace {

// On 64-bit Linux std::string is a pointer, a size and 16 bytes for a short text; QString, QByteArray and QList are
// three words (header, data, size); QObject is two (virtual table, private data).
static_assert(sizeof(void*) == 8 && sizeof(std::string) == 32 && sizeof(QObject) == 16);
static_assert(sizeof(QString) == 24 && sizeof(QByteArray) == 24 && sizeof(QList<int>) == 24);

template <typename Object, typename Field>
std::ptrdiff_t offset(const Object& object, const Field& field)
{
    return reinterpret_cast<const char*>(&field) - reinterpret_cast<const char*>(&object);
}

TEST(Abi, of_COSRelease)
{
    char name[] = "zk_install";
    char option[] = "--distrib";
    char* argv[] = {name, option, nullptr};
    const COSRelease os(2, argv);
    EXPECT_EQ(offset(os, os.m_verifiedReleases), 0 * 32);
    EXPECT_EQ(offset(os, os.m_error), 1 * 32);
    EXPECT_EQ(offset(os, os.m_id), 2 * 32);
    EXPECT_EQ(offset(os, os.m_idLike), 3 * 32);
    EXPECT_EQ(offset(os, os.m_versionId), 4 * 32);
    EXPECT_EQ(offset(os, os.m_prettyName), 5 * 32);
    EXPECT_EQ(offset(os, os.m_major), 6 * 32);
    EXPECT_EQ(offset(os, os.m_minor), 6 * 32 + 4);
    EXPECT_EQ(offset(os, os.m_patch), 6 * 32 + 8);
    EXPECT_EQ(sizeof os, 6 * 32 + 12 + 4U); // padded to its alignment
    EXPECT_EQ(alignof(COSRelease), 8U);
    EXPECT_TRUE(std::is_standard_layout_v<COSRelease>);
}

TEST(Abi, of_INILine)
{
    const INILine line({}, {}, {});
    EXPECT_EQ(offset(line, line.m_key), 0);
    EXPECT_EQ(offset(line, line.m_value), 24);
    EXPECT_EQ(offset(line, line.m_raw), 48);
    EXPECT_EQ(sizeof line, 72U);
    EXPECT_EQ(alignof(INILine), 8U);
    EXPECT_FALSE(std::is_polymorphic_v<INILine>);
}

TEST(Abi, of_INISection)
{
    const INISection section({}, {});
    EXPECT_EQ(offset(section, section.m_name), 0);
    EXPECT_EQ(offset(section, section.m_raw), 24);
    EXPECT_EQ(offset(section, section.m_lines), 48);
    EXPECT_EQ(sizeof section, 72U);
    EXPECT_EQ(alignof(INISection), 8U);
    EXPECT_FALSE(std::is_polymorphic_v<INISection>);
}

TEST(Abi, of_INIStore)
{
    const INIStore store;
    EXPECT_EQ(offset(store, static_cast<const QObject&>(store)), 0);
    EXPECT_EQ(offset(store, store.m_sections), 16);
    EXPECT_EQ(offset(store, store.m_currentSection), 16 + 24);
    EXPECT_EQ(offset(store, store.m_lastError), 16 + 24 + 8); // after 4 bytes of padding
    EXPECT_EQ(sizeof store, 16 + 24 + 8 + 24U);
    EXPECT_EQ(alignof(INIStore), 8U);
    EXPECT_TRUE((std::is_base_of_v<QObject, INIStore>));
}

void* const* virtualTable(const QObject& object)
{
    return *reinterpret_cast<void* const* const*>(&object);
}

void* symbol(const char* name)
{
    return dlsym(RTLD_DEFAULT, name);
}

TEST(Abi, of_the_virtual_table_of_INIStore)
{
    const INIStore store;
    void* const* const table = virtualTable(store);
    EXPECT_EQ(table[0], symbol("_ZNK8INIStore10metaObjectEv"));
    EXPECT_EQ(table[1], symbol("_ZN8INIStore11qt_metacastEPKc"));
    EXPECT_EQ(table[2], symbol("_ZN8INIStore11qt_metacallEN11QMetaObject4CallEiPPv"));
    EXPECT_EQ(table[3], symbol("_ZN8INIStoreD1Ev"));
    EXPECT_EQ(table[4], symbol("_ZN8INIStoreD0Ev"));

    // The rest is QObject's: event, eventFilter, timerEvent, childEvent, customEvent, connectNotify, disconnectNotify.
    const QObject object;
    for (int i = 5; i < 12; ++i)
        EXPECT_EQ(table[i], virtualTable(object)[i]) << i;

    Dl_info info = {};
    void* entry = nullptr;
    ASSERT_NE(dladdr1(table, &info, &entry, RTLD_DL_SYMENT), 0);
    EXPECT_STREQ(info.dli_sname, "_ZTV8INIStore");
    EXPECT_EQ(static_cast<const ElfW(Sym)*>(entry)->st_size, (2 + 12) * 8U); // offset to top, type, functions
}

TEST(Abi, of_KQXml)
{
    EXPECT_TRUE(std::is_empty_v<KQXml>);
    EXPECT_FALSE(std::is_polymorphic_v<KQXml>);
}

} // namespace
