// Edits a file with a library, and ends with status 1 if the library refuses:
//
//     benchmark_edit LIBRARY PATH SECTION KEY VALUE
#include "benchmarks/libraries.h"
#include "osrelease/osrelease.h"

#include <boost/property_tree/ini_parser.hpp>
#include <boost/property_tree/ptree.hpp>
#include <iniparser/iniparser.h>
#include <wx/fileconf.h>
#include <wx/init.h>
#include <wx/log.h>
#include <wx/wfstream.h>

#include <algorithm>
#include <cstdio>

bool g_kq_verbose = false;

namespace {

using libraries::Text;

bool editWithIniparser(Text path, Text section, Text key, Text value)
{
    dictionary* const loaded = iniparser_load(path.c_str());
    if (!loaded || iniparser_set(loaded, (section.bytes + ':' + key.bytes).c_str(), value.c_str()) != 0)
        return false;
    std::FILE* const file = std::fopen(path.c_str(), "w");
    iniparser_dump_ini(loaded, file);
    return std::fclose(file) == 0;
}

bool editWithBoost(Text path, Text section, Text key, Text value)
{
    boost::property_tree::ptree tree;
    read_ini(path.bytes, tree);
    const auto found = tree.find(section.bytes);
    const auto line = found == tree.not_found() ? found : found->second.find(key.bytes);
    if (found == tree.not_found() || line == found->second.not_found())
        return false;
    line->second.put_value(value.bytes);
    write_ini(path.bytes, tree);
    return true;
}

bool editWithWx(Text path, Text section, Text key, Text value)
{
    const wxInitializer library;
    const wxLogNull noMessages;
    wxFileConfig config(wxEmptyString, wxEmptyString, path.bytes, wxEmptyString, wxCONFIG_USE_LOCAL_FILE);
    config.DisableAutoSave();
    const wxString name = wxString::FromUTF8('/' + section.bytes + '/' + key.bytes);
    if (config.GetNumberOfGroups() == 0 || !config.Write(name, wxString::FromUTF8(value.bytes)))
        return false;
    wxFileOutputStream file(path.bytes);
    return config.Save(file);
}

const struct
{
    const char* name;
    bool (*edit)(Text path, Text section, Text key, Text value);
} others[] = {{"iniparser", editWithIniparser}, {"Boost.PropertyTree", editWithBoost}, {"wxFileConfig", editWithWx}};

bool edit(Text library, Text path, Text section, Text key, Text value)
{
    for (const auto& other : others) {
        if (library.bytes == other.name)
            return other.edit(path, section, key, value);
    }
    for (const auto& candidate : libraries::all) {
        if (candidate.name == library.bytes) {
            const auto loaded = candidate.load(path);
            loaded->edit(section, key, value);
            loaded->write(path);
            return true;
        }
    }
    return false;
}

} // namespace

int main(int argc, char** argv)
try {
    return argc == 6 && edit({argv[1]}, {argv[2]}, {argv[3]}, {argv[4]}, {argv[5]}) ? 0 : 1;
} catch (const std::exception&) {
    return 1;
}
