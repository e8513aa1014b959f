#ifndef KQSUPPORT_TESTS_MOUNTS_H
#define KQSUPPORT_TESTS_MOUNTS_H

#include <functional>

/// Runs `action` in a child process with a private mount namespace, where it may mount what it needs: as root, or as
/// root of a user namespace. What fails there fails the running test. Skips the test if that is not possible here.
void withPrivateMounts(const std::function<void()>& action);

#endif
