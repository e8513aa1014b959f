// Edits files with one library:
//
//     fidelity_edit CANDIDATE
//
// Each line of standard input is PATH, SECTION, KEY and VALUE, separated by tabs. The answer is a line: the nanoseconds
// of one edit (load, change, write back), or "refused". Each edit has its own process, so a library that crashes or
// hangs refuses only that file.
#include "benchmarks/settings.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <iostream>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

bool g_kq_verbose = false;

namespace {

using documents::Text;
using settings::Candidate;

constexpr unsigned secondsAllowed = 60;

std::vector<std::string> fieldsOf(const std::string& line)
{
    std::vector<std::string> fields;
    std::istringstream stream(line);
    for (std::string field; std::getline(stream, field, '\t');)
        fields.push_back(field);
    return fields;
}

// Never returns.
void editAndExit(const Candidate& c, const std::vector<std::string>& fields)
{
    alarm(secondsAllowed);
    const Text path(fields[0]);
    const Text section(fields[1]);
    const Text key(fields[2]);
    const Text value(fields[3]);
    try {
        const auto start = std::chrono::steady_clock::now();
        Candidate::Loaded loaded = c.load(path);
        c.edit(loaded.get(), section, key, value);
        c.write(loaded.get(), path);
        loaded.reset();
        std::cout << std::chrono::nanoseconds(std::chrono::steady_clock::now() - start).count() << std::endl;
        _exit(0);
    } catch (const std::exception&) {
        _exit(1);
    }
}

} // namespace

int main(int argc, char** argv)
{
    const auto candidates = settings::candidates();
    const auto candidate = std::find_if(
        candidates.begin(), candidates.end(), [&](const Candidate& c) { return argc > 1 && c.name == argv[1]; });
    if (candidate == candidates.end())
        return 2;
    for (std::string line; std::getline(std::cin, line);) {
        const pid_t child = fork();
        if (child == 0)
            editAndExit(*candidate, fieldsOf(line));
        int status = 0;
        if (waitpid(child, &status, 0) != child || status != 0)
            std::cout << "refused" << std::endl;
    }
}
