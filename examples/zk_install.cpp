// The first step of an installer: which Linux release is this, is it supported, and which packages are missing?
#include "osrelease/osrelease.h"

#include <QCommandLineParser>
#include <QCoreApplication>

#include <algorithm>
#include <cstdio>
#include <stdexcept>
#include <unistd.h>
#include <utility>

bool g_kq_verbose = false; // the library reads it; --verbose sets it

namespace {

enum Status
{
    Ready = 0,
    NotReady = 1, // not supported, or packages are missing
    Trouble = 2   // everything else
};

constexpr char description[] =
    "Shows the Linux release and whether it is supported, and prints the command that installs missing packages.\n"
    "\n"
    "Exit status: 0 the release is supported and no package is missing, 1 it is not supported or packages are missing\n"
    "(run the program again after installing them), 2 everything else.";

Status complain(const char* message)
{
    std::fprintf(stderr, "zk_install: %s\n", message);
    return Trouble;
}

const char* familyOf(COSRelease& os)
{
    if (os.SuseBased()) // before RPM: every SUSE release is RPM-based too
        return "SUSE";
    if (os.RpmBased())
        return "RPM";
    if (os.DebBased())
        return "Debian";
    return os.PacmanBased() ? "Pacman" : nullptr;
}

ssize_t writeThrough(void* isWritten, const char* bytes, std::size_t size)
{
    *static_cast<bool*>(isWritten) = true;
    return std::max<ssize_t>(write(STDOUT_FILENO, bytes, size), 0); // a stream expects 0 for an error
}

// CheckPrerequisites returns nothing, but it prints only if packages are missing. So standard output becomes a stream
// that records whether anything is written.
bool packagesAreMissing(int argc, char** argv)
{
    bool isWritten = false;
    std::fflush(stdout);
    FILE* const noticing = fopencookie(&isWritten, "w", {nullptr, writeThrough, nullptr, nullptr});
    FILE* const original = std::exchange(stdout, noticing);
    COSRelease::CheckPrerequisites(argc, argv);
    std::fclose(std::exchange(stdout, original));
    return isWritten;
}

bool checkPackages(const char* family, int argc, char** argv)
{
    if (!family) {
        std::puts("The packages were not checked, because the package family is unknown.");
        return false;
    }
    g_kq_verbose = false; // the check detects the release again
    if (packagesAreMissing(argc, argv))
        return false;
    std::puts("No package is missing.");
    return true;
}

Status check(int argc, char** argv)
{
    COSRelease os(argc, argv);
    if (!os.m_error.empty())
        return complain(os.m_error.c_str());

    const char* const family = familyOf(os);
    const std::string name = os.m_prettyName.empty() ? os.m_id + ' ' + os.m_versionId : os.m_prettyName;
    std::printf("Linux release: %s\nPackage family: %s\n\n", name.c_str(), family ? family : "unknown");

    std::string refusal;
    const bool isSupported = os.OSSupported(refusal);
    if (!isSupported)
        std::printf("%s\n\n", refusal.c_str());
    const bool isComplete = checkPackages(family, argc, argv);
    if (std::fflush(stdout) != 0 || std::ferror(stdout))
        return complain("standard output: cannot write");
    return isSupported && isComplete ? Ready : NotReady;
}

Status run(QCommandLineParser& parser, int argc, char** argv)
{
    const QStringList arguments = QCoreApplication::arguments();
    const bool isUnderstood = parser.parse(arguments);
    if (parser.isSet(QStringLiteral("help")))
        parser.showHelp();
    const auto isJoined = [](const QString& argument) { return argument.startsWith(QLatin1String("--distrib=")); };
    if (std::any_of(arguments.begin(), arguments.end(), isJoined)) // the library would ignore it
        return complain("write --distrib and the name as two arguments; see zk_install --help");
    // A --distrib without a name is left to the library, whose message lists the names.
    if (!isUnderstood && arguments.last() != QLatin1String("--distrib"))
        return complain(qPrintable(parser.errorText() + QStringLiteral(" See zk_install --help.")));
    if (!parser.positionalArguments().isEmpty())
        return complain("unexpected argument; see zk_install --help");
    g_kq_verbose = parser.isSet(QStringLiteral("verbose"));
    return check(argc, argv);
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription(QLatin1String(description));
    parser.addOptions({
        {{QStringLiteral("h"), QStringLiteral("help")}, QStringLiteral("Show this help.")},
        {QStringLiteral("distrib"),
            QStringLiteral("Assume this distribution instead of detecting it: "
                           "rhel, fedora, rocky, alma, debian, ubuntu, mint, suse or arch."),
            QStringLiteral("name")},
        {QStringLiteral("verbose"), QStringLiteral("Print what was detected to standard error.")},
    });
    try {
        return run(parser, argc, argv);
    } catch (const std::logic_error&) { // the conversion of VERSION_ID throws invalid_argument or out_of_range
        return complain(
            "the VERSION_ID in /etc/os-release is not a version number; name the distribution with --distrib");
    }
}
