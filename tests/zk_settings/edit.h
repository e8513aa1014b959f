#ifndef KQSUPPORT_TESTS_ZK_SETTINGS_EDIT_H
#define KQSUPPORT_TESTS_ZK_SETTINGS_EDIT_H

#include "document.h"
#include "failure.h"

/// A command, its section, key and value. "all" is get --all.
using Words = std::vector<std::string>;

/// Runs a command on a document in memory. Returns the new document, or the lines that it prints. Throws Failure.
std::string edited(const Dialect& dialect, std::string_view bytes, const Words& words);

/// Returns the failure as the program reports it: "LINE: text".
std::string message(const Failure& failure);

#endif
