#ifndef KQSUPPORT_INISTORE_TEXTPOOL_P_H
#define KQSUPPORT_INISTORE_TEXTPOOL_P_H

#include <QByteArray>
#include <QString>

#include <algorithm>
#include <cstring>
#include <type_traits>
#include <utility>

namespace inistore {

/// Copies short texts into shared blocks of up to `blockSize` characters, so that most lines cost no allocation.
///
/// `Text` is QString or QByteArray. A copy is an ordinary, implicitly shared `Text` that lies inside a block, followed
/// by its own NUL. The last copy of a block frees it.
template <typename Text, typename View, qsizetype blockSize>
class TextPool
{
public:
    Text copy(View text)
    {
        const auto size = static_cast<qsizetype>(text.size());
        if (size > blockSize / 2)
            return Text(text.data(), size);
        if (size >= m_room)
            startBlock(size);

        auto slice = m_block.data_ptr(); // shares the block; data() would detach from the copies
        slice.setBegin(m_next);
        slice.size = size;
        std::memcpy(m_next, text.data(), static_cast<std::size_t>(size) * sizeof(Character));
        m_next[size] = 0;
        m_next += size + 1;
        m_room -= size + 1;
        return Text(std::move(slice));
    }

private:
    using Character = std::remove_pointer_t<decltype(std::declval<Text&>().data_ptr().data())>;

    // The first blocks are small because many documents are. The allocation comes before the assignments: if it throws,
    // the pool is unchanged.
    void startBlock(qsizetype size)
    {
        const qsizetype capacity = std::min(blockSize, 2 * (m_block.capacity() + size + 1));
        m_block = Text(capacity, Qt::Uninitialized);
        m_next = m_block.data_ptr().data();
        m_room = capacity;
    }

    Text m_block;
    Character* m_next = nullptr;
    qsizetype m_room = 0;
};

} // namespace inistore

#endif
