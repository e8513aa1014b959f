#include "osrelease/osrelease.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

namespace {

struct Family
{
    bool (COSRelease::*appliesTo)();
    bool (COSRelease::*installed)(std::string const& package);
    const char* heading;
    const char* installCommand;
    // Package names, separated by single spaces.
    const char* base;
    const char* display;
    const char* glu;
};

// The first family that applies is used. SUSE comes before RPM, because every SUSE release is RPM-based too.
constexpr Family families[] = {
    {&COSRelease::SuseBased, &COSRelease::RpmInstalled,
        "Please install the missing prerequisite RPMs needed by Zentrak...\n", "sudo zypper install",
        "binutils libgthread-2_0-0",
        "libxcb1 libX11-xcb1 libxcb-util1 libxcb-cursor0 libxcb-icccm4 libxcb-shape0 libxcb-image0 libxcb-keysyms1 "
        "libxcb-render-util0 libxcb-xinerama0 libxcb-xkb1 libxkbcommon-x11-0",
        "libGLU1"},
    {&COSRelease::RpmBased, &COSRelease::RpmInstalled,
        "Please install the missing prerequisite RPMs needed by Zentrak...\n", "sudo dnf install", "binutils",
        "libxcb libX11-xcb xcb-util xcb-util-image xcb-util-renderutil xcb-util-cursor xcb-util-wm xcb-util-keysyms",
        "mesa-libGLU"},
    {&COSRelease::DebBased, &COSRelease::DebInstalled,
        "Please install the missing prerequisite DEBs needed by Zentrak...\n", "sudo apt install", "binutils",
        "libxcb1 libx11-xcb1 libxcb-util1 libxcb-cursor0 libxcb-icccm4 libxcb-image0 libxcb-keysyms1 "
        "libxcb-render-util0 libxcb-xinerama0 libxcb-xkb1 libxkbcommon-x11-0",
        "libglu1-mesa"},
    {&COSRelease::PacmanBased, &COSRelease::PacmanInstalled,
        "Please install the missing prerequisite Pacmans needed by Zentrak...\n", "sudo pacman -S", "binutils",
        "libxcb xcb-util xcb-util-cursor xcb-util-image xcb-util-renderutil xcb-util-wm xcb-util-keysyms xcb-proto",
        "glu"},
};

const Family* familyOf(COSRelease& os)
{
    const auto family =
        std::find_if(std::begin(families), std::end(families), [&](const Family& f) { return (os.*f.appliesTo)(); });
    return family == std::end(families) ? nullptr : family;
}

struct QueryResult
{
    std::string missing; // separated by single spaces
    bool anyInstalled = false;
};

void append(std::string& list, const std::string& words)
{
    if (!list.empty() && !words.empty())
        list += ' ';
    list += words;
}

QueryResult query(COSRelease& os, const Family& family, const char* list)
{
    std::vector<std::string> packages;
    COSRelease::SplitLine(list, packages, ' ');

    QueryResult result;
    for (const std::string& package : packages) {
        if ((os.*family.installed)(package))
            result.anyInstalled = true;
        else
            append(result.missing, package);
    }
    return result;
}

std::string missingPackages(COSRelease& os, const Family& family)
{
    std::string missing = query(os, family, family.base).missing;
    // Without any display package the machine cannot run the graphical front end, and only the base list counts.
    const QueryResult display = query(os, family, family.display);
    if (display.anyInstalled) {
        append(missing, display.missing);
        append(missing, query(os, family, family.glu).missing);
    }
    return missing;
}

void askToInstall(const Family& family, const std::string& missing)
{
    std::printf("%s\n    %s %s\n\n", family.heading, family.installCommand, missing.c_str());
    std::fputs("After installing prerequisites [Press \"Enter\" key to continue]", stdout);
    // The prompt does not end its line, so without a flush it could appear only after the wait.
    std::fflush(stdout);
}

void waitForEnter()
{
    char line[256];
    [[maybe_unused]] const char* const ignored = std::fgets(line, sizeof line, stdin);
}

} // namespace

void COSRelease::CheckPrerequisites(int argc, char** argv)
{
    auto* const os = new COSRelease(argc, argv); // never deleted: it lives as long as the process
    const Family* const family = familyOf(*os);
    if (!family)
        return;

    const std::string missing = missingPackages(*os, *family);
    if (missing.empty())
        return;
    askToInstall(*family, missing);
    waitForEnter();
}
