#ifndef ZK_SETTINGS_DOCUMENT_H
#define ZK_SETTINGS_DOCUMENT_H

#include "inistore/inistore.h"

#include <vector>

/// What a command asks for.
struct Request
{
    QString section = {};
    QString key = {};
    QString value = {};
    bool hasValue = false;
    bool force = false; ///< take a `;` as the store takes it, where that is in doubt
};

/// A settings file in memory: the library's store, edited through its records.
///
/// The store's own edits serve its clients' documents. For files of any origin they reach too far: they look for the
/// old value from the start of the line, fill markers in a value, and end lines without regard to the file.
///
/// Each call throws Failure with the line that is in the way; the document is then of no further use.
class Document
{
public:
    static constexpr char doubt[] = "a ';' without white space before it may begin a comment or belong to the value";

    /// Throws when there is a NUL, which ends a line for the store and the file for its `Write`.
    explicit Document(const QByteArray& bytes);

    QByteArray bytes() const;

    /// Names in file order, each once, in the spelling that comes first. The lines above the first header are the
    /// section "", which is listed when it has keys.
    QStringList sections() const;
    QStringList keys(const QString& section);
    /// The values of the first section of the name.
    QStringList values(const QString& section, const QString& key);

    /// Replaces the text of the key's first value, or adds the key.
    void set(const Request& request);
    /// Adds a line below the first group of lines with the key, or adds the key.
    void append(const Request& request);
    /// Adds a line above the first line with the key, or adds the key.
    void prepend(const Request& request);
    /// Removes the lines with the key, and with the value if there is one, from every section of the name.
    void remove(const Request& request);

    /// Reads the document's bytes back as a new file. Throws, with the reason, unless every section, key and value is
    /// what it is here.
    void verify(const Request& request);

    /// The lines on which a `;` without white space before it leaves open whether they belong to the section or have
    /// the key. The store takes such a `;` for a comment together with the character before it.
    std::vector<int> doubtfulLines(const QString& section, const QString& key) const;

private:
    int lineNumber(qsizetype section, qsizetype line) const;
    void requireUtf8(qsizetype section, qsizetype line) const;
    int firstDifference(const QList<INISection>& read) const;
    void refuseDoubt(const Request& request, int upToLine) const;
    QByteArray lineEnd(qsizetype section) const;
    QByteArray composed(const Request& request, qsizetype section) const;
    qsizetype find(const Request& request);
    qsizetype addSection(const QString& name);
    void insert(qsizetype section, qsizetype line, const Request& request);
    void add(const Request& request);

    QByteArray m_mark; // a byte-order mark at the start, which stays there whatever comes first
    INIStore m_store;
};

#endif
