#ifndef KQSUPPORT_TESTS_MOUNTS_H
#define KQSUPPORT_TESTS_MOUNTS_H

#include <string>

/// Gives this process mounts of its own, which nobody else sees. Returns why that is not possible, or nothing.
std::string makeMountsPrivate();

/// Shows `source` in the place of `target` (both files or both directories), to this process and its children. Only
/// after `makeMountsPrivate`. Throws std::runtime_error when it fails.
void mountOver(const std::string& target, const std::string& source);

#endif
