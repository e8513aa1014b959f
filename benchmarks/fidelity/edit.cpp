// Edits a file with a library, and ends with status 1 if the library refuses:
//
//     benchmark_edit LIBRARY PATH SECTION KEY VALUE
#include "benchmarks/benchmarks.h"
#include "osrelease/osrelease.h"

#include <boost/property_tree/ini_parser.hpp>
#include <boost/property_tree/ptree.hpp>
#include <iniparser/iniparser.h>
#include <wx/fileconf.h>
#include <wx/init.h>
#include <wx/log.h>
#include <wx/wfstream.h>

#include <cstdio>
#include <map>

bool g_kq_verbose = false;

namespace {

using libraries::Text;

const std::map<std::string, bool (*)(Text path, Text section, Text key, Text value)> others = {
    {"iniparser",
        [](Text path, Text section, Text key, Text value) {
            dictionary* const loaded = iniparser_load(path.c_str());
            if (!loaded || iniparser_set(loaded, (section.bytes + ':' + key.bytes).c_str(), value.c_str()) != 0)
                return false;
            std::FILE* const file = std::fopen(path.c_str(), "w");
            iniparser_dump_ini(loaded, file);
            return std::fclose(file) == 0;
        }},
    {"Boost.PropertyTree",
        [](Text path, Text section, Text key, Text value) {
            boost::property_tree::ptree tree;
            read_ini(path.bytes, tree);
            tree.put(boost::property_tree::path(section.bytes + '\n' + key.bytes, '\n'), value.bytes);
            write_ini(path.bytes, tree);
            return true;
        }},
    {"wxFileConfig",
        [](Text path, Text section, Text key, Text value) {
            const wxInitializer library;
            const wxLogNull noMessages;
            wxFileConfig config(wxEmptyString, wxEmptyString, path.bytes, wxEmptyString, wxCONFIG_USE_LOCAL_FILE);
            config.DisableAutoSave();
            const wxString name = wxString::FromUTF8('/' + section.bytes + '/' + key.bytes);
            if (config.GetNumberOfGroups() == 0 || !config.Write(name, wxString::FromUTF8(value.bytes)))
                return false;
            wxFileOutputStream file(path.bytes);
            return config.Save(file);
        }},
};

} // namespace

int main(int, char** argv)
try {
    const documents::DualString path(argv[2]), section(argv[3]), key(argv[4]), value(argv[5]);
    if (const auto other = others.find(argv[1]); other != others.end())
        return other->second(path, section, key, value) ? 0 : 1;
    for (const libraries::Library& library : libraries::all) {
        if (library.name == argv[1]) {
            const auto loaded = library.load(path);
            loaded->edit(section, key, value);
            loaded->write(path);
            return 0;
        }
    }
    return 1;
} catch (const std::exception&) {
    return 1;
}
