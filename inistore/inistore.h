#ifndef KQSUPPORT_INISTORE_H
#define KQSUPPORT_INISTORE_H

#include "kqsupport_export.h"

#include <QByteArray>
#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>

class QFile;

/// \file
/// Settings files, edited without touching any other byte.

/// One line of a settings file. Only `m_raw` is written; the key and the value serve lookups and edits.
class KQSUPPORT_EXPORT INILine
{
public:
    /// Copies the three arguments into the fields.
    INILine(QString const& key, QString const& value, QByteArray const& raw);

    /// The text before the first `=`, trimmed. Null if the line has no `=` (blank lines, comments, stray text).
    /// After an edit that added the line, the key as it was passed.
    QString m_key;
    /// The text after the first `=`, trimmed. Null if the line has no `=`, empty if nothing follows it.
    /// After an edit that added or changed the line, the value as it was passed.
    QString m_value;
    /// The bytes of the line with its own line end (LF, CR LF, none at the end of a file), as read or as composed.
    QByteArray m_raw;
};
Q_DECLARE_TYPEINFO(INILine, Q_RELOCATABLE_TYPE);

/// A header and the lines up to the next header.
class KQSUPPORT_EXPORT INISection
{
public:
    /// Copies the two arguments into the fields. The section has no lines.
    INISection(QString const& name, QByteArray const& raw);

    /// The text between the brackets, not trimmed: `[ a ]` has the name " a ". Null for the leading section.
    QString m_name;
    /// The bytes of the header line with its comment and line end. Empty for the leading section: no header is written.
    QByteArray m_raw;
    /// The lines below the header in file order, blank lines and comments included.
    QList<INILine> m_lines;
};
Q_DECLARE_TYPEINFO(INISection, Q_RELOCATABLE_TYPE);

/// Reads, edits and writes a settings file. Every byte that no edit names stays as it was: comments, blank lines,
/// spacing, duplicates, order and line ends.
///
/// Example:
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
/// - A line ends with LF. A CR alone does not end a line.
/// - The line is decoded as UTF-8 up to its first NUL. Invalid bytes become U+FFFD. A byte-order mark at its start is
///   dropped.
/// - The first `;` starts a comment, and the character before it is dropped too: `key=value;note` has the value "valu",
///   `key=value ;note` has "value". `#` is ordinary text.
/// - The rest is trimmed. `[name]` with at least one character between the brackets starts a section; text after the
///   `]` is ignored. Any other line with a `=` has a key and a value.
///
/// Section names and keys match without regard to case, as `QString::compare` folds it. Null and empty match each
/// other, so the section name "" is the leading section: the lines above the first header. A key may stand on several
/// lines, each with one value. A section name may return, but only the first section of a name is looked up and edited;
/// only `RemoveKeyValue` searches them all.
///
/// **Warning:** a `;` in a value starts a comment when the file is read again, and there is no escape for it. Refuse
/// such a value before you store it.
///
/// **Warning:** an edit moves records. Take references into `m_sections` again after it.
///
/// Errors: nothing throws but std::bad_alloc.
///
/// Cost: lookups and edits scan the sections and lines; there is no index. An edit copies no other line's bytes.
///
/// Memory: the texts of a loaded document share small blocks. A value that outlives its store keeps one block of at
/// most 224 bytes of text, or a block of its own if it is longer than half of that. Make a copy of its characters to
/// keep less: `QString(value.constData(), value.size())`.
///
/// Threads: one thread at a time may use a store. A value belongs to its owner, as any QString: threads may each copy,
/// change and release values of the same document.
class KQSUPPORT_EXPORT INIStore : public QObject
{
    Q_OBJECT

public:
    /// Creates a document that has only the leading section, without lines.
    explicit INIStore(QObject* parent = nullptr);
    /// Writes nothing: edits since the last `Write` are lost.
    ~INIStore() override;

    /// Adds the contents of the file at `path` to the document. Returns whether the file could be opened.
    ///
    /// The sections of a second file follow those of the first, and its lines above the first header join the section
    /// at `m_currentSection`. Use a new store for a clean load.
    ///
    /// Errors: false leaves the document as it was. If the file exists, `m_lastError` has the message. If it does not,
    /// `m_lastError` is null, so that a client can start a new file; a file in a directory that may not be searched
    /// counts as absent. No text is an error, and a read error in mid-file keeps the lines read so far and returns
    /// true.
    ///
    /// Cost: one pass in large pieces, also over a pipe, with about one allocation for two lines.
    bool Open(QString const& path);

    /// Returns the index in `m_sections` of the first section called `section`, or -1 if there is none.
    int GetSection(QString const& section);

    /// Returns the values of every line in `section` that has `key`, in file order. Empty if there is none.
    ///
    /// An empty key matches the lines that start with `=` and, with a null value, all lines that have no key.
    ///
    /// Example:
    ///
    ///     // "[net]\nport = 80\nPORT=81\n"
    ///     store.GetValues(QStringLiteral("net"), QStringLiteral("port")); // {"80", "81"}
    ///
    /// Cost: one scan of the section and one allocation for the list. The values share their memory with the lines.
    QStringList GetValues(QString const& section, QString const& key);

    /// Adds the line `key = value` after the first group of lines with `key`, or else at the end of the section, after
    /// its trailing blank lines and comments.
    ///
    /// A section that does not exist is added at the end of the document. The line ends with `s_newline`.
    ///
    /// **Warning:** nothing is escaped. Text with line breaks, brackets, `=` or `;` is stored as it comes and read back
    /// by the rules above.
    ///
    /// **Warning:** a last line without line end is joined with what is added after it. Append `s_newline` to that
    /// line's `m_raw` first.
    ///
    /// **Warning:** the line is `QStringLiteral("%1 = %2%3").arg(key).arg(value).arg(s_newline)` and a header is
    /// `QStringLiteral("[%1]%2").arg(section).arg(s_newline)`. A marker inside an argument is filled too: `%1` to
    /// `%99`,
    /// `%L1`, the `%02` of `%02d`, and digits of other scripts. To add such a text to an existing section, add the
    /// record:
    ///
    ///     const QString text = key + QLatin1String(" = ") + value + INIStore::s_newline;
    ///     store.m_sections[store.GetSection(section)].m_lines.append(INILine(key, value, text.toUtf8()));
    void AppendKey(QString const& section, QString const& key, QString const& value);

    /// Adds the line `key = value` before the first line with `key`, or else at the end of the section; otherwise as
    /// `AppendKey`.
    void PrependKey(QString const& section, QString const& key, QString const& value);

    /// Replaces the value on the first line with `key`. The rest of the line stays: the key as the file writes it,
    /// spacing, comment and line end. Calls `AppendKey` if there is no such line.
    ///
    /// A line is passed over for the next one with `key` if its text, comment included, has no `=` or does not contain
    /// its value.
    ///
    /// **Warning:** the first occurrence of the old value in the line is replaced, even inside the key: "b" for the "a"
    /// of `aa=a` gives `ba=a`, and "x" for the empty value of `key=` gives `xkey=`. `m_value` is the new value all the
    /// same. To set such a key, change the record, here of an empty value:
    ///
    ///     line.m_raw.insert(line.m_raw.indexOf('=') + 1, value.toUtf8());
    ///     line.m_value = value;
    ///
    /// **Warning:** the line is composed again from its decoded text. A byte-order mark goes, invalid bytes become
    /// U+FFFD, and a line with a NUL ends before it and loses its line end. What half a surrogate pair becomes is up to
    /// Qt.
    void UpdateKey(QString const& section, QString const& key, QString const& value);

    /// Removes the first line with `key` and `value` from the sections called `section`. Returns whether there was one.
    ///
    /// The value matches without regard to case, too. A header stays when its last line goes.
    bool RemoveKeyValue(QString const& section, QString const& key, QString const& value);

    /// Writes the document to the file at `path`, in place. The file is created or its contents are replaced.
    ///
    /// Errors: false leaves a message in `m_lastError`. After "file only partially written" the earlier contents of the
    /// file are gone; the document is intact. A line with a NUL cannot be written: the bytes before the NUL are the
    /// last ones in the file.
    ///
    /// **Warning:** up to 16 KiB wait in QFile's buffer until the file is closed, and a failure to write those is not
    /// reported: a small document is "written" to a full disk with the result true. To see such a failure, open a QFile
    /// yourself, call `WriteSections`, and check `QFile::flush`. To keep the old contents until the new ones are
    /// complete, do so with a new file in the same directory and rename it.
    bool Write(QString const& path);

    /// Writes the document to an open descriptor, at its offset, without truncating, and leaves it open. `name` stands
    /// for the path in messages. Otherwise as `Write` with a path.
    ///
    /// **Warning:** on a closed, negative or read-only descriptor a document under 16 KiB returns true and is lost, for
    /// the same reason. With O_APPEND the bytes go to the end of the file, whatever the offset.
    bool Write(int descriptor, QString const& name);

    /// Writes the document to an open file, line by line. `name` stands for the path in the message.
    ///
    /// Unlike `Write`, it does not clear `m_lastError` first. What `file` still buffers afterwards is its owner's to
    /// flush.
    bool WriteSections(QFile& file, QString const& name);

    /// Returns the message of the last failure. Null after an `Open` or `Write` that succeeded, and after an `Open` of
    /// an absent file.
    // cppcheck-suppress returnByReference ; a copy of a QString shares its text, and clients keep it
    QString GetLastError() const { return m_lastError; }

    /// The document. The leading section is always the first.
    QList<INISection> m_sections;
    /// The index of the section that takes the next line that `Open` reads. Lookups and edits do not use it. A client
    /// that removes sections keeps it valid.
    qint32 m_currentSection;
    /// What `GetLastError` returns.
    QString m_lastError;

    /// The line end of lines and headers that edits compose: LF, unless a client sets another. It is never taken from a
    /// file: set it to CR LF before you add to a CR LF file.
    ///
    /// Threads: shared by all stores, without a lock.
    static QString s_newline;
};

#endif
