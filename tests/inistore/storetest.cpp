#include "inistore/storetest.h"

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

std::string bytesOf(const QByteArray& bytes)
{
    return bytes.toStdString();
}

QByteArray toBytes(const std::string& bytes)
{
    return QByteArray::fromStdString(bytes);
}

QString toPath(const std::string& path)
{
    return QString::fromStdString(path);
}

QStringList toList(const std::vector<Text>& texts)
{
    QStringList list;
    for (const Text& text : texts)
        list.append(text);
    return list;
}

std::string documentOf(const INIStore& store)
{
    std::string document;
    for (const INISection& section : store.m_sections) {
        document += bytesOf(section.m_raw);
        for (const INILine& line : section.m_lines)
            document += bytesOf(line.m_raw);
    }
    return document;
}

void StoreTest::given(const std::string& bytes)
{
    writeFile(dir / "given.ini", bytes);
    ASSERT_TRUE(store.Open(toPath(dir / "given.ini")));
    ASSERT_EQ(exactly(store.m_lastError), exactly(null));
}

void StoreTest::thenFileIs(const std::string& bytes)
{
    const std::string path = dir / "written.ini";
    ASSERT_TRUE(store.Write(toPath(path)));
    EXPECT_EQ(exactly(store.m_lastError), exactly(null));
    EXPECT_EQ(toBytes(readFile(path)), toBytes(bytes));
}

void StoreTest::thenValuesAre(const Text& section, const Text& key, const std::vector<Text>& values)
{
    EXPECT_EQ(store.GetValues(section, key), toList(values));
}

void StoreTest::thenLineIs(int section, int line, const QString& key, const QString& value, const std::string& raw)
{
    ASSERT_LT(section, store.m_sections.size());
    ASSERT_LT(line, store.m_sections[section].m_lines.size());
    const INILine& found = store.m_sections[section].m_lines[line];
    EXPECT_EQ(exactly(found.m_key), exactly(key));
    EXPECT_EQ(exactly(found.m_value), exactly(value));
    EXPECT_EQ(found.m_raw, toBytes(raw));
}

void StoreTest::thenSectionIs(int section, const QString& name, const std::string& raw, int lines)
{
    ASSERT_LT(section, store.m_sections.size());
    const INISection& found = store.m_sections[section];
    EXPECT_EQ(exactly(found.m_name), exactly(name));
    EXPECT_EQ(found.m_raw, toBytes(raw));
    EXPECT_EQ(found.m_lines.size(), lines);
}
