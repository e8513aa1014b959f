#include "benchmarks/documents.h"

#include <algorithm>
#include <fstream>

namespace documents {

namespace {

std::string numbered(const char* name, std::size_t length, int number)
{
    const std::string digits = std::to_string(number);
    return name + std::string(length - digits.size(), '0') + digits;
}

} // namespace

Settings::Settings(const std::string& folder, std::size_t wanted)
    : size(wanted)
    , path(folder + "/settings" + std::to_string(size) + ".ini")
    , hashPath(path.bytes + ".hash")
{
    for (int i = 0; bytes.size() < size; ++i) {
        if (i % 40 == 0) {
            section = numbered("section", 4, i / 40);
            bytes += '[' + section.bytes + "]\n";
        }
        if (i % 5 == 0)
            bytes += "; on the next option\n";
        key = numbered("option", 2, i % 40);
        bytes += key.bytes + " = value of " + section.bytes + ' ' + key.bytes + '\n';
    }
    std::ofstream(path.bytes) << bytes;
    std::string withHashes = bytes;
    std::replace(withHashes.begin(), withHashes.end(), ';', '#');
    std::ofstream(hashPath.bytes) << withHashes;
}

QByteArray xml(std::size_t size)
{
    QByteArray xml = "<r><first>1</first>";
    for (int i = 0; std::size_t(xml.size()) < size; ++i) {
        const QByteArray number = QByteArray::number(i);
        xml += "<item id=\"" + number + "\"><name>record " + number + "</name><value>1.5</value></item>\n";
    }
    return xml + "<last/></r>";
}

} // namespace documents
