// Runs the examples of docs/ini-format.md.
#include "inistore/edits.h"
#include "support/files.h"
#include "support/qtprinting.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

struct Example
{
    int line = 0; // where it begins in the document
    std::vector<std::string> edits;
    std::string before;
    std::string after;
};

int hexDigit(char c)
{
    const std::size_t digit = std::string("0123456789abcdef").find(c);
    if (digit == std::string::npos)
        throw std::runtime_error(std::string("not a hexadecimal digit: ") + c);
    return static_cast<int>(digit);
}

std::string unescaped(const std::string& text)
{
    std::string bytes;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\') {
            bytes += text[i];
            continue;
        }
        switch (const char escape = text.at(++i)) {
        case 'n':
            bytes += '\n';
            break;
        case 'r':
            bytes += '\r';
            break;
        case 't':
            bytes += '\t';
            break;
        case '0':
            bytes += '\0';
            break;
        case '\\':
            bytes += '\\';
            break;
        case 'x':
            bytes += static_cast<char>(hexDigit(text.at(i + 1)) * 16 + hexDigit(text.at(i + 2)));
            i += 2;
            break;
        default:
            throw std::runtime_error(std::string("unknown escape: ") + escape);
        }
    }
    return bytes;
}

QString textOf(const std::string& escaped)
{
    return QString::fromStdString(unescaped(escaped));
}

// The words of an edit; "..." keeps spaces together and may be empty.
std::vector<QString> words(const std::string& edit)
{
    std::vector<QString> found;
    std::size_t at = 0;
    while ((at = edit.find_first_not_of(' ', at)) != std::string::npos) {
        const bool quoted = edit[at] == '"';
        const std::size_t begin = quoted ? at + 1 : at;
        const std::size_t end = std::min(edit.find(quoted ? '"' : ' ', begin), edit.size());
        found.push_back(textOf(edit.substr(begin, end - begin)));
        at = end + (quoted ? 1 : 0);
    }
    return found;
}

// A line of the file. In a block with changes, its first character says whether it is in the file before them, after
// them, or both.
void addLine(Example& example, const std::string& line, bool hasMark)
{
    const char mark = hasMark ? line.at(0) : ' ';
    if (mark != ' ' && mark != '-' && mark != '+')
        throw std::runtime_error("not a mark: " + line);
    const std::string bytes = unescaped(line.substr(hasMark ? 1 : 0));
    if (mark != '+')
        example.before += bytes;
    if (mark != '-')
        example.after += bytes;
}

std::vector<Example> examples(const std::string& document)
{
    std::vector<Example> found;
    std::istringstream lines(document);
    std::string block;
    bool hasFile = true;
    int number = 0;
    for (std::string line; std::getline(lines, line);) {
        ++number;
        if (line == "```") {
            block.clear();
        } else if (line.compare(0, 3, "```") == 0) {
            block = line.substr(3);
            if ((block == "text") != hasFile)
                throw std::runtime_error(
                    "calls without a file, or a file without calls, in line " + std::to_string(number));
            hasFile = block != "text";
            if (block == "text")
                found.emplace_back().line = number;
        } else if (block == "text") {
            found.back().edits.push_back(line);
        } else if (block == "ini" || block == "diff") {
            addLine(found.back(), line, block == "diff");
        } else if (!block.empty()) {
            throw std::runtime_error("not a block of an example: " + block);
        }
    }
    if (!hasFile)
        throw std::runtime_error("the last calls have no file");
    return found;
}

QStringList valuesIn(const std::string& bars)
{
    if (bars.empty())
        return {};
    return textOf(bars.substr(1, bars.size() - 2)).split(QLatin1Char('|'));
}

const std::map<std::string, Edit::Kind> kinds = {
    {"append", Edit::Append}, {"prepend", Edit::Prepend}, {"update", Edit::Update}, {"remove", Edit::Remove}};

void apply(INIStore& store, const std::string& edit)
{
    const std::size_t arrow = edit.find(" ->");
    const std::vector<QString> call = words(edit.substr(0, arrow));
    const QString& name = call.at(0);
    if (name == QLatin1String("get")) {
        ASSERT_NE(arrow, std::string::npos);
        const std::size_t bars = edit.find('|', arrow);
        const QStringList values = valuesIn(bars == std::string::npos ? std::string() : edit.substr(bars));
        EXPECT_EQ(store.GetValues(call.at(1), call.at(2)), values);
    } else {
        const Edit::Kind kind = kinds.at(name.toStdString());
        EXPECT_TRUE(perform(store, Edit{kind, call.at(1), call.at(2), call.at(3)}));
    }
}

void runExample(const Example& example)
{
    const TempDir dir;
    writeFile(dir / "before", example.before);
    INIStore store;
    ASSERT_TRUE(store.Open(QString::fromStdString(dir / "before")));

    bool writes = true;
    for (const std::string& edit : example.edits) {
        SCOPED_TRACE(edit);
        if (edit == "write fails")
            writes = false;
        else
            apply(store, edit);
    }
    EXPECT_EQ(store.Write(QString::fromStdString(dir / "after")), writes);
    EXPECT_EQ(readFile(dir / "after"), example.after);
}

TEST(FormatDocument, every_example_is_right)
{
    const std::vector<Example> found = examples(readFile(INI_FORMAT_DOC));
    ASSERT_GE(found.size(), 15U);
    for (const Example& example : found) {
        SCOPED_TRACE("the example in line " + std::to_string(example.line));
        ASSERT_FALSE(example.edits.empty());
        runExample(example);
    }
}

} // namespace
