// Loads any bytes and makes any edits. After each step the store must match the reference implementation, and what was
// not edited must be written unchanged. The input is the edits, four lines each (a, p, r, or any other letter for an
// update; section; key; value), an empty line, and the file.
#include "inistore/inistore.h"

#include "inistore/edits.h"
#include "input.h"
#include "reference/inistore.h"
#include "support/memoryfile.h"

#include <QBuffer>
#include <QMap>

namespace {

void requireSameDocument(const INIStore& store, const reference::INIStore& reference)
{
    require(entriesOf(store) == entriesOf(reference), "the headers and lines");
    require(store.m_currentSection == reference.m_currentSection, "the current section");
}

void requireSameLookups(INIStore& store, const reference::INIStore& reference, const Edit& edit)
{
    require(store.GetSection(edit.section) == reference.GetSection(edit.section), "the index of a section");
    require(
        store.GetValues(edit.section, edit.key) == reference.GetValues(edit.section, edit.key), "the values of a key");
}

void requireSameWriting(INIStore& store, reference::INIStore& reference)
{
    const MemoryFile written;
    QBuffer expected;
    expected.open(QIODevice::WriteOnly);
    require(store.Write(written.path()) == reference.WriteSections(expected, written.path()), "the result of writing");
    require(written.bytes() == expected.data(), "the bytes written");
}

std::vector<Edit> takeEdits(Input& input)
{
    static const QMap<char, Edit::Kind> kinds = {{'a', Edit::Append}, {'p', Edit::Prepend}, {'r', Edit::Remove}};
    const auto text = [&] { return QString(Text(std::string(input.line()))); };
    std::vector<Edit> edits;
    for (std::string_view first = input.line(); !first.empty() && edits.size() < 20; first = input.line())
        edits.push_back({kinds.value(first.front(), Edit::Update), text(), text(), text()});
    return edits;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Input input(data, size);
    const std::vector<Edit> edits = takeEdits(input);
    const std::string_view document = input.rest();

    const MemoryFile file(document);
    INIStore store;
    require(store.Open(file.path()), "a file that exists opens");
    reference::INIStore reference;
    QByteArray bytes(document.data(), static_cast<qsizetype>(document.size()));
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    reference.Read(buffer);
    requireSameDocument(store, reference);
    requireSameWriting(store, reference);
    if (document.find('\0') == document.npos) {
        const MemoryFile copy;
        require(store.Write(copy.path()) && copy.bytes() == bytes, "an unedited file is written unchanged");
    }

    for (const Edit& edit : edits) {
        requireSameLookups(store, reference, edit);
        require(perform(store, edit) == perform(reference, edit), "the result of an edit");
        requireSameDocument(store, reference);
        requireSameLookups(store, reference, edit);
    }
    requireSameWriting(store, reference);
    return 0;
}
