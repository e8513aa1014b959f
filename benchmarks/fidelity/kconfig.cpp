// KConfig uses Qt 5, so it has a program of its own.
#include "benchmarks/settings.h"

#include <KConfig>
#include <KConfigGroup>

#include <stdexcept>

namespace {

void require(bool succeeded, const char* step)
{
    if (!succeeded)
        throw std::runtime_error(std::string(step) + " failed");
}

} // namespace

std::vector<settings::Candidate> settings::candidates()
{
    Candidate c{"KConfig"};
    c.load = [](const Text& path) {
        const auto loaded = std::make_shared<KConfig>(path.qt, KConfig::SimpleConfig);
        require(!loaded->groupList().isEmpty(), "load");
        return loaded;
    };
    c.edit = [](void* k, const Text& section, const Text& key, const Text& value) {
        static_cast<KConfig*>(k)->group(section.qt).writeEntry(key.qt, value.qt);
    };
    c.write = [](void* k, const Text&) { require(static_cast<KConfig*>(k)->sync(), "write"); };
    return {c};
}
