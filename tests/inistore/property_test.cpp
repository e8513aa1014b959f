#include "inistore/storetest.h"

#include "reference/inistore.h"
#include "support/memoryfile.h"
#include "support/random.h"

#include <algorithm>
#include <sstream>

using namespace std::string_literals;

namespace {

// The exhaustive test has every short line. These are longer, beyond ASCII, or what the edits look for.
const std::vector<std::string> linePieces = {"", ";", "; a=b", " ; c", "# c", "#k=v", "stray", "a b = c d", "k=1",
    "K = 2", "k=v;c", "k = v ; c", "  k\t=  two words  ", "x=0", "aa=a", "on=on", "k=", "=", "=v", "k;=v", "k=\"q;r\"",
    "%1=%2", "%3 = %1%2%3", "[a]", "[A] rest", "[ a ]", "[b]", "[b] ;c", "[]", "[a;b]", "[a=b]", "[[x]]", "[ü]", "[Ü]",
    "[%1]", "[𐐀]", "ü=Ä", "Straße=ß", "STRASSE=SS", "STRAẞE=ẞ", "ΟΔΟΣ=οδος", "\u212a=kelvin", "𐐀=𐐨",
    "\u00a0k\u00a0=\u00a0v\u00a0", "k=a\u2028b", "\xef\xbb\xbfk=1", "\xef\xbb\xbf[a]", "k=\xef\xbb\xbfv", "\xff\xfe=x",
    "k=\xc3", "gr\xf6\xdf=\x80", "[\xff]", "\xed\xa0\x80=1", "k=\xf0\x9f\x98;c", "k=a\0b"s, "\0"s, "[a]\0x"s, "k\0=v"s,
    "[a\0]"s, "k=v\0;c"s, "k=😀;c", "k=😀 ;c", "😀;=1"};
const std::vector<std::string> lineEnds = {"\n", "\n", "\n", "\n", "\r\n", "\r\n", "\r", "\n\r", "\r\r\n", "\n\n", ""};

const std::vector<Text> sectionNames = {
    null, "", "a", "A", " a ", "b", "new", "ü", "Ü", "s%1", "%2", "x]", "a=b", "[x", "𐐀", "𐐨", "two\nlines"};
const std::vector<Text> keys = {null, "", "k", "K", " k ", "aa", "on", "x", "ü", "Ü", "%1", "%2", "%3", "%1%2%3", "#k",
    "a;b", "=", "a=b", "a\nb", "stray", "straße", "STRASSE", "straẞe", "οδοσ", "𐐨", "k\0j"s};
const std::vector<Text> values = {null, "", "1", "2", "a", "v", "V", " v ", "two words", "%1", "%3", "%2%3", "x;y",
    "a\nb", "a\0b"s, "😀", QString(QChar(0xd83d)), QString(QChar(0xde00)), "=", "k", "on", "ß"};
const std::vector<Text> newlines = {"\n", "\n", "\n", "\r\n", "\r\n", "", "%1", "%2%3\n", " = "};

std::string randomLine(Random& random)
{
    if (random.oneIn(400))
        return "k=" + std::string(8'000 + random.below(std::size_t(20'000)), 'x');
    return random.of(linePieces);
}

std::string randomDocument(Random& random)
{
    std::string document;
    for (int i = random.below(14); i > 0; --i)
        document += randomLine(random) + random.of(lineEnds);
    if (random.oneIn(3))
        document += randomLine(random);
    return document;
}

// Often the text of some line, so that edits find it.
QString randomText(
    Random& random, const INIStore& store, decltype(&INILine::m_key) member, const std::vector<Text>& others)
{
    const INISection& section = random.of(store.m_sections);
    if (section.m_lines.isEmpty() || random.oneIn(2))
        return random.of(others);
    const QString text = random.of(section.m_lines).*member;
    return random.oneIn(4) ? text.toUpper() : text;
}

QString randomSection(Random& random, const INIStore& store)
{
    return random.oneIn(2) ? QString(random.of(sectionNames)) : random.of(store.m_sections).m_name;
}

struct Change
{
    std::vector<Entry> removed;
    std::vector<Entry> added;
    bool atEnd;
};

// Returns what differs between the longest common beginning and the longest common end of two documents.
Change changeBetween(const std::vector<Entry>& before, const std::vector<Entry>& after)
{
    const std::size_t shorter = std::min(before.size(), after.size());
    std::size_t front = 0;
    while (front < shorter && before[front] == after[front])
        ++front;
    std::size_t back = 0;
    while (back < shorter - front && before[before.size() - 1 - back] == after[after.size() - 1 - back])
        ++back;
    return {{before.begin() + std::ptrdiff_t(front), before.end() - std::ptrdiff_t(back)},
        {after.begin() + std::ptrdiff_t(front), after.end() - std::ptrdiff_t(back)}, back == 0};
}

void expectOnlyAnAddedLine(const Change& change, const Edit& edit)
{
    EXPECT_TRUE(change.removed.empty()) << testing::PrintToString(change.removed);
    ASSERT_FALSE(change.added.empty());
    ASSERT_LE(change.added.size(), 2U) << testing::PrintToString(change.added);
    const bool withHeader = change.added.size() == 2;
    EXPECT_EQ(change.added.front().header, withHeader);
    EXPECT_TRUE(!withHeader || change.atEnd);
    EXPECT_FALSE(change.added.back().header);
    EXPECT_EQ(exactly(change.added.back().key), exactly(edit.key));
    EXPECT_EQ(exactly(change.added.back().value), exactly(edit.value));
}

void expectOnlyAChangedLine(const Change& change, const Edit& edit)
{
    ASSERT_EQ(change.removed.size(), 1U) << testing::PrintToString(change.removed);
    ASSERT_EQ(change.added.size(), 1U) << testing::PrintToString(change.added);
    EXPECT_FALSE(change.removed[0].header || change.added[0].header);
    EXPECT_EQ(exactly(change.added[0].key), exactly(change.removed[0].key));
    EXPECT_EQ(QString::compare(change.added[0].key, edit.key, Qt::CaseInsensitive), 0);
    EXPECT_EQ(exactly(change.added[0].value), exactly(edit.value));
}

void expectOnlyARemovedLine(const Change& change, const Edit& edit)
{
    EXPECT_TRUE(change.added.empty()) << testing::PrintToString(change.added);
    ASSERT_EQ(change.removed.size(), 1U) << testing::PrintToString(change.removed);
    EXPECT_FALSE(change.removed[0].header);
    EXPECT_EQ(QString::compare(change.removed[0].key, edit.key, Qt::CaseInsensitive), 0);
    EXPECT_EQ(QString::compare(change.removed[0].value, edit.value, Qt::CaseInsensitive), 0);
}

// The store and the reference implementation, which take the same steps.
class Pair
{
public:
    explicit Pair(Random& random)
        : m_random(random)
    {
    }
    ~Pair() { INIStore::s_newline = reference::INIStore::s_newline = Text("\n"); }
    Pair(const Pair&) = delete;
    Pair& operator=(const Pair&) = delete;

    void open(const std::string& bytes);
    void openMissing();
    void step();
    std::string story() const { return m_story.str(); }

private:
    Edit randomEdit();
    void edit();
    void changeNewline();
    void write();
    void expectAgreement();

    Random& m_random;
    INIStore m_store;
    reference::INIStore m_reference;
    std::ostringstream m_story;
};

void Pair::open(const std::string& bytes)
{
    m_story << "\nopen " << testing::PrintToString(toBytes(bytes));
    const MemoryFile file(bytes);
    EXPECT_TRUE(m_store.Open(file.path()));
    EXPECT_TRUE(m_reference.Open(file.path()));
    expectAgreement();
}

void Pair::openMissing()
{
    m_story << "\nopen a missing file";
    EXPECT_FALSE(m_store.Open(Text("/none.ini")));
    EXPECT_FALSE(m_reference.Open(Text("/none.ini")));
    expectAgreement();
}

Edit Pair::randomEdit()
{
    const auto kind = Edit::Kind(m_random.below(4));
    const QString section = randomSection(m_random, m_store);
    const QString key = randomText(m_random, m_store, &INILine::m_key, keys);
    const QString value = randomText(m_random, m_store, &INILine::m_value, values);
    return {kind, section, key, value};
}

void Pair::edit()
{
    const Edit edit = randomEdit();
    m_story << '\n' << testing::PrintToString(edit);
    const std::vector<Entry> before = entriesOf(m_store);
    const bool found = perform(m_store, edit);
    EXPECT_EQ(found, perform(m_reference, edit));

    const std::vector<Entry> after = entriesOf(m_store);
    const Change change = changeBetween(before, after);
    if (edit.kind == Edit::Remove && found)
        expectOnlyARemovedLine(change, edit);
    else if (edit.kind == Edit::Remove)
        EXPECT_TRUE(after == before);
    else if (edit.kind != Edit::Update || after.size() > before.size())
        expectOnlyAnAddedLine(change, edit);
    else if (!(after == before))
        expectOnlyAChangedLine(change, edit);
    EXPECT_EQ(m_store.GetSection(edit.section), m_reference.GetSection(edit.section));
    EXPECT_EQ(m_store.GetValues(edit.section, edit.key), m_reference.GetValues(edit.section, edit.key));
    expectAgreement();
}

void Pair::changeNewline()
{
    const QString newline = m_random.of(newlines);
    m_story << "\nnewline " << testing::PrintToString(newline);
    INIStore::s_newline = newline;
    reference::INIStore::s_newline = newline;
}

void Pair::write()
{
    m_story << "\nwrite";
    const MemoryFile file;
    const bool written = m_store.Write(file.path());
    const QByteArray bytes = file.bytes();
    EXPECT_EQ(written, m_reference.Write(file.path()));
    EXPECT_EQ(bytes, file.bytes());
    expectAgreement();
}

void Pair::step()
{
    const int dice = m_random.below(20);
    if (dice == 0)
        open(randomDocument(m_random));
    else if (dice == 1)
        openMissing();
    else if (dice <= 3)
        write();
    else if (dice == 4)
        changeNewline();
    else
        edit();
}

void Pair::expectAgreement()
{
    EXPECT_EQ(entriesOf(m_store), entriesOf(m_reference));
    EXPECT_EQ(m_store.m_currentSection, m_reference.m_currentSection);
    EXPECT_EQ(exactly(m_store.m_lastError), exactly(m_reference.m_lastError));
}

// Silences Qt's warnings about missing markers, which random texts often cause.
class Property : public testing::Test
{
protected:
    void SetUp() override
    {
        m_previous = qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    }
    void TearDown() override { qInstallMessageHandler(m_previous); }

private:
    QtMessageHandler m_previous = nullptr;
};

TEST_F(Property, a_loaded_document_is_written_unchanged_up_to_the_first_nul)
{
    forEachRandomCase(1000, [](Random& random) {
        const std::string document = randomDocument(random);
        const MemoryFile in(document);
        INIStore store;
        EXPECT_TRUE(store.Open(in.path()));
        EXPECT_EQ(toBytes(documentOf(store)), toBytes(document));

        for (qsizetype i = 0; i < store.m_sections.size(); ++i) {
            EXPECT_EQ(store.m_sections[i].m_name.isNull(), i == 0);
            EXPECT_EQ(store.m_sections[i].m_raw.isEmpty(), i == 0);
        }

        const std::size_t nul = document.find('\0');
        const MemoryFile out;
        EXPECT_EQ(store.Write(out.path()), nul == std::string::npos);
        EXPECT_EQ(out.bytes(), toBytes(document.substr(0, nul)));
        return "open " + testing::PrintToString(toBytes(document));
    });
}

TEST_F(Property, an_edit_changes_only_its_line_and_every_step_matches_the_reference)
{
    forEachRandomCase(3000, [](Random& random) {
        Pair pair(random);
        pair.open(randomDocument(random));
        for (int i = 0; i < 24 && !testing::Test::HasFailure(); ++i)
            pair.step();
        return pair.story();
    });
}

} // namespace
