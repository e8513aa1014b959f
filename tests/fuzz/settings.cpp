// Runs any command on any document in any dialect. The first lines are the dialect, the command, the section, the key
// and the value, in which '|' stands for a line feed; the rest is the document.
#include "zk_settings/edit.h"

#include "input.h"

#include <algorithm>
#include <map>
#include <set>

namespace {

using Reading = std::map<std::pair<std::string, std::string>, std::string>;

std::string textOf(const Dialect& dialect, std::string_view bytes, const Words& words)
{
    try {
        return edited(dialect, bytes, words);
    } catch (const Failure& failure) {
        return "failure: " + failure.text;
    }
}

bool isFailure(const std::string& text)
{
    return text.rfind("failure: ", 0) == 0;
}

// Returns the values of all keys that the words do not name.
Reading readingOf(const Dialect& dialect, std::string_view bytes, const Words& words)
{
    Reading reading;
    const Document document(bytes, dialect);
    for (const std::string& section : document.sections()) {
        const bool isNamed = dialect.sectionId(section) == dialect.sectionId(words[1]);
        for (const std::string& key : document.keys(section)) {
            if (!isNamed || (words.size() > 2 && dialect.keyId(key) != dialect.keyId(words[2])))
                reading[{section, key}] = textOf(dialect, bytes, {"all", section, key});
        }
    }
    return reading;
}

// What could not be read may be readable now: a carriage return at the end of the file may have got a line feed.
bool isKept(const Reading& before, const Reading& after)
{
    return std::equal(before.begin(), before.end(), after.begin(), after.end(), [](const auto& a, const auto& b) {
        return a.first == b.first && (a.second == b.second || isFailure(a.second));
    });
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Input input(data, size);
    const Dialect* const dialect = Dialect::find(input.line(), {});
    Words words;
    while (words.size() < 4)
        words.emplace_back(input.line());
    std::replace(words[3].begin(), words[3].end(), '|', '\n');
    while (words[0] == "remove" && words.size() > 2 && words.back().empty())
        words.pop_back(); // any of its lines, or the whole section
    const std::string_view bytes = input.rest();
    if (dialect == nullptr || (words.size() > 2 && words[2].empty()))
        return 0;
    if (dialect->name == "store" && bytes.find("\xef\xbb\xbf", 1) != bytes.npos)
        return 0; // a store drops this mark from a name, so the name that is listed is not the one to ask for

    const std::string after = textOf(*dialect, bytes, words);
    const std::set<std::string> edits = {"set", "append", "prepend", "remove"};
    if (edits.count(words[0]) == 0 || isFailure(after))
        return 0;
    require(isKept(readingOf(*dialect, bytes, words), readingOf(*dialect, after, words)), "the rest is read as before");
    if (words[0] != "set")
        return 0;
    const std::string values = textOf(*dialect, after, {"get", words[1], words[2]});
    require(values.rfind(words[3] + '\n', 0) == 0, "the value is read"); // a store has several
    require(textOf(*dialect, after, words) == after, "the second time changes nothing");
    return 0;
}
