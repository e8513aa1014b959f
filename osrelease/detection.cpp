#include "osrelease/osrelease.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string_view>

namespace {

// The last line lacks "mint", which the override accepts and its usage text lists. The texts differ on purpose.
constexpr char verifiedReleases[] =
    "Zentrak'26 was verified to run on the following Linux releases...\n"
    "\n"
    "RedHat Enterprise Linux 8, 9, 10\n"
    "Rocky Linux 9, 10\n"
    "AlmaLinux 9, 10\n"
    "Fedora 43\n"
    "\n"
    "Ubuntu 22.04, 24.04, 26.04\n"
    "Linux Mint 22\n"
    "\n"
    "SUSE Linux Enterprise 16\n"
    "openSUSE Leap 16\n"
    "\n"
    "Arch Linux\n"
    "\n"
    "Zentrak'26 should also run on later versions of the above mentioned Linux releases\n"
    "\n"
    "To override Linux release detection, relaunch the installer specifing the distribution that most closely matches "
    "the release you are running...\n"
    "\n"
    "    zk_install --distrib [rhel|fedora|rocky|alma|debian|ubuntu|suse|arch]";

constexpr char detectionFailed[] = "Unable to determine the Linux distribution you are running.\n\n";

struct Key
{
    std::string_view name;
    decltype(&COSRelease::m_id) field;
};

constexpr Key keys[] = {
    {"ID", &COSRelease::m_id},
    {"ID_LIKE", &COSRelease::m_idLike},
    {"VERSION_ID", &COSRelease::m_versionId},
    {"PRETTY_NAME", &COSRelease::m_prettyName},
};

void parseLine(COSRelease& os, const char* line)
{
    std::vector<std::string> parts;
    COSRelease::SplitLine(line, parts, '=');
    if (parts.size() != 2)
        return;

    for (const Key& key : keys) {
        if (parts[0] != key.name)
            continue;
        os.*key.field = parts[1];
        COSRelease::RemoveQuotes(os.*key.field);
        if (key.field == &COSRelease::m_versionId)
            os.ParseVersion();
        return;
    }
}

void readOsRelease(COSRelease& os)
{
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen("/etc/os-release", "r"), &std::fclose);
    if (!file)
        return;

    // A longer line is read in several pieces, and each piece counts as a line.
    char line[256];
    while (std::fgets(line, sizeof line, file.get())) {
        line[std::strcspn(line, "\n")] = '\0';
        parseLine(os, line);
    }
}

// Any non-zero byte counts as true. Reading a bool whose byte is neither 0 nor 1 is undefined behaviour.
bool isVerbose()
{
    return reinterpret_cast<const unsigned char&>(g_kq_verbose) != 0;
}

} // namespace

COSRelease::COSRelease(int argc, char** argv)
{
    if (ForceOS(argc, argv))
        return;

    m_verifiedReleases = verifiedReleases;
    readOsRelease(*this);
    if (m_id.empty())
        m_error = detectionFailed + m_verifiedReleases;

    if (isVerbose())
        std::fprintf(stderr, "%s|%s(%d.%d.%d)\n%s\n", m_id.c_str(), m_versionId.c_str(), m_major, m_minor, m_patch,
            m_prettyName.c_str());
}

void COSRelease::RemoveQuotes(std::string& s)
{
    if (s.size() < 2 || s.front() != '"' || s.back() != '"')
        return;
    s.pop_back();
    s.erase(0, 1);
}

void COSRelease::SplitLine(const char* line, std::vector<std::string>& parts, char delimiter)
{
    parts.clear();
    if (!line)
        throw std::logic_error("COSRelease::SplitLine: line is null");

    std::string_view rest(line);
    while (!rest.empty()) {
        const std::size_t end = std::min(rest.find(delimiter), rest.size());
        parts.emplace_back(rest.substr(0, end));
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
}

void COSRelease::ParseVersion()
{
    std::vector<std::string> pieces;
    SplitLine(m_versionId.c_str(), pieces, '.');

    std::int32_t* const numbers[] = {&m_major, &m_minor, &m_patch};
    for (std::size_t i = 0; i < std::min(pieces.size(), std::size(numbers)); ++i)
        *numbers[i] = std::stoi(pieces[i]);
}
