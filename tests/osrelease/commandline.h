#ifndef KQSUPPORT_TESTS_COMMANDLINE_H
#define KQSUPPORT_TESTS_COMMANDLINE_H

#include <string>
#include <vector>

/// The `argc` and `argv` of a program started with these words. The first is the name of the program.
class CommandLine
{
public:
    explicit CommandLine(const std::vector<const char*>& words = {"zk_install"})
        : m_words(words.begin(), words.end())
    {
        for (std::string& word : m_words)
            m_argv.push_back(word.data());
        m_argv.push_back(nullptr);
    }
    CommandLine(const CommandLine& other) = delete;

    int argc() const { return static_cast<int>(m_words.size()); }
    char** argv() { return m_argv.data(); }
    const std::vector<std::string>& words() const { return m_words; }
    std::vector<char*> pointers() const { return m_argv; }

private:
    std::vector<std::string> m_words;
    std::vector<char*> m_argv;
};

#endif
