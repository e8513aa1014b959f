#ifndef KQSUPPORT_TESTS_INISTORE_STORETEST_H
#define KQSUPPORT_TESTS_INISTORE_STORETEST_H

#include "inistore/edits.h"

#include "support/exact.h"
#include "support/files.h"
#include "support/qtprinting.h"

#include <gtest/gtest.h>

/// The null text, where it differs from "".
inline const QString null;

void PrintTo(const Entry& entry, std::ostream* out);
void PrintTo(const Edit& edit, std::ostream* out);

/// The bytes of every header and line in the store.
std::string documentOf(const INIStore& store);

std::string bytesOf(const QByteArray& bytes);
QByteArray toBytes(const std::string& bytes);
QString toPath(const std::string& path);
QStringList toList(const std::vector<Text>& texts);

/// Sets INIStore::s_newline for its lifetime.
class WithNewline
{
public:
    explicit WithNewline(const QString& newline)
        : m_saved(INIStore::s_newline)
    {
        INIStore::s_newline = newline;
    }
    ~WithNewline() { INIStore::s_newline = m_saved; }
    WithNewline(const WithNewline&) = delete;
    WithNewline& operator=(const WithNewline&) = delete;

private:
    QString m_saved;
};

/// A test with a store, and what a client does with it.
class StoreTest : public testing::Test
{
public:
    /// Loads a file with these bytes. A second call adds its file to the document.
    void given(const std::string& bytes);

    /// A removal must find its line, unless it is a `miss`.
    void perform(const Edit& edit) { EXPECT_EQ(::perform(store, edit), edit.found); }

    /// Writes to a path and compares the whole file.
    void thenFileIs(const std::string& bytes);
    void thenValuesAre(const Text& section, const Text& key, const std::vector<Text>& values);
    void thenLineIs(int section, int line, const QString& key, const QString& value, const std::string& raw);
    void thenSectionIs(int section, const QString& name, const std::string& raw, int lines);

    TempDir dir;
    INIStore store;
};

#endif
