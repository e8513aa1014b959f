// The parts of the comparison that fidelity.py needs from C++:
//
//     fidelity_store read                    for each path on standard input, prints the keys that the store reads
//     fidelity_store document FOLDER SIZE    writes a settings file of that size, and prints its path
#include "benchmarks/documents.h"
#include "inistore/inistore.h"
#include "osrelease/osrelease.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <cstdlib>
#include <iostream>
#include <string>

bool g_kq_verbose = false;

namespace {

QJsonArray keysOf(const std::string& path)
{
    INIStore store;
    store.Open(QString::fromStdString(path));
    QJsonArray keys;
    QHash<QString, int> seen; // sections by name; a lookup reads the first one
    for (const INISection& section : std::as_const(store.m_sections)) {
        QString name = section.m_name.toLower();
        if (const int number = seen[name]++)
            name += QStringLiteral("#%1").arg(number);
        for (const INILine& line : section.m_lines) {
            if (!line.m_key.isNull())
                keys.append(QJsonArray{name, line.m_key.toLower(), line.m_value});
        }
    }
    return keys;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc == 4)
        std::cout << documents::Settings(argv[2], std::size_t(std::atoi(argv[3]))).path.bytes << std::endl;
    for (std::string path; argc == 2 && std::getline(std::cin, path);)
        std::cout << QJsonDocument(keysOf(path)).toJson(QJsonDocument::Compact).toStdString() << std::endl;
}
