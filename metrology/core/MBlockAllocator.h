#pragma once

#include "MPointerArray.h"

#include <cstdint>
#include <memory>
#include <new>
#include <type_traits>

namespace ZOLAR3D {

// Hands out single T slots from large blocks and frees them all at once, so
// that building a tree or a hash map costs one heap allocation per block
// instead of one per node. Slots never move: a pointer stays good until clear.
// The slots are raw memory; the caller constructs what it puts there, and
// nothing is destroyed, hence trivially destructible slot types only.
template <class T>
class ZOL3D_API MBlockAllocator {
    static_assert(std::is_trivially_destructible_v<T>, "slots are released without destructors");
    static_assert(alignof(T) <= __STDCPP_DEFAULT_NEW_ALIGNMENT__, "blocks come from plain operator new");

public:
    static constexpr int DefaultBlockSize = 1024;

    MBlockAllocator() = default;
    MBlockAllocator(const MBlockAllocator &) = delete;
    MBlockAllocator &operator=(const MBlockAllocator &) = delete;

    // The number of slots of the next block; blocks already there keep theirs.
    virtual void setBlockSize(int n) { m_blockSize = n; }

    virtual T *allocate()
    {
        if (m_blocks.isEmpty() || m_used == m_lastBlockSize)
            openBlock();
        T *block = static_cast<T *>(m_blocks.last());
        return block + m_used++;
    }

    virtual void clear()
    {
        for (int i = 0; i < m_blocks.size(); ++i)
            ::operator delete(m_blocks[i], BlockAlignment);
        m_blocks.resize(0);
        m_used = 0;
    }

    virtual ~MBlockAllocator() { MBlockAllocator::clear(); }

    int blockSize() const { return m_blockSize; }
    int numBlocks() const { return m_blocks.size(); }

private:
    void openBlock()
    {
        // A block must hold at least the slot being asked for.
        const int slots = m_blockSize < 1 ? 1 : m_blockSize;
        std::unique_ptr<void, void (*)(void *)> block(::operator new(sizeof(T) * std::size_t(slots), BlockAlignment),
                                                     [](void *p) { ::operator delete(p, BlockAlignment); });
        m_blocks.add(block.get());
        block.release();
        m_lastBlockSize = slots;
        m_used = 0;
    }

    // Blocks start on a cache line, so that slots of a line's size or a
    // fraction of it never straddle two lines.
    static constexpr std::align_val_t BlockAlignment{64};

    MPointerArray m_blocks;
    int m_used = 0;
    int m_blockSize = DefaultBlockSize;
    // The size of the last block, which a later setBlockSize must not change.
    int m_lastBlockSize = 0;
};

} // namespace ZOLAR3D
