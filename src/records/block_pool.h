// BlockPool: memory for many objects of one size, carved from slabs.
//
// A search turns every row into a file record and the client drops them all
// again, a hundred thousand at a time. The general allocator handles each of
// those blocks on its own, merging every freed one with its neighbours, and
// the records' blocks end up strewn between the strings they hold. A pool
// keeps the records together in slabs of 64 KiB: a block comes off a slab's
// free list (or the slab's untouched end) and goes back onto it, and a slab
// whose last block comes back is kept for the next burst, up to 64 such
// slabs (4 MiB), and handed back beyond that. So the pool holds what the
// live objects need and at most 4 MiB more. The kept slabs matter: a client
// that lists ten thousand files, lets them go and lists again would
// otherwise hand megabytes back to the C library, which gives them back to
// the system, and take every page of them again with a fault.
// Each block starts with a pointer to its slab; the object follows it.
//
// Slabs come from the global operator new, unaligned and below the size the
// C library maps from the system one by one, so a slab is an ordinary heap
// block; a failed allocation throws std::bad_alloc as a plain new would.
// Thread-safe: one mutex, taken for the few instructions of each call and
// never while anything else is called.
#pragma once

#include <cstddef>
#include <cstdint>
#include <mutex>

namespace zandb4 {

class BlockPool {
public:
    // blockSize: the size of every block, at least that of a pointer.
    explicit BlockPool(size_t blockSize);
    ~BlockPool();
    BlockPool(const BlockPool&) = delete;
    BlockPool& operator=(const BlockPool&) = delete;

    // A block of blockSize bytes, aligned to 8 bytes. Throws std::bad_alloc
    // when no slab can be had.
    void* Allocate();
    // Gives back a block that Allocate handed out.
    void Free(void* block);

    // Slabs held, the kept ones included; for tests.
    size_t SlabCount();
    // Empty slabs kept for the next burst; for tests.
    size_t SpareCount();

    static constexpr size_t kSlabSize = 64 * 1024;
    static constexpr size_t kMaxSpareSlabs = 64;
    static constexpr size_t kAlignment = 8;

private:
    struct Slab;
    struct FreeBlock {
        FreeBlock* next;
    };

    // The slab pointer stored in front of an object.
    static Slab*& OwnerOf(void* object);
    Slab* NewSlab();
    // The list of slabs that have a block to hand out.
    void LinkOpen(Slab* slab);
    void UnlinkOpen(Slab* slab);

    // The stride of the blocks in a slab: the slab pointer and the object.
    const size_t m_stride;
    const size_t m_blocksPerSlab;
    std::mutex m_mutex;
    Slab* m_open = nullptr;
    // Empty slabs kept for the next burst instead of being handed back,
    // linked through their next member.
    Slab* m_spare = nullptr;
    size_t m_spares = 0;
    size_t m_slabs = 0;
};

}  // namespace zandb4
