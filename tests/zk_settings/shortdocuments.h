#ifndef KQSUPPORT_TESTS_ZK_SETTINGS_SHORTDOCUMENTS_H
#define KQSUPPORT_TESTS_ZK_SETTINGS_SHORTDOCUMENTS_H

#include "zk_settings/edit.h"

#include <functional>

namespace {

/// What short documents of a dialect are made of.
struct Alphabet
{
    const char* name; ///< of the dialect
    std::vector<std::string> symbols;
    std::string awkward; ///< a value that the dialect has to write with care
};

const Alphabet alphabets[] = {
    {"common", {"k", "=", ":", " ", "\n", "#", "\\", "[A]"}, "k;"},
    {"store", {"k", "=", ";", " ", "\n", "]", "[a]", "\u00f6"}, "k#"},
    {"desktop", {"k", "=", ";", " ", "\n", "#", "\\", "[a]"}, "k #;"},
    {"systemd", {"k", "=", "\\\n", " ", "\n", "#", "\\", "[a]"}, "k #;"},
    {"python", {"k", "=", ":", " ", "\n", "#", "\n ", "[a]"}, "k\n[a]\nk=1"},
    {"git", {"k", "=", ";", " ", "\n", "\"", "\\", "[a]"}, " k\n\"\\;"},
    {"mysql", {"k", "=", "#", " ", "\n", "\"", "\\", "[A]"}, " k\n\"\\'#"},
    {"php", {"k", "=", ";", "\n", "\"", "'k'", "\\", "[a]\n"}, " k\n\"\\';"},
};

/// Calls `run` with each document: one of two beginnings, up to `longest` symbols, and its end.
void forEachDocument(const Alphabet& alphabet, int longest, const std::function<void(const std::string&)>& run)
{
    std::vector<std::string> middles = {""};
    for (int length = 0; length <= longest; ++length) {
        std::vector<std::string> longer;
        for (const std::string& middle : middles) {
            run("[a]\n" + middle);
            run("[a]\nk=" + middle + "\nm=1\n");
            for (const std::string& symbol : alphabet.symbols)
                longer.push_back(middle + symbol);
        }
        middles = longer;
    }
}

} // namespace

#endif
