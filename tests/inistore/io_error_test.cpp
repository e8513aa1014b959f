#include "inistore/storetest.h"

#include "reference/inistore.h"
#include "support/random.h"
#include "support/rows.h"
#include "support/unprivileged.h"

#include <QFile>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <dlfcn.h>
#include <fcntl.h>
#include <future>
#include <sys/resource.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

// Replaces `read`, for the library too. One chosen file returns a number of bytes, then an I/O error.
namespace {

struct BrokenFile
{
    ino_t inode = 0;
    dev_t device = 0;
    std::size_t left = 0;
    int failures = 0;
    bool active = false;
};
BrokenFile brokenFile;

bool isBroken(int descriptor)
{
    struct stat status = {};
    return brokenFile.active && fstat(descriptor, &status) == 0 && status.st_ino == brokenFile.inode &&
           status.st_dev == brokenFile.device;
}

} // namespace

extern "C" ssize_t read(int descriptor, void* buffer, size_t size)
{
    using Read = ssize_t (*)(int, void*, size_t);
    static const auto real = reinterpret_cast<Read>(dlsym(RTLD_NEXT, "read"));
    if (!isBroken(descriptor))
        return real(descriptor, buffer, size);
    if (brokenFile.left == 0) {
        ++brokenFile.failures;
        errno = EIO;
        return -1;
    }
    const ssize_t got = real(descriptor, buffer, std::min(size, brokenFile.left));
    brokenFile.left -= std::size_t(std::max<ssize_t>(got, 0));
    return got;
}

namespace {

using namespace std::string_literals;

std::string manyLines(int lines)
{
    std::string document = "[section]\n";
    for (int i = 0; i < lines; ++i)
        document += "key" + std::to_string(i) + " = some value ; and its comment\n";
    return document;
}

const std::string smallDocument = "; c\n[s]\nk=1\n";
// Far larger than any buffer on the way to the file.
const std::string largeDocument = manyLines(30'000);

class IoTest : public StoreTest
{
protected:
    void thenMessageIs(const std::string& text) { EXPECT_EQ(exactly(store.m_lastError), exactly(Text(text))); }
    void thenThereIsNoMessage() { EXPECT_EQ(exactly(store.m_lastError), exactly(null)); }
    void thenDocumentIs(const std::string& bytes) { EXPECT_EQ(documentOf(store), bytes); }
};

class ReadError : public IoTest
{
protected:
    void givenFileThatBreaksAfter(const std::string& bytes, std::size_t count)
    {
        writeFile(dir / "broken.ini", bytes);
        struct stat status = {};
        ASSERT_EQ(stat((dir / "broken.ini").c_str(), &status), 0);
        brokenFile = {status.st_ino, status.st_dev, count, 0, true};
    }
    void whenOpened() { opened = store.Open(toPath(dir / "broken.ini")); }
    void TearDown() override
    {
        brokenFile.active = false;
        // Without a failure the results would mean nothing.
        EXPECT_GE(brokenFile.failures, 1) << "read never failed";
    }

    bool opened = false;
};

TEST_F(ReadError, between_two_lines_keeps_the_lines_before_it)
{
    givenFileThatBreaksAfter("a=1\n[s]\nb=2\nc=3\n", 12);
    whenOpened();
    EXPECT_TRUE(opened);
    thenThereIsNoMessage();
    thenDocumentIs("a=1\n[s]\nb=2\n");
    thenValuesAre("s", "c", {});
    EXPECT_EQ(store.m_currentSection, 1);
}

TEST_F(ReadError, at_the_first_byte_loads_nothing)
{
    givenFileThatBreaksAfter("a=1\n", 0);
    whenOpened();
    EXPECT_TRUE(opened);
    thenThereIsNoMessage();
    ASSERT_EQ(store.m_sections.size(), 1);
    thenSectionIs(0, null, "", 0);
}

TEST_F(ReadError, far_into_a_large_file_keeps_the_lines_before_it)
{
    const std::size_t lineEnd = largeDocument.find('\n', 500'000) + 1;
    givenFileThatBreaksAfter(largeDocument, lineEnd);
    whenOpened();
    EXPECT_TRUE(opened);
    thenThereIsNoMessage();
    thenDocumentIs(largeDocument.substr(0, lineEnd));
}

TEST_F(ReadError, inside_a_line_keeps_every_line_before_that_one)
{
    // The part of the broken line that was read may be kept or not.
    givenFileThatBreaksAfter("a=1\nb=2\nc=3\n", 10);
    whenOpened();
    EXPECT_TRUE(opened);
    thenThereIsNoMessage();
    const std::string loaded = documentOf(store);
    EXPECT_TRUE(loaded == "a=1\nb=2\n" || loaded == "a=1\nb=2\nc=") << loaded;
}

TEST_F(ReadError, in_a_second_file_keeps_the_first)
{
    given("[s]\nk=1\n");
    givenFileThatBreaksAfter("l=2\nm=3\n", 4);
    whenOpened();
    EXPECT_TRUE(opened);
    thenDocumentIs("[s]\nk=1\nl=2\n");
}

class Unreadable : public IoTest
{
};

TEST_F(Unreadable, directory_gives_a_message)
{
    EXPECT_FALSE(store.Open(toPath(dir.path())));
    thenMessageIs("Unable to open " + dir.path() + ", with read permission");
    ASSERT_EQ(store.m_sections.size(), 1);
    thenSectionIs(0, null, "", 0);
}

TEST_F(Unreadable, directory_leaves_the_document_unchanged)
{
    given("[s]\nk=1\n");
    EXPECT_FALSE(store.Open(toPath(dir.path())));
    EXPECT_EQ(store.m_currentSection, 1);
    thenDocumentIs("[s]\nk=1\n");
}

TEST_F(Unreadable, message_has_the_path_as_passed)
{
    ASSERT_EQ(mkdir((dir / "100%1%2").c_str(), 0700), 0);
    const std::string path = dir.path() + "/./100%1%2//";
    EXPECT_FALSE(store.Open(toPath(path)));
    thenMessageIs("Unable to open " + path + ", with read permission");
}

TEST_F(Unreadable, missing_directory_is_a_missing_file)
{
    EXPECT_FALSE(store.Open(toPath(dir / "none/a.ini")));
    thenThereIsNoMessage();
}

TEST_F(Unreadable, dangling_link_is_a_missing_file)
{
    ASSERT_EQ(symlink("none.ini", (dir / "link.ini").c_str()), 0);
    EXPECT_FALSE(store.Open(toPath(dir / "link.ini")));
    thenThereIsNoMessage();
}

TEST_F(Unreadable, path_through_a_file_is_a_missing_file)
{
    writeFile(dir / "file", "");
    EXPECT_FALSE(store.Open(toPath(dir / "file/a.ini")));
    thenThereIsNoMessage();
}

class NoPermission : public IoTest
{
protected:
    void SetUp() override { ASSERT_EQ(chmod(dir.path().c_str(), 0755), 0); }

    // "true" or "false", then the message.
    std::string described(bool result) const
    {
        return (result ? "true: " : "false: ") +
               (store.m_lastError.isNull() ? "null" : store.m_lastError.toStdString());
    }
    std::string openedByOrdinaryUser(const std::string& path)
    {
        return asOrdinaryUser([&] { return described(store.Open(toPath(path))); });
    }
    std::string writtenByOrdinaryUser(const std::string& path)
    {
        return asOrdinaryUser([&] { return described(store.Write(toPath(path))); });
    }
    void givenFile(const std::string& path, const std::string& bytes, mode_t mode)
    {
        writeFile(path, bytes);
        ASSERT_EQ(chmod(path.c_str(), mode), 0);
    }
};

TEST_F(NoPermission, to_read_gives_a_message_with_the_path)
{
    givenFile(dir / "a.ini", "k=1\n", 0000);
    EXPECT_EQ(openedByOrdinaryUser(dir / "a.ini"), "false: Unable to open " + dir / "a.ini" + ", with read permission");
}

TEST_F(NoPermission, to_search_the_directory_hides_the_file)
{
    const std::string locked = dir / "locked";
    ASSERT_EQ(mkdir(locked.c_str(), 0700), 0);
    givenFile(locked + "/a.ini", "k=1\n", 0644);
    ASSERT_EQ(chmod(locked.c_str(), 0), 0);
    EXPECT_EQ(openedByOrdinaryUser(locked + "/a.ini"), "false: null");
    chmod(locked.c_str(), 0700); // an ordinary user could not remove the directory otherwise
}

TEST_F(NoPermission, to_write_does_not_prevent_reading)
{
    givenFile(dir / "a.ini", "k=1\n", 0444);
    EXPECT_EQ(openedByOrdinaryUser(dir / "a.ini"), "true: null");
}

TEST_F(NoPermission, to_write_gives_a_message_and_leaves_the_file)
{
    given(smallDocument);
    givenFile(dir / "a.ini", "old\n", 0444);
    EXPECT_EQ(
        writtenByOrdinaryUser(dir / "a.ini"), "false: Unable to open " + dir / "a.ini" + ", with write permission");
    EXPECT_EQ(readFile(dir / "a.ini"), "old\n");
}

TEST_F(NoPermission, to_create_gives_a_message_and_creates_nothing)
{
    given(smallDocument);
    ASSERT_EQ(mkdir((dir / "locked").c_str(), 0555), 0);
    EXPECT_EQ(writtenByOrdinaryUser(dir / "locked/a.ini"),
        "false: Unable to open " + dir / "locked/a.ini" + ", with write permission");
    EXPECT_NE(access((dir / "locked/a.ini").c_str(), F_OK), 0);
}

TEST_F(NoPermission, to_read_does_not_prevent_writing)
{
    given(smallDocument);
    givenFile(dir / "a.ini", "old\n", 0222);
    EXPECT_EQ(writtenByOrdinaryUser(dir / "a.ini"), "true: null");
    ASSERT_EQ(chmod((dir / "a.ini").c_str(), 0644), 0);
    EXPECT_EQ(readFile(dir / "a.ini"), smallDocument);
}

class Unwritable : public IoTest
{
};

TEST_F(Unwritable, missing_directory)
{
    given(smallDocument);
    EXPECT_FALSE(store.Write(toPath(dir / "none/a.ini")));
    thenMessageIs("Unable to open " + dir / "none/a.ini" + ", with write permission");
    EXPECT_NE(access((dir / "none").c_str(), F_OK), 0);
    thenDocumentIs(smallDocument);
}

TEST_F(Unwritable, directory)
{
    given(smallDocument);
    EXPECT_FALSE(store.Write(toPath(dir.path())));
    thenMessageIs("Unable to open " + dir.path() + ", with write permission");
    thenDocumentIs(smallDocument);
}

TEST_F(Unwritable, empty_path)
{
    EXPECT_FALSE(store.Write(null));
    thenMessageIs("Unable to open , with write permission");
}

TEST_F(Unwritable, message_has_the_path_as_passed)
{
    EXPECT_FALSE(store.Write(toPath(dir / "none%1%2//./a.ini")));
    thenMessageIs("Unable to open " + dir / "none%1%2//./a.ini" + ", with write permission");
}

class FullDevice : public IoTest
{
};

TEST_F(FullDevice, is_not_reported_for_a_small_document)
{
    given(smallDocument);
    EXPECT_TRUE(store.Write(Text("/dev/full")));
    thenThereIsNoMessage();
    thenDocumentIs(smallDocument);
}

TEST_F(FullDevice, fails_with_a_large_document)
{
    given(largeDocument);
    EXPECT_FALSE(store.Write(Text("/dev/full")));
    thenMessageIs("Error writing to /dev/full, file only partially written");
    thenDocumentIs(largeDocument);
}

TEST_F(FullDevice, fails_with_a_single_large_line)
{
    given("k=" + std::string(1 << 20, 'x'));
    EXPECT_FALSE(store.Write(Text("/dev/full")));
    thenMessageIs("Error writing to /dev/full, file only partially written");
}

TEST_F(FullDevice, through_a_descriptor_leaves_it_open)
{
    const int descriptor = open("/dev/full", O_WRONLY | O_CLOEXEC);
    given(smallDocument);
    EXPECT_TRUE(store.Write(descriptor, Text("disk")));
    thenThereIsNoMessage();
    given(largeDocument);
    EXPECT_FALSE(store.Write(descriptor, Text("disk")));
    thenMessageIs("Error writing to disk, file only partially written");
    EXPECT_EQ(fcntl(descriptor, F_GETFD), FD_CLOEXEC);
    close(descriptor);
}

// Limits the size of the files that this process writes. At the limit a write fails, without a signal.
class FileSizeLimit
{
public:
    explicit FileSizeLimit(rlim_t bytes)
        : m_handler(std::signal(SIGXFSZ, SIG_IGN))
    {
        EXPECT_EQ(getrlimit(RLIMIT_FSIZE, &m_saved), 0);
        const rlimit limited = {bytes, m_saved.rlim_max};
        EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &limited), 0);
    }
    ~FileSizeLimit()
    {
        setrlimit(RLIMIT_FSIZE, &m_saved);
        std::signal(SIGXFSZ, m_handler);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    rlimit m_saved = {};
    sighandler_t m_handler;
};

class SizeLimit : public IoTest
{
protected:
    bool writesWithin(rlim_t bytes)
    {
        const FileSizeLimit limit(bytes);
        return store.Write(toPath(dir / "out.ini"));
    }
};

TEST_F(SizeLimit, in_the_middle_leaves_the_bytes_before_it)
{
    given(largeDocument);
    writeFile(dir / "out.ini", "old content");
    EXPECT_FALSE(writesWithin(100'000));
    thenMessageIs("Error writing to " + dir / "out.ini" + ", file only partially written");
    EXPECT_TRUE(readFile(dir / "out.ini") == largeDocument.substr(0, 100'000));
    thenDocumentIs(largeDocument);
}

TEST_F(SizeLimit, reached_only_by_the_last_flush_is_ignored)
{
    given("[s]\nkey=value\n");
    EXPECT_TRUE(writesWithin(6));
    thenThereIsNoMessage();
    EXPECT_EQ(readFile(dir / "out.ini"), "[s]\nke");
}

TEST_F(SizeLimit, as_large_as_the_document_is_enough)
{
    given(largeDocument);
    EXPECT_TRUE(writesWithin(largeDocument.size()));
    EXPECT_TRUE(readFile(dir / "out.ini") == largeDocument);
}

// 256 of these lines fill QFile's buffer of 16 KiB, and the next line flushes it. That happens ten times and reports a
// failure. The last flush, on closing, reports none.
TEST_F(SizeLimit, is_reported_unless_only_the_last_buffer_exceeds_it)
{
    const std::string line = std::string(63, 'x') + '\n';
    std::string document;
    for (int i = 0; i < 10 * 256 + 100; ++i)
        document += line;
    given(document);
    EXPECT_TRUE(writesWithin(10 * 16'384));
    EXPECT_FALSE(writesWithin(10 * 16'384 - 1));
}

// Together one byte too long for the buffer: the second line flushes the first and stays in the buffer.
const std::string firstLine = std::string(8'191, 'x') + '\n';
const std::string secondLine = std::string(8'192, 'y') + '\n';

TEST_F(SizeLimit, is_reported_for_a_line_that_the_next_one_flushes)
{
    given(firstLine + secondLine);
    EXPECT_TRUE(writesWithin(9'000));
    EXPECT_FALSE(writesWithin(4'000));
}

TEST_F(SizeLimit, is_reported_for_a_flushed_line_after_one_longer_than_the_buffer)
{
    given(std::string(69'999, 'w') + '\n' + firstLine + secondLine);
    EXPECT_TRUE(writesWithin(70'000 + 9'000));
    EXPECT_FALSE(writesWithin(70'000 + 4'000));
}

TEST_F(SizeLimit, is_reported_for_a_header_that_its_line_flushes)
{
    given(secondLine);
    store.m_sections.first().m_raw = QByteArray::fromStdString(firstLine);
    EXPECT_TRUE(writesWithin(9'000));
    EXPECT_FALSE(writesWithin(4'000));
}

// A client's QFile that already has bytes in its buffer, which therefore fills at another line.
class ClientsFile : public SizeLimit
{
protected:
    // `before` is the number of bytes that are already in the buffer.
    bool writesLinesAfter(qint64 before, const std::string& line, rlim_t limit)
    {
        std::string document;
        for (int i = 0; i < 17; ++i)
            document += line;
        given(document);
        QFile file(toPath(dir / "out.ini"));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(QByteArray(before, '#'));
        const FileSizeLimit limited(limit);
        const bool result = store.WriteSections(file, Text("name"));
        file.close();
        return result;
    }
};

TEST_F(ClientsFile, fails_at_the_line_that_flushes_the_buffer)
{
    EXPECT_FALSE(writesLinesAfter(100, std::string(959, 'x') + '\n', 100));
    thenMessageIs("Error writing to name, file only partially written");
    EXPECT_EQ(readFile(dir / "out.ini"), std::string(100, '#'));
}

TEST_F(ClientsFile, fails_at_an_empty_line_that_flushes_the_buffer)
{
    EXPECT_FALSE(writesLinesAfter(16'381, "\n", 16'382));
}

TEST_F(ClientsFile, ignores_the_bytes_left_in_the_buffer)
{
    EXPECT_TRUE(writesLinesAfter(8'000, std::string(999, 'x') + '\n', 20'000));
    EXPECT_EQ(readFile(dir / "out.ini").size(), 20'000U);
}

// Short and long lines. Some are longer than QFile's buffer and some fill it exactly.
std::string randomDocument(Random& random)
{
    const std::vector<std::size_t> frequent = {1, 10, 40, 1'000};
    const std::vector<std::size_t> rare = {16'383, 16'384, 16'385, 70'000};
    const std::size_t size = random.below(std::size_t(200'000));
    std::string bytes;
    while (bytes.size() < size)
        bytes += std::string(random.of(random.oneIn(40) ? rare : frequent) - 1, 'x') + '\n';
    return bytes;
}

TEST_F(SizeLimit, at_any_byte_matches_the_reference)
{
    int failures = 0;
    const int cases = forEachRandomCase(100, [&](Random& random) {
        const std::string document = randomDocument(random);
        writeFile(dir / "given.ini", document);
        INIStore fresh;
        reference::INIStore reference;
        EXPECT_TRUE(fresh.Open(toPath(dir / "given.ini")) && reference.Open(toPath(dir / "given.ini")));
        const rlim_t bytes = random.below(document.size() + 2);
        bool result = false;
        bool expected = false;
        {
            const FileSizeLimit limit(bytes);
            result = fresh.Write(toPath(dir / "out.ini"));
            expected = reference.Write(toPath(dir / "expected.ini"));
        }
        EXPECT_EQ(result, expected);
        EXPECT_TRUE(readFile(dir / "out.ini") == readFile(dir / "expected.ini"));
        failures += result ? 0 : 1;
        return "limit " + std::to_string(bytes) + " of " + std::to_string(document.size());
    });
    EXPECT_GE(failures, cases / 3);
    EXPECT_LT(failures, cases);
}

// QFile opens any descriptor number. The error appears only when its buffer is flushed.
class BadDescriptor : public IoTest
{
protected:
    void thenOnlyALargeDocumentFails(int descriptor)
    {
        given(smallDocument);
        EXPECT_TRUE(store.Write(descriptor, Text("name")));
        thenThereIsNoMessage();
        given(largeDocument);
        EXPECT_FALSE(store.Write(descriptor, Text("name")));
        thenMessageIs("Error writing to name, file only partially written");
        thenDocumentIs(smallDocument + largeDocument);
    }
};

TEST_F(BadDescriptor, closed)
{
    const int descriptor = open("/dev/null", O_WRONLY | O_CLOEXEC);
    ASSERT_EQ(close(descriptor), 0);
    thenOnlyALargeDocumentFails(descriptor);
}

TEST_F(BadDescriptor, negative)
{
    thenOnlyALargeDocumentFails(-1);
}

TEST_F(BadDescriptor, open_for_reading)
{
    writeFile(dir / "read.ini", "old\n");
    const int descriptor = open((dir / "read.ini").c_str(), O_RDONLY | O_CLOEXEC);
    thenOnlyALargeDocumentFails(descriptor);
    EXPECT_NE(fcntl(descriptor, F_GETFD), -1);
    close(descriptor);
    EXPECT_EQ(readFile(dir / "read.ini"), "old\n");
}

TEST_F(BadDescriptor, pipe_without_a_reader)
{
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    ASSERT_EQ(close(ends[0]), 0);
    const sighandler_t handler = std::signal(SIGPIPE, SIG_IGN);
    thenOnlyALargeDocumentFails(ends[1]);
    std::signal(SIGPIPE, handler);
    close(ends[1]);
}

// The pipe has 16 pages and each line takes three. The sixth line, which the seventh flushes, no longer fits.
TEST_F(BadDescriptor, full_pipe_that_does_not_block)
{
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC | O_NONBLOCK), 0);
    ASSERT_EQ(fcntl(ends[1], F_GETPIPE_SZ), 65'536);
    std::string document;
    for (int i = 0; i < 7; ++i)
        document += "k=" + std::string(10'289, 'v') + '\n';
    given(document);
    EXPECT_FALSE(store.Write(ends[1], Text("pipe")));
    thenMessageIs("Error writing to pipe, file only partially written");
    close(ends[0]);
    close(ends[1]);
}

class FileObject : public IoTest
{
};

TEST_F(FileObject, open_for_reading_cannot_be_written)
{
    given(smallDocument);
    writeFile(dir / "read.ini", "old\n");
    QFile file(toPath(dir / "read.ini"));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_FALSE(store.WriteSections(file, Text("name")));
    thenMessageIs("Error writing to name, file only partially written");
    file.close();
    EXPECT_EQ(readFile(dir / "read.ini"), "old\n");
}

TEST_F(FileObject, that_is_not_open_cannot_be_written)
{
    given(smallDocument);
    QFile file(toPath(dir / "none.ini"));
    EXPECT_FALSE(store.WriteSections(file, Text("name")));
    thenMessageIs("Error writing to name, file only partially written");
    EXPECT_NE(access((dir / "none.ini").c_str(), F_OK), 0);
}

TEST_F(FileObject, open_for_reading_accepts_an_empty_document)
{
    writeFile(dir / "read.ini", "old\n");
    QFile file(toPath(dir / "read.ini"));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_TRUE(store.WriteSections(file, Text("name")));
    thenThereIsNoMessage();
}

// Writes the pieces to a pipe, with a pause after each.
void feed(int descriptor, const std::vector<std::string>& pieces)
{
    for (const std::string& piece : pieces) {
        EXPECT_EQ(write(descriptor, piece.data(), piece.size()), ssize_t(piece.size()));
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    close(descriptor);
}

class Pipe : public IoTest
{
protected:
    void whenFedThroughFifo(const std::vector<std::string>& pieces)
    {
        const std::string path = dir / "fifo";
        ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
        std::thread writer([&] { feed(open(path.c_str(), O_WRONLY | O_CLOEXEC), pieces); });
        EXPECT_TRUE(store.Open(toPath(path)));
        writer.join();
        thenThereIsNoMessage();
    }
};

TEST_F(Pipe, with_a_name_is_read_to_its_end)
{
    whenFedThroughFifo({"a=1\n[s]\nb=2\n"});
    thenDocumentIs("a=1\n[s]\nb=2\n");
    thenValuesAre("s", "b", {"2"});
}

TEST_F(Pipe, line_that_comes_in_pieces_is_one_line)
{
    whenFedThroughFifo({"a=1\n[se", "ction]\r", "\nkey", "=value"});
    thenSectionIs(1, Text("section"), "[section]\r\n", 1);
    thenLineIs(1, 0, Text("key"), Text("value"), "key=value");
}

TEST_F(Pipe, large_document_is_read_whole)
{
    whenFedThroughFifo({largeDocument});
    EXPECT_TRUE(documentOf(store) == largeDocument);
}

TEST_F(Pipe, without_a_name_is_read_by_its_descriptor)
{
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    std::thread writer([&] { feed(ends[1], {"a=1\nb=", "2\n"}); });
    EXPECT_TRUE(store.Open(toPath("/dev/fd/" + std::to_string(ends[0]))));
    writer.join();
    close(ends[0]);
    thenDocumentIs("a=1\nb=2\n");
    thenValuesAre("", "b", {"2"});
}

TEST_F(Pipe, without_bytes_loads_nothing)
{
    whenFedThroughFifo({});
    ASSERT_EQ(store.m_sections.size(), 1);
    thenSectionIs(0, null, "", 0);
}

TEST_F(Pipe, accepts_a_written_document)
{
    given(largeDocument);
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    std::string arrived;
    std::thread reader([&] {
        char buffer[65536];
        for (ssize_t got = 0; (got = read(ends[0], buffer, sizeof buffer)) > 0;)
            arrived.append(buffer, std::size_t(got));
    });
    EXPECT_TRUE(store.Write(ends[1], Text("pipe")));
    thenThereIsNoMessage();
    close(ends[1]);
    reader.join();
    close(ends[0]);
    EXPECT_TRUE(arrived == largeDocument);
}

// A terminal, on which a program reads what was typed. ^D ends a read: with nothing if nothing was typed before it.
class Terminal : public IoTest
{
protected:
    void whenOpenedAfterTyping(const std::string& keys)
    {
        const int keyboard = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
        ASSERT_EQ(unlockpt(keyboard), 0);
        const std::string path = ptsname(keyboard);
        const int terminal = open(path.c_str(), O_RDONLY | O_NOCTTY | O_CLOEXEC);
        ASSERT_EQ(write(keyboard, keys.data(), keys.size()), ssize_t(keys.size()));
        auto opened = std::async(std::launch::async, [&] { return store.Open(toPath(path)); });
        EXPECT_EQ(opened.wait_for(std::chrono::seconds(10)), std::future_status::ready) << "it waits for more";
        close(keyboard); // ends a read that still waits
        EXPECT_TRUE(opened.get());
        close(terminal);
        thenThereIsNoMessage();
    }
};

TEST_F(Terminal, is_read_up_to_the_end_of_the_input)
{
    whenOpenedAfterTyping("[s]\na=1\n\x04");
    thenDocumentIs("[s]\na=1\n");
    thenValuesAre("s", "a", {"1"});
}

TEST_F(Terminal, line_goes_on_after_one_end_of_input)
{
    whenOpenedAfterTyping("a=\x04"
                          "1\n\x04");
    ASSERT_EQ(store.m_sections[0].m_lines.size(), 1);
    thenLineIs(0, 0, Text("a"), Text("1"), "a=1\n");
}

TEST_F(Terminal, line_ends_where_a_read_returns_nothing)
{
    whenOpenedAfterTyping("a=1\nbcd\x04\x04"
                          "ef=2\n\x04");
    ASSERT_EQ(store.m_sections[0].m_lines.size(), 3);
    thenLineIs(0, 0, Text("a"), Text("1"), "a=1\n");
    thenLineIs(0, 1, null, null, "bcd");
    thenLineIs(0, 2, Text("ef"), Text("2"), "ef=2\n");
}

class OddFile : public IoTest
{
};

TEST_F(OddFile, without_a_size_is_read)
{
    ASSERT_TRUE(store.Open(Text("/proc/version")));
    thenDocumentIs(readFile("/proc/version"));
    EXPECT_EQ(store.m_sections[0].m_lines.size(), 1);
}

TEST_F(OddFile, as_long_as_one_read_and_without_a_line_end_is_one_line)
{
    const std::string line = "k=" + std::string(32 * 1024 - 2, 'v');
    given(line);
    ASSERT_EQ(store.m_sections[0].m_lines.size(), 1);
    thenDocumentIs(line);
}

TEST_F(OddFile, null_device_loads_nothing)
{
    ASSERT_TRUE(store.Open(Text("/dev/null")));
    thenDocumentIs("");
    thenThereIsNoMessage();
}

} // namespace
