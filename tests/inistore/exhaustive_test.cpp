#include "inistore/storetest.h"

#include "reference/inistore.h"
#include "support/memoryfile.h"

#include <algorithm>
#include <set>

// Every line of up to six symbols from a small alphabet: 1,111,111 lines. The random tests vary what is around a line.

namespace {

using namespace std::string_literals;

const std::vector<std::string> alphabet = {"[", "]", "=", ";", "k", " ", "\r", "\0"s, "\xef\xbb\xbf", "\xc3"};

// Calls `use` with every text of exactly `symbols` symbols.
template <typename Use>
void forEachText(int symbols, const Use& use, const std::string& start = {})
{
    if (symbols == 0)
        return use(start);
    for (const std::string& symbol : alphabet)
        forEachText(symbols - 1, use, start + symbol);
}

// Returns every line of the prefix and `least` to `most` more symbols.
std::string linesOf(const std::string& prefix, int least, int most)
{
    std::string document;
    for (int symbols = least; symbols <= most; ++symbols)
        forEachText(symbols, [&](const std::string& rest) { document += prefix + rest + '\n'; });
    return document;
}

void expectSameDocument(const INIStore& store, const reference::INIStore& reference)
{
    const std::vector<Entry> found = entriesOf(store);
    const std::vector<Entry> expected = entriesOf(reference);
    ASSERT_EQ(found.size(), expected.size());
    for (std::size_t i = 0; i < found.size(); ++i)
        ASSERT_EQ(found[i], expected[i]);
    ASSERT_EQ(store.m_currentSection, reference.m_currentSection);
}

// Looks up every section and key of the document, as written and in upper case.
void expectSameLookups(INIStore& store, const reference::INIStore& reference)
{
    for (const reference::INISection& section : reference.m_sections) {
        std::set<QString> keys;
        for (const reference::INILine& line : section.m_lines)
            keys.insert({line.m_key, line.m_key.toUpper()});
        for (const QString& name : {section.m_name, section.m_name.toUpper()}) {
            ASSERT_EQ(store.GetSection(name), reference.GetSection(name));
            for (const QString& key : keys)
                ASSERT_EQ(store.GetValues(name, key), reference.GetValues(name, key));
        }
    }
}

std::ptrdiff_t expectSame(const std::string& document)
{
    const MemoryFile file(document);
    INIStore store;
    reference::INIStore reference;
    EXPECT_TRUE(store.Open(file.path()));
    EXPECT_TRUE(reference.Open(file.path()));
    expectSameDocument(store, reference);
    expectSameLookups(store, reference);
    return std::count(document.begin(), document.end(), '\n');
}

// Lines that begin with the same three symbols share a file.
TEST(Exhaustive, every_line_of_up_to_six_symbols_matches_the_reference)
{
    std::ptrdiff_t lines = expectSame(linesOf("", 0, 2));
    forEachText(3, [&](const std::string& prefix) {
        if (!HasFailure())
            lines += expectSame(linesOf(prefix, 0, 3));
    });
    EXPECT_EQ(lines, 1'111'111);
}

} // namespace
