#include "inistore/storetest.h"

#include "support/rows.h"

#include <algorithm>
#include <filesystem>

namespace fs = std::filesystem;

namespace {

// Settings files of one kind, where packages put them. Debian 12's systemd, hicolor-icon-theme, adwaita-icon-theme,
// htop, php8.2-cli and mariadb-common alone bring as many as `atLeast`.
struct Kind
{
    const char* name;
    std::vector<const char*> directories;
    std::vector<const char*> endings;
    int atLeast;
    const char* section; // that a good part of them has
    const char* key;
};

void PrintTo(const Kind& kind, std::ostream* out)
{
    *out << kind.name;
}

bool endsLike(const std::string& path, const std::vector<const char*>& endings)
{
    return std::any_of(endings.begin(), endings.end(), [&](const std::string& ending) {
        return path.size() >= ending.size() && path.compare(path.size() - ending.size(), ending.size(), ending) == 0;
    });
}

std::vector<std::string> filesOf(const Kind& kind)
{
    std::vector<std::string> files;
    for (const char* const directory : kind.directories) {
        std::error_code missing;
        const auto options = fs::directory_options::skip_permission_denied;
        const fs::recursive_directory_iterator end;
        for (fs::recursive_directory_iterator it(directory, options, missing); it != end; it.increment(missing)) {
            std::error_code dangling;
            if (it->is_regular_file(dangling) && endsLike(it->path(), kind.endings))
                files.push_back(it->path());
        }
    }
    return files;
}

class RealFiles : public Settings, public testing::WithParamInterface<Kind>
{
};

TEST_P(RealFiles, round_trip_byte_for_byte)
{
    int roundTrips = 0;
    int understood = 0;
    for (const std::string& path : filesOf(GetParam())) {
        const std::string bytes = readFile(path);
        if (bytes.find('\0') != std::string::npos)
            continue; // cannot be written
        INIStore real;
        ASSERT_TRUE(real.Open(toPath(path))) << path;
        ASSERT_TRUE(real.Write(toPath(dir / "copy"))) << path;
        ASSERT_EQ(toBytes(readFile(dir / "copy")), toBytes(bytes)) << path;
        ++roundTrips;
        understood += !real.GetValues(Text(GetParam().section), Text(GetParam().key)).isEmpty();
    }
    EXPECT_GE(roundTrips, GetParam().atLeast) << "are the packages installed?";
    EXPECT_GE(understood, (GetParam().atLeast + 3) / 4);
}

INSTANTIATE_TEST_SUITE_P(Kind, RealFiles,
    testing::ValuesIn(std::vector<Kind>{
        {"desktop_entries", {"/usr/share/applications", "/etc/xdg/autostart"}, {".desktop"}, 1, "desktop entry",
            "exec"},
        {"unit_files", {"/usr/lib/systemd", "/etc/systemd"}, {".service", ".socket", ".target", ".timer", ".mount"},
            150, "unit", "description"},
        {"manager_configuration", {"/etc/systemd", "/usr/lib/systemd"}, {".conf"}, 4, "manager", "#loglevel"},
        {"theme_indexes", {"/usr/share/icons", "/usr/share/themes"}, {"index.theme"}, 2, "Icon Theme", "Directories"},
        {"php_configuration", {"/etc/php", "/usr/lib/php"}, {".ini", "php.ini-development", "php.ini-production"}, 3,
            "PHP", "memory_limit"},
        {"database_configuration", {"/etc/mysql"}, {".cnf"}, 3, "client-server", "socket"},
    }),
    rowName);

} // namespace
