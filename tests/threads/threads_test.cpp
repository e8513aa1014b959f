// Several threads use the library at once, each with its own objects. ThreadSanitizer reports data races in the
// library.
#include "console/console.h"
#include "inistore/inistore.h"
#include "osrelease/osrelease.h"
#include "support/capture.h"
#include "support/files.h"
#include "xml/kqxml.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdio>
#include <dlfcn.h>
#include <functional>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

// Replaces fopen, so that /etc/os-release is the same on every machine.
extern "C" FILE* fopen(const char* path, const char* mode)
{
    static char fedora[] = "ID=fedora\nVERSION_ID=43\n";
    if (path == std::string("/etc/os-release"))
        return fmemopen(fedora, sizeof fedora - 1, mode);
    static const auto next = reinterpret_cast<FILE* (*)(const char*, const char*)>(dlsym(RTLD_NEXT, "fopen"));
    return next(path, mode);
}

namespace {

constexpr int threadCount = 4;
constexpr int rounds = 50;

void atOnce(const std::function<void(int thread)>& work)
{
    std::vector<std::thread> threads;
    for (int thread = 0; thread < threadCount; ++thread) {
        threads.emplace_back([&work, thread] {
            for (int round = 0; round < rounds; ++round)
                work(thread);
        });
    }
    for (std::thread& thread : threads)
        thread.join();
}

TEST(Threads, detect_and_override)
{
    atOnce([](int) {
        char name[] = "zk_install";
        char option[] = "--distrib";
        char value[] = "mint";
        char* argv[] = {name, option, value, nullptr};
        std::string message;
        COSRelease detected(1, argv);
        EXPECT_EQ(detected.m_id, "fedora");
        EXPECT_EQ(detected.m_major, 43);
        EXPECT_EQ(detected.m_verifiedReleases.size(), 544U);
        EXPECT_TRUE(detected.OSSupported(message));
        COSRelease forced(3, argv);
        EXPECT_EQ(forced.m_id, "linuxmint");
        EXPECT_TRUE(forced.OSSupported(message));
    });
}

TEST(Threads, load_edit_and_write_settings)
{
    const TempDir dir;
    writeFile(dir / "settings", "[a]\nk = 1 ; note\n");
    atOnce([&](int thread) {
        const QString copy = QString::fromStdString(dir / std::to_string(thread));
        INIStore store;
        ASSERT_TRUE(store.Open(QString::fromStdString(dir / "settings")));
        store.UpdateKey(QStringLiteral("A"), QStringLiteral("K"), QString::number(thread));
        store.AppendKey(QStringLiteral("b"), QStringLiteral("k"), QStringLiteral("v"));
        ASSERT_TRUE(store.Write(copy));
        EXPECT_EQ(readFile(copy.toStdString()), "[a]\nk = " + std::to_string(thread) + " ; note\n[b]\nk = v\n");
    });
}

// The values share blocks of memory, and any thread may release the last value of a block.
TEST(Threads, keep_and_change_values_of_one_document)
{
    const TempDir dir;
    std::string document;
    for (int i = 100; i < 300; ++i)
        document += "k=value " + std::to_string(i) + '\n';
    writeFile(dir / "settings", document);
    for (int round = 0; round < rounds; ++round) {
        QStringList kept[threadCount];
        {
            INIStore store;
            ASSERT_TRUE(store.Open(QString::fromStdString(dir / "settings")));
            const QStringList all = store.GetValues(QString(), QStringLiteral("k"));
            for (int i = 0; i < all.size(); ++i)
                kept[i % threadCount].append(all[i]);
        }
        std::vector<std::thread> threads;
        for (int thread = 0; thread < threadCount; ++thread) {
            threads.emplace_back([&values = kept[thread], thread] {
                for (int i = 0; !values.isEmpty(); ++i) {
                    QString value = values.takeFirst();
                    value.append(u'x').prepend(u'y');
                    const int number = 100 + thread + i * threadCount;
                    EXPECT_EQ(value, QStringLiteral("yvalue %1x").arg(number));
                }
            });
        }
        for (std::thread& thread : threads)
            thread.join();
    }
}

TEST(Threads, read_and_edit_documents)
{
    atOnce([](int thread) {
        QDomDocument document;
        ASSERT_TRUE(document.setContent(QByteArrayLiteral("<r><k>1</k></r>")));
        QDomElement root = document.documentElement();
        QDomElement element = KQXml::GetChildElement(root, QStringLiteral("k"));
        KQXml::UpdateElementText(&document, &element, QString::number(thread));
        KQXml::InsertAfterElement(&document, root, element, QStringLiteral("k"), QStringLiteral("2"));
        EXPECT_EQ(KQXml::GetChildElementsTextList(root, QStringLiteral("k")),
            (QStringList{QString::number(thread), QStringLiteral("2")}));
        EXPECT_EQ(
            KQXml::ExtractElement(document.toByteArray(-1), QStringLiteral("k"), true), QByteArray::number(thread));
    });
}

TEST(Threads, keep_each_trace_whole)
{
    const std::string output = captured(STDOUT_FILENO, [] {
        g_kq_consoleSetupFlag = true;
        atOnce([](int thread) { KQCONSOLETRACE("%s\n", std::string(200, char('a' + thread)).c_str()); });
        g_kq_consoleSetupFlag = false;
    });
    ASSERT_EQ(output.size(), std::size_t(threadCount) * rounds * 201);
    for (std::size_t line = 0; line < output.size(); line += 201)
        EXPECT_EQ(output.substr(line, 201), std::string(200, output[line]) + '\n');
}

} // namespace
