#ifndef KQSUPPORT_TESTS_UNPRIVILEGED_H
#define KQSUPPORT_TESTS_UNPRIVILEGED_H

#include <functional>
#include <string>

/// Runs `action` in a child process as an ordinary user, because root may read and write everything. Returns the result
/// of `action`, and fails the running test if the child fails. The user needs access to the directories that `action`
/// uses.
std::string asOrdinaryUser(const std::function<std::string()>& action);

#endif
