#include "benchmarks/benchmarks.h"

#include "inistore/inistore.h"

#include <QSettings>

#include <SimpleIni.h>
#include <glib.h>
#include <ini.h>

#include <chrono>
#include <filesystem>
#include <stdexcept>

namespace libraries {

namespace {

void require(bool succeeded, const char* step)
{
    if (!succeeded)
        throw std::runtime_error(std::string(step) + " failed");
}

struct Store : LoadedFile
{
    explicit Store(Text path) { require(store.Open(path.qt), "load"); }
    void lookup(Text section, Text key) override { require(!store.GetValues(section.qt, key.qt).isEmpty(), "lookup"); }
    void edit(Text section, Text key, Text value) override { store.UpdateKey(section.qt, key.qt, value.qt); }
    void write(Text path) override { require(store.Write(path.qt), "write"); }

    INIStore store;
};

// QSettings parses a section when it is first used, so loading uses all of them. A new time stamp keeps it from reusing
// what it parsed before. It writes to the file that it loaded.
struct QtSettings : LoadedFile
{
    explicit QtSettings(Text path)
        : settings(newlyStamped(path), QSettings::IniFormat)
    {
        require(!settings.allKeys().isEmpty() && settings.status() == QSettings::NoError, "load");
    }
    void lookup(Text section, Text key) override { require(!settings.value(name(section, key)).isNull(), "lookup"); }
    void edit(Text section, Text key, Text value) override { settings.setValue(name(section, key), value.qt); }
    void write(Text) override
    {
        settings.sync();
        require(settings.status() == QSettings::NoError, "write");
    }

    static const QString& newlyStamped(Text path)
    {
        static std::filesystem::file_time_type time;
        std::filesystem::last_write_time(path.bytes, time += std::chrono::seconds(1));
        return path.qt;
    }
    // In QSettings, the keys of the section General have no group.
    static QString name(Text section, Text key)
    {
        return section.bytes == "General" ? key.qt : section.qt + u'/' + key.qt;
    }

    QSettings settings;
};

struct KeyFile : LoadedFile
{
    explicit KeyFile(Text path)
    {
        const auto keep = GKeyFileFlags(G_KEY_FILE_KEEP_COMMENTS | G_KEY_FILE_KEEP_TRANSLATIONS);
        require(g_key_file_load_from_file(file.get(), path.c_str(), keep, nullptr), "load");
    }
    void lookup(Text section, Text key) override
    {
        gchar* const value = g_key_file_get_string(file.get(), section.c_str(), key.c_str(), nullptr);
        require(value, "lookup");
        g_free(value);
    }
    void edit(Text s, Text k, Text v) override { g_key_file_set_string(file.get(), s.c_str(), k.c_str(), v.c_str()); }
    void write(Text path) override { require(g_key_file_save_to_file(file.get(), path.c_str(), nullptr), "write"); }

    std::unique_ptr<GKeyFile, void (*)(GKeyFile*)> file{g_key_file_new(), g_key_file_free};
};

struct Simple : LoadedFile
{
    explicit Simple(Text path) { require(ini.LoadFile(path.c_str()) == SI_OK, "load"); }
    void lookup(Text section, Text key) override
    {
        CSimpleIniA::TNamesDepend values;
        require(ini.GetAllValues(section.c_str(), key.c_str(), values), "lookup");
    }
    void edit(Text section, Text key, Text value) override
    {
        require(ini.SetValue(section.c_str(), key.c_str(), value.c_str(), nullptr, /* replace */ true) >= 0, "edit");
    }
    void write(Text path) override { require(ini.SaveFile(path.c_str(), /* signature */ false) == SI_OK, "write"); }

    CSimpleIniA ini{/* UTF-8 */ true, /* repeated keys, as the store */ true};
};

// Calls a function for every key and keeps none, so it shows the least that reading a file costs.
struct BareParser : LoadedFile
{
    explicit BareParser(Text path)
    {
        int keys = 0;
        const auto count = [](void* user, const char*, const char*, const char*) { return ++*static_cast<int*>(user); };
        require(ini_parse(path.c_str(), count, &keys) == 0 && keys > 0, "load");
    }
};

} // namespace

const std::vector<Library> all = {
    {"INIStore", std::make_unique<Store, Text>},
    {"SimpleIni", std::make_unique<Simple, Text>},
    {"GKeyFile", std::make_unique<KeyFile, Text>, "load lookup edit write", true},
    {"QSettings", std::make_unique<QtSettings, Text>, "load lookup edit"}, // writes only after a change
    {"inih", std::make_unique<BareParser, Text>, "load"},
};

} // namespace libraries
