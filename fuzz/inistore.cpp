// Any bytes loaded, any edits: after each step the store agrees with the reference model, and what was not edited is
// written back as it was. The edits come first, four lines each, then an empty line, then the file.
#include "inistore/inistore.h"

#include "inistore/entries.h"
#include "input.h"
#include "memoryfile.h"

#include <QBuffer>

namespace {

void requireAgreement(const INIStore& store, const reference::Model& model)
{
    require(entriesOf(store) == entriesOf(model), "the headers and lines");
    require(store.m_currentSection == model.currentSection, "the current section");
}

void edit(char operation, const QString& section, const QString& key, const QString& value, INIStore& store,
    reference::Model& model)
{
    switch (operation) {
    case 'a':
        store.AppendKey(section, key, value);
        return model.appendKey(section, key, value);
    case 'p':
        store.PrependKey(section, key, value);
        return model.prependKey(section, key, value);
    case 'r':
        return require(
            store.RemoveKeyValue(section, key, value) == model.removeKeyValue(section, key, value), "removal");
    case 'g':
        require(store.GetSection(section) == model.getSection(section), "the index of a section");
        return require(store.GetValues(section, key) == model.getValues(section, key), "the values of a key");
    default:
        store.UpdateKey(section, key, value);
        return model.updateKey(section, key, value);
    }
}

void requireSameWriting(INIStore& store, reference::Model& model)
{
    const MemoryFile written;
    QBuffer expected;
    expected.open(QIODevice::WriteOnly);
    require(store.Write(written.path()) == model.writeSections(expected, written.path()), "the result of writing");
    require(written.bytes() == expected.data(), "the bytes written");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Input input(data, size);
    struct Edit
    {
        char operation;
        QString section, key, value;
    };
    QList<Edit> edits;
    for (std::string_view first = input.line(); !first.empty() && edits.size() < 20; first = input.line()) {
        const auto text = [&] {
            const auto t = input.line();
            return QString::fromUtf8(t.data(), qsizetype(t.size()));
        };
        edits.append({first.front(), text(), text(), text()});
    }
    const std::string_view document = input.rest();

    const MemoryFile file(document);
    INIStore store;
    require(store.Open(file.path()), "a file that exists opens");
    reference::Model model;
    QByteArray bytes(document.data(), static_cast<qsizetype>(document.size()));
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    model.read(buffer);
    requireAgreement(store, model);
    requireSameWriting(store, model);
    if (document.find('\0') == document.npos) {
        const MemoryFile copy;
        require(store.Write(copy.path()) && copy.bytes() == bytes, "loaded and written is the same");
    }

    for (const Edit& e : edits) {
        edit(e.operation, e.section, e.key, e.value, store, model);
        requireAgreement(store, model);
    }
    requireSameWriting(store, model);
    return 0;
}
