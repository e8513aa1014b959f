#include "xml/kqxml.h"

#include "reference/extraction.h"
#include "support/files.h"
#include "support/qtprinting.h"

#include <gtest/gtest.h>

#include <QDomDocument>
#include <QXmlStreamReader>

#include <filesystem>
#include <set>

namespace {

namespace fs = std::filesystem;

bool isXml(const fs::directory_entry& entry)
{
    static const std::set<std::string> endings = {".xml", ".svg", ".ui", ".xsd", ".xsl", ".rng"};
    std::error_code ignored;
    const bool fonts = entry.path().string().find("/fontconfig/") != std::string::npos; // NAME.conf
    return entry.is_regular_file(ignored) && (fonts || endings.count(entry.path().extension()) > 0) &&
           entry.file_size(ignored) <= 4'000'000;
}

QStringList xmlFiles()
{
    QStringList found;
    for (const char* const top : {"/usr/share", "/usr/lib", "/etc"}) {
        std::error_code error;
        fs::recursive_directory_iterator walk(top, fs::directory_options::skip_permission_denied, error);
        for (; !error && walk != fs::end(walk); walk.increment(error)) {
            if (isXml(*walk))
                found.append(QString::fromStdString(walk->path().string()));
        }
    }
    found.sort();
    return found;
}

/// Returns the names of the first, the middle and the last element, and one that does not occur.
std::set<QString> namesIn(const QByteArray& xml)
{
    QList<QString> names;
    for (QXmlStreamReader reader(xml); !reader.atEnd(); reader.readNext()) {
        if (reader.isStartElement())
            names.append(reader.name().toString());
    }
    std::set<QString> chosen = {QStringLiteral("no-such-element")};
    if (!names.isEmpty())
        chosen.insert({names.first(), names.at(names.size() / 2), names.last()});
    return chosen;
}

/// Returns how many elements were found.
int expectSameExtraction(const QByteArray& xml)
{
    int found = 0;
    for (const QString& name : namesIn(xml)) {
        for (const bool contentOnly : {true, false}) {
            const QByteArray expected = reference::extractElement(xml, name, contentOnly);
            const QByteArray result = KQXml::ExtractElement(xml, name, contentOnly);
            EXPECT_TRUE(result == expected && result.isNull() == expected.isNull()) << name.toStdString();
            found += expected.isNull() ? 0 : 1;
        }
    }
    return found;
}

/// Returns how many elements were found; 0 if Qt does not parse the file.
int expectSameLookups(const QByteArray& xml)
{
    QDomDocument document;
    if (!document.setContent(xml, true))
        return 0;
    int found = 0;
    const QDomElement root = document.documentElement();
    for (const QString& name : namesIn(xml)) {
        const QDomNodeList matches = root.elementsByTagName(name);
        EXPECT_EQ(KQXml::GetChildElement(root, name), matches.item(0).toElement()) << name.toStdString();
        EXPECT_EQ(KQXml::GetChildElements(root, name).size(), matches.length()) << name.toStdString();
        found += matches.length();
    }
    return found;
}

// Qt itself needs the keyboard layouts (xkb-data) and fontconfig, which bring enough files.
TEST(FilesOfThisMachine, extraction_and_lookups_match_the_reference)
{
    const QStringList files = xmlFiles();
    EXPECT_GT(files.size(), 10) << "is Qt installed?";

    qsizetype total = 0;
    int extracted = 0;
    int lookedUp = 0;
    for (const QString& file : files) {
        if (total > 8'000'000)
            break;
        SCOPED_TRACE(file.toStdString());
        const QByteArray xml = QByteArray::fromStdString(readFile(file.toStdString()));
        total += xml.size();
        extracted += expectSameExtraction(xml);
        lookedUp += expectSameLookups(xml);
    }
    std::cout << files.size() << " files, " << total << " bytes read\n";
    EXPECT_GT(extracted, 20);
    EXPECT_GT(lookedUp, 1'000);
    EXPECT_GT(total, 500'000) << "is Qt installed?";
}

} // namespace
