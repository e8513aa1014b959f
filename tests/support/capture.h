#ifndef KQSUPPORT_TESTS_CAPTURE_H
#define KQSUPPORT_TESTS_CAPTURE_H

#include <functional>
#include <string>

/// Runs `action` with the file descriptor (1 or 2) redirected to a file, and returns the bytes written to it. Flushes
/// the standard stream before and after.
std::string captured(int descriptor, const std::function<void()>& action);

/// Runs `action` with the descriptor (0, 1 or 2) redirected to the file at `path`, opened with `flags`.
void withDescriptor(int descriptor, const char* path, int flags, const std::function<void()>& action);

#endif
