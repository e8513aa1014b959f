#include "document.h"
#include "failure.h"

#include "zk_settings/settings.h"

#include "support/files.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <optional>

namespace fs = std::filesystem;

namespace {

constexpr char newValue[] = "zk-new";

bool isSettings(const fs::path& path)
{
    static const std::vector<std::string> endings = {".ini", ".conf", ".cnf", ".cfg", ".desktop", ".directory",
        ".theme", ".service", ".socket", ".target", ".timer", ".mount", ".path", ".slice", ".network", ".link"};
    return std::find(endings.begin(), endings.end(), path.extension()) != endings.end();
}

std::vector<std::string> settingsFiles()
{
    std::vector<std::string> files;
    for (const char* const directory : {"/etc", "/usr/share", "/usr/lib/systemd"}) {
        std::error_code error;
        const auto options = fs::directory_options::skip_permission_denied;
        for (fs::recursive_directory_iterator it(directory, options, error), end; it != end; it.increment(error)) {
            if (isSettings(it->path()) && it->is_regular_file(error) && access(it->path().c_str(), R_OK) == 0)
                files.push_back(it->path());
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

// Whether `after` differs from `before` only in a value after a '=', which changed from `value` to the new one.
bool replacesOnly(const QByteArray& before, const QByteArray& after, const QByteArray& value)
{
    const qsizetype begin = after.indexOf(newValue);
    return begin > 0 && before.left(begin).trimmed().endsWith('=') && before.mid(begin, value.size()) == value &&
           after == before.left(begin) + newValue + before.mid(begin + value.size());
}

struct Counts
{
    int files = 0;
    int edits = 0;
    int refusals = 0;
    int unreadable = 0;
};

// Sets the value and sets it back. Loads the document again after a refusal.
bool changesOnly(const QByteArray& bytes, const QString& section, const QString& key, std::optional<Document>& document)
{
    const bool isAmbiguous = !document->ambiguousLines(section, key).empty();
    try {
        QStringList values = document->values(section, key);
        const QString old = values.first();
        document->set({section, key, QLatin1String(newValue), true, false});
        const QByteArray after = document->bytes();
        EXPECT_TRUE(replacesOnly(bytes, after, old.toUtf8()));
        values.first() = QLatin1String(newValue);
        EXPECT_EQ(Document(after).values(section, key), values);
        document->set({section, key, old, true, false});
        EXPECT_EQ(document->bytes(), bytes);
        return true;
    } catch (const Failure& failure) {
        EXPECT_TRUE(isAmbiguous || failure.text == "not valid UTF-8") << failure.text;
        document.emplace(bytes);
        return false;
    }
}

void tryFile(const std::string& path, Counts& counts)
{
    const QByteArray bytes = QByteArray::fromStdString(readFile(path));
    try {
        std::optional<Document> document(bytes);
        for (const QString& section : document->sections()) {
            for (const QString& key : document->keys(section)) {
                SCOPED_TRACE(path + ": [" + section.toStdString() + "] " + key.toStdString());
                const bool isEdited = changesOnly(bytes, section, key, document);
                ++(isEdited ? counts.edits : counts.refusals);
            }
        }
        ++counts.files;
    } catch (const Failure& failure) {
        EXPECT_TRUE(bytes.contains('\0') || failure.text == "not valid UTF-8") << path << ": " << failure.text;
        ++counts.unreadable;
    }
}

TEST(RealFiles, change_only_in_the_value_or_not_at_all)
{
    Counts counts;
    for (const std::string& path : settingsFiles())
        tryFile(path, counts);
    std::cout << counts.files << " files: " << counts.edits << " edits made and undone, " << counts.refusals
              << " refused; " << counts.unreadable << " files refused\n";
    EXPECT_GE(counts.files, 100);
    EXPECT_GE(counts.edits, 500);
}

// The same through the program, for one key in each of a sample of the files.
TEST(RealFiles, change_the_same_way_through_the_program)
{
    const TempDir dir;
    int edits = 0;
    int refusals = 0;
    const std::vector<std::string> files = settingsFiles();
    for (std::size_t i = 0; i < files.size(); i += 1 + files.size() / 25) {
        const std::string before = readFile(files[i]);
        writeFile(dir / "f", before);
        const std::string section = settings(dir.path(), {"list", "f"}).out;
        const std::string name = section.substr(0, section.find('\n'));
        const std::string keys = settings(dir.path(), {"list", "f", name}).out;
        const std::string key = keys.substr(0, keys.find('\n'));
        const std::string values = settings(dir.path(), {"get", "f", name, key}).out;
        const std::string value = values.substr(0, values.find('\n'));
        const Finished finished = settings(dir.path(), {"set", "f", name, key, newValue});
        if (finished.status == 0) {
            EXPECT_TRUE(replacesOnly(QByteArray::fromStdString(before), QByteArray::fromStdString(readFile(dir / "f")),
                QByteArray::fromStdString(value)))
                << files[i];
            EXPECT_EQ(settings(dir.path(), {"set", "f", name, key, value}).status, 0) << files[i];
            ++edits;
        } else {
            ++refusals;
        }
        EXPECT_EQ(readFile(dir / "f"), before) << files[i];
    }
    std::cout << edits << " edits made and undone, " << refusals << " refused\n";
    EXPECT_GT(edits, 10);
}

} // namespace
