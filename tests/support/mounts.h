#ifndef KQSUPPORT_TESTS_MOUNTS_H
#define KQSUPPORT_TESTS_MOUNTS_H

#include <string>

/// Gives this process a private mount namespace. Returns an empty text, or the reason why that is not possible.
std::string makeMountsPrivate();

/// Mounts `source` over `target` (both files or both directories) for this process and its children. Call
/// `makeMountsPrivate` first. Throws std::runtime_error when it fails.
void mountOver(const std::string& target, const std::string& source);

#endif
