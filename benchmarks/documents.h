#ifndef KQSUPPORT_BENCHMARKS_DOCUMENTS_H
#define KQSUPPORT_BENCHMARKS_DOCUMENTS_H

#include <QByteArray>
#include <QString>

#include <cstddef>
#include <string>
#include <utility>

namespace documents {

/// A text for C++ libraries and for Qt, so that no conversion is measured.
struct Text
{
    Text(std::string utf8)
        : bytes(std::move(utf8))
        , qt(QString::fromStdString(bytes))
    {
    }
    const char* c_str() const { return bytes.c_str(); }

    std::string bytes;
    QString qt;
};

/// A generated settings file: sections of 40 keys, with a comment above every fifth key. All names have the same
/// length, so that every comparison of two names costs the same.
struct Settings
{
    /// Writes two files of at least `size` bytes into the folder, one with `;` comments and one with `#` comments.
    Settings(const std::string& folder, std::size_t size);

    const Text& pathFor(bool hashComments) const { return hashComments ? hashPath : path; }

    std::size_t size;
    Text section{""}; // the last section and key, which a scan reaches last
    Text key{""};
    Text values[2] = {Text("an even value"), Text("an odd value")}; // edits alternate
    std::string bytes;
    Text path;
    Text hashPath;
};

/// An XML document of at least `size` bytes: records named `item`, between one element `first` and one element `last`.
QByteArray xml(std::size_t size);

} // namespace documents

#endif
