// BlockPool: a slab starts with its header; its blocks follow, handed out
// first from its free list and then from its untouched end. Each block is
// the pointer to its slab followed by the object's bytes, so a block given
// back finds its slab without a search.
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

constexpr size_t RoundUp(size_t size, size_t step) { return (size + step - 1) / step * step; }

// The slab's header takes the first 64 bytes.
constexpr size_t kFirstBlock = 64;
// The slab pointer in front of each object.
constexpr size_t kOwnerSize = sizeof(void*);

}  // namespace

BlockPool::Slab*& BlockPool::OwnerOf(void* object) {
    return *reinterpret_cast<Slab**>(static_cast<char*>(object) - kOwnerSize);
}

BlockPool::BlockPool(size_t blockSize)
    : m_stride(kOwnerSize + RoundUp(blockSize < sizeof(FreeBlock) ? sizeof(FreeBlock) : blockSize, kAlignment)),
      m_blocksPerSlab((kSlabSize - kFirstBlock) / m_stride) {
    static_assert(sizeof(Slab) <= kFirstBlock && kFirstBlock % kAlignment == 0);
    static_assert(kOwnerSize % kAlignment == 0);
}

BlockPool::~BlockPool() {
    // Slabs that still have blocks out stay: their objects live on.
    while (m_spare != nullptr) {
        Slab* slab = m_spare;
        m_spare = slab->next;
        slab->~Slab();
        ::operator delete(slab);
    }
}

BlockPool::Slab* BlockPool::NewSlab() {
    if (m_spare != nullptr) {
        Slab* slab = m_spare;
        m_spare = slab->next;
        slab->next = nullptr;
        --m_spares;
        return slab;
    }
    void* memory = ::operator new(kSlabSize);
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
    void* object;
    if (slab->free != nullptr) {
        object = slab->free;
        slab->free = slab->free->next;
    } else {
        object = reinterpret_cast<char*>(slab) + kFirstBlock + slab->carved * m_stride + kOwnerSize;
        OwnerOf(object) = slab;
        ++slab->carved;
    }
    ++slab->live;
    if (slab->free == nullptr && slab->carved == m_blocksPerSlab) UnlinkOpen(slab);
    return object;
}

void BlockPool::Free(void* object) {
    if (object == nullptr) return;
    std::lock_guard<std::mutex> guard(m_mutex);
    Slab* slab = OwnerOf(object);
    FreeBlock* freed = static_cast<FreeBlock*>(object);
    freed->next = slab->free;
    slab->free = freed;
    --slab->live;
    if (slab->live != 0) {
        if (!slab->open) LinkOpen(slab);
        return;
    }
    // The slab is empty: kept as a spare, or handed back.
    if (slab->open) UnlinkOpen(slab);
    slab->free = nullptr;
    slab->carved = 0;
    if (m_spares < kMaxSpareSlabs) {
        slab->next = m_spare;
        m_spare = slab;
        ++m_spares;
        return;
    }
    slab->~Slab();
    ::operator delete(slab);
    --m_slabs;
}

size_t BlockPool::SlabCount() {
    std::lock_guard<std::mutex> guard(m_mutex);
    return m_slabs;
}

size_t BlockPool::SpareCount() {
    std::lock_guard<std::mutex> guard(m_mutex);
    return m_spares;
}

}  // namespace zandb4
