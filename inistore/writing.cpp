#include "inistore/inistore.h"

#include "inistore/line_p.h"

#include <QFile>

#include <algorithm>
#include <string>
#include <string_view>

namespace {

constexpr std::size_t emptyBuffer = 16 * 1024; // what QFile gathers before it calls the system
constexpr std::size_t unknownBuffer = 0;

// Gathers lines, so that QFile takes large blocks as they are and is not called for each line. A failure counts when,
// and only when, it would count if each line were handed over alone: what QFile would then still hold in its buffer
// goes last and by itself, to wait there. Where others may have left bytes in that buffer, each line is handed over
// alone.
class BlockWriter
{
public:
    BlockWriter(QFile& file, std::size_t fileBuffer)
        : m_file(file)
        , m_fileBuffer(fileBuffer)
        , m_blockSize(4 * fileBuffer)
    {
        m_block.reserve(m_blockSize + m_fileBuffer);
    }

    bool add(const QByteArray& line);
    bool flush();

private:
    bool write(std::string_view bytes);

    QFile& m_file;
    std::size_t m_fileBuffer;
    std::size_t m_blockSize;
    std::string m_block;
    std::size_t m_tail = 0; // where in the block the lines begin that QFile would hold, or the long one it passes on
};

bool BlockWriter::add(const QByteArray& line)
{
    const std::string_view bytes = inistore::viewOf(line);
    if (m_block.size() - m_tail + bytes.size() > m_fileBuffer) {
        m_tail = m_block.size();
        if (m_tail >= m_blockSize && !flush())
            return false;
    }
    m_block += bytes;
    return true;
}

// A NUL ends what is written, and the rest is then missing.
bool BlockWriter::flush()
{
    const std::string_view block = m_block;
    const std::string_view text = inistore::textOf(block);
    const std::size_t tail = std::min(m_tail, text.size());
    const bool isComplete = write(text.substr(0, tail)) && write(text.substr(tail)) && text.size() == block.size();
    m_block.clear();
    m_tail = 0;
    return isComplete;
}

bool BlockWriter::write(std::string_view bytes)
{
    const auto size = static_cast<qint64>(bytes.size());
    return bytes.empty() || m_file.write(bytes.data(), size) == size;
}

bool writeSection(BlockWriter& writer, const INISection& section)
{
    if (!writer.add(section.m_raw))
        return false;
    for (const INILine& line : section.m_lines) {
        if (!writer.add(line.m_raw))
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
    return writer.flush();
}

bool writeDocument(INIStore& store, BlockWriter writer, const QString& name)
{
    if (writeSections(writer, store.m_sections))
        return true;
    store.m_lastError = QStringLiteral("Error writing to %1, file only partially written").arg(name);
    return false;
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
    return writeDocument(*this, BlockWriter(file, emptyBuffer), path);
}

bool INIStore::Write(int descriptor, QString const& name)
{
    m_lastError.clear();
    QFile file;
    if (!file.open(descriptor, QIODevice::WriteOnly, QFileDevice::DontCloseHandle)) {
        m_lastError = QStringLiteral("Unable to open %1, with write permission").arg(name);
        return false;
    }
    return writeDocument(*this, BlockWriter(file, emptyBuffer), name);
}

bool INIStore::WriteSections(QFile& file, QString const& name)
{
    return writeDocument(*this, BlockWriter(file, unknownBuffer), name);
}
