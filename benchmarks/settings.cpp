#include "benchmarks/settings.h"

#include "inistore/inistore.h"

#include <QSettings>

#include <SimpleIni.h>
#include <boost/property_tree/ini_parser.hpp>
#include <boost/property_tree/ptree.hpp>
#include <glib.h>
#include <ini.h>
#include <iniparser/iniparser.h>
#include <wx/fileconf.h>
#include <wx/init.h>
#include <wx/log.h>
#include <wx/wfstream.h>

#include <cstdio>
#include <fcntl.h>
#include <stdexcept>
#include <sys/stat.h>

namespace settings {

namespace {

void require(bool succeeded, const char* step)
{
    if (!succeeded)
        throw std::runtime_error(std::string(step) + " failed");
}

template <typename T>
T& as(void* loaded)
{
    return *static_cast<T*>(loaded);
}

Candidate store()
{
    Candidate c{"store"};
    c.load = [](const Text& path) {
        const auto loaded = std::make_shared<INIStore>();
        require(loaded->Open(path.qt), "load");
        return loaded;
    };
    c.lookup = [](void* s, const Text& section, const Text& key) {
        require(!as<INIStore>(s).GetValues(section.qt, key.qt).isEmpty(), "lookup");
    };
    c.edit = [](void* s, const Text& section, const Text& key, const Text& value) {
        as<INIStore>(s).UpdateKey(section.qt, key.qt, value.qt);
    };
    c.write = [](void* s, const Text& path) { require(as<INIStore>(s).Write(path.qt), "write"); };
    return c;
}

// QSettings parses a section when it is first used, so `load` uses all of them. A new time stamp keeps it from reusing
// what it parsed before. `write` writes to the file that was loaded, and only after an edit.
Candidate qSettings()
{
    // In QSettings, the keys of the section General have no group.
    const auto name = [](const Text& section, const Text& key) {
        return section.bytes == "General" ? key.qt : section.qt + u'/' + key.qt;
    };
    Candidate c{"QSettings"};
    c.load = [](const Text& path) {
        static timespec times[2] = {};
        ++times[1].tv_sec;
        utimensat(AT_FDCWD, path.c_str(), times, 0);
        const auto loaded = std::make_shared<QSettings>(path.qt, QSettings::IniFormat);
        require(!loaded->allKeys().isEmpty() && loaded->status() == QSettings::NoError, "load");
        return loaded;
    };
    c.lookup = [name](void* s, const Text& section, const Text& key) {
        require(!as<QSettings>(s).value(name(section, key)).isNull(), "lookup");
    };
    c.edit = [name](void* s, const Text& section, const Text& key, const Text& value) {
        as<QSettings>(s).setValue(name(section, key), value.qt);
    };
    c.write = [](void* s, const Text&) {
        as<QSettings>(s).sync();
        require(as<QSettings>(s).status() == QSettings::NoError, "write");
    };
    return c;
}

Candidate keyFile()
{
    Candidate c{"GKeyFile"};
    c.hashComments = true;
    c.load = [](const Text& path) {
        const std::shared_ptr<GKeyFile> loaded(g_key_file_new(), g_key_file_free);
        const auto flags = GKeyFileFlags(G_KEY_FILE_KEEP_COMMENTS | G_KEY_FILE_KEEP_TRANSLATIONS);
        require(g_key_file_load_from_file(loaded.get(), path.c_str(), flags, nullptr), "load");
        return loaded;
    };
    c.lookup = [](void* k, const Text& section, const Text& key) {
        gchar* const value = g_key_file_get_string(&as<GKeyFile>(k), section.c_str(), key.c_str(), nullptr);
        require(value, "lookup");
        g_free(value);
    };
    c.edit = [](void* k, const Text& section, const Text& key, const Text& value) {
        g_key_file_set_string(&as<GKeyFile>(k), section.c_str(), key.c_str(), value.c_str());
    };
    c.write = [](void* k, const Text& path) {
        require(g_key_file_save_to_file(&as<GKeyFile>(k), path.c_str(), nullptr), "write");
    };
    return c;
}

Candidate simpleIni(const char* name, bool keepsRepeatedKeys)
{
    Candidate c{name};
    c.load = [=](const Text& path) {
        const bool isUtf8 = true;
        const auto loaded = std::make_shared<CSimpleIniA>(isUtf8, keepsRepeatedKeys);
        require(loaded->LoadFile(path.c_str()) == SI_OK, "load");
        return loaded;
    };
    c.lookup = [](void* s, const Text& section, const Text& key) {
        CSimpleIniA::TNamesDepend values;
        require(as<CSimpleIniA>(s).GetAllValues(section.c_str(), key.c_str(), values), "lookup");
    };
    c.edit = [](void* s, const Text& section, const Text& key, const Text& value) {
        const bool replaces = true;
        require(
            as<CSimpleIniA>(s).SetValue(section.c_str(), key.c_str(), value.c_str(), nullptr, replaces) >= 0, "edit");
    };
    c.write = [](void* s, const Text& path) {
        const bool addsByteOrderMark = false;
        require(as<CSimpleIniA>(s).SaveFile(path.c_str(), addsByteOrderMark) == SI_OK, "write");
    };
    return c;
}

// Calls a function for every key and keeps none, so it shows the least that reading a file costs.
Candidate inih()
{
    Candidate c{"inih"};
    c.load = [](const Text& path) {
        const auto keys = std::make_shared<int>(0);
        const auto count = [](void* user, const char*, const char*, const char*) { return ++*static_cast<int*>(user); };
        require(ini_parse(path.c_str(), count, keys.get()) == 0 && *keys > 0, "load");
        return keys;
    };
    return c;
}

Candidate iniparser()
{
    Candidate c{"iniparser"};
    c.mostBytes = 1'000'000; // it compares each new key with all earlier ones
    c.load = [](const Text& path) {
        const std::shared_ptr<dictionary> loaded(iniparser_load(path.c_str()), iniparser_freedict);
        require(loaded != nullptr, "load");
        return loaded;
    };
    c.lookup = [](void* p, const Text& section, const Text& key) {
        require(iniparser_getstring(&as<dictionary>(p), (section.bytes + ':' + key.bytes).c_str(), nullptr), "lookup");
    };
    c.edit = [](void* p, const Text& section, const Text& key, const Text& value) {
        const std::string name = section.bytes + ':' + key.bytes;
        require(iniparser_set(&as<dictionary>(p), name.c_str(), value.c_str()) == 0, "edit");
    };
    c.write = [](void* p, const Text& path) {
        const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "w"), std::fclose);
        require(file != nullptr, "write");
        iniparser_dump_ini(&as<dictionary>(p), file.get());
    };
    return c;
}

Candidate boostPropertyTree()
{
    using boost::property_tree::ptree;
    const auto child = [](ptree& tree, const Text& name) -> ptree& {
        const auto found = tree.find(name.bytes);
        require(found != tree.not_found(), "lookup");
        return found->second;
    };
    Candidate c{"Boost.PropertyTree"};
    c.load = [](const Text& path) {
        const auto loaded = std::make_shared<ptree>();
        read_ini(path.bytes, *loaded);
        return loaded;
    };
    c.lookup = [child](void* t, const Text& section, const Text& key) { child(child(as<ptree>(t), section), key); };
    c.edit = [child](void* t, const Text& section, const Text& key, const Text& value) {
        child(child(as<ptree>(t), section), key).put_value(value.bytes);
    };
    c.write = [](void* t, const Text& path) { write_ini(path.bytes, as<ptree>(t)); };
    return c;
}

Candidate wx()
{
    const auto name = [](const Text& section, const Text& key) {
        return wxString::FromUTF8('/' + section.bytes + '/' + key.bytes);
    };
    Candidate c{"wxFileConfig"};
    c.load = [](const Text& path) {
        static const wxInitializer library;
        static const wxLogNull noMessages;
        const auto loaded = std::make_shared<wxFileConfig>(
            wxEmptyString, wxEmptyString, path.bytes, wxEmptyString, wxCONFIG_USE_LOCAL_FILE);
        loaded->DisableAutoSave();
        require(loaded->GetNumberOfGroups() > 0, "load");
        return loaded;
    };
    c.lookup = [name](void* w, const Text& section, const Text& key) {
        require(!as<wxFileConfig>(w).Read(name(section, key), wxString()).empty(), "lookup");
    };
    c.edit = [name](void* w, const Text& section, const Text& key, const Text& value) {
        require(as<wxFileConfig>(w).Write(name(section, key), wxString::FromUTF8(value.bytes)), "edit");
    };
    c.write = [](void* w, const Text& path) {
        wxFileOutputStream file(path.bytes);
        require(as<wxFileConfig>(w).Save(file), "write");
    };
    return c;
}

} // namespace

std::vector<Candidate> candidates()
{
    return {
        store(),
        qSettings(),
        keyFile(),
        simpleIni("SimpleIni", false),
        simpleIni("SimpleIni, repeated keys", true),
        inih(),
        iniparser(),
        boostPropertyTree(),
        wx(),
    };
}

} // namespace settings
