#ifndef KQSUPPORT_TESTS_INISTORE_STORETEST_H
#define KQSUPPORT_TESTS_INISTORE_STORETEST_H

#include "inistore/inistore.h"

#include "support/exact.h"
#include "support/files.h"
#include "support/qtprinting.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

/// A text as tests write it: UTF-8, or a QString where null or odd UTF-16 matters.
class Text
{
public:
    Text(const char* utf8)
        : m_text(QString::fromUtf8(utf8))
    {
    }
    Text(const std::string& utf8)
        : m_text(QString::fromUtf8(utf8.data(), qsizetype(utf8.size())))
    {
    }
    Text(const QString& text)
        : m_text(text)
    {
    }
    operator const QString&() const { return m_text; }

private:
    QString m_text;
};

/// The null text, where a test must tell it from "".
inline const QString null;

/// The bytes of a document: every header and line as it is stored, whether it could be written or not.
std::string documentOf(const INIStore& store);

std::string bytesOf(const QByteArray& bytes);
QByteArray toBytes(const std::string& bytes);
QString toPath(const std::string& path);
QStringList toList(const std::vector<Text>& texts);

/// Gives composed lines a terminator for as long as it lives.
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

/// Settings in a store, told in the order in which a client meets them.
class Settings : public testing::Test
{
public:
    /// Loads a file of these bytes. Said twice, the second document joins the first.
    void given(const std::string& bytes);

    void whenAppended(const Text& section, const Text& key, const Text& value);
    void whenPrepended(const Text& section, const Text& key, const Text& value);
    void whenUpdated(const Text& section, const Text& key, const Text& value);
    bool whenRemoved(const Text& section, const Text& key, const Text& value);

    /// Writes to a path and compares the whole file.
    void thenFileIs(const std::string& bytes);
    void thenValuesAre(const Text& section, const Text& key, const std::vector<Text>& values);
    void thenLineIs(int section, int line, const QString& key, const QString& value, const std::string& raw);
    void thenSectionIs(int section, const QString& name, const std::string& raw, int lines);

    TempDir dir;
    INIStore store;
};

/// One step of an edit row, and for a removal what it must return.
struct Edit
{
    enum Kind
    {
        Append,
        Prepend,
        Update,
        Remove,
        Miss
    };

    Kind kind;
    Text section;
    Text key;
    Text value;
};

inline Edit append(const Text& section, const Text& key, const Text& value)
{
    return {Edit::Append, section, key, value};
}
inline Edit prepend(const Text& section, const Text& key, const Text& value)
{
    return {Edit::Prepend, section, key, value};
}
inline Edit update(const Text& section, const Text& key, const Text& value)
{
    return {Edit::Update, section, key, value};
}
/// Removes a line.
inline Edit remove(const Text& section, const Text& key, const Text& value)
{
    return {Edit::Remove, section, key, value};
}
/// Is asked to remove a line and finds none.
inline Edit miss(const Text& section, const Text& key, const Text& value)
{
    return {Edit::Miss, section, key, value};
}

#endif
