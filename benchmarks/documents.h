#ifndef KQSUPPORT_BENCHMARKS_DOCUMENTS_H
#define KQSUPPORT_BENCHMARKS_DOCUMENTS_H

#include <QByteArray>
#include <QString>

#include <algorithm>
#include <cstddef>
#include <fstream>
#include <string>
#include <utility>

namespace documents {

/// A text for C++ libraries and for Qt, so that no conversion is measured.
struct DualString
{
    DualString(std::string utf8)
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
struct SettingsFile
{
    /// Writes two files of at least `size` bytes into the folder, one with `;` comments and one with `#` comments.
    SettingsFile(const std::string& folder, std::size_t wanted)
        : size(wanted)
        , path(folder + "/settings" + std::to_string(size) + ".ini")
        , hashPath(path.bytes + ".hash")
    {
        const auto padded = [](int number, std::size_t digits) {
            const std::string text = std::to_string(number);
            return std::string(digits - std::min(digits, text.size()), '0') + text;
        };
        for (int i = 0; bytes.size() < size; ++i) {
            if (i % 40 == 0) {
                section = "section" + padded(i / 40, 4);
                bytes += '[' + section.bytes + "]\n";
            }
            if (i % 5 == 0)
                bytes += "; on the next option\n";
            key = "option" + padded(i % 40, 2);
            bytes += key.bytes + " = value of " + section.bytes + ' ' + key.bytes + '\n';
        }
        std::ofstream(path.bytes) << bytes;
        std::string withHashes = bytes;
        std::replace(withHashes.begin(), withHashes.end(), ';', '#');
        std::ofstream(hashPath.bytes) << withHashes;
    }

    std::size_t size;
    DualString section{""}; // the last section and key, which a scan reaches last
    DualString key{""};
    DualString values[2] = {DualString("an even value"), DualString("an odd value")}; // edits alternate
    std::string bytes;
    DualString path;
    DualString hashPath;
};

/// An XML document of at least `size` bytes: records named `item`, between one element `first` and one element `last`.
inline QByteArray xml(std::size_t size)
{
    QByteArray xml = "<r><first>1</first>";
    for (int i = 0; std::size_t(xml.size()) < size; ++i) {
        const QByteArray number = QByteArray::number(i);
        xml += "<item id=\"" + number + "\"><name>record " + number + "</name><value>1.5</value></item>\n";
    }
    return xml + "<last/></r>";
}

} // namespace documents

#endif
