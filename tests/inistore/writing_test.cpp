#include "inistore/storetest.h"

#include "support/rows.h"

#include <QFile>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace std::string_literals;

namespace {

struct DocumentRow
{
    const char* name;
    std::string bytes;
};

class UneditedDocument : public StoreTest, public testing::WithParamInterface<DocumentRow>
{
};

TEST_P(UneditedDocument, is_written_byte_for_byte)
{
    given(GetParam().bytes);
    thenFileIs(GetParam().bytes);
}

INSTANTIATE_TEST_SUITE_P(Kept, UneditedDocument,
    testing::ValuesIn(std::vector<DocumentRow>{
        {"empty", ""},
        {"ordinary", "; head\n\n[a]\nk = v ; c\n\n[b]\nk=1\nk=2\n"},
        {"keys_before_the_first_header", "lead=1\n\n[a]\nk=2\n"},
        {"cr_lf", "a=1\r\n\r\n[s]\r\n; c\r\nb=2\r\n"},
        {"bare_cr", "a=1\r[s]\rb=2\r"},
        {"mixed_line_ends", "a=1\r\nb=2\n[s]\r\r\nc=3\n\r"},
        {"no_final_line_end", "[s]\nk=1"},
        {"only_a_header_without_a_line_end", "[s]"},
        {"only_line_ends", "\n\n\r\n\n"},
        {"white_space_everywhere", " \t[ a ]\t x \n  k \t=  v  \n\v\f\n"},
        {"invalid_utf8", "[\xff]\nk=\xc3\n\xf0\x9f\n\xed\xa0\x80=1\n"},
        {"byte_order_marks", "\xef\xbb\xbf[a]\n\xef\xbb\xbfk=1\n"},
        {"byte_order_mark_alone", "\xef\xbb\xbf"},
        {"stray_brackets", "[]\n[\n]\n[a;b]\n[[x]]\n[a]b]c\n"},
        {"repeated_sections_and_keys", "[a]\nk=1\nk=1\n[a]\n[A]\nK=1\n"},
        {"markers", "[%1]\n%1 = %2%3\n"},
    }),
    rowName);

class Writing : public StoreTest
{
protected:
    bool written(const std::string& path) { return store.Write(toPath(path)); }
};

TEST_F(Writing, new_store_writes_an_empty_file)
{
    thenFileIs("");
}

TEST_F(Writing, creates_the_file)
{
    given("k=1\n");
    ASSERT_TRUE(written(dir / "new.ini"));
    EXPECT_EQ(readFile(dir / "new.ini"), "k=1\n");
}

TEST_F(Writing, replaces_longer_content)
{
    given("k=1\n");
    writeFile(dir / "old.ini", std::string(100'000, 'x'));
    ASSERT_TRUE(written(dir / "old.ini"));
    EXPECT_EQ(readFile(dir / "old.ini"), "k=1\n");
}

TEST_F(Writing, replaces_the_file_that_was_loaded)
{
    given("k=1\n");
    perform(update("", "k", "2"));
    ASSERT_TRUE(written(dir / "given.ini"));
    EXPECT_EQ(readFile(dir / "given.ini"), "k=2\n");
}

TEST_F(Writing, happens_in_place)
{
    // The same file: it keeps its inode, its mode and its other name.
    given("k=1\n");
    writeFile(dir / "old.ini", "old");
    ASSERT_EQ(chmod((dir / "old.ini").c_str(), 0640), 0);
    ASSERT_EQ(link((dir / "old.ini").c_str(), (dir / "other.ini").c_str()), 0);
    struct stat before = {};
    struct stat after = {};
    ASSERT_EQ(stat((dir / "old.ini").c_str(), &before), 0);
    ASSERT_TRUE(written(dir / "old.ini"));
    ASSERT_EQ(stat((dir / "old.ini").c_str(), &after), 0);
    EXPECT_EQ(after.st_ino, before.st_ino);
    EXPECT_EQ(after.st_mode, before.st_mode);
    EXPECT_EQ(readFile(dir / "other.ini"), "k=1\n");
}

TEST_F(Writing, follows_a_symbolic_link)
{
    given("k=1\n");
    writeFile(dir / "target.ini", "old");
    ASSERT_EQ(symlink("target.ini", (dir / "link.ini").c_str()), 0);
    ASSERT_TRUE(written(dir / "link.ini"));
    EXPECT_EQ(readFile(dir / "target.ini"), "k=1\n");
}

TEST_F(Writing, may_be_repeated_with_edits_between)
{
    given("k=1\n");
    thenFileIs("k=1\n");
    thenFileIs("k=1\n");
    perform(update("", "k", "2"));
    thenFileIs("k=2\n");
}

TEST_F(Writing, changes_nothing_in_the_document)
{
    given("k=1\n[s]\n\nl=2");
    thenFileIs("k=1\n[s]\n\nl=2");
    EXPECT_EQ(store.m_currentSection, 1);
    EXPECT_EQ(documentOf(store), "k=1\n[s]\n\nl=2");
    thenLineIs(0, 0, Text("k"), Text("1"), "k=1\n");
}

TEST_F(Writing, writes_the_bytes_and_not_key_or_value)
{
    store.m_sections[0].m_lines.append(INILine(Text("k"), Text("v"), "bytes"));
    store.m_sections.append(INISection(Text("name"), ""));
    store.m_sections[1].m_lines.append(INILine(Text("k"), Text("v"), ""));
    store.m_sections[1].m_lines.append(INILine(null, null, " more"));
    thenFileIs("bytes more");
}

TEST_F(Writing, success_clears_an_earlier_message)
{
    EXPECT_FALSE(store.Open(toPath(dir.path())));
    ASSERT_FALSE(store.m_lastError.isEmpty());
    thenFileIs("");
    EXPECT_EQ(exactly(store.GetLastError()), exactly(null));
}

TEST_F(Writing, accepts_its_own_message_as_a_path)
{
    given("k=1\n");
    store.m_lastError = toPath(dir / "out.ini");
    EXPECT_TRUE(store.Write(store.m_lastError));
    EXPECT_EQ(readFile(dir / "out.ini"), "k=1\n");

    store.m_lastError = Text("/none/out.ini");
    EXPECT_FALSE(store.Write(store.m_lastError));
    EXPECT_EQ(store.m_lastError, Text("Unable to open /none/out.ini, with write permission"));
}

TEST_F(Writing, accepts_its_own_message_as_a_name)
{
    given("k=" + std::string(20'000, 'v') + '\n');
    store.m_lastError = Text("name");
    EXPECT_FALSE(store.Write(-1, store.m_lastError));
    EXPECT_EQ(store.m_lastError, Text("Error writing to name, file only partially written"));
}

TEST_F(Writing, takes_bytes_that_no_nul_follows)
{
    const char bytes[] = {'k', '=', '1', 'x'};
    store.m_sections[0].m_lines.append(INILine(Text("k"), Text("1"), QByteArray::fromRawData(bytes, 3)));
    thenFileIs("k=1");
}

TEST_F(Writing, stops_at_a_nul_byte_in_a_line)
{
    given("a=1\nk=v\0rest\nb=2\n"s);
    EXPECT_FALSE(written(dir / "out.ini"));
    EXPECT_EQ(exactly(store.m_lastError),
        exactly(Text("Error writing to " + dir / "out.ini" + ", file only partially written")));
    EXPECT_EQ(readFile(dir / "out.ini"), "a=1\nk=v");
    EXPECT_EQ(documentOf(store), "a=1\nk=v\0rest\nb=2\n"s);
}

TEST_F(Writing, stops_at_a_nul_byte_in_a_header)
{
    given("a=1\n[s]\0\nb=2\n"s);
    EXPECT_FALSE(written(dir / "out.ini"));
    EXPECT_EQ(readFile(dir / "out.ini"), "a=1\n[s]");
}

TEST_F(Writing, stops_at_a_nul_byte_that_starts_the_file)
{
    given("\0a=1\n"s);
    EXPECT_FALSE(written(dir / "out.ini"));
    EXPECT_EQ(readFile(dir / "out.ini"), "");
}

// Long enough that the library writes several times before the NUL and after it.
const std::string manyLines = [] {
    std::string lines;
    for (int i = 0; i < 20'000; ++i)
        lines += "key=value\n";
    return lines;
}();

TEST_F(Writing, stops_at_a_nul_byte_in_a_line_of_a_large_document)
{
    given(manyLines + "k=v\0rest\n"s + manyLines);
    EXPECT_FALSE(written(dir / "out.ini"));
    EXPECT_TRUE(readFile(dir / "out.ini") == manyLines + "k=v");
}

TEST_F(Writing, stops_at_a_nul_byte_in_a_header_of_a_large_document)
{
    given(manyLines + "[s]\0rest\n"s + manyLines);
    EXPECT_FALSE(written(dir / "out.ini"));
    EXPECT_TRUE(readFile(dir / "out.ini") == manyLines + "[s]");
}

TEST_F(Writing, stops_at_a_nul_byte_near_the_front_of_a_large_document)
{
    given("a=1\nk=v\0rest\n"s + manyLines);
    EXPECT_FALSE(written(dir / "out.ini"));
    EXPECT_EQ(readFile(dir / "out.ini"), "a=1\nk=v");
}

TEST_F(Writing, succeeds_again_once_the_line_with_the_nul_is_removed)
{
    given("a=1\nk=v\0rest\nb=2\n"s);
    EXPECT_FALSE(written(dir / "out.ini"));
    perform(remove("", "k", "v"));
    thenFileIs("a=1\nb=2\n");
}

class WritingToDescriptor : public StoreTest
{
protected:
    void open(const std::string& content, int flags)
    {
        writeFile(dir / "out.ini", content);
        descriptor = ::open((dir / "out.ini").c_str(), flags | O_CLOEXEC);
        ASSERT_GE(descriptor, 0);
    }
    void TearDown() override { close(descriptor); }
    bool isOpen() const { return fcntl(descriptor, F_GETFD) != -1; }
    std::string content() const { return readFile(dir / "out.ini"); }

    int descriptor = -1;
};

TEST_F(WritingToDescriptor, starts_in_the_middle_and_truncates_nothing)
{
    given("k=1\n");
    open("0123456789", O_WRONLY);
    ASSERT_EQ(lseek(descriptor, 3, SEEK_SET), 3);
    EXPECT_TRUE(store.Write(descriptor, Text("name")));
    EXPECT_EQ(exactly(store.m_lastError), exactly(null));
    EXPECT_EQ(content(), "012k=1\n789");
}

TEST_F(WritingToDescriptor, leaves_it_open_after_the_last_byte)
{
    given("k=1\n");
    open("", O_WRONLY);
    EXPECT_TRUE(store.Write(descriptor, Text("name")));
    ASSERT_TRUE(isOpen());
    EXPECT_EQ(lseek(descriptor, 0, SEEK_CUR), 4);
    EXPECT_EQ(write(descriptor, "more", 4), 4);
    EXPECT_EQ(content(), "k=1\nmore");
}

TEST_F(WritingToDescriptor, continues_where_the_last_write_ended)
{
    given("k=1\n");
    open("", O_RDWR);
    EXPECT_TRUE(store.Write(descriptor, Text("name")));
    EXPECT_TRUE(store.Write(descriptor, Text("name")));
    EXPECT_EQ(content(), "k=1\nk=1\n");
}

TEST_F(WritingToDescriptor, appends_where_it_was_opened_to_append)
{
    given("k=1\n");
    open("old\n", O_WRONLY | O_APPEND);
    EXPECT_TRUE(store.Write(descriptor, Text("name")));
    EXPECT_EQ(content(), "old\nk=1\n");
}

TEST_F(WritingToDescriptor, never_opens_the_name)
{
    given("k=1\n");
    open("", O_WRONLY);
    writeFile(dir / "named.ini", "untouched");
    EXPECT_TRUE(store.Write(descriptor, toPath(dir / "named.ini")));
    EXPECT_EQ(readFile(dir / "named.ini"), "untouched");
}

TEST_F(WritingToDescriptor, has_the_name_in_its_message)
{
    given("a=1\nk=\0\n"s);
    open("", O_WRONLY);
    EXPECT_FALSE(store.Write(descriptor, Text("the name")));
    EXPECT_EQ(exactly(store.m_lastError), exactly(Text("Error writing to the name, file only partially written")));
    EXPECT_EQ(content(), "a=1\nk=");
    EXPECT_TRUE(isOpen());
}

TEST_F(WritingToDescriptor, success_clears_an_earlier_message)
{
    given("k=1\n");
    open("", O_WRONLY);
    store.m_lastError = Text("earlier");
    EXPECT_TRUE(store.Write(descriptor, Text("name")));
    EXPECT_EQ(exactly(store.m_lastError), exactly(null));
}

TEST_F(WritingToDescriptor, large_document_is_written_completely)
{
    std::string large;
    for (int i = 0; i < 20'000; ++i)
        large += "key" + std::to_string(i) + " = value ; comment\r\n";
    given(large);
    open("", O_WRONLY);
    EXPECT_TRUE(store.Write(descriptor, Text("name")));
    EXPECT_EQ(content(), large);
    EXPECT_EQ(lseek(descriptor, 0, SEEK_CUR), off_t(large.size()));
}

class WritingSections : public StoreTest
{
protected:
    void SetUp() override
    {
        file.setFileName(toPath(dir / "out.ini"));
        ASSERT_TRUE(file.open(QIODevice::ReadWrite));
    }
    std::string content()
    {
        file.flush();
        return readFile(dir / "out.ini");
    }

    QFile file;
};

TEST_F(WritingSections, starts_at_the_position_of_the_file)
{
    given("k=1\n");
    file.write("before\n");
    EXPECT_TRUE(store.WriteSections(file, Text("name")));
    EXPECT_TRUE(store.WriteSections(file, Text("name")));
    EXPECT_EQ(content(), "before\nk=1\nk=1\n");
}

TEST_F(WritingSections, leaves_the_file_open)
{
    given("k=1\n");
    EXPECT_TRUE(store.WriteSections(file, Text("name")));
    EXPECT_TRUE(file.isOpen());
    file.write("after\n");
    EXPECT_EQ(content(), "k=1\nafter\n");
}

TEST_F(WritingSections, success_leaves_an_earlier_message)
{
    given("k=1\n");
    store.m_lastError = Text("earlier");
    EXPECT_TRUE(store.WriteSections(file, Text("name")));
    EXPECT_EQ(exactly(store.m_lastError), exactly(Text("earlier")));
}

TEST_F(WritingSections, failure_replaces_an_earlier_message)
{
    given("k=\0"s);
    store.m_lastError = Text("earlier");
    EXPECT_FALSE(store.WriteSections(file, Text("name")));
    EXPECT_EQ(exactly(store.m_lastError), exactly(Text("Error writing to name, file only partially written")));
}

TEST_F(WritingSections, takes_its_own_message_for_a_name)
{
    given("k=\0"s);
    store.m_lastError = Text("name");
    EXPECT_FALSE(store.WriteSections(file, store.m_lastError));
    EXPECT_EQ(store.m_lastError, Text("Error writing to name, file only partially written"));
}

TEST_F(WritingSections, empty_header_and_empty_line_write_nothing_and_succeed)
{
    store.m_sections.append(INISection(Text("s"), ""));
    store.m_sections[0].m_lines.append(INILine(null, null, QByteArray()));
    store.m_sections[1].m_lines.append(INILine(null, null, ""));
    EXPECT_TRUE(store.WriteSections(file, Text("name")));
    EXPECT_EQ(content(), "");
}

// Names with the place marker of the message.
struct NameRow
{
    const char* name;
    const char* given;
    const char* message;
};

class NameInMessage : public StoreTest, public testing::WithParamInterface<NameRow>
{
};

TEST_P(NameInMessage, is_as_passed)
{
    given("k=\0"s);
    QFile file(toPath(dir / "out.ini"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    EXPECT_FALSE(store.WriteSections(file, QString::fromUtf8(GetParam().given)));
    EXPECT_EQ(exactly(store.m_lastError), exactly(Text(GetParam().message)));
}

INSTANTIATE_TEST_SUITE_P(Marker, NameInMessage,
    testing::ValuesIn(std::vector<NameRow>{
        {"first", "100%1.ini", "Error writing to 100%1.ini, file only partially written"},
        {"second", "%2", "Error writing to %2, file only partially written"},
        {"null", nullptr, "Error writing to , file only partially written"},
        {"other_script", "größe 😀", "Error writing to größe 😀, file only partially written"},
    }),
    rowName);

} // namespace
