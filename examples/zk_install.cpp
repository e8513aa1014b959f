// The installer's first minute: which Linux is this, is it supported, and are the packages there that the front end
// needs? Run it with --help for its options.
#include "osrelease/osrelease.h"

#include <QCommandLineParser>
#include <QCoreApplication>

#include <cstdio>
#include <stdexcept>

// Every host of the library defines this flag; --verbose sets it.
bool g_kq_verbose = false;

namespace {

enum ExitStatus
{
    supported = 0,
    failed = 1,
    refused = 2
};

const char* familyOf(COSRelease& os)
{
    if (os.SuseBased()) // before RPM: every SUSE release is RPM-based too
        return "SUSE";
    if (os.RpmBased())
        return "RPM";
    if (os.DebBased())
        return "Debian";
    if (os.PacmanBased())
        return "Pacman";
    return "unknown";
}

ExitStatus check(int argc, char** argv)
{
    COSRelease os(argc, argv);
    if (!os.m_error.empty()) {
        std::fprintf(stderr, "%s\n", os.m_error.c_str());
        return failed;
    }
    const std::string name = os.m_prettyName.empty() ? os.m_id + ' ' + os.m_versionId : os.m_prettyName;
    std::printf("Linux release: %s\nPackage family: %s\n\n", name.c_str(), familyOf(os));

    std::string refusal;
    const bool isSupported = os.OSSupported(refusal);
    if (!isSupported)
        std::printf("%s\n\n", refusal.c_str());

    COSRelease::CheckPrerequisites(argc, argv);
    return isSupported ? supported : refused;
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Names the Linux release, says whether it is supported, and prints the command that installs the missing "
        "packages.\n\n"
        "Exit status: 0 supported, 1 the release could not be established, 2 not supported."));
    parser.addHelpOption();
    const QCommandLineOption distrib(QStringLiteral("distrib"),
        QStringLiteral("Take this distribution instead of the detected one: "
                       "rhel, fedora, rocky, alma, debian, ubuntu, mint, suse or arch. "
                       "The name is an argument of its own; --distrib=name is not recognised."),
        QStringLiteral("name"));
    const QCommandLineOption verbose(
        QStringLiteral("verbose"), QStringLiteral("Say on standard error what /etc/os-release told."));
    parser.addOptions({distrib, verbose});

    const QStringList arguments = QCoreApplication::arguments();
    const bool understood = parser.parse(arguments);
    if (parser.isSet(QStringLiteral("help")))
        parser.showHelp();
    // A --distrib without a name is left to the library, whose message lists the names.
    if (!understood && arguments.last() != QLatin1String("--distrib")) {
        std::fprintf(stderr, "%s\n", qPrintable(parser.errorText()));
        return failed;
    }
    if (!parser.positionalArguments().isEmpty()) {
        std::fprintf(stderr, "Unexpected argument '%s'.\n", qPrintable(parser.positionalArguments().constFirst()));
        return failed;
    }
    g_kq_verbose = parser.isSet(verbose);

    try {
        return check(argc, argv);
    } catch (const std::logic_error&) { // invalid_argument or out_of_range, by the conversion of the version
        std::fputs("The VERSION_ID in /etc/os-release is not a version number.\n"
                   "Name the distribution with --distrib instead.\n",
            stderr);
        return failed;
    }
}
