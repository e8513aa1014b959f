#ifndef KQSUPPORT_OSRELEASE_H
#define KQSUPPORT_OSRELEASE_H

#include "kqsupport_export.h"

#include <cstdint>
#include <string>
#include <vector>

/// \file
/// The running Linux distribution, and whether what the front end needs is installed on it.

/// Defined by the host program, never by the library: `bool g_kq_verbose = false;` at namespace scope in one source
/// that includes this header. When it is non-zero, a `COSRelease` that reads `/etc/os-release` says on standard error
/// what it found. A host without it does not link.
extern KQSUPPORT_EXPORT bool g_kq_verbose;

/// The running distribution, as `--distrib` on the command line or else `/etc/os-release` names it.
///
///     COSRelease os(argc, argv);
///     if (!os.m_error.empty()) {
///         std::fputs(os.m_error.c_str(), stderr);
///         return 1;
///     }
///     std::string refusal;
///     if (!os.OSSupported(refusal))
///         std::puts(refusal.c_str());
///     COSRelease::CheckPrerequisites(argc, argv);
///
/// The object is complete when the constructor returns. A non-empty `m_error` says that the distribution is unknown.
/// All matching of names and identifiers is case-sensitive. One thread at a time may use an object; several threads may
/// each use their own.
class KQSUPPORT_EXPORT COSRelease
{
public:
    /// Lets `ForceOS` decide first, and reads `/etc/os-release` when the command line does not. Costs one small file
    /// read.
    ///
    /// A file that is absent, unreadable or without an `ID` leaves its message in `m_error`. The file is read in pieces
    /// of at most 255 characters. A line that `SplitLine` does not cut at `=` into exactly two pieces is ignored: a
    /// `PRETTY_NAME` with an `=` inside its value stays unknown, and an empty `ID=` says nothing. Only the newline and
    /// then enclosing double quotes are taken off: a file with CR LF ends keeps the CR in its values, and then their
    /// quotes too. Of a repeated key the last one holds.
    ///
    /// A `VERSION_ID` with a first, second or third piece that does not begin with a number throws
    /// std::invalid_argument, and one outside 32 bits std::out_of_range, as `ParseVersion` does. Nothing else throws
    /// but std::bad_alloc.
    COSRelease(int argc, char** argv);

    /// Lets the first `--distrib` in `argv[1]` to `argv[argc - 1]` set the identity; its name is the next argument,
    /// whatever that looks like. `--distrib=NAME` is not recognised. The constructor calls this; no other caller needs
    /// to.
    ///
    /// Returns true when the command line decided: a known name has set `m_id`, `m_versionId` and the numbers that this
    /// has, a missing or unknown one has replaced `m_error`. Returns false, with nothing changed, when there is no
    /// `--distrib`.
    bool ForceOS(int argc, char** argv);

    /// Takes one pair of enclosing double quotes off `s`; leaves it as it is when it has no such pair. Single quotes
    /// stay.
    static void RemoveQuotes(std::string& s);

    /// Replaces `parts` with the pieces of `line` between the delimiters, as reading with std::getline gives them: with
    /// '=', "ID=fedora" gives "ID" and "fedora", "=x" gives "" and "x", "a==b" gives "a", "" and "b", but "ID=" gives
    /// "ID" alone and "" gives nothing. A null `line` empties `parts` and throws std::logic_error. `line` must not
    /// point into `parts`.
    static void SplitLine(const char* line, std::vector<std::string>& parts, char delimiter);

    /// Sets `m_major`, `m_minor` and `m_patch` from the first three dot-separated pieces of `m_versionId`, each read as
    /// std::stoi does: "04" gives 4, "0-beta" gives 0. A number without a piece keeps its value.
    ///
    /// Throws std::invalid_argument for a piece that does not begin with a number and std::out_of_range for a value
    /// outside 32 bits; the numbers before that piece are set by then.
    void ParseVersion();

    /// The family tests: whether `m_id`, or else `m_idLike`, contains an identifier of the family. They read the
    /// fields, change nothing and cost a few substring searches.
    ///
    /// This one holds for Red Hat's family and for SUSE's, whose packages RPM keeps too.
    bool RpmBased();
    /// Tells SUSE from Red Hat: every release for which it holds is also `RpmBased`.
    bool SuseBased();
    /// Holds for Debian, Ubuntu, Linux Mint and what is like Debian or Ubuntu.
    bool DebBased();
    /// Looks at `m_id` alone: a derivative that is only like Arch is not Pacman-based.
    bool PacmanBased();

    /// Returns whether the application supports this release, which `m_id` and `m_major` decide.
    ///
    /// On true, `message` is untouched. On false, it is replaced by the text to show to the user, which ends with the
    /// whole of `m_verifiedReleases`. Debian itself and derivatives known only through `m_idLike` are refused, although
    /// they belong to a family.
    bool OSSupported(std::string& message);

    /// The package queries: whether `package` is installed, by the database of one package tool. They read no field.
    ///
    /// Each call starts a shell that runs the tool, and waits for it; nothing is cached and the tool's output is thrown
    /// away. A tool, shell or package that is not there gives false. A signal that ends the shell gives true; one that
    /// ends the tool alone gives what the shell makes of it. `package` goes into the command line unquoted, so pass
    /// only fixed names, never text from outside.
    ///
    /// This one asks `rpm`, also on SUSE.
    bool RpmInstalled(std::string const& package);
    /// Asks `dpkg-query`. A package that was removed but left its configuration is not installed.
    bool DebInstalled(std::string const& package);
    /// Asks `pacman`.
    bool PacmanInstalled(std::string const& package);

    /// Asks the family's package database for the packages that the graphical front end needs; when some are missing,
    /// prints the one command that installs them and waits for a line (or the end) of standard input. Takes the
    /// installer's own command line, which may hold `--distrib`.
    ///
    /// The X11 and OpenGL packages count as missing only on a machine that has at least one of the X11 packages;
    /// without one, the OpenGL package is not even queried. Nothing goes to standard output when nothing is missing or
    /// when the release is of no known family, and `OSSupported` is not asked. The wait takes at most 255 characters of
    /// the line. Nothing is installed, and nothing is checked again afterwards.
    ///
    /// Costs one shell and package tool (on Debian a grep, too) for each package, at most 15, one after another, and
    /// leaves one `COSRelease` allocated for the rest of the process. Throws what the constructor throws.
    static void CheckPrerequisites(int argc, char** argv);

    /// The releases that the application was verified on, and how to override the detection. Empty after an override.
    std::string m_verifiedReleases;
    /// Text for the user when no distribution could be established; empty otherwise.
    std::string m_error;
    /// `ID`, or the identifier that the override set.
    std::string m_id;
    /// `ID_LIKE`, one string of space-separated identifiers. Empty after an override.
    std::string m_idLike;
    /// `VERSION_ID`, or the version that the override set.
    std::string m_versionId;
    /// `PRETTY_NAME`. Empty after an override.
    std::string m_prettyName;
    /// The first number of `m_versionId`. This and the next two are 0 until a version sets them, and a later version
    /// with fewer numbers leaves the others.
    std::int32_t m_major = 0;
    std::int32_t m_minor = 0; ///< The second number.
    std::int32_t m_patch = 0; ///< The third number.
};

#endif
