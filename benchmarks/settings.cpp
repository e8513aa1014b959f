#include "benchmarks/settings.h"

#include "inistore/inistore.h"
#include "tests/reference/inistore.h"

#include <QFile>
#include <QSettings>

#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>

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
#include <wx/wfstream.h>
#endif

namespace settings {

namespace {

constexpr std::size_t anySize = ~std::size_t();

void require(bool succeeded, const char* who)
{
    if (succeeded)
        return;
    std::fprintf(stderr, "%s failed\n", who);
    std::exit(1);
}

void writeFile(const std::string& path, const std::string& bytes)
{
    std::FILE* const file = std::fopen(path.c_str(), "w");
    require(file && std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size() && std::fclose(file) == 0,
        path.c_str());
}

template <typename T>
T& as(void* loaded)
{
    return *static_cast<T*>(loaded);
}

std::string valueFor(bool odd, Shape shape, std::size_t size)
{
    return shape == Shape::LongLine ? std::string(size, odd ? 'o' : 'e') : odd ? "an odd value" : "an even value";
}

std::string writtenPath(const Document& document)
{
    return document.path + ".written";
}

Candidate store()
{
    Candidate c{"store", anySize, nullptr, nullptr, nullptr, nullptr};
    c.load = [](const Document& d) {
        const auto loaded = std::make_shared<INIStore>();
        require(loaded->Open(d.qtPath), "store");
        return loaded;
    };
    c.lookUp = [](void* s, const Document& d) {
        require(!as<INIStore>(s).GetValues(d.qtSection, d.qtKey).isEmpty(), "store");
    };
    c.edit = [](void* s, const Document& d, bool odd) {
        as<INIStore>(s).UpdateKey(d.qtSection, d.qtKey, d.qtValues[odd]);
    };
    c.write = [](void* s, const Document& d) {
        require(as<INIStore>(s).Write(d.qtPath + QStringLiteral(".written")), "store");
    };
    return c;
}

// Parses a section when it is asked for, so all of them are; a new time stamp keeps it from using what it parsed
// before. It writes when something has changed, and by a temporary file.
Candidate qSettings()
{
    Candidate c{"QSettings", anySize, nullptr, nullptr, nullptr, nullptr};
    c.load = [](const Document& d) {
        static timespec times[2] = {};
        ++times[1].tv_sec;
        utimensat(AT_FDCWD, d.path.c_str(), times, 0);
        const auto loaded = std::make_shared<QSettings>(d.qtPath, QSettings::IniFormat);
        require(!loaded->allKeys().isEmpty(), "QSettings");
        return loaded;
    };
    c.lookUp = [](void* s, const Document& d) {
        require(!as<QSettings>(s).value(d.qtSection + u'/' + d.qtKey).isNull(), "QSettings");
    };
    c.edit = [](void* s, const Document& d, bool odd) {
        as<QSettings>(s).setValue(d.qtSection + u'/' + d.qtKey, d.qtValues[odd]);
    };
    return c;
}

#ifdef PEER_GLIB
// Takes `#` for comments only: the same file with `;` would not load.
Candidate keyFile()
{
    Candidate c{"GKeyFile", anySize, nullptr, nullptr, nullptr, nullptr};
    c.load = [](const Document& d) {
        const std::shared_ptr<GKeyFile> loaded(g_key_file_new(), g_key_file_free);
        const bool isRead =
            g_key_file_load_from_file(loaded.get(), d.hashPath.c_str(), G_KEY_FILE_KEEP_COMMENTS, nullptr);
        require(isRead, "GKeyFile");
        return loaded;
    };
    c.lookUp = [](void* k, const Document& d) {
        gchar* const value = g_key_file_get_string(&as<GKeyFile>(k), d.section.c_str(), d.key.c_str(), nullptr);
        require(value, "GKeyFile");
        g_free(value);
    };
    c.edit = [](void* k, const Document& d, bool odd) {
        g_key_file_set_string(&as<GKeyFile>(k), d.section.c_str(), d.key.c_str(), d.values[odd].c_str());
    };
    c.write = [](void* k, const Document& d) {
        require(g_key_file_save_to_file(&as<GKeyFile>(k), writtenPath(d).c_str(), nullptr), "GKeyFile");
    };
    return c;
}
#endif

#ifdef PEER_SIMPLEINI
// An edit keeps every value it was ever given until all is released.
Candidate simpleIni()
{
    Candidate c{"SimpleIni", anySize, nullptr, nullptr, nullptr, nullptr};
    c.load = [](const Document& d) {
        const auto loaded = std::make_shared<CSimpleIniA>();
        loaded->SetUnicode();
        require(loaded->LoadFile(d.path.c_str()) == SI_OK, "SimpleIni");
        return loaded;
    };
    c.lookUp = [](void* s, const Document& d) {
        CSimpleIniA::TNamesDepend values;
        require(as<CSimpleIniA>(s).GetAllValues(d.section.c_str(), d.key.c_str(), values), "SimpleIni");
    };
    c.edit = [](void* s, const Document& d, bool odd) {
        as<CSimpleIniA>(s).SetValue(d.section.c_str(), d.key.c_str(), d.values[odd].c_str());
    };
    c.write = [](void* s, const Document& d) {
        require(as<CSimpleIniA>(s).SaveFile(writtenPath(d).c_str()) == SI_OK, "SimpleIni");
    };
    return c;
}
#endif

#ifdef PEER_INIH
// Calls back for every key and keeps none: the least that reading a file can cost.
Candidate inih()
{
    Candidate c{"inih", anySize, nullptr, nullptr, nullptr, nullptr};
    c.load = [](const Document& d) {
        const auto keys = std::make_shared<int>(0);
        const auto count = [](void* user, const char*, const char*, const char*) { return ++*static_cast<int*>(user); };
        require(ini_parse(d.path.c_str(), count, keys.get()) == 0 && *keys > 0, "inih");
        return keys;
    };
    return c;
}
#endif

#ifdef PEER_INIREADER
Candidate iniReader()
{
    Candidate c{"INIReader", anySize, nullptr, nullptr, nullptr, nullptr};
    c.load = [](const Document& d) {
        const auto loaded = std::make_shared<INIReader>(d.path);
        require(loaded->ParseError() == 0, "INIReader");
        return loaded;
    };
    c.lookUp = [](void* r, const Document& d) {
        require(!as<INIReader>(r).Get(d.section, d.key, std::string()).empty(), "INIReader");
    };
    return c;
}
#endif

#ifdef PEER_INIPARSER
// Looks through all keys for each that it reads.
Candidate iniparser()
{
    Candidate c{"iniparser", 100'000, nullptr, nullptr, nullptr, nullptr};
    c.load = [](const Document& d) {
        const std::shared_ptr<dictionary> loaded(iniparser_load(d.path.c_str()), iniparser_freedict);
        require(loaded != nullptr, "iniparser");
        return loaded;
    };
    c.lookUp = [](void* p, const Document& d) {
        const std::string name = d.section + ':' + d.key;
        require(iniparser_getstring(&as<dictionary>(p), name.c_str(), nullptr), "iniparser");
    };
    c.edit = [](void* p, const Document& d, bool odd) {
        const std::string name = d.section + ':' + d.key;
        require(iniparser_set(&as<dictionary>(p), name.c_str(), d.values[odd].c_str()) == 0, "iniparser");
    };
    c.write = [](void* p, const Document& d) {
        std::FILE* const file = std::fopen(writtenPath(d).c_str(), "w");
        require(file, "iniparser");
        iniparser_dump_ini(&as<dictionary>(p), file);
        std::fclose(file);
    };
    return c;
}
#endif

#ifdef PEER_POCO
Candidate poco()
{
    using Configuration = Poco::Util::IniFileConfiguration;
    Candidate c{"Poco", anySize, nullptr, nullptr, nullptr, nullptr};
    c.load = [](const Document& d) {
        return std::shared_ptr<Configuration>(new Configuration(d.path), [](Configuration* file) { file->release(); });
    };
    c.lookUp = [](void* p, const Document& d) {
        require(!as<Configuration>(p).getString(d.section + '.' + d.key).empty(), "Poco");
    };
    c.edit = [](void* p, const Document& d, bool odd) {
        as<Configuration>(p).setString(d.section + '.' + d.key, d.values[odd]);
    };
    return c;
}
#endif

#ifdef PEER_WX
Candidate wx()
{
    Candidate c{"wxFileConfig", anySize, nullptr, nullptr, nullptr, nullptr};
    c.load = [](const Document& d) {
        static const wxInitializer library;
        const auto loaded = std::make_shared<wxFileConfig>(
            wxEmptyString, wxEmptyString, d.path, wxEmptyString, wxCONFIG_USE_LOCAL_FILE);
        loaded->DisableAutoSave();
        require(loaded->GetNumberOfGroups() > 0, "wxFileConfig");
        return loaded;
    };
    c.lookUp = [](void* w, const Document& d) {
        require(!as<wxFileConfig>(w).Read('/' + d.section + '/' + d.key, wxString()).empty(), "wxFileConfig");
    };
    c.edit = [](void* w, const Document& d, bool odd) {
        require(as<wxFileConfig>(w).Write('/' + d.section + '/' + d.key, wxString(d.values[odd])), "wxFileConfig");
    };
    c.write = [](void* w, const Document& d) {
        wxFileOutputStream file(writtenPath(d));
        require(as<wxFileConfig>(w).Save(file), "wxFileConfig");
    };
    return c;
}
#endif

std::string bytesOf(Shape shape, std::size_t size, std::string& section, std::string& key)
{
    const auto line = [&] { return key + " = value of " + section + ' ' + key + '\n'; };
    // Names of one length, so that comparing them costs the same all through a file.
    const auto numbered = [](const char* name, std::size_t length, int number) {
        const std::string digits = std::to_string(number);
        return name + std::string(length - digits.size(), '0') + digits;
    };
    const bool hasOneSection = shape != Shape::Ordinary && shape != Shape::ManySections;
    const int keys = shape == Shape::Ordinary ? 40 : 1;
    std::string bytes;
    for (int s = 0, k = 0; bytes.size() < size; ++k) {
        if (k == 0 || (!hasOneSection && k == keys)) {
            k = 0;
            section = numbered("section", shape == Shape::Ordinary ? 4 : 7, s++);
            bytes += '[' + section + "]\n";
        }
        if (shape == Shape::Ordinary && k % 5 == 0)
            bytes += "; on the next option\n";
        key = shape == Shape::EqualKeys ? "option" : numbered("option", shape == Shape::Ordinary ? 2 : 7, k);
        bytes += shape == Shape::LongLine ? key + " = " + std::string(size, 'v') + '\n' : line();
    }
    return bytes;
}

} // namespace

Document::Document(const std::string& folder, Shape shape, std::size_t wanted)
    : size(wanted)
    , path(folder + "/settings" + std::to_string(static_cast<int>(shape)) + '-' + std::to_string(size) + ".ini")
    , hashPath(path + ".hash")
    , bytes(bytesOf(shape, size, section, key))
    , values{valueFor(false, shape, size), valueFor(true, shape, size)}
    , qtPath(QString::fromStdString(path))
    , qtSection(QString::fromStdString(section))
    , qtKey(QString::fromStdString(key))
    , qtValues{QString::fromStdString(values[0]), QString::fromStdString(values[1])}
{
    writeFile(path, bytes);
    std::string withHashes = bytes;
    for (char& c : withHashes)
        c = c == ';' ? '#' : c;
    writeFile(hashPath, withHashes);
}

std::vector<Candidate> candidates()
{
    return {
        store(),
        qSettings(),
#ifdef PEER_GLIB
        keyFile(),
#endif
#ifdef PEER_SIMPLEINI
        simpleIni(),
#endif
#ifdef PEER_INIH
        inih(),
#endif
#ifdef PEER_INIREADER
        iniReader(),
#endif
#ifdef PEER_INIPARSER
        iniparser(),
#endif
#ifdef PEER_POCO
        poco(),
#endif
#ifdef PEER_WX
        wx(),
#endif
    };
}

Candidate plainModel()
{
    using Model = reference::INIStore;
    Candidate c{"plain model", anySize, nullptr, nullptr, nullptr, nullptr};
    c.load = [](const Document& d) {
        const auto loaded = std::make_shared<Model>();
        require(loaded->Open(d.qtPath), "plain model");
        return loaded;
    };
    c.lookUp = [](void* m, const Document& d) {
        require(!as<Model>(m).GetValues(d.qtSection, d.qtKey).isEmpty(), "plain model");
    };
    c.edit = [](void* m, const Document& d, bool odd) {
        as<Model>(m).UpdateKey(d.qtSection, d.qtKey, d.qtValues[odd]);
    };
    c.write = [](void* m, const Document& d) {
        require(as<Model>(m).Write(d.qtPath + QStringLiteral(".written")), "plain model");
    };
    return c;
}

void plainLookUp(void* store, const Document& document)
{
    QStringList values;
    for (const INISection& section : std::as_const(as<INIStore>(store).m_sections)) {
        if (QString::compare(section.m_name, document.qtSection, Qt::CaseInsensitive) != 0)
            continue;
        for (const INILine& line : section.m_lines) {
            if (QString::compare(line.m_key, document.qtKey, Qt::CaseInsensitive) == 0)
                values.append(line.m_value);
        }
        break;
    }
    require(!values.isEmpty(), "plain look-up");
}

} // namespace settings
