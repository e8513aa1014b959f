#ifndef ZK_SETTINGS_DOCUMENT_H
#define ZK_SETTINGS_DOCUMENT_H

#include "inistore/inistore.h"

#include <vector>

/// The arguments of a command.
struct Request
{
    QString section = {};
    QString key = {};
    QString value = {};
    bool hasValue = false;
    bool force = false; ///< treat an ambiguous ';' as the start of a comment
};

/// A settings file in memory. Edits the public records of the library's store.
///
/// It does not use the store's own edits: they search for the old value from the start of the line, replace "%1" in a
/// value, and ignore the file's line ends.
///
/// Every call may throw Failure, with the number of the line if there is one. Discard the document then.
class Document
{
public:
    static constexpr char ambiguity[] =
        "ambiguous: a ';' without white space before it may start a comment or belong to the value";

    /// Throws on a NUL byte. The store ignores the rest of such a line.
    explicit Document(const QByteArray& bytes);

    QByteArray bytes() const;

    /// Returns each name once, in file order and as first written. The lines before the first header are the section
    /// "", which is listed if it has keys.
    QStringList sections() const;
    QStringList keys(const QString& section);
    /// Returns the values in the first section of the name.
    QStringList values(const QString& section, const QString& key);

    /// Replaces the first value of the key, or adds the key.
    void set(const Request& request);
    /// Adds a line after the first group of lines with the key, or adds the key.
    void append(const Request& request);
    /// Adds a line before the first line with the key, or adds the key.
    void prepend(const Request& request);
    /// Removes the lines with the key, and the value if given, from every section of the name.
    void remove(const Request& request);

    /// Parses bytes() again. Throws, with the reason, unless every section, key and value is the same.
    void verify(const Request& request) const;

    /// Returns the numbers of the lines whose ambiguous ';' decides whether they have the key, what its value is, or
    /// whether a header begins or ends the section. The store takes the ';' and the character before it as a comment.
    std::vector<int> ambiguousLines(const QString& section, const QString& key) const;

private:
    int lineNumber(qsizetype section, qsizetype line) const;
    void requireUtf8(qsizetype section, qsizetype line) const;
    template <typename Predicate>
    QList<INILine> matching(const QString& section, Predicate isWanted);
    void requireUnambiguous(const Request& request, int upToLine) const;
    INILine modelLine(qsizetype section) const;
    QByteArray composed(const Request& request, qsizetype section) const;
    void endLine(QByteArray& raw) const;
    qsizetype find(const Request& request);
    qsizetype addSection(const QString& name);
    void insert(qsizetype section, qsizetype line, const Request& request);
    void add(const Request& request);

    QByteArray m_mark;    // a byte-order mark, which stays first
    QByteArray m_lineEnd; // of the first line
    INIStore m_store;
};

#endif
