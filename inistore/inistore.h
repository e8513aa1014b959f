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
/// Reads, edits and writes settings files. Lines without an edit keep their bytes.
///
/// A program that uses the library defines `g_kq_verbose`, or it does not link: see osrelease/osrelease.h.

/// One line of a settings file. Only `m_raw` is written; lookups and edits use the key and the value.
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
    /// The bytes of the line, including its line ending (LF, CR LF, or none at the end of a file).
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
    /// The bytes of the header line with its comment and line ending. Empty for the leading section: it has no header.
    QByteArray m_raw;
    /// The lines below the header in file order, blank lines and comments included.
    QList<INILine> m_lines;
};
Q_DECLARE_TYPEINFO(INISection, Q_RELOCATABLE_TYPE);

/// Reads, edits and writes a settings file. An edit adds, changes or removes one line. All other lines keep their
/// bytes: comments, blank lines, spacing, duplicates, order and line endings.
///
/// Example:
///
///     INIStore store;
///     if (!store.Open(path) && !store.GetLastError().isEmpty())
///         return fail(store.GetLastError()); // without a message, the file does not exist yet
///     const QStringList ports = store.GetValues(QStringLiteral("net"), QStringLiteral("port"));
///     store.UpdateKey(QStringLiteral("net"), QStringLiteral("port"), QStringLiteral("8080"));
///     if (!store.Write(path))
///         return fail(store.GetLastError());
///
/// A line is read by these rules, in this order (docs/ini-format.md has examples):
/// - A line ends with LF. A CR alone does not end a line.
/// - The line is decoded as UTF-8 up to its first NUL. Invalid bytes become U+FFFD. A byte-order mark at the start of
///   the line is dropped.
/// - The first `;` starts a comment, and the UTF-16 unit before it is dropped too: `key=value;note` has the value
///   "valu", `key=value ;note` has "value". Half of an emoji before the `;` is left over. `#` is ordinary text.
/// - The rest is trimmed. `[name]` with at least one character between the brackets starts a section; text after the
///   `]` is ignored. Any other line with a `=` has a key and a value.
///
/// Section names and keys are compared as by `QString::compare` with `Qt::CaseInsensitive`. Null and empty are equal,
/// so the section name "" means the leading section: the lines above the first header. Several lines may have the same
/// key, each with one value. Several sections may have the same name, but lookups and edits use only the first of them;
/// `RemoveKeyValue` searches them all.
///
/// **Warning**: a `;` in a value starts a comment when the file is read again, and there is no escape for it. Reject
/// such a value before you store it.
///
/// **Warning**: an edit may move the records. Do not keep references into `m_sections` across an edit.
///
/// Errors: only std::bad_alloc is thrown.
///
/// Cost: lookups and edits scan the sections and lines; there is no index. An edit does not copy the bytes of other
/// lines.
///
/// Memory: the texts of a loaded document share small blocks. A value that outlives its store keeps its whole block, at
/// most 224 bytes of text; an `m_raw` keeps at most 512. A text longer than half a block has its own memory. To keep
/// less, copy the characters: `QString(value.constData(), value.size())`.
///
/// Threads: one thread at a time may use a store. A value is an ordinary QString: several threads may each copy,
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
    /// If the document already has lines, the sections of the file follow its sections, and the lines above the file's
    /// first header are added to the section at `m_currentSection`. To load one file alone, use a new store.
    ///
    /// Errors: if the result is false, the document is unchanged. If the file exists, `m_lastError` has the message. If
    /// it does not, `m_lastError` is null, so that a client can start a new file. A file in a directory without search
    /// permission counts as absent. Any contents are accepted. A read error in the middle of the file is not reported:
    /// the result is true and the lines before it are kept.
    ///
    /// Cost: one pass over the file, which may be a pipe. Most lines take no allocation of their own.
    bool Open(QString const& path);

    /// Returns the index in `m_sections` of the first section called `section`, or -1 if there is none.
    int GetSection(QString const& section);

    /// Returns the values of every line in `section` that has `key`, in file order. Empty if there is none.
    ///
    /// An empty `key` matches lines that start with `=`, and also lines without a key, whose value is null.
    ///
    /// Example:
    ///
    ///     // "[net]\nport = 80\nPORT=81\n"
    ///     store.GetValues(QStringLiteral("net"), QStringLiteral("port")); // {"80", "81"}
    ///
    /// Cost: one scan of the section. The values share their memory with the lines; only the list is allocated.
    QStringList GetValues(QString const& section, QString const& key);

    /// Adds the line `key = value` after the first run of lines with `key`. If there is none, adds it at the end of the
    /// section, after trailing blank lines and comments.
    ///
    /// A section that does not exist is added at the end of the document. The line ends with `s_newline`.
    ///
    /// **Warning**: nothing is escaped. Line breaks, brackets, `=` and `;` are written unchanged, and read back by the
    /// rules above.
    ///
    /// **Warning**: a last line without a line ending is joined with what is added after it. Append `s_newline` to the
    /// `m_raw` of that line first.
    ///
    /// **Warning**: the line is composed with QString::arg, which replaces place markers such as `%1` in the section,
    /// the key and the value too (docs/ini-format.md lists them). To add such a text to an existing section, add the
    /// record yourself:
    ///
    ///     const QString text = key + QLatin1String(" = ") + value + INIStore::s_newline;
    ///     store.m_sections[store.GetSection(section)].m_lines.append(INILine(key, value, text.toUtf8()));
    void AppendKey(QString const& section, QString const& key, QString const& value);

    /// Adds the line `key = value` before the first line with `key`. If there is none, adds it at the end of the
    /// section.
    ///
    /// Everything else is as for `AppendKey`, including its warnings.
    void PrependKey(QString const& section, QString const& key, QString const& value);

    /// Replaces the value on the first line with `key`. The rest of the line is kept: the case of the key, spacing,
    /// comment and line ending. Calls `AppendKey` if there is no such line.
    ///
    /// A line is skipped if its text, including the comment, has no `=` or does not contain the line's value.
    ///
    /// **Warning**: the first occurrence of the old value in the line is replaced, even inside the key: updating the
    /// "a" of `aa=a` to "b" gives `ba=a`, and updating the empty value of `key=` to "x" gives `xkey=`. `m_value` is the
    /// new value even so. To avoid that, change the record yourself:
    ///
    ///     const QByteArray old = line.m_value.toUtf8();
    ///     const qsizetype start = line.m_raw.indexOf(old, line.m_raw.indexOf('=') + 1);
    ///     if (start >= 0) { // else the line is not valid UTF-8
    ///         line.m_raw.replace(start, old.size(), value.toUtf8());
    ///         line.m_value = value;
    ///     }
    ///
    /// **Warning**: the line is encoded again from its decoded text. A byte-order mark is dropped, invalid bytes become
    /// U+FFFD, and a line with a NUL ends before the NUL and loses its line ending. What half a surrogate pair becomes
    /// depends on Qt.
    void UpdateKey(QString const& section, QString const& key, QString const& value);

    /// Removes the first line with `key` and `value` from the sections called `section`. Returns whether there was one.
    ///
    /// The value is compared without regard to case, too. The header is kept when the last line of its section
    /// is removed.
    bool RemoveKeyValue(QString const& section, QString const& key, QString const& value);

    /// Writes the document to the file at `path`, in place. The file is created or its contents are replaced.
    ///
    /// Errors: if the result is false, `m_lastError` has the message. After "file only partially written" the earlier
    /// contents of the file are lost; the document is unchanged. A line with a NUL cannot be written: the file then
    /// ends with the bytes before the NUL.
    ///
    /// **Warning**: QFile buffers up to 16 KiB until the file is closed, and a failure to write them is not reported.
    /// On a full disk the result is true for a small document. To see such a failure, open a QFile yourself, call
    /// `WriteSections`, and check QFile::flush. To keep the old contents until the new ones are complete, write a new
    /// file in the same directory this way, call fsync, and rename it with std::rename; QFile::rename does not replace
    /// a file. docs/guide.md and examples/zk_zoom.cpp have the code.
    bool Write(QString const& path);

    /// Writes the document to an open file descriptor, from its current offset. The file is not truncated and the
    /// descriptor remains open. With O_APPEND the bytes are added at the end of the file.
    ///
    /// `name` is the path in messages.
    ///
    /// Errors: as for `Write` with a path, but after a failure the file still has what was behind the bytes written.
    ///
    /// **Warning**: as with a path, a failure to write the buffered bytes is not reported. If the descriptor is closed,
    /// negative or read-only, the result is true and a document under 16 KiB is lost.
    bool Write(int descriptor, QString const& name);

    /// Writes the document to an open file, line by line. `name` is the path in the message.
    ///
    /// Unlike `Write`, it does not clear `m_lastError` first. It does not flush `file`.
    bool WriteSections(QFile& file, QString const& name);

    /// Returns the message of the last failure. Null after an `Open` or `Write` that succeeded, and after an `Open` of
    /// an absent file.
    // cppcheck-suppress returnByReference ; a copy of a QString shares its text, and clients keep it
    QString GetLastError() const { return m_lastError; }

    /// The document. The leading section is always the first.
    QList<INISection> m_sections;
    /// The index of the section to which `Open` adds the next line. Lookups and edits do not use it. A client that
    /// removes sections must keep it valid.
    qint32 m_currentSection;
    /// What `GetLastError` returns.
    QString m_lastError;

    /// The line ending of lines and headers that edits add: LF, unless a client sets another. It is not taken from the
    /// file: set it to CR LF before you add to a CR LF file.
    ///
    /// Threads: shared by all stores, without a lock.
    static QString s_newline;
};

#endif
