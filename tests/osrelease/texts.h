#ifndef KQSUPPORT_TESTS_TEXTS_H
#define KQSUPPORT_TESTS_TEXTS_H

#include <string>

// The fixed texts, written out by hand.

inline const std::string verifiedReleases =
    "Zentrak'26 was verified to run on the following Linux releases...\n\n"
    "RedHat Enterprise Linux 8, 9, 10\nRocky Linux 9, 10\nAlmaLinux 9, 10\nFedora 43\n\n"
    "Ubuntu 22.04, 24.04, 26.04\nLinux Mint 22\n\n"
    "SUSE Linux Enterprise 16\nopenSUSE Leap 16\n\n"
    "Arch Linux\n\n"
    "Zentrak'26 should also run on later versions of the above mentioned Linux releases\n\n"
    "To override Linux release detection, relaunch the installer specifing the distribution that most closely matches "
    "the release you are running...\n\n"
    "    zk_install --distrib [rhel|fedora|rocky|alma|debian|ubuntu|suse|arch]";

inline const std::string usage =
    "Usage...\n\nzk_install --distrib [rhel|fedora|rocky|alma|debian|ubuntu|mint|suse|arch]";

inline const std::string detectionFailed =
    "Unable to determine the Linux distribution you are running.\n\n" + verifiedReleases;

inline const std::string prompt = "After installing prerequisites [Press \"Enter\" key to continue]";

#endif
