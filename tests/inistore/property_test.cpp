#include "inistore/storetest.h"

#include "reference/inistore.h"

#include <QtGlobal>

#include <cstdlib>
#include <iostream>
#include <random>
#include <sstream>

using namespace std::string_literals;

// KQSUPPORT_TEST_SEED=N picks other cases; KQSUPPORT_TEST_CASES=N their number. A failure names the seed that brings
// that one case back: KQSUPPORT_TEST_SEED=it KQSUPPORT_TEST_CASES=1.

// GoogleTest finds these beside their types.
void PrintTo(const Entry& entry, std::ostream* out)
{
    *out << (entry.header ? "section " : "line ") << testing::PrintToString(entry.key) << " = "
         << testing::PrintToString(entry.value) << " from " << testing::PrintToString(entry.raw) << '\n';
}

void PrintTo(const Edit& edit, std::ostream* out)
{
    static const char* const names[] = {"append", "prepend", "update", "remove"};
    *out << names[edit.kind] << ' ' << testing::PrintToString(edit.section) << ", " << testing::PrintToString(edit.key)
         << ", " << testing::PrintToString(edit.value);
}

namespace {

unsigned long fromEnvironment(const char* name, unsigned long otherwise)
{
    const char* const text = std::getenv(name);
    return text ? std::strtoul(text, nullptr, 10) : otherwise;
}

const std::vector<std::string> linePieces = {
    "k=1",
    "K = 2",
    "k=v;c",
    "k = v ; c",
    "  k\t=  two words  ",
    "x=0",
    "aa=a",
    "on=on",
    "k=",
    "k==",
    "=",
    "=v",
    " = ",
    "",
    " ",
    "\t",
    ";",
    ";c",
    " ; c",
    "; a=b",
    "k;=v",
    "# c",
    "#k=v",
    "stray",
    "a b = c d",
    "k=\"q;r\"",
    "%1=%2",
    "%3 = %1%2%3",
    "[a]",
    "[A] rest",
    "[ a ]",
    "[b]",
    "[b];",
    "[b] ;c",
    "[]",
    "[",
    "]",
    "[a",
    "[a;b]",
    "[a=b]",
    "[[x]]",
    "[]=v",
    "[ü]",
    "[Ü]",
    "[%1]",
    "[𐐀]",
    "ü=Ä",
    "Straße=ß",
    "STRASSE=SS",
    "STRAẞE=ẞ",
    "ΟΔΟΣ=οδος",
    "\u212a=kelvin",
    "𐐀=𐐨",
    "k=😀;c",
    "k=😀 ;c",
    "😀;=1",
    "\u00a0k\u00a0=\u00a0v\u00a0",
    "k=a\u2028b",
    "\xef\xbb\xbfk=1",
    "\xef\xbb\xbf[a]",
    "\xef\xbb\xbf",
    "\xef\xbb\xbf\xef\xbb\xbfk=1",
    "k=\xef\xbb\xbfv",
    "\xff\xfe=x",
    "k=\xc3",
    "gr\xf6\xdf=\x80",
    "[\xff]",
    "\xed\xa0\x80=1",
    "k=\xf0\x9f\x98;c",
    "k=a\0b"s,
    "\0"s,
    "[a]\0x"s,
    "k\0=v"s,
    "[a\0]"s,
    "k=v\0;c"s,
};
const std::vector<std::string> lineEnds = {"\n", "\n", "\n", "\n", "\r\n", "\r\n", "\r", "\n\r", "\r\r\n", "\n\n", ""};
const std::string awkwardBytes = "[];= k\r\n\t%1\0\xc3\xbc\xef\xbb\xbf\xff"s;

const std::vector<Text> sectionNames = {
    null, "", "a", "A", " a ", "b", "new", "ü", "Ü", "s%1", "%2", "x]", "a=b", "[x", "𐐀", "𐐨", "two\nlines"};
const std::vector<Text> keys = {null, "", "k", "K", " k ", "aa", "on", "x", "ü", "Ü", "%1", "%2", "%3", "%1%2%3", "#k",
    "a;b", "=", "a=b", "a\nb", "stray", "straße", "STRASSE", "straẞe", "οδοσ", "𐐨", "k\0j"s};
const std::vector<Text> values = {null, "", "1", "2", "a", "v", "V", " v ", "two words", "%1", "%3", "%2%3", "x;y",
    "a\nb", "a\0b"s, "😀", QString(QChar(0xd83d)), QString(QChar(0xde00)), "=", "k", "on", "ß"};
const std::vector<Text> newlines = {"\n", "\n", "\n", "\r\n", "\r\n", "", "%1", "%2%3\n", " = "};

class Random
{
public:
    explicit Random(unsigned long seed)
        : m_engine(seed)
    {
    }
    // Below `bound`, which is not 0. The same on every standard library, unlike a distribution.
    std::size_t below(std::size_t bound) { return m_engine() % bound; }
    bool oneIn(std::size_t chances) { return below(chances) == 0; }
    template <typename List>
    const typename List::value_type& of(const List& list)
    {
        return list[typename List::size_type(below(std::size_t(list.size())))];
    }

private:
    std::mt19937_64 m_engine;
};

std::string randomLine(Random& random)
{
    if (random.oneIn(400))
        return "k=" + std::string(8'000 + random.below(20'000), 'x');
    if (!random.oneIn(5))
        return random.of(linePieces);
    std::string line;
    for (std::size_t i = random.below(12); i > 0; --i)
        line += random.of(awkwardBytes);
    return line;
}

std::string randomDocument(Random& random)
{
    std::string document;
    for (std::size_t i = random.below(14); i > 0; --i)
        document += randomLine(random) + random.of(lineEnds);
    if (random.oneIn(3))
        document += randomLine(random);
    return document;
}

// Mostly the text of some line, so that edits and removals hit.
QString randomText(Random& random, const INIStore& store, QString INILine::*member, const std::vector<Text>& others)
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
    std::vector<Entry> gone;
    std::vector<Entry> come;
    bool atEnd;
};

// What lies between the longest common beginning and end of two documents.
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
    EXPECT_TRUE(change.gone.empty()) << testing::PrintToString(change.gone);
    ASSERT_FALSE(change.come.empty());
    ASSERT_LE(change.come.size(), 2U) << testing::PrintToString(change.come);
    const bool withHeader = change.come.size() == 2;
    EXPECT_EQ(change.come.front().header, withHeader);
    EXPECT_TRUE(!withHeader || change.atEnd);
    EXPECT_FALSE(change.come.back().header);
    EXPECT_EQ(exactly(change.come.back().key), exactly(edit.key));
    EXPECT_EQ(exactly(change.come.back().value), exactly(edit.value));
}

void expectOnlyAChangedLine(const Change& change, const Edit& edit)
{
    ASSERT_EQ(change.gone.size(), 1U) << testing::PrintToString(change.gone);
    ASSERT_EQ(change.come.size(), 1U) << testing::PrintToString(change.come);
    EXPECT_FALSE(change.gone[0].header || change.come[0].header);
    EXPECT_EQ(exactly(change.come[0].key), exactly(change.gone[0].key));
    EXPECT_EQ(QString::compare(change.come[0].key, edit.key, Qt::CaseInsensitive), 0);
    EXPECT_EQ(exactly(change.come[0].value), exactly(edit.value));
}

void expectOnlyARemovedLine(const Change& change, const Edit& edit)
{
    EXPECT_TRUE(change.come.empty()) << testing::PrintToString(change.come);
    ASSERT_EQ(change.gone.size(), 1U) << testing::PrintToString(change.gone);
    EXPECT_FALSE(change.gone[0].header);
    EXPECT_EQ(QString::compare(change.gone[0].key, edit.key, Qt::CaseInsensitive), 0);
    EXPECT_EQ(QString::compare(change.gone[0].value, edit.value, Qt::CaseInsensitive), 0);
}

// The store and the reference implementation, driven through the same steps.
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
    TempDir m_dir;
    INIStore m_store;
    reference::INIStore m_reference;
    std::ostringstream m_story;
};

void Pair::open(const std::string& bytes)
{
    m_story << "\nopen " << testing::PrintToString(toBytes(bytes));
    writeFile(m_dir / "in.ini", bytes);
    const QString path = toPath(m_dir / "in.ini");
    EXPECT_EQ(m_store.Open(path), m_reference.Open(path));
    expectAgreement();
}

void Pair::openMissing()
{
    m_story << "\nopen a missing file";
    const QString path = toPath(m_dir / "none.ini");
    EXPECT_EQ(m_store.Open(path), m_reference.Open(path));
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
    EXPECT_EQ(m_store.Write(toPath(m_dir / "out.ini")), m_reference.Write(toPath(m_dir / "expected.ini")));
    // The two write to files of different names.
    m_reference.m_lastError.replace(QLatin1String("expected.ini"), QLatin1String("out.ini"));
    EXPECT_EQ(toBytes(readFile(m_dir / "out.ini")), toBytes(readFile(m_dir / "expected.ini")));
    expectAgreement();
}

void Pair::step()
{
    const std::size_t dice = m_random.below(20);
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

// Runs every case with a seed of its own, and stops at the first that fails with all that is needed to see it again.
template <typename Case>
void forEachCase(unsigned long cases, const Case& run)
{
    const unsigned long seed = fromEnvironment("KQSUPPORT_TEST_SEED", 20'260'101);
    const unsigned long count = fromEnvironment("KQSUPPORT_TEST_CASES", cases);
    std::cout << count << " cases from KQSUPPORT_TEST_SEED=" << seed << '\n';
    for (unsigned long i = 0; i < count; ++i) {
        Random random(seed + i);
        const std::string story = run(random);
        if (testing::Test::HasFailure()) {
            FAIL() << "with KQSUPPORT_TEST_SEED=" << seed + i << " KQSUPPORT_TEST_CASES=1" << story;
        }
    }
}

// Qt warns of markers that a composed text no longer has; these tests mean them.
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

TEST_F(Property, loaded_and_written_is_the_same_bytes_up_to_the_first_nul)
{
    const TempDir dir;
    forEachCase(4000, [&](Random& random) {
        const std::string document = randomDocument(random);
        writeFile(dir / "in.ini", document);
        INIStore store;
        EXPECT_TRUE(store.Open(toPath(dir / "in.ini")));
        EXPECT_EQ(toBytes(documentOf(store)), toBytes(document));

        const std::size_t nul = document.find('\0');
        EXPECT_EQ(store.Write(toPath(dir / "out.ini")), nul == std::string::npos);
        EXPECT_EQ(toBytes(readFile(dir / "out.ini")), toBytes(document.substr(0, nul)));
        return "\nopen " + testing::PrintToString(toBytes(document));
    });
}

TEST_F(Property, only_the_leading_section_lacks_a_name_and_a_header)
{
    const TempDir dir;
    forEachCase(1000, [&](Random& random) {
        const std::string document = randomDocument(random);
        writeFile(dir / "in.ini", document);
        INIStore store;
        EXPECT_TRUE(store.Open(toPath(dir / "in.ini")));
        for (qsizetype i = 0; i < store.m_sections.size(); ++i) {
            EXPECT_EQ(store.m_sections[i].m_name.isNull(), i == 0);
            EXPECT_EQ(store.m_sections[i].m_raw.isEmpty(), i == 0);
        }
        EXPECT_EQ(store.m_currentSection, store.m_sections.size() - 1);
        return "\nopen " + testing::PrintToString(toBytes(document));
    });
}

TEST_F(Property, an_edit_changes_its_line_alone_and_every_step_agrees_with_the_reference)
{
    forEachCase(3000, [](Random& random) {
        Pair pair(random);
        pair.open(randomDocument(random));
        for (int i = 0; i < 24 && !testing::Test::HasFailure(); ++i)
            pair.step();
        return pair.story();
    });
}

} // namespace
