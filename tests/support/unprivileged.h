#ifndef KQSUPPORT_TESTS_UNPRIVILEGED_H
#define KQSUPPORT_TESTS_UNPRIVILEGED_H

#include <functional>
#include <string>

/// Runs `action` in a child process as an ordinary user (the test itself may be root, who may always) and returns the
/// text that it returned. Fails the running test when the child does not get there. The user must be let into the
/// directories that `action` uses.
std::string asOrdinaryUser(const std::function<std::string()>& action);

#endif
