#include "inistore/storetest.h"

#include "support/rows.h"

#include <algorithm>
#include <filesystem>

namespace fs = std::filesystem;

namespace {

// Settings files of one kind. A new Debian machine with the packages for the build has at least `atLeast` of them.
struct Kind
{
    const char* name;
    std::vector<const char*> endings;
    int atLeast;
    const char* section; // at least a quarter of them have this key
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
    for (const char* const directory : {"/usr/lib", "/usr/lib64", "/usr/share"}) {
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

class RealFiles : public StoreTest, public testing::WithParamInterface<Kind>
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
    EXPECT_GE(roundTrips, GetParam().atLeast) << "is Qt installed?";
    EXPECT_GE(understood, (GetParam().atLeast + 3) / 4);
}

INSTANTIATE_TEST_SUITE_P(Kind, RealFiles,
    testing::ValuesIn(std::vector<Kind>{
        {"pkg_config_files", {".pc"}, 10, "", "prefix"},
        {"qmake_specifications", {"qmake.conf"}, 20, "", "MAKEFILE_GENERATOR"},
        {"unit_files", {".service", ".socket", ".target", ".timer", ".mount"}, 6, "unit", "description"},
    }),
    rowName);

} // namespace
