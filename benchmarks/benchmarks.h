#ifndef KQSUPPORT_BENCHMARKS_BENCHMARKS_H
#define KQSUPPORT_BENCHMARKS_BENCHMARKS_H

#include <QXmlStreamReader>

#include <algorithm>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace documents {

/// A text for C++ libraries and for Qt, so that no conversion is measured.
struct DualString
{
    DualString(std::string utf8)
        : bytes(std::move(utf8))
    {
    }
    const char* c_str() const { return bytes.c_str(); }

    std::string bytes;
    QString qt = QString::fromStdString(bytes);
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
        for (std::size_t i = 0; bytes.size() < size; ++i) {
            section = "section" + std::to_string(1000 + i / 40);
            key = "option" + std::to_string(10 + i % 40);
            bytes += (i % 40 == 0 ? '[' + section.bytes + "]\n" : "") + (i % 5 == 0 ? "; on the next option\n" : "");
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

/// Reads to the end of the first element with the tag. An extraction has to do at least that.
__attribute__((noinline)) inline bool bareReader(const QByteArray& xml, const QString& tag)
{
    QXmlStreamReader reader(xml);
    while (!reader.atEnd() && (reader.readNext() != QXmlStreamReader::EndElement || reader.name() != tag)) {
    }
    return !reader.atEnd();
}

} // namespace documents

namespace libraries {

using Text = const documents::DualString&;

/// A settings file that a library has loaded. A step throws std::runtime_error if the library reports a failure.
struct LoadedFile
{
    virtual ~LoadedFile() = default;
    virtual void lookup(Text, Text) {}
    virtual void edit(Text, Text, Text) {}
    virtual void write(Text) {}
};

struct Library
{
    std::string name;
    std::function<std::unique_ptr<LoadedFile>(Text path)> load;
    std::string timed = "load lookup edit write";
    bool hashComments = false; // it refuses a file with `;` comments
};

/// INIStore, then the libraries that a user would choose instead.
extern const std::vector<Library> all;

} // namespace libraries

#endif
