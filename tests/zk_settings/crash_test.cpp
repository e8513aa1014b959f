#include "zk_settings/settings.h"

#include "support/files.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <random>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

constexpr int lineCount = 6000;

// A section with key1, key2 and so on.
std::string largeFile(const std::string& first, int lines = 2000)
{
    std::string text = "[s]\nkey1 = " + first + '\n';
    for (int i = 2; i <= lines; ++i)
        text += "key" + std::to_string(i) + " = v" + std::to_string(i) + '\n';
    return text;
}

// Forks; the child exits with what `work` returns.
pid_t inBackground(const std::function<int()>& work)
{
    const pid_t child = fork();
    if (child == 0)
        _exit(work());
    return child;
}

int statusOf(pid_t child)
{
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    return status;
}

TEST(Writers, lose_no_edit_and_no_reader_misses_a_key)
{
    constexpr int writers = 4;
    constexpr int editsEach = 50;
    const TempDir dir;
    writeFile(dir / "f", largeFile("v1", lineCount));

    std::vector<pid_t> readers;
    for (int reader = 0; reader < 2; ++reader) {
        readers.push_back(inBackground([&] {
            int reads = 0;
            for (; !std::filesystem::exists(dir / "stop"); ++reads) {
                if (settings(dir.path(), {"get", "f", "s", "key6000"}).out != "v6000\n")
                    return 1;
            }
            return reads > 10 ? 0 : 2;
        }));
    }
    std::vector<pid_t> children;
    for (int writer = 0; writer < writers; ++writer) {
        children.push_back(inBackground([&] {
            for (int edit = 0; edit < editsEach; ++edit) {
                const std::string key = "new" + std::to_string(writer) + '_' + std::to_string(edit);
                if (settings(dir.path(), {"append", "--wait", "60", "f", "s", key, "1"}).status != 0)
                    return 1;
            }
            return 0;
        }));
    }
    for (const pid_t child : children)
        EXPECT_EQ(statusOf(child), 0) << "an edit failed";
    writeFile(dir / "stop", "");
    for (const pid_t child : readers)
        EXPECT_EQ(statusOf(child), 0) << "a reader missed a key, or read too rarely";

    const std::string keys = '\n' + settings(dir.path(), {"list", "f", "s"}).out;
    EXPECT_EQ(std::count(keys.begin(), keys.end(), '\n') - 1, lineCount + writers * editsEach);
    for (int writer = 0; writer < writers; ++writer) {
        for (int edit = 0; edit < editsEach; ++edit) {
            const std::string key = "\nnew" + std::to_string(writer) + '_' + std::to_string(edit) + '\n';
            EXPECT_NE(keys.find(key), std::string::npos) << key;
        }
    }
}

TEST(Creators, lose_no_edit)
{
    const TempDir dir;
    std::vector<pid_t> children;
    for (int writer = 0; writer < 8; ++writer) {
        children.push_back(inBackground([&] {
            return settings(dir.path(), {"set", "--create", "f", "", "k" + std::to_string(writer), "v"}).status;
        }));
    }
    for (const pid_t child : children)
        EXPECT_EQ(statusOf(child), 0);
    const std::string text = readFile(dir / "f");
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 8) << text;
}

using Microseconds = std::chrono::microseconds;

// Starts an edit and kills it after a while. True if it was done before.
bool editAndKill(const std::string& path, const std::string& value, Microseconds after)
{
    const pid_t child = fork();
    if (child == 0) {
        execl(ZK_SETTINGS, ZK_SETTINGS, "set", path.c_str(), "s", "key1", value.c_str(), nullptr);
        _exit(127);
    }
    std::this_thread::sleep_for(after);
    kill(child, SIGKILL);
    const int status = statusOf(child);
    EXPECT_TRUE(WIFSIGNALED(status) || WEXITSTATUS(status) == 0);
    return WIFEXITED(status);
}

Microseconds timeOfOneEdit(const std::string& path)
{
    const auto start = std::chrono::steady_clock::now();
    editAndKill(path, "0", std::chrono::seconds(0)); // warms the caches
    EXPECT_EQ(run({ZK_SETTINGS, "set", path, "s", "key1", "warm"}).status, 0);
    return std::chrono::duration_cast<Microseconds>(std::chrono::steady_clock::now() - start);
}

TEST(Killed, edits_leave_the_old_file_or_the_new_one)
{
    constexpr int kills = 200;
    const TempDir dir;
    const std::string path = dir / "f";
    writeFile(path, largeFile("old"));
    std::mt19937 random(1);
    std::uniform_int_distribution<Microseconds::rep> delay(0, timeOfOneEdit(path).count() * 3 / 2);

    std::string before = largeFile("warm");
    int replaced = 0;
    int done = 0;
    int left = 0;
    for (int i = 0; i < kills; ++i) {
        const std::string value = std::to_string(i);
        const std::string after = largeFile(value);
        done += editAndKill(path, value, Microseconds(delay(random)));
        const std::string found = readFile(path);
        ASSERT_TRUE(found == before || found == after) << "neither the old file nor the new one";
        replaced += found == after;
        before = found;
        const auto files = std::filesystem::directory_iterator(dir.path());
        left += std::distance(begin(files), end(files)) > 1;
    }
    std::cout << kills << " edits killed: " << done << " had ended, " << replaced << " replaced the file, after "
              << left << " a temporary file was left\n";
    EXPECT_GT(replaced, 0);
    EXPECT_LT(done, kills);

    EXPECT_EQ(run({ZK_SETTINGS, "set", "--wait", "0", path, "s", "key1", "next"}).status, 0);
    EXPECT_EQ(readFile(path), largeFile("next"));
    const auto files = std::filesystem::directory_iterator(dir.path());
    EXPECT_EQ(std::distance(begin(files), end(files)), 1) << "the next edit removes the temporary file";
}

} // namespace
