#ifndef KQSUPPORT_OSRELEASE_H
#define KQSUPPORT_OSRELEASE_H

#include "kqsupport_export.h"

#include <cstdint>
#include <string>
#include <vector>

/// \file
/// Detects the Linux distribution and checks for the packages that the graphical front end needs.

/// Turns on the trace of the detection. The program defines this flag; the library only reads it.
///
/// Example, at namespace scope in one source file that includes this header:
///
///     bool g_kq_verbose = false;
///
/// If it is true, a `COSRelease` that reads `/etc/os-release` prints what it found to standard error. Any non-zero byte
/// counts as true.
///
/// **Warning**: a program that does not define the flag fails to link: "undefined reference to 'g_kq_verbose'". With
/// the linkers gold and lld, a program that is not linked with Qt as well links, but it does not start. Include this
/// header where you define the flag; the header gives the definition the visibility that the library needs.
extern KQSUPPORT_EXPORT bool g_kq_verbose;

/// The Linux distribution and release, from `--distrib` on the command line or from `/etc/os-release`.
///
/// Example:
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
/// The object is complete when the constructor returns. A non-empty `m_error` means that the distribution is unknown.
/// All names and identifiers are compared case-sensitively.
///
/// Threads: one thread at a time may use an object. Several threads may each use their own.
class KQSUPPORT_EXPORT COSRelease
{
public:
    /// Detects the distribution. Calls `ForceOS` first, and reads `/etc/os-release` if that returns false. Pass 0 and a
    /// null pointer if there is no command line.
    ///
    /// A line sets a field if `SplitLine` splits it at `=` into exactly two pieces. If a key is repeated, the last one
    /// wins. Only the newline and one enclosing pair of double quotes are removed from a value.
    ///
    /// Errors: if the file is absent, unreadable or without an `ID`, `m_error` contains the message.
    ///
    /// **Warning**: throws std::invalid_argument if one of the first three pieces of `VERSION_ID` does not begin with a
    /// number (`rolling`, `v24.12`), and std::out_of_range if it does not fit in 32 bits. Catch std::logic_error and
    /// ask the user for `--distrib`.
    ///
    /// **Warning**: a line with text after a second `=` (`PRETTY_NAME="a=b"`) is ignored. In a file with CR LF line
    /// endings the values keep the CR and the quotes. A line is split after 255 characters, and the rest counts as a
    /// line of its own. Do not rely on `m_prettyName` being set; fall back to `m_id` and `m_versionId`.
    ///
    /// Cost: reads one small file.
    COSRelease(int argc, char** argv);

    /// Sets the identity from the first `--distrib` in `argv[1]` to `argv[argc - 1]`. The constructor calls it.
    ///
    /// The next argument is the name, even if it looks like an option. A known name sets `m_id`, `m_versionId` and the
    /// numbers that occur in this version. A missing or unknown name replaces `m_error`. Returns true in both cases.
    /// Returns false and changes nothing if there is no `--distrib`.
    ///
    /// | name   | `m_id`    | `m_versionId` |
    /// |--------|-----------|---------------|
    /// | rhel   | rhel      | 8.10          |
    /// | fedora | fedora    | 43            |
    /// | rocky  | rocky     | 9             |
    /// | alma   | almalinux | 9             |
    /// | debian | ubuntu    | 22.04         |
    /// | ubuntu | ubuntu    | 22.04         |
    /// | mint   | linuxmint | 22.3          |
    /// | suse   | sles      | 16.0          |
    /// | arch   | arch      | 0.0           |
    ///
    /// **Warning**: `--distrib=name` is not recognised and is silently ignored. A client that parses its own options
    /// should reject that form.
    bool ForceOS(int argc, char** argv);

    /// Removes one pair of enclosing double quotes from `s`. Leaves `s` unchanged if it has none.
    ///
    /// Example: `"a"` gives `a`, `""a""` gives `"a"`, ``'a'`` is not changed.
    static void RemoveQuotes(std::string& s);

    /// Splits `line` at `delimiter`, as std::getline does, and replaces the contents of `parts` with the pieces.
    ///
    /// Example, with '=':
    ///
    ///     ID=fedora    "ID", "fedora"
    ///     =x           "", "x"
    ///     a==b         "a", "", "b"
    ///     ID=          "ID"              no empty piece at the end
    ///                                    no piece for an empty line
    ///
    /// Errors: a null `line` empties `parts` and throws std::logic_error. `line` must not point into `parts`.
    static void SplitLine(const char* line, std::vector<std::string>& parts, char delimiter);

    /// Sets `m_major`, `m_minor` and `m_patch` from the first three dot-separated pieces of `m_versionId`.
    ///
    /// Each piece is converted as by std::stoi: `04` gives 4, `0-beta` gives 0. If there are fewer than three pieces,
    /// the other numbers keep their values.
    ///
    /// Errors: throws std::invalid_argument for a piece that does not begin with a number and std::out_of_range for a
    /// value that does not fit in 32 bits. The numbers before that piece are already set.
    void ParseVersion();

    /// \name Package families
    /// Each returns whether an identifier of the family occurs in `m_id` or in `m_idLike`.
    ///
    /// **Warning**: the families overlap, since every SUSE release is RPM-based too. Ask `SuseBased` first to tell SUSE
    /// from the Red Hat family.
    ///
    /// Cost: a few substring searches.
    /// @{

    /// The Red Hat family and SUSE.
    bool RpmBased();
    /// SUSE alone.
    bool SuseBased();
    /// Debian, Ubuntu, Linux Mint and their derivatives.
    bool DebBased();
    /// Arch Linux. Looks at `m_id` alone, so a derivative known only through `m_idLike` does not count.
    bool PacmanBased();

    /// @}

    /// Returns whether the application supports this release. Only `m_id` and `m_major` count.
    ///
    /// If not, `message` is replaced with a text for the user, which ends with `m_verifiedReleases`. Otherwise
    /// `message` is not changed.
    ///
    /// **Warning**: a package family does not imply support. Debian itself, and derivatives known only through
    /// `m_idLike`, belong to a family but are refused.
    bool OSSupported(std::string& message);

    /// \name Package queries
    /// Each asks one package tool whether `package` is installed. No field is read.
    ///
    /// Errors: false if the tool, the shell or the package is missing. True if a signal ends the shell.
    ///
    /// **Warning**: `package` is inserted into a shell command without quotes. Pass only fixed names, never text from
    /// outside.
    ///
    /// Cost: each call starts a shell and the tool and waits for them. Nothing is cached.
    /// @{

    /// Asks `rpm`, for SUSE too.
    bool RpmInstalled(std::string const& package);
    /// Asks `dpkg-query`. A removed package that left its configuration does not count as installed.
    bool DebInstalled(std::string const& package);
    /// Asks `pacman`.
    bool PacmanInstalled(std::string const& package);

    /// @}

    /// Checks that the packages that the graphical front end needs are installed. If some are missing, prints the
    /// command that installs them and waits for the user.
    ///
    /// `argc` and `argv` are the command line of the installer, which may contain `--distrib`. The X11 and OpenGL
    /// packages count only on a machine that has at least one of the X11 packages. The wait reads one line from
    /// standard input, at most 255 characters, and also ends at the end of the input. Nothing is installed, and nothing
    /// is checked again after the wait.
    ///
    /// Errors: throws what the constructor throws.
    ///
    /// The result is only printed. To learn it, ask `RpmInstalled`, `DebInstalled` or `PacmanInstalled` about the
    /// packages yourself.
    ///
    /// **Warning**: nothing is printed if the package family is unknown, just as if no package were missing.
    /// `OSSupported` and `m_error` are not consulted. Check the family and the support yourself before the call.
    ///
    /// Cost: starts a shell and the package tool once for each of at most 15 packages. Each call leaves one
    /// `COSRelease` allocated until the process ends.
    static void CheckPrerequisites(int argc, char** argv);

    /// The releases that the application was verified on and how to override the detection. Empty after an override.
    std::string m_verifiedReleases;
    /// Text for the user if the distribution is unknown; empty otherwise.
    std::string m_error;
    /// `ID`, or the identifier of the override.
    std::string m_id;
    /// `ID_LIKE`: identifiers separated by spaces. Empty after an override.
    std::string m_idLike;
    /// `VERSION_ID`, or the version of the override.
    std::string m_versionId;
    /// `PRETTY_NAME`. Empty after an override.
    std::string m_prettyName;
    /// The first number of `m_versionId`. All three numbers are 0 until a version sets them.
    ///
    /// **Warning**: if `VERSION_ID` is repeated with fewer numbers, the others keep their old values.
    std::int32_t m_major = 0;
    std::int32_t m_minor = 0; ///< The second number.
    std::int32_t m_patch = 0; ///< The third number.
};

#endif
