#include "inistore/entries.h"

namespace {

bool same(const QString& a, const QString& b)
{
    return a.isNull() == b.isNull() && a == b;
}

} // namespace

bool operator==(const Entry& a, const Entry& b)
{
    return a.header == b.header && same(a.key, b.key) && same(a.value, b.value) && a.raw == b.raw;
}

std::vector<Entry> entriesOf(const INIStore& store)
{
    std::vector<Entry> entries;
    for (const INISection& section : store.m_sections) {
        entries.push_back({true, section.m_name, QString(), section.m_raw});
        for (const INILine& line : section.m_lines)
            entries.push_back({false, line.m_key, line.m_value, line.m_raw});
    }
    return entries;
}

std::vector<Entry> entriesOf(const reference::Model& model)
{
    std::vector<Entry> entries;
    for (const reference::Section& section : model.sections) {
        entries.push_back({true, section.name, QString(), section.raw});
        for (const reference::Line& line : section.lines)
            entries.push_back({false, line.key, line.value, line.raw});
    }
    return entries;
}
