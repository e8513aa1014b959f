#include "inistore/inistore.h"

#include "inistore/line_p.h"

#include <QFile>

#include <string>
#include <string_view>

namespace {

// Gathers lines, so that QFile takes large blocks as they are and is not called for each line. In a file whose
// buffer is empty, a failure counts when, and only when, it would count if each line were handed over alone: what QFile
// would then still hold in its buffer goes last and by itself, to wait there.
class BlockWriter
{
public:
    explicit BlockWriter(QFile& file)
        : m_file(file)
    {
        m_block.reserve(blockSize + fileBufferSize);
    }

    bool writeRaw(const QByteArray& raw);
    bool flush();

private:
    static constexpr std::size_t fileBufferSize = 16 * 1024;
    static constexpr std::size_t blockSize = 64 * 1024;

    bool add(std::string_view bytes);
    bool write(std::string_view bytes);

    QFile& m_file;
    std::string m_block;
    std::size_t m_tail = 0; // where in the block the lines begin that QFile would hold, or the long one it passes on
};

// A NUL ends what is written, and the rest is then missing.
bool BlockWriter::writeRaw(const QByteArray& raw)
{
    const std::string_view bytes = inistore::viewOf(raw);
    const std::string_view text = inistore::textOf(bytes);
    return add(text) && text.size() == bytes.size();
}

bool BlockWriter::add(std::string_view bytes)
{
    if (m_block.size() - m_tail + bytes.size() > fileBufferSize) {
        m_tail = m_block.size();
        if (m_tail >= blockSize && !flush())
            return false;
    }
    m_block += bytes;
    return true;
}

bool BlockWriter::flush()
{
    const std::string_view block = m_block;
    const bool isWritten = write(block.substr(0, m_tail)) && write(block.substr(m_tail));
    m_block.clear();
    m_tail = 0;
    return isWritten;
}

bool BlockWriter::write(std::string_view bytes)
{
    const auto size = static_cast<qint64>(bytes.size());
    return bytes.empty() || m_file.write(bytes.data(), size) == size;
}

bool writeSection(BlockWriter& writer, const INISection& section)
{
    if (!writer.writeRaw(section.m_raw))
        return false;
    for (const INILine& line : section.m_lines) {
        if (!writer.writeRaw(line.m_raw))
            return false;
    }
    return true;
}

bool writeSections(BlockWriter& writer, const QList<INISection>& sections)
{
    for (const INISection& section : sections) {
        if (!writeSection(writer, section))
            return false;
    }
    return true;
}

} // namespace

bool INIStore::Write(QString const& path)
{
    m_lastError.clear();
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        m_lastError = QStringLiteral("Unable to open %1, with write permission").arg(path);
        return false;
    }
    return WriteSections(file, path);
}

bool INIStore::Write(int descriptor, QString const& name)
{
    m_lastError.clear();
    QFile file;
    if (!file.open(descriptor, QIODevice::WriteOnly, QFileDevice::DontCloseHandle)) {
        m_lastError = QStringLiteral("Unable to open %1, with write permission").arg(name);
        return false;
    }
    return WriteSections(file, name);
}

bool INIStore::WriteSections(QFile& file, QString const& name)
{
    BlockWriter writer(file);
    const bool isComplete = writeSections(writer, m_sections);
    if (writer.flush() && isComplete)
        return true;
    m_lastError = QStringLiteral("Error writing to %1, file only partially written").arg(name);
    return false;
}
