#ifndef KQSUPPORT_TESTS_ZK_SETTINGS_SETTINGS_H
#define KQSUPPORT_TESTS_ZK_SETTINGS_SETTINGS_H

#include "support/process.h"

/// Runs the program in `directory`, in a locale without UTF-8.
inline Finished settings(
    const std::string& directory, std::vector<std::string> arguments, const std::string& input = {})
{
    arguments.insert(arguments.begin(), ZK_SETTINGS);
    return run(arguments, {input, {"LC_ALL=C"}, directory});
}

/// Runs a shell command in `directory`. `zk` is the program.
inline Finished shell(const std::string& directory, const std::string& line)
{
    return run({"sh", "-c", "zk() { '" ZK_SETTINGS "' \"$@\"; }\n" + line}, {{}, {"LC_ALL=C"}, directory});
}

#endif
