// How long the settings store takes, beside what a user would otherwise pick. Every name begins with its question, so
// that a filter shows one of them: benchmark_inistore --benchmark_filter=^open/large
#include "inistore/inistore.h"
#include "osrelease/osrelease.h"

#include <QFile>
#include <QSettings>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <fcntl.h>
#include <functional>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#ifdef PEER_GLIB
#include <glib.h>
#endif
#ifdef PEER_SIMPLEINI
#include <SimpleIni.h>
#endif
#ifdef PEER_INIH
#include <ini.h>
#endif
#ifdef PEER_INIREADER
#include <INIReader.h>
#endif
#ifdef PEER_INIPARSER
#include <iniparser/iniparser.h>
#endif
#ifdef PEER_POCO
#include <Poco/AutoPtr.h>
#include <Poco/Util/IniFileConfiguration.h>
#endif
#ifdef PEER_WX
#include <wx/fileconf.h>
#include <wx/init.h>
#endif

bool g_kq_verbose = false;

namespace {

// A settings file on disk, its last section and last key: the furthest that a scan has to go.
struct Document
{
    Document(const QString& filePath, int sections, int keys)
        : path(filePath)
        , nativePath(filePath.toStdString())
    {
        for (int s = 0; s < sections; ++s) {
            section = "section" + std::to_string(s);
            bytes += '[' + section + "]\n";
            for (int k = 0; k < keys; ++k) {
                if (k % 5 == 0)
                    bytes += "; on the next option\n";
                key = "option" + std::to_string(k);
                bytes += key + " = value of " + section + ' ' + key + '\n';
            }
        }
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes.data(), static_cast<qint64>(bytes.size())) < 0)
            qFatal("cannot write %s", nativePath.c_str());
    }

    QString path;
    std::string nativePath;
    std::string bytes;
    std::string section;
    std::string key;
};

using Step = std::function<void()>;

void add(const std::string& name, const Step& step, std::size_t bytes = 0)
{
    benchmark::RegisterBenchmark(name.c_str(), [step, bytes](benchmark::State& state) {
        for ([[maybe_unused]] auto _ : state)
            step();
        if (bytes > 0)
            state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes));
    });
}

// How long does it take to load a file, so that every key can be asked for, and to let it go again?
void addOpen(const std::string& question, const Document& document)
{
    const auto addReader = [&](const char* who, const Step& step) {
        add("open/" + question + '/' + who, step, document.bytes.size());
    };

    addReader("store", [&document] {
        INIStore store;
        if (!store.Open(document.path) || store.m_sections.size() < 2)
            qFatal("store");
    });
    // Parses sections when they are asked for, so all of them are; a new time stamp keeps it from using what it parsed
    // before.
    addReader("QSettings", [&document] {
        static timespec times[2] = {};
        ++times[1].tv_sec;
        utimensat(AT_FDCWD, document.nativePath.c_str(), times, 0);
        const QSettings settings(document.path, QSettings::IniFormat);
        if (settings.allKeys().isEmpty())
            qFatal("QSettings");
    });
#ifdef PEER_GLIB
    addReader("g_key_file", [&document] {
        GKeyFile* const file = g_key_file_new();
        // Takes "#" for comments only: the same file with ";" would not load.
        const std::string path = document.nativePath + ".hash";
        if (!g_key_file_load_from_file(file, path.c_str(), G_KEY_FILE_KEEP_COMMENTS, nullptr))
            qFatal("g_key_file");
        g_key_file_free(file);
    });
#endif
#ifdef PEER_SIMPLEINI
    addReader("SimpleIni", [&document] {
        CSimpleIniA ini;
        ini.SetUnicode();
        if (ini.LoadFile(document.nativePath.c_str()) != SI_OK)
            qFatal("SimpleIni");
    });
#endif
#ifdef PEER_INIH
    addReader("inih", [&document] {
        int keys = 0;
        const auto count = [](void* user, const char*, const char*, const char*) { return ++*static_cast<int*>(user); };
        if (ini_parse(document.nativePath.c_str(), count, &keys) != 0 || keys == 0)
            qFatal("inih");
    });
#endif
#ifdef PEER_INIREADER
    addReader("INIReader", [&document] {
        const INIReader reader(document.nativePath);
        if (reader.ParseError() != 0)
            qFatal("INIReader");
    });
#endif
#ifdef PEER_INIPARSER
    addReader("iniparser", [&document] {
        dictionary* const found = iniparser_load(document.nativePath.c_str());
        if (!found)
            qFatal("iniparser");
        iniparser_freedict(found);
    });
#endif
#ifdef PEER_POCO
    addReader("Poco", [&document] {
        const Poco::AutoPtr<Poco::Util::IniFileConfiguration> file(
            new Poco::Util::IniFileConfiguration(document.nativePath));
        if (!file->has(document.section + '.' + document.key))
            qFatal("Poco");
    });
#endif
#ifdef PEER_WX
    addReader("wxFileConfig", [&document] {
        const wxFileConfig file(
            wxEmptyString, wxEmptyString, document.nativePath, wxEmptyString, wxCONFIG_USE_LOCAL_FILE);
        if (file.GetNumberOfGroups() == 0)
            qFatal("wxFileConfig");
    });
#endif
}

// The lookup as one would write it first.
QStringList plainGetValues(const INIStore& store, const QString& section, const QString& key)
{
    QStringList values;
    for (const INISection& candidate : store.m_sections) {
        if (QString::compare(candidate.m_name, section, Qt::CaseInsensitive) != 0)
            continue;
        for (const INILine& line : candidate.m_lines) {
            if (QString::compare(line.m_key, key, Qt::CaseInsensitive) == 0)
                values.append(line.m_value);
        }
        return values;
    }
    return values;
}

// How long does it take to look up and to change the last key of the last section, and what would the same scan cost
// that leaves comparing to Qt?
void addKeys(const std::string& question, const Document& document)
{
    const QString section = QString::fromStdString(document.section);
    const QString key = QString::fromStdString(document.key);
    const auto store = std::make_shared<INIStore>();
    store->Open(document.path);

    add("get/" + question + "/store", [=] {
        if (store->GetValues(section, key).size() != 1)
            qFatal("store");
    });
    add("get/" + question + "/plain scan", [=] {
        if (plainGetValues(*store, section, key).size() != 1)
            qFatal("plain scan");
    });
    add("update/" + question + "/store", [=, odd = false]() mutable {
        odd = !odd;
        store->UpdateKey(section, key, odd ? QStringLiteral("an odd value") : QStringLiteral("an even value"));
    });
#ifdef PEER_SIMPLEINI
    const auto ini = std::make_shared<CSimpleIniA>();
    ini->SetUnicode();
    ini->LoadFile(document.nativePath.c_str());
    add("get/" + question + "/SimpleIni GetValue",
        [=, &document] { benchmark::DoNotOptimize(ini->GetValue(document.section.c_str(), document.key.c_str())); });
    add("get/" + question + "/SimpleIni GetAllValues", [=, &document] {
        CSimpleIniA::TNamesDepend values;
        if (!ini->GetAllValues(document.section.c_str(), document.key.c_str(), values))
            qFatal("SimpleIni");
    });
    // Keeps every value it was ever given until it is destroyed.
    add("update/" + question + "/SimpleIni", [=, &document, odd = false]() mutable {
        odd = !odd;
        ini->SetValue(document.section.c_str(), document.key.c_str(), odd ? "an odd value" : "an even value");
    });
#endif
}

// How long does it take to write a document to a file, beside one write of the same bytes?
void addWrite(const std::string& question, const Document& document)
{
    const auto store = std::make_shared<INIStore>();
    store->Open(document.path);
    const QString target = document.path + QStringLiteral(".written");

    add(
        "write/" + question + "/store",
        [=] {
            if (!store->Write(target))
                qFatal("store");
        },
        document.bytes.size());
    add(
        "write/" + question + "/one write",
        [target = target.toStdString(), &document] {
            const int file = open(target.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
            if (write(file, document.bytes.data(), document.bytes.size()) < 0)
                qFatal("one write");
            close(file);
        },
        document.bytes.size());
}

} // namespace

int main(int argc, char** argv)
{
    const QTemporaryDir dir;
    const Document small(dir.filePath(QStringLiteral("small.ini")), 4, 20);
    const Document large(dir.filePath(QStringLiteral("large.ini")), 500, 40);
#ifdef PEER_WX
    const wxInitializer wx;
#endif
    for (const auto& [question, document] : {std::pair("small", &small), std::pair("large", &large)}) {
        std::string withHashes = document->bytes;
        for (char& c : withHashes)
            c = c == ';' ? '#' : c;
        QFile file(document->path + QStringLiteral(".hash"));
        if (!file.open(QIODevice::WriteOnly) ||
            file.write(withHashes.data(), static_cast<qint64>(withHashes.size())) < 0)
            qFatal("cannot write %s", qPrintable(file.fileName()));
        file.close();

        addOpen(question, *document);
        addKeys(question, *document);
        addWrite(question, *document);
    }
    benchmark::AddCustomContext("small file", std::to_string(small.bytes.size()) + " bytes");
    benchmark::AddCustomContext("large file", std::to_string(large.bytes.size()) + " bytes");
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
}
