// Edits every short document over a small alphabet, for each dialect.
#include "zk_settings/shortdocuments.h"

#include "inistore/inistore.h"

#include "support/memoryfile.h"
#include "support/rows.h"

#include <algorithm>
#include <iostream>
#include <map>

namespace {

const Words get = {"get", "a", "k"};

// What a document says but for the key k of the section a.
using Reading = std::map<std::string, std::string>;

std::string textOf(const Dialect& dialect, const std::string& bytes, const Words& words)
{
    try {
        return edited(dialect, bytes, words);
    } catch (const Failure& failure) {
        return failure.status == Absent ? "absent" : "refused: " + failure.text;
    }
}

Reading readingOf(const Dialect& dialect, const std::string& bytes)
{
    Reading reading;
    Document document(bytes, dialect);
    for (const std::string& section : document.sections()) {
        for (const std::string& key : document.keys(section)) {
            if (key != "k" || (section != "a" && section != "A"))
                reading[section + '.' + key] = textOf(dialect, bytes, {"all", section, key});
        }
    }
    return reading;
}

bool isRefused(const std::string& text)
{
    return text.find("refused: ") == 0;
}

std::string libraryReading(const std::string& bytes)
{
    INIStore store;
    EXPECT_TRUE(store.Open(MemoryFile(bytes).path()));
    std::string text;
    for (const QString& value : store.GetValues(QStringLiteral("a"), QStringLiteral("k")))
        text += value.toStdString() + '\n';
    return text.empty() ? "absent" : text;
}

// Whether the old value can be written in one way only: in one line, without quotes and what needs them.
bool isPlain(const std::string& bytes, const std::string& after)
{
    return bytes.find_first_of("\\\"'#;") == bytes.npos && bytes.find('=', 6) == bytes.npos &&
           std::count(bytes.begin(), bytes.end(), '\n') == std::count(after.begin(), after.end(), '\n');
}

class Exhaustive : public testing::TestWithParam<Alphabet>
{
protected:
    std::string text(const std::string& bytes, const Words& words) const { return textOf(m_dialect, bytes, words); }
    void trySet(const std::string& bytes, const std::string& value);

    const Dialect& m_dialect = *Dialect::find(GetParam().name, {});
    int m_edits = 0;
    int m_refusals = 0;
};

// Sets the key and undoes that.
void Exhaustive::trySet(const std::string& bytes, const std::string& value)
{
    SCOPED_TRACE(testing::PrintToString(bytes));
    const std::string before = text(bytes, get);
    const std::string after = text(bytes, {"set", "a", "k", value});
    ++(isRefused(after) ? m_refusals : m_edits);
    if (isRefused(after))
        return;
    SCOPED_TRACE(testing::PrintToString(after));
    EXPECT_EQ(text(after, get).substr(0, value.size() + 1), value + '\n'); // a store has several
    EXPECT_EQ(readingOf(m_dialect, after), readingOf(m_dialect, bytes));
    if (before == "absent") {
        const std::string back = text(after, {"remove", "a", "k", value});
        EXPECT_TRUE(back == bytes || back == bytes + '\n' || isRefused(back)) << testing::PrintToString(back);
    } else if (!isRefused(before)) {
        const std::string back = text(after, {"set", "a", "k", before.substr(0, before.size() - 1)});
        const bool dropsSpace = m_dialect.has(Cautious) && (bytes.find(" \n") != bytes.npos || bytes.back() == ' ');
        if (isPlain(bytes, after) && before != "\n" && !dropsSpace) {
            EXPECT_EQ(back, bytes);
        } else if (!isRefused(back)) {
            EXPECT_EQ(text(back, get), before);
        }
    }
}

TEST_P(Exhaustive, edits_change_only_the_value_or_are_refused)
{
    forEachDocument(GetParam(), 4, [&](const std::string& bytes) {
        trySet(bytes, "v");
        trySet(bytes, GetParam().awkward);
        if (m_dialect.has(NotesTakeOneMore)) {
            EXPECT_EQ(text(bytes, get), libraryReading(bytes)) << testing::PrintToString(bytes);
        }
    });
    EXPECT_GT(m_edits, 10000);
    EXPECT_LT(m_refusals, m_edits / 2);
    std::cout << GetParam().name << ' ' << m_edits << " edits, " << m_refusals << " refused\n";
}

// Python, git and MySQL have bare keys: for them a line that continues a value may be a key.
TEST(ExhaustiveCommon, edits_change_nothing_else_for_programs_without_bare_keys)
{
    int edits = 0;
    forEachDocument(alphabets[0], 3, [&](const std::string& bytes) {
        for (const Words& words : {Words{"set", "a", "k", "v"}, Words{"append", "a", "k", "v"},
                 Words{"prepend", "a", "k", "v"}, Words{"remove", "a", "k"}}) {
            const std::string after = textOf(*Dialect::find("common", {}), bytes, words);
            if (after == "absent" || isRefused(after))
                continue;
            ++edits;
            for (const char* const name : {"desktop", "systemd", "php"}) {
                const Dialect& other = *Dialect::find(name, {});
                EXPECT_EQ(readingOf(other, after), readingOf(other, bytes))
                    << name << testing::PrintToString(bytes) << words[0];
            }
        }
    });
    EXPECT_GT(edits, 1500);
}

INSTANTIATE_TEST_SUITE_P(, Exhaustive, testing::ValuesIn(alphabets), rowName);

} // namespace
