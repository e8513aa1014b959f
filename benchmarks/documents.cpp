#include "benchmarks/documents.h"

#include <algorithm>
#include <fstream>

namespace documents {

Settings::Settings(const std::string& folder, std::size_t wanted)
    : size(wanted)
    , path(folder + "/settings" + std::to_string(size) + ".ini")
    , hashPath(path.bytes + ".hash")
{
    const auto numbered = [](const QString& name, int digits, int number) {
        return name.arg(number, digits, 10, QLatin1Char('0')).toStdString();
    };
    for (int i = 0; bytes.size() < size; ++i) {
        if (i % 40 == 0) {
            section = numbered(QStringLiteral("section%1"), 4, i / 40);
            bytes += '[' + section.bytes + "]\n";
        }
        if (i % 5 == 0)
            bytes += "; on the next option\n";
        key = numbered(QStringLiteral("option%1"), 2, i % 40);
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
