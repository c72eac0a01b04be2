// BlockPool: slabs aligned to their own size, so that a block finds its slab
// by rounding its address down. A slab starts with its header; its blocks
// follow, handed out first from its free list and then from its untouched
// end.
#include "records/block_pool.h"

#include <new>

namespace zandb4 {

struct BlockPool::Slab {
    // Neighbours in the list of slabs with a block to hand out.
    Slab* previous = nullptr;
    Slab* next = nullptr;
    bool open = false;
    FreeBlock* free = nullptr;
    // Blocks handed out and not given back.
    size_t live = 0;
    // Blocks of the untouched end handed out so far.
    size_t carved = 0;
};

namespace {

constexpr size_t kBlockAlignment = 16;

constexpr size_t RoundUp(size_t size, size_t step) { return (size + step - 1) / step * step; }

// The blocks start behind the header, on the blocks' alignment.
constexpr size_t kFirstBlock = RoundUp(64, kBlockAlignment);

}  // namespace

BlockPool::BlockPool(size_t blockSize)
    : m_blockSize(RoundUp(blockSize < sizeof(FreeBlock) ? sizeof(FreeBlock) : blockSize, kBlockAlignment)),
      m_blocksPerSlab((kSlabSize - kFirstBlock) / m_blockSize) {
    static_assert(sizeof(Slab) <= kFirstBlock);
}

BlockPool::~BlockPool() {
    // Slabs that still have blocks out stay: their objects live on.
    if (m_spare != nullptr) {
        m_spare->~Slab();
        ::operator delete(m_spare, std::align_val_t{kSlabSize});
    }
}

BlockPool::Slab* BlockPool::SlabOf(void* block) const {
    return reinterpret_cast<Slab*>(reinterpret_cast<uintptr_t>(block) & ~(uintptr_t{kSlabSize} - 1));
}

BlockPool::Slab* BlockPool::NewSlab() {
    if (m_spare != nullptr) {
        Slab* slab = m_spare;
        m_spare = nullptr;
        return slab;
    }
    void* memory = ::operator new(kSlabSize, std::align_val_t{kSlabSize});
    ++m_slabs;
    return new (memory) Slab();
}

void BlockPool::LinkOpen(Slab* slab) {
    slab->previous = nullptr;
    slab->next = m_open;
    if (m_open != nullptr) m_open->previous = slab;
    m_open = slab;
    slab->open = true;
}

void BlockPool::UnlinkOpen(Slab* slab) {
    if (slab->previous != nullptr) slab->previous->next = slab->next;
    if (slab->next != nullptr) slab->next->previous = slab->previous;
    if (m_open == slab) m_open = slab->next;
    slab->previous = slab->next = nullptr;
    slab->open = false;
}

void* BlockPool::Allocate() {
    std::lock_guard<std::mutex> guard(m_mutex);
    if (m_open == nullptr) LinkOpen(NewSlab());
    Slab* slab = m_open;
    void* block;
    if (slab->free != nullptr) {
        block = slab->free;
        slab->free = slab->free->next;
    } else {
        block = reinterpret_cast<char*>(slab) + kFirstBlock + slab->carved * m_blockSize;
        ++slab->carved;
    }
    ++slab->live;
    if (slab->free == nullptr && slab->carved == m_blocksPerSlab) UnlinkOpen(slab);
    return block;
}

void BlockPool::Free(void* block) {
    if (block == nullptr) return;
    std::lock_guard<std::mutex> guard(m_mutex);
    Slab* slab = SlabOf(block);
    FreeBlock* freed = static_cast<FreeBlock*>(block);
    freed->next = slab->free;
    slab->free = freed;
    --slab->live;
    if (slab->live != 0) {
        if (!slab->open) LinkOpen(slab);
        return;
    }
    // The slab is empty: kept as the spare, or handed back.
    if (slab->open) UnlinkOpen(slab);
    slab->free = nullptr;
    slab->carved = 0;
    if (m_spare == nullptr) {
        m_spare = slab;
        return;
    }
    slab->~Slab();
    ::operator delete(slab, std::align_val_t{kSlabSize});
    --m_slabs;
}

size_t BlockPool::SlabCount() {
    std::lock_guard<std::mutex> guard(m_mutex);
    return m_slabs;
}

}  // namespace zandb4
