// QFile of Qt 6 accepts any descriptor. To test a refusal, this program replaces QFile::open: the dynamic linker gives
// the library this definition.
#include "inistore/storetest.h"

#include <QFile>

namespace {

int refusals = 0;

}

bool QFile::open(int /*fd*/, OpenMode flags, FileHandleFlags handleFlags)
{
    EXPECT_EQ(flags, QIODevice::OpenMode(QIODevice::WriteOnly));
    EXPECT_EQ(handleFlags, FileHandleFlags(QFileDevice::DontCloseHandle));
    ++refusals;
    return false;
}

namespace {

TEST(RefusedDescriptor, gives_the_message_with_the_name)
{
    INIStore store;
    EXPECT_FALSE(store.Write(1, QStringLiteral("a %1 name")));
    EXPECT_EQ(refusals, 1);
    EXPECT_EQ(store.m_lastError, QStringLiteral("Unable to open a %1 name, with write permission"));
}

} // namespace
