#ifndef KQSUPPORT_INISTORE_H
#define KQSUPPORT_INISTORE_H

#include "kqsupport_export.h"

#include <QByteArray>
#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>

class QFile;

/// One line of a settings file. Writing puts out `m_raw` and nothing else; the key and the value serve lookups and
/// edits only.
class KQSUPPORT_EXPORT INILine
{
public:
    /// Copies the three arguments into the fields.
    INILine(QString const& key, QString const& value, QByteArray const& raw);

    /// The text before the first `=`, without white space around it; comments are cut off first. Null when the line has
    /// no `=` (blank lines, comments, stray text), empty when nothing stands before it. A line that an edit added has
    /// the key as it was passed.
    QString m_key;
    /// The text after the first `=`, without white space around it. Null when the line has no `=`, empty when nothing
    /// follows it. A line that an edit added or changed has the value as it was passed.
    QString m_value;
    /// The bytes as they stood in the file, with their own line end (LF, CR LF, none at the end of a file), or as an
    /// edit composed them.
    QByteArray m_raw;
};
Q_DECLARE_TYPEINFO(INILine, Q_RELOCATABLE_TYPE);

/// A header and the lines up to the next one.
class KQSUPPORT_EXPORT INISection
{
public:
    /// Copies the two arguments into the fields; the section has no lines.
    INISection(QString const& name, QByteArray const& raw);

    /// The text between the brackets as it stands there: `[ a ]` names " a ". Null for the leading section.
    QString m_name;
    /// The bytes of the whole header line, line end and comment included. Empty for the leading section, and no header
    /// is written then.
    QByteArray m_raw;
    /// Every line below the header in file order, blank lines and comments too.
    QList<INILine> m_lines;
};
Q_DECLARE_TYPEINFO(INISection, Q_RELOCATABLE_TYPE);

/// A settings file that is read, edited and written back with every byte that no edit named as it was: comments, blank
/// lines, spacing, duplicates, order and line ends.
///
///     INIStore store;
///     if (!store.Open(path) && !store.GetLastError().isEmpty())
///         return fail(store.GetLastError()); // empty: there is no such file, and the store starts out empty
///     const QStringList ports = store.GetValues(QStringLiteral("net"), QStringLiteral("port"));
///     store.UpdateKey(QStringLiteral("net"), QStringLiteral("port"), QStringLiteral("8080"));
///     if (!store.Write(path))
///         return fail(store.GetLastError());
///
/// How a line is read, in this order (docs/ini-format.md shows each rule with its bytes):
/// - It ends with LF; a CR alone ends nothing. It is decoded as UTF-8 up to its first NUL; what is not UTF-8 becomes
///   U+FFFD, and a byte-order mark at its start is dropped.
/// - A `;` begins a comment, wherever it stands, and takes the character before it along: `key=value;note` has the
///   value "valu", `key=value ;note` has "value". `#` is ordinary text.
/// - White space around the rest is dropped. `[name]`, with at least one character between the brackets, begins a
///   section, and text after the `]` is ignored. Other lines have a key and a value when they have a `=`.
///
/// Section names and keys match without regard to case, as QString compares (folding Unicode case); null and empty
/// match each other. So the section name "" is the leading section, the lines above the first header. A key may stand
/// on several lines, each with one value; a section name may return, but only the first section of a name is looked up
/// and edited (`RemoveKeyValue` alone searches them all).
///
/// Lookups and edits are linear scans without an index. An edit copies no other line's bytes, but moves records: take
/// references into `m_sections` anew after it. Nothing throws but std::bad_alloc. A store is for one thread at a time,
/// as any QObject; it is not copyable, but its records are.
class KQSUPPORT_EXPORT INIStore : public QObject
{
    Q_OBJECT

public:
    /// A document of one section, the leading one, without lines.
    explicit INIStore(QObject* parent = nullptr);
    /// Writes nothing: edits since the last `Write` are lost.
    ~INIStore() override;

    /// Reads the file at `path` into the document. True when it could be opened, whatever it holds: no text is an
    /// error, and a read error in mid-file leaves the lines read so far.
    ///
    /// False leaves the document as it was. A file that exists has then its message in `m_lastError`; after an absent
    /// one `m_lastError` is null, so that a client can start a new file. One in a directory that may not be searched
    /// counts as absent.
    ///
    /// Opening a second file does not replace the first: its sections follow the existing ones, and its lines above the
    /// first header join the section at `m_currentSection`. Use a fresh store for a clean load.
    ///
    /// The file is read in large pieces, also when it is a pipe. Each line costs one allocation for its bytes and one
    /// each for a key, a value or a name; what is thrown away costs none, unless the line is not ASCII.
    bool Open(QString const& path);

    /// Returns the index in `m_sections` of the first section called `section`, or -1.
    int GetSection(QString const& section);

    /// Returns the values of every line of the section with that key, in file order; empty when there is none. The
    /// strings share their memory with the lines.
    ///
    /// An empty key matches lines that begin with `=` and, with a null value, all lines that have no key.
    QStringList GetValues(QString const& section, QString const& key);

    /// Adds the line `key = value` below the first group of lines with that key, or else at the end of the section,
    /// below its trailing blank lines and comments.
    ///
    /// A section that does not exist is added at the end of the document. Nothing is added or escaped but the line end
    /// `s_newline`: texts with line breaks, brackets, `=` or `;` are composed as they come, and read back by the rules
    /// above. So do a header or a line that follow a last line without line end: they join it when written.
    ///
    /// The line is composed as `QString("%1 = %2%3").arg(key).arg(value).arg(s_newline)` does, one argument at a time,
    /// and a header as `"[%1]%2"`. A text that holds a marker itself (`%1`) takes part in the fills after its own.
    void AppendKey(QString const& section, QString const& key, QString const& value);

    /// Adds the line above the first line with that key, or else at the end of the section; otherwise as `AppendKey`.
    void PrependKey(QString const& section, QString const& key, QString const& value);

    /// Replaces the value on the first line with that key, and leaves the rest of the line as it is: the key as the
    /// file writes it, spacing, comment and line end. Falls back to `AppendKey` when there is no such line.
    ///
    /// The old value is looked for from the start of the line, and its first occurrence is what is replaced, also
    /// inside the key: "b" for the "a" of `aa=a` gives `ba=a`, and a new "x" for the empty value of `key=` gives
    /// `xkey=`. `m_value` is the new value all the same. A line whose text, comment included, holds no `=` or does
    /// not hold its value is passed over for the next one with the key.
    ///
    /// The line is composed afresh from its decoded text: a byte-order mark goes, what was not UTF-8 becomes U+FFFD,
    /// and a line with a NUL ends before it and loses its line end.
    void UpdateKey(QString const& section, QString const& key, QString const& value);

    /// Removes the first line with that key and that value, both matched without regard to case, from the sections of
    /// that name; true when there was one. The header stays when its last line goes.
    bool RemoveKeyValue(QString const& section, QString const& key, QString const& value);

    /// Writes the document to the file at `path`, which is created or replaced, in place: without a temporary file.
    ///
    /// False leaves a message in `m_lastError`, and when it tells of a partial write the file's earlier contents are
    /// gone; the document is intact. A line with a NUL cannot be written: it fails, with the bytes before the NUL as
    /// the last ones written.
    ///
    /// Bytes wait in a buffer of QFile (16 KiB), and the last of them are put out when the file is closed, which
    /// reports nothing: a document smaller than the buffer is written to a full disk with the result true.
    bool Write(QString const& path);

    /// Writes the document to an open descriptor, at its offset, without truncating, and leaves it open. `name` only
    /// stands for the path in messages. Otherwise as by path.
    bool Write(int descriptor, QString const& name);

    /// Writes the document to an open file; `name` stands for the path in the message. Unlike `Write` it does not clear
    /// `m_lastError` first, hands over each line alone, behind what `file` may have buffered before, and leaves what
    /// `file` still buffers then for its owner to flush.
    bool WriteSections(QFile& file, QString const& name);

    /// Returns the message of the last failure; null after an `Open` or `Write` that succeeded, and after an `Open` of
    /// an absent file.
    // cppcheck-suppress returnByReference ; a copy of a QString shares its text, and clients keep it
    QString GetLastError() const { return m_lastError; }

    /// The document. Never empty: the leading section is always the first.
    QList<INISection> m_sections;
    /// Index of the section that takes the next line that `Open` reads; lookups and edits have no part in it. A client
    /// that takes sections out sees to it that the section is there.
    qint32 m_currentSection;
    /// What `GetLastError` returns.
    QString m_lastError;

    /// The line end of the lines and headers that edits compose: LF, unless a client sets another. It is never taken
    /// from a file, so set it to CR LF before adding to a CR LF file. Shared by all stores, without a lock.
    static QString s_newline;
};

#endif
