#ifndef KQSUPPORT_TESTS_INISTORE_EDITS_H
#define KQSUPPORT_TESTS_INISTORE_EDITS_H

#include "inistore/inistore.h"

#include <string>
#include <vector>

/// A text in a test: UTF-8, or a QString for null and invalid UTF-16.
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

/// One edit of a store, made by one of the functions below.
struct Edit
{
    enum Kind
    {
        Append,
        Prepend,
        Update,
        Remove
    };

    Kind kind;
    QString section;
    QString key;
    QString value;
    bool found = true; ///< the expected result of a removal
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
inline Edit remove(const Text& section, const Text& key, const Text& value)
{
    return {Edit::Remove, section, key, value};
}
/// A removal that finds no line.
inline Edit miss(const Text& section, const Text& key, const Text& value)
{
    return {Edit::Remove, section, key, value, false};
}

/// Performs an edit on the library's store or on the reference implementation's. Returns what a removal returns, and
/// true for any other edit.
template <typename Store>
bool perform(Store& store, const Edit& edit)
{
    switch (edit.kind) {
    case Edit::Append:
        store.AppendKey(edit.section, edit.key, edit.value);
        return true;
    case Edit::Prepend:
        store.PrependKey(edit.section, edit.key, edit.value);
        return true;
    case Edit::Update:
        store.UpdateKey(edit.section, edit.key, edit.value);
        return true;
    default:
        return store.RemoveKeyValue(edit.section, edit.key, edit.value);
    }
}

/// A header (its name is in `key`) or a line of a store. Null and empty texts differ.
struct Entry
{
    bool header;
    QString key;
    QString value;
    QByteArray raw;
};

inline bool operator==(const Entry& a, const Entry& b)
{
    return a.header == b.header && a.key.isNull() == b.key.isNull() && a.key == b.key &&
           a.value.isNull() == b.value.isNull() && a.value == b.value && a.raw == b.raw;
}

/// The document of the library's store or of the reference implementation's.
template <typename Store>
std::vector<Entry> entriesOf(const Store& store)
{
    std::vector<Entry> entries;
    for (const auto& section : store.m_sections) {
        entries.push_back({true, section.m_name, QString(), section.m_raw});
        for (const auto& line : section.m_lines)
            entries.push_back({false, line.m_key, line.m_value, line.m_raw});
    }
    return entries;
}

#endif
